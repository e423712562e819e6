// What the list shows for a component's files: one row a file, seven columns.

#include "app/main_frame.h"
#include "automation/date.h"
#include "bridges/media_objects.h"

#include <array>
#include <iterator>
#include <string>

namespace cw {
namespace {

/// An entry of this name stands for no file: its row has a name and nothing else.
constexpr std::u16string_view no_file_name = u"\\";
constexpr std::uint32_t shown_flag = 0x10000;

/// Month first whatever the locale says; midnight is hour 00 with "AM", noon hour 12 with "PM". Not by
/// a format: every row has a date, and the long lists are those of files.
std::u16string format_date(DATE date)
{
    SYSTEMTIME time{};
    VariantTimeToSystemTime(date, &time);
    const unsigned shown_hour = time.wHour > 12 ? time.wHour - 12u : time.wHour;
    std::u16string text;
    text.reserve(std::size(u"00/00/0000 00:00:00 AM"));
    const auto add = [&](unsigned number, unsigned highest_unit, std::u16string_view behind) {
        for (unsigned unit = highest_unit; unit > 0; unit /= 10)
            text += static_cast<char16_t>(u'0' + number / unit % 10);
        text += behind;
    };
    add(time.wMonth, 10, u"/");
    add(time.wDay, 10, u"/");
    add(time.wYear, 1000, u" ");
    add(shown_hour, 10, u":");
    add(time.wMinute, 10, u":");
    add(time.wSecond, 10, time.wHour >= 12 ? u" PM" : u" AM");
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
        const automation::bstr name = get_bstr(file, media_file::Name);
        const string size = to_text(get(file, media_file::Size));
        const string compressed_size = to_text(get(file, media_file::CompressedSize));
        const automation::bstr version = get_bstr(file, media_file::Version);
        const automation::bstr md5_signature = get_bstr(file, media_file::Md5Signature);
        const bool flagged = (static_cast<std::uint32_t>(get(file, media_file::Flags)) & shown_flag) != 0;
        const std::u16string date = format_date(get(file, media_file::Date));

        const std::array<std::u16string_view, 6> cells{size,           compressed_size,      date,
                                                       version.view(), md5_signature.view(), flagged ? u"F" : u""};
        const bool is_file = name.view() != no_file_name;
        const std::size_t row = m_listCtrl.InsertItem(static_cast<std::size_t>(index - 1), name.view());
        for (std::size_t column = 0; column < cells.size(); ++column)
            m_listCtrl.SetItemText(row, column + 1, is_file ? cells[column] : std::u16string_view{});
    });
}

} // namespace cw
