// The feature tree: nested to any depth, in the library's order.

#include "app/main_frame.h"
#include "bridges/media_objects.h"
#include "media/internal_names.h"
#include "media/nested_collections.h"

#include <array>

namespace cw {
namespace {

constexpr std::uint32_t label_features = 143;
constexpr tree_item_images root_images{11, 11};

constexpr auto hidden_names = std::to_array<std::u16string_view>({name_support, name_feature_disk});
constexpr auto flattened_names = std::to_array<std::u16string_view>({name_data});

} // namespace

void CMainFrame::BuildFeatureTree()
{
    if (!m_media)
        return;
    const HTREEITEM root = InsertRoot(label_features, root_images);
    AddFeatures(root, get(m_media.get(), media::Features).get());
}

void CMainFrame::AddFeatures(HTREEITEM parent, IDispatch* features)
{
    walk_nested(collection_level{parent, features},
                [&](HTREEITEM below, const automation::com_ptr<IDispatch>& feature) -> std::optional<collection_level> {
                    const string name = get(feature.get(), media_feature::Name);
                    if (!m_expertMode && contains_any(name, hidden_names))
                        return {};
                    if (m_expertMode || !contains_any(name, flattened_names))
                        below = InsertNavNode(below, name, {NODEKIND_FEATURE, feature});
                    return collection_level{below, get(feature.get(), media_feature::SubFeatures)};
                });
}

} // namespace cw
