#include "readers/storage/file_stamp.h"

#include <sys/stat.h>

namespace cw::storage {

file_stamp stamp_of(const std::string& path) noexcept
{
    struct stat status;
    if (::stat(path.c_str(), &status) != 0)
        return {};
    return {status.st_dev, status.st_ino, static_cast<std::uint64_t>(status.st_size),
            std::int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec};
}

} // namespace cw::storage
