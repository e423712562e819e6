// Keyed look-ups in a header: every query of the reader in one table, prepared once, each keeping the
// row that it found last. Objects of the model read their members through it.
#pragma once

#include "readers/storage/typed_row.h"

#include "formats/media_format.h"

#include <array>
#include <optional>
#include <vector>

namespace cw::mediaforge {

/// Names a query of the table below.
enum class rows : unsigned {
    media,
    media_settings,
    arp_info,
    old_version,
    feature,
    feature_child,
    feature_count,
    requirement,
    requirement_count,
    included_component,
    included_component_count,
    property,
    property_count,
    property_element,
    component,
    component_by_name,
    component_count,
    file,
    file_by_name,
    file_count,
    file_part,
    volume,
    setup_type,
    setup_type_count,
    setup_type_feature,
    shell_folder,
    shell_folder_child,
    shell_folder_count,
    shortcut,
    shortcut_count,
    registry_set,
    registry_set_count,
    set_component,
    set_component_count,
    registry_key,
    registry_key_child,
    registry_key_count,
    registry_value,
    registry_value_count,
};

/// The integers that a query is asked with, in the order of its parameters.
struct row_key {
    std::int64_t first = 0;
    std::int64_t second = 0;
    std::int64_t third = 0;
    friend bool operator==(const row_key&, const row_key&) noexcept = default;
};

struct row_query {
    rows id;
    std::string_view own_columns;
    unsigned own_count; // the member columns follow
    std::span<const formats::member_column> members;
    std::string_view source; // FROM and what follows
    unsigned parameters;     // how many fields of the key are bound
    // Set where `source` answers the rows from the one of the key on: the column that holds the field
    // asked last. Who asks for one row after another is answered without looking up each.
    std::optional<unsigned> ordered_by = {};
};

// Queries that end in `_count` answer the highest position of a parent's rows: positions have no
// gaps, so this is a count that costs one look-up.
inline constexpr auto row_queries = std::to_array<row_query>({
    {rows::media, "media_id, payload_key", 2, formats::media_columns, "media WHERE id = 1", 0},
    {rows::media_settings, "id", 1, formats::media_settings_columns, "media_settings WHERE id = 1", 0},
    {rows::arp_info, "id", 1, formats::arp_info_columns, "arp_info WHERE id = 1", 0},
    {rows::old_version, "position, text", 2, {}, "old_version ORDER BY position", 0},

    {rows::feature, "id", 1, formats::feature_columns, "feature WHERE id = ?1", 1},
    {rows::feature_child, "id", 1, {}, "feature WHERE parent = ?1 AND position = ?2", 2},
    {rows::feature_count, "position", 1, {}, "feature WHERE parent = ?1 ORDER BY position DESC LIMIT 1", 1},
    {rows::requirement, "required", 1, {}, "feature_requirement WHERE feature = ?1 AND position = ?2", 2},
    {rows::requirement_count,
     "position",
     1,
     {},
     "feature_requirement WHERE feature = ?1 ORDER BY position DESC LIMIT 1",
     1},
    {rows::included_component, "component", 1, {}, "feature_component WHERE feature = ?1 AND position = ?2", 2},
    {rows::included_component_count,
     "position",
     1,
     {},
     "feature_component WHERE feature = ?1 ORDER BY position DESC LIMIT 1",
     1},
    {rows::property,
     "name, type, lower_bound, value",
     4,
     {},
     "feature_property WHERE feature = ?1 AND position = ?2",
     2},
    {rows::property_count, "position", 1, {}, "feature_property WHERE feature = ?1 ORDER BY position DESC LIMIT 1", 1},
    {rows::property_element,
     "position, type, value",
     3,
     {},
     "feature_property_element WHERE feature = ?1 AND property = ?2 ORDER BY position",
     2},

    {rows::component, "file_count", 1, formats::component_columns, "component WHERE id = ?1", 1},
    {rows::component_by_name, "id", 1, {}, "component WHERE name = ?1 ORDER BY id LIMIT 1", 1},
    {rows::component_count, "id - 1", 1, {}, "component ORDER BY id DESC LIMIT 1", 0},
    {rows::file,
     "name, size, compressed_size, date, version, md5, flags, volume, entry, position",
     10,
     {},
     "file WHERE component = ?1 AND position >= ?2 ORDER BY position",
     2,
     9},
    {rows::file_by_name, "position", 1, {}, "file WHERE component = ?1 AND name = ?2 ORDER BY position LIMIT 1", 2},
    {rows::file_count, "position", 1, {}, "file WHERE component = ?1 ORDER BY position DESC LIMIT 1", 1},
    {rows::file_part,
     "position, volume, entry, size",
     4,
     {},
     "file_part WHERE component = ?1 AND file = ?2 ORDER BY position",
     2},
    {rows::volume, "size, set_id, entries", 3, {}, "volume WHERE number = ?1", 1},

    {rows::setup_type, "id", 1, formats::setup_type_columns, "setup_type WHERE id = ?1", 1},
    {rows::setup_type_count, "id - 1", 1, {}, "setup_type ORDER BY id DESC LIMIT 1", 0},
    {rows::setup_type_feature, "feature", 1, {}, "setup_type_feature WHERE setup_type = ?1 ORDER BY feature", 1},

    {rows::shell_folder, "id", 1, formats::shell_folder_columns, "shell_folder WHERE id = ?1", 1},
    {rows::shell_folder_child, "id", 1, {}, "shell_folder WHERE parent = ?1 AND position = ?2", 2},
    {rows::shell_folder_count, "position", 1, {}, "shell_folder WHERE parent = ?1 ORDER BY position DESC LIMIT 1", 1},
    {rows::shortcut, "position", 1, formats::shortcut_columns, "shortcut WHERE folder = ?1 AND position = ?2", 2},
    {rows::shortcut_count, "position", 1, {}, "shortcut WHERE folder = ?1 ORDER BY position DESC LIMIT 1", 1},

    {rows::registry_set, "id", 1, formats::registry_set_columns, "registry_set WHERE id = ?1", 1},
    {rows::registry_set_count, "id - 1", 1, {}, "registry_set ORDER BY id DESC LIMIT 1", 0},
    {rows::set_component, "component", 1, {}, "registry_set_component WHERE registry_set = ?1 AND position = ?2", 2},
    {rows::set_component_count,
     "position",
     1,
     {},
     "registry_set_component WHERE registry_set = ?1 ORDER BY position DESC LIMIT 1",
     1},
    {rows::registry_key, "id", 1, formats::registry_key_columns, "registry_key WHERE id = ?1", 1},
    {rows::registry_key_child, "id", 1, {}, "registry_key WHERE registry_set = ?1 AND hive = ?2 AND position = ?3", 3},
    {rows::registry_key_count,
     "position",
     1,
     {},
     "registry_key WHERE registry_set = ?1 AND hive = ?2 ORDER BY position DESC LIMIT 1",
     2},
    {rows::registry_value, "data_type, data", 2, formats::registry_value_columns,
     "registry_value WHERE registry_key = ?1 AND position = ?2", 2},
    {rows::registry_value_count,
     "position",
     1,
     {},
     "registry_value WHERE registry_key = ?1 ORDER BY position DESC LIMIT 1",
     1},
});

/// One query and the row that it stands on. A row stays until the query is asked with another key,
/// so reading all members of an object costs one look-up.
class row_cursor : public storage::typed_row {
public:
    row_cursor(storage::database& source, const row_query& query);

    /// Goes to the row of a key; false where there is none.
    bool find(const row_key& key);
    /// The same where the query's last parameter is a text.
    bool find(const row_key& key, std::string_view text);
    /// Begins anew at the first row of a key, for queries that answer several.
    void rewind(const row_key& key);
    bool next() { return step(); }

    /// The value of the n-th member column by its type, for the caller of the member.
    void member(unsigned index, VARIANT& result) const;

    [[nodiscard]] const row_query& query() const noexcept { return *m_query; }

private:
    enum class state { unasked, found, absent };
    void ask_for(const row_key& key);
    void settle();
    /// Goes on to the row of a key where that is the next one.
    bool step_to(const row_key& key);

    const row_query* m_query;
    row_key m_key;
    state m_state = state::unasked;
};

/// All queries of one open header.
class header_rows {
public:
    /// Prepares every query: a header that lacks a table or a column is refused here. Throws
    /// `media_failure`.
    explicit header_rows(storage::database& source);
    [[nodiscard]] row_cursor& operator[](rows id) noexcept { return m_cursors[static_cast<std::size_t>(id)]; }
    /// The highest position among the rows of a `_count` query plus one, 0 where there are none.
    [[nodiscard]] std::int32_t count(rows id, const row_key& key);

private:
    std::vector<row_cursor> m_cursors;
};

} // namespace cw::mediaforge
