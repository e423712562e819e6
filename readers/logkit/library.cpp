// What the library exports: the class object of the loader of logs.
#include "readers/logkit/document.h"

namespace {

using namespace cw::automation;

com_ptr<IUnknown> create_loader()
{
    return com_ptr<IUnknown>(static_cast<IDispatch*>(make_object<cw::logkit::loader>().get()));
}

} // namespace

CW_LIBRARY_EXPORT HRESULT DllGetClassObject(REFCLSID class_id, REFIID iid, void** object)
{
    if (!object)
        return E_POINTER;
    *object = nullptr;
    if (class_id != cw::CLSID_LogLoader)
        return CLASS_E_CLASSNOTAVAILABLE;
    return class_factory::hand_out(&create_loader, iid, object);
}
