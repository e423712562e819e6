// The collections of the model: which rows each one counts, how it makes its items, and the two
// interfaces that collections have.
#pragma once

#include "readers/mediaforge/row_object.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace cw::mediaforge {

/// One sort of collection. `key` is that of the parent, whose fields come before the position.
struct collection_sort {
    std::u16string_view item_name; // for error texts: "component"
    rows counting;                 // a `_count` query
    com_ptr<IDispatch> (*make_item)(const media_handle& media, const row_key& key, std::int32_t position);
    /// The position of the first item of that name; null where items have no look-up by name.
    std::optional<std::int32_t> (*find)(const media_handle& media, const row_key& key, const std::u16string& name);
};

namespace sorts {
extern const collection_sort features;            // parent feature, 0 at the top
extern const collection_sort required_features;   // feature
extern const collection_sort included_components; // feature
extern const collection_sort properties;          // feature
extern const collection_sort components;          // none
extern const collection_sort files;               // component
extern const collection_sort setup_types;         // none
extern const collection_sort shell_folders;       // parent folder, 0 at the top
extern const collection_sort shortcuts;           // folder
extern const collection_sort registry_sets;       // none
extern const collection_sort set_components;      // registry set
extern const collection_sort registry_keys;       // registry set, hive
extern const collection_sort registry_values;     // registry key
} // namespace sorts

/// What all collections do: count once, find by index or name.
class item_source {
public:
    item_source(media_handle media, const collection_sort& sort, const row_key& key) noexcept
        : m_media(std::move(media)), m_sort(&sort), m_key(key)
    {
    }
    [[nodiscard]] std::int32_t count();
    /// `which` is an index from 1 or, for some sorts, a name. Throws automation_error (E_FAIL) where
    /// there is no such item.
    [[nodiscard]] com_ptr<IDispatch> item(const VARIANT* which);

private:
    media_handle m_media;
    const collection_sort* m_sort;
    row_key m_key;
    std::optional<std::int32_t> m_count; // rows do not change while a media is open
};

/// The position that an `Item` argument means in a collection of `count` items, by index alone.
/// Throws as `item_source::item`.
[[nodiscard]] std::int32_t position_of(const VARIANT* which, std::int32_t count, std::u16string_view item_name);

/// `IMediaCollection`
class collection_object final : public automation::dispatch_object<collection_object> {
public:
    explicit collection_object(media_handle media, const collection_sort& sort, const row_key& key = {}) noexcept
        : m_source(std::move(media), sort, key)
    {
    }
    std::int32_t count() { return m_source.count(); }
    com_ptr<IDispatch> item(const VARIANT* which) { return m_source.item(which); }

    static constexpr IID iid = IID_NULL;
    static constexpr std::u16string_view name = media_collection::interface_name;
    static constexpr std::array members{answers<&collection_object::count>(media_collection::Count),
                                        answers<&collection_object::item>(media_collection::Item)};

private:
    item_source m_source;
};

/// `IMediaFileList`
class file_list_object final : public automation::dispatch_object<file_list_object> {
public:
    file_list_object(media_handle media, std::int64_t component) noexcept
        : m_source(std::move(media), sorts::files, {component})
    {
    }
    std::int32_t count() { return m_source.count(); }
    com_ptr<IDispatch> item(const VARIANT* which) { return m_source.item(which); }

    static constexpr IID iid = IID_NULL;
    static constexpr std::u16string_view name = media_file_list::interface_name;
    static constexpr std::array members{answers<&file_list_object::count>(media_file_list::Count),
                                        answers<&file_list_object::item>(media_file_list::Item)};

private:
    item_source m_source;
};

} // namespace cw::mediaforge
