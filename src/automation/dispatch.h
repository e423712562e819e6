// Late-bound calls: an object's members by number, with arguments and result as variants.
#pragma once

#include "automation/variant.h"

inline constexpr WORD DISPATCH_METHOD = 1;
inline constexpr WORD DISPATCH_PROPERTYGET = 2;
inline constexpr WORD DISPATCH_PROPERTYPUT = 4;
inline constexpr WORD DISPATCH_PROPERTYPUTREF = 8;

inline constexpr DISPID DISPID_VALUE = 0;
inline constexpr DISPID DISPID_UNKNOWN = -1;
inline constexpr DISPID DISPID_PROPERTYPUT = -3;

// Arguments stand last first.
struct DISPPARAMS {
    VARIANTARG* rgvarg;
    DISPID* rgdispidNamedArgs;
    UINT cArgs;
    UINT cNamedArgs;
};

// Filled by a failing call that answers DISP_E_EXCEPTION; the caller frees the texts.
struct EXCEPINFO {
    WORD wCode;
    WORD wReserved;
    BSTR bstrSource;
    BSTR bstrDescription;
    BSTR bstrHelpFile;
    DWORD dwHelpContext;
    void* pvReserved;
    HRESULT (*pfnDeferredFillIn)(EXCEPINFO* info);
    SCODE scode;
};

struct ITypeInfo;

struct IDispatch : IUnknown {
    virtual HRESULT GetTypeInfoCount(UINT* count) noexcept = 0;
    virtual HRESULT GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) noexcept = 0;
    virtual HRESULT GetIDsOfNames(REFIID iid, WCHAR** names, UINT count, LCID locale, DISPID* ids) noexcept = 0;
    /// `result`, `exception` and `argument_error` may be null. `iid` must be IID_NULL.
    virtual HRESULT Invoke(DISPID member, REFIID iid, LCID locale, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                           EXCEPINFO* exception, UINT* argument_error) noexcept = 0;

protected:
    ~IDispatch() = default;
};

inline constexpr IID IID_IDispatch = cw::automation::guid_from_literal("00020400-0000-0000-C000-000000000046");
