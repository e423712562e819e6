// The tree of what the setup puts into the desktop's shell: folders within folders, and shortcuts.

#include "app/main_frame.h"
#include "bridges/media_objects.h"
#include "media/nested_collections.h"

namespace cw {
namespace {

constexpr std::uint32_t label_explorer_shell = 146;
constexpr tree_item_images root_images{13, 13};

} // namespace

void CMainFrame::BuildShellTree()
{
    if (!m_media)
        return;
    const HTREEITEM root = InsertRoot(label_explorer_shell, root_images);
    AddShellFolders(root, get(m_media.get(), media::ShellFolders).get());
}

void CMainFrame::AddShellFolders(HTREEITEM parent, IDispatch* folders)
{
    const auto enter = [&](HTREEITEM below,
                           const automation::com_ptr<IDispatch>& folder) -> std::optional<collection_level> {
        const string name = get(folder.get(), media_shell_folder::Name);
        const HTREEITEM item = InsertNavNode(below, name, {NODEKIND_SHELL_FOLDER, folder});
        return collection_level{item, get(folder.get(), media_shell_folder::SubFolders), folder};
    };
    // A folder's shortcuts stand behind all of its sub-folders.
    const auto leave = [&](const collection_level& level) {
        if (!level.owner)
            return;
        const automation::com_ptr<IDispatch> shortcuts = get(level.owner.get(), media_shell_folder::Shortcuts);
        for_each_item(shortcuts.get(), [&](std::int32_t, IDispatch* shortcut) {
            InsertNavNode(level.parent, get(shortcut, media_shortcut::Name), {NODEKIND_SHELL_SHORTCUT, shortcut});
        });
    };
    walk_nested(collection_level{parent, folders}, enter, leave);
}

} // namespace cw
