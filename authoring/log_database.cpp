#include "authoring/log_database.h"

#include "formats/log_format.h"

#include <sqlite3.h>

#include <utility>

namespace cw::authoring {
namespace {

/// How long somebody who has the log locked is waited for.
constexpr int patience_ms = 10'000;
/// The same for the journal, without which recording goes on as well.
constexpr int patience_for_journal_ms = 1000;
/// The same at the end, where nothing depends on it: a viewer may keep the log open for days.
constexpr int patience_at_end_ms = 250;

} // namespace

log_statement::log_statement(log_database& database, const std::string& text) : m_database(&database)
{
    const int result = sqlite3_prepare_v3(database.m_database, text.c_str(), static_cast<int>(text.size()),
                                          SQLITE_PREPARE_PERSISTENT, &m_statement, nullptr);
    if (result != SQLITE_OK)
        database.fail(result);
}

log_statement::~log_statement()
{
    sqlite3_finalize(m_statement);
}

log_statement::log_statement(log_statement&& other) noexcept
    : m_database(other.m_database), m_statement(std::exchange(other.m_statement, nullptr))
{
}

void log_statement::bind(int place, const log_cell& value)
{
    struct binder {
        sqlite3_stmt* statement;
        int place;
        int operator()(std::monostate) const { return sqlite3_bind_null(statement, place); }
        int operator()(std::int64_t number) const { return sqlite3_bind_int64(statement, place, number); }
        int operator()(double number) const { return sqlite3_bind_double(statement, place, number); }
        int operator()(std::string_view text) const
        {
            // A null pointer would be a null value.
            return sqlite3_bind_text64(statement, place, text.data() != nullptr ? text.data() : "", text.size(),
                                       SQLITE_STATIC, SQLITE_UTF8);
        }
    };
    const int result = std::visit(binder{m_statement, place}, value);
    if (result != SQLITE_OK)
        m_database->fail(result);
}

void log_statement::run()
{
    const int result = sqlite3_step(m_statement);
    reset();
    if (result != SQLITE_DONE)
        m_database->fail(result);
}

bool log_statement::next()
{
    const int result = sqlite3_step(m_statement);
    if (result == SQLITE_ROW)
        return true;
    reset();
    if (result != SQLITE_DONE)
        m_database->fail(result);
    return false;
}

void log_statement::reset() noexcept
{
    sqlite3_reset(m_statement);
}

bool log_statement::is_null(int column) const noexcept
{
    return sqlite3_column_type(m_statement, column) == SQLITE_NULL;
}

std::int64_t log_statement::integer(int column) const noexcept
{
    return sqlite3_column_int64(m_statement, column);
}

std::string log_statement::text(int column) const
{
    const auto* data = reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
    return data != nullptr ? std::string(data, static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column)))
                           : std::string();
}

log_database::log_database(const std::string& path) : m_path(path)
{
    const int result = sqlite3_open_v2(path.c_str(), &m_database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    try {
        if (result != SQLITE_OK)
            fail(result);
        sqlite3_busy_timeout(m_database, patience_ms);
        // A log from elsewhere may bring triggers along; they are none of its tables.
        sqlite3_db_config(m_database, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
        sqlite3_db_config(m_database, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
        sqlite3_db_config(m_database, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
        // What a recorder left that was killed is only taken over once the log was found sound.
        sqlite3_db_config(m_database, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        run("PRAGMA synchronous = FULL");
        run("PRAGMA cell_size_check = ON");
    } catch (...) {
        sqlite3_close(m_database);
        throw;
    }
}

log_database::~log_database()
{
    sqlite3_close(m_database);
}

void log_database::fail(int result) const
{
    const std::string reason = m_database != nullptr ? sqlite3_errmsg(m_database) : sqlite3_errstr(result);
    switch (result & 0xFF) {
    case SQLITE_TOOBIG:
        throw error("a text is longer than a log can hold");
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        throw log_storage_error(m_path + ": another program has the log locked");
    case SQLITE_ERROR:
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
    case SQLITE_SCHEMA:
        throw log_storage_error(m_path + ": the log is damaged: " + reason);
    case SQLITE_CONSTRAINT:
        throw log_storage_error(m_path + ": another program has changed the log: " + reason);
    default:
        throw log_storage_error(m_path + ": the log cannot be written: " + reason);
    }
}

void log_database::run(const char* statement)
{
    const int result = sqlite3_exec(m_database, statement, nullptr, nullptr, nullptr);
    if (result != SQLITE_OK)
        fail(result);
}

void log_database::start_recording()
{
    sqlite3_db_config(m_database, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 0, nullptr);
    sqlite3_busy_timeout(m_database, patience_for_journal_ms);
    const int result = sqlite3_exec(m_database, "PRAGMA journal_mode = WAL", nullptr, nullptr, nullptr);
    sqlite3_busy_timeout(m_database, patience_ms);
    if (result != SQLITE_OK && result != SQLITE_BUSY && result != SQLITE_LOCKED)
        fail(result);
    // The journal is made with the first look. A log without one counts as recorded by nobody, and the
    // first line may be long in coming.
    run("SELECT 1 FROM sqlite_schema");
}

void log_database::begin()
{
    if (!is_in_transaction())
        run("BEGIN IMMEDIATE");
}

void log_database::commit()
{
    if (is_in_transaction())
        run("COMMIT");
}

void log_database::roll_back() noexcept
{
    if (is_in_transaction())
        sqlite3_exec(m_database, "ROLLBACK", nullptr, nullptr, nullptr);
}

bool log_database::is_in_transaction() const noexcept
{
    return sqlite3_get_autocommit(m_database) == 0;
}

void log_database::finish() noexcept
{
    sqlite3_busy_timeout(m_database, patience_at_end_ms);
    // Either is refused where a reader looks at the log just then. What it holds is as safe beside the
    // file as in it, and the next recorder brings it in.
    sqlite3_wal_checkpoint_v2(m_database, nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
    sqlite3_exec(m_database, "PRAGMA journal_mode = DELETE", nullptr, nullptr, nullptr);
}

formats::bytes empty_log_image()
{
    sqlite3* database = nullptr;
    sqlite3_open(":memory:", &database);
    const auto fail = [&]() {
        const error failure(std::string("no log can be made: ") +
                            (database != nullptr ? sqlite3_errmsg(database) : sqlite3_errstr(SQLITE_NOMEM)));
        sqlite3_close(database);
        throw failure;
    };
    std::string statements = "PRAGMA page_size = 4096; PRAGMA encoding = 'UTF-8';"
                             "PRAGMA application_id = " +
                             std::to_string(formats::log_application_id) +
                             "; PRAGMA user_version = " + std::to_string(formats::log_schema_version) + "; BEGIN;";
    for (const formats::log_table& table : formats::log_tables)
        statements += formats::create_statement(table) + ";";
    for (const formats::operation_table& table : formats::operation_tables) {
        statements += formats::create_statement(table) + ";";
        // The names are plain ASCII.
        statements +=
            "INSERT INTO operation_type (name) VALUES ('" + std::string(table.type.begin(), table.type.end()) + "');";
    }
    statements += "COMMIT";
    if (sqlite3_exec(database, statements.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
        fail();
    sqlite3_int64 size = 0;
    unsigned char* data = sqlite3_serialize(database, "main", &size, 0);
    if (data == nullptr)
        fail();
    formats::bytes image(data, data + size);
    sqlite3_free(data);
    sqlite3_close(database);
    return image;
}

} // namespace cw::authoring
