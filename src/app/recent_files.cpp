#include "app/recent_files.h"

#include "fileio/paths.h"
#include "foundation/exceptions.h"
#include "platform/path_style.h"

#include <algorithm>
#include <new>
#include <string>

namespace cw {
namespace {

constexpr std::size_t room_with_terminator = 80;
constexpr std::size_t longest_shown = room_with_terminator - 1;
constexpr std::u16string_view dots = u"...";
// Both ends of a file name that is too long for anything else.
constexpr std::size_t longest_name_between_dots = longest_shown - 2 * dots.size() - 1;

bool is_string_of(const char16_t* text, std::size_t length)
{
    return !std::char_traits<char16_t>::find(text, length, u'\0');
}

} // namespace

bool CCustomRecentFileList::GetDisplayName(CString& name, std::size_t index, const char16_t* current_directory,
                                           std::size_t length, bool) const
{
    if (index >= GetSize() || (current_directory && !is_string_of(current_directory, length)))
        throw invalid_argument_exception();
    const CString& entry = (*this)[index];
    if (!current_directory || entry.IsEmpty())
        return false;
    try {
        name = shortened_path(string(entry.view())).view();
    } catch (const std::bad_alloc&) {
        // The class library's callers know its own exception.
        throw memory_exception();
    }
    return true;
}

string shortened_path(const string& path)
{
    if (path.length() + 1 < room_with_terminator)
        return path;
    string gap(dots);
    gap.append(1, path_separator_of(path));
    const string root = root_of(path, false);
    const string file = path.substr(directory_of(path, true, false).length());

    const std::size_t without_folders = root.length() + gap.length() + file.length();
    if (without_folders < room_with_terminator) {
        const string folders = directory_of(path, false, true);
        return root + folders.substr(0, longest_shown - without_folders) + gap + file;
    }
    const std::size_t without_root = gap.length() + file.length();
    if (without_root > longest_shown)
        return gap + file.substr(0, longest_name_between_dots) + string(dots);
    return root.substr(0, longest_shown - without_root) + gap + file;
}

} // namespace cw
