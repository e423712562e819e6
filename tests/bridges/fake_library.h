// Entry points and objects of libraries that tests hand to the scripted loader.
#pragma once

#include "automation/dispatch_object.h"

namespace cw::test {

inline constexpr IID IID_IFake = automation::guid_from_literal("2B7E9C51-6E8B-4D0B-8F0E-0D8A4C6A7B10");

/// Counts its living objects, so that a test sees leaked references.
class fake_object final : public automation::dispatch_object<fake_object> {
public:
    static constexpr IID iid = IID_IFake;
    static constexpr std::u16string_view name = u"IFake";
    static inline int living = 0;

    fake_object() { ++living; }
    ~fake_object() override { --living; }
    std::int32_t Number() const { return 42; }
    static constexpr std::array members{automation::property<&fake_object::Number>(1, u"Number")};
};

inline automation::com_ptr<IUnknown> make_fake()
{
    return automation::com_ptr<IUnknown>(static_cast<IDispatch*>(automation::make_object<fake_object>().get()));
}

/// What the entry points were asked for last.
struct asked {
    static inline CLSID class_id{};
    static inline IID iid{};
    static inline int calls = 0;
};

inline HRESULT good_entry_point(REFCLSID class_id, REFIID iid, void** object)
{
    asked::class_id = class_id;
    asked::iid = iid;
    ++asked::calls;
    return automation::class_factory::make(&make_fake)->QueryInterface(iid, object);
}

inline HRESULT refusing_entry_point(REFCLSID, REFIID, void**)
{
    return E_ACCESSDENIED;
}

inline HRESULT empty_entry_point(REFCLSID, REFIID, void** object)
{
    *object = nullptr;
    return S_OK;
}

template <class Function>
void* as_export(Function* function)
{
    return reinterpret_cast<void*>(function);
}

} // namespace cw::test
