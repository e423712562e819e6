#include "platform/posix_services.h"

#include "platform/last_error.h"
#include "platform/utf8.h"

#include <cerrno>
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

namespace cw::platform {

namespace {

constexpr mode_t any_write_bit = S_IWUSR | S_IWGRP | S_IWOTH;

class posix_file_system final : public file_system {
public:
    std::uint32_t attributes(const char16_t* path) noexcept override
    {
        struct stat status {};
        if (*path == 0) {
            set_last_error(error_path_not_found);
            return invalid_file_attributes;
        }
        if (stat(path_to_bytes(path).c_str(), &status) != 0) {
            set_last_error_from_errno(errno);
            return invalid_file_attributes;
        }
        std::uint32_t found = 0;
        if (S_ISDIR(status.st_mode))
            found |= file_attribute_directory;
        if ((status.st_mode & any_write_bit) == 0)
            found |= file_attribute_read_only;
        return found ? found : file_attribute_normal;
    }

    std::uint32_t current_directory(char16_t* target, std::uint32_t room) noexcept override
    {
        char* bytes = getcwd(nullptr, 0);
        if (!bytes) {
            set_last_error_from_errno(errno);
            return 0;
        }
        const std::u16string path = path_from_bytes(bytes);
        std::free(bytes);
        if (path.size() >= room) {
            set_last_error(error_insufficient_buffer);
            return 0;
        }
        path.copy(target, path.size());
        target[path.size()] = 0;
        return static_cast<std::uint32_t>(path.size());
    }

    bool set_current_directory(const char16_t* path) noexcept override
    {
        if (chdir(path_to_bytes(path).c_str()) == 0)
            return true;
        set_last_error_from_errno(errno);
        return false;
    }

    bool delete_file(const char16_t* path) noexcept override
    {
        if (unlink(path_to_bytes(path).c_str()) == 0)
            return true;
        set_last_error_from_errno(errno);
        return false;
    }
};

} // namespace

std::unique_ptr<file_system> make_posix_file_system()
{
    return std::make_unique<posix_file_system>();
}

} // namespace cw::platform
