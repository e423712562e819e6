#include "readers/mediaforge/header_check.h"

#include "readers/mediaforge/errors.h"
#include "readers/storage/database_prefix.h"
#include "readers/storage/text.h"
#include "readers/storage/tree_check.h"

#include <array>
#include <string>
#include <string_view>

namespace cw::mediaforge {
namespace {

// Deeper trees are not made by anybody, and whoever walks them one call inside another would run
// out of stack.
constexpr int deepest_level = 1000;
constexpr std::size_t media_id_size_in_bytes = 16;

[[noreturn]] void contradict(const storage::database& source, const std::string& what)
{
    throw media_failure(error_number::contradiction, source.path(), storage::to_utf16(what));
}

/// Tables whose id is the position plus 1.
void check_numbering(storage::database& source, const std::string& table)
{
    storage::statement query(source, "SELECT (SELECT count(*) FROM " + table + "), (SELECT min(id) FROM " + table +
                                         "), (SELECT max(id) FROM " + table + ")");
    (void)query.step();
    const std::int64_t count = query.integer(0);
    if (count != 0 && (query.integer(1) != 1 || query.integer(2) != count))
        contradict(source, "table " + table + ", the numbers do not run from 1 to " + std::to_string(count));
}

/// What tables whose size follows the features' may not hold: rows that name what is not there, and
/// sizes below zero. Components and files are left to the reading of each: there can be a million,
/// and opening must not cost more for it.
struct row_rule {
    std::string_view table;
    std::string_view fault;
    std::string_view broken; // a condition that holds for a row that breaks the rule
};
constexpr auto row_rules = std::to_array<row_rule>({
    {"feature_component", "a feature that is not there",
     "typeof(feature) = 'integer' AND feature NOT IN (SELECT id FROM feature)"},
    {"feature_component", "a component that is not there",
     "typeof(component) = 'integer' AND component NOT IN (SELECT id FROM component)"},
    {"feature_requirement", "a feature that is not there",
     "typeof(feature) = 'integer' AND feature NOT IN (SELECT id FROM feature)"},
    {"feature_requirement", "a required feature that is not there",
     "typeof(required) = 'integer' AND required NOT IN (SELECT id FROM feature)"},
    {"setup_type_feature", "a setup type that is not there",
     "typeof(setup_type) = 'integer' AND setup_type NOT IN (SELECT id FROM setup_type)"},
    {"setup_type_feature", "a feature that is not there",
     "typeof(feature) = 'integer' AND feature NOT IN (SELECT id FROM feature)"},
    {"registry_set_component", "a registry set that is not there",
     "typeof(registry_set) = 'integer' AND registry_set NOT IN (SELECT id FROM registry_set)"},
    {"registry_set_component", "a component that is not there",
     "typeof(component) = 'integer' AND component NOT IN (SELECT id FROM component)"},
    {"volume", "a size below zero", "size < 0 OR entries < 0"},
});

void check_row_rules(storage::database& source)
{
    for (const row_rule& rule : row_rules) {
        const std::string table(rule.table);
        storage::statement query(source,
                                 "SELECT EXISTS (SELECT 1 FROM " + table + " WHERE " + std::string(rule.broken) + ")");
        (void)query.step();
        if (query.integer(0) != 0)
            contradict(source, "table " + table + ", a row has " + std::string(rule.fault));
    }
}

} // namespace

void check_prefix(formats::byte_view first_bytes, std::uint64_t size_in_bytes, const std::string& path)
{
    if (!storage::is_database(first_bytes) || first_bytes.size() < storage::database_prefix_size_in_bytes)
        throw media_failure(error_number::not_a_media, path, u"it is cut short");
    const storage::database_prefix prefix = storage::read_prefix(first_bytes);
    if (prefix.application_id != static_cast<std::uint32_t>(formats::header_application_id))
        throw media_failure(error_number::not_a_media, path, u"it is a database of another program");
    if (!prefix.has_sensible_page_size)
        throw media_failure(error_number::not_a_media, path, u"its page size makes no sense");
    if (prefix.size_in_bytes() > size_in_bytes)
        throw media_failure(error_number::not_a_media, path, u"it is cut short");
    if (prefix.user_version > static_cast<std::uint32_t>(formats::header_schema_version))
        throw media_failure(error_number::newer_schema, path,
                            u"its schema is number " + storage::to_utf16(std::to_string(prefix.user_version)) +
                                u", this reader's " +
                                storage::to_utf16(std::to_string(formats::header_schema_version)));
    if (prefix.user_version == 0)
        throw media_failure(error_number::not_a_media, path, u"its schema has no number");
}

void check_tables(storage::database& source)
{
    storage::statement query(source,
                             "SELECT count(*) FROM sqlite_schema WHERE type = 'table' AND name = ?1 AND rootpage > 0 "
                             "AND sql LIKE 'CREATE TABLE%'");
    for (const formats::table& table : formats::header_tables) {
        query.reset();
        query.bind(1, table.name);
        (void)query.step();
        if (query.integer(0) != 1)
            throw media_failure(error_number::not_a_media, source.path(),
                                u"the table " + storage::to_utf16(table.name) + u" is missing");
    }
}

void check_rows(storage::database& source, header_rows& queries)
{
    row_cursor& only_row = queries[rows::media];
    if (!only_row.find({}))
        contradict(source, "table media has no row");
    if (only_row.blob(0).size() != media_id_size_in_bytes)
        contradict(source, "table media, the identification is not 16 bytes");
    if (!only_row.is_null(1) && only_row.blob(1).size() != formats::payload_key_size_in_bytes)
        contradict(source, "table media, the key is not 32 bytes");
    storage::check_tree(source, "feature", deepest_level);
    storage::check_tree(source, "shell_folder", deepest_level);
    for (const char* table : {"component", "setup_type", "registry_set"})
        check_numbering(source, table);
    check_row_rules(source);
}

} // namespace cw::mediaforge
