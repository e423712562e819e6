// The feature tree: nested to any depth, in the library's order.

#include "app/main_frame.h"
#include "bridges/media_objects.h"
#include "media/internal_names.h"

#include <array>
#include <cstdint>
#include <vector>

namespace cw {
namespace {

constexpr std::uint32_t label_features = 143;
constexpr tree_item_images root_images{11, 11};

constexpr auto hidden_names = std::to_array<std::u16string_view>({name_support, name_feature_disk});
constexpr auto flattened_names = std::to_array<std::u16string_view>({name_data});

/// A collection of features that is being walked.
struct open_level {
    HTREEITEM parent;
    automation::com_ptr<IDispatch> features;
    std::int64_t next_index = 1;
};

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
    // Features nest as deep as the library says, which may be deeper than a call stack.
    std::vector<open_level> levels{{parent, features}};
    while (!levels.empty()) {
        open_level& level = levels.back();
        if (level.next_index > collection_count(level.features.get())) {
            levels.pop_back();
            continue;
        }
        const automation::com_ptr<IDispatch> feature =
            collection_item(level.features.get(), static_cast<std::int32_t>(level.next_index++));
        const string name = get(feature.get(), media_feature::Name);
        if (!m_expertMode && contains_any(name, hidden_names))
            continue;
        HTREEITEM below = level.parent;
        if (m_expertMode || !contains_any(name, flattened_names))
            below = InsertNavNode(below, name, {NODEKIND_FEATURE, feature});
        levels.push_back({below, get(feature.get(), media_feature::SubFeatures)});
    }
}

} // namespace cw
