#include "fileio/process_values.h"

#include "fileio/entry_points.h"
#include "fileio/paths.h"
#include "foundation/exceptions.h"
#include "platform/services.h"

#include <array>

namespace cw {

namespace {

using folder_question = std::uint32_t (platform::system_information::*)(char16_t*, std::uint32_t) noexcept;

string ask_for_folder(folder_question question)
{
    std::array<char16_t, platform::path_room> buffer{};
    if ((platform::current().system->*question)(buffer.data(), platform::path_room) == 0)
        throw win32_exception();
    return add_backslash(buffer.data());
}

string below_windows_folder(const char16_t* name)
{
    return add_backslash(combine_path(find_windows_folder(), name));
}

} // namespace

string find_wow64_folder()
{
    const std::uint16_t architecture = entry_points::get_native_system_info().processor_architecture;
    const bool is_64_bit =
        architecture == platform::processor_architecture_ia64 || architecture == platform::processor_architecture_amd64;
    return is_64_bit ? below_windows_folder(u"syswow64") : string();
}

string find_sysnative_folder()
{
    return entry_points::is_wow64_process(platform::current_process) ? below_windows_folder(u"sysnative") : string();
}

string find_system_folder()
{
    return ask_for_folder(&platform::system_information::system_folder);
}

string find_windows_folder()
{
    return ask_for_folder(&platform::system_information::windows_folder);
}

// One file and this order: static construction follows it.
string wow64_folder = find_wow64_folder();
string sysnative_folder = find_sysnative_folder();
string system_folder = find_system_folder();
string windows_folder = find_windows_folder();
std::uint32_t last_file_error = 0;
string last_failed_path;
std::vector<file_failure> file_failures;

} // namespace cw
