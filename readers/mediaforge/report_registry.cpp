// Registry sets, the keys of their hives and the values of those.

#include "readers/mediaforge/report_sections.h"

#include "readers/storage/text.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <vector>

namespace cw::mediaforge {
namespace {

constexpr unsigned own_columns = 1;
constexpr unsigned own_value_columns = 4;

constexpr unsigned of_key(const media_member_row& member)
{
    return column_of(formats::registry_key_columns, member, own_columns);
}
constexpr unsigned of_value(const media_member_row& member)
{
    return column_of(formats::registry_value_columns, member, own_value_columns);
}

/// In the order of `registry_key.hive`.
constexpr auto hive_names = std::to_array<std::u16string_view>(
    {u"HKEY_CLASSES_ROOT", u"HKEY_CURRENT_USER", u"HKEY_LOCAL_MACHINE", u"HKEY_USERS", u"HKEY_USER_SELECTABLE"});
static_assert(hive_names.size() == formats::registry_hives.size());

constexpr std::int32_t binary_type = 3;
constexpr std::int32_t multi_string_type = 7;
constexpr auto named_types = std::to_array<value_name>({
    {0, u"REG_NONE"},
    {1, u"REG_SZ"},
    {2, u"REG_EXPAND_SZ"},
    {binary_type, u"REG_BINARY"},
    {4, u"REG_DWORD"},
    {5, u"REG_DWORD_BIG_ENDIAN"},
    {6, u"REG_LINK"},
    {multi_string_type, u"REG_MULTI_SZ"},
    {8, u"REG_RESOURCE_LIST"},
    {9, u"REG_FULL_RESOURCE_DESCRIPTOR"},
    {10, u"REG_RESOURCE_REQUIREMENTS_LIST"},
    {11, u"REG_QWORD"},
});
constexpr value_names value_types{named_types};

constexpr std::u16string_view components_label = u"Component(s)";
constexpr unsigned key_level = 3;
constexpr std::size_t value_indent = indent_of(key_level) + indent_a_level;
// Where the columns of values begin in their lines.
constexpr std::size_t type_place = value_indent + 26;
constexpr std::size_t uninstall_place = type_place + 16;
constexpr std::size_t data_place = uninstall_place + 11;
constexpr std::size_t bytes_a_line = 16;

std::optional<unsigned> hexadecimal_digit(char c) noexcept
{
    if (c >= '0' && c <= '9')
        return static_cast<unsigned>(c - '0');
    const char lower = static_cast<char>(c | 0x20);
    if (lower >= 'a' && lower <= 'f')
        return static_cast<unsigned>(lower - 'a' + 10);
    return {};
}

/// Whether a text is numbers of so many hexadecimal digits, and at least one.
bool is_run_of(std::string_view text, std::size_t digits)
{
    return !text.empty() && text.size() % digits == 0 &&
           std::ranges::all_of(text, [](char c) { return hexadecimal_digit(c).has_value(); });
}

/// Bytes from digits, as many lines as they need.
void add_binary(report_text& text, std::string_view digits)
{
    constexpr std::size_t digits_a_byte = 2;
    for (std::size_t at = 0; at < digits.size(); at += digits_a_byte) {
        const bool begins_line = at % (bytes_a_line * digits_a_byte) == 0;
        if (begins_line && at > 0) {
            text.end_line();
            text.pad_to(data_place);
        } else if (!begins_line) {
            text.add(u" ");
        }
        text.add_shown(digits.substr(at, digits_a_byte));
    }
}

/// Texts from digits of their code units, a zero behind each; a line for each text.
void add_multi_string(report_text& text, std::string_view digits)
{
    constexpr std::size_t digits_a_unit = 4;
    std::u16string units;
    for (std::size_t at = 0; at < digits.size(); at += digits_a_unit) {
        unsigned unit = 0;
        for (const char digit : digits.substr(at, digits_a_unit))
            unit = unit << 4 | hexadecimal_digit(digit).value_or(0);
        units += static_cast<char16_t>(unit);
    }
    // What ends the last text and the list says nothing.
    while (!units.empty() && units.back() == 0)
        units.pop_back();
    for (std::size_t begin = 0; begin <= units.size();) {
        const std::size_t end = std::min(units.find(u'\0', begin), units.size());
        if (begin > 0) {
            text.end_line();
            text.pad_to(data_place);
        }
        text.add_shown(storage::to_utf8(std::u16string_view(units).substr(begin, end - begin)));
        begin = end + 1;
    }
}

/// The name of a hive and those of the columns below it.
void add_headings(report_text& text, std::u16string_view hive)
{
    text.add_blanks(indent_of(key_level - 1));
    text.add(hive);
    text.pad_to(type_place);
    text.add(u"Type");
    text.pad_to(uninstall_place);
    text.add(u"Uninstall");
    text.pad_to(data_place);
    text.add(u"Data");
    text.end_line();
}

/// The keys of all sets: where each stands, and the text of each.
class key_blocks {
public:
    explicit key_blocks(storage::database& source)
        : m_keys(source, "registry_key",
                 "SELECT registry_set, hive, position, id FROM registry_key ORDER BY registry_set, hive, position"),
          m_blocks(compose(source))
    {
    }
    /// The keys of a hive below its name, nothing where it has none.
    void add_hive(report_text& text, std::int64_t registry_set, std::size_t hive)
    {
        bool any = false;
        for (; m_place < m_hives.size() && m_hives[m_place] == hive_key{registry_set, static_cast<std::int64_t>(hive)};
             ++m_place, any = true) {
            if (!any) {
                text.end_line();
                add_headings(text, hive_names[hive]);
            }
            text.add(m_blocks[m_place]);
        }
    }
    void finish()
    {
        if (m_place < m_hives.size())
            m_keys.contradict(u"a row belongs to nothing that is there");
    }

private:
    using hive_key = std::pair<std::int64_t, std::int64_t>;

    ranked_blocks compose(storage::database& source)
    {
        std::vector<tree_place> places;
        std::int64_t position = 0;
        while (m_keys.step()) {
            const hive_key hive{m_keys.integer(0), m_keys.integer(1)};
            if (m_hives.empty() || m_hives.back() != hive)
                position = 0;
            if (m_keys.integer(2) != position++)
                m_keys.contradict(u"the positions have a gap");
            places.push_back({m_keys.integer(3), key_level, places.size()});
            m_hives.push_back(hive);
        }
        std::ranges::sort(places, {}, &tree_place::id);

        storage::typed_row key(source, "registry_key",
                               "SELECT id" + formats::member_column_list(formats::registry_key_columns) +
                                   " FROM registry_key ORDER BY id");
        child_rows value(source, "registry_value",
                         "SELECT registry_key, position, data_type, data" +
                             formats::member_column_list(formats::registry_value_columns) +
                             " FROM registry_value ORDER BY registry_key, position");
        ranked_blocks blocks = compose_blocks(
            key, places, [&](report_text& block, const tree_place& place) { add_key(block, key, value, place.id); });
        value.finish();
        return blocks;
    }
    static void add_key(report_text& text, const storage::typed_row& key, child_rows& value, std::int64_t id);
    static void add_value_line(report_text& text, const child_rows& value);

    storage::typed_row m_keys;
    std::vector<hive_key> m_hives; // of the keys by rank
    ranked_blocks m_blocks;
    std::size_t m_place = 0;
};

void key_blocks::add_key(report_text& text, const storage::typed_row& key, child_rows& value, std::int64_t id)
{
    text.add_blanks(indent_of(key_level));
    text.add_shown(key.text(of_key(media_registry_key::Path)));
    text.end_line();
    const unsigned default_column = of_key(media_registry_key::DefaultValue);
    if (!key.is_null(default_column)) {
        text.add_blanks(value_indent);
        text.add(u"(Default)");
        text.pad_to(data_place);
        text.add_shown(key.text(default_column));
        text.end_line();
    }
    while (value.next(id))
        add_value_line(text, value);
}

void key_blocks::add_value_line(report_text& text, const child_rows& value)
{
    constexpr unsigned data_type_column = 2;
    constexpr unsigned data_column = 3;
    text.add_blanks(value_indent);
    text.add_shown(value.text(of_value(media_registry_value::Name)));
    text.pad_to(type_place);
    const unsigned type_column = of_value(media_registry_value::ValueType);
    (void)write_name(text, value, type_column, value_types);
    text.pad_to(uninstall_place);
    text.add(value.integer(of_value(media_registry_value::Uninstall), 0) != 0 ? u"Yes" : u"No");
    text.pad_to(data_place);
    const auto data_type = static_cast<VARTYPE>(value.natural(data_type_column, UINT16_MAX));
    const auto value_type = static_cast<std::int32_t>(value.integer(type_column, 0));
    const std::string_view stored = data_type == VT_BSTR ? value.text(data_column) : std::string_view();
    if (value_type == binary_type && is_run_of(stored, 2))
        add_binary(text, stored);
    else if (value_type == multi_string_type && is_run_of(stored, 4))
        add_multi_string(text, stored);
    else
        add_value(text, value, data_type, data_column);
    text.end_line();
}

} // namespace

void compose_registry(report_text& text, media_store& media)
{
    storage::database& source = media.source();
    storage::typed_row registry_set(source, "registry_set",
                                    "SELECT id" + formats::member_column_list(formats::registry_set_columns) +
                                        " FROM registry_set ORDER BY id");
    child_rows component(source, "registry_set_component",
                         "SELECT link.registry_set, link.position, component.id, component.name "
                         "FROM registry_set_component AS link LEFT JOIN component ON component.id = link.component "
                         "ORDER BY link.registry_set, link.position");
    constexpr unsigned name_column = column_of(formats::registry_set_columns, media_registry_set::Name, own_columns);
    key_blocks keys(source);
    while (registry_set.step()) {
        const std::int64_t id = registry_set.integer(0);
        add_heading(text, 1, u"Registry Set", registry_set.text(name_column));
        const std::size_t begin = text.size();
        add_references(text, indent_of(1) + indent_a_level, components_label, component, id);
        if (text.size() == begin) {
            begin_value(text, indent_of(1) + indent_a_level, components_label);
            text.add(u"(none)");
            text.end_line();
        }
        for (std::size_t hive = 0; hive < hive_names.size(); ++hive)
            keys.add_hive(text, id, hive);
    }
    component.finish();
    keys.finish();
}

} // namespace cw::mediaforge
