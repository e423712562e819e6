#include "automation/variant.h"
#include "support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using cw::automation::variant;
using namespace cw::automation::test;

namespace {

std::string text_of_float(float number)
{
    return converted(make(VT_R4, &VARIANT::fltVal, number), VT_BSTR);
}

TEST(NumberText, RealsHaveFifteenDigits)
{
    const struct {
        double number;
        const char* text;
    } rows[] = {
        {0, "'0'"},
        {-0.0, "'0'"},
        {1, "'1'"},
        {-1.5, "'-1.5'"},
        {0.1, "'0.1'"},
        {1.0 / 3, "'0.333333333333333'"},
        {2.0 / 3, "'0.666666666666667'"},
        {123456789012345, "'123456789012345'"},
        {1e14, "'100000000000000'"},
        {1e15, "'1E+15'"},
        {1234567890123456, "'1.23456789012346E+15'"},
        {0.0001, "'0.0001'"},
        {0.00001, "'1E-05'"},
        {-1.25e-7, "'-1.25E-07'"},
        {1e100, "'1E+100'"},
        {1e-300, "'1E-300'"},
        {0.30000000000000004, "'0.3'"},
        {999999999999999.5, "'1E+15'"},
        {std::numeric_limits<double>::max(), "'1.79769313486232E+308'"},
        {std::numeric_limits<double>::infinity(), "'1.#INF'"},
        {-std::numeric_limits<double>::infinity(), "'-1.#INF'"},
        {std::numeric_limits<double>::quiet_NaN(), "'1.#QNAN'"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(converted(variant(row.number), VT_BSTR), row.text) << row.number;
}

TEST(NumberText, FloatsHaveSevenDigits)
{
    EXPECT_EQ(text_of_float(0.1f), "'0.1'");
    EXPECT_EQ(text_of_float(-2.5f), "'-2.5'");
    EXPECT_EQ(text_of_float(1.0f / 3), "'0.3333333'");
    EXPECT_EQ(text_of_float(1234567.0f), "'1234567'");
    EXPECT_EQ(text_of_float(16777216.0f), "'1.677722E+07'");
    EXPECT_EQ(text_of_float(1e-5f), "'1E-05'");
}

TEST(NumberText, CurrencyHasItsFourPlacesWithoutTheirLastZeros)
{
    const struct {
        std::int64_t ten_thousandths;
        const char* text;
    } rows[] = {
        {0, "'0'"},
        {10000, "'1'"},
        {15000, "'1.5'"},
        {1, "'0.0001'"},
        {-1, "'-0.0001'"},
        {-123456, "'-12.3456'"},
        {1000000, "'100'"},
        {100, "'0.01'"},
        {std::numeric_limits<std::int64_t>::max(), "'922337203685477.5807'"},
        {std::numeric_limits<std::int64_t>::min(), "'-922337203685477.5808'"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(converted(make(VT_CY, &VARIANT::cyVal, CY{row.ten_thousandths}), VT_BSTR), row.text);
}

TEST(NumberText, ReadsTheUsualForms)
{
    const struct {
        const char16_t* text;
        const char* number;
    } rows[] = {
        {u"0", "0"},
        {u"5", "5"},
        {u"-5", "-5"},
        {u"+5", "5"},
        {u"5-", "-5"},
        {u"5+", "5"},
        {u"(5)", "-5"},
        {u" ( 5 ) ", "-5"},
        {u"  5  ", "5"},
        {u"\t5\r\n", "5"},
        {u"- 5", "-5"},
        {u"1.5", "1.5"},
        {u".5", "0.5"},
        {u"5.", "5"},
        {u"-.5", "-0.5"},
        {u"1,234,567.5", "1234567.5"},
        {u"12,34", "1234"},
        {u"1E5", "1e+05"},
        {u"1e5", "1e+05"},
        {u"1E+5", "1e+05"},
        {u"1.5E-5", "1.5e-05"},
        {u"000123", "123"},
        {u"0.1", "0.1"},
        {u"1E400E", "mismatch"},
        {u"1E400", "overflow"},
        {u"-1E400", "overflow"},
        {u"1E-400", "0"},
        {u"0E99999999999999999999", "0"},
        {u"1E99999999999999999999", "overflow"},
        {u"1E-99999999999999999999", "0"},
        {u"179769313486231570000000000000000000000000", "1.797693134862316e+41"},
        {u"0.1000000000000000055511151231257827021181583404541015625", "0.1"},
        {u"9007199254740993", "9007199254740992"},                                     // a tie, to the even side
        {u"9007199254740993.00000000000000000000000000000000001", "9007199254740994"}, // above the tie
    };
    for (const auto& row : rows)
        EXPECT_EQ(converted(variant(row.text), VT_R8), row.number) << narrow(row.text);
}

TEST(NumberText, RefusesWhatIsNoNumber)
{
    for (const char16_t* text : {u"",     u" ",  u"-",    u"()",    u".",      u",",     u",5",  u"-5-", u"+-5",
                                 u"(-5)", u"(5", u"5)",   u"1 2",   u"1.2.3",  u"1.2,3", u"1E",  u"1E+", u"E5",
                                 u"5x",   u"x5", u"0x10", u"1_000", u"\u0665", u"--5",   u"NaN", u"inf", u"1.#INF"}) {
        EXPECT_EQ(converted(variant(text), VT_R8), "mismatch") << narrow(text);
        EXPECT_EQ(converted(variant(text), VT_I4), "mismatch") << narrow(text);
    }
    EXPECT_EQ(converted(variant(std::u16string_view(u"5\0", 2)), VT_I4), "mismatch") << "an embedded zero";
    variant null_text;
    null_text.vt = VT_BSTR;
    EXPECT_EQ(converted(null_text, VT_I4), "mismatch");
}

TEST(NumberText, IntegersInTextAreExact)
{
    EXPECT_EQ(converted(variant(u"9223372036854775807"), VT_I8), "9223372036854775807");
    EXPECT_EQ(converted(variant(u"-9223372036854775808"), VT_I8), "-9223372036854775808");
    EXPECT_EQ(converted(variant(u"9223372036854775808"), VT_I8), "overflow");
    EXPECT_EQ(converted(variant(u"18446744073709551615"), VT_UI8), "18446744073709551615");
    EXPECT_EQ(converted(variant(u"18446744073709551616"), VT_UI8), "overflow");
    EXPECT_EQ(converted(variant(u"922337203685477.5807"), VT_CY), "9223372036854775807 ten-thousandths");
    EXPECT_EQ(converted(variant(u"922337203685477.5808"), VT_CY), "overflow");
}

TEST(NumberText, TheNeutralFormHasPointAndComma)
{
    EXPECT_EQ(converted(variant(1.5), VT_BSTR, 0x0409), "'1.5'");
    EXPECT_EQ(converted(variant(1.5), VT_BSTR, 0x007F), "'1.5'");
    EXPECT_EQ(converted(variant(u"1,234.5"), VT_R8, 0x0409), "1234.5");
}

TEST(NumberText, OtherLocalesHaveTheirs)
{
    constexpr LCID german = 0x0407;
    constexpr LCID french = 0x040C;
    EXPECT_EQ(converted(variant(-1234.5), VT_BSTR, german), "'-1234,5'");
    EXPECT_EQ(converted(variant(1e-5), VT_BSTR, german), "'1E-05'");
    EXPECT_EQ(converted(make(VT_CY, &VARIANT::cyVal, CY{15000}), VT_BSTR, german), "'1,5'");
    EXPECT_EQ(converted(variant(u"1.234,5"), VT_R8, german), "1234.5");
    EXPECT_EQ(converted(variant(u"1,234.5"), VT_R8, german), "mismatch");
    EXPECT_EQ(converted(variant(u"1 234,5"), VT_R8, french), "1234.5");
    EXPECT_EQ(converted(variant(u"1\u202F234,5"), VT_R8, french), "1234.5");
    EXPECT_EQ(converted(variant(u"1\u00A0234,5"), VT_R8, french), "1234.5");
}

} // namespace
