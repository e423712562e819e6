// A reader whose object does not answer to the interface that is asked of it.
#include "automation/dispatch_object.h"

namespace {

using namespace cw::automation;

class stranger final : public dispatch_object<stranger> {
public:
    static constexpr IID iid = guid_from_literal("C4A1A0C5-0C4E-4B7E-9D26-3F1D57B1B0AA");
    static constexpr std::u16string_view name = u"IStranger";
    std::int32_t Number() const { return 1; }
    static constexpr std::array members{property<&stranger::Number>(1, u"Number")};
};

} // namespace

CW_LIBRARY_EXPORT HRESULT DllGetClassObject(REFCLSID, REFIID iid, void** object)
{
    return class_factory::make([] { return com_ptr<IUnknown>(static_cast<IDispatch*>(make_object<stranger>().get())); })
        ->QueryInterface(iid, object);
}
