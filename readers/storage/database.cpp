#include "readers/storage/database.h"

#include "readers/storage/read_only_files.h"
#include "readers/storage/text.h"

#include <sodium.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <utility>

namespace cw::storage {
namespace {

constexpr int cache_size_in_kibibytes = 16 * 1024;
constexpr int longest_value_in_bytes = 128 * 1024 * 1024;
// One keyed look-up takes some dozens of instructions. A statement that has run for this long walks
// through tables whose keys are not what they should be.
constexpr int instructions_per_round = 1'000'000;
constexpr int most_rounds_per_step = 20;
constexpr int patience_with_locks_in_milliseconds = 2000;
constexpr int most_looks_for_a_writer = 10;
constexpr useconds_t pause_between_looks_in_microseconds = 10'000;

/// Bytes of a path that have a meaning in a URI are written as numbers.
std::string file_uri(const std::string& path, std::string_view parameters)
{
    std::string uri = "file:";
    for (const char c : path) {
        if (c == '%' || c == '?' || c == '#') {
            char number[4];
            std::snprintf(number, sizeof number, "%%%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
            uri += number;
        } else {
            uri += c;
        }
    }
    return uri.append(parameters);
}

} // namespace

statement::statement(database& owner, std::string_view sql) : m_owner(&owner)
{
    const int code = sqlite3_prepare_v3(owner.m_handle, sql.data(), static_cast<int>(sql.size()),
                                        SQLITE_PREPARE_PERSISTENT, &m_statement, nullptr);
    if (code != SQLITE_OK)
        owner.fail(code);
}

statement::statement(statement&& other) noexcept
    : m_owner(other.m_owner), m_statement(std::exchange(other.m_statement, nullptr))
{
}

statement& statement::operator=(statement&& other) noexcept
{
    std::swap(m_owner, other.m_owner);
    std::swap(m_statement, other.m_statement);
    return *this;
}

statement::~statement()
{
    sqlite3_finalize(m_statement);
}

void statement::bind(int parameter, std::int64_t value)
{
    sqlite3_bind_int64(m_statement, parameter, value);
}

void statement::bind(int parameter, double value)
{
    sqlite3_bind_double(m_statement, parameter, value);
}

void statement::bind(int parameter, std::string_view text)
{
    const int code =
        sqlite3_bind_text64(m_statement, parameter, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    if (code != SQLITE_OK)
        m_owner->fail(code);
}

void statement::bind_null(int parameter)
{
    sqlite3_bind_null(m_statement, parameter);
}

bool statement::step()
{
    m_owner->m_rounds = 0;
    const int code = sqlite3_step(m_statement);
    if (code == SQLITE_ROW || code == SQLITE_DONE) {
        m_owner->check_unchanged();
        return code == SQLITE_ROW;
    }
    m_owner->fail(code);
}

void statement::reset() noexcept
{
    // The code repeats that of the last step, which has been dealt with.
    (void)sqlite3_reset(m_statement);
}

int statement::type(int column) const noexcept
{
    return sqlite3_column_type(m_statement, column);
}

std::int64_t statement::integer(int column) const noexcept
{
    return sqlite3_column_int64(m_statement, column);
}

double statement::real(int column) const noexcept
{
    return sqlite3_column_double(m_statement, column);
}

std::string_view statement::text(int column) const
{
    const unsigned char* bytes = sqlite3_column_text(m_statement, column);
    if (!bytes) {
        if (type(column) != SQLITE_NULL)
            throw std::bad_alloc();
        return {};
    }
    return {reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column))};
}

formats::byte_view statement::blob(int column) const noexcept
{
    const void* bytes = sqlite3_column_blob(m_statement, column);
    return {static_cast<const std::uint8_t*>(bytes),
            bytes ? static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column)) : 0};
}

std::unique_ptr<database> database::open_file(const std::string& path, file_use use, fault_handler on_fault)
{
    std::unique_ptr<database> opened(new database(path, on_fault));
    constexpr int flags = SQLITE_OPEN_READONLY | SQLITE_OPEN_URI;
    opened->m_stamp = stamp_of(path);
    switch (use) {
    case file_use::shared:
        // An index of pending changes that a writer keeps is read, and none is made.
        opened->open(file_uri(path, "?mode=ro&readonly_shm=1"), flags, read_only_files(), use);
        break;
    case file_use::left_open:
        opened->m_logPath = path + "-wal";
        opened->m_logStamp = stamp_of(opened->m_logPath);
        opened->open(file_uri(path, "?mode=ro"), flags, read_only_files_without_locks(), use);
        opened->begin_reading();
        break;
    default:
        opened->open(file_uri(path, "?mode=ro&immutable=1"), flags, nullptr, use);
        opened->begin_reading();
        break;
    }
    return opened;
}

std::unique_ptr<database> database::open_copy(const std::string& copy, const std::string& path, fault_handler on_fault)
{
    std::unique_ptr<database> opened(new database(path, on_fault));
    opened->open(file_uri(copy, "?mode=rw"), SQLITE_OPEN_READWRITE | SQLITE_OPEN_URI, nullptr, file_use::own_copy);
    opened->begin_reading();
    // The transaction begins with its first look.
    opened->execute("SELECT 1 FROM sqlite_schema");
    return opened;
}

std::unique_ptr<database> database::open_image(formats::bytes image, const std::string& path, fault_handler on_fault)
{
    std::unique_ptr<database> opened(new database(path, on_fault));
    opened->m_image = std::move(image);
    opened->open(":memory:", SQLITE_OPEN_READWRITE, nullptr, file_use::frozen);
    const auto size = static_cast<sqlite3_int64>(opened->m_image.size());
    const int code =
        sqlite3_deserialize(opened->m_handle, "main", opened->m_image.data(), size, size, SQLITE_DESERIALIZE_READONLY);
    if (code != SQLITE_OK)
        opened->fail(code);
    opened->begin_reading();
    return opened;
}

std::unique_ptr<database> database::make_empty(const std::string& path, fault_handler on_fault)
{
    std::unique_ptr<database> made(new database(path, on_fault));
    made->open(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr, file_use::frozen);
    return made;
}

database::~database()
{
    // Statements are finalized before their database by their owners; close_v2 forgives an order
    // that an exception mixed up.
    sqlite3_finalize(m_firstLook);
    sqlite3_close_v2(m_handle);
    if (!m_image.empty())
        sodium_memzero(m_image.data(), m_image.size());
}

void database::open(const std::string& name, int flags, const char* files, file_use use)
{
    m_use = use;
    // All calls come on the thread that opened the database, so no statement needs a lock.
    const int code = sqlite3_open_v2(
        name.c_str(), &m_handle, flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE | SQLITE_OPEN_EXRESCODE, files);
    if (code != SQLITE_OK)
        fail(code);
    m_isOpen = true;
    sqlite3_busy_timeout(m_handle, patience_with_locks_in_milliseconds);
    // Pending changes are their writer's to bring in.
    sqlite3_db_config(m_handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    // Who is alone with a file has the index of pending changes in memory, where it needs no rights
    // beside the file. It must be said before the first look.
    if (use == file_use::left_open || use == file_use::own_copy)
        execute("PRAGMA locking_mode = EXCLUSIVE");
    sqlite3_db_config(m_handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(m_handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(m_handle, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
    sqlite3_db_config(m_handle, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_limit(m_handle, SQLITE_LIMIT_LENGTH, longest_value_in_bytes);
    sqlite3_limit(m_handle, SQLITE_LIMIT_ATTACHED, 0);
    sqlite3_progress_handler(m_handle, instructions_per_round, &count_work, this);
    // A sort of decrypted rows must not spill into a temporary file.
    execute("PRAGMA temp_store = MEMORY");
    execute("PRAGMA mmap_size = 0");
    execute("PRAGMA cell_size_check = ON");
    execute(("PRAGMA cache_size = -" + std::to_string(cache_size_in_kibibytes)).c_str());
}

void database::begin_reading()
{
    execute("PRAGMA query_only = ON");
    // Kept open for the life of the database: each look-up then spares its own locks and checks.
    execute("BEGIN");
}

void database::execute(const char* sql)
{
    m_rounds = 0;
    const int code = sqlite3_exec(m_handle, sql, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK)
        fail(code);
}

/// Pages that were read before are right for ever; one that comes from a file that was overwritten
/// since is not, and it is not known later which that was. A file that was put in the place of this
/// one does not matter: this one stays open.
void database::check_unchanged()
{
    if (m_stamp == file_stamp{} || m_use == file_use::shared)
        return;
    int pages_read = 0;
    int highest = 0;
    sqlite3_db_status(m_handle, SQLITE_DBSTATUS_CACHE_MISS, &pages_read, &highest, 0);
    if (pages_read != m_pagesRead) {
        m_pagesRead = pages_read;
        const auto is_overwritten = [](const file_stamp& then, const std::string& path) {
            const file_stamp now = stamp_of(path);
            return now.device == then.device && now.node == then.node && now != then;
        };
        m_isOverwritten |= is_overwritten(m_stamp, m_path);
        m_isOverwritten |= !m_logPath.empty() && is_overwritten(m_logStamp, m_logPath);
    }
    if (m_isOverwritten)
        raise(fault::overwritten);
}

/// A writer that comes or goes just now has told the file so and not yet made what it keeps beside, or
/// the other way round. It is a matter of a moment. Any other failure is met again by whoever reads.
bool database::finds_writer_away()
{
    m_rounds = 0;
    int code = SQLITE_OK;
    if (!m_firstLook)
        code = sqlite3_prepare_v3(m_handle, "SELECT 1 FROM sqlite_schema LIMIT 1", -1, SQLITE_PREPARE_PERSISTENT,
                                  &m_firstLook, nullptr);
    if (code == SQLITE_OK)
        code = sqlite3_step(m_firstLook);
    (void)sqlite3_reset(m_firstLook);
    return (code & 0xFF) == SQLITE_CANTOPEN;
}

void database::raise(fault what, std::u16string_view detail, int system_error) const
{
    m_onFault(what, m_path, detail, system_error);
    std::abort(); // a handler throws
}

void database::fail(int code) const
{
    const char* message = m_handle ? sqlite3_errmsg(m_handle) : sqlite3_errstr(code);
    const int system_error = m_handle ? sqlite3_system_errno(m_handle) : 0;
    switch (code & 0xFF) {
    case SQLITE_NOMEM:
        throw std::bad_alloc();
    case SQLITE_PERM:
    case SQLITE_AUTH:
        raise(fault::access_denied, {}, system_error);
    case SQLITE_CANTOPEN:
        // While a file is read it is the files beside it that are meant.
        if (m_isOpen && m_use != file_use::frozen)
            raise(fault::unreadable, u"what its writer keeps beside it is missing");
        if (!has_room_for(m_path))
            raise(fault::unreadable, {}, ENAMETOOLONG);
        raise(fault_of(system_error), {}, system_error);
    case SQLITE_IOERR:
        if (code != SQLITE_IOERR_SHORT_READ)
            raise(fault::unreadable, {}, system_error);
        break;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_PROTOCOL:
        raise(fault::locked, {}, system_error);
    case SQLITE_READONLY:
        raise(fault::unfinished, to_utf16(message));
    case SQLITE_INTERRUPT:
        raise(fault::contradiction, u"its tables lack the keys that they are read by");
    default:
        break;
    }
    raise(fault::damaged, to_utf16(message));
}

int database::count_work(void* self) noexcept
{
    return ++static_cast<database*>(self)->m_rounds > most_rounds_per_step;
}

reading::reading(database& source)
{
    if (source.m_use != file_use::shared)
        return;
    // A stamp from before the look: what is written in between is noticed the next time.
    const file_stamp now = stamp_of(source.path());
    if (now != source.m_stamp) {
        m_hasChanged = true;
        source.m_stamp = now;
        // Whoever did not write by way of the database library left no sign that its pages are old.
        sqlite3_db_release_memory(source.m_handle);
    }
    source.execute("BEGIN");
    for (int looks = 0; source.finds_writer_away() && looks < most_looks_for_a_writer; ++looks) {
        source.execute("ROLLBACK");
        ::usleep(pause_between_looks_in_microseconds);
        source.execute("BEGIN");
    }
    m_source = &source;
}

reading::~reading()
{
    if (!m_source)
        return;
    for (sqlite3_stmt* each = nullptr; (each = sqlite3_next_stmt(m_source->m_handle, each)) != nullptr;)
        sqlite3_reset(each);
    m_source->m_rounds = 0;
    // Nothing was written, so nothing can fail that matters.
    sqlite3_exec(m_source->m_handle, "ROLLBACK", nullptr, nullptr, nullptr);
}

} // namespace cw::storage
