// The operations through which every builder and presenter of the frame goes: one inserts a node,
// two add a row, one sets the columns.

#include "app/main_frame.h"
#include "foundation/resource_text.h"

#include <algorithm>
#include <array>

namespace cw {
namespace {

constexpr std::uint32_t label_features = 143;
constexpr std::uint32_t label_yes = 150;
constexpr std::uint32_t label_no = 151;
constexpr std::uint32_t label_desktop = 279;
constexpr std::uint32_t label_start_menu = 280;

constexpr tree_item_images default_images{1, 2};

struct kind_images {
    node_kind kind;
    tree_item_images images;
    bool first_level_only;
};

constexpr auto images_by_kind = std::to_array<kind_images>({
    {NODEKIND_COMPONENT_FILES, {3, 3}, false},
    {NODEKIND_LOG_FILE, {3, 3}, false},
    {NODEKIND_LOG_INI, {3, 3}, false},
    {NODEKIND_SETUP_TYPE, {10, 10}, false},
    {NODEKIND_LOG_SHELL, {4, 4}, false},
    {NODEKIND_SHELL_SHORTCUT, {4, 4}, false},
    {NODEKIND_LOG_GENERAL, {0, 0}, false},
    {NODEKIND_LOG_DOTNET, {9, 9}, false},
    {NODEKIND_REGISTRY_KEY, {5, 5}, true},
    {NODEKIND_LOG_FILEREG, {5, 5}, true},
    {NODEKIND_LOG_REGISTRY, {5, 5}, true},
});

/// A text that decides the images whatever the kind says, or of one kind only.
struct text_images {
    string text;
    node_kind kind; // negative: any
    tree_item_images images;
};

tree_item_images images_for(node_kind kind, const string& text, bool has_grandparent)
{
    // Later rows win over earlier ones. The labels are loaded once: every item passes here.
    static const std::array<text_images, 4> images_by_text{{
        {resource_text(label_features), NODEKIND_SETUP_TYPE, {11, 11}},
        {resource_text(label_desktop), -1, {14, 14}},
        {resource_text(label_start_menu), -1, {15, 15}},
        {u"<Data>", -1, {16, 16}},
    }};

    tree_item_images images = default_images;
    for (const kind_images& rule : images_by_kind)
        if (rule.kind == kind && !(rule.first_level_only && has_grandparent))
            images = rule.images;
    for (const text_images& rule : images_by_text)
        if ((rule.kind < 0 || rule.kind == kind) && text.equals_no_case(rule.text))
            images = rule.images;
    return images;
}

} // namespace

HTREEITEM CMainFrame::InsertNavNode(HTREEITEM parent, const string& text, const NavNode& node)
{
    HTREEITEM grandparent;
    if (parent)
        grandparent = m_treeCtrl.GetParentItem(parent);
    else
        parent = m_treeCtrl.GetRootItem();
    const HTREEITEM item =
        m_treeCtrl.InsertItem(text, images_for(node.kind, text, static_cast<bool>(grandparent)), parent);
    m_navNodes[item] = node;
    return item;
}

HTREEITEM CMainFrame::InsertRoot(std::uint32_t label_id, tree_item_images images)
{
    return m_treeCtrl.InsertItem(resource_text(label_id), images, {});
}

void CMainFrame::AddPropertyRow(std::size_t row, std::uint32_t label_id, const string& value)
{
    AddPropertyRow(row, resource_text(label_id), value);
}

void CMainFrame::AddPropertyRow(std::size_t row, const string& label, const string& value)
{
    m_listCtrl.InsertItem(row, label);
    m_listCtrl.SetItemText(row, 1, value);
}

void CMainFrame::AddYesNoRow(std::size_t row, std::uint32_t label_id, bool flag)
{
    AddPropertyRow(row, label_id, resource_text(flag ? label_yes : label_no));
}

void CMainFrame::SetListColumns(node_kind kind)
{
    const ColumnSet* set = find_column_set(kind);
    if (!set)
        return;
    m_listCtrl.DeleteAllItems();
    // One deletion more than there are columns: the last finds nothing and ends the loop.
    while (m_listCtrl.DeleteColumn(0)) {
    }
    std::size_t index = 0;
    for (const column_definition& column : set->columns) {
        m_listCtrl.InsertColumn(index++, resource_text(column.label_id), column.width_in_pixels);
    }
}

} // namespace cw
