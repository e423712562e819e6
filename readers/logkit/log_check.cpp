#include "readers/logkit/log_check.h"

#include "formats/log_format.h"
#include "readers/logkit/errors.h"
#include "readers/storage/text.h"

#include <map>
#include <string>
#include <vector>

namespace cw::logkit {
namespace {

using storage::database;
using storage::statement;
using storage::to_utf16;

std::int64_t number_of(database& source, const char* sql)
{
    statement query(source, sql);
    return query.step() ? query.integer(0) : 0;
}

/// What a table must have so that it can be read.
struct wanted_table {
    std::string name;
    std::vector<std::string> columns;
    std::vector<std::string> key;
};

std::vector<std::string> split(std::string_view list)
{
    std::vector<std::string> parts;
    int depth = 0;
    parts.emplace_back();
    for (const char c : list) {
        depth += c == '(' ? 1 : c == ')' ? -1 : 0;
        if (c == ',' && depth == 0)
            parts.emplace_back();
        else if (c != ' ' || !parts.back().empty())
            parts.back() += c;
    }
    return parts;
}

/// Takes the columns of a table as its statement has them apart: "a INTEGER, b, PRIMARY KEY (a, b)".
wanted_table wanted(std::string_view name, std::string_view columns)
{
    constexpr std::string_view key = "PRIMARY KEY";
    wanted_table table{std::string(name), {}, {}};
    for (const std::string& part : split(columns)) {
        const std::string column = part.substr(0, part.find(' '));
        if (part.starts_with(key))
            table.key = split(std::string_view(part).substr(key.size() + 2, part.size() - key.size() - 3));
        else if (column != "UNIQUE")
            table.columns.push_back(column);
        if (part.size() > key.size() && part.ends_with(key))
            table.key = {column};
    }
    return table;
}

[[noreturn]] void refuse(const database& source, const std::string& what)
{
    throw log_failure(error_number::not_a_log, source.path(), to_utf16(what));
}

void check_tables(database& source)
{
    std::vector<wanted_table> all;
    for (const formats::log_table& table : formats::log_tables)
        all.push_back(wanted(table.name, table.columns));
    for (const formats::operation_table& table : formats::operation_tables)
        all.push_back(wanted(table.name, "feature, position, " + formats::column_list(table.columns) +
                                             ", PRIMARY KEY (feature, position)"));
    // Neither views nor anything that computes its rows.
    statement present(source, "SELECT 1 FROM sqlite_schema WHERE type = 'table' AND name = ?1 AND rootpage > 0 "
                              "AND sql LIKE 'CREATE TABLE%'");
    statement columns(source, "SELECT name, pk FROM pragma_table_info(?1)");
    for (const wanted_table& table : all) {
        present.reset();
        present.bind(1, table.name);
        if (!present.step())
            refuse(source, "the table " + table.name + " is missing");
        columns.reset();
        columns.bind(1, table.name);
        std::map<std::string, std::size_t> found; // a column's place in the key, from 1
        while (columns.step())
            found.emplace(columns.text(0), columns.integer(1));
        for (const std::string& column : table.columns)
            if (!found.contains(column))
                refuse(source, "the table " + table.name + " has no column " + column);
        // Without its key each look-up would walk the whole table.
        for (std::size_t i = 0; i < table.key.size(); ++i)
            if (found[table.key[i]] != i + 1)
                refuse(source, "the table " + table.name + " has no key");
    }
}

} // namespace

void check_log(database& source)
{
    if (number_of(source, "PRAGMA application_id") != formats::log_application_id)
        refuse(source, "it is a database of another program");
    const std::int64_t schema = number_of(source, "PRAGMA user_version");
    if (schema > formats::log_schema_version)
        throw log_failure(error_number::newer_schema, source.path(),
                          u"its schema is number " + to_utf16(std::to_string(schema)) + u", this reader's " +
                              to_utf16(std::to_string(formats::log_schema_version)));
    if (schema <= 0)
        refuse(source, "its schema has no number");
    check_tables(source);
}

} // namespace cw::logkit
