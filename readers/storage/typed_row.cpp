#include "readers/storage/typed_row.h"

#include "readers/storage/text.h"

#include <sqlite3.h>

#include <cmath>

namespace cw::storage {
namespace {

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

void typed_row::contradict(std::u16string_view what) const
{
    std::u16string detail = u"table " + to_utf16(m_table);
    detail.append(u", ").append(what);
    m_source->raise(fault::contradiction, detail);
}

std::int64_t typed_row::integer(unsigned column, std::optional<std::int64_t> null_value) const
{
    const int stored = type(column);
    if (stored == SQLITE_NULL && null_value)
        return *null_value;
    if (stored != SQLITE_INTEGER)
        contradict(std::u16string(storage_name(stored)).append(u" stands where an integer belongs"));
    return m_statement.integer(static_cast<int>(column));
}

std::int64_t typed_row::natural(unsigned column, std::int64_t largest) const
{
    const std::int64_t value = integer(column);
    if (value < 0 || value > largest)
        contradict(u"the number " + to_utf16(std::to_string(value)) + u" is out of range");
    return value;
}

double typed_row::real(unsigned column) const
{
    const int stored = type(column);
    const double value = m_statement.real(static_cast<int>(column));
    if ((stored != SQLITE_FLOAT && stored != SQLITE_INTEGER) || !std::isfinite(value))
        contradict(std::u16string(storage_name(stored)).append(u" stands where a finite real belongs"));
    return value;
}

std::string_view typed_row::text(unsigned column) const
{
    const int stored = type(column);
    if (stored != SQLITE_TEXT && stored != SQLITE_NULL)
        contradict(std::u16string(storage_name(stored)).append(u" stands where a text belongs"));
    return any_text(column);
}

std::string_view typed_row::any_text(unsigned column) const
{
    return m_statement.text(static_cast<int>(column));
}

bool typed_row::is_null(unsigned column) const noexcept
{
    return type(column) == SQLITE_NULL;
}

formats::byte_view typed_row::blob(unsigned column) const
{
    const int stored = type(column);
    if (stored != SQLITE_BLOB && stored != SQLITE_NULL)
        contradict(std::u16string(storage_name(stored)).append(u" stands where bytes belong"));
    return m_statement.blob(static_cast<int>(column));
}

} // namespace cw::storage
