// Values, texts and a counted object for the tests of the automation library.
#pragma once

#include "automation/dispatch.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace cw::automation::test {

/// ASCII of a text, other code units as \uXXXX, for readable failures.
inline std::string narrow(std::u16string_view text)
{
    std::string result;
    for (const char16_t c : text) {
        char escaped[8];
        std::snprintf(escaped, sizeof escaped, "\\u%04X", static_cast<unsigned>(c));
        c < 0x80 ? result += static_cast<char>(c) : result += escaped;
    }
    return result;
}

inline std::u16string_view view_of(const VARIANT& value)
{
    return {value.bstrVal ? value.bstrVal : u"", SysStringLen(value.bstrVal)};
}

template <class Number>
std::string shortest(Number number)
{
    char text[64];
    return {text, std::to_chars(text, text + sizeof text, number).ptr};
}

/// A value without its type: digits, 'text', true, empty, …
inline std::string describe(const VARIANT& value)
{
    switch (value.vt) {
    case VT_EMPTY:
        return "empty";
    case VT_NULL:
        return "null";
    case VT_I1:
        return shortest(int{value.cVal});
    case VT_UI1:
        return shortest(unsigned{value.bVal});
    case VT_I2:
        return shortest(value.iVal);
    case VT_UI2:
        return shortest(value.uiVal);
    case VT_I4:
    case VT_INT:
        return shortest(value.lVal);
    case VT_UI4:
    case VT_UINT:
        return shortest(value.ulVal);
    case VT_I8:
        return shortest(value.llVal);
    case VT_UI8:
        return shortest(value.ullVal);
    case VT_R4:
        return shortest(value.fltVal);
    case VT_R8:
        return shortest(value.dblVal);
    case VT_DATE:
        return shortest(value.date);
    case VT_CY:
        return shortest(value.cyVal.int64) + " ten-thousandths";
    case VT_BOOL:
        return value.boolVal == VARIANT_TRUE ? "true" : value.boolVal == VARIANT_FALSE ? "false" : "neither";
    case VT_BSTR:
        return "'" + narrow(view_of(value)) + "'";
    case VT_ERROR:
        return "error " + shortest(static_cast<unsigned>(value.scode));
    case VT_DECIMAL:
        return (value.decVal.sign ? "-" : "") + shortest(value.decVal.Hi32) + ":" + shortest(value.decVal.Lo64) + "e-" +
               shortest(unsigned{value.decVal.scale});
    case VT_UNKNOWN:
    case VT_DISPATCH:
        return value.punkVal ? "object" : "no object";
    default:
        return "type " + shortest(value.vt);
    }
}

inline std::string describe_result(HRESULT result)
{
    constexpr std::pair<HRESULT, const char*> names[] = {
        {S_OK, "ok"},
        {DISP_E_TYPEMISMATCH, "mismatch"},
        {DISP_E_OVERFLOW, "overflow"},
        {DISP_E_BADVARTYPE, "bad type"},
        {E_INVALIDARG, "invalid"},
        {E_OUTOFMEMORY, "memory"},
        {DISP_E_ARRAYISLOCKED, "locked"},
    };
    for (const auto& [value, name] : names)
        if (value == result)
            return name;
    return shortest(result);
}

/// What a conversion gives: the value, or the name of the failure.
inline std::string converted(const VARIANT& source, VARTYPE type, LCID locale = 0x007F, WORD flags = 0)
{
    variant target;
    const HRESULT result = VariantChangeTypeEx(&target, &source, locale, flags, type);
    if (FAILED(result))
        return target.vt == VT_EMPTY ? describe_result(result) : "target changed by a failure";
    if (target.vt != type)
        return "wrong type " + shortest(target.vt);
    return describe(target);
}

template <class T>
variant make(VARTYPE type, T VARIANT::*field, T content)
{
    variant value;
    value.vt = type;
    value.*field = content;
    return value;
}

/// Sets an environment variable for the life of a test and puts the old value back.
class environment_change {
public:
    environment_change(const char* name, const char* value) : m_name(name)
    {
        if (const char* old = std::getenv(name))
            m_old = old;
        value ? setenv(name, value, 1) : unsetenv(name);
    }
    ~environment_change() { m_old ? setenv(m_name, m_old->c_str(), 1) : unsetenv(m_name); }
    environment_change(const environment_change&) = delete;
    environment_change& operator=(const environment_change&) = delete;

private:
    const char* m_name;
    std::optional<std::string> m_old;
};

/// An IDispatch on the stack that counts its references and answers one default property.
class counted_object final : public IDispatch {
public:
    ULONG references = 1;
    int invocations = 0;
    HRESULT answer = S_OK;
    const VARIANT* default_value = nullptr; // copied out; the object itself where null
    void (*on_release)(void* context) = nullptr;
    void* context = nullptr;

    HRESULT QueryInterface(REFIID iid, void** object) noexcept override
    {
        const bool known = iid == IID_IUnknown || iid == IID_IDispatch;
        *object = known ? static_cast<IDispatch*>(this) : nullptr;
        references += known;
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG AddRef() noexcept override { return ++references; }
    ULONG Release() noexcept override
    {
        if (on_release)
            on_release(context);
        return --references;
    }
    HRESULT GetTypeInfoCount(UINT*) noexcept override { return E_NOTIMPL; }
    HRESULT GetTypeInfo(UINT, LCID, ITypeInfo**) noexcept override { return E_NOTIMPL; }
    HRESULT GetIDsOfNames(REFIID, WCHAR**, UINT, LCID, DISPID*) noexcept override { return E_NOTIMPL; }
    HRESULT Invoke(DISPID member, REFIID, LCID, WORD flags, DISPPARAMS* arguments, VARIANT* result, EXCEPINFO*,
                   UINT*) noexcept override
    {
        ++invocations;
        if (member != DISPID_VALUE || flags != DISPATCH_PROPERTYGET || arguments->cArgs != 0)
            return E_UNEXPECTED;
        if (FAILED(answer))
            return answer;
        if (default_value)
            return VariantCopy(result, default_value);
        result->vt = VT_DISPATCH;
        result->pdispVal = this;
        AddRef();
        return S_OK;
    }
};

/// An IUnknown that is nothing else.
class plain_object final : public IUnknown {
public:
    ULONG references = 1;
    HRESULT QueryInterface(REFIID iid, void** object) noexcept override
    {
        *object = iid == IID_IUnknown ? this : nullptr;
        references += *object != nullptr;
        return *object ? S_OK : E_NOINTERFACE;
    }
    ULONG AddRef() noexcept override { return ++references; }
    ULONG Release() noexcept override { return --references; }
};

} // namespace cw::automation::test
