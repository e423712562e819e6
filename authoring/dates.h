// Dates as media hold them: automation dates (days since 1899-12-30, the fraction being the time of
// day) in UTC. Used by the media writer and for the older form inside of cabinets.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace cw::authoring {

/// The automation date of a moment, in seconds since 1970.
[[nodiscard]] double date_from_seconds(std::int64_t seconds_since_1970) noexcept;
/// The reverse, rounded to the nearest second; `date` is finite and within the years 100 to 9999.
[[nodiscard]] std::int64_t seconds_from_date(double date) noexcept;
/// "2001-02-03T00:04:05"; nothing for any other form and for what is no date.
[[nodiscard]] std::optional<double> date_from_text(std::string_view text) noexcept;
/// Whether a number is a date of the years 100 to 9999.
[[nodiscard]] bool is_date(double date) noexcept;
/// Date (upper half) and time as cabinets hold them: steps of two seconds, 1980 to 2107; a date
/// outside of these becomes the nearest.
[[nodiscard]] std::uint32_t dos_date_time(double date) noexcept;

} // namespace cw::authoring
