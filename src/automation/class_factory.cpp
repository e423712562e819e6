#include "automation/dispatch_object.h"

#include <new>

namespace cw::automation {

com_ptr<IClassFactory> class_factory::make(creator create)
{
    return com_ptr<IClassFactory>::adopt(new class_factory(create));
}

HRESULT class_factory::hand_out(creator create, REFIID iid, void** object) noexcept
{
    if (!object)
        return E_POINTER;
    *object = nullptr;
    const auto factory = com_ptr<IClassFactory>::adopt(new (std::nothrow) class_factory(create));
    return factory ? factory->QueryInterface(iid, object) : E_OUTOFMEMORY;
}

HRESULT class_factory::QueryInterface(REFIID iid, void** object) noexcept
{
    if (!object)
        return E_POINTER;
    if (iid != IID_IUnknown && iid != IID_IClassFactory) {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    *object = static_cast<IClassFactory*>(this);
    AddRef();
    return S_OK;
}

ULONG class_factory::AddRef() noexcept
{
    return ++m_references;
}

ULONG class_factory::Release() noexcept
{
    const ULONG left = --m_references;
    if (left == 0)
        delete this;
    return left;
}

HRESULT class_factory::CreateInstance(IUnknown* outer, REFIID iid, void** object) noexcept
{
    if (!object)
        return E_POINTER;
    *object = nullptr;
    if (outer)
        return CLASS_E_NOAGGREGATION;
    com_ptr<IUnknown> made;
    struct request {
        creator create;
        com_ptr<IUnknown>& made;
    } request{m_create, made};
    const HRESULT result = translate_exceptions(
        u"",
        [](void* context) {
            auto& wanted = *static_cast<struct request*>(context);
            wanted.made = wanted.create();
        },
        &request);
    if (FAILED(result))
        return result;
    return made ? made->QueryInterface(iid, object) : E_UNEXPECTED;
}

// Libraries stay loaded for the life of the process, so there is no count to keep.
HRESULT class_factory::LockServer(int) noexcept
{
    return S_OK;
}

} // namespace cw::automation
