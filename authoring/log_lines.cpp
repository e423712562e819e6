#include "authoring/log_lines.h"

#include "authoring/json_node.h"
#include "authoring/typed_values.h"

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

namespace cw::authoring {
namespace {

void require_keys(const json_node& line, std::initializer_list<std::string_view> keys)
{
    for (const std::string_view key : keys)
        if (!line.has(key))
            line.fail(std::string(key) + " is missing");
}

void refuse_other_keys(const json_node& line, std::initializer_list<std::string_view> keys)
{
    line.for_each_key([&](std::string_view key, const json_node& value) {
        if (std::find(keys.begin(), keys.end(), key) == keys.end())
            value.fail("unknown key");
    });
}

std::optional<std::string_view> text_or_null(const json_node& node)
{
    if (node.is_null())
        return std::nullopt;
    return node.text();
}

typed_value read_scalar(const json_node& node)
{
    if (node.is_array())
        node.fail("an array cannot be an element");
    typed_value value = read_typed_value(node);
    if ((value.type & VT_ARRAY) != 0)
        node.fail("an array cannot be an element");
    return value;
}

typed_value read_property_value(const json_node& node)
{
    if (node.is_array())
        node.fail(R"(a list is written {"array": […]})");
    if (!node.is_object() || !node.has("array"))
        return read_typed_value(node);
    refuse_other_keys(node, {"array"});
    const json_node items = node["array"];
    if (!items.is_array())
        items.fail("expected a list");
    typed_value value{VT_ARRAY | VT_BSTR, {}, 0, {}};
    items.for_each_item([&](const json_node& item) {
        typed_value& text = value.elements.emplace_back();
        text.type = VT_BSTR;
        if (!item.is_null())
            text.value = item.text();
    });
    return value;
}

std::vector<typed_value> read_record(const json_node& line, const json_node& record)
{
    refuse_other_keys(line, {"operation", "feature", "record"});
    if (!record.is_array())
        record.fail("expected a list");
    std::vector<typed_value> elements;
    record.for_each_item([&](const json_node& item) { elements.push_back(read_scalar(item)); });
    return elements;
}

/// The key of a column is its name. The one of what a general operation does would be that of the
/// operation's type.
std::string_view key_of(const formats::record_column& column)
{
    return column.name == "operation" ? "action" : column.name;
}

/// The elements by the keys of their columns; those that are not told stay empty.
std::vector<typed_value> read_columns(const json_node& line, const formats::operation_table& table)
{
    std::vector<typed_value> elements(table.columns.size());
    line.for_each_key([&](std::string_view key, const json_node& value) {
        if (key == "operation" || key == "feature")
            return;
        const auto column =
            std::find_if(table.columns.begin(), table.columns.end(),
                         [&](const formats::record_column& candidate) { return key_of(candidate) == key; });
        if (column == table.columns.end())
            value.fail("unknown key");
        elements[static_cast<std::size_t>(column - table.columns.begin())] = read_scalar(value);
    });
    return elements;
}

std::vector<typed_value> read_elements(const json_node& line)
{
    if (line.has("record"))
        return read_record(line, line["record"]);
    const std::string& type = line["operation"].text();
    for (const formats::operation_table& table : formats::operation_tables)
        if (std::ranges::equal(table.type, type)) // known names are plain ASCII
            return read_columns(line, table);
    line.fail("record is missing");
}

} // namespace

void log_lines::take(std::string_view text)
{
    const nlohmann::json parsed = parse_line_text(std::string(text));
    const json_node line(parsed, "");
    line.require_object();
    if (line.has("operation")) {
        require_keys(line, {"feature"});
        m_recorder.add_operation(line["operation"].text(), line["feature"].text(), read_elements(line));
        ++m_told.operations;
    } else if (line.has("property")) {
        require_keys(line, {"feature", "value"});
        refuse_other_keys(line, {"property", "feature", "value"});
        m_recorder.set_property(line["feature"].text(), line["property"].text(), read_property_value(line["value"]));
        ++m_told.properties;
    } else if (line.has("feature")) {
        require_keys(line, {"name"});
        refuse_other_keys(line, {"feature", "name", "parent"});
        const std::optional<std::string_view> parent =
            line.has("parent") ? std::optional<std::string_view>(line["parent"].text()) : std::nullopt;
        m_recorder.add_feature(line["feature"].text(), text_or_null(line["name"]), parent);
        ++m_told.features;
    } else {
        line.fail("it tells of no feature, property or operation");
    }
}

} // namespace cw::authoring
