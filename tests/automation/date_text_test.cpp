#include "automation/date.h"
#include "automation/variant.h"
#include "support.h"

#include <gtest/gtest.h>

#include <cmath>

using cw::automation::variant;
using namespace cw::automation::test;

namespace {

constexpr LCID german = 0x0407;
constexpr LCID swedish = 0x041D;
constexpr LCID british = 0x0809;
constexpr double second = 1.0 / 86400;

variant date_variant(DATE date)
{
    return make(VT_DATE, &VARIANT::date, date);
}

std::string text_of(DATE date, LCID locale = 0x007F)
{
    return converted(date_variant(date), VT_BSTR, locale);
}

// A date as day and second, or the failure.
std::string read(const char16_t* text, LCID locale = 0x007F)
{
    const variant source(text);
    variant target;
    const HRESULT result = VariantChangeTypeEx(&target, &source, locale, 0, VT_DATE);
    if (FAILED(result))
        return describe_result(result);
    SYSTEMTIME time;
    EXPECT_EQ(VariantTimeToSystemTime(target.date, &time), 1);
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d %02d:%02d:%02d", time.wYear, time.wMonth, time.wDay,
                  time.wHour, time.wMinute, time.wSecond);
    return buffer;
}

TEST(DateText, WritesTheNeutralForm)
{
    const struct {
        DATE date;
        const char* text;
    } rows[] = {
        {36925 + 245 * second, "'2/3/2001 12:04:05 AM'"},
        {36925.5, "'2/3/2001 12:00:00 PM'"},
        {36925 + 86399 * second, "'2/3/2001 11:59:59 PM'"},
        {36925 + 46800 * second, "'2/3/2001 1:00:00 PM'"},
        {36925, "'2/3/2001'"},
        {37255, "'12/30/2001'"},
        {0, "'12:00:00 AM'"},
        {0.25, "'6:00:00 AM'"},
        {-0.25, "'6:00:00 AM'"},
        {-1.25, "'12/29/1899 6:00:00 AM'"},
        {1, "'12/31/1899'"},
        {0.9999999, "'12/31/1899'"},   // rounded into the next day
        {36924.9999999, "'2/3/2001'"}, // likewise
        {36925.0000001, "'2/3/2001'"}, // no second of a fraction
        {-657434, "'1/1/0100'"},
        {2958465, "'12/31/9999'"},
        {2958466, "overflow"},
        {-657435, "overflow"},
        {NAN, "overflow"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(text_of(row.date), row.text) << row.date;
}

TEST(DateText, WritesTheFormOfALocale)
{
    const DATE date = 36925 + 47045 * second;
    EXPECT_EQ(text_of(date, 0x0409), "'2/3/2001 1:04:05 PM'");
    EXPECT_EQ(text_of(date, german), "'03.02.2001 13:04:05'");
    EXPECT_EQ(text_of(36925, german), "'03.02.2001'");
    EXPECT_EQ(text_of(0.5, german), "'12:00:00'");
    EXPECT_EQ(text_of(date, swedish), "'2001-02-03 13:04:05'");
    EXPECT_EQ(text_of(date, british), "'03/02/2001 13:04:05'");
}

TEST(DateText, CountsInTheCalendarOfTheOthersEverywhere)
{
    // 1500 lies before the change of calendars, and 2001 is 2544 in Thailand.
    EXPECT_EQ(text_of(-145730, german), "'01.01.1501'");
    EXPECT_EQ(text_of(36925, 0x041E).find("2544"), std::string::npos);
    EXPECT_NE(text_of(36925, 0x041E).find("2001"), std::string::npos);
}

TEST(DateText, ReadsTheNeutralForm)
{
    const struct {
        const char16_t* text;
        const char* date;
    } rows[] = {
        {u"2/3/2001 12:04:05 AM", "2001-02-03 00:04:05"},
        {u"2/3/2001 12:04:05 pm", "2001-02-03 12:04:05"},
        {u"02/03/2001 11:59:59 PM", "2001-02-03 23:59:59"},
        {u"2/3/2001 13:04", "2001-02-03 13:04:00"},
        {u"2/3/2001", "2001-02-03 00:00:00"},
        {u"  2/3/2001  ", "2001-02-03 00:00:00"},
        {u"2-3-2001", "2001-02-03 00:00:00"},
        {u"2.3.2001", "2001-02-03 00:00:00"},
        {u"2 / 3 / 2001", "2001-02-03 00:00:00"},
        {u"13/2/2001", "2001-02-13 00:00:00"}, // no month 13: the other order
        {u"2/29/2000", "2000-02-29 00:00:00"},
        {u"2/3/29", "2029-02-03 00:00:00"},
        {u"2/3/30", "1930-02-03 00:00:00"},
        {u"1/1/0100", "0100-01-01 00:00:00"},
        {u"1/1/100 6:00 PM", "0100-01-01 18:00:00"},
        {u"12/31/9999", "9999-12-31 00:00:00"},
        {u"2001/2/3", "2001-02-03 00:00:00"},
        {u"12:00:00 AM", "1899-12-30 00:00:00"},
        {u"1:02 PM", "1899-12-30 13:02:00"},
        {u"1:02PM", "1899-12-30 13:02:00"},
        {u"23:59:59", "1899-12-30 23:59:59"},
        {u"12/29/1899 6:00 AM", "1899-12-29 06:00:00"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(read(row.text), row.date) << narrow(row.text);
}

TEST(DateText, ReadsIsoInEveryLocale)
{
    for (const LCID locale : {0x007Fu, german, swedish, british}) {
        EXPECT_EQ(read(u"2001-02-03", locale), "2001-02-03 00:00:00") << locale;
        EXPECT_EQ(read(u"2001-02-03 00:04:05", locale), "2001-02-03 00:04:05") << locale;
        EXPECT_EQ(read(u"2001-02-03T23:04", locale), "2001-02-03 23:04:00") << locale;
        EXPECT_EQ(read(u"2001-13-02", locale), "mismatch") << locale;
    }
}

TEST(DateText, ReadsTheOrderOfALocale)
{
    EXPECT_EQ(read(u"3.2.2001", german), "2001-02-03 00:00:00");
    EXPECT_EQ(read(u"03.02.2001 13:04:05", german), "2001-02-03 13:04:05");
    EXPECT_EQ(read(u"3/2/2001", british), "2001-02-03 00:00:00");
    EXPECT_EQ(read(u"2/13/2001", british), "2001-02-13 00:00:00");
}

TEST(DateText, RefusesWhatIsNoDate)
{
    for (const char16_t* text : {u"",
                                 u" ",
                                 u"5",
                                 u"1.5",
                                 u"37000",
                                 u"2/3",
                                 u"2/3/",
                                 u"/2/3/2001",
                                 u"2//3/2001",
                                 u"2/3/2001/",
                                 u"2/30/2001",
                                 u"2/29/2001",
                                 u"13/13/2001",
                                 u"0/1/2001",
                                 u"1/0/2001",
                                 u"2/3/10000",
                                 u"2/3/20010",
                                 u"2/3/2001 24:00",
                                 u"2/3/2001 1:60",
                                 u"2/3/2001 1:00:60",
                                 u"2/3/2001 13:00 PM",
                                 u"2/3/2001 1",
                                 u"2/3/2001 1:",
                                 u"2/3/2001 1:2:3:4",
                                 u"2/3/2001x",
                                 u"2/3/2001 x",
                                 u"2/3/2001T",
                                 u"2/3/2001 12:04:05 AM AM",
                                 u"AM",
                                 u"12.30",
                                 u"12 30",
                                 u"today",
                                 u"2001-02-03Z",
                                 u"20010203",
                                 u"-1/2/2001",
                                 u"2001-02-03 2001-02-03"})
        EXPECT_EQ(read(text), "mismatch") << narrow(text);
}

TEST(DateText, DatesBeforeDayZeroKeepTheirTime)
{
    const variant source(u"12/29/1899 6:00:00 AM");
    EXPECT_EQ(converted(source, VT_DATE), "-1.25");
}

// Every form that a locale writes must be read again by it, to the second.
TEST(DateText, ReadsWhatItWritesInManyLocales)
{
    for (const char* name :
         {"ar_EG", "bg_BG", "cs_CZ", "da_DK", "de_CH", "dz_BT", "ee_GH", "el_GR", "en_AU", "en_CA", "es_ES",
          "es_MX", "fa_IR", "fi_FI", "fr_CA", "fr_FR", "he_IL", "hi_IN", "hr_HR", "hu_HU", "it_IT", "ja_JP",
          "ko_KR", "lt_LT", "lv_LV", "nb_NO", "nl_NL", "pl_PL", "pt_BR", "ro_RO", "ru_RU", "sk_SK", "sl_SI",
          "sr_RS", "sv_SE", "th_TH", "tr_TR", "uk_UA", "vi_VN", "zh_CN", "zh_HK", "zh_TW"}) {
        const environment_change locale("LC_ALL", name);
        for (const DATE date : {36925.0, 36925 + 245 * second, 36925 + 47045 * second, 0.75, -36525.25, 45291.5}) {
            const variant source = date_variant(date);
            variant text;
            ASSERT_EQ(VariantChangeType(&text, &source, 0, VT_BSTR), S_OK) << name;
            variant back;
            ASSERT_EQ(VariantChangeType(&back, &text, 0, VT_DATE), S_OK) << name << describe(text);
            ASSERT_NEAR(back.date, date, second / 10) << name << describe(text);
        }
    }
}

} // namespace
