// What recorders and readers of installation logs agree on: identification of a log, its tables and
// columns, and how a record is put together. docs/log-format.md describes the same in prose.
#pragma once

#include "bridges/log_interface.h"

#include <array>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>

namespace cw::formats {

// ---- identification -------------------------------------------------------------------------

/// SQLite `application_id` of a log: "CWLG".
inline constexpr std::int32_t log_application_id = 0x43574C47;
/// SQLite `user_version`: the schema. A reader refuses a higher one.
inline constexpr std::int32_t log_schema_version = 1;

// ---- limits ---------------------------------------------------------------------------------

/// Positions are 32-bit: so many features below one, operations of one type in one feature, names of
/// one feature, elements of one record.
inline constexpr std::int64_t largest_log_position = std::numeric_limits<std::int32_t>::max() - 1;
/// Features nest this deep at most; the main feature stands on level 1.
inline constexpr int deepest_feature_level = 1000;
/// Assembly types are shown with four characters, sign included; there is no room for more.
inline constexpr std::int32_t lowest_assembly_type = -999;
inline constexpr std::int32_t highest_assembly_type = 9999;

// ---- operations -----------------------------------------------------------------------------

/// A column that carries one element of a record. Texts are stored as TEXT, flags as 0 or 1, numbers
/// as INTEGER, converted texts as whatever they are. Null is what a recorder did not say.
struct record_column {
    log_element element;
    std::string_view name;
};

// In the order of the elements.
inline constexpr auto file_operation_columns = std::to_array<record_column>({
    {log_file_record::folder, "folder"},
    {log_file_record::file_name, "file_name"},
    {log_file_record::shared, "shared"},
    {log_file_record::is_directory, "is_directory"},
    {log_file_record::potentially_locked, "potentially_locked"},
    {log_file_record::permanent_or_created, "permanent_or_created"},
});
inline constexpr auto shell_operation_columns = std::to_array<record_column>({
    {log_shell_record::folder_name, "folder_name"},
    {log_shell_record::shortcut, "shortcut"},
    {log_shell_record::permanent, "permanent"},
    {log_shell_record::created_directory, "created_directory"},
});
inline constexpr auto registry64_operation_columns = std::to_array<record_column>({
    {log_registry_record::key, "key"},
    {log_registry_record::value_name, "value_name"},
    {log_registry_record::remote_name, "remote_name"},
    {log_registry_record::hive, "hive"},
    {log_registry_record::permanent_or_created, "permanent_or_created"},
    {log_registry_record::remote, "remote"},
    {log_registry_record::shared, "shared"},
    {log_registry_record::flags, "flags"},
});
inline constexpr auto registry_operation_columns =
    std::span(registry64_operation_columns).first<log_registry_record::element_count>();
/// Program groups have no fixed elements among readers in general; these are the ones of this format.
inline constexpr auto progman_operation_columns = std::to_array<record_column>({
    {{0, log_element_form::text}, "group_name"},
    {{1, log_element_form::text}, "item"},
    {{2, log_element_form::text}, "command_line"},
    {{3, log_element_form::flag}, "created_group"},
});
inline constexpr auto ini_operation_columns = std::to_array<record_column>({
    {log_ini_record::path, "path"},
    {log_ini_record::section, "section"},
    {log_ini_record::key, "key"},
    {log_ini_record::value, "value"},
    {log_ini_record::added_section, "added_section"},
    {log_ini_record::created_file, "created_file"},
});
inline constexpr auto self_registration_operation_columns = std::to_array<record_column>({
    {log_filereg_record::folder, "folder"},
    {log_filereg_record::file_name, "file_name"},
    {log_filereg_record::shared, "shared"},
});
inline constexpr auto dotnet_operation_columns = std::to_array<record_column>({
    {log_dotnet_record::folder, "folder"},
    {log_dotnet_record::file_name, "file_name"},
    {log_dotnet_record::assembly_type, "assembly_type"},
    {log_dotnet_record::shared, "shared"},
    {log_dotnet_record::com_interop, "com_interop"},
});
inline constexpr auto general_operation_columns = std::to_array<record_column>({
    {log_general_record::operation, "operation"},
    {log_general_record::data, "data"},
});

/// A known operation type and its table: (feature, position, the columns).
struct operation_table {
    std::u16string_view type;
    std::string_view name;
    std::span<const record_column> columns;
};

/// Known types. A new log lists them in this order, the n-th (from 1) under the id n; types that
/// are not among these get ids behind them, in the order in which they first occur.
inline constexpr auto operation_tables = std::to_array<operation_table>({
    {log_operation_type::file, "file_operation", file_operation_columns},
    {log_operation_type::shell, "shell_operation", shell_operation_columns},
    {log_operation_type::registry, "registry_operation", registry_operation_columns},
    {log_operation_type::registry64, "registry64_operation", registry64_operation_columns},
    {log_operation_type::progman, "progman_operation", progman_operation_columns},
    {log_operation_type::ini, "ini_operation", ini_operation_columns},
    {log_operation_type::filereg, "self_registration_operation", self_registration_operation_columns},
    {log_operation_type::dotnet, "dotnet_operation", dotnet_operation_columns},
    {log_operation_type::general, "general_operation", general_operation_columns},
});

/// The table of a type, or null for one that is not known.
[[nodiscard]] const operation_table* find_operation_table(std::u16string_view type) noexcept;

// ---- tables ---------------------------------------------------------------------------------
// Every `position` counts from 0 without gaps among rows of one parent, so the last one tells how
// many there are.

struct log_table {
    std::string_view name;
    std::string_view columns; // as written in the statement that makes the table, constraints included
    std::string_view options; // behind the parentheses
};

/// All tables but those of known operation types.
inline constexpr auto log_tables = std::to_array<log_table>({
    // The main feature is the one row whose `parent` is 0. A parent stands before its children.
    {"feature",
     "id INTEGER PRIMARY KEY, parent INTEGER NOT NULL, position INTEGER NOT NULL, name TEXT, "
     "identifier TEXT NOT NULL UNIQUE, UNIQUE (parent, position)",
     ""},
    // A scalar has its automation type in `type` and its value in `value`, as setup media store
    // values with a type. An array of texts has the type VT_ARRAY|VT_BSTR, null in `value`, and its
    // texts in `property_element`.
    {"property",
     "feature INTEGER NOT NULL, position INTEGER NOT NULL, name TEXT NOT NULL, type INTEGER NOT NULL, value, "
     "PRIMARY KEY (feature, position), UNIQUE (feature, name)",
     "WITHOUT ROWID"},
    {"property_element",
     "feature INTEGER NOT NULL, property INTEGER NOT NULL, position INTEGER NOT NULL, text TEXT, "
     "PRIMARY KEY (feature, property, position)",
     "WITHOUT ROWID"},
    // The types that the log knows, in the order of their ids.
    {"operation_type", "id INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE", ""},
    // Types of which a feature has operations: a recorder tells with the first one, and spares readers a
    // search in a big table for each. A list that is not told of has to be searched for.
    {"operation_list", "feature INTEGER NOT NULL, type INTEGER NOT NULL, PRIMARY KEY (feature, type)", "WITHOUT ROWID"},
    // Operations of types without a table of their own.
    {"other_operation",
     "type INTEGER NOT NULL, feature INTEGER NOT NULL, position INTEGER NOT NULL, "
     "PRIMARY KEY (type, feature, position)",
     "WITHOUT ROWID"},
    // The elements of a record that have no column: all of them for a type without a table, those
    // behind the last column for a known type. `operation` is the operation's position; `position`
    // counts from 0 among the rows of one operation. Values as in `property`, scalars alone.
    {"operation_element",
     "type INTEGER NOT NULL, feature INTEGER NOT NULL, operation INTEGER NOT NULL, position INTEGER NOT NULL, "
     "value_type INTEGER NOT NULL, value, PRIMARY KEY (type, feature, operation, position)",
     "WITHOUT ROWID"},
});

/// The statement that makes a table.
[[nodiscard]] std::string create_statement(const log_table& definition);
[[nodiscard]] std::string create_statement(const operation_table& definition);
/// "a, b, c".
[[nodiscard]] std::string column_list(std::span<const record_column> columns);

} // namespace cw::formats
