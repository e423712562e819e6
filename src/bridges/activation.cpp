#include "bridges/activation.h"

#include "bridges/library_cache.h"
#include "bridges/media_interface.h"
#include "foundation/exceptions.h"
#include "platform/services.h"

namespace cw {
namespace {

constexpr DWORD context_any_server = 0x17; // in this process, its handler, another process, another machine

// Made by the first activation and kept until the process ends.
library_cache* loaded_libraries = nullptr;

HRESULT create_from_library(const string& library_name, REFCLSID class_id, automation::com_ptr<IUnknown>& object,
                            search_report* report)
{
    if (!loaded_libraries)
        loaded_libraries = new library_cache;
    automation::com_ptr<IClassFactory> factory;
    const HRESULT result = get_library_class_factory(*loaded_libraries, library_name, class_id, factory.put(), report);
    if (FAILED(result))
        return result;
    // A library that succeeds without a result is a broken one.
    return factory ? factory->CreateInstance(nullptr, IID_IUnknown, object.put_void()) : E_POINTER;
}

} // namespace

HRESULT activate_library_object(const string& library_name, REFCLSID class_id, REFIID iid, void** object,
                                search_report* report)
{
    *object = nullptr;
    automation::com_ptr<IUnknown> created;
    const HRESULT result = library_name.empty()
                               ? platform::current().classes->create_instance(class_id, nullptr, context_any_server,
                                                                              IID_IUnknown, created.put_void())
                               : create_from_library(library_name, class_id, created, report);
    if (FAILED(result))
        return result;
    const HRESULT queried = created ? created->QueryInterface(iid, object) : E_POINTER;
    if (FAILED(queried))
        *object = nullptr;
    return queried;
}

HRESULT activate_media_factory(automation::com_ptr<IDispatch>& factory, search_report* report)
{
    return activate_library_object(string(media_library_name), CLSID_MediaFactory, IID_IMediaFactory,
                                   factory.put_void(), report);
}

HRESULT activate_log_loader(automation::com_ptr<ILogLoader>& loader, search_report* report)
{
    return activate_library_object(string(log_library_name), class_id_from_text(log_loader_class_text), IID_ILogLoader,
                                   loader.put_void(), report);
}

CLSID class_id_from_text(std::u16string_view text)
{
    platform::text_memory& memory = *platform::current().memory;
    const BSTR copy = memory.allocate(text.data(), static_cast<UINT>(text.size()));
    if (!copy)
        raise_framework_error(E_OUTOFMEMORY);
    CLSID class_id{};
    CLSIDFromString(copy, &class_id);
    memory.release(copy);
    return class_id;
}

void forget_loaded_libraries() noexcept
{
    delete loaded_libraries;
    loaded_libraries = nullptr;
}

} // namespace cw
