// Registry sets, keys and values.
#pragma once

#include "readers/mediaforge/collections.h"

namespace cw::mediaforge {

/// `IMediaRegistrySet`
class registry_set_object final : public row_object<registry_set_object> {
public:
    registry_set_object(media_handle media, std::int64_t id) noexcept : row_object(std::move(media), {id}) {}
    com_ptr<IDispatch> components();
    /// The keys of a hive, by its place in `formats::registry_hives`.
    template <std::size_t Hive>
    com_ptr<IDispatch> keys()
    {
        return make_object<collection_object>(m_media, sorts::registry_keys, row_key{m_key.first, Hive});
    }

    static constexpr rows source = rows::registry_set;
    static constexpr IID iid = IID_IMediaRegistrySet;
    static constexpr std::u16string_view name = media_registry_set::interface_name;
    static constexpr std::array members = members_of<registry_set_object, formats::registry_set_columns>(
        answers<&registry_set_object::components>(media_registry_set::Components),
        answers<&registry_set_object::keys<0>>(formats::registry_hives[0]),
        answers<&registry_set_object::keys<1>>(formats::registry_hives[1]),
        answers<&registry_set_object::keys<2>>(formats::registry_hives[2]),
        answers<&registry_set_object::keys<3>>(formats::registry_hives[3]),
        answers<&registry_set_object::keys<4>>(formats::registry_hives[4]));
};

/// `IMediaRegistryKey`
class registry_key_object final : public row_object<registry_key_object> {
public:
    registry_key_object(media_handle media, std::int64_t id) noexcept : row_object(std::move(media), {id}) {}
    com_ptr<IDispatch> values();

    static constexpr rows source = rows::registry_key;
    static constexpr IID iid = IID_IMediaRegistryKey;
    static constexpr std::u16string_view name = media_registry_key::interface_name;
    static constexpr std::array members = members_of<registry_key_object, formats::registry_key_columns>(
        answers<&registry_key_object::values>(media_registry_key::Values));
};

/// `IMediaRegistryValue`
class registry_value_object final : public row_object<registry_value_object> {
public:
    registry_value_object(media_handle media, std::int64_t key, std::int32_t position) noexcept
        : row_object(std::move(media), {key, position})
    {
    }
    automation::variant data();

    static constexpr rows source = rows::registry_value;
    static constexpr IID iid = IID_NULL;
    static constexpr std::u16string_view name = media_registry_value::interface_name;
    static constexpr std::array members = members_of<registry_value_object, formats::registry_value_columns>(
        answers<&registry_value_object::data>(media_registry_value::Data));
};

} // namespace cw::mediaforge
