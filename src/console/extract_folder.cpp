#include "console/extract_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace cw::console {
namespace {

constexpr int folder_flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
constexpr const char* working_file = "file";

[[noreturn]] void fail(const std::string& what, int system_error)
{
    throw std::runtime_error(what + ": " + std::generic_category().message(system_error));
}

/// A path to what is open, that no renaming of folders can turn elsewhere.
std::string path_of(const descriptor& open)
{
    return "/proc/self/fd/" + std::to_string(open.get());
}

/// Refuses what stands at `name` in a folder, unless it is to be replaced and can be.
void check_place(int folder, const std::string& name, bool replace)
{
    struct stat status;
    if (::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno != ENOENT)
            fail("its place cannot be looked at", errno);
        return;
    }
    if (S_ISDIR(status.st_mode))
        throw std::runtime_error("a folder stands there");
    // A link that leads nowhere is replaced like any other; one to a device is not meant as a file.
    const bool leads_somewhere = !S_ISLNK(status.st_mode) || ::fstatat(folder, name.c_str(), &status, 0) == 0;
    if (leads_somewhere && !S_ISREG(status.st_mode))
        throw std::runtime_error("something that is no file stands there");
    if (!replace)
        throw std::runtime_error("it exists already (--force replaces it)");
}

/// Moves the written file to its place.
void move_into_place(int from, int to, const std::string& name, bool replace)
{
    if (replace) {
        if (::renameat(from, working_file, to, name.c_str()) != 0)
            fail("it cannot be put in place", errno);
        return;
    }
    int moved = ::renameat2(from, working_file, to, name.c_str(), RENAME_NOREPLACE);
    // Some file systems know only the older way to take a name that nobody has.
    if (moved != 0 && errno == EINVAL)
        moved = ::linkat(from, working_file, to, name.c_str(), 0);
    if (moved != 0)
        fail("it cannot be put in place", errno);
}

} // namespace

descriptor::descriptor(descriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}

descriptor& descriptor::operator=(descriptor&& other) noexcept
{
    std::swap(m_number, other.m_number);
    return *this;
}

descriptor::~descriptor()
{
    if (m_number >= 0)
        ::close(m_number);
}

extract_folder::extract_folder(std::string path) : m_folder(::open(path.c_str(), folder_flags)), m_working(-1)
{
    if (m_folder.get() < 0)
        fail(path, errno);
    std::string working = path_of(m_folder) + "/.cwcab-XXXXXX";
    if (!::mkdtemp(working.data()))
        fail(path + ": no file can be made in it", errno);
    m_workingName = working.substr(working.rfind('/') + 1);
    m_working = descriptor(::openat(m_folder.get(), m_workingName.c_str(), folder_flags | O_NOFOLLOW));
    if (m_working.get() < 0) {
        const int system_error = errno;
        ::unlinkat(m_folder.get(), m_workingName.c_str(), AT_REMOVEDIR);
        fail(path + ": no file can be made in it", system_error);
    }
    m_workingPath = path_of(m_working) + "/" + working_file;
}

extract_folder::~extract_folder()
{
    // A reader that failed may have left something of its own.
    std::error_code ignored;
    std::filesystem::remove_all(path_of(m_folder) + "/" + m_workingName, ignored);
}

/// The folder below the folders of these names; a closed one where it is missing and not to be made.
descriptor extract_folder::open_below(const std::vector<std::string>& folders, bool make) const
{
    descriptor folder(::openat(m_folder.get(), ".", folder_flags));
    if (folder.get() < 0)
        fail("its folder cannot be opened", errno);
    std::string path;
    for (const std::string& name : folders) {
        path += (path.empty() ? "" : "/") + name;
        if (make && ::mkdirat(folder.get(), name.c_str(), 0777) != 0 && errno != EEXIST)
            fail("the folder \"" + path + "\" cannot be made", errno);
        descriptor next(::openat(folder.get(), name.c_str(), folder_flags | O_NOFOLLOW));
        if (next.get() < 0) {
            const int system_error = errno;
            if (system_error == ENOENT && !make)
                return next;
            struct stat status;
            if (::fstatat(folder.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(status.st_mode))
                throw std::runtime_error("a link stands in place of the folder \"" + path + "\"");
            fail("the folder \"" + path + "\" cannot be opened", system_error);
        }
        folder = std::move(next);
    }
    return folder;
}

void extract_folder::put(const std::vector<std::string>& parts, bool replace, const std::function<void()>& write)
{
    const std::string& name = parts.back();
    const std::vector<std::string> folders(parts.begin(), parts.end() - 1);
    // Nothing is unpacked, and no folder made, for a file that has no place.
    if (const descriptor folder = open_below(folders, false); folder.get() >= 0)
        check_place(folder.get(), name, replace);

    // Whatever the last one left there is not this file's.
    ::unlinkat(m_working.get(), working_file, 0);
    write();
    struct stat status;
    if (::fstatat(m_working.get(), working_file, &status, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(status.st_mode))
        throw std::runtime_error("the reader wrote no file");
    const descriptor folder = open_below(folders, true);
    check_place(folder.get(), name, replace);
    move_into_place(m_working.get(), folder.get(), name, replace);
}

void make_folder(const std::string& path)
{
    if (path.empty())
        throw std::runtime_error("the name of the folder is empty");
    std::error_code failure;
    std::filesystem::create_directories(path, failure);
    if (failure)
        throw std::runtime_error(path + ": " + failure.message());
}

} // namespace cw::console
