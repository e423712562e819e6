// From a tree selection to the presenter that fills the list.

#include "app/main_frame.h"

#include <array>

namespace cw {
namespace {

using presenter = void (CMainFrame::*)(HTREEITEM);

struct dispatch_entry {
    node_kind kind;
    presenter show;
};

// A kind without an entry empties the list.
constexpr auto presenters = std::to_array<dispatch_entry>({
    {NODEKIND_FEATURE, &CMainFrame::ShowFeature},
    {NODEKIND_COMPONENT, &CMainFrame::ShowComponent},
    {NODEKIND_COMPONENT_FILES, &CMainFrame::ShowComponent},
    {NODEKIND_SETUP_TYPE_FEATURE, &CMainFrame::ShowFeature},
});

presenter find_presenter(node_kind kind)
{
    for (const dispatch_entry& entry : presenters)
        if (entry.kind == kind)
            return entry.show;
    return nullptr;
}

} // namespace

void CMainFrame::OnTreeSelectionChanged()
{
    const HTREEITEM item = m_treeCtrl.GetSelectedItem();
    m_listCtrl.SetSmallImages(&m_spacerImages);
    const HTREEITEM parent = m_treeCtrl.GetParentItem(item);
    const auto found = m_navNodes.find(item);
    if (found == m_navNodes.end()) {
        SetListColumns(NODEKIND_FEATURE);
        return;
    }
    // A copy: the object stays alive whatever happens to the map meanwhile.
    const NavNode node = found->second;
    const presenter show = node.object && parent ? find_presenter(node.kind) : nullptr;
    if (show)
        (this->*show)(item);
    else
        m_listCtrl.DeleteAllItems();
}

} // namespace cw
