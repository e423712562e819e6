#include "automation/error_info.h"

#include <new>

namespace {

using cw::automation::bstr;
using cw::automation::com_ptr;

class error_object final : public IErrorInfo, public ICreateErrorInfo {
public:
    error_object() noexcept = default;
    error_object(const error_object&) = delete;
    error_object& operator=(const error_object&) = delete;

    HRESULT QueryInterface(REFIID iid, void** object) noexcept override
    {
        if (!object)
            return E_POINTER;
        if (iid == IID_IUnknown || iid == IID_IErrorInfo)
            *object = static_cast<IErrorInfo*>(this);
        else if (iid == IID_ICreateErrorInfo)
            *object = static_cast<ICreateErrorInfo*>(this);
        else {
            *object = nullptr;
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    ULONG AddRef() noexcept override { return ++m_references; }
    ULONG Release() noexcept override
    {
        const ULONG left = --m_references;
        if (left == 0)
            delete this;
        return left;
    }

    HRESULT GetGUID(GUID* guid) noexcept override
    {
        if (!guid)
            return E_INVALIDARG;
        *guid = m_guid;
        return S_OK;
    }
    HRESULT GetSource(BSTR* source) noexcept override { return read(m_source, source); }
    HRESULT GetDescription(BSTR* description) noexcept override { return read(m_description, description); }
    HRESULT GetHelpFile(BSTR* help_file) noexcept override { return read(m_helpFile, help_file); }
    HRESULT GetHelpContext(DWORD* help_context) noexcept override
    {
        if (!help_context)
            return E_INVALIDARG;
        *help_context = m_helpContext;
        return S_OK;
    }

    HRESULT SetGUID(REFGUID guid) noexcept override
    {
        m_guid = guid;
        return S_OK;
    }
    HRESULT SetSource(const WCHAR* source) noexcept override { return write(m_source, source); }
    HRESULT SetDescription(const WCHAR* description) noexcept override { return write(m_description, description); }
    HRESULT SetHelpFile(const WCHAR* help_file) noexcept override { return write(m_helpFile, help_file); }
    HRESULT SetHelpContext(DWORD help_context) noexcept override
    {
        m_helpContext = help_context;
        return S_OK;
    }

    /// Texts with embedded zeros pass whole here, which the interface's zero-terminated ones cannot.
    void fill(bstr&& description, bstr&& source, REFGUID guid) noexcept
    {
        m_description = std::move(description);
        m_source = std::move(source);
        m_guid = guid;
    }

private:
    ~error_object() = default;

    static HRESULT read(const bstr& field, BSTR* text) noexcept
    {
        if (!text)
            return E_INVALIDARG;
        *text = nullptr;
        if (!field.get())
            return S_OK;
        *text = bstr(field.view()).detach();
        return *text ? S_OK : E_OUTOFMEMORY;
    }
    static HRESULT write(bstr& field, const WCHAR* text) noexcept
    {
        BSTR copy = SysAllocString(text);
        if (text && !copy)
            return E_OUTOFMEMORY;
        field.attach(copy);
        return S_OK;
    }

    std::atomic<ULONG> m_references{1};
    GUID m_guid = GUID_NULL;
    bstr m_source;
    bstr m_description;
    bstr m_helpFile;
    DWORD m_helpContext = 0;
};

com_ptr<IErrorInfo>& thread_error() noexcept
{
    thread_local com_ptr<IErrorInfo> error;
    return error;
}

} // namespace

HRESULT GetErrorInfo(ULONG reserved, IErrorInfo** info) noexcept
{
    if (reserved != 0 || !info)
        return E_INVALIDARG;
    *info = thread_error().detach();
    return *info ? S_OK : S_FALSE;
}

HRESULT SetErrorInfo(ULONG reserved, IErrorInfo* info) noexcept
{
    if (reserved != 0)
        return E_INVALIDARG;
    thread_error() = com_ptr<IErrorInfo>(info);
    return S_OK;
}

HRESULT CreateErrorInfo(ICreateErrorInfo** info) noexcept
{
    if (!info)
        return E_INVALIDARG;
    *info = new (std::nothrow) error_object;
    return *info ? S_OK : E_OUTOFMEMORY;
}

namespace cw::automation {

HRESULT set_error(HRESULT result, std::u16string_view description, std::u16string_view source, REFGUID guid) noexcept
{
    auto* object = new (std::nothrow) error_object;
    // An older error must not pass for this one, even when memory is too short to describe this one.
    if (!object) {
        SetErrorInfo(0, nullptr);
        return result;
    }
    object->fill(bstr(description), bstr(source), guid);
    thread_error() = com_ptr<IErrorInfo>::adopt(object);
    return result;
}

} // namespace cw::automation
