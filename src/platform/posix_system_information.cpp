#include "platform/posix_services.h"

#include "platform/last_error.h"

namespace cw::platform {

namespace {

// A program runs on the machine that it was built for.
#if defined(__x86_64__)
constexpr std::uint16_t own_architecture = processor_architecture_amd64;
#elif defined(__ia64__)
constexpr std::uint16_t own_architecture = processor_architecture_ia64;
#else
constexpr std::uint16_t own_architecture = processor_architecture_unknown;
#endif

std::uint32_t copy_whole(std::u16string_view folder, char16_t* target, std::uint32_t room) noexcept
{
    if (folder.size() >= room) {
        set_last_error(error_insufficient_buffer);
        return 0;
    }
    folder.copy(target, folder.size());
    target[folder.size()] = 0;
    return static_cast<std::uint32_t>(folder.size());
}

class posix_system_information final : public system_information {
public:
    void info(system_info* target) noexcept override { target->processor_architecture = own_architecture; }

    std::uint32_t windows_folder(char16_t* target, std::uint32_t room) noexcept override
    {
        return copy_whole(u"/usr", target, room);
    }

    std::uint32_t system_folder(char16_t* target, std::uint32_t room) noexcept override
    {
        return copy_whole(u"/usr/lib", target, room);
    }
};

} // namespace

std::unique_ptr<system_information> make_posix_system_information()
{
    return std::make_unique<posix_system_information>();
}

} // namespace cw::platform
