#include "foundation/dispatch.h"

#include "platform/last_error.h"
#include "platform/services.h"

#include <climits>
#include <cstdarg>
#include <cstring>
#include <new>
#include <string_view>
#include <vector>

namespace cw {

namespace {

constexpr std::uint32_t thread_code_page = 3;
constexpr VARTYPE optional_bit = optional_argument;
constexpr HRESULT first_com_specific_result = make_hresult(0x80040200);
constexpr HRESULT last_com_specific_result = make_hresult(0x8004FFFF);
constexpr WORD largest_mapped_code = 0xFDFF;

/// The arguments of one call, last first as `Invoke` wants them. Texts are its own; everything else
/// is borrowed from the caller.
class argument_list {
public:
    explicit argument_list(std::u16string_view types) : m_values(types.size()), m_types(types)
    {
        for (VARIANTARG& value : m_values)
            VariantInit(&value);
    }
    ~argument_list()
    {
        for (VARIANTARG& value : m_values) {
            if (value.vt == VT_BSTR)
                platform::current().memory->release(value.bstrVal);
        }
    }
    argument_list(const argument_list&) = delete;
    argument_list& operator=(const argument_list&) = delete;

    /// S_OK, E_INVALIDARG for a type that cannot be passed, E_OUTOFMEMORY.
    HRESULT fill(std::va_list& arguments) noexcept
    {
        for (std::size_t i = 0; i < m_types.size(); ++i) {
            const auto type = static_cast<VARTYPE>(m_types[i] & ~optional_bit);
            const HRESULT result = store(m_values[m_values.size() - 1 - i], type, arguments);
            if (FAILED(result))
                return result;
        }
        return S_OK;
    }

    /// The call without optional arguments at its end that were left out. The value of a property is
    /// never one of those.
    [[nodiscard]] DISPPARAMS parameters(bool has_value) noexcept
    {
        std::size_t dropped = 0;
        while (!has_value && dropped < m_values.size() && is_left_out(dropped))
            ++dropped;
        const auto count = static_cast<UINT>(m_values.size() - dropped);
        return {count ? m_values.data() + dropped : nullptr, has_value ? &m_valueName : nullptr, count, has_value};
    }

private:
    [[nodiscard]] bool is_left_out(std::size_t index) const noexcept
    {
        const bool is_optional = (m_types[m_types.size() - 1 - index] & optional_bit) != 0;
        return is_optional && m_values[index].vt == VT_ERROR && m_values[index].scode == DISP_E_PARAMNOTFOUND;
    }

    static HRESULT store(VARIANTARG& target, VARTYPE type, std::va_list& arguments) noexcept
    {
        if (type & VT_BYREF) {
            target.byref = va_arg(arguments, void*);
            target.vt = type;
            return S_OK;
        }
        switch (type) {
        case VT_I1:
        case VT_UI1:
            target.bVal = static_cast<std::uint8_t>(va_arg(arguments, int));
            break;
        case VT_I2:
        case VT_UI2:
            target.iVal = static_cast<std::int16_t>(va_arg(arguments, int));
            break;
        case VT_BOOL:
            target.boolVal = va_arg(arguments, int) ? VARIANT_TRUE : VARIANT_FALSE;
            break;
        case VT_I4:
        case VT_UI4:
        case VT_INT:
        case VT_UINT:
        case VT_ERROR:
            target.lVal = va_arg(arguments, int);
            break;
        case VT_I8:
        case VT_UI8:
            target.llVal = va_arg(arguments, long long);
            break;
        case VT_R4:
            target.fltVal = static_cast<float>(va_arg(arguments, double));
            break;
        case VT_R8:
        case VT_DATE:
            target.dblVal = va_arg(arguments, double);
            break;
        case VT_CY:
            target.cyVal = va_arg(arguments, CY);
            break;
        case VT_BSTR: {
            const char16_t* text = va_arg(arguments, const char16_t*);
            if (text) {
                const auto length = static_cast<UINT>(std::char_traits<char16_t>::length(text));
                target.bstrVal = platform::current().memory->allocate(text, length);
                if (!target.bstrVal)
                    return E_OUTOFMEMORY;
            }
            break;
        }
        case VT_DISPATCH:
            target.pdispVal = va_arg(arguments, IDispatch*);
            break;
        case VT_UNKNOWN:
            target.punkVal = va_arg(arguments, IUnknown*);
            break;
        case VT_VARIANT:
            return store_variant(target, va_arg(arguments, const VARIANT*));
        default:
            return E_INVALIDARG;
        }
        target.vt = type;
        return S_OK;
    }

    /// A text inside a variant is copied, because this list frees the texts it holds.
    static HRESULT store_variant(VARIANTARG& target, const VARIANT* source) noexcept
    {
        if (!source)
            return E_INVALIDARG;
        VARIANT value = *source;
        if (value.vt == VT_BSTR && value.bstrVal) {
            value.bstrVal = platform::current().memory->allocate(source->bstrVal, SysStringLen(source->bstrVal));
            if (!value.bstrVal)
                return E_OUTOFMEMORY;
        }
        target = value;
        return S_OK;
    }

    std::vector<VARIANTARG> m_values;
    std::u16string_view m_types;
    DISPID m_valueName = DISPID_PROPERTYPUT;
};

/// What a failing call told about itself; frees the texts.
struct exception_details : EXCEPINFO {
    exception_details() noexcept : EXCEPINFO{} {}
    ~exception_details()
    {
        // Nearly every call succeeds and leaves none.
        for (BSTR text : {bstrSource, bstrDescription, bstrHelpFile})
            if (text)
                platform::current().memory->release(text);
    }
    exception_details(const exception_details&) = delete;
    exception_details& operator=(const exception_details&) = delete;

    [[nodiscard]] HRESULT result() const noexcept
    {
        if (wCode != 0)
            return wCode > largest_mapped_code ? last_com_specific_result : first_com_specific_result + wCode;
        // The call did fail, so a code that says otherwise is no answer.
        return FAILED(scode) ? scode : DISP_E_EXCEPTION;
    }

    [[nodiscard]] automation::com_ptr<IErrorInfo> error_info() const noexcept
    {
        automation::com_ptr<ICreateErrorInfo> created;
        if (FAILED(CreateErrorInfo(created.put())))
            return {};
        created->SetDescription(bstrDescription);
        created->SetSource(bstrSource);
        created->SetHelpFile(bstrHelpFile);
        created->SetHelpContext(dwHelpContext);
        return automation::query_interface<IErrorInfo>(created.get(), IID_IErrorInfo);
    }
};

/// The bytes that a value of a type takes at the caller's; 0 for a type that cannot be a result.
std::size_t result_size_in_bytes(VARTYPE type) noexcept
{
    if (type & (VT_BYREF | VT_ARRAY))
        return sizeof(void*);
    switch (type) {
    case VT_I1:
    case VT_UI1:
        return 1;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
        return 2;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_ERROR:
    case VT_R4:
        return 4;
    case VT_I8:
    case VT_UI8:
    case VT_R8:
    case VT_DATE:
    case VT_CY:
        return 8;
    case VT_BSTR:
    case VT_DISPATCH:
    case VT_UNKNOWN:
        return sizeof(void*);
    case VT_DECIMAL:
        return sizeof(DECIMAL);
    case VT_VARIANT:
        return sizeof(VARIANT);
    default:
        return 0;
    }
}

/// Converts the value where its type is another, and hands it over in the width of the type.
HRESULT store_result(automation::variant& value, VARTYPE type, void* result) noexcept
{
    if (type == VT_VARIANT) {
        const VARIANT detached = value.detach();
        std::memcpy(result, &detached, sizeof detached);
        return S_OK;
    }
    if (value.vt != type) {
        const HRESULT converted = VariantChangeType(&value, &value, 0, type);
        if (FAILED(converted))
            return converted;
    }
    const VARIANT detached = value.detach();
    const void* from = type == VT_DECIMAL ? static_cast<const void*>(&detached.decVal) : &detached.llVal;
    std::memcpy(result, from, result_size_in_bytes(type));
    return S_OK;
}

HRESULT invoke(IDispatch* object, DISPID member, WORD flags, VARTYPE result_type, void* result,
               std::u16string_view types, std::va_list& passed, automation::com_ptr<IErrorInfo>& info)
{
    if (!object)
        return E_POINTER;
    const bool wants_result = result_type != VT_EMPTY && result;
    if (wants_result && result_size_in_bytes(result_type) == 0)
        return E_INVALIDARG;
    const bool has_value = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
    if (has_value && types.empty())
        return E_INVALIDARG;
    argument_list arguments(types);
    if (const HRESULT filled = arguments.fill(passed); FAILED(filled))
        return filled;

    DISPPARAMS parameters = arguments.parameters(has_value);
    automation::variant answer;
    exception_details details;
    UINT wrong_argument = 0;
    const HRESULT invoked = object->Invoke(member, IID_NULL, 0, flags, &parameters, wants_result ? &answer : nullptr,
                                           &details, &wrong_argument);
    if (invoked == DISP_E_EXCEPTION) {
        if (details.pfnDeferredFillIn)
            details.pfnDeferredFillIn(&details);
        info = details.error_info();
        return details.result();
    }
    if (FAILED(invoked) || !wants_result)
        return invoked;
    const HRESULT stored = store_result(answer, result_type, result);
    return FAILED(stored) ? stored : invoked;
}

HRESULT result_from_last_error() noexcept
{
    const std::uint32_t code = platform::get_last_error();
    const bool is_result = static_cast<HRESULT>(code) <= 0;
    return make_hresult(is_result ? code : (code & 0xFFFF) | 0x80070000);
}

} // namespace

HRESULT dispatch_method(IDispatch* object, DISPID member, WORD flags, VARTYPE result_type, void* result,
                        const char16_t* argument_types, ...)
{
    automation::com_ptr<IErrorInfo> info;
    std::va_list arguments;
    va_start(arguments, argument_types);
    const HRESULT called =
        invoke(object, member, flags, result_type, result, argument_types ? argument_types : u"", arguments, info);
    va_end(arguments);
    if (FAILED(called))
        raise_com_error(called, info.get());
    return called;
}

HRESULT dispatch_property_get(IDispatch* object, DISPID member, VARTYPE result_type, void* result)
{
    return dispatch_method(object, member, DISPATCH_PROPERTYGET, result_type, result, nullptr);
}

char* narrow_from_bstr(BSTR text)
{
    if (!text)
        return nullptr;
    auto& pages = *platform::current().pages;
    const UINT length = SysStringLen(text) + 1;
    if (length > INT_MAX)
        raise_com_error(E_INVALIDARG);
    const int needed = pages.to_narrow(thread_code_page, text, static_cast<int>(length), nullptr, 0);
    if (needed == 0)
        raise_com_error(result_from_last_error());
    char* bytes = new (std::nothrow) char[static_cast<std::size_t>(needed)];
    if (!bytes)
        raise_com_error(E_OUTOFMEMORY);
    if (pages.to_narrow(thread_code_page, text, static_cast<int>(length), bytes, needed) == 0) {
        delete[] bytes;
        raise_com_error(result_from_last_error());
    }
    return bytes;
}

BSTR bstr_from_narrow(const char* text)
{
    if (!text)
        return nullptr;
    auto& services = platform::current();
    const std::size_t size_in_bytes = std::strlen(text);
    if (size_in_bytes > INT_MAX)
        raise_com_error(E_INVALIDARG);
    const int length = static_cast<int>(size_in_bytes);
    // The converters take no empty text, and there is nothing to convert in one.
    const int needed = length == 0 ? 0 : services.pages->to_wide(thread_code_page, text, length, nullptr, 0);
    if (needed == 0 && length > 0)
        raise_com_error(result_from_last_error());
    BSTR wide = services.memory->allocate(nullptr, static_cast<UINT>(needed));
    if (!wide)
        raise_com_error(E_OUTOFMEMORY);
    if (needed > 0 && services.pages->to_wide(thread_code_page, text, length, wide, needed) == 0) {
        const HRESULT failed = result_from_last_error();
        services.memory->release(wide);
        raise_com_error(failed);
    }
    return wide;
}

} // namespace cw
