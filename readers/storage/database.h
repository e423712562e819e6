// A file's database behind its statements: opened from a file or from an image in memory, hardened
// against hostile content, errors as the failures of the reader that opened it.
#pragma once

#include "formats/sealed.h"
#include "readers/storage/fault.h"
#include "readers/storage/file_stamp.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace cw::storage {

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

/// How a file is read.
enum class file_use {
    /// Nobody writes it: one transaction that stays open. Whoever does write it is noticed.
    frozen,
    /// Others may write it: locks are held within a `reading` and never between two.
    shared,
    /// Nobody writes it, but there are changes beside it that its last writer did not bring in: as
    /// `frozen`, and those changes count.
    left_open,
    /// A copy whose unfinished changes are undone first. It belongs to the caller alone, who may take
    /// it away once it is open.
    own_copy,
};

class database {
public:
    /// Opens a file. The caller has made sure that it is a regular file. All that fails raises
    /// `on_fault`.
    [[nodiscard]] static std::unique_ptr<database> open_file(const std::string& path, file_use use,
                                                             fault_handler on_fault);
    /// Opens the copy `copy` of the file `path`, which is named in errors.
    [[nodiscard]] static std::unique_ptr<database> open_copy(const std::string& copy, const std::string& path,
                                                             fault_handler on_fault);
    /// Opens an image, frozen likewise; `path` is named in errors. The image is wiped at the end.
    [[nodiscard]] static std::unique_ptr<database> open_image(formats::bytes image, const std::string& path,
                                                              fault_handler on_fault);
    /// An empty database in memory.
    [[nodiscard]] static std::unique_ptr<database> make_empty(const std::string& path, fault_handler on_fault);

    database(const database&) = delete;
    database& operator=(const database&) = delete;
    ~database();

    void execute(const char* sql);
    [[nodiscard]] const std::string& path() const noexcept { return m_path; }
    [[noreturn]] void raise(fault what, std::u16string_view detail = {}, int system_error = 0) const;

private:
    friend class statement;
    friend class reading;
    database(std::string path, fault_handler on_fault) : m_path(std::move(path)), m_onFault(on_fault) {}
    void open(const std::string& name, int flags, const char* files, file_use use);
    void begin_reading();
    void check_unchanged();
    [[nodiscard]] bool finds_writer_away();
    [[noreturn]] void fail(int code) const;
    static int count_work(void* self) noexcept;

    std::string m_path;
    fault_handler m_onFault;
    file_use m_use = file_use::frozen;
    sqlite3* m_handle = nullptr;
    sqlite3_stmt* m_firstLook = nullptr; // of those that a `reading` begins with
    bool m_isOpen = false;
    formats::bytes m_image;
    file_stamp m_stamp;    // of the file; nothing for what lies in memory
    std::string m_logPath; // changes that count beside a file left open
    file_stamp m_logStamp;
    int m_pagesRead = 0;
    bool m_isOverwritten = false;
    // Rounds of work that the statement being stepped has used up.
    int m_rounds = 0;
};

/// One look into a database that others may write: what is asked within it goes together, and at its
/// end no lock is left, whatever rows a statement still stood before. Nothing for other databases,
/// which stay as they are.
class reading {
public:
    explicit reading(database& source);
    ~reading();
    reading(const reading&) = delete;
    reading& operator=(const reading&) = delete;

    /// Whether anybody wrote the file since the last look.
    [[nodiscard]] bool file_has_changed() const noexcept { return m_hasChanged; }

private:
    database* m_source = nullptr;
    bool m_hasChanged = false;
};

} // namespace cw::storage
