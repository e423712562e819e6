// Features of a log and their collections.
#pragma once

#include "automation/dual_object.h"
#include "readers/logkit/log_store.h"

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

namespace cw::logkit {

/// Arrays live as long as the object that gave them out. A caller may have left one locked: a search
/// does so with the record that it comes to.
struct array_deleter {
    void operator()(SAFEARRAY* array) const noexcept
    {
        while (array->cLocks > 0)
            (void)SafeArrayUnlock(array);
        (void)SafeArrayDestroy(array);
    }
};
using array_holder = std::unique_ptr<SAFEARRAY, array_deleter>;

/// The item that the argument of an `Item` means, from 0. Throws `log_failure` where `count` items
/// have none of that index, and automation_error where it is no number.
[[nodiscard]] LONG position_of(const VARIANT& index, LONG count, const log_store& log, std::u16string_view item_name);

class feature_object final : public automation::dual_object<feature_object, IFeatureLog> {
public:
    feature_object(log_handle log, std::size_t index) noexcept : m_log(std::move(log)), m_index(index) {}
    ~feature_object() override;

    HRESULT Name(BSTR* name) noexcept override;
    HRESULT reserved_2() noexcept override { return E_NOTIMPL; }
    HRESULT ID(BSTR* id) noexcept override;
    HRESULT Parent(IFeatureLog** parent) noexcept override;
    HRESULT PropertyValue(VARIANT name, VARIANT* value) noexcept override;
    HRESULT reserved_6() noexcept override { return E_NOTIMPL; }
    HRESULT SubFeatures(IFeatureLogCollection** features) noexcept override;
    HRESULT Operations(BSTR type_name, IOperationList** operations) noexcept override;
    HRESULT reserved_9() noexcept override { return E_NOTIMPL; }
    HRESULT reserved_10() noexcept override { return E_NOTIMPL; }
    HRESULT PropertyNames(SAFEARRAY** names) noexcept override;

    static constexpr IID iid = IID_IFeatureLog;
    static constexpr std::u16string_view name = u"IFeatureLog";

private:
    [[nodiscard]] const stored_feature& stored() const noexcept { return m_log->features()[m_index]; }
    void load_names();
    [[nodiscard]] automation::variant property(const VARIANT& name);
    [[nodiscard]] automation::variant text_array(std::int64_t position);

    log_handle m_log;
    std::size_t m_index;
    array_holder m_names;                                         // made at the first need and the same from then on
    std::unordered_map<std::u16string, std::int64_t> m_positions; // of the properties, by their names
    std::optional<std::int64_t> m_titles;                         // position of the first array among them
};

class feature_collection final : public automation::dual_object<feature_collection, IFeatureLogCollection> {
public:
    /// The features below one.
    feature_collection(log_handle log, std::size_t parent) noexcept : m_log(std::move(log)), m_parent(parent) {}

    HRESULT Count(LONG* count) noexcept override;
    HRESULT Item(VARIANT index, IFeatureLog** feature) noexcept override;

    static constexpr IID iid = IID_IFeatureLogCollection;
    static constexpr std::u16string_view name = u"IFeatureLogCollection";

private:
    [[nodiscard]] const stored_feature& parent() const noexcept { return m_log->features()[m_parent]; }

    log_handle m_log;
    std::size_t m_parent;
};

} // namespace cw::logkit
