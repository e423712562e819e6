// The operation types of a log and the lists of operations.
#pragma once

#include "readers/logkit/feature_objects.h"
#include "readers/logkit/record_reader.h"

#include <string>

namespace cw::logkit {

class operation_type final : public automation::dual_object<operation_type, IOperationType> {
public:
    explicit operation_type(std::u16string type_name) noexcept : m_name(std::move(type_name)) {}

    HRESULT Name(BSTR* name) noexcept override;

    static constexpr IID iid = IID_IOperationType;
    static constexpr std::u16string_view name = u"IOperationType";

private:
    std::u16string m_name;
};

class operation_type_collection final
    : public automation::dual_object<operation_type_collection, IOperationTypeCollection> {
public:
    explicit operation_type_collection(log_handle log) noexcept : m_log(std::move(log)) {}

    HRESULT Count(LONG* count) noexcept override;
    HRESULT Item(VARIANT index, IOperationType** type) noexcept override;

    static constexpr IID iid = IID_IOperationTypeCollection;
    static constexpr std::u16string_view name = u"IOperationTypeCollection";

private:
    log_handle m_log;
};

class operation_list final : public automation::dual_object<operation_list, IOperationList> {
public:
    /// The operations of a type within a feature (its id).
    operation_list(log_handle log, std::int64_t feature, std::u16string type_name)
        : m_typeName(std::move(type_name)), m_records(std::move(log), feature, m_typeName)
    {
    }

    HRESULT Name(BSTR* name) noexcept override;
    HRESULT Count(LONG* count) noexcept override;
    HRESULT First(LONG start, LONG* position) noexcept override;
    HRESULT Next(LONG* position, SAFEARRAY** record) noexcept override;

    static constexpr IID iid = IID_IOperationList;
    static constexpr std::u16string_view name = u"IOperationList";

private:
    void make_room(std::size_t elements);

    std::u16string m_typeName;
    record_reader m_records;
    array_holder m_record;                   // the last record, filled anew for each
    std::vector<array_holder> m_heldRecords; // those that a caller still had locked then
};

} // namespace cw::logkit
