#include "platform/temp_folder.h"

#include "platform/services.h"
#include "platform/utf8.h"

#include <algorithm>
#include <cstdlib>

namespace cw::platform {

namespace {

// What the longest temporary name (three characters, four digits and the extension) and the terminator
// leave of a buffer, and two to spare.
constexpr std::size_t longest_folder_in_code_units = path_room - 14;

} // namespace

std::u16string temp_folder_of_environment()
{
    const char* wanted = std::getenv("TMPDIR");
    if (wanted && *wanted == '/') {
        std::u16string folder = path_from_bytes(wanted);
        // Two separators would begin a network path.
        folder.erase(0, std::min(folder.find_first_not_of(u'/'), folder.size()) - 1);
        folder.erase(folder.find_last_not_of(u'/') + 1);
        folder += u'/';
        if (folder.size() <= longest_folder_in_code_units)
            return folder;
    }
    return u"/tmp/";
}

} // namespace cw::platform
