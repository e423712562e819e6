#include "bench/plain_cursor.h"

#include <sqlite3.h>

#include <stdexcept>

namespace cw::bench {

plain_cursor::plain_cursor(const std::filesystem::path& database, const std::string& select)
{
    const std::string uri = "file:" + database.string() + "?immutable=1";
    if (sqlite3_open_v2(uri.c_str(), &m_database, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr) != SQLITE_OK ||
        sqlite3_exec(m_database, "BEGIN", nullptr, nullptr, nullptr) != SQLITE_OK ||
        sqlite3_prepare_v2(m_database, select.c_str(), -1, &m_statement, nullptr) != SQLITE_OK)
        throw std::runtime_error(database.string() + ": " + sqlite3_errmsg(m_database));
}

plain_cursor::~plain_cursor()
{
    sqlite3_finalize(m_statement);
    sqlite3_close(m_database);
}

} // namespace cw::bench
