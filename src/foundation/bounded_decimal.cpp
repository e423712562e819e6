#include "foundation/bounded_decimal.h"

#include "platform/services.h"

#include <charconv>

namespace cw {

void write_decimal(std::int32_t value, std::span<char> buffer) noexcept
{
    char* const last = buffer.data() + buffer.size() - 1;
    const std::to_chars_result written = std::to_chars(buffer.data(), last, value);
    if (written.ec == std::errc{}) {
        *written.ptr = '\0';
        return;
    }
    buffer.front() = '\0';
    platform::current().runtime->invalid_parameter();
}

} // namespace cw
