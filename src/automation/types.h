// The scalar types, result codes and identifiers that cross a library boundary.
// Every reader library and every caller of one includes this, mostly indirectly.
#pragma once

#include <cstddef>
#include <cstdint>

// Everything in the automation library is seen from every module, also from modules that are built
// with hidden visibility: an exception type must be one type on both sides of a call.
#define CW_AUTOMATION_API __attribute__((visibility("default")))

// Marks the one function that a reader library exports.
#define CW_LIBRARY_EXPORT extern "C" __attribute__((visibility("default")))

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using SHORT = std::int16_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using DWORD = std::uint32_t;
using UINT = std::uint32_t;
using WCHAR = char16_t;
using HRESULT = std::int32_t;
using SCODE = std::int32_t;
using LCID = std::uint32_t;
using DISPID = std::int32_t;
using VARTYPE = std::uint16_t;
using VARIANT_BOOL = std::int16_t;
using DATE = double;

inline constexpr VARIANT_BOOL VARIANT_TRUE = -1;
inline constexpr VARIANT_BOOL VARIANT_FALSE = 0;

/// Builds a result code from its usual hexadecimal spelling.
constexpr HRESULT make_hresult(std::uint32_t bits) noexcept
{
    return static_cast<HRESULT>(bits);
}

constexpr bool SUCCEEDED(HRESULT result) noexcept
{
    return result >= 0;
}
constexpr bool FAILED(HRESULT result) noexcept
{
    return result < 0;
}

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = make_hresult(0x80004001);
inline constexpr HRESULT E_NOINTERFACE = make_hresult(0x80004002);
inline constexpr HRESULT E_POINTER = make_hresult(0x80004003);
inline constexpr HRESULT E_ABORT = make_hresult(0x80004004);
inline constexpr HRESULT E_FAIL = make_hresult(0x80004005);
inline constexpr HRESULT E_UNEXPECTED = make_hresult(0x8000FFFF);
inline constexpr HRESULT E_ACCESSDENIED = make_hresult(0x80070005);
inline constexpr HRESULT E_OUTOFMEMORY = make_hresult(0x8007000E);
inline constexpr HRESULT E_INVALIDARG = make_hresult(0x80070057);

inline constexpr HRESULT DISP_E_UNKNOWNINTERFACE = make_hresult(0x80020001);
inline constexpr HRESULT DISP_E_MEMBERNOTFOUND = make_hresult(0x80020003);
inline constexpr HRESULT DISP_E_PARAMNOTFOUND = make_hresult(0x80020004);
inline constexpr HRESULT DISP_E_TYPEMISMATCH = make_hresult(0x80020005);
inline constexpr HRESULT DISP_E_UNKNOWNNAME = make_hresult(0x80020006);
inline constexpr HRESULT DISP_E_NONAMEDARGS = make_hresult(0x80020007);
inline constexpr HRESULT DISP_E_BADVARTYPE = make_hresult(0x80020008);
inline constexpr HRESULT DISP_E_EXCEPTION = make_hresult(0x80020009);
inline constexpr HRESULT DISP_E_OVERFLOW = make_hresult(0x8002000A);
inline constexpr HRESULT DISP_E_BADINDEX = make_hresult(0x8002000B);
inline constexpr HRESULT DISP_E_ARRAYISLOCKED = make_hresult(0x8002000D);
inline constexpr HRESULT DISP_E_BADPARAMCOUNT = make_hresult(0x8002000E);
inline constexpr HRESULT DISP_E_DIVBYZERO = make_hresult(0x80020012);

inline constexpr HRESULT CLASS_E_NOAGGREGATION = make_hresult(0x80040110);
inline constexpr HRESULT CLASS_E_CLASSNOTAVAILABLE = make_hresult(0x80040111);
inline constexpr HRESULT REGDB_E_CLASSNOTREG = make_hresult(0x80040154);
inline constexpr HRESULT CO_E_CLASSSTRING = make_hresult(0x800401F3);
