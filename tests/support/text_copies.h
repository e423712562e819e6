// How scripted stand-ins fill the buffers that they are given.
#pragma once

#include "platform/last_error.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace cw::test_support {

/// Copies with the terminator what fits as a whole; the code units copied, or 0.
inline std::uint32_t copy_whole(std::u16string_view text, char16_t* target, std::uint32_t room)
{
    if (text.size() >= room) {
        platform::set_last_error(platform::error_insufficient_buffer);
        return 0;
    }
    text.copy(target, text.size());
    target[text.size()] = 0;
    return static_cast<std::uint32_t>(text.size());
}

/// Copies with the terminator, cut to the room; the code units copied.
inline std::uint32_t copy_cut(std::u16string_view text, char16_t* target, std::uint32_t room)
{
    if (room == 0)
        return 0;
    const std::size_t count = text.copy(target, room - 1);
    target[count] = 0;
    return static_cast<std::uint32_t>(count);
}

} // namespace cw::test_support
