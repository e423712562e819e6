// A program that says which calls and folders its system is asked for, and then that it has started. The system
// cannot tell the folder named by the environment's CW_FOLDER_THAT_FAILS ("windows" or "system"; any
// other fails none).
#include "fileio/file_operations.h"
#include "platform/last_error.h"
#include "platform/services.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

std::uint32_t tell(const char* name, std::u16string_view folder, char16_t* target, std::uint32_t room) noexcept
{
    // To the stream that keeps nothing back: a process that is aborted shows all that it said.
    std::fprintf(stderr, "asked for %s\n", name);
    const char* failing = std::getenv("CW_FOLDER_THAT_FAILS");
    if (failing && std::string_view(name) == failing) {
        cw::platform::set_last_error(cw::platform::error_access_denied);
        return 0;
    }
    const std::size_t count = folder.copy(target, room - 1);
    target[count] = 0;
    return static_cast<std::uint32_t>(count);
}

struct system_without_folder final : cw::platform::system_information {
    void info(cw::platform::system_info* target) noexcept override
    {
        target->processor_architecture = cw::platform::processor_architecture_amd64;
    }
    std::uint32_t windows_folder(char16_t* target, std::uint32_t room) noexcept override
    {
        return tell("windows", u"C:\\Windows", target, room);
    }
    std::uint32_t system_folder(char16_t* target, std::uint32_t room) noexcept override
    {
        return tell("system", u"C:\\Windows\\System32", target, room);
    }
};

/// The system's module, with each look-up told.
struct telling_loader final : cw::platform::loader {
    cw::platform::loader& real = *cw::platform::current().libraries;

    std::uint32_t module_file_name(char16_t* target, std::uint32_t room) noexcept override
    {
        return real.module_file_name(target, room);
    }
    void* load_library(const char16_t* path) noexcept override { return real.load_library(path); }
    void* find_export(void* library, const char* name) noexcept override
    {
        std::fprintf(stderr, "looked for %s\n", name);
        return real.find_export(library, name);
    }
    void* module_handle(const char16_t* name) noexcept override { return real.module_handle(name); }
    std::u16string load_failure() override { return real.load_failure(); }
};

// Before the folders are worked out: static construction without a priority comes later.
[[gnu::init_priority(101)]] system_without_folder machine;
[[gnu::init_priority(101)]] telling_loader libraries;

struct installed_set {
    installed_set()
    {
        cw::platform::current().system = &machine;
        cw::platform::current().libraries = &libraries;
    }
};
[[gnu::init_priority(102)]] installed_set in_place;

} // namespace

int main()
{
    // A program that works on files has the folders with it; this one needs no file.
    const bool is_there = cw::create_folders(u"C:\\");
    std::fprintf(stderr, "started\n");
    return is_there ? EXIT_SUCCESS : EXIT_FAILURE;
}
