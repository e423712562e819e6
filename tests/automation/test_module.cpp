// A library as reader libraries are: it shares nothing with its loader but the automation library.
#include "automation/dispatch_object.h"

namespace {

using namespace cw::automation;

class greeter final : public dispatch_object<greeter> {
public:
    static constexpr IID iid = guid_from_literal("6D0C4A2B-9F0E-4E7C-8F43-0F6C1B8E2A11");
    static constexpr std::u16string_view name = u"IGreeter";

    std::u16string Greeting(std::u16string who) const { return u"Hello, " + who; }
    void Refuse() const { throw automation_error(E_ACCESSDENIED, u"not today"); }

    static constexpr std::array members{
        method<&greeter::Greeting>(1, u"Greeting"),
        method<&greeter::Refuse>(2, u"Refuse"),
    };
};

} // namespace

CW_LIBRARY_EXPORT HRESULT DllGetClassObject(REFCLSID, REFIID iid, void** object)
{
    return class_factory::hand_out([] { return com_ptr<IUnknown>(com_ptr<IDispatch>(make_object<greeter>())); }, iid,
                                   object);
}
