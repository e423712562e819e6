#include "automation/variant.h"
#include "support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

using cw::automation::variant;
using namespace cw::automation::test;

namespace {

// A source with what it gives for every type. "-" is a type mismatch, "^" an overflow.
struct conversion_row {
    const char* name;
    VARIANT source;
    const char* empty;
    const char* null;
    const char* integers[10]; // I1 UI1 I2 UI2 I4 UI4 I8 UI8 INT UINT
    const char* r4;
    const char* r8;
    const char* cy;
    const char* date;
    const char* boolean;
    const char* text;
    const char* error;
    const char* decimal;
};

constexpr VARTYPE integer_types[] = {VT_I1, VT_UI1, VT_I2, VT_UI2, VT_I4, VT_UI4, VT_I8, VT_UI8, VT_INT, VT_UINT};

std::string expanded(const char* expected)
{
    const std::string_view text = expected;
    return text == "-" ? "mismatch" : text == "^" ? "overflow" : std::string(text);
}

std::string expanded_currency(const char* expected)
{
    const std::string text = expanded(expected);
    return std::isalpha(static_cast<unsigned char>(text[0])) ? text : text + " ten-thousandths";
}

void check(const conversion_row& row)
{
    SCOPED_TRACE(row.name);
    const VARIANT& source = row.source;
    EXPECT_EQ(converted(source, VT_EMPTY), expanded(row.empty));
    EXPECT_EQ(converted(source, VT_NULL), expanded(row.null));
    for (std::size_t i = 0; i < std::size(integer_types); ++i)
        EXPECT_EQ(converted(source, integer_types[i]), expanded(row.integers[i])) << "type " << integer_types[i];
    EXPECT_EQ(converted(source, VT_R4), expanded(row.r4));
    EXPECT_EQ(converted(source, VT_R8), expanded(row.r8));
    EXPECT_EQ(converted(source, VT_CY), expanded_currency(row.cy));
    EXPECT_EQ(converted(source, VT_DATE), expanded(row.date));
    EXPECT_EQ(converted(source, VT_BOOL), expanded(row.boolean));
    EXPECT_EQ(converted(source, VT_BSTR), expanded(row.text));
    EXPECT_EQ(converted(source, VT_ERROR), expanded(row.error));
    EXPECT_EQ(converted(source, VT_DECIMAL), expanded(row.decimal));
    if (source.vt != VT_DISPATCH && source.vt != VT_UNKNOWN) {
        EXPECT_EQ(converted(source, VT_DISPATCH), "mismatch");
        EXPECT_EQ(converted(source, VT_UNKNOWN), "mismatch");
    }
}

TEST(VariantConvert, EveryTypeToEveryType)
{
    variant null;
    null.vt = VT_NULL;
    const variant empty;
    const variant decimal = [] {
        variant value;
        value.decVal = {0, 1, 0, 0, 25};
        value.vt = VT_DECIMAL;
        return value;
    }();
    const variant text(u"65");
    const variant bad_text(u"text");
    const variant no_text(u"");
    plain_object plain;
    variant unknown;
    unknown.vt = VT_UNKNOWN;
    unknown.punkVal = &plain;
    plain.AddRef();

    // clang-format off
    const conversion_row rows[] = {
        {"empty", empty, "empty", "-", {"0", "0", "0", "0", "0", "0", "0", "0", "0", "0"},
         "0", "0", "0", "0", "false", "''", "error 0", "0:0e-0"},
        {"null", null, "-", "null", {"-", "-", "-", "-", "-", "-", "-", "-", "-", "-"},
         "-", "-", "-", "-", "-", "-", "-", "-"},
        {"i1", make(VT_I1, &VARIANT::cVal, std::int8_t{-128}), "-", "-",
         {"-128", "^", "-128", "^", "-128", "^", "-128", "^", "-128", "^"},
         "-128", "-128", "-1280000", "-128", "true", "'-128'", "-", "-0:128e-0"},
        {"ui1", make(VT_UI1, &VARIANT::bVal, std::uint8_t{255}), "-", "-",
         {"^", "255", "255", "255", "255", "255", "255", "255", "255", "255"},
         "255", "255", "2550000", "255", "true", "'255'", "-", "0:255e-0"},
        {"i2", make(VT_I2, &VARIANT::iVal, std::int16_t{-32768}), "-", "-",
         {"^", "^", "-32768", "^", "-32768", "^", "-32768", "^", "-32768", "^"},
         "-32768", "-32768", "-327680000", "-32768", "true", "'-32768'", "-", "-0:32768e-0"},
        {"ui2", make(VT_UI2, &VARIANT::uiVal, std::uint16_t{65535}), "-", "-",
         {"^", "^", "^", "65535", "65535", "65535", "65535", "65535", "65535", "65535"},
         "65535", "65535", "655350000", "65535", "true", "'65535'", "-", "0:65535e-0"},
        {"i4", variant(std::int32_t{INT32_MIN}), "-", "-",
         {"^", "^", "^", "^", "-2147483648", "^", "-2147483648", "^", "-2147483648", "^"},
         "-2147483648", "-2147483648", "-21474836480000", "^", "true", "'-2147483648'", "-", "-0:2147483648e-0"},
        {"ui4", make(VT_UI4, &VARIANT::ulVal, UINT32_MAX), "-", "-",
         {"^", "^", "^", "^", "^", "4294967295", "4294967295", "4294967295", "^", "4294967295"},
         "4294967296", "4294967295", "42949672950000", "^", "true", "'4294967295'", "-", "0:4294967295e-0"},
        {"int", make(VT_INT, &VARIANT::intVal, std::int32_t{-5}), "-", "-",
         {"-5", "^", "-5", "^", "-5", "^", "-5", "^", "-5", "^"},
         "-5", "-5", "-50000", "-5", "true", "'-5'", "-", "-0:5e-0"},
        {"uint", make(VT_UINT, &VARIANT::uintVal, std::uint32_t{0}), "-", "-",
         {"0", "0", "0", "0", "0", "0", "0", "0", "0", "0"},
         "0", "0", "0", "0", "false", "'0'", "-", "0:0e-0"},
        {"i8", make(VT_I8, &VARIANT::llVal, INT64_MIN), "-", "-",
         {"^", "^", "^", "^", "^", "^", "-9223372036854775808", "^", "^", "^"},
         "-9.223372e+18", "-9223372036854775808", "^", "^", "true", "'-9223372036854775808'", "-",
         "-0:9223372036854775808e-0"},
        {"ui8", make(VT_UI8, &VARIANT::ullVal, UINT64_MAX), "-", "-",
         {"^", "^", "^", "^", "^", "^", "^", "18446744073709551615", "^", "^"},
         "1.8446744e+19", "18446744073709551616", "^", "^", "true", "'18446744073709551615'", "-",
         "0:18446744073709551615e-0"},
        {"r4", make(VT_R4, &VARIANT::fltVal, 2.5f), "-", "-", {"2", "2", "2", "2", "2", "2", "2", "2", "2", "2"},
         "2.5", "2.5", "25000", "2.5", "true", "'2.5'", "-", "0:25e-1"},
        {"r8", variant(-3.5), "-", "-", {"-4", "^", "-4", "^", "-4", "^", "-4", "^", "-4", "^"},
         "-3.5", "-3.5", "-35000", "-3.5", "true", "'-3.5'", "-", "-0:35e-1"},
        {"cy", make(VT_CY, &VARIANT::cyVal, CY{12345}), "-", "-", {"1", "1", "1", "1", "1", "1", "1", "1", "1", "1"},
         "1.2345", "1.2345", "12345", "1.2345", "true", "'1.2345'", "-", "0:12345e-4"},
        {"date", make(VT_DATE, &VARIANT::date, 100.5), "-", "-",
         {"100", "100", "100", "100", "100", "100", "100", "100", "100", "100"},
         "100.5", "100.5", "1005000", "100.5", "true", "'4/9/1900 12:00:00 PM'", "-", "0:1005e-1"},
        {"true", variant(true), "-", "-",
         {"-1", "255", "-1", "65535", "-1", "4294967295", "-1", "18446744073709551615", "-1", "4294967295"},
         "-1", "-1", "-10000", "-1", "true", "'-1'", "-", "-0:1e-0"},
        {"false", variant(false), "-", "-", {"0", "0", "0", "0", "0", "0", "0", "0", "0", "0"},
         "0", "0", "0", "0", "false", "'0'", "-", "0:0e-0"},
        {"text", text, "-", "-", {"65", "65", "65", "65", "65", "65", "65", "65", "65", "65"},
         "65", "65", "650000", "-", "true", "'65'", "-", "0:65e-0"},
        {"bad text", bad_text, "-", "-", {"-", "-", "-", "-", "-", "-", "-", "-", "-", "-"},
         "-", "-", "-", "-", "-", "'text'", "-", "-"},
        {"no text", no_text, "-", "-", {"-", "-", "-", "-", "-", "-", "-", "-", "-", "-"},
         "-", "-", "-", "-", "-", "''", "-", "-"},
        {"error", make(VT_ERROR, &VARIANT::scode, SCODE{5}), "-", "-",
         {"-", "-", "-", "-", "-", "-", "-", "-", "-", "-"}, "-", "-", "-", "-", "-", "-", "error 5", "-"},
        {"decimal", decimal, "-", "-", {"2", "2", "2", "2", "2", "2", "2", "2", "2", "2"},
         "2.5", "2.5", "25000", "2.5", "true", "'2.5'", "-", "0:25e-1"},
        {"unknown", unknown, "-", "-", {"-", "-", "-", "-", "-", "-", "-", "-", "-", "-"},
         "-", "-", "-", "-", "-", "-", "-", "-"},
    };
    // clang-format on
    for (const conversion_row& row : rows)
        check(row);
}

TEST(VariantConvert, RealsRoundHalfToEven)
{
    const struct {
        double number;
        const char* integer;
    } rows[] = {{0.5, "0"},
                {1.5, "2"},
                {2.5, "2"},
                {-0.5, "0"},
                {-1.5, "-2"},
                {-2.5, "-2"},
                {0.49, "0"},
                {0.51, "1"},
                {-0.51, "-1"},
                {0.49999999999999994, "0"},
                {2147483646.5, "2147483646"},
                {-2147483647.5, "-2147483648"}};
    for (const auto& row : rows)
        for (const VARTYPE type : std::initializer_list<VARTYPE>{VT_I4, VT_INT, VT_I8})
            EXPECT_EQ(converted(variant(row.number), type), row.integer) << row.number;
}

TEST(VariantConvert, RealsOverflowWhereTheyRoundOut)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const struct {
        double number;
        VARTYPE type;
        const char* value;
    } rows[] = {
        {127.4, VT_I1, "127"},
        {127.5, VT_I1, "overflow"},
        {-128.5, VT_I1, "-128"},
        {-128.6, VT_I1, "overflow"},
        {254.5, VT_UI1, "254"},
        {255.4, VT_UI1, "255"},
        {255.5, VT_UI1, "overflow"},
        {-0.5, VT_UI1, "0"},
        {-0.6, VT_UI1, "overflow"},
        {32767.5, VT_I2, "overflow"},
        {-32768.5, VT_I2, "-32768"},
        {65535.4, VT_UI2, "65535"},
        {65535.5, VT_UI2, "overflow"},
        {2147483647.4, VT_I4, "2147483647"},
        {2147483647.5, VT_I4, "overflow"},
        {-2147483648.5, VT_I4, "-2147483648"},
        {-2147483648.6, VT_I4, "overflow"},
        {4294967295.4, VT_UI4, "4294967295"},
        {4294967295.5, VT_UI4, "overflow"},
        {9223372036854774784.0, VT_I8, "9223372036854774784"},
        {9223372036854775808.0, VT_I8, "overflow"},
        {-9223372036854775808.0, VT_I8, "-9223372036854775808"},
        {18446744073709549568.0, VT_UI8, "18446744073709549568"},
        {18446744073709551616.0, VT_UI8, "overflow"},
        {-1e300, VT_I8, "overflow"},
        {infinity, VT_I4, "overflow"},
        {-infinity, VT_UI8, "overflow"},
        {NAN, VT_I4, "overflow"},
        {NAN, VT_CY, "overflow"},
        {NAN, VT_DATE, "overflow"},
        {NAN, VT_DECIMAL, "overflow"},
        {NAN, VT_R4, "nan"},
        {NAN, VT_BOOL, "true"},
        {3.4028234663852886e38, VT_R4, "3.4028235e+38"},
        {3.5e38, VT_R4, "overflow"},
        {-3.5e38, VT_R4, "overflow"},
        {infinity, VT_R4, "overflow"},
        {1e-60, VT_R4, "0"},
        {922337203685477.0, VT_CY, "9223372036854770000 ten-thousandths"},
        {922337203685478.0, VT_CY, "overflow"},
        {-922337203685478.0, VT_CY, "overflow"},
        {0.00005, VT_CY, "1 ten-thousandths"}, // the real lies above the tie
        {0.03125, VT_CY, "312 ten-thousandths"},
        {0.09375, VT_CY, "938 ten-thousandths"},
        {0.00015, VT_CY, "1 ten-thousandths"}, // the real lies below the tie
        {0.00025, VT_CY, "3 ten-thousandths"}, // and this one above,
        {2958465.75, VT_DATE, "2958465.75"},
        {2958466, VT_DATE, "overflow"},
        {-657434.75, VT_DATE, "-657434.75"},
        {-657435, VT_DATE, "overflow"},
        {1e-320, VT_BOOL, "true"},
        {-0.0, VT_BOOL, "false"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(converted(variant(row.number), row.type), row.value) << row.number << " to " << row.type;
}

TEST(VariantConvert, IntegersAtTheEdgesOfTheTypes)
{
    const struct {
        std::int64_t least;
        std::uint64_t most;
        VARTYPE type;
    } rows[] = {{INT8_MIN, INT8_MAX, VT_I1},    {0, UINT8_MAX, VT_UI1},        {INT16_MIN, INT16_MAX, VT_I2},
                {0, UINT16_MAX, VT_UI2},        {INT32_MIN, INT32_MAX, VT_I4}, {0, UINT32_MAX, VT_UI4},
                {INT32_MIN, INT32_MAX, VT_INT}, {0, UINT32_MAX, VT_UINT}};
    for (const auto& row : rows) {
        EXPECT_EQ(converted(make(VT_I8, &VARIANT::llVal, row.least), row.type), std::to_string(row.least));
        EXPECT_EQ(converted(make(VT_I8, &VARIANT::llVal, row.least - 1), row.type), "overflow");
        EXPECT_EQ(converted(make(VT_UI8, &VARIANT::ullVal, row.most), row.type), std::to_string(row.most));
        EXPECT_EQ(converted(make(VT_UI8, &VARIANT::ullVal, row.most + 1), row.type), "overflow");
    }
    EXPECT_EQ(converted(make(VT_UI8, &VARIANT::ullVal, UINT64_MAX), VT_I8), "overflow");
    EXPECT_EQ(converted(make(VT_I8, &VARIANT::llVal, std::int64_t{-1}), VT_UI8), "overflow");
    EXPECT_EQ(converted(make(VT_I8, &VARIANT::llVal, std::int64_t{922337203685478}), VT_CY), "overflow");
    EXPECT_EQ(converted(make(VT_I8, &VARIANT::llVal, std::int64_t{-922337203685477}), VT_CY),
              "-9223372036854770000 ten-thousandths");
}

TEST(VariantConvert, TextToBoolean)
{
    const struct {
        const char16_t* text;
        const char* value;
    } rows[] = {{u"True", "true"},      {u"true", "true"},       {u"TRUE", "true"},     {u"#TRUE#", "true"},
                {u"False", "false"},    {u"fALSE", "false"},     {u"#FALSE#", "false"}, {u"0", "false"},
                {u"0.00", "false"},     {u"1", "true"},          {u"-1", "true"},       {u"0.4", "true"},
                {u"#TRUE", "mismatch"}, {u"Truely", "mismatch"}, {u"yes", "mismatch"},  {u"", "mismatch"}};
    for (const auto& row : rows)
        EXPECT_EQ(converted(variant(row.text), VT_BOOL), row.value) << narrow(row.text);
}

TEST(VariantConvert, BooleanToText)
{
    EXPECT_EQ(converted(variant(true), VT_BSTR), "'-1'");
    EXPECT_EQ(converted(variant(false), VT_BSTR), "'0'");
    for (const WORD flags : {VARIANT_ALPHABOOL, VARIANT_LOCALBOOL}) {
        EXPECT_EQ(converted(variant(true), VT_BSTR, 0x007F, flags), "'True'");
        EXPECT_EQ(converted(variant(false), VT_BSTR, 0x007F, flags), "'False'");
    }
    EXPECT_EQ(converted(make(VT_BOOL, &VARIANT::boolVal, VARIANT_BOOL{1}), VT_I4), "-1") << "any truth is the same";
}

TEST(VariantConvert, InPlace)
{
    variant value(u"42");
    ASSERT_EQ(VariantChangeType(&value, &value, 0, VT_I4), S_OK);
    EXPECT_EQ(value.vt, VT_I4);
    EXPECT_EQ(value.lVal, 42);
    ASSERT_EQ(VariantChangeType(&value, &value, 0, VT_BSTR), S_OK);
    EXPECT_EQ(describe(value), "'42'");
    ASSERT_EQ(VariantChangeType(&value, &value, 0, VT_BSTR), S_OK);
    EXPECT_EQ(describe(value), "'42'");
    EXPECT_EQ(VariantChangeType(&value, &value, 0, VT_DATE), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(describe(value), "'42'");
}

TEST(VariantConvert, TheTargetLosesItsOldValueAtSuccessOnly)
{
    counted_object object;
    variant target;
    target.vt = VT_DISPATCH;
    target.pdispVal = &object;
    object.AddRef();
    const variant word(u"word");
    EXPECT_EQ(VariantChangeType(&target, &word, 0, VT_I4), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(target.vt, VT_DISPATCH);
    EXPECT_EQ(object.references, 2u);
    const variant number(u"5");
    EXPECT_EQ(VariantChangeType(&target, &number, 0, VT_I4), S_OK);
    EXPECT_EQ(target.lVal, 5);
    EXPECT_EQ(object.references, 1u);
}

TEST(VariantConvert, ALockedTargetIsRefused)
{
    variant target;
    target.vt = VT_ARRAY | VT_I4;
    target.parray = SafeArrayCreateVector(VT_I4, 0, 1);
    ASSERT_EQ(SafeArrayLock(target.parray), S_OK);
    EXPECT_EQ(VariantChangeType(&target, &target, 0, VT_ARRAY | VT_I4), DISP_E_ARRAYISLOCKED);
    const variant number(std::int32_t{5});
    EXPECT_EQ(VariantChangeType(&target, &number, 0, VT_BSTR), DISP_E_ARRAYISLOCKED);
    ASSERT_EQ(SafeArrayUnlock(target.parray), S_OK);
}

TEST(VariantConvert, FollowsReferences)
{
    std::int16_t number = 7;
    VARIANT source{};
    source.vt = VT_BYREF | VT_I2;
    source.byref = &number;
    EXPECT_EQ(converted(source, VT_BSTR), "'7'");
    EXPECT_EQ(converted(source, VT_I2), "7");
    VARIANT outer{};
    outer.vt = VT_BYREF | VT_VARIANT;
    outer.pvarVal = &source;
    EXPECT_EQ(converted(outer, VT_R8), "7");
    source.byref = nullptr;
    EXPECT_EQ(converted(source, VT_BSTR), "invalid");
}

TEST(VariantConvert, RefusesTypesThatDoNotExist)
{
    VARIANT source{};
    source.vt = VT_I4;
    for (const VARTYPE type :
         std::initializer_list<VARTYPE>{15, 24, 36, +VT_VARIANT, 0x0FFF, 0x1003, VT_ARRAY | VT_EMPTY}) {
        EXPECT_EQ(converted(source, type), "bad type") << type;
        VARIANT bad{};
        bad.vt = type;
        EXPECT_EQ(converted(bad, VT_I4), "bad type") << type;
    }
    variant value;
    EXPECT_EQ(VariantChangeType(nullptr, &source, 0, VT_I4), E_INVALIDARG);
    EXPECT_EQ(VariantChangeType(&value, nullptr, 0, VT_I4), E_INVALIDARG);
}

TEST(VariantConvert, ArraysOnlyToThemselves)
{
    variant source;
    source.vt = VT_ARRAY | VT_UI1;
    source.parray = SafeArrayCreateVector(VT_UI1, 0, 3);
    for (const VARTYPE type :
         std::initializer_list<VARTYPE>{+VT_BSTR, +VT_I4, VT_ARRAY | VT_I4, VT_BYREF | VT_ARRAY | VT_UI1, +VT_NULL})
        EXPECT_EQ(converted(source, type), "mismatch") << type;
    EXPECT_EQ(converted(variant(u"text"), VT_ARRAY | VT_UI1), "mismatch");
    EXPECT_EQ(converted(variant(u"text"), VT_BYREF | VT_BSTR), "mismatch");
    variant copy;
    ASSERT_EQ(VariantChangeType(&copy, &source, 0, VT_ARRAY | VT_UI1), S_OK);
    EXPECT_NE(copy.parray, source.parray);
}

TEST(VariantConvert, AnObjectStandsForItsDefaultProperty)
{
    const variant content(u"12");
    counted_object object;
    object.default_value = &content;
    VARIANT source{};
    source.vt = VT_DISPATCH;
    source.pdispVal = &object;
    EXPECT_EQ(converted(source, VT_I4), "12");
    EXPECT_EQ(converted(source, VT_BSTR), "'12'");
    EXPECT_EQ(object.invocations, 2);
    EXPECT_EQ(converted(source, VT_I4, 0x007F, VARIANT_NOVALUEPROP), "mismatch");
    EXPECT_EQ(object.invocations, 2);
    EXPECT_EQ(object.references, 1u);

    counted_object outer; // its default property is an object again
    outer.default_value = &source;
    VARIANT nested{};
    nested.vt = VT_DISPATCH;
    nested.pdispVal = &outer;
    EXPECT_EQ(converted(nested, VT_I4), "12");
    EXPECT_EQ(object.references, 1u);
}

TEST(VariantConvert, AnObjectWithoutAValueDoesNotConvert)
{
    counted_object object;
    VARIANT source{};
    source.vt = VT_DISPATCH;
    EXPECT_EQ(converted(source, VT_I4), "mismatch") << "no object";
    source.pdispVal = &object;
    EXPECT_EQ(converted(source, VT_I4), "mismatch") << "an object that is its own default property";
    EXPECT_LE(object.invocations, 100);
    object.answer = E_FAIL;
    EXPECT_EQ(converted(source, VT_I4), "mismatch");
    object.answer = S_OK;
    VARIANT null{};
    null.vt = VT_NULL;
    object.default_value = &null;
    EXPECT_EQ(converted(source, VT_I4), "mismatch");
    EXPECT_EQ(object.references, 1u);
}

TEST(VariantConvert, BetweenTheInterfacesOfAnObject)
{
    counted_object object;
    plain_object plain;
    VARIANT source{};
    source.vt = VT_DISPATCH;
    source.pdispVal = &object;
    EXPECT_EQ(converted(source, VT_UNKNOWN), "object");
    EXPECT_EQ(converted(source, VT_DISPATCH), "object");
    source.vt = VT_UNKNOWN;
    EXPECT_EQ(converted(source, VT_DISPATCH), "object");
    EXPECT_EQ(object.invocations, 0);
    EXPECT_EQ(object.references, 1u);
    source.punkVal = &plain;
    EXPECT_EQ(converted(source, VT_DISPATCH), "mismatch");
    source.punkVal = nullptr;
    EXPECT_EQ(converted(source, VT_DISPATCH), "no object");
    EXPECT_EQ(plain.references, 1u);
}

TEST(VariantConvert, TheLocaleOfACallReachesTheText)
{
    EXPECT_EQ(converted(variant(1.5), VT_BSTR, 0x0407), "'1,5'");
    EXPECT_EQ(converted(variant(u"1,5"), VT_R8, 0x0407), "1.5");
}

} // namespace
