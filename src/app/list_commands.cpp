// What a person does with the list: copy the selected row, its context menu, sorting by a column.

#include "app/main_frame.h"
#include "app/menus.h"
#include "app/row_text.h"
#include "app/sort_order.h"

#include <array>

namespace cw {

void CMainFrame::OnCopy(std::uint32_t)
{
    const std::size_t row = m_listCtrl.GetSelectedRow();
    if (row == CListCtrl::no_row)
        return;
    const std::u16string text = row_text(m_listCtrl, std::array{row});
    // The clipboard keeps what it has where there is not a single character to copy.
    if (!text.empty())
        Services().put_on_clipboard(text);
}

void CMainFrame::OnUpdateCopy(command_ui& ui)
{
    ui.Enable(m_media || m_logLoader);
}

void CMainFrame::OnListRightClick()
{
    if (m_listCtrl.GetSelectedCount() > 0)
        Services().show_context_menu(list_context_menu());
}

void CMainFrame::OnHeaderClick()
{
    sort_order& order = current_sort_order();
    const std::size_t column = m_listCtrl.GetClickedColumn();
    order.column = static_cast<std::int32_t>(column);
    const bool descending = order.descending;
    m_listCtrl.SortItems([&](std::size_t a, std::size_t b) {
        const std::u16string_view first = m_listCtrl.GetItemText(descending ? b : a, column);
        const std::u16string_view second = m_listCtrl.GetItemText(descending ? a : b, column);
        return compare_code_units(first, second);
    });
    order.descending = !order.descending;
}

} // namespace cw
