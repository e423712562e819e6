#include "platform/posix_services.h"

#include "platform/last_error.h"
#include "platform/temp_folder.h"
#include "platform/utf8.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cw::platform {

namespace {

constexpr mode_t everybody = 0666; // what the umask leaves of it
constexpr mode_t owner_alone = S_IRUSR | S_IWUSR;

struct disposition_row {
    std::uint32_t disposition;
    int open_flags;
    bool empties;
};

constexpr std::array disposition_rows{
    disposition_row{create_new, O_CREAT | O_EXCL, false},
    disposition_row{create_always, O_CREAT, true},
    disposition_row{open_existing, 0, false},
    disposition_row{open_always, O_CREAT, false},
    disposition_row{truncate_existing, 0, true},
};

file_handle refuse(std::uint32_t code) noexcept
{
    set_last_error(code);
    return invalid_file_handle;
}

/// -1, which is no descriptor, for what is out of range.
int descriptor_of(file_handle file) noexcept
{
    return file >= 0 && file <= INT_MAX ? static_cast<int>(file) : -1;
}

/// The error of a failed operation on a descriptor. The same number of the system says that there is
/// no such file and that it was not opened for this.
bool fail(int descriptor, int error_number) noexcept
{
    if (error_number == EBADF && fcntl(descriptor, F_GETFD) >= 0)
        set_last_error(error_access_denied);
    else
        set_last_error_from_errno(error_number);
    return false;
}

/// Whether everybody may put files and links into the folder that an entry is in: the one for temporary
/// files, and each that is sticky and open to all, as such folders are.
bool is_among_strangers(const std::string& path) noexcept
{
    constexpr mode_t shared = S_ISVTX | S_IWOTH;
    const std::size_t name_start = path.rfind('/') + 1;
    const std::string parent = name_start == 0 ? "." : path.substr(0, name_start);
    struct stat here {};
    struct stat temp {};
    if (stat(parent.c_str(), &here) != 0)
        return false;
    return (here.st_mode & shared) == shared ||
           (stat(path_to_bytes(temp_folder_of_environment()).c_str(), &temp) == 0 && here.st_dev == temp.st_dev &&
            here.st_ino == temp.st_ino);
}

/// Keeps the signals of a failing write away from the thread: a pipe that nobody reads and the limit
/// for the size of a file are errors of that write, and no reason to end the process.
class writing_signals_held {
public:
    writing_signals_held() noexcept
    {
        sigset_t pending;
        sigemptyset(&m_held);
        sigpending(&pending);
        // One that is pending already is for somebody else to take.
        for (const int signal : {SIGPIPE, SIGXFSZ})
            if (sigismember(&pending, signal) == 0)
                sigaddset(&m_held, signal);
        pthread_sigmask(SIG_BLOCK, &m_held, &m_before);
    }
    ~writing_signals_held()
    {
        constexpr timespec at_once{};
        while (sigtimedwait(&m_held, nullptr, &at_once) > 0) {
        }
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }
    writing_signals_held(const writing_signals_held&) = delete;
    writing_signals_held& operator=(const writing_signals_held&) = delete;

private:
    sigset_t m_held;
    sigset_t m_before;
};

class posix_open_files final : public open_files {
public:
    // Sharing is not kept: on this system a file that is open is nobody's alone, and other programs
    // would not heed it. There is nothing to inherit or to take from a template either.
    file_handle create_file(const char16_t* path, std::uint32_t access, std::uint32_t, const void*,
                            std::uint32_t disposition, std::uint32_t, file_handle) noexcept override
    {
        const std::string name = path_to_bytes(path);
        if (name.empty())
            return refuse(error_path_not_found);
        const auto row = std::ranges::find(disposition_rows, disposition, &disposition_row::disposition);
        const bool writes = (access & generic_write) != 0;
        const bool reads = (access & generic_read) != 0;
        // Emptying a file is writing.
        if (row == disposition_rows.end() || (row->empties && !writes))
            return refuse(error_invalid_parameter);

        // Names in a folder that is everybody's can be guessed and taken. What is written under such a name
        // must reach a file of the user's own, and nobody else: no link is followed, and no file written
        // that somebody gave a second name there.
        const bool takes_care = writes && is_among_strangers(name);
        // O_NONBLOCK keeps a named pipe without a partner from being waited for. O_TRUNC is absent, so
        // that what is refused below is left as it is.
        const int flags = row->open_flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK |
                          (writes ? (reads ? O_RDWR : O_WRONLY) : O_RDONLY) | (takes_care ? O_NOFOLLOW : 0);
        const int file = open(name.c_str(), flags, takes_care ? owner_alone : everybody);
        struct stat status {};
        if (file < 0) {
            const int reason = errno;
            if (reason == EEXIST)
                return refuse(stat(name.c_str(), &status) == 0 && S_ISDIR(status.st_mode) ? error_access_denied
                                                                                          : error_file_exists);
            if (reason == ENOENT && (row->open_flags & O_CREAT) != 0)
                return refuse(error_path_not_found);
            return refuse(error_from_errno(reason));
        }

        std::uint32_t flaw = error_success;
        if (fstat(file, &status) != 0)
            flaw = error_from_errno(errno);
        else if (S_ISDIR(status.st_mode) || (takes_care && (status.st_uid != geteuid() || status.st_nlink > 1)))
            flaw = error_access_denied;
        else if ((row->empties && S_ISREG(status.st_mode) && ftruncate(file, 0) != 0) ||
                 fcntl(file, F_SETFL, flags & ~O_NONBLOCK) != 0)
            flaw = error_from_errno(errno);
        if (flaw == error_success)
            return file;
        ::close(file);
        return refuse(flaw);
    }

    bool read(file_handle file, void* buffer, std::uint32_t size_in_bytes,
              std::uint32_t* read_in_bytes) noexcept override
    {
        const int descriptor = descriptor_of(file);
        *read_in_bytes = 0;
        // In pieces, because the system reads no more than 2 GiB at once. A piece that is not full is the
        // last: the end of the file, or all that a pipe holds now.
        for (ssize_t count = longest_piece_in_bytes; count == longest_piece_in_bytes;) {
            const std::size_t wanted = std::min<std::size_t>(size_in_bytes - *read_in_bytes, longest_piece_in_bytes);
            do {
                count = ::read(descriptor, static_cast<char*>(buffer) + *read_in_bytes, wanted);
            } while (count < 0 && errno == EINTR);
            if (count < 0)
                return fail(descriptor, errno);
            *read_in_bytes += static_cast<std::uint32_t>(count);
        }
        return true;
    }

    bool write(file_handle file, const void* bytes, std::uint32_t size_in_bytes,
               std::uint32_t* written_in_bytes) noexcept override
    {
        const int descriptor = descriptor_of(file);
        *written_in_bytes = 0;
        const writing_signals_held held;
        // Asked once for nothing as well: that tells whether the file can be written at all.
        do {
            const ssize_t count = ::write(descriptor, static_cast<const char*>(bytes) + *written_in_bytes,
                                          size_in_bytes - *written_in_bytes);
            if (count < 0 && errno != EINTR)
                return fail(descriptor, errno);
            // What takes nothing now would be asked for ever.
            if (count == 0 && size_in_bytes != 0)
                return fail(descriptor, ENOSPC);
            if (count > 0)
                *written_in_bytes += static_cast<std::uint32_t>(count);
        } while (*written_in_bytes < size_in_bytes);
        return true;
    }

    std::uint32_t seek(file_handle file, std::int32_t distance, std::int32_t* distance_high,
                       std::uint32_t method) noexcept override
    {
        const int descriptor = descriptor_of(file);
        struct stat status {};
        std::int64_t target = 0;
        if (method == seek_current)
            target = lseek(descriptor, 0, SEEK_CUR);
        else if (method == seek_end)
            target = fstat(descriptor, &status) == 0 ? status.st_size : -1;
        else if (method != seek_begin)
            return fail_position(error_invalid_parameter);
        if (target < 0)
            return fail_position(error_from_errno(errno));

        const std::int64_t way = distance_high ? std::int64_t{*distance_high} * (std::int64_t{1} << 32) +
                                                     static_cast<std::uint32_t>(distance)
                                               : distance;
        if (__builtin_add_overflow(target, way, &target))
            return fail_position(error_invalid_parameter);
        if (target < 0)
            return fail_position(error_negative_seek);
        // Without a place for the high half the caller could not learn where it is.
        if (!distance_high && target > UINT32_MAX)
            return fail_position(error_invalid_parameter);
        // A pipe or a terminal has no position, and is at its start for whoever begins there.
        const bool is_start = method == seek_begin && target == 0;
        if (lseek(descriptor, target, SEEK_SET) < 0 && !(is_start && errno == ESPIPE))
            return fail_position(error_from_errno(errno));
        if (distance_high)
            *distance_high = static_cast<std::int32_t>(target >> 32);
        return low_half(target);
    }

    std::uint32_t size(file_handle file, std::uint32_t* size_high) noexcept override
    {
        struct stat status {};
        if (fstat(descriptor_of(file), &status) != 0)
            return fail_position(error_from_errno(errno));
        if (size_high)
            *size_high = static_cast<std::uint32_t>(status.st_size >> 32);
        return low_half(status.st_size);
    }

    bool close(file_handle file) noexcept override
    {
        const int descriptor = descriptor_of(file);
        // An interrupted close has closed: the number may be somebody else's already.
        return ::close(descriptor) == 0 || errno == EINTR || fail(descriptor, errno);
    }

private:
    static constexpr ssize_t longest_piece_in_bytes = 0x1000000;

    static std::uint32_t fail_position(std::uint32_t code) noexcept
    {
        set_last_error(code);
        return invalid_file_position;
    }

    static std::uint32_t low_half(std::int64_t position) noexcept
    {
        const auto low = static_cast<std::uint32_t>(position);
        if (low == invalid_file_position)
            set_last_error(error_success);
        return low;
    }
};

} // namespace

std::unique_ptr<open_files> make_posix_open_files()
{
    return std::make_unique<posix_open_files>();
}

} // namespace cw::platform
