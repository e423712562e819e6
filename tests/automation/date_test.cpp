#include "automation/date.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace {

constexpr double second = 1.0 / 86400;

struct moment {
    DATE date;
    int year, month, day, hour, minute, second, weekday;
};

// Pairs that hold in both directions.
constexpr moment moments[] = {
    {0.0, 1899, 12, 30, 0, 0, 0, 6},
    {1.0, 1899, 12, 31, 0, 0, 0, 0},
    {2.0, 1900, 1, 1, 0, 0, 0, 1},
    {0.5, 1899, 12, 30, 12, 0, 0, 6},
    {-1.0, 1899, 12, 29, 0, 0, 0, 5},
    {-1.5, 1899, 12, 29, 12, 0, 0, 5},
    {-1.25, 1899, 12, 29, 6, 0, 0, 5},
    {-2.75, 1899, 12, 28, 18, 0, 0, 4},
    {60.0, 1900, 2, 28, 0, 0, 0, 3},
    {61.0, 1900, 3, 1, 0, 0, 0, 4}, // 1900 was no leap year
    {36584.0, 2000, 2, 28, 0, 0, 0, 1},
    {36585.0, 2000, 2, 29, 0, 0, 0, 2},
    {36925.0 + 245 * second, 2001, 2, 3, 0, 4, 5, 6},
    {37315.0 - 1 * second, 2002, 2, 27, 23, 59, 59, 3},
    {-657434.0, 100, 1, 1, 0, 0, 0, 5},
    {-657434.75, 100, 1, 1, 18, 0, 0, 5},
    {2958465.0, 9999, 12, 31, 0, 0, 0, 5},
    {2958465.0 + 86399 * second, 9999, 12, 31, 23, 59, 59, 5},
};

std::string described(const SYSTEMTIME& time)
{
    std::string text;
    for (const WORD field : {time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond})
        text += std::to_string(field) + " ";
    return text + "weekday " + std::to_string(time.wDayOfWeek) + " ms " + std::to_string(time.wMilliseconds);
}

SYSTEMTIME fields_of(const moment& m)
{
    auto word = [](int value) { return static_cast<WORD>(value); };
    return {word(m.year), word(m.month), word(m.weekday), word(m.day), word(m.hour), word(m.minute), word(m.second), 0};
}

TEST(Date, SplitsIntoFields)
{
    for (const moment& m : moments) {
        SYSTEMTIME time{1, 1, 1, 1, 1, 1, 1, 999};
        ASSERT_EQ(VariantTimeToSystemTime(m.date, &time), 1) << m.date;
        EXPECT_EQ(described(time), described(fields_of(m))) << m.date;
    }
}

TEST(Date, IsMadeOfFields)
{
    for (const moment& m : moments) {
        const SYSTEMTIME time = fields_of(m);
        DATE date = 0.123;
        ASSERT_EQ(SystemTimeToVariantTime(&time, &date), 1) << described(time);
        EXPECT_NEAR(date, m.date, second / 10) << described(time);
    }
}

TEST(Date, AFractionBeforeDayZeroCountsForward)
{
    SYSTEMTIME time;
    ASSERT_EQ(VariantTimeToSystemTime(-0.5, &time), 1);
    EXPECT_EQ(described(time), "1899 12 30 12 0 0 weekday 6 ms 0");
    ASSERT_EQ(VariantTimeToSystemTime(-0.25, &time), 1);
    EXPECT_EQ(time.wHour, 6);
}

TEST(Date, RoundsToTheNearestSecond)
{
    const struct {
        DATE date;
        WORD second;
    } rows[] = {{10.4 * second, 10}, {10.6 * second, 11}, {-(2 + 10.4 * second), 10}, {-(2 + 10.6 * second), 11}};
    for (const auto& row : rows) {
        SYSTEMTIME time;
        ASSERT_EQ(VariantTimeToSystemTime(row.date, &time), 1);
        EXPECT_EQ(time.wSecond, row.second) << row.date;
        EXPECT_EQ(time.wMilliseconds, 0);
    }
}

TEST(Date, CarriesIntoTheNextDay)
{
    const struct {
        DATE date;
        const char* fields;
    } rows[] = {
        {36584 + 86399.6 * second, "2000 2 29 0 0 0 weekday 2 ms 0"},
        {0.999999, "1899 12 31 0 0 0 weekday 0 ms 0"},
        {-1.999999, "1899 12 30 0 0 0 weekday 6 ms 0"},
        {-0.999999, "1899 12 31 0 0 0 weekday 0 ms 0"},
        {36891.999999, "2001 1 1 0 0 0 weekday 1 ms 0"},
    };
    for (const auto& row : rows) {
        SYSTEMTIME time;
        ASSERT_EQ(VariantTimeToSystemTime(row.date, &time), 1) << row.date;
        EXPECT_EQ(described(time), row.fields) << row.date;
    }
}

TEST(Date, LeavesTheFieldsAloneOutsideItsYears)
{
    using limits = std::numeric_limits<double>;
    for (const DATE date : {-657435.0, -657436.0, 2958466.0, 2958465.9999999, 1e300, -1e300, limits::infinity(),
                            -limits::infinity(), limits::quiet_NaN()}) {
        SYSTEMTIME time{77, 7, 7, 7, 7, 7, 7, 7};
        EXPECT_EQ(VariantTimeToSystemTime(date, &time), 0) << date;
        EXPECT_EQ(time.wYear, 77) << date;
        EXPECT_EQ(time.wMilliseconds, 7) << date;
    }
    EXPECT_EQ(VariantTimeToSystemTime(0, nullptr), 0);
}

TEST(Date, RefusesFieldsThatMakeNoDate)
{
    const SYSTEMTIME rows[] = {
        {2001, 0, 0, 1, 0, 0, 0, 0},  {2001, 13, 0, 1, 0, 0, 0, 0},         {2001, 1, 0, 0, 0, 0, 0, 0},
        {2001, 1, 0, 32, 0, 0, 0, 0}, {2001, 4, 0, 31, 0, 0, 0, 0},         {2001, 2, 0, 29, 0, 0, 0, 0},
        {1900, 2, 0, 29, 0, 0, 0, 0}, {2000, 2, 0, 30, 0, 0, 0, 0},         {2001, 1, 0, 1, 24, 0, 0, 0},
        {2001, 1, 0, 1, 0, 60, 0, 0}, {2001, 1, 0, 1, 0, 0, 60, 0},         {2001, 1, 0, 1, 0, 0, 0, 1000},
        {10000, 1, 0, 1, 0, 0, 0, 0}, {65535, 65535, 0, 65535, 0, 0, 0, 0},
    };
    for (const SYSTEMTIME& time : rows) {
        DATE date = 0.125;
        EXPECT_EQ(SystemTimeToVariantTime(&time, &date), 0) << described(time);
        EXPECT_EQ(date, 0.125);
    }
    DATE date;
    const SYSTEMTIME good{2001, 1, 0, 1, 0, 0, 0, 0};
    EXPECT_EQ(SystemTimeToVariantTime(nullptr, &date), 0);
    EXPECT_EQ(SystemTimeToVariantTime(&good, nullptr), 0);
}

TEST(Date, YearsOfTwoDigitsMean1930To2029)
{
    const struct {
        WORD written, meant;
    } rows[] = {{0, 2000}, {1, 2001}, {29, 2029}, {30, 1930}, {99, 1999}, {100, 100}};
    for (const auto& row : rows) {
        const SYSTEMTIME time{row.written, 6, 0, 15, 0, 0, 0, 0};
        DATE date;
        ASSERT_EQ(SystemTimeToVariantTime(&time, &date), 1);
        SYSTEMTIME back;
        ASSERT_EQ(VariantTimeToSystemTime(date, &back), 1);
        EXPECT_EQ(back.wYear, row.meant) << row.written;
    }
}

TEST(Date, MillisecondsAndWeekdayDoNotCount)
{
    const SYSTEMTIME time{2001, 2, 4, 3, 0, 0, 0, 999};
    DATE date;
    ASSERT_EQ(SystemTimeToVariantTime(&time, &date), 1);
    EXPECT_EQ(date, 36925.0);
}

TEST(Date, EveryDayComesBack)
{
    for (int day = -657434; day <= 2958465; day += 97) {
        SYSTEMTIME time;
        DATE back;
        ASSERT_EQ(VariantTimeToSystemTime(day, &time), 1);
        ASSERT_EQ(SystemTimeToVariantTime(&time, &back), 1);
        // The first years look like years of two digits only below 100, which there are none of.
        ASSERT_EQ(back, day);
    }
}

TEST(Date, EverySecondOfADayComesBack)
{
    for (const int day : {36925, -36925})
        for (int s = 0; s < 86400; s += 7) {
            const DATE date = day < 0 ? day - s * second : day + s * second;
            SYSTEMTIME time;
            ASSERT_EQ(VariantTimeToSystemTime(date, &time), 1);
            ASSERT_EQ(time.wHour * 3600 + time.wMinute * 60 + time.wSecond, s);
            DATE back;
            ASSERT_EQ(SystemTimeToVariantTime(&time, &back), 1);
            ASSERT_NEAR(back, date, second / 10);
        }
}

} // namespace
