#include "automation/exact_number.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace cw::automation::detail {

namespace {

constexpr int most_decimal_places = 28; // of a DECIMAL
constexpr uint128 decimal_limit = uint128{1} << 96;

std::optional<uint128> multiplied_by_power_of_ten(uint128 value, int power) noexcept
{
    for (; power > 0 && value != 0; --power)
        if (__builtin_mul_overflow(value, uint128{10}, &value))
            return std::nullopt;
    return value;
}

uint128 divided_by_power_of_ten(uint128 value, int power) noexcept
{
    // Beyond all digits what is left is below a half.
    if (power > most_exact_digits + 1)
        return 0;
    uint128 remainder_below = 0; // not zero where a digit further right is not
    uint128 last = 0;
    for (; power > 0; --power) {
        remainder_below |= last;
        last = value % 10;
        value /= 10;
    }
    const bool up = last > 5 || (last == 5 && (remainder_below != 0 || value % 2 == 1));
    return up ? value + 1 : value;
}

template <class Real>
std::optional<Real> to_real(const exact_number& number) noexcept
{
    const Real sign = number.negative ? Real{-1} : Real{1};
    if (number.digits == 0)
        return Real{0};
    if (number.exponent == 0)
        return sign * static_cast<Real>(number.digits);
    // The conversion from decimal text rounds correctly, which a product with a power does not.
    char text[64];
    char* end = text + sizeof text;
    char* first = end;
    const int exponent = std::clamp(number.exponent, -9999, 9999);
    char exponent_text[8];
    const auto written = std::to_chars(exponent_text, exponent_text + sizeof exponent_text, exponent);
    first -= written.ptr - exponent_text;
    std::copy(exponent_text, written.ptr, first);
    *--first = 'e';
    int digit_count = 0;
    for (uint128 rest = number.digits; rest != 0; rest /= 10, ++digit_count)
        *--first = static_cast<char>('0' + static_cast<int>(rest % 10));
    Real value{};
    const auto read = std::from_chars(first, end, value);
    if (read.ec == std::errc::result_out_of_range)
        return digit_count + exponent > 0 ? std::nullopt : std::optional<Real>{Real{0}};
    return sign * value;
}

} // namespace

exact_number exact_from_signed(std::int64_t value) noexcept
{
    const auto bits = static_cast<std::uint64_t>(value);
    return {value < 0, value < 0 ? std::uint64_t{0} - bits : bits, 0};
}

exact_number exact_from_unsigned(std::uint64_t value) noexcept
{
    return {false, value, 0};
}

exact_number exact_from_currency(CY value) noexcept
{
    exact_number number = exact_from_signed(value.int64);
    number.exponent = -4;
    return number;
}

std::optional<exact_number> exact_from_decimal(const DECIMAL& value) noexcept
{
    if (value.scale > most_decimal_places)
        return std::nullopt;
    return exact_number{(value.sign & 0x80) != 0, uint128{value.Hi32} << 64 | value.Lo64, -value.scale};
}

std::optional<uint128> scaled_magnitude(const exact_number& number, int scale) noexcept
{
    const int power = number.exponent + scale;
    return power >= 0 ? multiplied_by_power_of_ten(number.digits, power)
                      : std::optional{divided_by_power_of_ten(number.digits, -power)};
}

std::optional<std::int64_t> to_signed(const exact_number& number, int scale) noexcept
{
    const auto magnitude = scaled_magnitude(number, scale);
    const std::uint64_t limit = std::uint64_t{std::numeric_limits<std::int64_t>::max()} + (number.negative ? 1 : 0);
    if (!magnitude || *magnitude > limit)
        return std::nullopt;
    const auto bits = static_cast<std::uint64_t>(*magnitude);
    return static_cast<std::int64_t>(number.negative ? std::uint64_t{0} - bits : bits);
}

std::optional<std::uint64_t> to_unsigned(const exact_number& number) noexcept
{
    const auto magnitude = scaled_magnitude(number, 0);
    if (!magnitude || *magnitude > std::numeric_limits<std::uint64_t>::max() || (number.negative && *magnitude != 0))
        return std::nullopt;
    return static_cast<std::uint64_t>(*magnitude);
}

std::optional<DECIMAL> to_decimal(const exact_number& number) noexcept
{
    for (int scale = std::clamp(-number.exponent, 0, most_decimal_places); scale >= 0; --scale) {
        const auto magnitude = scaled_magnitude(number, scale);
        if (!magnitude || *magnitude >= decimal_limit)
            continue;
        DECIMAL value{};
        value.scale = static_cast<std::uint8_t>(scale);
        value.sign = number.negative && *magnitude != 0 ? 0x80 : 0;
        value.Hi32 = static_cast<std::uint32_t>(*magnitude >> 64);
        value.Lo64 = static_cast<std::uint64_t>(*magnitude);
        return value;
    }
    return std::nullopt;
}

std::optional<double> to_double(const exact_number& number) noexcept
{
    return to_real<double>(number);
}

std::optional<float> to_float(const exact_number& number) noexcept
{
    return to_real<float>(number);
}

} // namespace cw::automation::detail
