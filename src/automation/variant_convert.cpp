#include "automation/date_text.h"
#include "automation/dispatch.h"
#include "automation/element_types.h"
#include "automation/number_text.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <span>
#include <variant>

namespace {

using namespace cw::automation::detail;
using cw::automation::bstr;
using cw::automation::com_ptr;
using cw::automation::query_interface;
using cw::automation::variant;

// A default property may be an object with a default property of its own; an object that is its own
// default property must not be asked for ever.
constexpr int most_default_properties = 16;

constexpr double date_lower_limit = -657435.0; // both exclusive: the years 100 to 9999
constexpr double date_upper_limit = 2958466.0;

constexpr std::u16string_view true_texts[] = {u"True", u"#TRUE#"};
constexpr std::u16string_view false_texts[] = {u"False", u"#FALSE#"};

struct integer_range {
    VARTYPE type;
    std::int64_t least; // 0 means unsigned
    std::uint64_t most;
};

template <class T>
constexpr integer_range range_of(VARTYPE type)
{
    return {type, static_cast<std::int64_t>(std::numeric_limits<T>::min()),
            static_cast<std::uint64_t>(std::numeric_limits<T>::max())};
}

constexpr integer_range integer_ranges[] = {range_of<std::int8_t>(VT_I1),   range_of<std::uint8_t>(VT_UI1),
                                            range_of<std::int16_t>(VT_I2),  range_of<std::uint16_t>(VT_UI2),
                                            range_of<std::int32_t>(VT_I4),  range_of<std::uint32_t>(VT_UI4),
                                            range_of<std::int64_t>(VT_I8),  range_of<std::uint64_t>(VT_UI8),
                                            range_of<std::int32_t>(VT_INT), range_of<std::uint32_t>(VT_UINT)};

const integer_range* find_integer_range(VARTYPE type) noexcept
{
    const auto found = std::ranges::find(integer_ranges, type, &integer_range::type);
    return found == std::end(integer_ranges) ? nullptr : found;
}

// What a source comes down to before the target is made from it.
using number = std::variant<exact_number, float, double>;

std::u16string_view view_of(const VARIANT& text) noexcept
{
    return {text.bstrVal ? text.bstrVal : u"", SysStringLen(text.bstrVal)};
}

bool equal_ignoring_ascii_case(std::u16string_view a, std::u16string_view b) noexcept
{
    auto lower = [](char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c; };
    return std::ranges::equal(a, b, {}, lower, lower);
}

bool is_one_of(std::u16string_view text, std::span<const std::u16string_view> words) noexcept
{
    return std::ranges::any_of(words, [&](auto word) { return equal_ignoring_ascii_case(text, word); });
}

// The number that a scalar other than text is; null for types that are none.
std::optional<number> number_of(const VARIANT& source) noexcept
{
    switch (source.vt) {
    case VT_EMPTY:
        return exact_number{};
    case VT_I1:
        return exact_from_signed(source.cVal);
    case VT_I2:
        return exact_from_signed(source.iVal);
    case VT_I4:
    case VT_INT:
        return exact_from_signed(source.lVal);
    case VT_I8:
        return exact_from_signed(source.llVal);
    case VT_UI1:
        return exact_from_unsigned(source.bVal);
    case VT_UI2:
        return exact_from_unsigned(source.uiVal);
    case VT_UI4:
    case VT_UINT:
        return exact_from_unsigned(source.ulVal);
    case VT_UI8:
        return exact_from_unsigned(source.ullVal);
    case VT_BOOL:
        return exact_from_signed(source.boolVal == VARIANT_FALSE ? 0 : -1);
    case VT_CY:
        return exact_from_currency(source.cyVal);
    case VT_DECIMAL:
        if (const auto value = exact_from_decimal(source.decVal))
            return *value;
        return std::nullopt;
    case VT_R4:
        return source.fltVal;
    case VT_R8:
        return source.dblVal;
    case VT_DATE:
        return source.date;
    default:
        return std::nullopt;
    }
}

long double rounded_half_to_even(long double value) noexcept
{
    const long double below = std::floor(value);
    const long double above_half = value - below - 0.5L;
    if (above_half < 0 || (above_half == 0 && std::fmod(below, 2.0L) == 0))
        return below;
    return below + 1;
}

// An integer as it is, which every integer type's range can be compared with; null past 64 bits.
std::optional<exact_number> integer_of(long double value) noexcept
{
    constexpr long double limit = 18446744073709551616.0L; // 2^64
    const long double whole = rounded_half_to_even(value);
    if (!(std::fabs(whole) < limit))
        return std::nullopt;
    return exact_number{whole < 0, static_cast<std::uint64_t>(std::fabs(whole)), 0};
}

HRESULT store_integer(const exact_number& value, const integer_range& range, VARIANT& target) noexcept
{
    if (range.least == 0) {
        const auto whole = to_unsigned(value);
        if (!whole || *whole > range.most)
            return DISP_E_OVERFLOW;
        target.ullVal = *whole;
    } else {
        const auto whole = to_signed(value);
        if (!whole || *whole < range.least || *whole > static_cast<std::int64_t>(range.most))
            return DISP_E_OVERFLOW;
        target.llVal = *whole;
    }
    return S_OK;
}

// The value of an alternative other than the exact number.
double wide(const number& value) noexcept
{
    const auto* narrow = std::get_if<float>(&value);
    return narrow ? static_cast<double>(*narrow) : std::get<double>(value);
}

HRESULT to_integer(const number& value, const integer_range& range, VARIANT& target) noexcept
{
    if (const auto* exact = std::get_if<exact_number>(&value))
        return store_integer(*exact, range, target);
    const auto whole = integer_of(wide(value));
    return whole ? store_integer(*whole, range, target) : DISP_E_OVERFLOW;
}

std::optional<double> real_of(const number& value) noexcept
{
    const auto* exact = std::get_if<exact_number>(&value);
    return exact ? to_double(*exact) : wide(value);
}

HRESULT to_real_4(const number& value, VARIANT& target) noexcept
{
    std::optional<float> real;
    if (const auto* exact = std::get_if<exact_number>(&value))
        real = to_float(*exact);
    else if (!(std::fabs(wide(value)) > std::numeric_limits<float>::max()))
        real = static_cast<float>(wide(value));
    if (!real)
        return DISP_E_OVERFLOW;
    target.fltVal = *real;
    return S_OK;
}

HRESULT to_real_8(const number& value, VARIANT& target) noexcept
{
    const auto real = real_of(value);
    if (!real)
        return DISP_E_OVERFLOW;
    target.dblVal = *real;
    return S_OK;
}

HRESULT to_date(const number& value, VARIANT& target) noexcept
{
    const auto real = real_of(value);
    if (!real || !(*real > date_lower_limit && *real < date_upper_limit))
        return DISP_E_OVERFLOW;
    target.date = *real;
    return S_OK;
}

HRESULT to_currency(const number& value, VARIANT& target) noexcept
{
    std::optional<std::int64_t> ten_thousandths;
    if (const auto* exact = std::get_if<exact_number>(&value))
        ten_thousandths = to_signed(*exact, 4);
    else if (const auto whole = integer_of(wide(value) * 10000.0L))
        ten_thousandths = to_signed(*whole);
    if (!ten_thousandths)
        return DISP_E_OVERFLOW;
    target.cyVal.int64 = *ten_thousandths;
    return S_OK;
}

std::u16string text_of_number(const number& value, const number_forms& forms)
{
    return std::visit([&](const auto& digits) { return text_of(digits, forms); }, value);
}

HRESULT to_decimal_value(const number& value, VARIANT& target)
{
    // Of a real as many digits as its text has: its binary tail is noise in a decimal.
    const auto* exact = std::get_if<exact_number>(&value);
    const auto digits = exact ? *exact : number_from_text(text_of_number(value, {}), {});
    const auto decimal = digits ? to_decimal(*digits) : std::nullopt;
    if (!decimal)
        return DISP_E_OVERFLOW;
    target.decVal = *decimal;
    target.vt = VT_DECIMAL; // which the decimal has covered
    return S_OK;
}

bool is_zero(const number& value) noexcept
{
    const auto* exact = std::get_if<exact_number>(&value);
    return exact ? exact->digits == 0 : wide(value) == 0;
}

HRESULT number_to(const number& value, VARTYPE type, VARIANT& target)
{
    if (const integer_range* range = find_integer_range(type))
        return to_integer(value, *range, target);
    switch (type) {
    case VT_R4:
        return to_real_4(value, target);
    case VT_R8:
        return to_real_8(value, target);
    case VT_DATE:
        return to_date(value, target);
    case VT_CY:
        return to_currency(value, target);
    case VT_DECIMAL:
        return to_decimal_value(value, target);
    case VT_BOOL:
        target.boolVal = is_zero(value) ? VARIANT_FALSE : VARIANT_TRUE;
        return S_OK;
    default:
        return DISP_E_TYPEMISMATCH;
    }
}

HRESULT from_text(const VARIANT& source, LCID locale, VARTYPE type, VARIANT& target)
{
    const std::u16string_view text = view_of(source);
    if (type == VT_DATE) {
        const auto date = date_from_text(text, date_forms_of(locale));
        if (!date)
            return DISP_E_TYPEMISMATCH;
        target.date = *date;
        return S_OK;
    }
    if (type == VT_BOOL && (is_one_of(text, true_texts) || is_one_of(text, false_texts))) {
        target.boolVal = is_one_of(text, true_texts) ? VARIANT_TRUE : VARIANT_FALSE;
        return S_OK;
    }
    const auto value = number_from_text(text, number_forms_of(locale));
    return value ? number_to(*value, type, target) : DISP_E_TYPEMISMATCH;
}

HRESULT to_text(const VARIANT& source, LCID locale, WORD flags, VARIANT& target)
{
    std::u16string text;
    if (source.vt == VT_DATE) {
        const auto date = text_of_date(source.date, date_forms_of(locale));
        if (!date)
            return DISP_E_OVERFLOW;
        text = *date;
    } else if (source.vt == VT_BOOL && (flags & (VARIANT_ALPHABOOL | VARIANT_LOCALBOOL))) {
        text = source.boolVal == VARIANT_FALSE ? false_texts[0] : true_texts[0];
    } else if (source.vt != VT_EMPTY) {
        const auto value = number_of(source);
        if (!value)
            return DISP_E_TYPEMISMATCH;
        text = text_of_number(*value, number_forms_of(locale));
    }
    target.bstrVal = bstr(text).detach();
    return target.bstrVal ? S_OK : E_OUTOFMEMORY;
}

HRESULT query_object(const VARIANT& source, VARTYPE type, VARIANT& target) noexcept
{
    if (!source.punkVal)
        return S_OK;
    if (type == VT_DISPATCH)
        target.pdispVal = query_interface<IDispatch>(source.punkVal, IID_IDispatch).detach();
    else
        target.punkVal = query_interface<IUnknown>(source.punkVal, IID_IUnknown).detach();
    return target.punkVal ? S_OK : DISP_E_TYPEMISMATCH;
}

HRESULT default_property(IDispatch* object, LCID locale, VARIANT& value) noexcept
{
    DISPPARAMS none{};
    if (!object ||
        FAILED(object->Invoke(DISPID_VALUE, IID_NULL, locale, DISPATCH_PROPERTYGET, &none, &value, nullptr, nullptr)))
        return DISP_E_TYPEMISMATCH;
    return S_OK;
}

// The value of a type other than the source's, which is not VT_BYREF, in the empty `target`.
HRESULT convert(const VARIANT& source, LCID locale, WORD flags, VARTYPE type, VARIANT& target, int depth)
{
    if (source.vt == type)
        return VariantCopy(&target, &source);
    const bool whole = (source.vt | type) & (VT_ARRAY | VT_BYREF);
    if (whole || source.vt == VT_NULL || type == VT_NULL || type == VT_EMPTY)
        return DISP_E_TYPEMISMATCH;
    target.vt = type;
    const bool from_object = source.vt == VT_DISPATCH || source.vt == VT_UNKNOWN;
    if (from_object && (type == VT_DISPATCH || type == VT_UNKNOWN))
        return query_object(source, type, target);
    if (source.vt == VT_DISPATCH) {
        variant value;
        if ((flags & VARIANT_NOVALUEPROP) || depth == most_default_properties)
            return DISP_E_TYPEMISMATCH;
        if (const HRESULT result = default_property(source.pdispVal, locale, value); FAILED(result))
            return result;
        variant followed;
        if (const HRESULT result = VariantCopyInd(&followed, &value); FAILED(result))
            return result;
        return convert(followed, locale, flags, type, target, depth + 1);
    }
    if (type == VT_ERROR) {
        target.scode = S_OK;
        return source.vt == VT_EMPTY ? S_OK : DISP_E_TYPEMISMATCH;
    }
    if (source.vt == VT_BSTR)
        return from_text(source, locale, type, target);
    if (type == VT_BSTR)
        return to_text(source, locale, flags, target);
    const auto value = number_of(source);
    if (!value)
        return DISP_E_TYPEMISMATCH;
    // A true boolean has all bits set in an unsigned type too, where -1 would be out of range.
    if (const integer_range* range = find_integer_range(type);
        range && range->least == 0 && source.vt == VT_BOOL && source.boolVal != VARIANT_FALSE) {
        target.ullVal = range->most;
        return S_OK;
    }
    return number_to(*value, type, target);
}

} // namespace

HRESULT VariantChangeType(VARIANT* target, const VARIANT* source, WORD flags, VARTYPE type) noexcept
{
    return VariantChangeTypeEx(target, source, 0, flags, type);
}

HRESULT VariantChangeTypeEx(VARIANT* target, const VARIANT* source, LCID locale, WORD flags, VARTYPE type) noexcept
{
    if (!target || !source)
        return E_INVALIDARG;
    if (!is_variant_type(source->vt) || !is_variant_type(type))
        return DISP_E_BADVARTYPE;
    try {
        variant followed;
        if (source->vt & VT_BYREF) {
            if (const HRESULT result = VariantCopyInd(&followed, source); FAILED(result))
                return result;
            source = &followed;
        }
        VARIANT made{};
        if (const HRESULT result = convert(*source, locale, flags, type, made, 0); FAILED(result))
            return result;
        if (const HRESULT result = VariantClear(target); FAILED(result)) {
            VariantClear(&made);
            return result;
        }
        *target = made;
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}
