#include "readers/mediaforge/stored_value.h"

#include "readers/mediaforge/text.h"

#include <cmath>
#include <limits>
#include <new>
#include <vector>

namespace cw::mediaforge {
namespace {

template <class Integer>
Integer ranged(const row_cursor& row, unsigned column)
{
    const std::int64_t value = row.integer(column);
    if (value < static_cast<std::int64_t>(std::numeric_limits<Integer>::min()) ||
        value > static_cast<std::int64_t>(std::numeric_limits<Integer>::max()))
        row.contradict(u"the number " + to_utf16(std::to_string(value)) + u" does not fit its type");
    return static_cast<Integer>(value);
}

[[noreturn]] void refuse_type(const row_cursor& row, VARTYPE type)
{
    row.contradict(u"values have no type " + to_utf16(std::to_string(type)));
}

float stored_float(const row_cursor& row, unsigned column)
{
    const double value = row.real(column);
    if (std::abs(value) > static_cast<double>(std::numeric_limits<float>::max()))
        row.contradict(u"a real does not fit its type");
    return static_cast<float>(value);
}

/// Stores the column in a variant's field; the type is set last, so a failure leaves nothing owned.
void store_scalar(const row_cursor& row, VARTYPE type, unsigned column, VARIANT& value)
{
    switch (type) {
    case VT_EMPTY:
    case VT_NULL:
        break;
    case VT_I1:
        value.cVal = ranged<std::int8_t>(row, column);
        break;
    case VT_UI1:
        value.bVal = ranged<std::uint8_t>(row, column);
        break;
    case VT_I2:
        value.iVal = ranged<std::int16_t>(row, column);
        break;
    case VT_UI2:
        value.uiVal = ranged<std::uint16_t>(row, column);
        break;
    case VT_I4:
    case VT_INT:
        value.lVal = ranged<std::int32_t>(row, column);
        break;
    case VT_UI4:
    case VT_UINT:
        value.ulVal = ranged<std::uint32_t>(row, column);
        break;
    case VT_I8:
        value.llVal = row.integer(column);
        break;
    case VT_UI8:
        // Stored in the bits of a signed integer.
        value.ullVal = static_cast<std::uint64_t>(row.integer(column));
        break;
    case VT_ERROR:
        value.scode = static_cast<SCODE>(row.integer(column));
        break;
    case VT_CY:
        value.cyVal.int64 = row.integer(column);
        break;
    case VT_BOOL:
        value.boolVal = row.integer(column) != 0 ? VARIANT_TRUE : VARIANT_FALSE;
        break;
    case VT_R4:
        value.fltVal = stored_float(row, column);
        break;
    case VT_R8:
        value.dblVal = row.real(column);
        break;
    case VT_DATE:
        value.date = row.real(column);
        break;
    case VT_BSTR:
        value.bstrVal = row.is_null(column) ? nullptr : to_bstr(row.text(column)).detach();
        break;
    default:
        refuse_type(row, type);
    }
    value.vt = type;
}

} // namespace

automation::variant scalar_value(const row_cursor& row, VARTYPE type, unsigned column)
{
    automation::variant value;
    store_scalar(row, type, column, value);
    return value;
}

automation::variant array_value(row_cursor& elements, VARTYPE type, std::int64_t lower_bound)
{
    const auto element_type = static_cast<VARTYPE>(type & VT_TYPEMASK);
    if (type != (VT_ARRAY | element_type))
        refuse_type(elements, type);
    std::vector<automation::variant> values;
    while (elements.next()) {
        if (elements.integer(0) != static_cast<std::int64_t>(values.size()))
            elements.contradict(u"the elements of an array have a gap");
        const auto own_type = static_cast<VARTYPE>(elements.natural(1, UINT16_MAX));
        if (own_type != element_type && element_type != VT_VARIANT)
            elements.contradict(u"an element is not of its array's type");
        values.push_back(scalar_value(elements, own_type, 2));
    }
    const auto size = static_cast<std::int64_t>(values.size());
    if (lower_bound < std::numeric_limits<LONG>::min() || lower_bound > std::numeric_limits<LONG>::max() - size)
        elements.contradict(u"the bounds of an array are out of range");
    SAFEARRAY* array = SafeArrayCreateVector(element_type, static_cast<LONG>(lower_bound), static_cast<ULONG>(size));
    if (!array)
        refuse_type(elements, type);
    automation::variant result;
    result.parray = array;
    result.vt = type;
    for (LONG i = 0; i < size; ++i) {
        VARIANT& value = values[static_cast<std::size_t>(i)];
        const LONG index = static_cast<LONG>(lower_bound) + i;
        void* element = element_type == VT_VARIANT ? static_cast<void*>(&value)
                        : element_type == VT_BSTR  ? static_cast<void*>(value.bstrVal)
                                                   : static_cast<void*>(&value.llVal);
        if (FAILED(SafeArrayPutElement(array, &index, element)))
            throw std::bad_alloc();
    }
    return result;
}

} // namespace cw::mediaforge
