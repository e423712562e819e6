// The feature tree: nested to any depth, in the library's order.

#include "app/main_frame.h"
#include "bridges/media_objects.h"
#include "media/internal_names.h"

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
    for_each_item(features, [&](std::int32_t, IDispatch* feature) {
        const string name = get(feature, media_feature::Name);
        HTREEITEM below = parent;
        if (!m_expertMode && contains_any(name, hidden_names))
            return;
        if (m_expertMode || !contains_any(name, flattened_names))
            below = InsertNavNode(parent, name, {NODEKIND_FEATURE, feature});
        AddFeatures(below, get(feature, media_feature::SubFeatures).get());
    });
}

} // namespace cw
