#include "automation/date.h"

#include <chrono>
#include <cmath>

namespace {

using namespace std::chrono;

constexpr sys_days day_zero = sys_days{year{1899} / December / 30};
constexpr double seconds_a_day = 86400.0;
constexpr int first_year = 100;
constexpr int last_year = 9999;
constexpr int first_day = (sys_days{year{first_year} / January / 1} - day_zero).count();
constexpr int last_day = (sys_days{year{last_year} / December / 31} - day_zero).count();

// Years of two digits mean 1930 to 2029.
constexpr int last_short_year_of_this_century = 29;

int full_year(int written) noexcept
{
    if (written >= first_year)
        return written;
    return written + (written <= last_short_year_of_this_century ? 2000 : 1900);
}

} // namespace

int VariantTimeToSystemTime(DATE date, SYSTEMTIME* time) noexcept
{
    // The open ends exclude not-a-number as well, before anything is converted to an integer.
    if (!time || !(date > first_day - 1.0 && date < last_day + 1.0))
        return 0;
    const double whole = std::trunc(date);
    const double fraction = std::fabs(date - whole);
    auto day = static_cast<int>(whole);
    auto second = static_cast<int>(std::floor(fraction * seconds_a_day + 0.5));
    if (second == static_cast<int>(seconds_a_day)) {
        second = 0;
        ++day;
    }
    if (day < first_day || day > last_day)
        return 0;
    const sys_days moment = day_zero + days{day};
    const year_month_day calendar{moment};
    time->wYear = static_cast<WORD>(static_cast<int>(calendar.year()));
    time->wMonth = static_cast<WORD>(static_cast<unsigned>(calendar.month()));
    time->wDayOfWeek = static_cast<WORD>(weekday{moment}.c_encoding());
    time->wDay = static_cast<WORD>(static_cast<unsigned>(calendar.day()));
    time->wHour = static_cast<WORD>(second / 3600);
    time->wMinute = static_cast<WORD>(second / 60 % 60);
    time->wSecond = static_cast<WORD>(second % 60);
    time->wMilliseconds = 0;
    return 1;
}

int SystemTimeToVariantTime(const SYSTEMTIME* time, DATE* date) noexcept
{
    if (!time || !date)
        return 0;
    if (time->wYear > last_year || time->wHour > 23 || time->wMinute > 59 || time->wSecond > 59 ||
        time->wMilliseconds > 999)
        return 0;
    const year_month_day calendar{year{full_year(time->wYear)}, month{time->wMonth}, day{time->wDay}};
    if (!calendar.ok())
        return 0;
    const auto whole = static_cast<double>((sys_days{calendar} - day_zero).count());
    const double fraction = (time->wHour * 3600 + time->wMinute * 60 + time->wSecond) / seconds_a_day;
    *date = whole < 0 ? whole - fraction : whole + fraction;
    return 1;
}
