#include "tests/support/scripted_readers.h"

#include "automation/bstr.h"
#include "automation/dispatch_object.h"
#include "platform/utf8.h"

namespace cw::test_support {
namespace {

using automation::com_ptr;

com_ptr<IDispatch> media_object;
scripted_log_library* log_library = nullptr;

/// The part of an object that is the same for all interfaces of the log library.
template <class Interface>
class log_object : public Interface {
public:
    log_object(const IID& iid, std::string_view name) : m_iid(iid), m_name(name) { ++log_library->alive; }
    virtual ~log_object() { --log_library->alive; }
    log_object(const log_object&) = delete;
    log_object& operator=(const log_object&) = delete;

    HRESULT QueryInterface(REFIID iid, void** object) noexcept override
    {
        const bool known = iid == IID_IUnknown || iid == IID_IDispatch || iid == m_iid;
        *object = known ? this : nullptr;
        if (known)
            AddRef();
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG AddRef() noexcept override { return ++m_references; }
    ULONG Release() noexcept override
    {
        if (log_library->on_release)
            log_library->on_release(m_name);
        const ULONG left = --m_references;
        if (left == 0)
            delete this;
        return left;
    }
    HRESULT GetTypeInfoCount(UINT*) noexcept override { return E_NOTIMPL; }
    HRESULT GetTypeInfo(UINT, LCID, ITypeInfo**) noexcept override { return E_NOTIMPL; }
    HRESULT GetIDsOfNames(REFIID, WCHAR**, UINT, LCID, DISPID*) noexcept override { return E_NOTIMPL; }
    HRESULT Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) noexcept override
    {
        return E_NOTIMPL;
    }

private:
    IID m_iid;
    std::string_view m_name;
    ULONG m_references = 1;
};

class no_features final : public log_object<IFeatureLogCollection> {
public:
    no_features() : log_object(IID_IFeatureLogCollection, "features") {}
    HRESULT Count(LONG* count) noexcept override
    {
        *count = 0;
        return S_OK;
    }
    HRESULT Item(VARIANT, IFeatureLog**) noexcept override { return E_NOTIMPL; }
};

class feature final : public log_object<IFeatureLog> {
public:
    feature() : log_object(IID_IFeatureLog, "feature") {}
    HRESULT Name(BSTR* name) noexcept override
    {
        *name = SysAllocString(u"Main");
        return S_OK;
    }
    HRESULT reserved_2() noexcept override { return E_NOTIMPL; }
    HRESULT ID(BSTR* id) noexcept override
    {
        *id = SysAllocString(u"APP_MAIN_LOG");
        return S_OK;
    }
    HRESULT Parent(IFeatureLog**) noexcept override { return E_NOTIMPL; }
    HRESULT PropertyValue(VARIANT, VARIANT*) noexcept override { return E_NOTIMPL; }
    HRESULT reserved_6() noexcept override { return E_NOTIMPL; }
    HRESULT SubFeatures(IFeatureLogCollection** features) noexcept override
    {
        *features = new no_features;
        return S_OK;
    }
    HRESULT Operations(BSTR, IOperationList**) noexcept override { return E_NOTIMPL; }
    HRESULT reserved_9() noexcept override { return E_NOTIMPL; }
    HRESULT reserved_10() noexcept override { return E_NOTIMPL; }
    HRESULT PropertyNames(SAFEARRAY**) noexcept override { return E_NOTIMPL; }
};

class document final : public log_object<ILogDocument> {
public:
    document() : log_object(IID_ILogDocument, "document") {}
    HRESULT RootFeature(IFeatureLog** root) noexcept override
    {
        log_library->calls.push_back("RootFeature");
        *root = FAILED(log_library->root_result) || log_library->root_gives_null ? nullptr : new feature;
        return log_library->root_result;
    }
    HRESULT OperationTypes(IOperationTypeCollection**) noexcept override { return E_NOTIMPL; }
};

class loader final : public log_object<ILogLoader> {
public:
    explicit loader(const IID& iid) : log_object(iid, "loader") {}
    HRESULT Open(BSTR path, ILogDocument** opened) noexcept override
    {
        log_library->calls.push_back("Open " + platform::to_utf8({path, SysStringLen(path)}));
        *opened = FAILED(log_library->open_result) || log_library->open_gives_null ? nullptr : new document;
        return log_library->open_result;
    }
};

com_ptr<IUnknown> make_loader()
{
    return com_ptr<IUnknown>::adopt(new loader(log_library->makes_loader ? IID_ILogLoader : IID_NULL));
}

com_ptr<IUnknown> make_media_object()
{
    return media_object;
}

} // namespace

com_ptr<scripted_object> scripted_object::make(answer on_invoke, const IID& iid)
{
    return com_ptr<scripted_object>::adopt(new scripted_object(std::move(on_invoke), iid));
}

HRESULT scripted_object::QueryInterface(REFIID iid, void** object) noexcept
{
    asked.push_back(iid);
    const bool known =
        is_everything || iid == IID_IUnknown || iid == IID_IDispatch || (iid == m_iid && iid != IID_NULL);
    *object = known ? this : nullptr;
    if (known)
        AddRef();
    return known ? S_OK : E_NOINTERFACE;
}

ULONG scripted_object::AddRef() noexcept
{
    return ++m_references;
}

ULONG scripted_object::Release() noexcept
{
    if (on_release)
        on_release();
    const ULONG left = --m_references;
    if (left == 0)
        delete this;
    return left;
}

HRESULT scripted_object::Invoke(DISPID member, REFIID, LCID, WORD, DISPPARAMS* arguments, VARIANT* result, EXCEPINFO*,
                                UINT*) noexcept
{
    VARIANT unwanted{};
    const VARIANT* argument = arguments->cArgs == 0 ? nullptr : &arguments->rgvarg[arguments->cArgs - 1];
    const HRESULT answered = m_answer(member, argument, result ? *result : unwanted);
    VariantClear(&unwanted);
    return answered;
}

HRESULT answer_object(VARIANT& result, IDispatch* object)
{
    if (object)
        object->AddRef();
    result.pdispVal = object;
    result.vt = VT_DISPATCH;
    return S_OK;
}

scripted_media_library::scripted_media_library(com_ptr<IDispatch> factory_object)
{
    media_object = std::move(factory_object);
}

scripted_media_library::~scripted_media_library()
{
    media_object.reset();
}

HRESULT scripted_media_library::entry_point(REFCLSID class_id, REFIID iid, void** object)
{
    if (class_id != CLSID_MediaFactory)
        return CLASS_E_CLASSNOTAVAILABLE;
    return automation::class_factory::make(&make_media_object)->QueryInterface(iid, object);
}

scripted_log_library::scripted_log_library()
{
    log_library = this;
}

scripted_log_library::~scripted_log_library()
{
    log_library = nullptr;
}

HRESULT scripted_log_library::entry_point(REFCLSID class_id, REFIID iid, void** object)
{
    log_library->classes_asked_for.push_back(class_id);
    if (FAILED(log_library->class_result))
        return log_library->class_result;
    return automation::class_factory::make(&make_loader)->QueryInterface(iid, object);
}

} // namespace cw::test_support
