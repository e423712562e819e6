// The view filter, Expert Mode, and the rebuilding of the tree that both end in.

#include "app/main_frame.h"
#include "app/menus.h"
#include "app/view_filters.h"

#include <array>

namespace cw {
namespace {

constexpr auto filters = std::to_array<view_filter>({
    {ID_VIEW_ALL, view_filter_all, nullptr},
    {ID_VIEW_FEATURES, u"Features", &CMainFrame::BuildFeatureTree},
    {ID_VIEW_COMPONENTS, u"Components", &CMainFrame::BuildComponentTree},
    {ID_VIEW_SETUP_TYPES, u"SetupTypes", &CMainFrame::BuildSetupTypeTree},
    {ID_VIEW_SHELL_OBJECTS, u"ShellObjects", &CMainFrame::BuildShellTree},
    {ID_VIEW_REGISTRY_SETS, u"RegistrySets", &CMainFrame::BuildRegistryTree},
    {ID_VIEW_MEDIA_SETTINGS, u"MediaSettings", &CMainFrame::BuildMediaSettingsNode},
});

} // namespace

std::span<const view_filter> view_filters() noexcept
{
    return filters;
}

const view_filter* find_view_filter(std::uint32_t command_id) noexcept
{
    for (const view_filter& filter : filters)
        if (filter.command_id == command_id)
            return &filter;
    return nullptr;
}

void CMainFrame::RebuildTree()
{
    ClearTreeAndList();
    const bool all = m_viewFilter == view_filter_all;
    for (const view_filter& filter : filters)
        if (filter.build && (all || m_viewFilter == filter.name))
            (this->*filter.build)();
    if (!all)
        m_treeCtrl.Expand(m_treeCtrl.GetRootItem());
    if (m_pTreePane)
        SetFocus(*m_pTreePane);
    m_treeCtrl.SelectItem({});
    m_treeCtrl.EnsureVisible(m_treeCtrl.GetRootItem());
}

void CMainFrame::OnViewFilter(std::uint32_t id)
{
    if (const view_filter* filter = find_view_filter(id)) {
        m_viewFilter = CString(filter->name);
        RebuildTree();
    }
}

void CMainFrame::OnUpdateViewFilter(command_ui& ui)
{
    const view_filter* filter = find_view_filter(ui.id());
    ui.Enable(static_cast<bool>(m_media));
    ui.SetCheck(filter && m_viewFilter == filter->name);
}

void CMainFrame::OnExpertMode(std::uint32_t)
{
    m_expertMode = !m_expertMode;
    RebuildTree();
}

void CMainFrame::OnUpdateExpertMode(command_ui& ui)
{
    ui.Enable(static_cast<bool>(m_media));
    // With no media the check mark stays as it last was.
    if (m_media)
        ui.SetCheck(m_expertMode);
}

} // namespace cw
