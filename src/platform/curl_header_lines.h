// Headers that a caller gives for a request.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace cw::platform {

inline constexpr std::uint32_t length_to_terminator = 0xFFFFFFFF;

/// Lines between CRLFs, the last with or without one. `headers` may be null for none; `length` is in code units or
/// `length_to_terminator`. Nothing where a line is no header.
[[nodiscard]] std::optional<std::vector<std::string>> read_header_lines(const char16_t* headers, std::uint32_t length);

/// Where the answer is asked to begin: N of "Range: bytes=N-", the only form that is looked at; 0 without one.
[[nodiscard]] std::uint64_t offset_asked_for(const std::vector<std::string>& lines) noexcept;

} // namespace cw::platform
