#include "platform/posix_services.h"

#include "platform/last_error.h"

namespace cw::platform {

namespace {

class unconnected_transfers final : public transfers {
public:
    transfer_handle open_session(const char16_t*, std::uint32_t, const char16_t*, const char16_t*,
                                 std::uint32_t) noexcept override
    {
        set_last_error(error_internet_cannot_connect);
        return nullptr;
    }

    // No session was ever given out.
    bool close(transfer_handle) noexcept override
    {
        set_last_error(error_invalid_handle);
        return false;
    }
};

} // namespace

std::unique_ptr<transfers> make_unconnected_transfers()
{
    return std::make_unique<unconnected_transfers>();
}

} // namespace cw::platform
