// The plain way to read a database of ours, which benchmarks compare with: one statement over a
// connection that knows that nobody writes.
#pragma once

#include <filesystem>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

namespace cw::bench {

class plain_cursor {
public:
    /// Throws std::runtime_error where the database cannot be read; a benchmark ends with it.
    plain_cursor(const std::filesystem::path& database, const std::string& select);
    ~plain_cursor();
    plain_cursor(const plain_cursor&) = delete;
    plain_cursor& operator=(const plain_cursor&) = delete;

    /// Never null.
    [[nodiscard]] sqlite3_stmt* statement() const noexcept { return m_statement; }

private:
    sqlite3* m_database = nullptr;
    sqlite3_stmt* m_statement = nullptr;
};

} // namespace cw::bench
