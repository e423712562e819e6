#include "authoring/json_node.h"

#include "authoring/error.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <unordered_set>
#include <vector>

namespace cw::authoring {
namespace {

using nlohmann::json;
constexpr std::size_t deepest_nesting = 1000;

/// Follows the parser through the text to find what the finished value no longer shows.
class key_watch {
public:
    bool operator()(json::parse_event_t event, json& parsed)
    {
        switch (event) {
        case json::parse_event_t::object_start:
        case json::parse_event_t::array_start:
            begin_value();
            m_levels.push_back({event == json::parse_event_t::array_start, 0, {}, {}});
            if (m_levels.size() > deepest_nesting)
                throw error("manifest: nested deeper than " + std::to_string(deepest_nesting) + " levels");
            break;
        case json::parse_event_t::object_end:
        case json::parse_event_t::array_end:
            m_levels.pop_back();
            break;
        case json::parse_event_t::key: {
            level& top = m_levels.back();
            top.key = parsed.get_ref<const std::string&>();
            if (!top.keys.insert(top.key).second)
                throw error(manifest_complaint(path(), "the key stands twice"));
            break;
        }
        case json::parse_event_t::value:
            begin_value();
            break;
        }
        return true;
    }

private:
    struct level {
        bool is_array;
        std::size_t count;
        std::string key;
        std::unordered_set<std::string> keys;
    };

    void begin_value()
    {
        if (!m_levels.empty())
            ++m_levels.back().count;
    }
    [[nodiscard]] std::string path() const
    {
        std::string text;
        for (const level& item : m_levels) {
            if (item.is_array)
                text += "[" + std::to_string(item.count - 1) + "]";
            else
                text += (text.empty() ? "" : ".") + item.key;
        }
        return text;
    }

    std::vector<level> m_levels;
};

/// A key or text for people: no line of an error is longer than a line.
std::string shown(std::string_view text)
{
    std::string result;
    for (const char c : text.substr(0, 200))
        result += static_cast<unsigned char>(c) < 0x20 || c == 0x7F ? '?' : c;
    return result;
}

} // namespace

std::string manifest_complaint(const std::string& path, const std::string& message)
{
    return "manifest: " + (path.empty() ? std::string() : shown(path) + ": ") + message;
}

json parse_manifest_text(const std::string& text)
{
    try {
        key_watch watch;
        return json::parse(text, [&](int, json::parse_event_t event, json& parsed) { return watch(event, parsed); });
    } catch (const json::parse_error& failure) {
        const std::size_t end = std::min(text.size(), failure.byte > 0 ? failure.byte - 1 : 0);
        const auto line_breaks = std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), '\n');
        const std::size_t line_start = end == 0 ? std::string::npos : text.rfind('\n', end - 1);
        const std::size_t column = end - (line_start == std::string::npos ? 0 : line_start + 1);
        throw error("manifest: line " + std::to_string(line_breaks + 1) + ", column " + std::to_string(column + 1) +
                    ": not valid JSON");
    } catch (const json::exception&) {
        throw error("manifest: a number is out of range");
    }
}

std::string json_node::path() const
{
    std::string text = m_parent == nullptr ? std::string() : m_parent->path();
    if (m_parent == nullptr)
        return text;
    if (m_parent->is_array())
        return text + "[" + std::to_string(m_index) + "]";
    return text + (text.empty() ? "" : ".") + std::string(m_key);
}

void json_node::fail(const std::string& message) const
{
    throw error(manifest_complaint(path(), message));
}

void json_node::fail_type(const char* expected) const
{
    fail(std::string("expected ") + expected + ", not " +
         (m_value->is_number_float() ? "a fraction"
          : m_value->is_number()     ? "a number"
          : is_string()              ? "a text"
          : is_boolean()             ? "true or false"
          : is_array()               ? "a list"
          : is_object()              ? "an object"
                                     : "null"));
}

const std::string& json_node::text() const
{
    if (!is_string())
        fail_type("a text");
    return m_value->get_ref<const std::string&>();
}

bool json_node::boolean() const
{
    if (!is_boolean())
        fail_type("true or false");
    return m_value->get<bool>();
}

std::int64_t json_node::integer(std::int64_t lowest, std::int64_t highest) const
{
    if (!is_integer())
        fail_type("an integer");
    const bool too_big =
        m_value->is_number_unsigned() &&
        m_value->get<std::uint64_t>() > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    const std::int64_t value = too_big ? 0 : m_value->get<std::int64_t>();
    if (too_big || value < lowest || value > highest)
        fail(m_value->dump() + " is not within " + std::to_string(lowest) + " to " + std::to_string(highest));
    return value;
}

std::uint64_t json_node::unsigned_integer(std::uint64_t highest) const
{
    if (!is_integer())
        fail_type("an integer");
    const bool negative = !m_value->is_number_unsigned() && m_value->get<std::int64_t>() < 0;
    const std::uint64_t value = negative ? 0 : m_value->get<std::uint64_t>();
    if (negative || value > highest)
        fail(m_value->dump() + " is not within 0 to " + std::to_string(highest));
    return value;
}

double json_node::number() const
{
    if (!is_number())
        fail_type("a number");
    return m_value->get<double>();
}

void json_node::require_object() const
{
    if (!is_object())
        fail_type("an object");
}

void json_node::require_array() const
{
    if (!is_array())
        fail_type("a list");
}

bool json_node::has(std::string_view key) const
{
    return m_value->contains(key);
}

json_node json_node::operator[](std::string_view key) const
{
    const auto found = m_value->find(key);
    return {found.value(), this, found.key(), 0};
}

} // namespace cw::authoring
