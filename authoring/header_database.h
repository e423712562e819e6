// The database of a header while it is written: rows go into tables by their number, in order. Used
// by the media writer; docs/media-format.md tells what the tables hold.
#pragma once

#include "formats/media_format.h"
#include "formats/sealed.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace cw::authoring {

/// A value of a column: null, a number, a text in UTF-8, or bytes.
using cell = std::variant<std::monostate, std::int64_t, double, std::string, formats::bytes>;
/// The values of a table's member columns, in their order.
using row = std::vector<cell>;

/// A row from members by name; the others are what an absent member is: a null text, or 0. Throws
/// std::invalid_argument for a name that is not among the columns.
[[nodiscard]] row make_row(std::span<const formats::member_column> columns,
                           std::initializer_list<std::pair<std::u16string_view, cell>> members);

/// The place of a table in `formats::header_tables`.
consteval std::size_t table_number(std::string_view name)
{
    for (std::size_t i = 0; i < formats::header_tables.size(); ++i) {
        if (formats::header_tables[i].name == name)
            return i;
    }
    throw "no such table";
}

class header_database {
public:
    /// Makes the file, or with an empty path a database in memory alone. Every failure is an `error`.
    explicit header_database(const std::filesystem::path& file);
    ~header_database();
    header_database(const header_database&) = delete;
    header_database& operator=(const header_database&) = delete;

    /// Adds a row: the values of the table's own columns, then those of its member columns.
    void insert(std::size_t table, std::initializer_list<cell> own, const row& members = {});
    /// Makes the indexes and completes the file.
    void finish();
    /// The whole database as bytes; for one in memory, after `finish`.
    [[nodiscard]] formats::bytes image();

private:
    void run(const std::string& statement);
    [[noreturn]] void fail();

    sqlite3* m_database = nullptr;
    std::vector<sqlite3_stmt*> m_inserts;
};

} // namespace cw::authoring
