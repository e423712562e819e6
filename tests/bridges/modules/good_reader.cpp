// A reader as good as any: it makes an object that answers to the media factory's interface.
#include "automation/dispatch_object.h"
#include "bridges/media_interface.h"

namespace {

using namespace cw::automation;

class entry final : public dispatch_object<entry> {
public:
    static constexpr IID iid = cw::IID_IMediaFactory;
    static constexpr std::u16string_view name = u"IMediaFactory";
    std::int32_t Number() const { return 7; }
    static constexpr std::array members{property<&entry::Number>(1, u"Number")};
};

} // namespace

CW_LIBRARY_EXPORT HRESULT DllGetClassObject(REFCLSID class_id, REFIID iid, void** object)
{
    if (class_id != cw::CLSID_MediaFactory)
        return CLASS_E_CLASSNOTAVAILABLE;
    return class_factory::make([] { return com_ptr<IUnknown>(static_cast<IDispatch*>(make_object<entry>().get())); })
        ->QueryInterface(iid, object);
}
