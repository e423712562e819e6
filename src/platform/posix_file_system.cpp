#include "platform/posix_services.h"

#include "platform/last_error.h"
#include "platform/path_style.h"
#include "platform/temp_folder.h"
#include "platform/utf8.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cw::platform {

namespace {

constexpr mode_t any_write_bit = S_IWUSR | S_IWGRP | S_IWOTH;
constexpr mode_t everybody = 0777; // what the umask leaves of it
constexpr mode_t owner_alone = S_IRUSR | S_IWUSR;

// A search is over when it begins: a name stands for one entry. So there is nothing to keep open.
constexpr file_handle finished_search = 1;

constexpr std::uint32_t highest_chosen_number = 0xFFFF;
constexpr std::uint64_t ticks_per_second = 10'000'000;
constexpr std::int64_t seconds_from_1601_to_1970 = 11'644'473'600;

std::uint32_t attributes_of(const struct stat& status) noexcept
{
    std::uint32_t found = 0;
    if (S_ISDIR(status.st_mode))
        found |= file_attribute_directory;
    if ((status.st_mode & any_write_bit) == 0)
        found |= file_attribute_read_only;
    return found ? found : file_attribute_normal;
}

std::uint64_t file_time_of(const timespec& time) noexcept
{
    return static_cast<std::uint64_t>(time.tv_sec + seconds_from_1601_to_1970) * ticks_per_second +
           static_cast<std::uint64_t>(time.tv_nsec) / 100;
}

struct folder_closer {
    void operator()(DIR* folder) const noexcept { closedir(folder); }
};

bool fail(std::uint32_t code) noexcept
{
    set_last_error(code);
    return false;
}

/// Where an entry is made or listed, what is missing is the folder above it.
bool fail_in_folder(int error_number) noexcept
{
    return fail(error_number == ENOENT ? error_path_not_found : error_from_errno(error_number));
}

std::uint32_t copy_whole(std::u16string_view text, char16_t* target, std::uint32_t room) noexcept
{
    if (text.size() >= room)
        return fail(error_insufficient_buffer);
    text.copy(target, text.size());
    target[text.size()] = 0;
    return static_cast<std::uint32_t>(text.size());
}

std::u16string temp_name(std::u16string_view stem, std::uint32_t number)
{
    char digits[9];
    const int count = std::snprintf(digits, sizeof digits, "%X", number);
    std::u16string name(stem);
    name.append(digits, digits + count);
    return name + u".tmp";
}

/// Whether something is there that is not for deleting by its name: what is no file, such as a device,
/// and a file that is read-only to the user, whatever may be done in its folder. A link is deleted and
/// not followed.
bool is_kept_from_deletion(const char* name) noexcept
{
    struct stat status {};
    if (lstat(name, &status) != 0 || S_ISLNK(status.st_mode))
        return false;
    return !S_ISREG(status.st_mode) || (status.st_mode & any_write_bit) == 0 ||
           faccessat(AT_FDCWD, name, W_OK, AT_EACCESS) != 0;
}

/// Like `stat`; a link that leads nowhere or in a circle stands for itself, because it takes its name.
bool stat_name(const char* name, struct stat& status) noexcept
{
    if (stat(name, &status) == 0)
        return true;
    const int reason = errno;
    const bool leads_nowhere = reason == ENOENT || reason == ENOTDIR || reason == ELOOP;
    if (leads_nowhere && lstat(name, &status) == 0)
        return true;
    errno = reason;
    return false;
}

/// Where a search for a free number begins, so that searches seldom meet: 1 to `highest_chosen_number`.
/// Without random bytes they meet more often, and that is all.
std::uint32_t first_chosen_number() noexcept
{
    std::uint16_t random = 0;
    if (getrandom(&random, sizeof random, 0) != ssize_t{sizeof random})
        random = 0;
    return random % highest_chosen_number + 1;
}

// Paths have names below: the end of a temporary one could change `errno` before it is read.
class posix_file_system final : public file_system {
public:
    std::uint32_t attributes(const char16_t* path) noexcept override
    {
        struct stat status {};
        if (*path == 0) {
            set_last_error(error_path_not_found);
            return invalid_file_attributes;
        }
        const std::string name = path_to_bytes(path);
        if (!stat_name(name.c_str(), status)) {
            set_last_error_from_errno(errno);
            return invalid_file_attributes;
        }
        return attributes_of(status);
    }

    std::uint32_t current_directory(char16_t* target, std::uint32_t room) noexcept override
    {
        char* bytes = getcwd(nullptr, 0);
        if (!bytes)
            return fail(error_from_errno(errno));
        const std::u16string path = path_from_bytes(bytes);
        std::free(bytes);
        return copy_whole(path, target, room);
    }

    bool set_current_directory(const char16_t* path) noexcept override
    {
        const std::string name = path_to_bytes(path);
        return chdir(name.c_str()) == 0 || fail(error_from_errno(errno));
    }

    bool delete_file(const char16_t* path) noexcept override
    {
        const std::string name = path_to_bytes(path);
        return (!is_kept_from_deletion(name.c_str()) || fail(error_access_denied)) &&
               (unlink(name.c_str()) == 0 || fail(error_from_errno(errno)));
    }

    bool create_folder(const char16_t* path) noexcept override
    {
        const std::string name = path_to_bytes(path);
        return mkdir(name.c_str(), everybody) == 0 || fail_in_folder(errno);
    }

    file_handle find_first_file(const char16_t* path, find_data* found) noexcept override
    {
        const std::string whole = path_to_bytes(path);
        const std::size_t name_start = whole.rfind('/') + 1;
        const std::string name = whole.substr(name_start);
        const std::string parent = name_start == 0 ? "." : whole.substr(0, name_start);

        const std::unique_ptr<DIR, folder_closer> folder(opendir(parent.c_str()));
        if (!folder) {
            fail_in_folder(errno);
            return invalid_file_handle;
        }
        const dirent* entry = nullptr;
        do {
            errno = 0;
            entry = readdir(folder.get());
        } while (entry && name != entry->d_name);
        if (!entry) {
            fail(errno ? error_from_errno(errno) : error_file_not_found);
            return invalid_file_handle;
        }

        *found = {};
        struct stat status {};
        if (fstatat(dirfd(folder.get()), entry->d_name, &status, 0) == 0) {
            const auto size_in_bytes = static_cast<std::uint64_t>(S_ISREG(status.st_mode) ? status.st_size : 0);
            found->attributes = attributes_of(status);
            found->last_access_time = file_time_of(status.st_atim);
            found->last_write_time = file_time_of(status.st_mtim);
            found->size_high = static_cast<std::uint32_t>(size_in_bytes >> 32);
            found->size_low = static_cast<std::uint32_t>(size_in_bytes);
        } else {
            // The entry is out of reach, or a link to something that is; the listing knows its kind.
            found->attributes = entry->d_type == DT_DIR ? file_attribute_directory : file_attribute_normal;
        }
        path_from_bytes(entry->d_name).copy(found->file_name, path_room - 1);
        return finished_search;
    }

    bool find_close(file_handle search) noexcept override
    {
        return search == finished_search || fail(error_invalid_handle);
    }

    std::uint32_t temp_folder(char16_t* target, std::uint32_t room) noexcept override
    {
        return copy_whole(temp_folder_of_environment(), target, room);
    }

    std::uint32_t temp_file_name(const char16_t* folder, const char16_t* prefix, std::uint32_t unique,
                                 char16_t* target) noexcept override
    {
        std::u16string stem = folder;
        const char16_t separator = path_separator_of(stem);
        if (!stem.ends_with(separator))
            stem += separator;
        stem += prefix;
        if (temp_name(stem, unique ? unique : highest_chosen_number).size() >= path_room)
            return fail(error_name_too_long);
        if (unique != 0) {
            copy_whole(temp_name(stem, unique), target, path_room);
            return unique;
        }

        std::uint32_t number = first_chosen_number();
        copy_whole(temp_name(stem, number), target, path_room);
        for (std::uint32_t tries = 0; tries < highest_chosen_number; ++tries) {
            const std::u16string name = temp_name(stem, number);
            const std::string name_in_bytes = path_to_bytes(name);
            // The owner's alone, because others can look into the folder as well.
            const int file = open(name_in_bytes.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, owner_alone);
            if (file >= 0) {
                close(file);
                copy_whole(name, target, path_room);
                return number;
            }
            if (errno != EEXIST)
                return fail_in_folder(errno);
            number = number % highest_chosen_number + 1;
        }
        return fail(error_file_exists);
    }
};

} // namespace

std::unique_ptr<file_system> make_posix_file_system()
{
    return std::make_unique<posix_file_system>();
}

} // namespace cw::platform
