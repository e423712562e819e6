#include "readers/storage/read_only_files.h"

#include "readers/storage/database_prefix.h"
#include "readers/storage/file_stamp.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <new>
#include <vector>

namespace cw::storage {
namespace {

/// Files of the database library, less the ways to write.
class read_only_layer : public sqlite3_vfs {
public:
    explicit read_only_layer(const char* base)
        : m_base(sqlite3_vfs_find(base)),
          // Two libraries may both hold this code, and each may be unloaded without the other.
          m_name(std::string("read-only-") + base + "-" + std::to_string(reinterpret_cast<std::uintptr_t>(this)))
    {
        if (!m_base)
            throw std::bad_alloc();
        static_cast<sqlite3_vfs&>(*this) = *m_base;
        zName = m_name.c_str();
        pNext = nullptr;
        xOpen = &open;
        xDelete = &refuse_delete;
        if (sqlite3_vfs_register(this, 0) != SQLITE_OK)
            throw std::bad_alloc();
    }
    ~read_only_layer() { sqlite3_vfs_unregister(this); }
    read_only_layer(const read_only_layer&) = delete;
    read_only_layer& operator=(const read_only_layer&) = delete;

private:
    static int open(sqlite3_vfs* self, const char* name, sqlite3_file* file, int flags, int* flags_out)
    {
        constexpr int of_a_database = SQLITE_OPEN_MAIN_DB | SQLITE_OPEN_WAL | SQLITE_OPEN_MAIN_JOURNAL;
        constexpr int writing =
            SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_EXCLUSIVE | SQLITE_OPEN_DELETEONCLOSE;
        if (flags & of_a_database) {
            // Whoever opens a pipe waits for its other end.
            struct stat status;
            if (::stat(name, &status) == 0 && !S_ISREG(status.st_mode))
                return SQLITE_CANTOPEN;
            flags = (flags & ~writing) | SQLITE_OPEN_READONLY;
        }
        return static_cast<read_only_layer*>(self)->m_base->xOpen(self, name, file, flags, flags_out);
    }
    static int refuse_delete(sqlite3_vfs*, const char*, int) { return SQLITE_IOERR_DELETE; }

    sqlite3_vfs* m_base;
    std::string m_name;
};

read_only_layer& locking_layer()
{
    static read_only_layer layer("unix");
    return layer;
}

read_only_layer& unlocked_layer()
{
    static read_only_layer layer("unix-none");
    return layer;
}

/// A file of the library, open for reading as long as it lives.
class layer_file {
public:
    layer_file(const std::string& path, fault_handler on_fault)
        : m_path(path), m_onFault(on_fault), m_room(static_cast<std::size_t>(locking_layer().szOsFile))
    {
        // The library wants names of databases with an empty list of parameters behind them.
        m_name = sqlite3_create_filename(path.c_str(), "", "", 0, nullptr);
        if (!m_name)
            throw std::bad_alloc();
        int flags = SQLITE_OPEN_READONLY | SQLITE_OPEN_MAIN_DB;
        errno = 0;
        const int code = locking_layer().xOpen(&locking_layer(), m_name, file(), flags, &flags);
        const int system_error = errno;
        if (code != SQLITE_OK) {
            sqlite3_free_filename(m_name);
            on_fault(fault_of(system_error), path, {}, system_error);
        }
    }
    ~layer_file()
    {
        file()->pMethods->xClose(file());
        sqlite3_free_filename(m_name);
    }
    layer_file(const layer_file&) = delete;
    layer_file& operator=(const layer_file&) = delete;

    [[nodiscard]] file_look look()
    {
        file_look found;
        // The library takes a file of one byte for an empty one.
        found.size_in_bytes = stamp_of(m_path).size_in_bytes;
        found.first_bytes.resize(
            std::min<std::size_t>(database_prefix_size_in_bytes, static_cast<std::size_t>(found.size_in_bytes)));
        if (!found.first_bytes.empty())
            check(file()->pMethods->xRead(file(), found.first_bytes.data(), static_cast<int>(found.first_bytes.size()),
                                          0));
        found.is_locked = file()->pMethods->xLock(file(), SQLITE_LOCK_SHARED) == SQLITE_BUSY;
        file()->pMethods->xUnlock(file(), SQLITE_LOCK_NONE);
        return found;
    }

private:
    [[nodiscard]] sqlite3_file* file() noexcept { return reinterpret_cast<sqlite3_file*>(m_room.data()); }
    void check(int code)
    {
        // A file that was cut meanwhile is told as what it is then.
        if (code != SQLITE_OK && code != SQLITE_IOERR_SHORT_READ)
            m_onFault(fault::unreadable, m_path, {}, errno);
    }

    const std::string& m_path;
    fault_handler m_onFault;
    std::vector<std::max_align_t> m_room;
    const char* m_name = nullptr;
};

} // namespace

const char* read_only_files()
{
    return locking_layer().zName;
}

const char* read_only_files_without_locks()
{
    return unlocked_layer().zName;
}

bool has_room_for(const std::string& path) noexcept
{
    const sqlite3_vfs* const files = sqlite3_vfs_find(nullptr);
    return !files || path.size() < static_cast<std::size_t>(files->mxPathname);
}

file_look look_at(const std::string& path, fault_handler on_fault)
{
    return layer_file(path, on_fault).look();
}

} // namespace cw::storage
