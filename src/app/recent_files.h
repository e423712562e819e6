// The list behind the "&Recent Files" menu, and how it shortens long paths.
#pragma once

#include "foundation/string.h"
#include "framework/recent_file_list.h"

namespace cw {

class CCustomRecentFileList final : public CRecentFileList {
public:
    using CRecentFileList::CRecentFileList;

    /// The entry's path, shortened for the menu. Neither the current directory nor `keep_file_name` has a
    /// part in it. False without a current directory and for an empty place; throws
    /// `invalid_argument_exception` beyond the size and where the current directory ends before `length`
    /// code units, `memory_exception` where there is no memory.
    bool GetDisplayName(CString& name, std::size_t index, const char16_t* current_directory, std::size_t length,
                        bool keep_file_name) const override;
};

/// A path in at most 79 code units: drive or share, as much of the folders as fits, dots, and the file
/// name. Paths of up to 78 come back as they are. Cuts fall at code units, wherever that is.
[[nodiscard]] string shortened_path(const string& path);

} // namespace cw
