// An ordered list of paths, most recent first, kept in the user's settings.
#pragma once

#include "framework/cstring.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace cw {

class CRecentFileList {
public:
    /// `entry_format` is a wide printf format with one number, counted from 1.
    CRecentFileList(std::uint32_t first_index, std::u16string_view section, std::u16string_view entry_format,
                    std::size_t size, std::size_t longest_display_length);
    virtual ~CRecentFileList();

    /// Puts a path in front; an entry that names the same file moves there.
    virtual void Add(std::u16string_view path);
    /// Removes an entry; the later ones move up.
    virtual void Remove(std::size_t index);
    virtual bool GetDisplayName(CString& name, std::size_t index, const char16_t* current_directory, std::size_t length,
                                bool keep_file_name) const;
    /// Reads all entries; settings that are missing or empty leave empty entries out.
    virtual void ReadList();
    virtual void WriteList();

    /// The number of places, not of entries.
    [[nodiscard]] std::size_t GetSize() const noexcept { return m_entries.size(); }
    /// Empty for a place without an entry; throws `invalid_argument_exception` beyond the size.
    [[nodiscard]] const CString& operator[](std::size_t index) const;

private:
    std::uint32_t m_first_index;
    std::u16string m_section;
    std::u16string m_entry_format;
    std::size_t m_longest_display_length;
    std::vector<CString> m_entries;
};

} // namespace cw
