#include "framework/recent_file_list.h"

#include "foundation/exceptions.h"
#include "foundation/string.h"
#include "platform/path_style.h"
#include "platform/services.h"

#include <algorithm>

namespace cw {
namespace {

bool is_native(std::u16string_view path)
{
    return path_separator_of(path) == u'/';
}

bool same_file(std::u16string_view a, std::u16string_view b)
{
    if (is_native(a) || is_native(b))
        return a == b;
    return string(a).equals_no_case(string(b));
}

struct path_parts {
    std::u16string_view folder; // without the separator
    std::u16string_view file_name;
};

path_parts split(std::u16string_view path)
{
    const std::size_t last = path.rfind(path_separator_of(path));
    if (last == std::u16string_view::npos)
        return {{}, path};
    return {path.substr(0, last), path.substr(last + 1)};
}

std::u16string_view without_trailing_separator(std::u16string_view folder)
{
    if (!folder.empty() && folder.back() == path_separator_of(folder))
        folder.remove_suffix(1);
    return folder;
}

} // namespace

CRecentFileList::CRecentFileList(std::uint32_t first_index, std::u16string_view section,
                                 std::u16string_view entry_format, std::size_t size, std::size_t longest_display_length)
    : m_firstIndex(first_index), m_section(section), m_entryFormat(entry_format),
      m_longestDisplayLength(longest_display_length), m_entries(size)
{
}

CRecentFileList::~CRecentFileList() = default;

void CRecentFileList::Add(std::u16string_view path)
{
    if (path.empty() || m_entries.empty())
        return;
    const auto same =
        std::ranges::find_if(m_entries, [&](const CString& entry) { return same_file(entry.view(), path); });
    const auto leaving = same == m_entries.end() ? m_entries.end() - 1 : same;
    m_touched = true;
    // The path may be the text of the entry that moves.
    CString first(path);
    std::rotate(m_entries.begin(), leaving, leaving + 1);
    m_entries.front() = std::move(first);
}

void CRecentFileList::Remove(std::size_t index)
{
    if (index >= m_entries.size())
        throw invalid_argument_exception();
    m_entries.erase(m_entries.begin() + static_cast<std::ptrdiff_t>(index));
    m_entries.emplace_back();
    m_touched = true;
}

bool CRecentFileList::GetDisplayName(CString& name, std::size_t index, const char16_t* current_directory,
                                     std::size_t length, bool keep_file_name) const
{
    const CString& entry = (*this)[index];
    if (!current_directory || entry.IsEmpty())
        return false;
    const path_parts parts = split(entry.view());
    const std::u16string_view directory = without_trailing_separator({current_directory, length});
    if (same_file(parts.folder, directory))
        name = CString(parts.file_name);
    else if (entry.view().size() <= m_longestDisplayLength)
        name = entry;
    else
        name = CString(keep_file_name ? parts.file_name : std::u16string_view{});
    return !name.IsEmpty();
}

std::u16string CRecentFileList::entry_name(std::size_t index) const
{
    string name;
    name.format(m_entryFormat.c_str(), static_cast<int>(index + 1));
    return std::u16string(name.view());
}

void CRecentFileList::ReadList()
{
    m_touched = false;
    std::ranges::fill(m_entries, CString());
    std::size_t next = 0;
    for (std::size_t index = 0; index < m_entries.size(); ++index) {
        const std::u16string path = platform::current().user->read_text(m_section, entry_name(index), u"");
        if (!path.empty())
            m_entries[next++] = CString(std::u16string_view(path));
    }
}

void CRecentFileList::WriteList()
{
    // Another window may have written its own since.
    if (!m_touched)
        return;
    platform::user_settings& settings = *platform::current().user;
    for (std::size_t index = 0; index < m_entries.size(); ++index)
        if (m_entries[index].IsEmpty())
            settings.remove(m_section, entry_name(index));
        else
            settings.write_text(m_section, entry_name(index), m_entries[index].view());
}

const CString& CRecentFileList::operator[](std::size_t index) const
{
    if (index >= m_entries.size())
        throw invalid_argument_exception();
    return m_entries[index];
}

} // namespace cw
