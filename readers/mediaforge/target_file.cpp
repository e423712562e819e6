#include "readers/mediaforge/target_file.h"

#include "readers/mediaforge/cabinet.h"
#include "readers/mediaforge/errors.h"
#include "readers/storage/text.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <utility>

namespace cw::mediaforge {
namespace {

constexpr int most_attempts = 100;

std::string temporary_name()
{
    std::uint64_t number = 0;
    if (::getrandom(&number, sizeof number, 0) != sizeof number)
        number = static_cast<std::uint64_t>(::getpid());
    char name[32];
    std::snprintf(name, sizeof name, ".cwx%016llx.tmp", static_cast<unsigned long long>(number));
    return name;
}

} // namespace

target_file::target_file(const std::string& path) : m_path(path)
{
    if (path.empty() || path.find('\0') != std::string::npos)
        refuse(u"that is not a path", EINVAL);
    struct stat status;
    if (::lstat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode))
        refuse(S_ISDIR(status.st_mode) ? u"a folder stands there" : u"a device or a pipe stands there",
               S_ISDIR(status.st_mode) ? EISDIR : EEXIST);
    if (path.back() == '/')
        refuse(u"it names a folder", EISDIR);
    const std::string folder = folder_of(path);
    for (int attempt = 0; attempt < most_attempts; ++attempt) {
        m_temporary = folder + "/" + temporary_name();
        // The mode is left to the process's mask, as for every file that a person saves.
        m_descriptor = ::open(m_temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666);
        if (m_descriptor >= 0 || errno != EEXIST)
            break;
    }
    if (m_descriptor < 0)
        refuse(u"no file can be made in its folder", errno);
}

target_file::~target_file()
{
    if (m_descriptor < 0)
        return;
    ::close(m_descriptor);
    ::unlink(m_temporary.c_str());
}

void target_file::write(formats::byte_view piece)
{
    while (!piece.empty()) {
        const ssize_t written = ::write(m_descriptor, piece.data(), piece.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            refuse(u"writing failed", errno);
        piece = piece.subspan(static_cast<std::size_t>(written));
    }
}

void target_file::commit(std::optional<std::time_t> modified)
{
    if (modified) {
        const timespec times[] = {{*modified, 0}, {*modified, 0}};
        // Not every file system keeps every time; the content is whole all the same.
        (void)::futimens(m_descriptor, times);
    }
    // Some file systems tell only now that there was no room.
    const int closed = ::close(std::exchange(m_descriptor, -1));
    if (closed != 0 || ::rename(m_temporary.c_str(), m_path.c_str()) != 0) {
        const int system_error = errno;
        ::unlink(m_temporary.c_str());
        refuse(closed != 0 ? u"writing failed" : u"it cannot be put in place", system_error);
    }
}

void target_file::refuse(std::u16string_view why, int system_error)
{
    std::u16string detail(why);
    if (system_error != 0)
        detail.append(u" (").append(storage::system_error_text(system_error)).append(u")");
    throw media_failure(error_number::target_refused, m_path, detail, system_error);
}

} // namespace cw::mediaforge
