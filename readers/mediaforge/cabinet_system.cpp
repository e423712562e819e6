#include "readers/mediaforge/cabinet_system.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

namespace cw::mediaforge {
namespace {

// libmspack reads its tables field by field: the buffer makes one system call of a thousand.
constexpr std::size_t buffer_size_in_bytes = 64 * 1024;

struct open_file : mspack_file {
    cabinet_system* owner = nullptr;
    int descriptor = -1; // -1 for the output
    off_t size = 0;
    off_t position = 0;
    off_t buffer_start = 0;
    std::size_t buffered = 0;
    std::uint8_t buffer[buffer_size_in_bytes];
};

mspack_file* open_callback(mspack_system* self, const char* filename, int mode)
{
    auto* owner = static_cast<cabinet_system*>(self);
    std::unique_ptr<open_file> file(new (std::nothrow) open_file);
    if (!file)
        return nullptr;
    file->owner = owner;
    if (mode == MSPACK_SYS_OPEN_WRITE)
        return file.release();
    if (mode != MSPACK_SYS_OPEN_READ)
        return nullptr;
    // A pipe of that name must not keep anybody waiting.
    file->descriptor = ::open(filename, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat status;
    if (file->descriptor < 0 || ::fstat(file->descriptor, &status) != 0) {
        owner->system_error = errno;
        if (file->descriptor >= 0)
            ::close(file->descriptor);
        return nullptr;
    }
    if (!S_ISREG(status.st_mode)) {
        owner->system_error = S_ISDIR(status.st_mode) ? EISDIR : ENXIO;
        ::close(file->descriptor);
        return nullptr;
    }
    file->size = status.st_size;
    return file.release();
}

void close_callback(mspack_file* handle)
{
    auto* file = static_cast<open_file*>(handle);
    if (!file)
        return;
    if (file->descriptor >= 0)
        ::close(file->descriptor);
    delete file;
}

int read_callback(mspack_file* handle, void* target, int wanted)
{
    auto* file = static_cast<open_file*>(handle);
    if (!file || file->descriptor < 0 || wanted < 0)
        return -1;
    auto* out = static_cast<std::uint8_t*>(target);
    int done = 0;
    while (done < wanted) {
        const off_t offset = file->position - file->buffer_start;
        if (offset < 0 || offset >= static_cast<off_t>(file->buffered)) {
            const ssize_t got = ::pread(file->descriptor, file->buffer, sizeof file->buffer, file->position);
            if (got < 0 && errno == EINTR)
                continue;
            if (got < 0) {
                file->owner->system_error = errno;
                return -1;
            }
            file->buffer_start = file->position;
            file->buffered = static_cast<std::size_t>(got);
            if (got == 0)
                break;
            continue;
        }
        const std::size_t piece =
            std::min(static_cast<std::size_t>(wanted - done), file->buffered - static_cast<std::size_t>(offset));
        std::memcpy(out + done, file->buffer + offset, piece);
        done += static_cast<int>(piece);
        file->position += static_cast<off_t>(piece);
    }
    return done;
}

int write_callback(mspack_file* handle, void* source, int size)
{
    auto* file = static_cast<open_file*>(handle);
    if (!file || size < 0 || !file->owner->sink)
        return -1;
    try {
        (*file->owner->sink)({static_cast<const std::uint8_t*>(source), static_cast<std::size_t>(size)});
    } catch (...) {
        file->owner->failure = std::current_exception();
        return -1;
    }
    return size;
}

int seek_callback(mspack_file* handle, off_t offset, int mode)
{
    auto* file = static_cast<open_file*>(handle);
    if (!file)
        return -1;
    const off_t base = mode == MSPACK_SYS_SEEK_START ? 0 : mode == MSPACK_SYS_SEEK_CUR ? file->position : file->size;
    if (base + offset < 0)
        return -1;
    file->position = base + offset;
    return 0;
}

off_t tell_callback(mspack_file* handle)
{
    auto* file = static_cast<open_file*>(handle);
    return file ? file->position : 0;
}

void message_callback(mspack_file*, const char*, ...) {}

void* allocate_callback(mspack_system*, size_t size)
{
    return std::malloc(size);
}

void free_callback(void* memory)
{
    std::free(memory);
}

void copy_callback(void* source, void* target, size_t size)
{
    std::memcpy(target, source, size);
}

} // namespace

cabinet_system::cabinet_system() noexcept
    : mspack_system{&open_callback, &close_callback,   &read_callback,     &write_callback, &seek_callback,
                    &tell_callback, &message_callback, &allocate_callback, &free_callback,  &copy_callback,
                    nullptr}
{
}

} // namespace cw::mediaforge
