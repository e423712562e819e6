// The database of a log while it is recorded: the connection, its journal, and prepared statements.
// Used by the recorder; docs/log-format.md tells what the tables hold.
#pragma once

#include "authoring/error.h"
#include "formats/sealed.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

struct sqlite3;
struct sqlite3_stmt;

namespace cw::authoring {

/// The file cannot be written or read as it ought to be; nothing is wrong with what was to be
/// recorded. What had been committed stands.
class log_storage_error : public error {
    using error::error;
};

/// A value of a column; a text is UTF-8 and borrowed until the statement was run.
using log_cell = std::variant<std::monostate, std::int64_t, double, std::string_view>;

class log_database;

/// A prepared statement. It belongs to a database, which must outlive it.
class log_statement {
public:
    /// Throws `log_storage_error` where the tables are not what the statement needs.
    log_statement(log_database& database, const std::string& text);
    ~log_statement();
    log_statement(log_statement&& other) noexcept;
    log_statement& operator=(log_statement&&) = delete;

    /// Binds the values, from the first place on.
    template <typename... Values>
    log_statement& with(const Values&... values)
    {
        int place = 0;
        (bind(++place, log_cell(values)), ...);
        return *this;
    }
    /// Places count from 1. Throws `error` for a text that no column can take.
    void bind(int place, const log_cell& value);

    /// Runs a statement that answers nothing. It can be bound again after that, whatever happened.
    void run();
    /// Moves on to the next row of an answer; false behind the last one, with the statement ready again.
    [[nodiscard]] bool next();
    /// Gives the rest of an answer up.
    void reset() noexcept;

    // Of the current row; columns count from 0.
    [[nodiscard]] bool is_null(int column) const noexcept;
    [[nodiscard]] std::int64_t integer(int column) const noexcept;
    [[nodiscard]] std::string text(int column) const;

private:
    log_database* m_database;
    sqlite3_stmt* m_statement = nullptr;
};

class log_database {
public:
    /// Opens a log that is there. Nothing of it is changed before `start_recording`.
    explicit log_database(const std::string& path);
    /// Gives up what was not committed.
    ~log_database();
    log_database(const log_database&) = delete;
    log_database& operator=(const log_database&) = delete;

    /// Chooses the journal that readers and a sudden end get along with. Where somebody keeps that from
    /// being chosen, recording goes on with the one that is there.
    void start_recording();
    /// Begins a transaction where none is open.
    void begin();
    /// Makes all since `begin` permanent; it is on the disk afterwards.
    void commit();
    /// Gives up all since `begin`.
    void roll_back() noexcept;
    /// Whether a transaction is open. A failure of the disk may have ended it.
    [[nodiscard]] bool is_in_transaction() const noexcept;
    /// Leaves one plain file as far as readers of the log let that be. To be called once nothing is
    /// uncommitted and no statement is left.
    void finish() noexcept;

    void run(const char* statement);

private:
    friend class log_statement;
    [[noreturn]] void fail(int result) const;

    std::string m_path;
    sqlite3* m_database = nullptr;
};

/// The file of a log in which nothing is recorded yet.
[[nodiscard]] formats::bytes empty_log_image();

} // namespace cw::authoring
