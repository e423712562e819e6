// Arrays with bounds, element type and lock count, in any number of dimensions.
#pragma once

#include "automation/types.h"

struct tagVARIANT;

struct SAFEARRAYBOUND {
    ULONG cElements;
    LONG lLbound;
};

// `rgsabound` holds one entry a dimension, the last dimension first. The element type and, for
// arrays that this library allocated, nothing else stand before the structure.
struct SAFEARRAY {
    std::uint16_t cDims;
    std::uint16_t fFeatures;
    ULONG cbElements;
    ULONG cLocks;
    void* pvData;
    SAFEARRAYBOUND rgsabound[1];
};

inline constexpr std::uint16_t FADF_HAVEVARTYPE = 0x0080;
inline constexpr std::uint16_t FADF_BSTR = 0x0100;
inline constexpr std::uint16_t FADF_UNKNOWN = 0x0200;
inline constexpr std::uint16_t FADF_DISPATCH = 0x0400;
inline constexpr std::uint16_t FADF_VARIANT = 0x0800;

extern "C" {

/// A zeroed array of `type` with `dimensions` bounds, the first dimension first. Null for a type
/// that cannot be an element, for no dimension, for sizes beyond memory.
CW_AUTOMATION_API SAFEARRAY* SafeArrayCreate(VARTYPE type, UINT dimensions, const SAFEARRAYBOUND* bounds) noexcept;
/// A zeroed array of one dimension.
CW_AUTOMATION_API SAFEARRAY* SafeArrayCreateVector(VARTYPE type, LONG lower_bound, ULONG elements) noexcept;
/// Frees the array and what its elements own; null does nothing. DISP_E_ARRAYISLOCKED while locked.
CW_AUTOMATION_API HRESULT SafeArrayDestroy(SAFEARRAY* array) noexcept;
/// A deep copy, unlocked.
CW_AUTOMATION_API HRESULT SafeArrayCopy(SAFEARRAY* array, SAFEARRAY** copy) noexcept;
/// Number of dimensions; 0 for null.
CW_AUTOMATION_API UINT SafeArrayGetDim(SAFEARRAY* array) noexcept;
/// Size of an element in bytes; 0 for null.
CW_AUTOMATION_API UINT SafeArrayGetElemsize(SAFEARRAY* array) noexcept;
CW_AUTOMATION_API HRESULT SafeArrayGetVartype(SAFEARRAY* array, VARTYPE* type) noexcept;
/// Bounds of a dimension, counted from 1; DISP_E_BADINDEX for a dimension that is not there.
CW_AUTOMATION_API HRESULT SafeArrayGetLBound(SAFEARRAY* array, UINT dimension, LONG* bound) noexcept;
CW_AUTOMATION_API HRESULT SafeArrayGetUBound(SAFEARRAY* array, UINT dimension, LONG* bound) noexcept;
/// Raises or lowers the lock count; E_UNEXPECTED when it would pass its limits.
CW_AUTOMATION_API HRESULT SafeArrayLock(SAFEARRAY* array) noexcept;
CW_AUTOMATION_API HRESULT SafeArrayUnlock(SAFEARRAY* array) noexcept;
/// Lock and pointer to the first element; unlock.
CW_AUTOMATION_API HRESULT SafeArrayAccessData(SAFEARRAY* array, void** data) noexcept;
CW_AUTOMATION_API HRESULT SafeArrayUnaccessData(SAFEARRAY* array) noexcept;
/// Address of the element at `indices` (one a dimension, first dimension first). The array should
/// be locked by the caller.
CW_AUTOMATION_API HRESULT SafeArrayPtrOfIndex(SAFEARRAY* array, const LONG* indices, void** element) noexcept;
/// Copies an element out; texts, variants and references are the caller's own afterwards.
CW_AUTOMATION_API HRESULT SafeArrayGetElement(SAFEARRAY* array, const LONG* indices, void* element) noexcept;
/// Copies an element in, freeing what stood there. For texts and references `element` is the value
/// itself, for all other types its address.
CW_AUTOMATION_API HRESULT SafeArrayPutElement(SAFEARRAY* array, const LONG* indices, void* element) noexcept;
}
