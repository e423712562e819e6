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

    /// Puts a path in front; an entry that names the same file moves there, and what no longer fits is
    /// dropped. Backslash paths name the same file without regard to case, native ones only where they
    /// are equal. An empty path changes nothing.
    virtual void Add(std::u16string_view path);
    /// Removes an entry; the later ones move up. Throws `invalid_argument_exception` beyond the size.
    virtual void Remove(std::size_t index);
    /// The entry's path, or its file name alone where the file lies in the current directory or, with
    /// `keep_file_name`, where the path is longer than the longest display length. False without a
    /// current directory, for an empty place, and where nothing fits; throws
    /// `invalid_argument_exception` beyond the size.
    virtual bool GetDisplayName(CString& name, std::size_t index, const char16_t* current_directory, std::size_t length,
                                bool keep_file_name) const;
    /// Reads all entries; settings that are missing or empty leave empty entries out.
    virtual void ReadList();
    /// Writes the entries and removes those of places without one, where anything was changed since
    /// `ReadList`.
    virtual void WriteList();

    /// The number that a menu shows before the first entry.
    [[nodiscard]] std::uint32_t GetFirstIndex() const noexcept { return m_firstIndex; }
    /// The number of places, not of entries.
    [[nodiscard]] std::size_t GetSize() const noexcept { return m_entries.size(); }
    /// Empty for a place without an entry; throws `invalid_argument_exception` beyond the size.
    [[nodiscard]] const CString& operator[](std::size_t index) const;

private:
    [[nodiscard]] std::u16string entry_name(std::size_t index) const;

    std::uint32_t m_firstIndex;
    std::u16string m_section;
    std::u16string m_entryFormat;
    std::size_t m_longestDisplayLength;
    std::vector<CString> m_entries;
    bool m_touched = false; // since `ReadList`
};

} // namespace cw
