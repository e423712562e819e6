// Bytes on their way to an open file, however many they are.
#pragma once

#include "platform/services.h"

#include <cstdint>
#include <string_view>

namespace cw {

/// What one call of the system can count, in whole characters of UTF-16.
inline constexpr std::uint32_t largest_write_in_bytes = 0xFFFFFFFE;

/// Writes everything in one call of the system, or in pieces where one cannot count it; nothing is one
/// call as well. False where a call fails, the last error telling why; what is behind it stays unwritten.
[[nodiscard]] bool write_bytes(platform::file_handle file, std::string_view bytes,
                               std::uint32_t largest_piece_in_bytes = largest_write_in_bytes) noexcept;

} // namespace cw
