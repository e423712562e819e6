#include "foundation/exceptions.h"

#include "platform/last_error.h"
#include "platform/services.h"

#include <atomic>
#include <utility>

namespace cw {

namespace {

/// Takes a text over from a system function; empty for null.
template <class Getter>
void fill(string& target, Getter getter)
{
    const string::buffer_scope scope(target, true);
    getter(target.bstr());
}

[[noreturn]] void throw_com_error(HRESULT result, IErrorInfo* info)
{
    throw _com_error(result, info);
}

void default_com_error_handler(HRESULT result, IErrorInfo* info)
{
    throw_com_error(result, info);
}

std::atomic<com_error_handler> handler_in_use = &default_com_error_handler;

} // namespace

win32_exception::win32_exception() : win32_exception(platform::get_last_error()) {}

win32_exception::win32_exception(std::uint32_t error_code)
    : code(error_code), shared_count(new std::atomic<std::uint32_t>(1))
{
}

win32_exception::win32_exception(const win32_exception& other) noexcept
    : std::exception(other), code(other.code), text(other.text), text_formed(other.text_formed),
      shared_count(other.shared_count)
{
    shared_count->fetch_add(1);
}

win32_exception::~win32_exception()
{
    // The last copy frees its own text alone: a text that another copy formed after the copies parted
    // is known to nobody any more.
    if (shared_count->fetch_sub(1) != 1)
        return;
    if (text)
        platform::current().messages->release(text);
    delete shared_count;
}

const char* win32_exception::what() const noexcept
{
    if (!text_formed && code != 0) {
        text = platform::current().messages->format_message(code);
        text_formed = true;
    }
    return reinterpret_cast<const char*>(text ? text : u"");
}

file_exception::file_exception(const string& file_path) : path(file_path) {}

file_exception::file_exception(const string& file_path, std::uint32_t error_code)
    : win32_exception(error_code), path(file_path)
{
}

file_exception::~file_exception() = default;
internet_exception::~internet_exception() = default;

internet_file_exception::internet_file_exception(const string& file_path) : file_exception(file_path) {}

internet_file_exception::~internet_file_exception() = default;

const char* memory_exception::what() const noexcept
{
    return "out of memory";
}

const char* invalid_argument_exception::what() const noexcept
{
    return "invalid argument";
}

const char* ole_exception::what() const noexcept
{
    return "automation failure";
}

safe_array_exception::safe_array_exception() : com_exception(E_INVALIDARG) {}
safe_array_exception::~safe_array_exception() = default;

com_error_handler set_com_error_handler(com_error_handler handler) noexcept
{
    return handler_in_use.exchange(handler ? handler : &default_com_error_handler);
}

void raise_com_error(HRESULT result, IErrorInfo* info)
{
    handler_in_use.load()(result, info);
    // A handler that comes back has not raised; the callers rely on not getting here.
    throw_com_error(result, info);
}

void raise_com_error_for(HRESULT result, IUnknown* object, REFIID iid)
{
    automation::com_ptr<IErrorInfo> info;
    const auto supporting = automation::query_interface<ISupportErrorInfo>(object, IID_ISupportErrorInfo);
    if (supporting && supporting->InterfaceSupportsErrorInfo(iid) == S_OK && GetErrorInfo(0, info.put()) != S_OK)
        info.reset();
    raise_com_error(result, info.get());
}

void raise_framework_error(HRESULT result)
{
    if (result == E_OUTOFMEMORY)
        throw memory_exception();
    throw ole_exception(result);
}

} // namespace cw

com_exception::com_exception(HRESULT result) : hresult(result)
{
    auto& services = cw::platform::current();
    cw::automation::com_ptr<IErrorInfo> info;
    if (GetErrorInfo(0, info.put()) == S_OK && info) {
        cw::fill(description, [&](BSTR* target) { info->GetDescription(target); });
        info->GetGUID(&error_guid);
        cw::fill(source, [&](BSTR* target) { info->GetSource(target); });
        if (FAILED(services.classes->class_id_from_program_id(source.c_str(), &source_clsid)))
            source_clsid = GUID_NULL;
        return;
    }
    if (char16_t* text = services.messages->format_message(static_cast<std::uint32_t>(hresult))) {
        description = text;
        services.messages->release(text);
    } else {
        description = u"Unknown error";
    }
}

com_exception::~com_exception() = default;

const char* com_exception::what() const noexcept
{
    try {
        return description.narrow();
    } catch (...) {
        // No memory for the narrow copy.
        return "";
    }
}

_com_error::_com_error(HRESULT result, IErrorInfo* error_info) noexcept : m_result(result), m_info(error_info) {}

cw::string _com_error::Description() const
{
    cw::automation::bstr text;
    if (m_info)
        m_info->GetDescription(text.put());
    return cw::string(text.view());
}
