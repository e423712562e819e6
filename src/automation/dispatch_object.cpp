#include "automation/dispatch_object.h"

#include <cstdio>
#include <new>

namespace cw::automation {

namespace {

// Tells a failed argument from a failure inside the member, for the caller's `argument_error`.
class argument_failure : public automation_error {
public:
    argument_failure(HRESULT result, unsigned position) : automation_error(result), m_position(position) {}
    [[nodiscard]] unsigned position() const noexcept { return m_position; }

private:
    unsigned m_position;
};

// Texts of foreign exceptions are UTF-8 or at least ASCII; what is neither shows as U+FFFD.
std::u16string utf16_of(std::string_view text)
{
    constexpr char32_t unreadable = 0xFFFD;
    struct lead {
        unsigned char mask, bits;
        std::size_t length;
        char32_t least;
    };
    constexpr lead leads[] = {
        {0x80, 0x00, 1, 0}, {0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}};
    std::u16string result;
    for (std::size_t at = 0; at < text.size();) {
        char32_t code = unreadable;
        std::size_t taken = 1;
        for (const lead& form : leads) {
            const auto first = static_cast<unsigned char>(text[at]);
            if ((first & form.mask) != form.bits || text.size() - at < form.length)
                continue;
            char32_t value = first & static_cast<unsigned char>(~form.mask);
            bool whole = true;
            for (std::size_t i = 1; i < form.length; ++i) {
                const auto next = static_cast<unsigned char>(text[at + i]);
                whole = whole && (next & 0xC0) == 0x80;
                value = value << 6 | (next & 0x3Fu);
            }
            if (whole && value >= form.least && value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF)) {
                code = value;
                taken = form.length;
            }
        }
        if (code >= 0x10000) {
            result += static_cast<char16_t>(0xD7C0 + (code >> 10));
            result += static_cast<char16_t>(0xDC00 + (code & 0x3FF));
        } else {
            result += static_cast<char16_t>(code);
        }
        at += taken;
    }
    return result;
}

// What an exception says, for the caller's side of the wall.
struct failure {
    static constexpr unsigned no_argument = UINT32_MAX;
    HRESULT result;
    std::u16string description;
    unsigned argument = no_argument;
};

// To be called while an exception is being handled.
failure current_failure() noexcept
{
    try {
        try {
            throw;
        } catch (const argument_failure& error) {
            return {error.result(), {}, error.position()};
        } catch (const automation_error& error) {
            return {error.result(), error.description()};
        } catch (const std::bad_alloc&) {
            return {E_OUTOFMEMORY, {}};
        } catch (const std::exception& error) {
            return {E_FAIL, utf16_of(error.what())};
        } catch (...) {
            return {E_UNEXPECTED, {}};
        }
    } catch (...) { // the description did not fit into memory
        return {E_OUTOFMEMORY, {}};
    }
}

const VARIANT* followed(const VARIANT* value) noexcept
{
    return value->vt == (VT_BYREF | VT_VARIANT) && value->pvarVal ? value->pvarVal : value;
}

} // namespace

automation_error::automation_error(HRESULT result, std::u16string description)
    : m_result(result), m_description(std::move(description))
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(result));
    m_what = text;
}

automation_error::~automation_error() = default;

const char* automation_error::what() const noexcept
{
    return m_what.c_str();
}

const VARIANT* call_arguments::at(unsigned position) const noexcept
{
    if (position >= count())
        return nullptr;
    const VARIANT* value = followed(&m_parameters.rgvarg[count() - 1 - position]);
    const bool left_out = value->vt == VT_ERROR && value->scode == DISP_E_PARAMNOTFOUND;
    return left_out ? nullptr : value;
}

namespace {

// The argument as `type`, held by `converted` where it was not passed so.
const VARIANT& converted_argument(const call_arguments& all, unsigned position, VARTYPE type, variant& converted)
{
    const VARIANT* value = all.at(position);
    if (!value)
        throw argument_failure(DISP_E_BADPARAMCOUNT, position);
    if (value->vt == type)
        return *value;
    if (const HRESULT result = VariantChangeType(&converted, value, 0, type); FAILED(result))
        throw argument_failure(result, position);
    return converted;
}

} // namespace

std::u16string call_arguments::text(unsigned position) const
{
    variant converted;
    const VARIANT& value = converted_argument(*this, position, VT_BSTR, converted);
    return value.bstrVal ? std::u16string(value.bstrVal, SysStringLen(value.bstrVal)) : std::u16string();
}

std::int32_t call_arguments::number(unsigned position) const
{
    variant converted;
    return converted_argument(*this, position, VT_I4, converted).lVal;
}

dispatch_base::~dispatch_base() = default;

HRESULT dispatch_base::QueryInterface(REFIID iid, void** object) noexcept
{
    if (!object)
        return E_POINTER;
    const IID& own = interface_id();
    if (iid == IID_IUnknown || iid == IID_IDispatch || (own != IID_NULL && iid == own))
        *object = static_cast<IDispatch*>(this);
    else if (iid == IID_ISupportErrorInfo)
        *object = static_cast<ISupportErrorInfo*>(this);
    else {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
}

ULONG dispatch_base::AddRef() noexcept
{
    return ++m_references;
}

ULONG dispatch_base::Release() noexcept
{
    const ULONG left = --m_references;
    if (left == 0)
        delete this;
    return left;
}

HRESULT dispatch_base::GetTypeInfoCount(UINT* count) noexcept
{
    if (!count)
        return E_INVALIDARG;
    *count = 0;
    return S_OK;
}

HRESULT dispatch_base::GetTypeInfo(UINT, LCID, ITypeInfo** info) noexcept
{
    if (!info)
        return E_INVALIDARG;
    *info = nullptr;
    return DISP_E_BADINDEX;
}

HRESULT dispatch_base::GetIDsOfNames(REFIID iid, WCHAR** names, UINT count, LCID, DISPID* ids) noexcept
{
    if (iid != IID_NULL)
        return DISP_E_UNKNOWNINTERFACE;
    if (count == 0)
        return S_OK;
    if (!names || !ids)
        return E_INVALIDARG;
    // The first is the member, the others are its parameters, which have no names here.
    ids[0] = names[0] ? find_name(names[0]) : DISPID_UNKNOWN;
    for (UINT i = 1; i < count; ++i)
        ids[i] = DISPID_UNKNOWN;
    return count > 1 || ids[0] == DISPID_UNKNOWN ? DISP_E_UNKNOWNNAME : S_OK;
}

HRESULT dispatch_base::Invoke(DISPID id, REFIID iid, LCID, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                              EXCEPINFO* exception, UINT* argument_error) noexcept
{
    if (iid != IID_NULL)
        return DISP_E_UNKNOWNINTERFACE;
    if (!arguments || (arguments->cArgs > 0 && !arguments->rgvarg))
        return E_INVALIDARG;
    const member* called = find_member(id, flags);
    if (!called)
        return DISP_E_MEMBERNOTFOUND;
    if (arguments->cNamedArgs > 0)
        return DISP_E_NONAMEDARGS;
    if (arguments->cArgs < called->required_arguments || arguments->cArgs > called->most_arguments)
        return DISP_E_BADPARAMCOUNT;
    try {
        const call_arguments in_order(*arguments);
        variant value;
        before_call(*called, in_order);
        called->call(self(), in_order, value);
        if (result)
            *result = value.detach();
        return S_OK;
    } catch (...) {
        const failure failed = current_failure();
        if (failed.argument < arguments->cArgs && argument_error)
            *argument_error = arguments->cArgs - 1 - failed.argument;
        if (failed.description.empty())
            return failed.result;
        if (!exception)
            return set_error(failed.result, failed.description, interface_name(), interface_id());
        *exception = EXCEPINFO{};
        exception->scode = failed.result;
        exception->bstrDescription = bstr(failed.description).detach();
        exception->bstrSource = bstr(interface_name()).detach();
        return DISP_E_EXCEPTION;
    }
}

HRESULT dispatch_base::InterfaceSupportsErrorInfo(REFIID iid) noexcept
{
    const IID& own = interface_id();
    return iid == IID_IDispatch || (own != IID_NULL && iid == own) ? S_OK : S_FALSE;
}

void dispatch_base::before_call(const member&, const call_arguments&) {}

namespace detail {

void store(VARIANT& result, std::u16string_view text)
{
    bstr copy(text);
    if (!copy.get())
        throw std::bad_alloc();
    store(result, std::move(copy));
}

void store(VARIANT& result, bstr&& text) noexcept
{
    result.vt = VT_BSTR;
    result.bstrVal = text.detach();
}

void store(VARIANT& result, std::int16_t value) noexcept
{
    result.vt = VT_I2;
    result.iVal = value;
}

void store(VARIANT& result, std::int32_t value) noexcept
{
    result.vt = VT_I4;
    result.lVal = value;
}

void store(VARIANT& result, bool value) noexcept
{
    result.vt = VT_BOOL;
    result.boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
}

void store(VARIANT& result, date_value value) noexcept
{
    result.vt = VT_DATE;
    result.date = value.days;
}

void store(VARIANT& result, variant&& value) noexcept
{
    result = value.detach();
}

void store_reference(VARIANT& result, com_ptr<IDispatch>&& object) noexcept
{
    result.vt = VT_DISPATCH;
    result.pdispVal = object.detach();
}

} // namespace detail

HRESULT translate_exceptions(std::u16string_view source, void (*work)(void*), void* context) noexcept
{
    try {
        work(context);
        return S_OK;
    } catch (...) {
        const failure failed = current_failure();
        // An older error object must not pass for this failure's.
        if (failed.description.empty()) {
            SetErrorInfo(0, nullptr);
            return failed.result;
        }
        return set_error(failed.result, failed.description, source);
    }
}

} // namespace cw::automation
