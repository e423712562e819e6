// Typed reads of the media library's objects, so that builders and presenters name members and are
// free of numbers. Failing calls raise `_com_error`; so does a null object, with E_POINTER.
#pragma once

#include "automation/variant.h"
#include "bridges/media_interface.h"
#include "foundation/dispatch.h"
#include "foundation/string.h"

#include <cstdint>
#include <string_view>

namespace cw {

// A property's value by the type that its member is asked for.

/// The text up to its length; a null text is empty.
[[nodiscard]] string get(IDispatch* object, const media_member<VT_BSTR>& member);
/// The same without a copy of the program's own, for texts that are only passed on; may be null.
[[nodiscard]] automation::bstr get_bstr(IDispatch* object, const media_member<VT_BSTR>& member);
[[nodiscard]] std::int32_t get(IDispatch* object, const media_member<VT_I4>& member);
[[nodiscard]] std::int16_t get(IDispatch* object, const media_member<VT_I2>& member);
/// True for anything but zero.
[[nodiscard]] bool get(IDispatch* object, const media_member<VT_BOOL>& member);
/// Days, as an automation date counts them.
[[nodiscard]] double get(IDispatch* object, const media_member<VT_DATE>& member);
[[nodiscard]] automation::variant get(IDispatch* object, const media_member<VT_VARIANT>& member);
/// May be null.
[[nodiscard]] automation::com_ptr<IDispatch> get(IDispatch* object, const media_member<VT_DISPATCH>& member);

/// The numbers by which a collection is read: a component's files have numbers of their own.
struct collection_members {
    DISPID count;
    DISPID item;
};
inline constexpr collection_members media_items{media_collection::Count.id, media_collection::Item.id};
inline constexpr collection_members component_files{media_file_list::Count.id, media_file_list::Item.id};

[[nodiscard]] std::int32_t collection_count(IDispatch* collection, const collection_members& members = media_items);
/// The item at an index from 1. May be null: that is up to the library.
[[nodiscard]] automation::com_ptr<IDispatch> collection_item(IDispatch* collection, std::int32_t index,
                                                             const collection_members& members = media_items);
/// The item of a name. A name that is not there raises or gives null: that is up to the library.
/// E_OUTOFMEMORY where the name cannot be allocated.
[[nodiscard]] automation::com_ptr<IDispatch> collection_item(IDispatch* collection, std::u16string_view name,
                                                             const collection_members& members = media_items);

/// Calls `work(index, item)` for the items from index 1 on. The count is read anew after each item, so
/// a collection may grow or shrink meanwhile. An item is held while it is dealt with.
template <class Work>
void for_each_item(IDispatch* collection, Work&& work, const collection_members& members = media_items)
{
    for (std::int64_t index = 1; index <= collection_count(collection, members); ++index) {
        const auto place = static_cast<std::int32_t>(index);
        const automation::com_ptr<IDispatch> item = collection_item(collection, place, members);
        work(place, item.get());
    }
}

/// The same over a component's files.
template <class Work>
void for_each_file(IDispatch* files, Work&& work)
{
    for_each_item(files, std::forward<Work>(work), component_files);
}

/// Opens a media through the library's entry object; an empty password for none.
[[nodiscard]] automation::com_ptr<IDispatch> open_media(IDispatch* factory, const string& path, const string& password);
[[nodiscard]] string product_guid(IDispatch* media);
/// Writes a file to the target path.
void extract(IDispatch* file, const string& target);

} // namespace cw
