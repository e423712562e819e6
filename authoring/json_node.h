// Strict reading of JSON manifests: a value together with its place in the text, so that every
// complaint names it ("manifest: Components[3].Files[0].path: …"). Used by the manifest reader, and for
// the lines that tell of a log.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

namespace cw::authoring {

/// Parses a text; unlike the library itself it refuses a key that stands twice in one object, and
/// nesting that is deeper than any manifest needs. Throws `error`.
[[nodiscard]] nlohmann::json parse_manifest_text(const std::string& text);
/// The same for a text that is one line of many; its complaints are to stand behind the line's number
/// and name no manifest.
[[nodiscard]] nlohmann::json parse_line_text(const std::string& text);

/// A value and where it stands. Children refer to their parent, which must outlive them.
class json_node {
public:
    /// `subject` is what complaints begin with, or empty.
    explicit json_node(const nlohmann::json& root, std::string_view subject = "manifest")
        : m_value(&root), m_subject(subject)
    {
    }

    /// "Components[3].Files[0].path"; empty for the root.
    [[nodiscard]] std::string path() const;
    /// Throws `error` with the place and the message.
    [[noreturn]] void fail(const std::string& message) const;

    [[nodiscard]] bool is_string() const { return m_value->is_string(); }
    [[nodiscard]] bool is_null() const { return m_value->is_null(); }
    [[nodiscard]] bool is_object() const { return m_value->is_object(); }
    [[nodiscard]] bool is_array() const { return m_value->is_array(); }
    [[nodiscard]] bool is_boolean() const { return m_value->is_boolean(); }
    [[nodiscard]] bool is_integer() const { return m_value->is_number_integer(); }
    [[nodiscard]] bool is_number() const { return m_value->is_number(); }

    // Each fails where the value is of another type.
    [[nodiscard]] const std::string& text() const;
    [[nodiscard]] bool boolean() const;
    /// An integer of that range.
    [[nodiscard]] std::int64_t integer(std::int64_t lowest, std::int64_t highest) const;
    /// An integer that fits 64 bits without a sign.
    [[nodiscard]] std::uint64_t unsigned_integer(std::uint64_t highest) const;
    /// Any number, finite.
    [[nodiscard]] double number() const;

    /// Fails for anything but an object.
    void require_object() const;
    [[nodiscard]] bool has(std::string_view key) const;
    /// The value of a key that is there.
    [[nodiscard]] json_node operator[](std::string_view key) const;
    /// Calls `visit(key, value)` for all keys of the object.
    template <typename Visitor>
    void for_each_key(Visitor visit) const
    {
        require_object();
        for (auto item = m_value->begin(); item != m_value->end(); ++item)
            visit(std::string_view(item.key()), json_node(item.value(), this, item.key(), 0));
    }
    /// Calls `visit(value)` for all items of the array.
    template <typename Visitor>
    void for_each_item(Visitor visit) const
    {
        require_array();
        std::size_t index = 0;
        for (const nlohmann::json& item : *m_value)
            visit(json_node(item, this, {}, index++));
    }

private:
    json_node(const nlohmann::json& value, const json_node* parent, std::string_view key, std::size_t index)
        : m_value(&value), m_parent(parent), m_key(key), m_index(index), m_subject(parent->m_subject)
    {
    }
    void require_array() const;
    [[noreturn]] void fail_type(const char* expected) const;

    const nlohmann::json* m_value;
    const json_node* m_parent = nullptr;
    std::string_view m_key;
    std::size_t m_index = 0;
    std::string_view m_subject;
};

/// The text of a complaint about a place.
[[nodiscard]] std::string manifest_complaint(const std::string& path, const std::string& message);

} // namespace cw::authoring
