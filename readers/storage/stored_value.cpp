#include "readers/storage/stored_value.h"

#include "readers/storage/text.h"

#include <cmath>
#include <limits>

namespace cw::storage {
namespace {

template <class Integer>
Integer ranged(const typed_row& row, unsigned column)
{
    const std::int64_t value = row.integer(column);
    if (value < static_cast<std::int64_t>(std::numeric_limits<Integer>::min()) ||
        value > static_cast<std::int64_t>(std::numeric_limits<Integer>::max()))
        row.contradict(u"the number " + to_utf16(std::to_string(value)) + u" does not fit its type");
    return static_cast<Integer>(value);
}

float stored_float(const typed_row& row, unsigned column)
{
    const double value = row.real(column);
    if (std::abs(value) > static_cast<double>(std::numeric_limits<float>::max()))
        row.contradict(u"a real does not fit its type");
    return static_cast<float>(value);
}

/// Stores the column in a variant's field; the type is set last, so a failure leaves nothing owned.
void store_scalar(const typed_row& row, VARTYPE type, unsigned column, VARIANT& value)
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

void refuse_type(const typed_row& row, VARTYPE type)
{
    row.contradict(u"values have no type " + to_utf16(std::to_string(type)));
}

automation::variant scalar_value(const typed_row& row, VARTYPE type, unsigned column)
{
    automation::variant value;
    store_scalar(row, type, column, value);
    return value;
}

} // namespace cw::storage
