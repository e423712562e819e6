#include "readers/mediaforge/header_check.h"

#include "readers/mediaforge/errors.h"
#include "readers/mediaforge/text.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace cw::mediaforge {
namespace {

// Deeper trees are not made by anybody, and whoever walks them one call inside another would run
// out of stack.
constexpr unsigned deepest_level = 1000;
constexpr std::size_t media_id_size_in_bytes = 16;

std::uint32_t big_endian(formats::byte_view bytes, std::size_t at, unsigned size)
{
    std::uint32_t value = 0;
    for (unsigned i = 0; i < size; ++i)
        value = value << 8 | bytes[at + i];
    return value;
}

[[noreturn]] void contradict(const database& source, const std::string& what)
{
    throw media_failure(error_number::contradiction, source.path(), to_utf16(what));
}

struct tree_row {
    std::int64_t parent;
    std::int64_t position;
    std::int64_t id;
};

/// Every row must hang below the root through its parents, and positions have no gaps.
void check_tree(database& source, const std::string& table)
{
    std::vector<tree_row> tree;
    statement query(source, "SELECT parent, position, id, typeof(parent) = 'integer' AND typeof(position) = 'integer' "
                            "FROM " +
                                table + " ORDER BY parent, position");
    while (query.step()) {
        if (!query.integer(3))
            contradict(source, "table " + table + ", a place is not a number");
        tree.push_back({query.integer(0), query.integer(1), query.integer(2)});
    }
    for (std::size_t i = 0; i < tree.size(); ++i) {
        const bool first = i == 0 || tree[i - 1].parent != tree[i].parent;
        if (tree[i].position != (first ? 0 : tree[i - 1].position + 1))
            contradict(source,
                       "table " + table + ", the positions below " + std::to_string(tree[i].parent) + " have a gap");
    }
    // Level by level from the root; what is not reached is a cycle or hangs below nothing. Each
    // row has one parent, so none is reached twice, unless the root's own number is an id.
    const auto by_parent = [](const tree_row& a, const tree_row& b) { return a.parent < b.parent; };
    std::vector<std::int64_t> level{0};
    std::size_t reached = 0;
    unsigned depth = 0;
    for (; !level.empty(); ++depth) {
        std::vector<std::int64_t> next;
        for (const std::int64_t parent : level) {
            const auto [begin, end] = std::equal_range(tree.begin(), tree.end(), tree_row{parent, 0, 0}, by_parent);
            for (auto child = begin; child != end; ++child) {
                if (child->id == 0)
                    contradict(source, "table " + table + ", a row has the number of the root");
                next.push_back(child->id);
            }
        }
        if (depth == deepest_level && !next.empty())
            contradict(source,
                       "table " + table + " is nested deeper than " + std::to_string(deepest_level) + " levels");
        reached += next.size();
        level = std::move(next);
    }
    if (reached != tree.size())
        contradict(source, "table " + table + ", " + std::to_string(tree.size() - reached) +
                               " rows stand below themselves or below rows that are not there");
}

/// Tables whose id is the position plus 1.
void check_numbering(database& source, const std::string& table)
{
    statement query(source, "SELECT (SELECT count(*) FROM " + table + "), (SELECT min(id) FROM " + table +
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

void check_row_rules(database& source)
{
    for (const row_rule& rule : row_rules) {
        const std::string table(rule.table);
        statement query(source, "SELECT EXISTS (SELECT 1 FROM " + table + " WHERE " + std::string(rule.broken) + ")");
        (void)query.step();
        if (query.integer(0) != 0)
            contradict(source, "table " + table + ", a row has " + std::string(rule.fault));
    }
}

} // namespace

bool is_database(formats::byte_view first_bytes) noexcept
{
    constexpr char magic[] = "SQLite format 3"; // with its zero
    return first_bytes.size() >= sizeof magic && std::memcmp(first_bytes.data(), magic, sizeof magic) == 0;
}

void check_prefix(formats::byte_view first_bytes, std::uint64_t size_in_bytes, const std::string& path)
{
    if (!is_database(first_bytes) || first_bytes.size() < database_prefix_size_in_bytes)
        throw media_failure(error_number::not_a_media, path, u"it is cut short");
    // Places in the file's first hundred bytes, all numbers most significant byte first.
    const std::uint32_t stored_page_size = big_endian(first_bytes, 16, 2);
    const std::uint64_t page_size = stored_page_size == 1 ? 65536 : stored_page_size;
    const std::uint64_t page_count = big_endian(first_bytes, 28, 4);
    const std::uint32_t user_version = big_endian(first_bytes, 60, 4);
    const std::uint32_t application_id = big_endian(first_bytes, 68, 4);
    if (application_id != static_cast<std::uint32_t>(formats::header_application_id))
        throw media_failure(error_number::not_a_media, path, u"it is a database of another program");
    if (page_size < 512 || (page_size & (page_size - 1)) != 0)
        throw media_failure(error_number::not_a_media, path, u"its page size makes no sense");
    if (page_count * page_size > size_in_bytes)
        throw media_failure(error_number::not_a_media, path, u"it is cut short");
    if (user_version > static_cast<std::uint32_t>(formats::header_schema_version))
        throw media_failure(error_number::newer_schema, path,
                            u"its schema is number " + to_utf16(std::to_string(user_version)) + u", this reader's " +
                                to_utf16(std::to_string(formats::header_schema_version)));
    if (user_version == 0)
        throw media_failure(error_number::not_a_media, path, u"its schema has no number");
}

void check_tables(database& source)
{
    statement query(source, "SELECT count(*) FROM sqlite_schema WHERE type = 'table' AND name = ?1 AND rootpage > 0 "
                            "AND sql LIKE 'CREATE TABLE%'");
    for (const formats::table& table : formats::header_tables) {
        query.reset();
        query.bind(1, table.name);
        (void)query.step();
        if (query.integer(0) != 1)
            throw media_failure(error_number::not_a_media, source.path(),
                                u"the table " + to_utf16(table.name) + u" is missing");
    }
}

void check_rows(database& source, header_rows& queries)
{
    row_cursor& only_row = queries[rows::media];
    if (!only_row.find({}))
        contradict(source, "table media has no row");
    if (only_row.blob(0).size() != media_id_size_in_bytes)
        contradict(source, "table media, the identification is not 16 bytes");
    if (!only_row.is_null(1) && only_row.blob(1).size() != formats::payload_key_size_in_bytes)
        contradict(source, "table media, the key is not 32 bytes");
    check_tree(source, "feature");
    check_tree(source, "shell_folder");
    for (const char* table : {"component", "setup_type", "registry_set"})
        check_numbering(source, table);
    check_row_rules(source);
}

} // namespace cw::mediaforge
