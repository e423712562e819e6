#include "readers/mediaforge/header_rows.h"

#include "readers/mediaforge/errors.h"
#include "readers/storage/text.h"

#include <sqlite3.h>

#include <algorithm>
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

} // namespace

row_cursor::row_cursor(storage::database& source, const row_query& query)
    // The source begins with the table's name.
    : typed_row(source, query.source.substr(0, query.source.find(' ')), select_statement(query)), m_query(&query)
{
}

void row_cursor::ask_for(const row_key& key)
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
    ask_for(key);
    settle();
    return m_state == state::found;
}

bool row_cursor::find(const row_key& key, std::string_view text)
{
    ask_for(key);
    m_statement.bind(static_cast<int>(m_query->parameters), text);
    const bool found = m_statement.step();
    // The key does not tell the text, so this row answers no later question.
    m_state = state::unasked;
    return found;
}

void row_cursor::rewind(const row_key& key)
{
    ask_for(key);
}

void row_cursor::member(unsigned index, VARIANT& result) const
{
    const unsigned column = m_query->own_count + index;
    switch (m_query->members[index].member.type) {
    case VT_BSTR: {
        const std::string_view value = text(column);
        result.bstrVal = is_null(column) ? nullptr : storage::to_bstr(value).detach();
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

header_rows::header_rows(storage::database& source)
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
