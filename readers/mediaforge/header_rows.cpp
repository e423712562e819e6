#include "readers/mediaforge/header_rows.h"

#include "readers/mediaforge/errors.h"
#include "readers/mediaforge/text.h"

#include <sqlite3.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace cw::mediaforge {
namespace {

constexpr bool in_order()
{
    for (std::size_t i = 0; i < row_queries.size(); ++i)
        if (static_cast<std::size_t>(row_queries[i].id) != i)
            return false;
    return true;
}
static_assert(in_order(), "the table stands in the order of its names");
static_assert(std::ranges::all_of(row_queries,
                                  [](const row_query& query) { return !query.ordered_by || query.parameters == 2; }),
              "rows that follow one another are told by the second field of their key");

std::string select_statement(const row_query& query)
{
    std::string sql = "SELECT ";
    sql.append(query.own_columns).append(formats::member_column_list(query.members));
    return sql.append(" FROM ").append(query.source);
}

std::u16string_view storage_name(int type)
{
    switch (type) {
    case SQLITE_INTEGER:
        return u"an integer";
    case SQLITE_FLOAT:
        return u"a real";
    case SQLITE_TEXT:
        return u"a text";
    case SQLITE_BLOB:
        return u"bytes";
    default:
        return u"nothing";
    }
}

} // namespace

row_cursor::row_cursor(database& source, const row_query& query)
    : m_source(&source), m_query(&query), m_statement(source, select_statement(query))
{
}

void row_cursor::ask(const row_key& key)
{
    m_state = state::unasked;
    m_statement.reset();
    const std::int64_t fields[] = {key.first, key.second, key.third};
    for (unsigned i = 0; i < m_query->parameters; ++i)
        m_statement.bind(static_cast<int>(i) + 1, fields[i]);
    m_key = key;
}

void row_cursor::settle()
{
    bool found = m_statement.step();
    if (found && m_query->ordered_by) {
        const auto column = static_cast<int>(*m_query->ordered_by);
        found = m_statement.type(column) == SQLITE_INTEGER && m_statement.integer(column) == m_key.second;
    }
    m_state = found ? state::found : state::absent;
}

bool row_cursor::step_to(const row_key& key)
{
    if (!m_query->ordered_by || m_state != state::found || key.first != m_key.first || key.second != m_key.second + 1)
        return false;
    m_state = state::unasked;
    m_key = key;
    settle();
    return m_state == state::found;
}

bool row_cursor::find(const row_key& key)
{
    if (m_state != state::unasked && key == m_key)
        return m_state == state::found;
    if (step_to(key))
        return true;
    ask(key);
    settle();
    return m_state == state::found;
}

bool row_cursor::find(const row_key& key, std::string_view text)
{
    ask(key);
    m_statement.bind(static_cast<int>(m_query->parameters), text);
    const bool found = m_statement.step();
    // The key does not tell the text, so this row answers no later question.
    m_state = state::unasked;
    return found;
}

void row_cursor::rewind(const row_key& key)
{
    ask(key);
}

bool row_cursor::next()
{
    return m_statement.step();
}

void row_cursor::contradict(std::u16string_view what) const
{
    // The source begins with the table's name.
    const std::string_view source = m_query->source;
    std::u16string detail = u"table " + to_utf16(source.substr(0, source.find(' ')));
    detail.append(u", ").append(what);
    throw media_failure(error_number::contradiction, m_source->path(), detail);
}

std::int64_t row_cursor::integer(unsigned column, std::optional<std::int64_t> null_value) const
{
    const int type = m_statement.type(static_cast<int>(column));
    if (type == SQLITE_NULL && null_value)
        return *null_value;
    if (type != SQLITE_INTEGER)
        contradict(std::u16string(storage_name(type)).append(u" stands where an integer belongs"));
    return m_statement.integer(static_cast<int>(column));
}

std::int64_t row_cursor::natural(unsigned column, std::int64_t largest) const
{
    const std::int64_t value = integer(column);
    if (value < 0 || value > largest)
        contradict(u"the number " + to_utf16(std::to_string(value)) + u" is out of range");
    return value;
}

double row_cursor::real(unsigned column) const
{
    const int type = m_statement.type(static_cast<int>(column));
    const double value = m_statement.real(static_cast<int>(column));
    if ((type != SQLITE_FLOAT && type != SQLITE_INTEGER) || !std::isfinite(value))
        contradict(std::u16string(storage_name(type)).append(u" stands where a finite real belongs"));
    return value;
}

std::string_view row_cursor::text(unsigned column) const
{
    const int type = m_statement.type(static_cast<int>(column));
    if (type != SQLITE_TEXT && type != SQLITE_NULL)
        contradict(std::u16string(storage_name(type)).append(u" stands where a text belongs"));
    return m_statement.text(static_cast<int>(column));
}

bool row_cursor::is_null(unsigned column) const noexcept
{
    return m_statement.type(static_cast<int>(column)) == SQLITE_NULL;
}

formats::byte_view row_cursor::blob(unsigned column) const
{
    const int type = m_statement.type(static_cast<int>(column));
    if (type != SQLITE_BLOB && type != SQLITE_NULL)
        contradict(std::u16string(storage_name(type)).append(u" stands where bytes belong"));
    return m_statement.blob(static_cast<int>(column));
}

void row_cursor::member(unsigned index, VARIANT& result) const
{
    const unsigned column = m_query->own_count + index;
    switch (m_query->members[index].member.type) {
    case VT_BSTR: {
        const std::string_view value = text(column);
        result.bstrVal = is_null(column) ? nullptr : to_bstr(value).detach();
        result.vt = VT_BSTR;
        break;
    }
    case VT_BOOL:
        result.boolVal = integer(column, 0) != 0 ? VARIANT_TRUE : VARIANT_FALSE;
        result.vt = VT_BOOL;
        break;
    case VT_I2:
        result.iVal = static_cast<std::int16_t>(integer(column, 0));
        result.vt = VT_I2;
        break;
    default:
        // Flag words may be stored with or without their sign: the low 32 bits are the value.
        result.lVal = static_cast<std::int32_t>(integer(column, 0));
        result.vt = VT_I4;
        break;
    }
}

header_rows::header_rows(database& source)
{
    m_cursors.reserve(row_queries.size());
    for (const row_query& query : row_queries)
        m_cursors.emplace_back(source, query);
}

std::int32_t header_rows::count(rows id, const row_key& key)
{
    row_cursor& cursor = (*this)[id];
    if (!cursor.find(key))
        return 0;
    return static_cast<std::int32_t>(cursor.natural(0, std::numeric_limits<std::int32_t>::max() - 1)) + 1;
}

} // namespace cw::mediaforge
