// What the list shows for a component's files: one row a file, seven columns.

#include "app/main_frame.h"
#include "automation/date.h"
#include "bridges/media_objects.h"

#include <array>

namespace cw {
namespace {

/// An entry of this name stands for no file: its row has a name and nothing else.
constexpr std::u16string_view no_file_name = u"\\";
constexpr std::uint32_t shown_flag = 0x10000;

/// Month first whatever the locale says; midnight is hour 00 with "AM", noon hour 12 with "PM".
string format_date(DATE date)
{
    SYSTEMTIME time{};
    VariantTimeToSystemTime(date, &time);
    const int shown_hour = time.wHour > 12 ? time.wHour - 12 : time.wHour;
    string text;
    text.format(u"%02d/%02d/%04d %02d:%02d:%02d %s", time.wMonth, time.wDay, time.wYear, shown_hour, time.wMinute,
                time.wSecond, time.wHour >= 12 ? u"PM" : u"AM");
    return text;
}

} // namespace

void CMainFrame::ShowComponentFiles(HTREEITEM item)
{
    const HTREEITEM component_item = m_treeCtrl.GetParentItem(item);
    const automation::com_ptr<IDispatch> component = FindComponent(m_treeCtrl.GetItemText(component_item));
    if (!component)
        return;
    const automation::com_ptr<IDispatch> files = get(component.get(), media_component::Files);
    if (!files)
        return;
    SetListColumns(NODEKIND_COMPONENT_FILES);
    for_each_file(files.get(), [&](std::int32_t index, IDispatch* file) {
        const string name = get(file, media_file::Name);
        const string size = to_text(get(file, media_file::Size));
        const string compressed_size = to_text(get(file, media_file::CompressedSize));
        const string version = get(file, media_file::Version);
        const string md5_signature = get(file, media_file::Md5Signature);
        const bool flagged = (static_cast<std::uint32_t>(get(file, media_file::Flags)) & shown_flag) != 0;
        const string date = format_date(get(file, media_file::Date));

        const std::array<std::u16string_view, 6> cells{size,    compressed_size, date,
                                                       version, md5_signature,   flagged ? u"F" : u""};
        const std::size_t row = m_listCtrl.InsertItem(static_cast<std::size_t>(index - 1), name);
        for (std::size_t column = 0; column < cells.size(); ++column)
            m_listCtrl.SetItemText(row, column + 1, name == no_file_name ? std::u16string_view{} : cells[column]);
    });
}

} // namespace cw
