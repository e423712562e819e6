// The component tree: one flat, sorted level, each component with one child for its files.

#include "app/main_frame.h"
#include "bridges/media_objects.h"
#include "foundation/resource_text.h"
#include "media/internal_names.h"

#include <array>

namespace cw {
namespace {

constexpr std::uint32_t label_components = 144;
constexpr std::uint32_t label_files = 145;
constexpr tree_item_images root_images{12, 12};
constexpr tree_item_images component_images{1, 2};

constexpr auto hidden_names = std::to_array<std::u16string_view>({name_support, name_component_disk, name_engine});

} // namespace

void CMainFrame::BuildComponentTree()
{
    if (!m_media)
        return;
    const HTREEITEM root = InsertRoot(label_components, root_images);
    AddComponents(root, get(m_media.get(), media::Components).get());
}

void CMainFrame::AddComponents(HTREEITEM parent, IDispatch* components)
{
    if (!parent)
        parent = m_treeCtrl.GetRootItem();
    const string files_label = resource_text(label_files);
    for_each_item(components, [&](std::int32_t, IDispatch* component) {
        const string name = get(component, media_component::Name);
        if (!m_expertMode && contains_any(name, hidden_names))
            return;
        // Inserted directly: a component that is called like a shell folder keeps a component's icon.
        const HTREEITEM item = m_treeCtrl.InsertItem(name, component_images, parent);
        m_navNodes[item] = {NODEKIND_COMPONENT, component};
        const automation::com_ptr<IDispatch> files = get(component, media_component::Files);
        InsertNavNode(item, files_label, {NODEKIND_COMPONENT_FILES, files});
    });
    m_treeCtrl.SortChildren(parent);
}

} // namespace cw
