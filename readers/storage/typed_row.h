// Columns of a statement's row, read as what they must be. What is stored as something else is a
// contradiction that tells the table.
#pragma once

#include "readers/storage/database.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace cw::storage {

class typed_row {
public:
    /// A prepared statement whose rows are those of `table`, which outlives it. Throws what the
    /// source's fault handler throws, as all functions below do.
    typed_row(database& source, std::string_view table, std::string_view sql)
        : m_source(&source), m_table(table), m_statement(source, sql)
    {
    }

    /// Asks anew with these integers as the parameters, in their order; `step` goes to the first row.
    template <class... Integers>
    void ask(Integers... parameters)
    {
        m_statement.reset();
        int number = 0;
        (m_statement.bind(++number, std::int64_t{parameters}), ...);
    }
    /// Goes to the next row; false behind the last one.
    bool step() { return m_statement.step(); }

    /// A column that must hold an integer, or null where `null_value` is given.
    [[nodiscard]] std::int64_t integer(unsigned column, std::optional<std::int64_t> null_value = {}) const;
    /// The same, and it must not be negative nor beyond `largest`.
    [[nodiscard]] std::int64_t natural(unsigned column, std::int64_t largest) const;
    /// A column that must hold a finite real or an integer.
    [[nodiscard]] double real(unsigned column) const;
    /// A column that must hold a text or null, which is the empty text.
    [[nodiscard]] std::string_view text(unsigned column) const;
    /// A column that holds a text, or what is stored there as text.
    [[nodiscard]] std::string_view any_text(unsigned column) const;
    [[nodiscard]] bool is_null(unsigned column) const noexcept;
    [[nodiscard]] formats::byte_view blob(unsigned column) const;
    [[nodiscard]] int type(unsigned column) const noexcept { return m_statement.type(static_cast<int>(column)); }

    /// A contradiction that tells where it was found.
    [[noreturn]] void contradict(std::u16string_view what) const;

protected:
    database* m_source;
    std::string_view m_table;
    statement m_statement;
};

} // namespace cw::storage
