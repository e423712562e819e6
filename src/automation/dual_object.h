// Base of the objects that are called through the operations of their own interface, slot by slot,
// and not by number: a class writes down its operations and gets everything around them. Readers of
// logs are made of these.
#pragma once

#include "automation/dispatch.h"
#include "automation/dispatch_object.h"

#include <atomic>
#include <string_view>

namespace cw::automation {

/// `Interface` derives from IDispatch. A class over `dual_object<itself, Interface>` gives
///     static constexpr IID iid = …;
///     static constexpr std::u16string_view name = u"…";   // source of its error objects
/// and overrides the operations of the interface, their work inside `answer`. Objects are made with
/// one reference (see `make_object`) and delete themselves at the last release. No type information,
/// no calls by number.
template <class Class, class Interface>
class dual_object : public Interface, public ISupportErrorInfo {
public:
    dual_object(const dual_object&) = delete;
    dual_object& operator=(const dual_object&) = delete;

    HRESULT QueryInterface(REFIID iid, void** object) noexcept override
    {
        if (!object)
            return E_POINTER;
        if (iid == IID_IUnknown || iid == IID_IDispatch || iid == Class::iid)
            *object = static_cast<Interface*>(this);
        else if (iid == IID_ISupportErrorInfo)
            *object = static_cast<ISupportErrorInfo*>(this);
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
    HRESULT GetTypeInfoCount(UINT* count) noexcept override
    {
        if (!count)
            return E_INVALIDARG;
        *count = 0;
        return S_OK;
    }
    HRESULT GetTypeInfo(UINT, LCID, ITypeInfo** info) noexcept override
    {
        if (!info)
            return E_INVALIDARG;
        *info = nullptr;
        return DISP_E_BADINDEX;
    }
    HRESULT GetIDsOfNames(REFIID, WCHAR**, UINT count, LCID, DISPID* ids) noexcept override
    {
        for (UINT i = 0; ids && i < count; ++i)
            ids[i] = DISPID_UNKNOWN;
        return DISP_E_UNKNOWNNAME;
    }
    HRESULT Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) noexcept override
    {
        return DISP_E_MEMBERNOTFOUND;
    }
    HRESULT InterfaceSupportsErrorInfo(REFIID iid) noexcept override { return iid == Class::iid ? S_OK : S_FALSE; }

protected:
    dual_object() noexcept = default;
    virtual ~dual_object() = default;

    /// Runs the work of an operation; what it throws becomes the operation's result and an error
    /// object on the thread.
    template <class Work>
    [[nodiscard]] static HRESULT answer(Work work) noexcept
    {
        return translate_exceptions(
            Class::name, [](void* context) { (*static_cast<Work*>(context))(); }, &work);
    }
    /// The same for an operation with an out argument: E_POINTER where there is no place for it,
    /// otherwise `*result` is zero on failure.
    template <class Result, class Work>
    [[nodiscard]] static HRESULT answer_into(Result* result, Work work) noexcept
    {
        if (!result)
            return E_POINTER;
        *result = Result{};
        return answer([&] { *result = work(); });
    }

private:
    std::atomic<ULONG> m_references{1};
};

} // namespace cw::automation
