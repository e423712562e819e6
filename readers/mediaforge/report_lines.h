// How rows of a header become lines of a report: labelled values by tables, lists of names, headings
// that are indented by their level.
#pragma once

#include "formats/media_format.h"
#include "readers/mediaforge/report_text.h"
#include "readers/mediaforge/tree_order.h"
#include "readers/storage/typed_row.h"

#include <span>
#include <string>
#include <utility>
#include <vector>

namespace cw::mediaforge {

// ---- rows -----------------------------------------------------------------------------------

/// The place of a member in a row whose member columns follow its own ones.
constexpr unsigned column_of(std::span<const formats::member_column> members, const media_member_row& wanted,
                             unsigned own_columns)
{
    for (unsigned i = 0; i < members.size(); ++i)
        if (members[i].member.id == wanted.id)
            return own_columns + i;
    throw "not a column";
}

/// What stands in the first columns of rows that belong to others.
struct child_columns {
    unsigned parents = 1; // the numbers of what a row belongs to
    bool has_position = true;
};
/// The rows of a table that belong to those of another, which is walked by its numbers: one query for
/// all of them. What belongs to nothing is a contradiction, and so is a gap between positions.
class child_rows : public storage::typed_row {
public:
    /// `select` is ordered by its first columns.
    child_rows(storage::database& source, std::string_view table, const std::string& select,
               const child_columns& columns = {});
    /// Goes to the next row of a parent; false behind the last one. Parents come in rising order.
    bool next(std::int64_t parent, std::int64_t second = 0);
    /// To be called behind the last parent.
    void finish();

private:
    using parent_key = std::pair<std::int64_t, std::int64_t>;
    [[noreturn]] void refuse_orphan() const;

    child_columns m_columns;
    bool m_isPending = false; // a row was met that belongs to a later parent
    bool m_isDone = false;
    parent_key m_parent;
    parent_key m_current;
    std::int64_t m_position = 0;
};

/// Rows as text, composed in the order of their numbers and read in another one.
class ranked_blocks {
public:
    explicit ranked_blocks(std::size_t count) : m_ranges(count) {}
    [[nodiscard]] report_text& text() noexcept { return m_text; }
    /// What was added to the text from a size on is the block of a rank.
    void set(std::size_t rank, std::size_t begin) { m_ranges[rank] = {begin, m_text.size()}; }
    [[nodiscard]] std::size_t count() const noexcept { return m_ranges.size(); }
    [[nodiscard]] std::u16string_view operator[](std::size_t rank) const
    {
        return m_text.view().substr(m_ranges[rank].first, m_ranges[rank].second - m_ranges[rank].first);
    }

private:
    report_text m_text;
    std::vector<std::pair<std::size_t, std::size_t>> m_ranges;
};

/// Composes the blocks of all rows that `row` is about to answer, which has the number in its first
/// column, by which it is ordered. `places` has the same numbers.
template <class Compose>
ranked_blocks compose_blocks(storage::typed_row& row, std::span<const tree_place> places, Compose compose)
{
    ranked_blocks blocks(places.size());
    auto place = places.begin();
    for (; row.step(); ++place) {
        if (place == places.end() || place->id != row.integer(0))
            row.contradict(u"its index is out of order");
        const std::size_t begin = blocks.text().size();
        compose(blocks.text(), *place);
        blocks.set(place->rank, begin);
    }
    if (place != places.end())
        row.contradict(u"its index is out of order");
    return blocks;
}

// ---- values ---------------------------------------------------------------------------------

/// Writes the value of a column; false where there is nothing to tell.
using value_writer = bool (*)(report_text& text, const storage::typed_row& row, unsigned column);

bool write_text(report_text& text, const storage::typed_row& row, unsigned column);
/// A number of 32 bits; nothing to tell of 0.
bool write_number_but_zero(report_text& text, const storage::typed_row& row, unsigned column);
/// A number of 16 bits; nothing to tell of 0.
bool write_short_but_zero(report_text& text, const storage::typed_row& row, unsigned column);
bool write_yes_no(report_text& text, const storage::typed_row& row, unsigned column);

struct value_name {
    std::int32_t value;
    std::u16string_view name;
};
struct value_names {
    std::span<const value_name> names;
    // Of other values, before their number; 0 is told by it alone, or not at all where it is empty.
    std::u16string_view otherwise = {};
};
bool write_name(report_text& text, const storage::typed_row& row, unsigned column, const value_names& names);
template <const value_names& Names>
bool write_named(report_text& text, const storage::typed_row& row, unsigned column)
{
    return write_name(text, row, column, Names);
}

/// The bits of 32 that are not among those `named` elsewhere, in hexadecimal; nothing to tell of none.
bool write_flags_but(report_text& text, const storage::typed_row& row, unsigned column, std::uint32_t named);
template <std::uint32_t Named>
bool write_other_flags(report_text& text, const storage::typed_row& row, unsigned column)
{
    return write_flags_but(text, row, column, Named);
}

/// A value with a type, which does not depend on where the report is made.
void add_value(report_text& text, const storage::typed_row& row, VARTYPE type, unsigned column);

// ---- lines ----------------------------------------------------------------------------------

inline constexpr std::size_t indent_a_level = 2;
/// From here on the heading tells its level, and indentation stays.
inline constexpr unsigned deepest_indented_level = 16;
inline constexpr std::size_t label_width = 26;
/// Names that refer to something told elsewhere are cut, so that a long one is told once.
inline constexpr std::size_t longest_reference = 260;

[[nodiscard]] constexpr std::size_t indent_of(unsigned level) noexcept
{
    return indent_a_level * (level < deepest_indented_level ? level : deepest_indented_level);
}

/// A blank line and "Feature: Main" at the indentation of its level, from 1.
void add_heading(report_text& text, unsigned level, std::u16string_view what, std::string_view name);
/// A line with a level's indentation, without its end; far down it begins with the level. `within` is how
/// many levels of other things the whole tree stands in.
void begin_line(report_text& text, unsigned level, unsigned within = 0);
/// The beginning of a line up to where its value stands.
void begin_value(report_text& text, std::size_t indent, std::u16string_view label);

struct member_line {
    std::u16string_view label;
    unsigned column;
    value_writer write;
};
/// A line for each member that has something to tell.
void add_lines(report_text& text, std::size_t indent, const storage::typed_row& row,
               std::span<const member_line> lines);

/// All bits of a number, as it is stored and as members of 32 bits answer it.
inline constexpr std::int64_t any_bit = -1;
inline constexpr std::int64_t any_bit_of_32 = 0xFFFFFFFF;
struct member_word {
    std::u16string_view word;
    unsigned column;
    std::int64_t bits = any_bit; // any of which says that it is so
};
/// One line with the words that are so, where any is.
void add_words(report_text& text, std::size_t indent, std::u16string_view label, const storage::typed_row& row,
               std::span<const member_word> words);

/// A line for each name of what a row refers to. `references` answers the number of what is referred to
/// in its third column, null where that is not there, and its name in the fourth.
void add_references(report_text& text, std::size_t indent, std::u16string_view label, child_rows& references,
                    std::int64_t parent);

} // namespace cw::mediaforge
