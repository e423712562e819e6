#include "readers/mediaforge/report_lines.h"

#include "readers/storage/stored_value.h"

#include <algorithm>

namespace cw::mediaforge {

child_rows::child_rows(storage::database& source, std::string_view table, const std::string& select,
                       const child_columns& columns)
    : typed_row(source, table, select), m_columns(columns)
{
}

void child_rows::refuse_orphan() const
{
    contradict(u"a row belongs to nothing that is there");
}

bool child_rows::next(std::int64_t parent, std::int64_t second)
{
    if (m_isDone)
        return false;
    if (!m_isPending) {
        if (!step()) {
            m_isDone = true;
            return false;
        }
        m_parent = {integer(0), m_columns.parents > 1 ? integer(1) : 0};
        m_isPending = true;
    }
    const parent_key wanted{parent, second};
    if (m_parent < wanted)
        refuse_orphan();
    if (m_parent > wanted)
        return false;
    if (m_current != wanted)
        m_position = 0;
    m_current = wanted;
    if (m_columns.has_position && integer(m_columns.parents) != m_position++)
        contradict(u"the positions have a gap");
    m_isPending = false;
    return true;
}

void child_rows::finish()
{
    if (m_isPending || (!m_isDone && step()))
        refuse_orphan();
}

bool write_text(report_text& text, const storage::typed_row& row, unsigned column)
{
    const std::string_view value = row.text(column);
    text.add_shown(value);
    return !value.empty();
}

namespace {

// Flag words may be stored with or without their sign: the low 32 bits are the value.
std::int32_t number_of(const storage::typed_row& row, unsigned column)
{
    return static_cast<std::int32_t>(row.integer(column, 0));
}

bool add_number_but_zero(report_text& text, std::int64_t value)
{
    if (value == 0)
        return false;
    text.add_number(value);
    return true;
}

} // namespace

bool write_number_but_zero(report_text& text, const storage::typed_row& row, unsigned column)
{
    return add_number_but_zero(text, number_of(row, column));
}

bool write_short_but_zero(report_text& text, const storage::typed_row& row, unsigned column)
{
    return add_number_but_zero(text, static_cast<std::int16_t>(row.integer(column, 0)));
}

bool write_flags_but(report_text& text, const storage::typed_row& row, unsigned column, std::uint32_t named)
{
    const std::uint32_t others = static_cast<std::uint32_t>(number_of(row, column)) & ~named;
    if (others == 0)
        return false;
    text.add_flags(others);
    return true;
}

bool write_yes_no(report_text& text, const storage::typed_row& row, unsigned column)
{
    if (row.is_null(column))
        return false;
    text.add(row.integer(column) != 0 ? u"Yes" : u"No");
    return true;
}

bool write_name(report_text& text, const storage::typed_row& row, unsigned column, const value_names& names)
{
    if (row.is_null(column))
        return false;
    const std::int32_t value = number_of(row, column);
    const auto found = std::ranges::find(names.names, value, &value_name::value);
    if (found != names.names.end()) {
        text.add(found->name);
        return true;
    }
    if (names.otherwise.empty())
        return add_number_but_zero(text, value);
    text.add(names.otherwise);
    if (value != 0) {
        text.add(u" (");
        text.add_number(std::int64_t{value});
        text.add(u")");
    }
    return true;
}

namespace {

/// Currency is counted in ten-thousandths; "12.5".
void add_currency(report_text& text, std::int64_t value)
{
    constexpr std::uint64_t unit = 10'000;
    const std::uint64_t size =
        value < 0 ? std::uint64_t{0} - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
    if (value < 0)
        text.add(u"-");
    text.add_number(size / unit);
    std::uint64_t rest = size % unit;
    if (rest == 0)
        return;
    text.add(u".");
    for (std::uint64_t place = unit / 10; rest != 0; rest %= place, place /= 10)
        text.add_number(rest / place);
}

} // namespace

void add_value(report_text& text, const storage::typed_row& row, VARTYPE type, unsigned column)
{
    if (type == VT_BSTR) {
        // Texts go past the variant, which would hold a copy.
        text.add_shown(row.text(column));
        return;
    }
    const automation::variant value = storage::scalar_value(row, type, column);
    switch (type) {
    case VT_EMPTY:
        text.add(u"(empty)");
        break;
    case VT_NULL:
        text.add(u"(null)");
        break;
    case VT_BOOL:
        text.add(value.boolVal ? u"True" : u"False");
        break;
    case VT_R4:
        text.add_real(value.fltVal);
        break;
    case VT_R8:
        text.add_real(value.dblVal);
        break;
    case VT_DATE:
        if (!text.add_date(value.date))
            text.add_real(value.date);
        break;
    case VT_CY:
        add_currency(text, value.cyVal.int64);
        break;
    case VT_ERROR:
        text.add_flags(static_cast<std::uint32_t>(value.scode));
        break;
    case VT_UI8:
        text.add_number(value.ullVal);
        break;
    default:
        // An integer of any other width is stored as it is.
        text.add_number(row.integer(column));
        break;
    }
}

void begin_line(report_text& text, unsigned level, unsigned within)
{
    text.add_blanks(indent_of(level) + indent_a_level * within);
    if (level <= deepest_indented_level)
        return;
    text.add(u"(level ");
    text.add_number(std::uint64_t{level});
    text.add(u") ");
}

void add_heading(report_text& text, unsigned level, std::u16string_view what, std::string_view name)
{
    text.end_line();
    begin_line(text, level);
    text.add(what);
    text.add(u":");
    if (!name.empty())
        text.add_blanks(1);
    text.add_shown(name);
    text.end_line();
}

void begin_value(report_text& text, std::size_t indent, std::u16string_view label)
{
    // Without a label all is padding, so that a line without a value is left empty.
    if (!label.empty()) {
        text.add_blanks(indent);
        text.add(label);
    }
    text.pad_to(indent + label_width);
}

void add_lines(report_text& text, std::size_t indent, const storage::typed_row& row, std::span<const member_line> lines)
{
    for (const member_line& line : lines) {
        const std::size_t begin = text.size();
        begin_value(text, indent, line.label);
        if (line.write(text, row, line.column))
            text.end_line();
        else
            text.cut(begin);
    }
}

void add_words(report_text& text, std::size_t indent, std::u16string_view label, const storage::typed_row& row,
               std::span<const member_word> words)
{
    bool any = false;
    for (const member_word& each : words) {
        if ((row.integer(each.column, 0) & each.bits) == 0)
            continue;
        if (any)
            text.add(u", ");
        else
            begin_value(text, indent, label);
        text.add(each.word);
        any = true;
    }
    if (any)
        text.end_line();
}

void add_references(report_text& text, std::size_t indent, std::u16string_view label, child_rows& references,
                    std::int64_t parent)
{
    constexpr unsigned number_column = 2;
    constexpr unsigned name_column = 3;
    for (bool first = true; references.next(parent); first = false) {
        if (references.is_null(number_column))
            references.contradict(u"a row names what is not there");
        begin_value(text, indent, first ? label : std::u16string_view());
        text.add_shown(references.text(name_column), longest_reference);
        text.end_line();
    }
}

} // namespace cw::mediaforge
