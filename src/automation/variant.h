// A value with its type: what properties and arguments of automation objects are made of.
#pragma once

#include "automation/bstr.h"
#include "automation/safearray.h"
#include "automation/unknown.h"

#include <concepts>
#include <string_view>
#include <utility>

struct IDispatch;

enum VARENUM : VARTYPE {
    VT_EMPTY = 0,
    VT_NULL = 1,
    VT_I2 = 2,
    VT_I4 = 3,
    VT_R4 = 4,
    VT_R8 = 5,
    VT_CY = 6,
    VT_DATE = 7,
    VT_BSTR = 8,
    VT_DISPATCH = 9,
    VT_ERROR = 10,
    VT_BOOL = 11,
    VT_VARIANT = 12,
    VT_UNKNOWN = 13,
    VT_DECIMAL = 14,
    VT_I1 = 16,
    VT_UI1 = 17,
    VT_UI2 = 18,
    VT_UI4 = 19,
    VT_I8 = 20,
    VT_UI8 = 21,
    VT_INT = 22,
    VT_UINT = 23,
    VT_ARRAY = 0x2000,
    VT_BYREF = 0x4000,
    VT_TYPEMASK = 0x0FFF,
};

// Flags of VariantChangeType; others are accepted and change nothing.
inline constexpr WORD VARIANT_NOVALUEPROP = 0x0001; // an object is not asked for its default property
inline constexpr WORD VARIANT_ALPHABOOL = 0x0002;   // booleans become "True" and "False" as text
inline constexpr WORD VARIANT_LOCALBOOL = 0x0010;   // the same: the two words are not translated

// Currency: an integer of ten-thousandths.
struct CY {
    std::int64_t int64;
};

// 96-bit integer over a power of ten. It fills the whole variant; its first field overlays the type.
struct DECIMAL {
    std::uint16_t wReserved;
    std::uint8_t scale;
    std::uint8_t sign;
    std::uint32_t Hi32;
    std::uint64_t Lo64;
};

// The anonymous structure is how every user of the type spells its fields.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
struct tagVARIANT {
    union {
        struct {
            VARTYPE vt;
            WORD wReserved1;
            WORD wReserved2;
            WORD wReserved3;
            union {
                std::int8_t cVal;
                std::uint8_t bVal;
                std::int16_t iVal;
                std::uint16_t uiVal;
                std::int32_t lVal;
                std::uint32_t ulVal;
                std::int32_t intVal;
                std::uint32_t uintVal;
                std::int64_t llVal;
                std::uint64_t ullVal;
                float fltVal;
                double dblVal;
                VARIANT_BOOL boolVal;
                SCODE scode;
                CY cyVal;
                DATE date;
                BSTR bstrVal;
                IUnknown* punkVal;
                IDispatch* pdispVal;
                SAFEARRAY* parray;
                void* byref;
                tagVARIANT* pvarVal;
                struct {
                    void* record;
                    void* record_info;
                } brecVal;
            };
        };
        DECIMAL decVal;
    };
};
#pragma GCC diagnostic pop
using VARIANT = tagVARIANT;
using VARIANTARG = VARIANT;

static_assert(sizeof(VARIANT) == 24 && sizeof(DECIMAL) == 16);

extern "C" {

CW_AUTOMATION_API void VariantInit(VARIANT* value) noexcept;
/// Frees what the value owns and makes it VT_EMPTY. DISP_E_ARRAYISLOCKED for a locked array,
/// DISP_E_BADVARTYPE for a type that does not exist; the value is then left alone.
CW_AUTOMATION_API HRESULT VariantClear(VARIANT* value) noexcept;
/// A deep copy (references are counted, not copied); clears the target first. E_OUTOFMEMORY where a
/// text cannot be allocated.
CW_AUTOMATION_API HRESULT VariantCopy(VARIANT* target, const VARIANT* source) noexcept;
/// As VariantCopy, and a VT_BYREF source is followed to its value.
CW_AUTOMATION_API HRESULT VariantCopyInd(VARIANT* target, const VARIANT* source) noexcept;
/// Converts `source` to `type` and stores it in `target`, which may be the same variant. Dates and
/// reals as text follow the user's locale; a boolean becomes "-1" or "0" as text. On failure the
/// target is left alone: DISP_E_TYPEMISMATCH (bad text included), DISP_E_OVERFLOW,
/// DISP_E_BADVARTYPE, E_OUTOFMEMORY.
CW_AUTOMATION_API HRESULT VariantChangeType(VARIANT* target, const VARIANT* source, WORD flags, VARTYPE type) noexcept;
/// As VariantChangeType in a given locale: 0 is the user's, 0x007F and 0x0409 the neutral one.
CW_AUTOMATION_API HRESULT VariantChangeTypeEx(VARIANT* target, const VARIANT* source, LCID locale, WORD flags,
                                              VARTYPE type) noexcept;
}

namespace cw::automation {

/// Owns one VARIANT and clears it at the end.
class variant : public VARIANT {
public:
    variant() noexcept { VariantInit(this); }
    explicit variant(std::int32_t value) noexcept : variant()
    {
        vt = VT_I4;
        lVal = value;
    }
    // A template, because a pointer to a text would otherwise rather become a boolean than a text.
    template <std::same_as<bool> T>
    explicit variant(T value) noexcept : variant()
    {
        vt = VT_BOOL;
        boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
    }
    explicit variant(double value) noexcept : variant()
    {
        vt = VT_R8;
        dblVal = value;
    }
    explicit variant(std::u16string_view text) noexcept : variant()
    {
        vt = VT_BSTR;
        bstrVal = bstr(text).detach();
    }
    /// Takes the value over; the source is empty afterwards.
    variant(variant&& other) noexcept : VARIANT(other) { VariantInit(&other); }
    variant& operator=(variant&& other) noexcept
    {
        std::swap(static_cast<VARIANT&>(*this), static_cast<VARIANT&>(other));
        return *this;
    }
    variant(const variant&) = delete;
    variant& operator=(const variant&) = delete;
    ~variant() { VariantClear(this); }

    /// A deep copy in `target`; the result of VariantCopy.
    HRESULT copy_to(VARIANT& target) const noexcept { return VariantCopy(&target, this); }
    /// Gives the value to the caller, who clears it.
    [[nodiscard]] VARIANT detach() noexcept
    {
        VARIANT value = *this;
        VariantInit(this);
        return value;
    }
    /// The address for a function that stores a new value; clears the one held.
    [[nodiscard]] VARIANT* put() noexcept
    {
        VariantClear(this);
        return this;
    }
};

} // namespace cw::automation
