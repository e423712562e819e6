#include "app/command_line.h"

#include "foundation/string.h"
#include "platform/path_style.h"
#include "platform/services.h"

#include <array>

namespace cw {
namespace {

struct option {
    std::u16string_view name;
    shell_command command;
};

constexpr auto options = std::to_array<option>({
    {u"p", shell_command::file_print},
    {u"pt", shell_command::file_print_to},
    {u"dde", shell_command::file_dde},
});

/// A name that is not absolute is taken below the current directory.
string absolute_path(const std::u16string& name)
{
    constexpr std::uint32_t room = 4096;
    const bool native = path_separator_of(name) != u'\\';
    const bool absolute = native || name.starts_with(u'\\') || (name.size() > 1 && name[1] == u':');
    std::array<char16_t, room> folder{};
    if (absolute || platform::current().files->current_directory(folder.data(), room) == 0)
        return string(name);
    return combine_path(folder.data(), string(name));
}

} // namespace

void ParseCommandLine(std::span<const std::u16string> arguments, CCommandLineInfo& info)
{
    bool options_ended = false;
    for (const std::u16string& argument : arguments) {
        if (!options_ended && argument == u"--") {
            options_ended = true;
        } else if (!options_ended && argument.size() > 1 && argument.front() == u'-') {
            for (const option& entry : options)
                if (string(argument.substr(1)).equals_no_case(string(entry.name)))
                    info.m_nShellCommand = entry.command;
        } else if (!argument.empty() && info.m_strFileName.IsEmpty()) {
            info.m_strFileName = CString(absolute_path(argument).view());
        }
    }
    if (info.m_nShellCommand == shell_command::file_new && !info.m_strFileName.IsEmpty())
        info.m_nShellCommand = shell_command::file_open;
}

} // namespace cw
