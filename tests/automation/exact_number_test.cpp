// Seen through the conversions: decimals, currency and integers at their edges.
#include "automation/variant.h"
#include "support.h"

#include <gtest/gtest.h>

using cw::automation::variant;
using namespace cw::automation::test;

namespace {

variant decimal(bool negative, std::uint32_t high, std::uint64_t low, std::uint8_t scale)
{
    variant value;
    value.decVal = {0, scale, static_cast<std::uint8_t>(negative ? 0x80 : 0), high, low};
    value.vt = VT_DECIMAL;
    return value;
}

TEST(ExactNumber, RoundsHalfToEven)
{
    const struct {
        const char16_t* text;
        const char* integer;
    } rows[] = {
        {u"0.5", "0"},
        {u"1.5", "2"},
        {u"2.5", "2"},
        {u"3.5", "4"},
        {u"-0.5", "0"},
        {u"-1.5", "-2"},
        {u"-2.5", "-2"},
        {u"0.49999", "0"},
        {u"0.50001", "1"},
        {u"2.50000000000000000000001", "3"},
        {u"0.05", "0"},
        {u"0.95", "1"},
        {u"14.5", "14"},
        {u"15.5", "16"},
        {u"0.99999999999999999999999999", "1"},
        {u"2.5000000000000000000000000000000000000000000000000000001", "3"},
        {u"2.4999999999999999999999999999999999999999999999999999999", "2"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(converted(variant(row.text), VT_I4), row.integer) << narrow(row.text);
}

TEST(ExactNumber, CurrencyRoundsHalfToEven)
{
    EXPECT_EQ(converted(make(VT_CY, &VARIANT::cyVal, CY{5000}), VT_I4), "0");
    EXPECT_EQ(converted(make(VT_CY, &VARIANT::cyVal, CY{15000}), VT_I4), "2");
    EXPECT_EQ(converted(make(VT_CY, &VARIANT::cyVal, CY{-25000}), VT_I4), "-2");
    EXPECT_EQ(converted(make(VT_CY, &VARIANT::cyVal, CY{25001}), VT_I4), "3");
    EXPECT_EQ(converted(variant(u"0.00005"), VT_CY), "0 ten-thousandths");
    EXPECT_EQ(converted(variant(u"0.00015"), VT_CY), "2 ten-thousandths");
    EXPECT_EQ(converted(variant(u"-1.00005"), VT_CY), "-10000 ten-thousandths");
}

TEST(ExactNumber, DecimalsKeepTheirPlaces)
{
    EXPECT_EQ(converted(decimal(false, 0, 12345, 2), VT_BSTR), "'123.45'");
    EXPECT_EQ(converted(decimal(true, 0, 5, 3), VT_BSTR), "'-0.005'");
    EXPECT_EQ(converted(decimal(false, 0, 1500, 3), VT_BSTR), "'1.5'");
    EXPECT_EQ(converted(decimal(true, 0, 0, 0), VT_BSTR), "'0'");
    EXPECT_EQ(converted(decimal(false, 0xFFFFFFFF, UINT64_MAX, 0), VT_BSTR), "'79228162514264337593543950335'");
    EXPECT_EQ(converted(decimal(true, 0xFFFFFFFF, UINT64_MAX, 28), VT_BSTR), "'-7.9228162514264337593543950335'");
    EXPECT_EQ(converted(decimal(false, 0, 1, 28), VT_BSTR), "'0.0000000000000000000000000001'");
    EXPECT_EQ(converted(decimal(false, 0, 15, 1), VT_I4), "2");
    EXPECT_EQ(converted(decimal(false, 0, 15, 1), VT_R8), "1.5");
    EXPECT_EQ(converted(decimal(false, 0, 15, 1), VT_R4), "1.5");
    EXPECT_EQ(converted(decimal(false, 0, 15, 1), VT_CY), "15000 ten-thousandths");
    EXPECT_EQ(converted(decimal(false, 0, 0, 5), VT_BOOL), "false");
    EXPECT_EQ(converted(decimal(false, 1, 0, 0), VT_UI8), "overflow");
    EXPECT_EQ(converted(decimal(false, 0, 1, 29), VT_R8), "mismatch") << "no decimal has that scale";
}

TEST(ExactNumber, DecimalsAreMade)
{
    EXPECT_EQ(converted(variant(u"123.45"), VT_DECIMAL), "0:12345e-2");
    EXPECT_EQ(converted(variant(u"-123.45"), VT_DECIMAL), "-0:12345e-2");
    EXPECT_EQ(converted(variant(u"79228162514264337593543950335"), VT_DECIMAL), "4294967295:18446744073709551615e-0");
    EXPECT_EQ(converted(variant(u"79228162514264337593543950336"), VT_DECIMAL), "overflow");
    EXPECT_EQ(converted(variant(u"7.92281625142643375935439503355"), VT_DECIMAL), "429496729:"
                                                                                  "11068046444225730970e-27")
        << "the last place that does not fit is rounded away";
    EXPECT_EQ(converted(variant(u"1E5"), VT_DECIMAL), "0:100000e-0");
    EXPECT_EQ(converted(variant(u"1E-40"), VT_DECIMAL), "0:0e-28");
    EXPECT_EQ(converted(variant(0.1), VT_DECIMAL), "0:1e-1");
    EXPECT_EQ(converted(make(VT_R4, &VARIANT::fltVal, 0.1f), VT_DECIMAL), "0:1e-1");
    EXPECT_EQ(converted(variant(1e30), VT_DECIMAL), "overflow");
    EXPECT_EQ(converted(make(VT_CY, &VARIANT::cyVal, CY{-15000}), VT_DECIMAL), "-0:15000e-4");
    EXPECT_EQ(converted(make(VT_I8, &VARIANT::llVal, INT64_MIN), VT_DECIMAL), "-0:9223372036854775808e-0");
    EXPECT_EQ(converted(variant(true), VT_DECIMAL), "-0:1e-0");
}

TEST(ExactNumber, LargeIntegersBecomeTheNearestReal)
{
    EXPECT_EQ(converted(make(VT_I8, &VARIANT::llVal, INT64_MIN), VT_R8), "-9223372036854775808");
    EXPECT_EQ(converted(make(VT_UI8, &VARIANT::ullVal, UINT64_MAX), VT_R8), "18446744073709551616");
    EXPECT_EQ(converted(make(VT_I8, &VARIANT::llVal, std::int64_t{9007199254740993}), VT_R8), "9007199254740992");
    EXPECT_EQ(converted(make(VT_I8, &VARIANT::llVal, std::int64_t{16777217}), VT_R4), "16777216");
}

} // namespace
