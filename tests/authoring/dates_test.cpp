#include "authoring/dates.h"

#include <gtest/gtest.h>

namespace {

using namespace cw::authoring;

TEST(dates, turns_seconds_into_automation_dates)
{
    EXPECT_EQ(date_from_seconds(0), 25569.0);
    EXPECT_EQ(date_from_seconds(43'200), 25569.5);
    EXPECT_EQ(date_from_seconds(-86'400ll * 25'569), 0.0);
    // The time of day counts forward also before the beginning of the dates.
    EXPECT_EQ(date_from_seconds(-86'400ll * 25'570 + 21'600), -1.25);
    EXPECT_EQ(date_from_seconds(-86'400ll * 25'571), -2.0);
}

TEST(dates, turns_them_back)
{
    for (const std::int64_t seconds : {0ll, 1ll, 59ll, 981'158'645ll, -1ll, -86'400ll * 25'570 + 21'600,
                                       -86'400ll * 30'000 + 86'399, 4'000'000'007ll})
        EXPECT_EQ(seconds_from_date(date_from_seconds(seconds)), seconds);
}

TEST(dates, reads_the_written_form_alone)
{
    EXPECT_EQ(date_from_text("1899-12-30T00:00:00"), 0.0);
    EXPECT_EQ(date_from_text("2001-02-03T12:00:00"), 36925.5);
    EXPECT_EQ(date_from_text("1899-12-29T06:00:00"), -1.25);
    EXPECT_TRUE(date_from_text("2000-02-29T23:59:59"));
    EXPECT_TRUE(date_from_text("0100-01-01T00:00:00"));
    for (const char* text :
         {"", "2001-02-03", "2001-02-03 00:04:05", "2001-02-03T00:04:05Z", "2001-2-3T0:4:5", "2001-02-29T00:00:00",
          "2001-13-01T00:00:00", "2001-00-01T00:00:00", "2001-01-01T24:00:00", "2001-01-01T00:60:00",
          "2001-01-01T00:00:60", "0099-01-01T00:00:00", "2001-01-01t00:00:00", "20a1-01-01T00:00:00"})
        EXPECT_FALSE(date_from_text(text)) << text;
}

TEST(dates, knows_its_bounds)
{
    EXPECT_TRUE(is_date(0));
    EXPECT_TRUE(is_date(-657'434.9));
    EXPECT_TRUE(is_date(2'958'465.9));
    EXPECT_FALSE(is_date(-657'435.0));
    EXPECT_FALSE(is_date(2'958'466.0));
    EXPECT_FALSE(is_date(1e300));
}

TEST(dates, makes_dates_of_cabinets)
{
    const auto dos = [](const char* text) { return dos_date_time(*date_from_text(text)); };
    const auto expected = [](unsigned y, unsigned mo, unsigned d, unsigned h, unsigned mi, unsigned s) {
        return (y - 1980) << 25 | mo << 21 | d << 16 | h << 11 | mi << 5 | s / 2;
    };
    EXPECT_EQ(dos("2001-02-03T13:07:09"), expected(2001, 2, 3, 13, 7, 8));
    EXPECT_EQ(dos("1980-01-01T00:00:00"), expected(1980, 1, 1, 0, 0, 0));
    EXPECT_EQ(dos("1979-12-31T23:59:59"), expected(1980, 1, 1, 0, 0, 0));
    EXPECT_EQ(dos("0100-01-01T00:00:00"), expected(1980, 1, 1, 0, 0, 0));
    EXPECT_EQ(dos("2107-12-31T23:59:59"), expected(2107, 12, 31, 23, 59, 58));
    EXPECT_EQ(dos("2108-01-01T00:00:00"), expected(2107, 12, 31, 23, 59, 58));
    EXPECT_EQ(dos("9999-12-31T23:59:59"), expected(2107, 12, 31, 23, 59, 58));
}

} // namespace
