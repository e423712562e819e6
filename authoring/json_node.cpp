#include "authoring/json_node.h"

#include "authoring/error.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace cw::authoring {
namespace {

using nlohmann::json;
constexpr std::size_t deepest_nesting = 1000;
constexpr std::string_view manifest_subject = "manifest";

/// A key or text for people: no line of an error is longer than a line.
std::string shown(std::string_view text)
{
    std::string result;
    for (const char c : text.substr(0, 200))
        result += static_cast<unsigned char>(c) < 0x20 || c == 0x7F ? '?' : c;
    return result;
}

/// What was complained about, the place in it, and why; the first two may be empty.
std::string complaint(std::string_view subject, const std::string& path, const std::string& message)
{
    return (subject.empty() ? std::string() : std::string(subject) + ": ") +
           (path.empty() ? std::string() : shown(path) + ": ") + message;
}

/// Builds the value while the library reads the text, and refuses what a finished value would no
/// longer show.
class builder final : public nlohmann::json_sax<json> {
public:
    /// `subject` as for `json_node`; without one the text is a line, which has no line numbers.
    builder(const std::string& text, std::string_view subject) : m_text(text), m_subject(subject) {}

    json root;

    bool null() override { return add(nullptr); }
    bool boolean(bool value) override { return add(value); }
    bool number_integer(number_integer_t value) override { return add(value); }
    bool number_unsigned(number_unsigned_t value) override { return add(value); }
    bool number_float(number_float_t value, const string_t&) override { return add(value); }
    bool string(string_t& value) override { return add(std::move(value)); }
    bool binary(binary_t&) override { return false; }
    bool start_object(std::size_t) override { return open(json::object()); }
    bool start_array(std::size_t) override { return open(json::array()); }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }

    bool key(string_t& name) override
    {
        level& top = m_levels.back();
        top.key = std::move(name);
        if (top.value->contains(top.key))
            throw error(complaint(m_subject, path(), "the key stands twice"));
        return true;
    }

    bool parse_error(std::size_t position, const std::string&, const json::exception& failure) override
    {
        constexpr int number_overflow = 406;
        if (failure.id == number_overflow)
            throw error(complaint(m_subject, path(), "a number is out of range"));
        const std::size_t end = std::min(m_text.size(), position > 0 ? position - 1 : 0);
        const auto line_breaks = std::count(m_text.begin(), m_text.begin() + static_cast<std::ptrdiff_t>(end), '\n');
        const std::size_t line_start = end == 0 ? std::string::npos : m_text.rfind('\n', end - 1);
        const std::size_t column = end - (line_start == std::string::npos ? 0 : line_start + 1);
        const std::string line = m_subject.empty() ? "" : "line " + std::to_string(line_breaks + 1) + ", ";
        throw error(complaint(m_subject, {}, line + "column " + std::to_string(column + 1) + ": not valid JSON"));
    }

private:
    struct level {
        json* value;
        std::string key; // the one that was read last
    };

    /// Where the value that was stored came to lie; it stays there while nothing else is added beside.
    template <typename Value>
    json* store(Value&& value)
    {
        if (m_levels.empty())
            return &(root = std::forward<Value>(value));
        level& top = m_levels.back();
        if (top.value->is_array())
            return &top.value->emplace_back(std::forward<Value>(value));
        return &((*top.value)[top.key] = std::forward<Value>(value));
    }
    template <typename Value>
    bool add(Value&& value)
    {
        store(std::forward<Value>(value));
        return true;
    }
    bool open(json&& value)
    {
        if (m_levels.size() == deepest_nesting)
            throw error(complaint(m_subject, {}, "nested deeper than " + std::to_string(deepest_nesting) + " levels"));
        json* const place = store(std::move(value));
        m_levels.push_back({place, {}});
        return true;
    }
    bool close()
    {
        m_levels.pop_back();
        return true;
    }
    [[nodiscard]] std::string path() const
    {
        std::string place;
        for (const level& item : m_levels) {
            // An item that is not finished stands in its list already, but for a single value.
            if (item.value->is_array())
                place += "[" + std::to_string(item.value->size() - (&item == &m_levels.back() ? 0 : 1)) + "]";
            else
                place += (place.empty() ? "" : ".") + item.key;
        }
        return place;
    }

    const std::string& m_text;
    std::string_view m_subject;
    std::vector<level> m_levels;
};

json parse(const std::string& text, std::string_view subject)
{
    builder values(text, subject);
    json::sax_parse(text, &values);
    return std::move(values.root);
}

} // namespace

std::string manifest_complaint(const std::string& path, const std::string& message)
{
    return complaint(manifest_subject, path, message);
}

json parse_manifest_text(const std::string& text)
{
    return parse(text, manifest_subject);
}

json parse_line_text(const std::string& text)
{
    return parse(text, {});
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
    throw error(complaint(m_subject, path(), message));
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
