// The calling thread's last-error value, in the numbers that the logic knows.
#pragma once

#include <cstdint>

namespace cw::platform {

inline constexpr std::uint32_t error_success = 0;
inline constexpr std::uint32_t error_file_not_found = 2;
inline constexpr std::uint32_t error_path_not_found = 3;
inline constexpr std::uint32_t error_too_many_open_files = 4;
inline constexpr std::uint32_t error_access_denied = 5;
inline constexpr std::uint32_t error_invalid_handle = 6;
inline constexpr std::uint32_t error_not_enough_memory = 8;
inline constexpr std::uint32_t error_bad_format = 11;
inline constexpr std::uint32_t error_sharing_violation = 32;
inline constexpr std::uint32_t error_file_exists = 80;
inline constexpr std::uint32_t error_invalid_parameter = 87;
inline constexpr std::uint32_t error_name_too_long = 111;
inline constexpr std::uint32_t error_disk_full = 112;
inline constexpr std::uint32_t error_insufficient_buffer = 122;
inline constexpr std::uint32_t error_mod_not_found = 126;
inline constexpr std::uint32_t error_proc_not_found = 127;
inline constexpr std::uint32_t error_negative_seek = 131;
inline constexpr std::uint32_t error_already_exists = 183;
inline constexpr std::uint32_t error_more_data = 234;
inline constexpr std::uint32_t error_arithmetic_overflow = 534;
inline constexpr std::uint32_t error_io_pending = 997;
inline constexpr std::uint32_t error_cancelled = 1223;

[[nodiscard]] std::uint32_t get_last_error() noexcept;
void set_last_error(std::uint32_t code) noexcept;

/// The number that stands for an `errno` value; 31 (general failure) where the table has none.
[[nodiscard]] std::uint32_t error_from_errno(int error_number) noexcept;
/// Sets the last error from `errno`.
void set_last_error_from_errno(int error_number) noexcept;

} // namespace cw::platform
