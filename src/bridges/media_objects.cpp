#include "bridges/media_objects.h"

#include "bridges/text_value.h"

namespace cw {
namespace {

// Argument types, one a character.
constexpr char16_t text_argument[] = {VT_BSTR, 0};
constexpr char16_t number_argument[] = {VT_I4, 0};
constexpr char16_t variant_argument[] = {VT_VARIANT, 0};
constexpr char16_t open_arguments[] = {VT_BSTR, VT_VARIANT | optional_argument, 0};

/// A value of the type that a call stores by itself.
template <class Value>
Value read(IDispatch* object, const media_member_row& member)
{
    Value value{};
    dispatch_property_get(object, member.id, member.type, &value);
    return value;
}

/// The library gets a copy of its own of the index or name.
automation::com_ptr<IDispatch> item(IDispatch* collection, const VARIANT& key, const collection_members& members)
{
    automation::variant copy;
    const HRESULT copied = VariantCopy(&copy, &key);
    if (FAILED(copied))
        raise_com_error(copied);
    automation::com_ptr<IDispatch> result;
    dispatch_method(collection, members.item, DISPATCH_PROPERTYGET, VT_DISPATCH, result.put(), variant_argument,
                    static_cast<const VARIANT*>(&copy));
    return result;
}

} // namespace

string get(IDispatch* object, const media_member<VT_BSTR>& member)
{
    return string(get_bstr(object, member).view());
}

automation::bstr get_bstr(IDispatch* object, const media_member<VT_BSTR>& member)
{
    automation::bstr text;
    dispatch_property_get(object, member.id, VT_BSTR, text.put());
    return text;
}

std::int32_t get(IDispatch* object, const media_member<VT_I4>& member)
{
    return read<std::int32_t>(object, member);
}

std::int16_t get(IDispatch* object, const media_member<VT_I2>& member)
{
    return read<std::int16_t>(object, member);
}

bool get(IDispatch* object, const media_member<VT_BOOL>& member)
{
    return read<VARIANT_BOOL>(object, member) != VARIANT_FALSE;
}

double get(IDispatch* object, const media_member<VT_DATE>& member)
{
    return read<DATE>(object, member);
}

automation::variant get(IDispatch* object, const media_member<VT_VARIANT>& member)
{
    automation::variant value;
    dispatch_property_get(object, member.id, VT_VARIANT, static_cast<VARIANT*>(&value));
    return value;
}

automation::com_ptr<IDispatch> get(IDispatch* object, const media_member<VT_DISPATCH>& member)
{
    automation::com_ptr<IDispatch> value;
    dispatch_property_get(object, member.id, VT_DISPATCH, value.put());
    return value;
}

std::int32_t collection_count(IDispatch* collection, const collection_members& members)
{
    std::int32_t count = 0;
    dispatch_property_get(collection, members.count, VT_I4, &count);
    return count;
}

automation::com_ptr<IDispatch> collection_item(IDispatch* collection, std::int32_t index,
                                               const collection_members& members)
{
    return item(collection, automation::variant(index), members);
}

automation::com_ptr<IDispatch> collection_item(IDispatch* collection, std::u16string_view name,
                                               const collection_members& members)
{
    return item(collection, text_value(name), members);
}

automation::com_ptr<IDispatch> open_media(IDispatch* factory, const string& path, const string& password)
{
    const automation::variant password_value = text_value(password);
    automation::com_ptr<IDispatch> media;
    dispatch_method(factory, media_factory::OpenMedia.id, DISPATCH_METHOD, VT_DISPATCH, media.put(), open_arguments,
                    path.c_str(), static_cast<const VARIANT*>(&password_value));
    return media;
}

string product_guid(IDispatch* media)
{
    constexpr int first = 0;
    automation::bstr holder;
    dispatch_method(media, media::ProductGuid.id, DISPATCH_PROPERTYGET, VT_BSTR, holder.put(), number_argument, first);
    return string(holder.view());
}

void extract(IDispatch* file, const string& target)
{
    dispatch_method(file, media_file::Extract.id, DISPATCH_METHOD, VT_EMPTY, nullptr, text_argument, target.c_str());
}

} // namespace cw
