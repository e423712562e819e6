// From a tree selection to the presenter that fills the list.

#include "app/main_frame.h"

#include <array>

namespace cw {
namespace {

using presenter = void (CMainFrame::*)(HTREEITEM);

struct dispatch_entry {
    node_kind kind;
    presenter show;
    /// Rows of this kind have icons, which are those of the tree.
    bool row_icons = false;
};

// A kind without an entry empties the list.
constexpr auto presenters = std::to_array<dispatch_entry>({
    {NODEKIND_FEATURE, &CMainFrame::ShowFeature},
    {NODEKIND_COMPONENT, &CMainFrame::ShowComponent},
    {NODEKIND_COMPONENT_FILES, &CMainFrame::ShowComponent},
    {NODEKIND_SETUP_TYPE_FEATURE, &CMainFrame::ShowFeature},
    {NODEKIND_SHELL_FOLDER, &CMainFrame::ShowShellObject},
    {NODEKIND_REGISTRY_KEY, &CMainFrame::ShowRegistryNode, true},
    {NODEKIND_MEDIA_SETTINGS, &CMainFrame::ShowMediaSettings},
    {NODEKIND_LOG_FEATURE, &CMainFrame::ShowFeatureLogProperties},
    {NODEKIND_LOG_FILE, &CMainFrame::ShowFileOperations},
    {NODEKIND_LOG_FILEREG, &CMainFrame::ShowSelfRegistrationOperations},
    {NODEKIND_LOG_REGISTRY, &CMainFrame::ShowBothRegistryOperations},
    {NODEKIND_LOG_INI, &CMainFrame::ShowIniOperations},
    {NODEKIND_LOG_SHELL, &CMainFrame::ShowShellOperations},
    {NODEKIND_LOG_GENERAL, &CMainFrame::ShowGeneralOperations},
    {NODEKIND_LOG_DOTNET, &CMainFrame::ShowDotNetOperations},
    {NODEKIND_SHELL_SHORTCUT, &CMainFrame::ShowShellObject},
});

const dispatch_entry* find_presenter(node_kind kind)
{
    for (const dispatch_entry& entry : presenters)
        if (entry.kind == kind)
            return &entry;
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
    // Of the roots the media's settings alone have a list.
    const bool has_list = node.object && (parent || node.kind == NODEKIND_MEDIA_SETTINGS);
    const dispatch_entry* const entry = has_list ? find_presenter(node.kind) : nullptr;
    if (!entry) {
        m_listCtrl.DeleteAllItems();
        return;
    }
    if (entry->row_icons)
        m_listCtrl.SetSmallImages(&m_treeImages);
    (this->*entry->show)(item);
}

} // namespace cw
