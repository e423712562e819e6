#include "automation/variant.h"

#include "automation/dispatch.h"
#include "automation/element_types.h"

#include <cstring>

using namespace cw::automation::detail;

namespace {

// What a variant holds besides its bits.
enum class ownership { none, text, reference };

ownership ownership_of(VARTYPE type) noexcept
{
    switch (type) {
    case VT_BSTR:
        return ownership::text;
    case VT_UNKNOWN:
    case VT_DISPATCH:
        return ownership::reference;
    default:
        return ownership::none;
    }
}

bool owns_array(VARTYPE type) noexcept
{
    return (type & VT_ARRAY) && !(type & VT_BYREF);
}

// A copy in `target`, which owns nothing before. On failure it still owns nothing.
HRESULT copy_value(VARIANT& target, const VARIANT& source) noexcept
{
    VARIANT copy = source;
    if (owns_array(source.vt)) {
        if (const HRESULT result = SafeArrayCopy(source.parray, &copy.parray); FAILED(result))
            return result;
    } else if (ownership_of(source.vt) == ownership::text && source.bstrVal) {
        copy.bstrVal = SysAllocStringLen(source.bstrVal, SysStringLen(source.bstrVal));
        if (!copy.bstrVal)
            return E_OUTOFMEMORY;
    } else if (ownership_of(source.vt) == ownership::reference && source.punkVal) {
        source.punkVal->AddRef();
    }
    target = copy;
    return S_OK;
}

// The value that a VT_BYREF variant points at, as a variant that borrows it.
HRESULT follow(const VARIANT& source, VARIANT& borrowed) noexcept
{
    if (!source.byref)
        return E_INVALIDARG;
    const VARTYPE type = source.vt & ~VT_BYREF;
    if (type == VT_VARIANT) {
        const VARIANT& inner = *source.pvarVal;
        if (!is_variant_type(inner.vt))
            return DISP_E_BADVARTYPE;
        if (!(inner.vt & VT_BYREF)) {
            borrowed = inner;
            return S_OK;
        }
        // One variant may stand between, not a chain of them, which could be a ring.
        return inner.vt == (VT_BYREF | VT_VARIANT) ? E_INVALIDARG : follow(inner, borrowed);
    }
    if (type == VT_DECIMAL)
        std::memcpy(&borrowed.decVal, source.byref, sizeof(DECIMAL));
    else if (type & VT_ARRAY)
        std::memcpy(&borrowed.parray, source.byref, sizeof(SAFEARRAY*));
    else
        std::memcpy(&borrowed.llVal, source.byref, find_element_type(type)->size_in_bytes);
    borrowed.vt = type;
    return S_OK;
}

// Puts a complete value into `target` in place of the old one, which goes last: it may own what the
// value was copied from.
HRESULT replace(VARIANT& target, VARIANT& value) noexcept
{
    const HRESULT result = VariantClear(&target);
    if (FAILED(result)) {
        VariantClear(&value);
        return result;
    }
    target = value;
    return S_OK;
}

} // namespace

void VariantInit(VARIANT* value) noexcept
{
    if (value)
        *value = VARIANT{};
}

HRESULT VariantClear(VARIANT* value) noexcept
{
    if (!value)
        return E_INVALIDARG;
    if (!is_variant_type(value->vt))
        return DISP_E_BADVARTYPE;
    // A destructor that runs below may look at the variant, and must find nothing half alive there.
    VARIANT old = *value;
    *value = VARIANT{};
    if (owns_array(old.vt)) {
        const HRESULT result = SafeArrayDestroy(old.parray);
        if (FAILED(result))
            *value = old;
        return result;
    }
    if (ownership_of(old.vt) == ownership::text)
        SysFreeString(old.bstrVal);
    else if (ownership_of(old.vt) == ownership::reference && old.punkVal)
        old.punkVal->Release();
    return S_OK;
}

HRESULT VariantCopy(VARIANT* target, const VARIANT* source) noexcept
{
    if (!target || !source)
        return E_INVALIDARG;
    if (target == source)
        return S_OK;
    if (!is_variant_type(source->vt))
        return DISP_E_BADVARTYPE;
    VARIANT copy{};
    const HRESULT result = copy_value(copy, *source);
    const HRESULT replaced = replace(*target, copy);
    return FAILED(result) ? result : replaced;
}

HRESULT VariantCopyInd(VARIANT* target, const VARIANT* source) noexcept
{
    if (!target || !source)
        return E_INVALIDARG;
    if (!is_variant_type(source->vt))
        return DISP_E_BADVARTYPE;
    if (!(source->vt & VT_BYREF))
        return VariantCopy(target, source);
    VARIANT borrowed{};
    if (const HRESULT result = follow(*source, borrowed); FAILED(result))
        return result;
    VARIANT copy{};
    const HRESULT result = copy_value(copy, borrowed);
    const HRESULT replaced = replace(*target, copy);
    return FAILED(result) ? result : replaced;
}
