// Decimal numbers into buffers of a fixed size, as the C runtime's checked functions write them.
#pragma once

#include <cstdint>
#include <span>

namespace cw {

/// Writes `value` in decimal, a minus sign in front of a negative one, and a terminator. Where they do
/// not fit the platform's invalid-parameter operation ends the process; should it return, the buffer
/// holds the empty text. `buffer` has at least one character.
void write_decimal(std::int32_t value, std::span<char> buffer) noexcept;

} // namespace cw
