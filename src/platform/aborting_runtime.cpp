#include "platform/posix_services.h"

#include <cstdio>
#include <cstdlib>

namespace cw::platform {

namespace {

class aborting_runtime final : public runtime_contract {
public:
    void invalid_parameter() noexcept override
    {
        std::fputs("invalid parameter in a runtime function\n", stderr);
        std::abort();
    }
};

} // namespace

std::unique_ptr<runtime_contract> make_aborting_runtime()
{
    return std::make_unique<aborting_runtime>();
}

} // namespace cw::platform
