// The records of one operation list, read ahead some at a time: no cursor stays open between two
// calls, so whoever goes on recording never waits for a viewer.
#pragma once

#include "readers/logkit/log_store.h"

#include <span>
#include <string_view>

namespace cw::logkit {

class record_reader {
public:
    /// The operations of a type within a feature (its id).
    record_reader(log_handle log, std::int64_t feature, std::u16string_view type);

    /// Whether there is no record; no look-up where the log told of some.
    [[nodiscard]] bool is_empty();
    /// How many records there are: one look-up, and none while records that were read ahead are left.
    [[nodiscard]] LONG count();
    /// The elements of the record at a position, which the caller may take. They are valid until the
    /// next call. Throws `log_failure` where there is no such record.
    [[nodiscard]] std::span<automation::variant> read(LONG position);

private:
    [[nodiscard]] bool reads_ahead(LONG position) const noexcept;
    void read_from(LONG position);
    void add_columns();
    /// Adds the elements of an operation that have no column, from the row that stands ready on.
    void add_surplus(std::int64_t operation);

    log_handle m_log;
    operation_queries* m_queries;
    std::int64_t m_feature;
    std::optional<std::int64_t> m_type;
    std::u16string m_typeName;

    // Records that were read ahead: the first of them at `m_first`, the next to be asked for at `m_next`.
    LONG m_first = 0;
    LONG m_next = 0;
    std::vector<automation::variant> m_values;
    std::vector<std::size_t> m_ends; // of each record among the values
    std::size_t m_sizeInBytes = 0;
    LONG m_count = 0;
    bool m_hasSurplusRow = false;
};

} // namespace cw::logkit
