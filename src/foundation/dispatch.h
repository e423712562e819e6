// Calls of automation objects by number that raise on failure.
#pragma once

#include "foundation/exceptions.h"

#include "automation/dispatch.h"

namespace cw {

/// Marks an optional argument in a list of argument types.
inline constexpr char16_t optional_argument = 0x0800;

/// Calls member `member` of `object`. `argument_types` holds one VARTYPE a character (null for no
/// arguments); the arguments follow by value in C's way: integers as int, reals as double, texts as
/// `const char16_t*` (VT_BSTR, also null) , objects as pointers, variants as `const VARIANT*`,
/// VT_BYREF types as pointers. The result is coerced to `result_type` and stored in the width of
/// that type at `result`, the caller owning it; VT_EMPTY or a null `result` for none. Raises
/// `_com_error` on failure.
HRESULT dispatch_method(IDispatch* object, DISPID member, WORD flags, VARTYPE result_type, void* result,
                        const char16_t* argument_types, ...);

/// Reads a property without arguments; as `dispatch_method`.
HRESULT dispatch_property_get(IDispatch* object, DISPID member, VARTYPE result_type, void* result);

/// Conversions in the thread's code page. Null gives null; failures raise `_com_error`.
/// The caller frees the narrow text with `delete[]`, the wide one with SysFreeString.
[[nodiscard]] char* narrow_from_bstr(BSTR text);
[[nodiscard]] BSTR bstr_from_narrow(const char* text);

} // namespace cw
