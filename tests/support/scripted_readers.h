// Reader libraries that are functions of the test: a log library whose steps succeed, fail or answer
// nothing as the test says, and single objects that answer calls from a function. Tests of the frame
// put them in place of libraries (see `library_folder::add`).
#pragma once

#include "automation/unknown.h"
#include "automation/variant.h"
#include "bridges/log_interface.h"
#include "bridges/media_interface.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace cw::test_support {

/// An object that answers late-bound calls from a function.
class scripted_object final : public IDispatch {
public:
    /// Stores the answer of a member; `argument` is the first argument or null.
    using answer = std::function<HRESULT(DISPID member, const VARIANT* argument, VARIANT& result)>;

    [[nodiscard]] static automation::com_ptr<scripted_object> make(answer on_invoke, const IID& iid = IID_NULL);
    /// Called at each release, before the count goes down.
    std::function<void()> on_release;
    /// Whether it is whatever it is asked for, and what it was asked for.
    bool is_everything = false;
    std::vector<IID> asked;

    HRESULT QueryInterface(REFIID iid, void** object) noexcept override;
    ULONG AddRef() noexcept override;
    ULONG Release() noexcept override;
    HRESULT GetTypeInfoCount(UINT*) noexcept override { return E_NOTIMPL; }
    HRESULT GetTypeInfo(UINT, LCID, ITypeInfo**) noexcept override { return E_NOTIMPL; }
    HRESULT GetIDsOfNames(REFIID, WCHAR**, UINT, LCID, DISPID*) noexcept override { return E_NOTIMPL; }
    HRESULT Invoke(DISPID member, REFIID iid, LCID locale, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                   EXCEPINFO* exception, UINT* argument_error) noexcept override;

    /// Objects of this class that live.
    static inline int alive = 0;

private:
    scripted_object(answer on_invoke, const IID& iid) : m_answer(std::move(on_invoke)), m_iid(iid) { ++alive; }
    ~scripted_object() { --alive; }

    answer m_answer;
    IID m_iid;
    ULONG m_references = 1;
};

/// Stores a counted reference as a call's result.
HRESULT answer_object(VARIANT& result, IDispatch* object);

/// Entry point of a library whose class makes the one object that the test set.
struct scripted_media_library {
    explicit scripted_media_library(automation::com_ptr<IDispatch> factory_object);
    ~scripted_media_library();
    scripted_media_library(const scripted_media_library&) = delete;
    scripted_media_library& operator=(const scripted_media_library&) = delete;
    static HRESULT entry_point(REFCLSID class_id, REFIID iid, void** object);
};

/// A log library: what its steps answer, and what was asked of it. One lives at a time.
struct scripted_log_library {
    scripted_log_library();
    ~scripted_log_library();
    scripted_log_library(const scripted_log_library&) = delete;
    scripted_log_library& operator=(const scripted_log_library&) = delete;
    static HRESULT entry_point(REFCLSID class_id, REFIID iid, void** object);

    HRESULT class_result = S_OK;
    /// Whether the object that the class makes is a loader of logs.
    bool makes_loader = true;
    HRESULT open_result = S_OK;
    bool open_gives_null = false;
    HRESULT root_result = S_OK;
    bool root_gives_null = false;

    /// "Open C:\a.clg", "RootFeature", in the order of the calls.
    std::vector<std::string> calls;
    std::vector<CLSID> classes_asked_for;
    /// Called with "loader", "document" or "feature" at each release, before the count goes down.
    std::function<void(std::string_view object)> on_release;
    /// Objects of the library that live.
    int alive = 0;
};

} // namespace cw::test_support
