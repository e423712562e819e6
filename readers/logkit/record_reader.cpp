#include "readers/logkit/record_reader.h"

#include "readers/logkit/errors.h"
#include "readers/storage/stored_value.h"
#include "readers/storage/text.h"

#include <sqlite3.h>

#include <algorithm>
#include <limits>

namespace cw::logkit {
namespace {

using automation::variant;
using storage::typed_row;

// Many enough that a look costs little a record, few enough that they lie in the nearest memory.
constexpr std::size_t most_records_ahead = 256;
constexpr std::size_t most_values_ahead = 8192;
constexpr std::size_t most_bytes_ahead = 1024 * 1024;

/// What the numbers of a column may be, and what a recorder meant who did not say.
struct number_rule {
    std::string_view column;
    std::int64_t lowest;
    std::int64_t highest;
    std::int16_t unsaid;
};
constexpr auto number_rules = std::to_array<number_rule>({
    {"hive", std::numeric_limits<std::int16_t>::min(), std::numeric_limits<std::int16_t>::max(), -1},
    {"assembly_type", formats::lowest_assembly_type, formats::highest_assembly_type, 0},
});

void store_number(const typed_row& row, unsigned column, std::string_view name, VARIANT& value)
{
    const auto rule = std::ranges::find(number_rules, name, &number_rule::column);
    const std::int64_t number = row.integer(column, rule->unsaid);
    if (number < rule->lowest || number > rule->highest)
        row.contradict(u"the " + storage::to_utf16(name) + u" " + storage::to_utf16(std::to_string(number)) +
                       u" is out of range");
    value.iVal = static_cast<std::int16_t>(number);
    value.vt = VT_I2;
}

/// What was not recorded is empty, and never a null text: in reports that would read as "False".
void store_text(const typed_row& row, unsigned column, VARIANT& value)
{
    value.bstrVal = storage::to_bstr(row.is_null(column) ? std::string_view() : row.any_text(column)).detach();
    value.vt = VT_BSTR;
}

/// As it was recorded; whoever shows it converts it.
void store_converted(const typed_row& row, unsigned column, VARIANT& value)
{
    switch (row.type(column)) {
    case SQLITE_INTEGER: {
        const std::int64_t number = row.integer(column);
        value.llVal = number;
        value.vt = VT_I8;
        if (number >= std::numeric_limits<std::int32_t>::min() && number <= std::numeric_limits<std::int32_t>::max()) {
            value.lVal = static_cast<std::int32_t>(number);
            value.vt = VT_I4;
        }
        break;
    }
    case SQLITE_FLOAT:
        value.dblVal = row.real(column);
        value.vt = VT_R8;
        break;
    default:
        store_text(row, column, value);
        break;
    }
}

void store_element(const typed_row& row, unsigned column, const formats::record_column& described, VARIANT& value)
{
    switch (described.element.form) {
    case log_element_form::text:
        store_text(row, column, value);
        break;
    case log_element_form::flag:
        value.boolVal = row.integer(column, 0) != 0 ? VARIANT_TRUE : VARIANT_FALSE;
        value.vt = VT_BOOL;
        break;
    case log_element_form::number:
        store_number(row, column, described.name, value);
        break;
    case log_element_form::converted_text:
        store_converted(row, column, value);
        break;
    }
}

std::size_t size_of(const VARIANT& value) noexcept
{
    return value.vt == VT_BSTR ? SysStringByteLen(value.bstrVal) : 0;
}

} // namespace

record_reader::record_reader(log_handle log, std::int64_t feature, std::u16string_view type)
    : m_log(std::move(log)), m_queries(&m_log->operations(type)), m_feature(feature), m_type(m_log->type_id(type)),
      m_typeName(type)
{
}

bool record_reader::reads_ahead(LONG position) const noexcept
{
    return position == m_next && position - m_first < static_cast<LONG>(m_ends.size());
}

bool record_reader::is_empty()
{
    return !(m_type && m_log->tells_of_operations(m_feature, *m_type)) && count() == 0;
}

LONG record_reader::count()
{
    if (reads_ahead(m_next))
        return m_count;
    if (!m_queries->table && !m_type)
        return 0;
    const look now(*m_log);
    typed_row& last = m_queries->last;
    if (m_queries->table)
        last.ask(m_feature);
    else
        last.ask(m_feature, *m_type);
    m_count = last.step() ? static_cast<LONG>(last.natural(0, formats::largest_log_position)) + 1 : 0;
    if (m_count == 0 && m_type && m_log->tells_of_operations(m_feature, *m_type))
        last.contradict(u"operations that the log tells of are not there");
    return m_count;
}

std::span<variant> record_reader::read(LONG position)
{
    if (!reads_ahead(position))
        read_from(position);
    const auto at = static_cast<std::size_t>(position - m_first);
    const std::size_t begin = at == 0 ? 0 : m_ends[at - 1];
    m_next = position + 1;
    return std::span(m_values).subspan(begin, m_ends[at] - begin);
}

void record_reader::read_from(LONG position)
{
    m_values.clear();
    m_ends.clear();
    m_sizeInBytes = 0;
    const LONG count_now = position < 0 ? 0 : count();
    if (position < 0 || position >= count_now)
        throw log_failure(error_number::no_such_item, m_log->path(),
                          u"record at position " + storage::to_utf16(std::to_string(position)) + u" of " + m_typeName);
    const look now(*m_log);
    typed_row& from = m_queries->from;
    if (m_queries->table)
        from.ask(m_feature, position);
    else
        from.ask(m_feature, *m_type, position);
    m_hasSurplusRow = false;
    if (m_type) {
        m_log->elements().ask(*m_type, m_feature, position);
        m_hasSurplusRow = m_log->elements().step();
    }
    m_first = m_next = position;
    try {
        while (m_ends.size() < most_records_ahead && m_values.size() < most_values_ahead &&
               m_sizeInBytes < most_bytes_ahead && from.step()) {
            const std::int64_t found = from.integer(0);
            if (found != m_first + static_cast<std::int64_t>(m_ends.size()))
                from.contradict(u"the positions have a gap");
            add_columns();
            add_surplus(found);
            m_ends.push_back(m_values.size());
        }
        if (m_ends.empty())
            from.contradict(u"the positions have a gap");
    } catch (...) {
        // What was read before the fault is right and can be had; a second try meets the fault itself.
        if (m_ends.empty())
            throw;
        m_values.resize(m_ends.back());
    }
}

void record_reader::add_columns()
{
    if (!m_queries->table)
        return;
    unsigned column = 0;
    for (const formats::record_column& described : m_queries->table->columns) {
        variant& value = m_values.emplace_back();
        store_element(m_queries->from, ++column, described, value);
        m_sizeInBytes += size_of(value);
    }
}

void record_reader::add_surplus(std::int64_t operation)
{
    typed_row& elements = m_log->elements();
    std::int64_t expected = 0;
    for (; m_hasSurplusRow && elements.integer(0) <= operation; m_hasSurplusRow = elements.step()) {
        // Elements of an operation that is not there belong to nothing.
        if (elements.integer(0) < operation)
            continue;
        if (elements.natural(1, formats::largest_log_position) != expected++)
            elements.contradict(u"the positions have a gap");
        variant& value = m_values.emplace_back(
            storage::scalar_value(elements, static_cast<VARTYPE>(elements.natural(2, UINT16_MAX)), 3));
        m_sizeInBytes += size_of(value);
    }
}

} // namespace cw::logkit
