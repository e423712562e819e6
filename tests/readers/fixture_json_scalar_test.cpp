#include "readers/fixture/json_scalar.h"

#include "automation/dispatch_object.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

using namespace cw;
using namespace cw::fixture;
using automation::variant;

namespace {

variant value_of(const char* text, VARTYPE type)
{
    const json value = json::parse(text);
    return scalar_value(&value, type);
}

HRESULT failure_of(const char* text, VARTYPE type)
{
    try {
        (void)value_of(text, type);
        return S_OK;
    } catch (const automation::automation_error& error) {
        EXPECT_FALSE(error.description().empty());
        return error.result();
    }
}

HRESULT told_failure(const char* text)
{
    try {
        throw_if_fail(json::parse(text));
        return S_OK;
    } catch (const automation::automation_error& error) {
        return error.result();
    }
}

TEST(FixtureJsonScalar, FindsKeysOfObjectsAlone)
{
    const json object = json::parse(R"({"a": 1})");
    ASSERT_NE(find_key(object, "a"), nullptr);
    EXPECT_EQ(*find_key(object, "a"), 1);
    EXPECT_EQ(find_key(object, "A"), nullptr);
    for (const char* other : {"5", "null", "\"a\"", "[1]"})
        EXPECT_EQ(find_key(json::parse(other), "a"), nullptr) << other;
}

TEST(FixtureJsonScalar, FailsWithTheToldResult)
{
    EXPECT_EQ(told_failure(R"({"fail": "0x80004005"})"), E_FAIL);
    EXPECT_EQ(told_failure(R"({"fail": "0X8007000e"})"), E_OUTOFMEMORY);
    EXPECT_EQ(told_failure(R"({"fail": -2147467259})"), E_FAIL);
    EXPECT_EQ(told_failure(R"({"fail": 2147500037})"), E_FAIL);
    for (const char* other : {"{}", "5", "null", "[]", R"("fail")", R"({"Fail": "0x80004005"})"})
        EXPECT_EQ(told_failure(other), S_OK) << other;
}

TEST(FixtureJsonScalar, RefusesAFailThatIsNoFailure)
{
    for (const char* other :
         {R"({"fail": "0x0"})", R"({"fail": "0x1"})", R"({"fail": "80004005"})", R"({"fail": "0x"})",
          R"({"fail": "0x-1"})", R"({"fail": "0x80004005 "})", R"({"fail": ""})", R"({"fail": null})",
          R"({"fail": 1.5})", R"({"fail": []})", R"({"fail": {"fail": "0x80004005"}})", R"({"fail": "0x180004005"})"})
        EXPECT_EQ(told_failure(other), DISP_E_TYPEMISMATCH) << other;
}

TEST(FixtureJsonScalar, FailsInPlaceOfAnyValue)
{
    for (const VARTYPE type : {VT_BSTR, VT_I4, VT_BOOL, VT_DATE, VT_R8, VT_CY, VT_EMPTY, VT_DISPATCH})
        EXPECT_EQ(failure_of(R"({"fail": "0x80070005"})", type), E_ACCESSDENIED) << type;
}

TEST(FixtureJsonScalar, AbsentAndNullAreZero)
{
    for (const VARTYPE type : {VT_I1, VT_UI1, VT_I2, VT_UI2, VT_I4, VT_UI4, VT_INT, VT_UINT, VT_I8, VT_UI8, VT_R8,
                               VT_CY, VT_DATE, VT_ERROR, VT_BOOL, VT_DISPATCH, VT_UNKNOWN}) {
        for (const bool absent : {true, false}) {
            const variant zero = absent ? scalar_value(nullptr, type) : value_of("null", type);
            EXPECT_EQ(zero.vt, type);
            EXPECT_EQ(zero.llVal, 0) << type;
        }
    }
    const variant absent_text = scalar_value(nullptr, VT_BSTR);
    EXPECT_NE(absent_text.bstrVal, nullptr);
    EXPECT_EQ(SysStringLen(absent_text.bstrVal), 0u);
    const variant null_text = value_of("null", VT_BSTR);
    EXPECT_EQ(null_text.vt, VT_BSTR);
    EXPECT_EQ(null_text.bstrVal, nullptr);
    EXPECT_EQ(value_of("5", VT_EMPTY).vt, VT_EMPTY);
    EXPECT_EQ(value_of("5", VT_NULL).vt, VT_NULL);
}

TEST(FixtureJsonScalar, IntegersKeepToTheirRange)
{
    EXPECT_EQ(value_of("-128", VT_I1).cVal, -128);
    EXPECT_EQ(value_of("255", VT_UI1).bVal, 255);
    EXPECT_EQ(value_of("-32768", VT_I2).iVal, -32768);
    EXPECT_EQ(value_of("65535", VT_UI2).uiVal, 65535);
    EXPECT_EQ(value_of("4294967295", VT_UI4).ulVal, 4294967295u);
    EXPECT_EQ(value_of("4294967295", VT_UINT).uintVal, 4294967295u);
    EXPECT_EQ(value_of("-7", VT_INT).intVal, -7);
    EXPECT_EQ(value_of("-9223372036854775808", VT_I8).llVal, std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(value_of("18446744073709551615", VT_UI8).ullVal, std::numeric_limits<std::uint64_t>::max());
    const struct {
        const char* text;
        VARTYPE type;
    } beyond[] = {{"128", VT_I1},          {"-129", VT_I1},        {"256", VT_UI1},
                  {"-1", VT_UI1},          {"32768", VT_I2},       {"-32769", VT_I2},
                  {"65536", VT_UI2},       {"4294967296", VT_UI4}, {"-1", VT_UI4},
                  {"4294967296", VT_I4},   {"-2147483649", VT_I4}, {"9223372036854775808", VT_I8},
                  {"4294967296", VT_UINT}, {"-1", VT_UI8},         {"4294967296", VT_ERROR}};
    for (const auto& row : beyond)
        EXPECT_EQ(failure_of(row.text, row.type), DISP_E_OVERFLOW) << row.text;
}

TEST(FixtureJsonScalar, SignedIntegersTakeTheBitsOfTheUnsignedHalf)
{
    EXPECT_EQ(value_of("2147483647", VT_I4).lVal, std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(value_of("2147483648", VT_I4).lVal, std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(value_of("4294967295", VT_I4).lVal, -1);
}

TEST(FixtureJsonScalar, IntegersBeyond64BitsAreNoIntegers)
{
    EXPECT_EQ(failure_of("18446744073709551616", VT_UI8), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(failure_of("18446744073709551616", VT_I4), DISP_E_TYPEMISMATCH);
}

TEST(FixtureJsonScalar, BooleansAndIntegersStandForEachOther)
{
    EXPECT_EQ(value_of("true", VT_BOOL).boolVal, VARIANT_TRUE);
    EXPECT_EQ(value_of("false", VT_BOOL).boolVal, VARIANT_FALSE);
    EXPECT_EQ(value_of("1", VT_BOOL).boolVal, VARIANT_TRUE);
    EXPECT_EQ(value_of("0", VT_BOOL).boolVal, VARIANT_FALSE);
    EXPECT_EQ(value_of("true", VT_I4).lVal, -1);
    EXPECT_EQ(value_of("false", VT_I4).lVal, 0);
}

TEST(FixtureJsonScalar, ReadsReals)
{
    EXPECT_EQ(value_of("1.5", VT_R8).dblVal, 1.5);
    EXPECT_EQ(value_of("-2", VT_R8).dblVal, -2.0);
    const variant small = value_of("0.5", VT_R4);
    EXPECT_EQ(small.vt, VT_R4);
    EXPECT_EQ(small.fltVal, 0.5f);
    EXPECT_EQ(failure_of("1e300", VT_R4), DISP_E_OVERFLOW);
    EXPECT_EQ(failure_of("\"1.5\"", VT_R8), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(failure_of("true", VT_R4), DISP_E_TYPEMISMATCH);
}

TEST(FixtureJsonScalar, ReadsAmounts)
{
    EXPECT_EQ(value_of("1.5", VT_CY).cyVal.int64, 15000);
    EXPECT_EQ(value_of("-3", VT_CY).cyVal.int64, -30000);
    EXPECT_EQ(value_of("\"922337203685477.5807\"", VT_CY).cyVal.int64, std::numeric_limits<std::int64_t>::max());
    const variant decimal = value_of("\"-1.25\"", VT_DECIMAL);
    EXPECT_EQ(decimal.vt, VT_DECIMAL);
    EXPECT_EQ(decimal.decVal.Lo64, 125u);
    EXPECT_EQ(decimal.decVal.scale, 2);
    EXPECT_EQ(decimal.decVal.sign, 0x80);
    EXPECT_EQ(value_of("18446744073709551615", VT_DECIMAL).decVal.Lo64, std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(failure_of("1e300", VT_CY), DISP_E_OVERFLOW);
    EXPECT_EQ(failure_of("\"much\"", VT_CY), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(failure_of("[]", VT_DECIMAL), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(value_of("null", VT_DECIMAL).vt, VT_DECIMAL);
    EXPECT_EQ(value_of("null", VT_DECIMAL).decVal.Lo64, 0u);
}

TEST(FixtureJsonScalar, ReadsDates)
{
    EXPECT_EQ(value_of("\"1899-12-30T00:00:00\"", VT_DATE).date, 0.0);
    EXPECT_EQ(value_of("\"1899-12-31\"", VT_DATE).date, 1.0);
    EXPECT_EQ(value_of("\"2001-02-03T12:00:00\"", VT_DATE).date, 36925.5);
    EXPECT_NEAR(value_of("\"2001-02-03T00:04:05\"", VT_DATE).date, 36925 + 245 / 86400.0, 1e-9);
    EXPECT_EQ(value_of("36925.25", VT_DATE).date, 36925.25);
    EXPECT_EQ(value_of("-3", VT_DATE).date, -3.0);
    EXPECT_EQ(value_of("1e200", VT_DATE).date, 1e200) << "a number is the day count itself";
    for (const char* text :
         {"\"\"", "\"2001-02-03 00:04:05\"", "\"2001-2-3\"", "\"2001-02-03T00:04\"", "\"2001-02-03T00:04:05Z\"",
          "\"2001-13-01\"", "\"2001-02-03T25:00:00\"", "\"0000-00-00\"", "\"20o1-02-03\"", "true", "[]"})
        EXPECT_EQ(failure_of(text, VT_DATE), DISP_E_TYPEMISMATCH) << text;
}

TEST(FixtureJsonScalar, ReadsResultCodes)
{
    EXPECT_EQ(value_of("\"0x80020004\"", VT_ERROR).scode, DISP_E_PARAMNOTFOUND);
    EXPECT_EQ(value_of("\"0x1\"", VT_ERROR).vt, VT_ERROR);
    EXPECT_EQ(value_of("-5", VT_ERROR).scode, -5);
    EXPECT_EQ(failure_of("\"five\"", VT_ERROR), DISP_E_TYPEMISMATCH);
}

TEST(FixtureJsonScalar, ReferencesAreNullAlone)
{
    EXPECT_EQ(failure_of("{}", VT_DISPATCH), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(failure_of("5", VT_UNKNOWN), DISP_E_TYPEMISMATCH);
}

TEST(FixtureJsonScalar, TellsWhatItFound)
{
    const struct {
        const char* text;
        std::u16string_view found;
    } rows[] = {{"null", u"found null"},
                {"{}", u"found an object"},
                {"[]", u"found an array"},
                {"\"x\"", u"found a text"},
                {"1", u"found an integer"},
                {"true", u"found a boolean"},
                {"1.5", u"found a number with a fraction"}};
    for (const auto& row : rows) {
        try {
            throw_mismatch("a wonder", json::parse(row.text));
        } catch (const automation::automation_error& error) {
            EXPECT_EQ(error.result(), DISP_E_TYPEMISMATCH);
            EXPECT_EQ(error.description(), u"expected a wonder, " + std::u16string(row.found));
        }
    }
}

} // namespace
