#include "platform/last_error.h"

#include <algorithm>
#include <array>
#include <cerrno>

namespace cw::platform {

namespace {

thread_local std::uint32_t last_error = error_success;

constexpr std::uint32_t error_general_failure = 31;

struct errno_row {
    int error_number;
    std::uint32_t code;
};

constexpr std::array errno_rows{
    errno_row{0, error_success},
    errno_row{EPERM, error_access_denied},
    errno_row{ENOENT, error_file_not_found},
    errno_row{EINTR, 995},
    errno_row{EIO, 1117},
    errno_row{ENXIO, 20},
    errno_row{E2BIG, 87},
    errno_row{ENOEXEC, error_bad_format},
    errno_row{EBADF, error_invalid_handle},
    errno_row{EAGAIN, 33},
    errno_row{ENOMEM, error_not_enough_memory},
    errno_row{EACCES, error_access_denied},
    errno_row{EBUSY, 170},
    errno_row{EEXIST, error_already_exists},
    errno_row{EXDEV, 17},
    errno_row{ENODEV, 20},
    errno_row{ENOTDIR, error_path_not_found},
    errno_row{EISDIR, error_access_denied},
    errno_row{EINVAL, error_invalid_parameter},
    errno_row{ENFILE, error_too_many_open_files},
    errno_row{EMFILE, error_too_many_open_files},
    errno_row{ETXTBSY, error_sharing_violation},
    errno_row{EFBIG, 223},
    errno_row{ENOSPC, error_disk_full},
    errno_row{ESPIPE, 25},
    errno_row{EROFS, 19},
    errno_row{EMLINK, 1142},
    errno_row{EPIPE, 109},
    errno_row{ERANGE, error_insufficient_buffer},
    errno_row{ENAMETOOLONG, 206},
    errno_row{ENOSYS, 120},
    errno_row{ENOTEMPTY, 145},
    errno_row{ELOOP, 1921},
    errno_row{EOVERFLOW, error_arithmetic_overflow},
    errno_row{ENOTSUP, 50},
    errno_row{ETIMEDOUT, 1460},
    errno_row{EDQUOT, error_disk_full},
    errno_row{ECANCELED, 995},
};

} // namespace

std::uint32_t get_last_error() noexcept
{
    return last_error;
}

void set_last_error(std::uint32_t code) noexcept
{
    last_error = code;
}

std::uint32_t error_from_errno(int error_number) noexcept
{
    const auto row = std::ranges::find(errno_rows, error_number, &errno_row::error_number);
    return row == errno_rows.end() ? error_general_failure : row->code;
}

void set_last_error_from_errno(int error_number) noexcept
{
    set_last_error(error_from_errno(error_number));
}

} // namespace cw::platform
