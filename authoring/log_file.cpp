#include "authoring/log_file.h"

#include "authoring/error.h"
#include "authoring/log_database.h"
#include "formats/log_format.h"
#include "formats/media_format.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <mutex>
#include <set>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace cw::authoring {
namespace fs = std::filesystem;
namespace {

/// Behind every byte that the file will ever have, and far from those that SQLite locks.
constexpr off_t lock_place = off_t{1} << 62;
/// Beside the file, for a log that is being made.
constexpr std::string_view new_file_ending = ".cw-new";
/// How often names may change hands under the recorder before it gives up.
constexpr int most_attempts = 16;

[[noreturn]] void fail(const std::string& path, const std::string& what, int number)
{
    throw error(path + ": " + what + ": " + std::generic_category().message(number));
}

[[noreturn]] void fail_busy(const std::string& path)
{
    throw error(path + ": the log is being recorded by another program");
}

/// Locks belong to descriptors, but closing one takes away those of SQLite in the same process. So a
/// file that this process records already must be known before it is opened.
class recorded_files {
public:
    using identity = std::pair<dev_t, ino_t>;

    static bool add(const struct stat& file)
    {
        const std::lock_guard guard(mutex());
        return files().insert(identity(file.st_dev, file.st_ino)).second;
    }
    static void remove(const struct stat& file)
    {
        const std::lock_guard guard(mutex());
        files().erase(identity(file.st_dev, file.st_ino));
    }
    static bool has(const struct stat& file)
    {
        const std::lock_guard guard(mutex());
        return files().contains(identity(file.st_dev, file.st_ino));
    }

private:
    static std::mutex& mutex()
    {
        static std::mutex instance;
        return instance;
    }
    static std::set<identity>& files()
    {
        static std::set<identity> instance;
        return instance;
    }
};

bool is_same(const struct stat& left, const struct stat& right)
{
    return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

/// Whether the descriptor's file is the one that is found under the path.
bool is_in_place(int descriptor, const std::string& path)
{
    struct stat own {};
    struct stat found {};
    return ::fstat(descriptor, &own) == 0 && ::stat(path.c_str(), &found) == 0 && is_same(own, found);
}

/// Opens a file so that it cannot be mistaken for the standard input or output of a program that was
/// started without one, which would then be read from or written to the log.
int open_descriptor(const std::string& path, int flags, mode_t mode = 0)
{
    const int descriptor = ::open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, mode);
    if (descriptor < 0 || descriptor > STDERR_FILENO)
        return descriptor;
    const int moved = ::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int failure = errno;
    ::close(descriptor);
    errno = failure;
    return moved;
}

void hold(int descriptor, const std::string& path)
{
    struct flock range {};
    range.l_type = F_WRLCK;
    range.l_whence = SEEK_SET;
    range.l_start = lock_place;
    range.l_len = 1;
    if (::fcntl(descriptor, F_OFD_SETLK, &range) == 0)
        return;
    if (errno == EAGAIN || errno == EACCES)
        fail_busy(path);
    fail(path, "the log cannot be locked", errno);
}

void write_all(int descriptor, const formats::bytes& data, const std::string& path)
{
    for (std::size_t done = 0; done < data.size();) {
        const ssize_t written = ::pwrite(descriptor, data.data() + done, data.size() - done, static_cast<off_t>(done));
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            fail(path, "the log cannot be made", errno);
        done += static_cast<std::size_t>(written);
    }
    if (::fsync(descriptor) != 0)
        fail(path, "the log cannot be made", errno);
}

/// A name is only safe once its folder is. There are file systems that cannot do that.
void sync_folder(const fs::path& folder)
{
    const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return;
    ::fsync(descriptor);
    ::close(descriptor);
}

/// The name of what a database has beside itself until it is at rest; empty where there is nothing.
std::string file_beside(const std::string& path)
{
    for (const char* ending : {"-wal", "-journal"}) {
        struct stat found {};
        const std::string beside = path + ending;
        if (::lstat(beside.c_str(), &found) == 0)
            return fs::path(beside).filename().string();
    }
    return {};
}

/// It belongs to whatever bears the name, so another log must not get it.
void require_nothing_beside(const std::string& path)
{
    if (const std::string beside = file_beside(path); !beside.empty())
        throw error(path + ": no log can be put here while " + beside + " of another one lies beside");
}

/// Answers 0, or the number of the error.
int rename_to_free_name(const std::string& from, const std::string& to)
{
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return errno;
    // A file system that cannot do it in one step.
    if (::link(from.c_str(), to.c_str()) != 0)
        return errno;
    ::unlink(from.c_str());
    return 0;
}

std::uint32_t big_endian(const std::uint8_t* bytes)
{
    return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8 | bytes[3];
}

std::string resolved(const fs::path& path)
{
    std::error_code code;
    if (path.filename().empty() || path.filename() == "." || path.filename() == "..")
        throw error(path.string() + ": that is not the name of a file");
    const fs::path folder = fs::canonical(fs::absolute(path).parent_path(), code);
    if (code)
        throw error(path.string() + ": there is no such folder: " + code.message());
    const fs::path whole = folder / path.filename();
    if (!fs::is_symlink(fs::symlink_status(whole, code)))
        return whole.string();
    const fs::path target = fs::canonical(whole, code);
    if (code)
        throw error(path.string() + ": a link that leads nowhere");
    return target.string();
}

} // namespace

log_file::log_file(const fs::path& path) : m_path(resolved(path))
{
    try {
        for (int attempt = 0; attempt < most_attempts; ++attempt) {
            struct stat found {};
            if (::stat(m_path.c_str(), &found) != 0) {
                if (errno != ENOENT)
                    fail(m_path, "the log cannot be opened", errno);
                if (make(false))
                    return;
            } else if (S_ISDIR(found.st_mode)) {
                throw error(m_path + ": that is a folder");
            } else if (!S_ISREG(found.st_mode)) {
                throw error(m_path + ": that is no file");
            } else if (recorded_files::has(found)) {
                fail_busy(m_path);
            } else if (open_existing()) {
                return;
            }
            close();
        }
        throw error(m_path + ": the file is exchanged by another program again and again");
    } catch (...) {
        close();
        throw;
    }
}

log_file::~log_file()
{
    close();
}

void log_file::close() noexcept
{
    if (m_descriptor < 0)
        return;
    struct stat own {};
    if (std::exchange(m_isRegistered, false) && ::fstat(m_descriptor, &own) == 0)
        recorded_files::remove(own);
    ::close(std::exchange(m_descriptor, -1));
}

void log_file::require_in_place() const
{
    if (!is_in_place(m_descriptor, m_path))
        throw error(m_path + ": another file has taken the log's place");
}

/// False where the file was exchanged meanwhile.
bool log_file::open_existing()
{
    m_descriptor = open_descriptor(m_path, O_RDWR);
    if (m_descriptor < 0) {
        if (errno == ENOENT)
            return false;
        fail(m_path, "the log cannot be opened for recording", errno);
    }
    struct stat own {};
    if (::fstat(m_descriptor, &own) != 0)
        fail(m_path, "the log cannot be opened", errno);
    if (!S_ISREG(own.st_mode))
        return false;
    // Only a log is locked: nobody else's file is meddled with.
    if (own.st_size > 0)
        check_header(own.st_size);
    hold(m_descriptor, m_path);
    if (!is_in_place(m_descriptor, m_path))
        return false;
    if (own.st_size == 0) {
        const int empty_file = std::exchange(m_descriptor, -1);
        bool is_made = false;
        try {
            is_made = make(true);
        } catch (...) {
            ::close(empty_file);
            throw;
        }
        ::close(empty_file);
        return is_made;
    }
    m_isRegistered = recorded_files::add(own);
    if (!m_isRegistered)
        fail_busy(m_path);
    return true;
}

/// False where the name was taken meanwhile, or what is made under the other name by somebody else.
bool log_file::make(bool replace_empty)
{
    require_nothing_beside(m_path);
    const fs::path path(m_path);
    const std::string new_path =
        (path.parent_path() / ("." + path.filename().string() + std::string(new_file_ending))).string();
    m_descriptor = open_descriptor(new_path, O_RDWR | O_CREAT | O_NOFOLLOW, 0666);
    if (m_descriptor < 0)
        fail(m_path, "the log cannot be made", errno);
    // Who makes the file owns it from its first byte on, and its lock goes with it to its real name.
    // What a maker left that was killed is written over.
    hold(m_descriptor, m_path);
    struct stat own {};
    struct stat found {};
    if (::fstat(m_descriptor, &own) != 0 || !S_ISREG(own.st_mode) || own.st_nlink > 1)
        throw error(m_path + ": the log cannot be made: " + new_path + " is in the way");
    if (::lstat(new_path.c_str(), &found) != 0 || !is_same(own, found))
        return false;
    int failure = 0;
    try {
        if (::ftruncate(m_descriptor, 0) != 0)
            fail(m_path, "the log cannot be made", errno);
        if (replace_empty && ::stat(m_path.c_str(), &found) == 0 && ::fchmod(m_descriptor, found.st_mode & 07777) != 0)
            fail(m_path, "the log cannot be made", errno);
        write_all(m_descriptor, empty_log_image(), m_path);
        if (replace_empty)
            failure = ::stat(m_path.c_str(), &found) != 0 || found.st_size != 0 ? EEXIST
                      : ::rename(new_path.c_str(), m_path.c_str()) != 0         ? errno
                                                                                : 0;
        else
            failure = rename_to_free_name(new_path, m_path);
        if (failure != 0 && failure != EEXIST)
            fail(m_path, "the log cannot be made", failure);
    } catch (...) {
        ::unlink(new_path.c_str());
        throw;
    }
    if (failure != 0) {
        ::unlink(new_path.c_str());
        return false;
    }
    m_isRegistered = recorded_files::add(own);
    sync_folder(path.parent_path());
    return true;
}

void log_file::check_header(off_t size) const
{
    constexpr std::string_view magic("SQLite format 3\0", 16);
    constexpr std::size_t page_size_place = 16;
    constexpr std::size_t schema_version_place = 60;
    constexpr std::size_t application_id_place = 68;
    std::array<std::uint8_t, 100> header{};
    const ssize_t got = ::pread(m_descriptor, header.data(), header.size(), 0);
    if (got < 0)
        fail(m_path, "the log cannot be read", errno);
    const bool is_database =
        size >= static_cast<off_t>(header.size()) && got == static_cast<ssize_t>(header.size()) &&
        std::equal(magic.begin(), magic.end(), header.begin(),
                   [](char expected, std::uint8_t byte) { return static_cast<std::uint8_t>(expected) == byte; });
    const std::uint32_t application = big_endian(header.data() + application_id_place);
    if (is_database && application == static_cast<std::uint32_t>(formats::header_application_id))
        throw error(m_path + ": that is a setup media and no installation log");
    if (!is_database || application != static_cast<std::uint32_t>(formats::log_application_id))
        throw error(m_path + ": that is no installation log");
    const std::uint32_t version = big_endian(header.data() + schema_version_place);
    if (version > static_cast<std::uint32_t>(formats::log_schema_version))
        throw error(m_path + ": the log is of a newer form (" + std::to_string(version) + ") than can be recorded (" +
                    std::to_string(formats::log_schema_version) + ")");
    if (version == 0)
        throw error(m_path + ": the log is damaged: it has no version");
    // A recorder that was killed may leave half a page, and has the whole of it beside.
    const std::uint32_t page_size = std::uint32_t{header[page_size_place]} << 8 | header[page_size_place + 1];
    if (page_size > 1 && size % page_size != 0 && file_beside(m_path).empty())
        throw error(m_path + ": the log is damaged: its end is missing");
}

void put_into_place(const fs::path& from, const fs::path& to, bool replace)
{
    const std::string target = to.string();
    require_nothing_beside(target);
    struct stat found {};
    const bool is_there = ::lstat(target.c_str(), &found) == 0;
    if (is_there && S_ISDIR(found.st_mode))
        throw error(target + ": that is a folder");
    if (is_there && !S_ISREG(found.st_mode))
        throw error(target + ": that is no file");
    if (is_there && !replace)
        throw error(target + ": the file is there already");
    const int failure =
        is_there ? (::rename(from.c_str(), to.c_str()) != 0 ? errno : 0) : rename_to_free_name(from.string(), target);
    if (failure == EEXIST)
        throw error(target + ": the file is there already");
    if (failure != 0)
        fail(target, "the log cannot be put there", failure);
    sync_folder(to.parent_path());
}

} // namespace cw::authoring
