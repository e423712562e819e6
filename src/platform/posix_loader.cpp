#include "platform/posix_services.h"

#include "platform/elf_image.h"
#include "platform/last_error.h"
#include "platform/system_module.h"
#include "platform/utf8.h"

#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

namespace cw::platform {

namespace {

thread_local std::u16string last_failure;

constexpr std::size_t longest_link_in_bytes = 1 << 16;

// The system's module is part of this program; its address is the handle.
char system_module;

class posix_loader final : public loader {
public:
    std::uint32_t module_file_name(char16_t* target, std::uint32_t room) noexcept override
    {
        std::string bytes(longest_link_in_bytes, '\0');
        const ssize_t length = readlink("/proc/self/exe", bytes.data(), bytes.size());
        if (length <= 0 || room == 0) {
            length <= 0 ? set_last_error_from_errno(errno) : set_last_error(error_insufficient_buffer);
            return 0;
        }
        const std::u16string path = path_from_bytes({bytes.data(), static_cast<std::size_t>(length)});
        const std::size_t count = path.copy(target, room - 1);
        target[count] = 0;
        if (count < path.size())
            set_last_error(error_insufficient_buffer);
        return static_cast<std::uint32_t>(count);
    }

    void* load_library(const char16_t* path) noexcept override
    {
        const std::string name = path_to_bytes(path);
        last_failure.clear();
        // A bare name is the system's to search for, so there is no file to look at beforehand. An
        // empty one would mean the program itself.
        if (name.empty())
            return refuse(error_mod_not_found, "no file name was given");
        if (name.find('/') != std::string::npos && !is_loadable(name))
            return nullptr;
        void* library = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
        return library ? library : refuse(error_mod_not_found, dlerror());
    }

    void* find_export(void* library, const char* name) noexcept override
    {
        void* found = library == &system_module ? find_system_entry(name) : dlsym(library, name);
        if (!found)
            set_last_error(error_proc_not_found);
        return found;
    }

    void* module_handle(const char16_t* name) noexcept override
    {
        if (is_system_module_name(name))
            return &system_module;
        // An empty name would mean the program itself.
        void* module = *name ? dlopen(path_to_bytes(name).c_str(), RTLD_LAZY | RTLD_NOLOAD) : nullptr;
        if (!module)
            set_last_error(error_mod_not_found);
        return module;
    }

    std::u16string load_failure() override { return last_failure; }

private:
    static void* refuse(std::uint32_t code, std::string_view reason) noexcept
    {
        last_failure = path_from_bytes(reason);
        set_last_error(code);
        return nullptr;
    }

    static bool is_loadable(const std::string& name) noexcept
    {
        // Without O_NONBLOCK a named pipe would be waited for.
        const int file = open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
        if (file < 0) {
            const int reason = errno;
            const std::uint32_t code = error_from_errno(reason);
            refuse(code == error_file_not_found || code == error_path_not_found ? error_mod_not_found : code,
                   name + ": " + std::strerror(reason));
            return false;
        }
        const std::string flaw = shared_object_flaw(file);
        close(file);
        if (!flaw.empty())
            refuse(error_bad_format, name + ": " + flaw);
        return flaw.empty();
    }
};

} // namespace

std::unique_ptr<loader> make_posix_loader()
{
    return std::make_unique<posix_loader>();
}

} // namespace cw::platform
