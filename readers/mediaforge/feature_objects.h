// Features, their properties, and setup types, which show a part of the features.
#pragma once

#include "readers/mediaforge/collections.h"

#include <map>
#include <memory>
#include <vector>

namespace cw::mediaforge {

/// The features of one setup type: below each feature those of its children that belong to the type.
/// Features whose parent does not belong to it stand at the top, which is key 0.
using setup_type_tree = std::map<std::int64_t, std::vector<std::int64_t>>;

/// `IMediaFeature`
class feature_object final : public row_object<feature_object> {
public:
    /// `tree` is given where the feature is seen through a setup type, and null otherwise.
    feature_object(media_handle media, std::int64_t id, std::shared_ptr<const setup_type_tree> tree = {}) noexcept
        : row_object(std::move(media), {id}), m_tree(std::move(tree))
    {
    }
    com_ptr<IDispatch> sub_features();
    com_ptr<IDispatch> included_components();
    com_ptr<IDispatch> required_features();
    /// Null where the feature has none.
    com_ptr<IDispatch> object_properties();

    static constexpr rows source = rows::feature;
    static constexpr IID iid = IID_IMediaFeature;
    static constexpr std::u16string_view name = media_feature::interface_name;
    static constexpr std::array members = members_of<feature_object, formats::feature_columns>(
        answers<&feature_object::sub_features>(media_feature::SubFeatures),
        answers<&feature_object::included_components>(media_feature::IncludedComponents),
        answers<&feature_object::required_features>(media_feature::RequiredFeatures),
        answers<&feature_object::object_properties>(media_feature::ObjectProperties));

private:
    std::shared_ptr<const setup_type_tree> m_tree;
};

/// `IMediaFeatureProperty`
class feature_property_object final : public row_object<feature_property_object> {
public:
    feature_property_object(media_handle media, std::int64_t feature, std::int32_t position) noexcept
        : row_object(std::move(media), {feature, position})
    {
    }
    automation::variant value();
    automation::bstr property_name();

    static constexpr rows source = rows::property;
    static constexpr IID iid = IID_NULL;
    static constexpr std::u16string_view name = media_feature_property::interface_name;
    static constexpr std::array members{answers<&feature_property_object::value>(media_feature_property::Value),
                                        answers<&feature_property_object::property_name>(media_feature_property::Name)};
};

/// `IMediaSetupType`
class setup_type_object final : public row_object<setup_type_object> {
public:
    setup_type_object(media_handle media, std::int64_t id) noexcept : row_object(std::move(media), {id}) {}
    com_ptr<IDispatch> features();

    static constexpr rows source = rows::setup_type;
    static constexpr IID iid = IID_NULL;
    static constexpr std::u16string_view name = media_setup_type::interface_name;
    static constexpr std::array members = members_of<setup_type_object, formats::setup_type_columns>(
        answers<&setup_type_object::features>(media_setup_type::Features));

private:
    std::shared_ptr<const setup_type_tree> m_tree;
};

/// `IMediaCollection` of features seen through a setup type.
class setup_type_features final : public automation::dispatch_object<setup_type_features> {
public:
    /// The features below `parent`, 0 for the top.
    setup_type_features(media_handle media, std::shared_ptr<const setup_type_tree> tree, std::int64_t parent);
    std::int32_t count();
    com_ptr<IDispatch> item(const VARIANT* which);

    static constexpr IID iid = IID_NULL;
    static constexpr std::u16string_view name = media_collection::interface_name;
    static constexpr std::array members{answers<&setup_type_features::count>(media_collection::Count),
                                        answers<&setup_type_features::item>(media_collection::Item)};

private:
    media_handle m_media;
    std::shared_ptr<const setup_type_tree> m_tree;
    const std::vector<std::int64_t>* m_ids; // inside the tree, or an empty one
};

} // namespace cw::mediaforge
