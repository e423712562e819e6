// The registry tree: sets, five hives each, and the hierarchy that the keys' paths describe.

#include "app/main_frame.h"
#include "bridges/media_objects.h"
#include "media/sibling_index.h"

#include <array>

namespace cw {
namespace {

constexpr std::uint32_t label_registry_entries = 148;
constexpr tree_item_images root_images{5, 5};
constexpr char16_t key_separator = u'\\';

struct hive {
    std::u16string_view label;
    const media_member<VT_DISPATCH>& keys;
};

// The second label's last letter is how the hive has always been shown.
constexpr auto hives = std::to_array<hive>({
    {u"HKEY_CLASSES_ROOT", media_registry_set::ClassesRootKeys},
    {u"HKEY_CURRENT_USERS", media_registry_set::CurrentUserKeys},
    {u"HKEY_LOCAL_MACHINE", media_registry_set::LocalMachineKeys},
    {u"HKEY_USERS", media_registry_set::UsersKeys},
    {u"HKEY_USER_SELECTABLE", media_registry_set::UserSelectableKeys},
});

/// What follows the first colon; all of a name without one.
string without_prefix(const string& name)
{
    const std::size_t colon = name.find(u":");
    return colon == string::npos ? name : name.substr(colon + 1);
}

} // namespace

void CMainFrame::BuildRegistryTree()
{
    if (!m_media)
        return;
    const HTREEITEM root = InsertRoot(label_registry_entries, root_images);
    AddRegistrySets(root, get(m_media.get(), media::RegistrySets).get());
    m_treeCtrl.SortChildren(root);
}

void CMainFrame::AddRegistrySets(HTREEITEM parent, IDispatch* sets)
{
    for_each_item(sets, [&](std::int32_t, IDispatch* set) {
        const string name = get(set, media_registry_set::Name);
        const HTREEITEM set_item =
            InsertNavNode(parent, m_expertMode ? name : without_prefix(name), {NODEKIND_REGISTRY_KEY, set});
        for (const hive& entry : hives) {
            const HTREEITEM hive_item = InsertNavNode(set_item, entry.label, {NODEKIND_REGISTRY_KEY, nullptr});
            AddRegistryKeys(hive_item, get(set, entry.keys).get());
        }
    });
}

void CMainFrame::AddRegistryKeys(HTREEITEM parent, IDispatch* keys)
{
    sibling_index known;
    for_each_item(keys, [&](std::int32_t, IDispatch* key) {
        const string path = get(key, media_registry_key::Path);
        std::u16string_view rest = path.view();
        HTREEITEM above = parent;
        for (std::size_t end = rest.find(key_separator); end != rest.npos; end = rest.find(key_separator)) {
            const std::u16string_view segment = rest.substr(0, end);
            HTREEITEM next = known.find(above, segment);
            if (!next) {
                next = InsertNavNode(above, segment, {NODEKIND_REGISTRY_KEY, nullptr});
                known.add(above, segment, next);
            }
            above = next;
            rest.remove_prefix(end + 1);
        }
        // A path that is there already gets a second leaf. Where it came to stand right behind its
        // double it goes again, while its node stays in the map. No other two neighbours can be doubles:
        // items come in behind their siblings alone, and each was looked at when it came.
        const HTREEITEM leaf = InsertNavNode(above, rest, {NODEKIND_REGISTRY_KEY, key});
        if (!known.add(above, rest, leaf) &&
            string(m_treeCtrl.GetItemText(m_treeCtrl.GetPrevSiblingItem(leaf))).equals_no_case(string(rest)))
            m_treeCtrl.DeleteItem(leaf);
    });
}

} // namespace cw
