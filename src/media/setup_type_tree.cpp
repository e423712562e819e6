// The setup type tree: each type with a "Features" child that holds what the type installs.

#include "app/main_frame.h"
#include "bridges/media_objects.h"
#include "foundation/resource_text.h"
#include "media/internal_names.h"
#include "media/nested_collections.h"

#include <array>

namespace cw {
namespace {

constexpr std::uint32_t label_setup_types = 149;
constexpr std::uint32_t label_features = 143;
constexpr tree_item_images root_images{10, 10};

// A "<Data>" feature is shown here like any other.
constexpr auto hidden_names = std::to_array<std::u16string_view>({name_support, name_feature_disk});

} // namespace

void CMainFrame::BuildSetupTypeTree()
{
    if (!m_media)
        return;
    const HTREEITEM root = InsertRoot(label_setup_types, root_images);
    const string features_label = resource_text(label_features);
    const automation::com_ptr<IDispatch> types = get(m_media.get(), media::SetupTypes);
    for_each_item(types.get(), [&](std::int32_t, IDispatch* type) {
        const automation::com_ptr<IDispatch> features = get(type, media_setup_type::Features);
        const string name = get(type, media_setup_type::Name);
        const HTREEITEM item = InsertNavNode(root, name, {NODEKIND_SETUP_TYPE, type});
        AddSetupTypeFeatures(InsertNavNode(item, features_label, {NODEKIND_SETUP_TYPE, nullptr}), features.get());
    });
}

void CMainFrame::AddSetupTypeFeatures(HTREEITEM parent, IDispatch* features)
{
    walk_nested(collection_level{parent, features},
                [&](HTREEITEM below, const automation::com_ptr<IDispatch>& feature) -> std::optional<collection_level> {
                    const string name = get(feature.get(), media_feature::Name);
                    if (!m_expertMode && contains_any(name, hidden_names))
                        return {};
                    const HTREEITEM item = InsertNavNode(below, name, {NODEKIND_SETUP_TYPE_FEATURE, feature});
                    return collection_level{item, get(feature.get(), media_feature::SubFeatures)};
                });
}

} // namespace cw
