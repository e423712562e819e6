#include "authoring/log_recorder.h"

#include "authoring/stored_names.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace cw::authoring {
namespace {

using formats::operation_table;
using formats::record_column;

constexpr std::size_t longest_type_name = 1000; // in characters
constexpr std::size_t longest_quoted_text = 100;
constexpr VARTYPE array_of_texts = VT_ARRAY | VT_BSTR;

// ---- texts ---------------------------------------------------------------------------------------

bool begins_character(char byte)
{
    return (static_cast<std::uint8_t>(byte) & 0xC0) != 0x80;
}

/// For error texts, which are one line.
std::string in_quotes(std::string_view text)
{
    if (text.size() > longest_quoted_text) {
        std::size_t end = longest_quoted_text;
        while (end > 0 && !begins_character(text[end]))
            --end;
        return "\"" + std::string(text.substr(0, end)) + "…\"";
    }
    return "\"" + std::string(text) + "\"";
}

void require_utf8(std::string_view text, std::string_view what)
{
    // Most texts are plain; telling so is much faster than reading them character by character.
    const bool is_plain = std::all_of(text.begin(), text.end(), [](char byte) { return byte >= 0; });
    if (!is_plain && !is_utf8(text))
        throw error(std::string(what) + ": the text is not well-formed UTF-8");
}

// ---- values --------------------------------------------------------------------------------------

struct integer_range {
    VARTYPE type;
    std::int64_t lowest;
    std::int64_t highest;
};

template <typename Number>
constexpr integer_range range_of(VARTYPE type)
{
    return {type, std::numeric_limits<Number>::min(), std::numeric_limits<Number>::max()};
}

constexpr auto integer_types = std::to_array<integer_range>({
    range_of<std::int8_t>(VT_I1), range_of<std::uint8_t>(VT_UI1), range_of<std::int16_t>(VT_I2),
    range_of<std::uint16_t>(VT_UI2), range_of<std::int32_t>(VT_I4), range_of<std::uint32_t>(VT_UI4),
    range_of<std::int32_t>(VT_INT), range_of<std::uint32_t>(VT_UINT), range_of<std::int64_t>(VT_I8),
    range_of<std::int64_t>(VT_UI8), // stored as the signed number of the same bits
});
// Stored as integers, and yet no numbers to calculate with.
constexpr auto coded_types = std::to_array<integer_range>({
    range_of<std::int64_t>(VT_CY),
    range_of<std::int32_t>(VT_ERROR),
    {VT_BOOL, VARIANT_TRUE, VARIANT_FALSE},
});

template <typename Ranges>
const integer_range* find_range(const Ranges& ranges, VARTYPE type)
{
    for (const integer_range& range : ranges)
        if (range.type == type)
            return &range;
    return nullptr;
}

bool is_nothing(const typed_value& value)
{
    return value.type == VT_EMPTY || value.type == VT_NULL;
}

[[noreturn]] void fail_form(std::string_view what, const char* expected)
{
    throw error(std::string(what) + ": expected " + expected);
}

std::int64_t checked_integer(const typed_value& value, const integer_range& range, std::string_view what)
{
    const auto* number = std::get_if<std::int64_t>(&value.value);
    if (number == nullptr || *number < range.lowest || *number > range.highest)
        throw error(std::string(what) + ": the value does not fit its type");
    return *number;
}

double checked_real(const typed_value& value, std::string_view what)
{
    const auto* number = std::get_if<double>(&value.value);
    if (number == nullptr || !std::isfinite(*number))
        throw error(std::string(what) + ": the value does not fit its type");
    return *number;
}

/// A text, or null.
log_cell checked_text(const typed_value& value, std::string_view what)
{
    if (std::holds_alternative<std::monostate>(value.value))
        return {};
    const auto* text = std::get_if<std::string>(&value.value);
    if (text == nullptr)
        throw error(std::string(what) + ": the value does not fit its type");
    require_utf8(*text, what);
    return std::string_view(*text);
}

/// A scalar as it is stored beside its type.
log_cell scalar_cell(const typed_value& value, std::string_view what)
{
    if (value.type == VT_BSTR)
        return checked_text(value, what);
    if (is_nothing(value)) {
        if (!std::holds_alternative<std::monostate>(value.value))
            throw error(std::string(what) + ": the value does not fit its type");
        return {};
    }
    if (const integer_range* range = find_range(integer_types, value.type))
        return checked_integer(value, *range, what);
    if (const integer_range* range = find_range(coded_types, value.type))
        return checked_integer(value, *range, what);
    if (value.type == VT_R4 || value.type == VT_R8 || value.type == VT_DATE)
        return checked_real(value, what);
    throw error(std::string(what) + ": no type that can be recorded");
}

/// The numbers that a column of a number takes.
integer_range limits_of(const record_column& column)
{
    const bool is_assembly_type = column.name == formats::dotnet_operation_columns[2].name;
    return is_assembly_type ? integer_range{VT_I2, formats::lowest_assembly_type, formats::highest_assembly_type}
                            : range_of<std::int16_t>(VT_I2);
}
static_assert(formats::dotnet_operation_columns[2].element.index == log_dotnet_record::assembly_type.index);

log_cell converted_text_cell(const typed_value& value, std::string_view what)
{
    const bool is_plain = value.type == VT_BSTR || value.type == VT_BOOL || value.type == VT_R4 ||
                          value.type == VT_R8 || find_range(integer_types, value.type) != nullptr;
    if (!is_plain)
        fail_form(what, "a text, a number, true or false");
    const log_cell cell = scalar_cell(value, what);
    // The column has no room for a type that would tell it from a negative one.
    if (value.type == VT_UI8 && std::get<std::int64_t>(cell) < 0)
        throw error(std::string(what) + ": the number does not fit 63 bits");
    return cell;
}

/// An element as it is stored in its column.
log_cell column_cell(const record_column& column, const typed_value& value)
{
    if (is_nothing(value))
        return {};
    switch (column.element.form) {
    case log_element_form::text:
        if (value.type != VT_BSTR)
            fail_form(column.name, "a text");
        return checked_text(value, column.name);
    case log_element_form::flag:
        if (value.type != VT_BOOL)
            fail_form(column.name, "true or false");
        return std::int64_t{std::get<std::int64_t>(scalar_cell(value, column.name)) != 0 ? 1 : 0};
    case log_element_form::number: {
        const auto* number = std::get_if<std::int64_t>(&value.value);
        if (find_range(integer_types, value.type) == nullptr || number == nullptr)
            fail_form(column.name, "an integer");
        const integer_range limits = limits_of(column);
        if (*number < limits.lowest || *number > limits.highest)
            throw error(std::string(column.name) + ": " + std::to_string(*number) + " is not within " +
                        std::to_string(limits.lowest) + " to " + std::to_string(limits.highest));
        return *number;
    }
    case log_element_form::converted_text:
        return converted_text_cell(value, column.name);
    }
    return {};
}

std::string element_name(std::size_t index)
{
    return "element " + std::to_string(index);
}

void require_type_name(std::string_view name)
{
    if (name.empty())
        throw error("the operation type has no name");
    require_utf8(name, "operation type");
    if (static_cast<std::size_t>(std::count_if(name.begin(), name.end(), begins_character)) > longest_type_name)
        throw error("operation type: the name is longer than " + std::to_string(longest_type_name) + " characters");
}

std::size_t column_count(std::optional<std::size_t> table)
{
    return table ? formats::operation_tables[*table].columns.size() : 0;
}

/// Arrays behind the first are values of the titles that it holds. `element_counts` are those of the
/// arrays by their places, before the one at `place` becomes what `count` tells.
void require_values_within_titles(const std::map<std::size_t, std::size_t>& element_counts, std::size_t place,
                                  std::optional<std::size_t> count)
{
    const auto fail = [](std::size_t values, std::size_t titles) {
        throw error("an array of " + std::to_string(values) + " values has only " + std::to_string(titles) + " titles");
    };
    const auto first = element_counts.begin();
    if (first == element_counts.end() || (!count && first->first != place))
        return;
    if (first->first < place) {
        if (*count > first->second)
            fail(*count, first->second);
        return;
    }
    // The titles change, so all others are looked at.
    std::optional<std::size_t> titles = count;
    for (const auto& [other, values] : element_counts) {
        if (other == place)
            continue;
        if (!titles)
            titles = values;
        else if (values > *titles)
            fail(values, *titles);
    }
}

/// The place of a known type's table.
std::optional<std::size_t> table_of(std::string_view type)
{
    // The names of known types are plain ASCII.
    for (std::size_t i = 0; i < formats::operation_tables.size(); ++i)
        if (std::ranges::equal(formats::operation_tables[i].type, type))
            return i;
    return std::nullopt;
}

std::string placeholders(std::size_t count)
{
    std::string list;
    for (std::size_t i = 0; i < count; ++i)
        list += i == 0 ? "?" : ", ?";
    return list;
}

void require_room(std::int64_t position, const char* what)
{
    if (position > formats::largest_log_position)
        throw error(std::string("there are too many ") + what + " for one feature");
}

} // namespace

// ---- opening and closing -------------------------------------------------------------------------

/// What is prepared once.
struct log_recorder::statements {
    explicit statements(log_database& database)
        : insert_feature(database,
                         "INSERT INTO feature (id, parent, position, name, identifier) VALUES (?, ?, ?, ?, ?)"),
          rename_feature(database, "UPDATE feature SET name = ? WHERE id = ?"),
          properties(database, "SELECT name, type, (SELECT COUNT(*) FROM property_element AS e WHERE e.feature = "
                               "p.feature AND e.property = p.position), position FROM property AS p "
                               "WHERE feature = ? ORDER BY position"),
          insert_property(database,
                          "INSERT INTO property (feature, position, name, type, value) VALUES (?, ?, ?, ?, ?)"),
          update_property(database, "UPDATE property SET type = ?, value = ? WHERE feature = ? AND position = ?"),
          insert_property_element(
              database, "INSERT INTO property_element (feature, property, position, text) VALUES (?, ?, ?, ?)"),
          delete_property_elements(database, "DELETE FROM property_element WHERE feature = ? AND property = ?"),
          insert_type(database, "INSERT INTO operation_type (id, name) VALUES (?, ?)"),
          insert_list(database, "INSERT OR IGNORE INTO operation_list (feature, type) VALUES (?, ?)"),
          insert_other(database, "INSERT INTO other_operation (feature, position, type) VALUES (?, ?, ?)"),
          last_other(database, "SELECT position FROM other_operation WHERE feature = ? AND type = ? "
                               "ORDER BY position DESC LIMIT 1"),
          insert_element(database, "INSERT INTO operation_element (type, feature, operation, position, value_type, "
                                   "value) VALUES (?, ?, ?, ?, ?, ?)"),
          savepoint(database, "SAVEPOINT one"), release(database, "RELEASE one"), undo(database, "ROLLBACK TO one")
    {
        for (const operation_table& table : formats::operation_tables) {
            const std::string name(table.name);
            tables.push_back({log_statement(database, "INSERT INTO " + name + " (feature, position, " +
                                                          formats::column_list(table.columns) + ") VALUES (" +
                                                          placeholders(table.columns.size() + 2) + ")"),
                              log_statement(database, "SELECT position FROM " + name +
                                                          " WHERE feature = ? ORDER BY position DESC LIMIT 1")});
        }
    }

    struct of_table {
        log_statement insert;
        log_statement last_position;
    };

    log_statement insert_feature;
    log_statement rename_feature;
    log_statement properties;
    log_statement insert_property;
    log_statement update_property;
    log_statement insert_property_element;
    log_statement delete_property_elements;
    log_statement insert_type;
    log_statement insert_list;
    log_statement insert_other;
    log_statement last_other;
    log_statement insert_element;
    log_statement savepoint;
    log_statement release;
    log_statement undo;
    std::vector<of_table> tables; // as in `formats::operation_tables`
};

log_recorder::log_recorder(const std::filesystem::path& file)
    : m_path(file.string()), m_file(std::in_place, file), m_database(std::make_unique<log_database>(m_file->path()))
{
    m_file->require_in_place();
    m_statements = std::make_unique<statements>(*m_database);
    load();
    m_database->start_recording();
}

log_recorder::~log_recorder()
{
    if (m_database) {
        m_database->roll_back();
        end_log();
    }
}

void log_recorder::close()
{
    commit();
    end_log();
}

void log_recorder::end_log() noexcept
{
    m_statements.reset();
    m_database->finish();
    m_database.reset();
    m_file.reset();
}

void log_recorder::commit()
{
    if (!m_database)
        throw error(m_path + ": the log is closed");
    try {
        m_database->commit();
    } catch (...) {
        m_isStale = !m_database->is_in_transaction();
        throw;
    }
}

void log_recorder::load()
{
    m_features.clear();
    m_featurePlaces.clear();
    m_types.clear();
    m_typePlaces.clear();
    load_types();
    load_features();
    m_isStale = false;
}

void log_recorder::load_types()
{
    log_statement rows(*m_database, "SELECT id, name FROM operation_type ORDER BY id");
    while (rows.next()) {
        m_typePlaces.emplace(rows.text(1), m_types.size());
        m_types.push_back({rows.integer(0), table_of(rows.text(1))});
    }
}

void log_recorder::load_features()
{
    const auto damaged = [this](const std::string& why) -> log_storage_error {
        return log_storage_error(m_path + ": the log is damaged: " + why);
    };
    log_statement rows(*m_database, "SELECT id, parent, position, identifier FROM feature ORDER BY id");
    std::unordered_map<row_number, std::size_t> places;
    std::vector<std::int64_t> last_positions;
    while (rows.next()) {
        feature_state feature;
        feature.id = rows.integer(0);
        feature.parent = rows.integer(1);
        const std::string identifier = rows.text(3);
        if (feature.parent == 0) {
            if (!m_features.empty())
                throw damaged("it has more than one main feature");
        } else {
            const auto parent = places.find(feature.parent);
            if (parent == places.end())
                throw damaged("feature " + in_quotes(identifier) + " has no parent");
            feature_state& above = m_features[parent->second];
            feature.level = above.level + 1;
            ++above.child_count;
            last_positions[parent->second] = std::max(last_positions[parent->second], rows.integer(2));
        }
        if (feature.level > formats::deepest_feature_level)
            throw damaged("its features are nested too deep");
        places.emplace(feature.id, m_features.size());
        if (!m_featurePlaces.emplace(identifier, m_features.size()).second)
            throw damaged("feature " + in_quotes(identifier) + " stands twice");
        m_features.push_back(std::move(feature));
        last_positions.push_back(-1);
    }
    // No two have the same position, so these tell that there is no gap.
    for (std::size_t i = 0; i < m_features.size(); ++i)
        if (last_positions[i] + 1 != m_features[i].child_count)
            throw damaged("there is a gap among its features");
}

// ---- recording -----------------------------------------------------------------------------------

void log_recorder::make_ready()
{
    if (!m_database)
        throw error(m_path + ": the log is closed");
    if (m_isStale)
        load();
}

/// Does the work, which is one statement.
template <typename Work>
void log_recorder::write(Work work)
{
    m_database->begin();
    try {
        work();
    } catch (...) {
        m_isStale = !m_database->is_in_transaction();
        throw;
    }
}

/// Does all of the work or nothing of it.
template <typename Work>
void log_recorder::write_at_once(Work work)
{
    write([&] {
        m_statements->savepoint.run();
        try {
            work();
        } catch (...) {
            if (m_database->is_in_transaction())
                m_statements->undo.run();
            if (m_database->is_in_transaction())
                m_statements->release.run();
            throw;
        }
        m_statements->release.run();
    });
}

log_recorder::feature_state& log_recorder::feature_named(std::string_view identifier)
{
    const auto found = m_featurePlaces.find(identifier);
    if (found != m_featurePlaces.end())
        return m_features[found->second];
    require_utf8(identifier, "feature");
    throw error("there is no feature " + in_quotes(identifier));
}

void log_recorder::add_feature(std::string_view identifier, std::optional<std::string_view> name,
                               std::optional<std::string_view> parent)
{
    make_ready();
    if (identifier.empty())
        throw error("the feature has no identifier");
    require_utf8(identifier, "feature");
    if (name)
        require_utf8(*name, "name");
    feature_state* const above = parent ? &feature_named(*parent) : nullptr;
    const row_number parent_id = above != nullptr ? above->id : 0;
    const log_cell name_cell = name ? log_cell(*name) : log_cell();

    if (const auto known = m_featurePlaces.find(identifier); known != m_featurePlaces.end()) {
        const feature_state& feature = m_features[known->second];
        if (feature.parent != parent_id)
            throw error("feature " + in_quotes(identifier) + " has another parent already");
        write([&] { m_statements->rename_feature.with(name_cell, feature.id).run(); });
        return;
    }
    feature_state feature;
    feature.parent = parent_id;
    if (above != nullptr) {
        feature.level = above->level + 1;
        if (feature.level > formats::deepest_feature_level)
            throw error("feature " + in_quotes(identifier) + " would be nested deeper than " +
                        std::to_string(formats::deepest_feature_level) + " levels");
        require_room(above->child_count, "features");
    } else if (!m_features.empty()) {
        throw error("feature " + in_quotes(identifier) + " has no parent, and there is a main feature already");
    }
    // Rows are in the order of their ids.
    feature.id = m_features.empty() ? 1 : m_features.back().id + 1;
    const std::int64_t position = above != nullptr ? above->child_count : 0;
    write([&] { m_statements->insert_feature.with(feature.id, parent_id, position, name_cell, identifier).run(); });
    if (above != nullptr)
        ++above->child_count;
    m_featurePlaces.emplace(identifier, m_features.size());
    m_features.push_back(std::move(feature));
}

log_recorder::property_states& log_recorder::properties_of(feature_state& feature)
{
    if (feature.properties)
        return *feature.properties;
    auto properties = std::make_unique<property_states>();
    log_statement& rows = m_statements->properties.with(feature.id);
    while (rows.next()) {
        const std::size_t place = properties->places.size();
        if (rows.integer(3) != static_cast<std::int64_t>(place)) {
            rows.reset();
            throw log_storage_error(m_path + ": the log is damaged: there is a gap among the properties");
        }
        if ((rows.integer(1) & VT_ARRAY) != 0)
            properties->element_counts.emplace(place, static_cast<std::size_t>(rows.integer(2)));
        properties->places.emplace(rows.text(0), place);
    }
    feature.properties = std::move(properties);
    return *feature.properties;
}

void log_recorder::set_property(std::string_view feature_identifier, std::string_view name, const typed_value& value)
{
    make_ready();
    require_utf8(name, "property");
    const bool is_array = (value.type & VT_ARRAY) != 0;
    std::vector<log_cell> elements;
    log_cell scalar;
    if (is_array) {
        if (value.type != array_of_texts || value.lower_bound != 0)
            throw error("value: the elements of an array are texts, from 0 on");
        for (const typed_value& element : value.elements) {
            const std::string what = "value, " + element_name(elements.size());
            if (element.type != VT_BSTR && !is_nothing(element))
                fail_form(what, "a text");
            elements.push_back(checked_text(element, what));
        }
    } else {
        scalar = scalar_cell(value, "value");
    }

    feature_state& feature = feature_named(feature_identifier);
    property_states& properties = properties_of(feature);
    const auto known = properties.places.find(name);
    const bool is_new = known == properties.places.end();
    const std::size_t place = is_new ? properties.places.size() : known->second;
    const auto position = static_cast<std::int64_t>(place);
    require_room(position, "properties");
    require_values_within_titles(properties.element_counts, place,
                                 is_array ? std::optional(elements.size()) : std::nullopt);

    const std::int64_t type = value.type;
    write_at_once([&] {
        if (is_new) {
            m_statements->insert_property.with(feature.id, position, name, type, scalar).run();
        } else {
            m_statements->delete_property_elements.with(feature.id, position).run();
            m_statements->update_property.with(type, scalar, feature.id, position).run();
        }
        for (std::size_t i = 0; i < elements.size(); ++i)
            m_statements->insert_property_element.with(feature.id, position, static_cast<std::int64_t>(i), elements[i])
                .run();
    });
    if (is_new)
        properties.places.emplace(name, place);
    if (is_array)
        properties.element_counts[place] = elements.size();
    else
        properties.element_counts.erase(place);
}

std::int64_t log_recorder::next_position(const type_state& type, row_number feature)
{
    log_statement& rows = type.table ? m_statements->tables[*type.table].last_position.with(feature)
                                     : m_statements->last_other.with(feature, type.id);
    const std::int64_t position = rows.next() ? rows.integer(0) + 1 : 0;
    rows.reset();
    return position;
}

log_statement& log_recorder::bind_operation(const type_state& type, row_number feature, std::int64_t position,
                                            std::span<const typed_value> elements)
{
    if (!type.table)
        return m_statements->insert_other.with(feature, position, type.id);
    log_statement& insert = m_statements->tables[*type.table].insert.with(feature, position);
    int place = 2;
    std::size_t index = 0;
    for (const record_column& column : formats::operation_tables[*type.table].columns) {
        insert.bind(++place, index < elements.size() ? column_cell(column, elements[index]) : log_cell());
        ++index;
    }
    return insert;
}

void log_recorder::insert_surplus(const type_state& type, row_number feature, std::int64_t position,
                                  std::span<const typed_value> elements)
{
    const std::size_t first = column_count(type.table);
    for (std::size_t i = first; i < elements.size(); ++i)
        m_statements->insert_element
            .with(type.id, feature, position, static_cast<std::int64_t>(i - first), std::int64_t{elements[i].type},
                  scalar_cell(elements[i], element_name(i)))
            .run();
}

void log_recorder::add_operation(std::string_view type_name, std::string_view feature_identifier,
                                 std::span<const typed_value> elements)
{
    make_ready();
    const auto known = m_typePlaces.find(type_name);
    const bool is_new = known == m_typePlaces.end();
    if (is_new)
        require_type_name(type_name);
    const type_state type =
        !is_new ? m_types[known->second] : type_state{m_types.empty() ? 1 : m_types.back().id + 1, table_of(type_name)};
    const std::size_t type_place = is_new ? m_types.size() : known->second;
    feature_state& feature = feature_named(feature_identifier);
    for (std::size_t i = column_count(type.table); i < elements.size(); ++i)
        (void)scalar_cell(elements[i], element_name(i));

    const auto counted = feature.operation_counts.find(type_place);
    const std::int64_t position =
        counted != feature.operation_counts.end() ? counted->second : next_position(type, feature.id);
    require_room(position, "operations of one type");
    log_statement& insert = bind_operation(type, feature.id, position, elements);
    const bool is_first = position == 0;
    if (!is_new && !is_first && elements.size() <= column_count(type.table)) {
        write([&] { insert.run(); });
    } else {
        write_at_once([&] {
            if (is_new)
                m_statements->insert_type.with(type.id, type_name).run();
            if (is_first)
                m_statements->insert_list.with(feature.id, type.id).run();
            insert.run();
            insert_surplus(type, feature.id, position, elements);
        });
    }
    feature.operation_counts[type_place] = position + 1;
    if (is_new) {
        m_typePlaces.emplace(type_name, type_place);
        m_types.push_back(type);
    }
}

} // namespace cw::authoring
