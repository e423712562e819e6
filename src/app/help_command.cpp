// Where the help topic lies: beside the folder of the program, by language.

#include "app/main_frame.h"
#include "foundation/resource_text.h"
#include "platform/path_style.h"
#include "platform/services.h"

namespace cw {
namespace {

constexpr std::uint32_t text_topic = 281;
constexpr std::u16string_view topic_in_file = u"::/helplibrary/CwCabView.htm";
constexpr std::u16string_view help_folder = u"Program";
constexpr std::u16string_view first_language = u"0409";
constexpr std::u16string_view second_language = u"0411";

void replace_all(string& text, std::u16string_view old_text, std::u16string_view new_text)
{
    for (std::size_t at = 0; (at = text.find(old_text, at)) != string::npos; at += new_text.size())
        text.replace(at, old_text.size(), new_text.data(), new_text.size());
}

/// The topic of the installation that a program stands in; the program's folder where that has no
/// folder above it.
string topic_path(const string& program)
{
    const char16_t separator = path_separator_of(program);
    string path = program.substr(0, program.rfind(separator));
    const std::size_t above = path.rfind(separator);
    if (above == string::npos)
        return path;
    path.erase(above + 1);

    for (const std::u16string_view folder : {help_folder, first_language}) {
        path += folder;
        path.append(1, separator);
    }
    path += resource_text(text_topic);

    string file(path);
    replace_all(file, topic_in_file, {});
    // The other language is not looked for: a viewer that does not find it tells so itself.
    if (platform::current().files->attributes(file.c_str()) == platform::invalid_file_attributes)
        replace_all(path, first_language, second_language);
    return path;
}

} // namespace

void CMainFrame::OnHelp(std::uint32_t)
{
    char16_t program[platform::path_room];
    const std::uint32_t length = platform::current().libraries->module_file_name(program, platform::path_room);
    Services().show_help(topic_path(string(program, length)));
}

void CMainFrame::OnUpdateHelp(command_ui& ui)
{
    ui.Enable();
}

} // namespace cw
