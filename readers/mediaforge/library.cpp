// What the library exports: the class object of the media factory.
#include "readers/mediaforge/factory.h"

namespace {

using namespace cw::automation;

com_ptr<IUnknown> create_factory()
{
    return com_ptr<IUnknown>(static_cast<IDispatch*>(make_object<cw::mediaforge::factory_object>().get()));
}

struct class_request {
    const IID& iid;
    void** object;
    HRESULT result;
};

} // namespace

CW_LIBRARY_EXPORT HRESULT DllGetClassObject(REFCLSID class_id, REFIID iid, void** object)
{
    if (!object)
        return E_POINTER;
    *object = nullptr;
    if (class_id != cw::CLSID_MediaFactory)
        return CLASS_E_CLASSNOTAVAILABLE;
    class_request request{iid, object, S_OK};
    const HRESULT made = translate_exceptions(
        u"MediaForge",
        [](void* context) {
            auto& wanted = *static_cast<class_request*>(context);
            wanted.result = class_factory::make(&create_factory)->QueryInterface(wanted.iid, wanted.object);
        },
        &request);
    return made < 0 ? made : request.result;
}
