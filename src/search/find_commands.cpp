// The commands of the Search menu: what a search starts from, and where the next one goes on.

#include "app/main_frame.h"
#include "bridges/log_objects.h"
#include "foundation/resource_text.h"
#include "search/find_dialog.h"

namespace cw {
namespace {

constexpr std::uint32_t text_not_found = 278;

} // namespace

void CMainFrame::OnFind(std::uint32_t)
{
    CFindDlg dialog(Services());
    if (!dialog.DoModal())
        return;
    m_findText = CString(dialog.Text().view());
    const HTREEITEM top = m_treeCtrl.GetRootItem();
    if (!top)
        return;
    // Always from the main feature on, whatever is selected.
    m_findAnchor = m_treeCtrl.GetChildItem(top);
    m_treeCtrl.SelectItem(m_findAnchor);
    OnFindNext({});
}

void CMainFrame::OnUpdateFind(command_ui& ui)
{
    ui.Enable(HasLogLoader());
}

void CMainFrame::OnFindNext(std::uint32_t)
{
    if (m_findText.IsEmpty())
        return;
    m_findMatcher = text_matcher(m_findText);
    const HTREEITEM selected = m_treeCtrl.GetSelectedItem();
    const HTREEITEM current = selected ? selected : m_findAnchor;

    const std::size_t selected_row = m_listCtrl.GetSelectedRow();
    if (SelectMatchingRow(selected_row == CListCtrl::no_row ? 0 : selected_row + 1, every_column))
        return;

    m_findText = CString(m_findMatcher.text());
    if (const auto node = m_navNodes.find(current);
        node != m_navNodes.end() && feature_log_of(node->second.object.get()))
        for (HTREEITEM child = m_treeCtrl.GetChildItem(current); child; child = m_treeCtrl.GetNextSiblingItem(child))
            if (SearchNode(child))
                return;

    if (SearchFollowingNodes(current)) {
        m_findAnchor = m_treeCtrl.GetSelectedItem();
        return;
    }
    Services().show_message(resource_text(text_not_found), message_icon::none);
}

void CMainFrame::OnUpdateFindNext(command_ui& ui)
{
    ui.Enable(!m_findText.IsEmpty());
}

} // namespace cw
