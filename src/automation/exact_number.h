// Decimal numbers without rounding: what integers, currency, decimals and numbers in text are turned
// into on the way from one variant type to another. Not installed.
#pragma once

#include "automation/variant.h"

#include <optional>

namespace cw::automation::detail {

__extension__ using uint128 = unsigned __int128;

/// (negative ? -1 : 1) * digits * 10^exponent.
struct exact_number {
    bool negative = false;
    uint128 digits = 0;
    int exponent = 0;
};

/// The most decimal digits that `exact_number::digits` surely holds.
inline constexpr int most_exact_digits = 38;

exact_number exact_from_signed(std::int64_t value) noexcept;
exact_number exact_from_unsigned(std::uint64_t value) noexcept;
exact_number exact_from_currency(CY value) noexcept;
/// Null for a scale above 28, which no decimal has.
std::optional<exact_number> exact_from_decimal(const DECIMAL& value) noexcept;

/// The number times 10^scale as an integer, rounded half to even; null where it passes 128 bits.
std::optional<uint128> scaled_magnitude(const exact_number& number, int scale) noexcept;
/// The number times 10^scale, rounded half to even; null on overflow.
std::optional<std::int64_t> to_signed(const exact_number& number, int scale = 0) noexcept;
std::optional<std::uint64_t> to_unsigned(const exact_number& number) noexcept;
/// With as many of the decimal places as 96 bits hold; null on overflow.
std::optional<DECIMAL> to_decimal(const exact_number& number) noexcept;
/// The nearest real; null where it is beyond the type's range.
std::optional<double> to_double(const exact_number& number) noexcept;
std::optional<float> to_float(const exact_number& number) noexcept;

} // namespace cw::automation::detail
