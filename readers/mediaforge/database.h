// A header's database behind its statements: opened from a file that nobody writes or from an image
// in memory, hardened against hostile content, errors as `media_failure`.
#pragma once

#include "formats/sealed.h"
#include "readers/mediaforge/file_stamp.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace cw::mediaforge {

class database;

/// A prepared statement. Views that it answers are valid until it steps or resets.
class statement {
public:
    statement() noexcept = default;
    statement(database& owner, std::string_view sql);
    statement(statement&& other) noexcept;
    statement& operator=(statement&& other) noexcept;
    ~statement();

    void bind(int parameter, std::int64_t value);
    void bind(int parameter, double value);
    void bind(int parameter, std::string_view text);
    void bind_null(int parameter);
    /// Goes to the next row; false behind the last one.
    bool step();
    void reset() noexcept;

    [[nodiscard]] int type(int column) const noexcept; // SQLITE_INTEGER, …
    [[nodiscard]] std::int64_t integer(int column) const noexcept;
    [[nodiscard]] double real(int column) const noexcept;
    [[nodiscard]] std::string_view text(int column) const;
    [[nodiscard]] formats::byte_view blob(int column) const noexcept;

private:
    database* m_owner = nullptr;
    sqlite3_stmt* m_statement = nullptr;
};

class database {
public:
    /// Opens a header file read-only in one transaction that stays open. The caller has made sure
    /// that it is a regular file.
    [[nodiscard]] static std::unique_ptr<database> open_file(const std::string& path);
    /// Opens an image, read-only likewise; `path` is named in errors. The image is wiped at the end.
    [[nodiscard]] static std::unique_ptr<database> open_image(formats::bytes image, const std::string& path);
    /// An empty database in memory, for media that have no header.
    [[nodiscard]] static std::unique_ptr<database> make_empty(const std::string& path);

    database(const database&) = delete;
    database& operator=(const database&) = delete;
    ~database();

    void execute(const char* sql);
    [[nodiscard]] const std::string& path() const noexcept { return m_path; }

private:
    friend class statement;
    explicit database(std::string path) : m_path(std::move(path)) {}
    void open(const std::string& name, int flags);
    void begin_reading();
    void check_unchanged();
    [[noreturn]] void fail(int code) const;
    static int count_work(void* self) noexcept;

    std::string m_path;
    sqlite3* m_handle = nullptr;
    formats::bytes m_image;
    file_stamp m_stamp; // of the file; nothing for what lies in memory
    int m_pagesRead = 0;
    bool m_isOverwritten = false;
    // Rounds of work that the statement being stepped has used up.
    int m_rounds = 0;
};

} // namespace cw::mediaforge
