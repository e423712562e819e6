#include "authoring/dates.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>

namespace cw::authoring {
namespace {

constexpr std::int64_t seconds_per_day = 86'400;
constexpr std::int64_t epoch_in_days = 25'569; // 1970-01-01

std::chrono::sys_seconds moment(std::int64_t seconds)
{
    return std::chrono::sys_seconds(std::chrono::seconds(seconds));
}

} // namespace

double date_from_seconds(std::int64_t seconds_since_1970) noexcept
{
    const std::int64_t seconds = seconds_since_1970 + epoch_in_days * seconds_per_day;
    std::int64_t day = seconds / seconds_per_day;
    std::int64_t second = seconds % seconds_per_day;
    if (second < 0) {
        --day;
        second += seconds_per_day;
    }
    // The fraction counts forward within its day also where the day is negative.
    const double fraction = static_cast<double>(second) / static_cast<double>(seconds_per_day);
    return static_cast<double>(day) + (day < 0 ? -fraction : fraction);
}

std::int64_t seconds_from_date(double date) noexcept
{
    const double day = std::trunc(date);
    const double fraction = std::abs(date - day);
    return (static_cast<std::int64_t>(day) - epoch_in_days) * seconds_per_day +
           std::llround(fraction * static_cast<double>(seconds_per_day));
}

std::optional<double> date_from_text(std::string_view text) noexcept
{
    constexpr std::string_view form = "dddd-dd-ddTdd:dd:dd";
    if (text.size() != form.size())
        return std::nullopt;
    std::array<unsigned, 6> fields{};
    std::size_t field = 0;
    for (std::size_t i = 0; i < form.size(); ++i) {
        if (form[i] != 'd') {
            if (text[i] != form[i])
                return std::nullopt;
            ++field;
        } else if (text[i] < '0' || text[i] > '9') {
            return std::nullopt;
        } else {
            fields[field] = fields[field] * 10 + static_cast<unsigned>(text[i] - '0');
        }
    }
    const std::chrono::year_month_day day{std::chrono::year(static_cast<int>(fields[0])), std::chrono::month(fields[1]),
                                          std::chrono::day(fields[2])};
    if (!day.ok() || fields[0] < 100 || fields[3] > 23 || fields[4] > 59 || fields[5] > 59)
        return std::nullopt;
    return date_from_seconds(std::chrono::sys_days(day).time_since_epoch().count() * seconds_per_day +
                             fields[3] * 3600 + fields[4] * 60 + fields[5]);
}

bool is_date(double date) noexcept
{
    return date > -657'435.0 && date < 2'958'466.0;
}

std::uint32_t dos_date_time(double date) noexcept
{
    using namespace std::chrono;
    constexpr sys_seconds first = sys_days(1980y / January / 1);
    constexpr sys_seconds last = sys_days(2108y / January / 1) - 2s;
    const sys_seconds time = std::clamp(moment(seconds_from_date(date)), first, last);
    const sys_days start_of_day = floor<days>(time);
    const year_month_day day(start_of_day);
    const hh_mm_ss clock(time - start_of_day);
    const auto number = [](auto value) { return static_cast<std::uint32_t>(value); };
    const std::uint32_t dos_date = number(static_cast<int>(day.year()) - 1980) << 9 |
                                   number(static_cast<unsigned>(day.month())) << 5 |
                                   number(static_cast<unsigned>(day.day()));
    const std::uint32_t dos_time = number(clock.hours().count()) << 11 | number(clock.minutes().count()) << 5 |
                                   number(clock.seconds().count() / 2);
    return dos_date << 16 | dos_time;
}

} // namespace cw::authoring
