// The types that a value of an array or behind a VT_BYREF pointer can have, with their sizes. For the
// array and the variant operations of this library; not installed.
#pragma once

#include "automation/variant.h"

namespace cw::automation::detail {

struct element_type {
    VARTYPE type;
    std::uint8_t size_in_bytes;
    std::uint16_t array_features; // what an array of it owns
};

inline constexpr element_type element_types[] = {
    {VT_I2, 2, 0},
    {VT_I4, 4, 0},
    {VT_R4, 4, 0},
    {VT_R8, 8, 0},
    {VT_CY, sizeof(CY), 0},
    {VT_DATE, 8, 0},
    {VT_BSTR, sizeof(BSTR), FADF_BSTR},
    {VT_DISPATCH, sizeof(IDispatch*), FADF_DISPATCH},
    {VT_ERROR, 4, 0},
    {VT_BOOL, 2, 0},
    {VT_VARIANT, sizeof(VARIANT), FADF_VARIANT},
    {VT_UNKNOWN, sizeof(IUnknown*), FADF_UNKNOWN},
    {VT_DECIMAL, sizeof(DECIMAL), 0},
    {VT_I1, 1, 0},
    {VT_UI1, 1, 0},
    {VT_UI2, 2, 0},
    {VT_UI4, 4, 0},
    {VT_I8, 8, 0},
    {VT_UI8, 8, 0},
    {VT_INT, 4, 0},
    {VT_UINT, 4, 0},
};

/// The row of `type`, or null where it cannot be an element.
constexpr const element_type* find_element_type(VARTYPE type) noexcept
{
    for (const element_type& row : element_types)
        if (row.type == type)
            return &row;
    return nullptr;
}

/// Whether a variant can have `type`: no VT_VARIANT by itself, nothing and null neither in arrays nor
/// behind pointers.
constexpr bool is_variant_type(VARTYPE type) noexcept
{
    if (type & ~(VT_TYPEMASK | VT_ARRAY | VT_BYREF))
        return false;
    const VARTYPE base = type & VT_TYPEMASK;
    if (type & (VT_ARRAY | VT_BYREF))
        return find_element_type(base) != nullptr;
    return base == VT_EMPTY || base == VT_NULL || (base != VT_VARIANT && find_element_type(base));
}

} // namespace cw::automation::detail
