// Typed reads of the log library's objects, so that builders, presenters and searches are free of
// result codes and locks. Failing calls raise `_com_error` with what the library told; so does an
// object that is null where it is needed, with E_POINTER.
#pragma once

#include "automation/variant.h"
#include "bridges/log_interface.h"
#include "foundation/exceptions.h"
#include "foundation/string.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

namespace cw {

// Interfaces and the identifiers that go with them in a raised error.
template <class Interface>
inline constexpr const IID* log_interface_id = nullptr;
template <>
inline constexpr const IID* log_interface_id<ILogLoader> = &IID_ILogLoader;
template <>
inline constexpr const IID* log_interface_id<ILogDocument> = &IID_ILogDocument;
template <>
inline constexpr const IID* log_interface_id<IFeatureLog> = &IID_IFeatureLog;
template <>
inline constexpr const IID* log_interface_id<IFeatureLogCollection> = &IID_IFeatureLogCollection;
template <>
inline constexpr const IID* log_interface_id<IOperationTypeCollection> = &IID_IOperationTypeCollection;
template <>
inline constexpr const IID* log_interface_id<IOperationType> = &IID_IOperationType;
template <>
inline constexpr const IID* log_interface_id<IOperationList> = &IID_IOperationList;

/// Calls an operation of `object`: `call(list, &IOperationList::First, 0, &position)`.
template <class Interface, class... Parameters, class... Arguments>
void call(Interface* object, HRESULT (Interface::*operation)(Parameters...) noexcept, Arguments&&... arguments)
{
    if (!object)
        raise_com_error(E_POINTER);
    const HRESULT result = (object->*operation)(std::forward<Arguments>(arguments)...);
    if (FAILED(result))
        raise_com_error_for(result, object, *log_interface_id<Interface>);
}

/// A text that an operation answers; may be null, which is the empty text.
template <class Interface>
[[nodiscard]] automation::bstr text_of(Interface* object, HRESULT (Interface::*operation)(BSTR*) noexcept)
{
    automation::bstr text;
    call(object, operation, text.put());
    return text;
}

/// An object that an operation answers; may be null.
template <class Interface, class Result>
[[nodiscard]] automation::com_ptr<Result> object_of(Interface* object,
                                                    HRESULT (Interface::*operation)(Result**) noexcept)
{
    automation::com_ptr<Result> result;
    call(object, operation, result.put());
    return result;
}

/// The log of a feature that a node's object is; null where it is none.
[[nodiscard]] automation::com_ptr<IFeatureLog> feature_log_of(IDispatch* object) noexcept;

/// How many members there are at this moment.
[[nodiscard]] std::int32_t collection_count(IFeatureLogCollection* features);
/// The same for operation types.
[[nodiscard]] std::int32_t collection_count(IOperationTypeCollection* types);
/// The member at an index from 1. E_POINTER where the library answers null.
[[nodiscard]] automation::com_ptr<IFeatureLog> collection_item(IFeatureLogCollection* features, std::int32_t index);
/// The same for operation types.
[[nodiscard]] automation::com_ptr<IOperationType> collection_item(IOperationTypeCollection* types, std::int32_t index);

/// The operations of a type; may be null. E_OUTOFMEMORY where the name cannot be allocated.
[[nodiscard]] automation::com_ptr<IOperationList> operations_of(IFeatureLog* feature, std::u16string_view type);
/// The position of the first record; negative where there is none.
[[nodiscard]] std::int32_t first_position(IOperationList* operations);
/// How many records there are at this moment.
[[nodiscard]] std::int32_t operation_count(IOperationList* operations);

/// An array of the library while it is locked. Null is an array without elements.
class locked_array {
public:
    /// Locks an array of one dimension whose elements are of `type`; DISP_E_TYPEMISMATCH for any other.
    locked_array(SAFEARRAY* array, VARTYPE type);
    ~locked_array();
    locked_array(const locked_array&) = delete;
    locked_array& operator=(const locked_array&) = delete;

    /// Number of elements; indices run from 0 whatever the lower bound is.
    [[nodiscard]] std::size_t size() const noexcept { return m_size; }
    /// The text at an index; empty beyond the end.
    [[nodiscard]] std::u16string_view text(std::size_t index) const noexcept;
    /// The value at an index; VT_EMPTY beyond the end.
    [[nodiscard]] const VARIANT& value(std::size_t index) const noexcept;
    /// Leaves the lock to somebody else.
    void keep_locked() noexcept { m_array = nullptr; }

private:
    SAFEARRAY* m_array;
    void* m_data = nullptr;
    std::size_t m_size = 0;
};

/// Elements of `array`; 0 for null.
[[nodiscard]] std::size_t element_count(SAFEARRAY* array) noexcept;

/// One record while it is locked. Elements are read by the layouts of log_interface.h; one that a
/// library left out reads as zero.
class operation_record {
public:
    explicit operation_record(SAFEARRAY* elements) : m_elements(elements, VT_VARIANT) {}

    /// Number of elements, those that no layout knows included.
    [[nodiscard]] std::size_t size() const noexcept { return m_elements.size(); }

    /// The text as it lies there. An element of another type, which the contract does not allow, has none.
    [[nodiscard]] std::u16string_view text(const log_element& element) const noexcept;
    /// Whether the low 16 bits of the value field are not zero, whatever its type.
    [[nodiscard]] bool flag(const log_element& element) const noexcept { return number(element) != 0; }
    /// The low 16 bits of the value field, whatever its type.
    [[nodiscard]] std::int16_t number(const log_element& element) const noexcept;
    /// The element as text, empty where it has none. `converted` holds what had to be converted.
    [[nodiscard]] std::u16string_view converted_text(const log_element& element, string& converted) const;
    /// The element as text where nothing is known of columns: whatever has no or all low bits is a truth
    /// value, be it a number, a flag or no text at all. `converted` holds what had to be converted.
    [[nodiscard]] std::u16string_view plain_text(std::size_t index, string& converted) const;

    /// Leaves the lock to somebody else.
    void keep_locked() noexcept { m_elements.keep_locked(); }

private:
    [[nodiscard]] const VARIANT& at(const log_element& element) const noexcept
    {
        return m_elements.value(static_cast<std::size_t>(element.index));
    }

    locked_array m_elements;
};

/// The registry hive of a code; empty where the code has none.
[[nodiscard]] constexpr std::u16string_view hive_name(std::int16_t code) noexcept
{
    const auto index = static_cast<std::size_t>(code);
    return code >= 0 && index < log_hive_names.size() ? log_hive_names[index] : std::u16string_view();
}

/// Calls `work(row, record)` for the records from row 0 on, to the end or, where `work` answers
/// something, until it answers false. The count is read anew before each.
template <class Work>
void for_each_record(IOperationList* operations, Work&& work)
{
    LONG position = first_position(operations);
    for (std::int32_t row = 0; row < operation_count(operations); ++row) {
        SAFEARRAY* elements = nullptr;
        call(operations, &IOperationList::Next, &position, &elements);
        if (!elements)
            raise_com_error(E_POINTER);
        operation_record record(elements);
        if constexpr (std::is_void_v<std::invoke_result_t<Work&, std::size_t, operation_record&>>)
            work(static_cast<std::size_t>(row), record);
        else if (!work(static_cast<std::size_t>(row), record))
            return;
    }
}

} // namespace cw
