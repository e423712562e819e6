// The list behind the "&Recent Files" menu.
#pragma once

#include "framework/recent_file_list.h"

namespace cw {

class CCustomRecentFileList final : public CRecentFileList {
public:
    using CRecentFileList::CRecentFileList;
};

} // namespace cw
