#include "bridges/log_objects.h"

#include "bridges/text_value.h"

namespace cw {
namespace {

constexpr std::u16string_view word_true = u"True";
constexpr std::u16string_view word_false = u"False";

std::u16string_view text_of_bstr(BSTR text) noexcept
{
    return {text ? text : u"", SysStringLen(text)};
}

/// A text as it lies there, other values converted.
std::u16string_view text_of_value(const VARIANT& value, string& converted)
{
    if (value.vt == VT_BSTR)
        return text_of_bstr(value.bstrVal);
    converted = to_text(value);
    return converted;
}

template <class Collection>
std::int32_t count_of(Collection* collection)
{
    LONG count = 0;
    call(collection, &Collection::Count, &count);
    return count;
}

template <class Item, class Collection>
automation::com_ptr<Item> item_of(Collection* collection, std::int32_t index)
{
    automation::com_ptr<Item> item;
    call(collection, &Collection::Item, automation::variant(index), item.put());
    if (!item)
        raise_com_error(E_POINTER);
    return item;
}

} // namespace

automation::com_ptr<IFeatureLog> feature_log_of(IDispatch* object) noexcept
{
    return automation::query_interface<IFeatureLog>(object, IID_IFeatureLog);
}

std::int32_t collection_count(IFeatureLogCollection* features)
{
    return count_of(features);
}

std::int32_t collection_count(IOperationTypeCollection* types)
{
    return count_of(types);
}

automation::com_ptr<IFeatureLog> collection_item(IFeatureLogCollection* features, std::int32_t index)
{
    return item_of<IFeatureLog>(features, index);
}

automation::com_ptr<IOperationType> collection_item(IOperationTypeCollection* types, std::int32_t index)
{
    return item_of<IOperationType>(types, index);
}

automation::com_ptr<IOperationList> operations_of(IFeatureLog* feature, std::u16string_view type)
{
    const automation::variant name = text_value(type);
    automation::com_ptr<IOperationList> operations;
    call(feature, &IFeatureLog::Operations, name.bstrVal, operations.put());
    return operations;
}

std::int32_t first_position(IOperationList* operations)
{
    LONG position = 0;
    call(operations, &IOperationList::First, 0, &position);
    return position;
}

std::int32_t operation_count(IOperationList* operations)
{
    return count_of(operations);
}

locked_array::locked_array(SAFEARRAY* array, VARTYPE type) : m_array(array)
{
    if (!array)
        return;
    VARTYPE found = VT_EMPTY;
    if (SafeArrayGetDim(array) != 1 || FAILED(SafeArrayGetVartype(array, &found)) || found != type)
        raise_com_error(DISP_E_TYPEMISMATCH);
    const HRESULT result = SafeArrayAccessData(array, &m_data);
    if (FAILED(result))
        raise_com_error(result);
    m_size = element_count(array);
}

locked_array::~locked_array()
{
    if (m_array)
        SafeArrayUnaccessData(m_array);
}

std::u16string_view locked_array::text(std::size_t index) const noexcept
{
    return text_of_bstr(index < m_size ? static_cast<const BSTR*>(m_data)[index] : nullptr);
}

const VARIANT& locked_array::value(std::size_t index) const noexcept
{
    static constexpr VARIANT missing{};
    return index < m_size ? static_cast<const VARIANT*>(m_data)[index] : missing;
}

std::size_t element_count(SAFEARRAY* array) noexcept
{
    return array && array->cDims == 1 ? array->rgsabound[0].cElements : 0;
}

std::u16string_view operation_record::text(const log_element& element) const noexcept
{
    const VARIANT& value = at(element);
    return value.vt == VT_BSTR ? text_of_bstr(value.bstrVal) : std::u16string_view();
}

std::int16_t operation_record::number(const log_element& element) const noexcept
{
    return at(element).iVal;
}

std::u16string_view operation_record::converted_text(const log_element& element, string& converted) const
{
    return text_of_value(at(element), converted);
}

std::u16string_view operation_record::plain_text(std::size_t index, string& converted) const
{
    const VARIANT& value = m_elements.value(index);
    switch (value.iVal) {
    case 0:
        return word_false;
    case -1:
        return word_true;
    default:
        return text_of_value(value, converted);
    }
}

} // namespace cw
