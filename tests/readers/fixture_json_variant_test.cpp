#include "readers/fixture/json_variant.h"

#include "automation/dispatch_object.h"

#include <gtest/gtest.h>

#include <string>

using namespace cw;
using namespace cw::fixture;
using automation::bstr;
using automation::variant;

namespace {

variant value_of(const std::string& text)
{
    const json value = json::parse(text);
    return typed_value(&value, VT_VARIANT);
}

HRESULT failure_of(const std::string& text)
{
    try {
        (void)value_of(text);
        return S_OK;
    } catch (const automation::automation_error& error) {
        return error.result();
    }
}

std::u16string text_at(const variant& array, LONG index)
{
    bstr text;
    EXPECT_EQ(SafeArrayGetElement(array.parray, &index, text.put()), S_OK);
    return std::u16string(text.view());
}

void expect_bounds(const variant& array, UINT dimension, LONG lower, LONG upper)
{
    LONG bound = 0;
    EXPECT_EQ(SafeArrayGetLBound(array.parray, dimension, &bound), S_OK);
    EXPECT_EQ(bound, lower);
    EXPECT_EQ(SafeArrayGetUBound(array.parray, dimension, &bound), S_OK);
    EXPECT_EQ(bound, upper);
}

TEST(FixtureJsonVariant, PlainValuesHaveTheirNaturalType)
{
    const variant text = value_of("\"a\\u0000\\u00e9\"");
    EXPECT_EQ(text.vt, VT_BSTR);
    EXPECT_EQ(std::u16string(text.bstrVal, SysStringLen(text.bstrVal)), std::u16string(u"a\0\u00E9", 3));
    const variant integer = value_of("-7");
    EXPECT_EQ(integer.vt, VT_I4);
    EXPECT_EQ(integer.lVal, -7);
    const variant boolean = value_of("true");
    EXPECT_EQ(boolean.vt, VT_BOOL);
    EXPECT_EQ(boolean.boolVal, VARIANT_TRUE);
    const variant real = value_of("1.5");
    EXPECT_EQ(real.vt, VT_R8);
    EXPECT_EQ(real.dblVal, 1.5);
    EXPECT_EQ(value_of("null").vt, VT_EMPTY);
    EXPECT_EQ(typed_value(nullptr, VT_VARIANT).vt, VT_EMPTY);
    EXPECT_EQ(failure_of("4294967296"), DISP_E_OVERFLOW);
}

TEST(FixtureJsonVariant, OtherTypesAreScalars)
{
    const json value = 5;
    EXPECT_EQ(typed_value(&value, VT_I2).vt, VT_I2);
    EXPECT_EQ(typed_value(nullptr, VT_BSTR).vt, VT_BSTR);
}

TEST(FixtureJsonVariant, APlainArrayHoldsTexts)
{
    const variant array = value_of(R"(["a", null, "c"])");
    ASSERT_EQ(array.vt, VT_ARRAY | VT_BSTR);
    EXPECT_EQ(SafeArrayGetDim(array.parray), 1u);
    expect_bounds(array, 1, 0, 2);
    EXPECT_EQ(text_at(array, 0), u"a");
    EXPECT_EQ(text_at(array, 1), u"");
    EXPECT_EQ(text_at(array, 2), u"c");
    expect_bounds(value_of("[]"), 1, 0, -1);
    EXPECT_EQ(failure_of("[1]"), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(failure_of(R"([["a"]])"), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(failure_of(R"(["a", {"fail": "0x80070005"}])"), E_ACCESSDENIED);
}

TEST(FixtureJsonVariant, TypedScalarsOfEveryType)
{
    const struct {
        const char* text;
        VARTYPE type;
    } rows[] = {{R"({"vt": "VT_EMPTY"})", VT_EMPTY},
                {R"({"vt": "VT_NULL"})", VT_NULL},
                {R"({"vt": "VT_I1", "value": -1})", VT_I1},
                {R"({"vt": "VT_I2", "value": 1})", VT_I2},
                {R"({"vt": "VT_I4", "value": 1})", VT_I4},
                {R"({"vt": "VT_I8", "value": 1})", VT_I8},
                {R"({"vt": "VT_INT", "value": 1})", VT_INT},
                {R"({"vt": "VT_UI1", "value": 1})", VT_UI1},
                {R"({"vt": "VT_UI2", "value": 1})", VT_UI2},
                {R"({"vt": "VT_UI4", "value": 1})", VT_UI4},
                {R"({"vt": "VT_UI8", "value": 1})", VT_UI8},
                {R"({"vt": "VT_UINT", "value": 1})", VT_UINT},
                {R"({"vt": "VT_R4", "value": 1})", VT_R4},
                {R"({"vt": "VT_R8", "value": 1})", VT_R8},
                {R"({"vt": "VT_CY", "value": 1})", VT_CY},
                {R"({"vt": "VT_DECIMAL", "value": 1})", VT_DECIMAL},
                {R"({"vt": "VT_DATE", "value": "2001-02-03"})", VT_DATE},
                {R"({"vt": "VT_BSTR", "value": "x"})", VT_BSTR},
                {R"({"vt": "VT_BOOL", "value": true})", VT_BOOL},
                {R"({"vt": "VT_ERROR", "value": "0x80004005"})", VT_ERROR},
                {R"({"vt": "VT_DISPATCH", "value": null})", VT_DISPATCH},
                {R"({"vt": "VT_UNKNOWN"})", VT_UNKNOWN}};
    for (const auto& row : rows)
        EXPECT_EQ(value_of(row.text).vt, row.type) << row.text;
    EXPECT_EQ(value_of(R"({"vt": "VT_R8", "value": 1.5})").dblVal, 1.5);
    EXPECT_EQ(value_of(R"({"vt": "VT_BSTR", "value": null})").bstrVal, nullptr);
    EXPECT_NE(value_of(R"({"vt": "VT_BSTR"})").bstrVal, nullptr);
}

TEST(FixtureJsonVariant, ArraysOfEveryElementType)
{
    for (const char* type :
         {"VT_I1", "VT_I2", "VT_I4", "VT_I8", "VT_INT", "VT_UI1", "VT_UI2", "VT_UI4", "VT_UI8", "VT_UINT", "VT_R4",
          "VT_R8", "VT_CY", "VT_DECIMAL", "VT_DATE", "VT_BOOL", "VT_ERROR", "VT_VARIANT"}) {
        const std::string text = R"({"vt": "VT_ARRAY|)" + std::string(type) + R"(", "value": [0, 1]})";
        const variant array = value_of(text);
        ASSERT_TRUE(array.vt & VT_ARRAY) << type;
        VARTYPE element = 0;
        ASSERT_EQ(SafeArrayGetVartype(array.parray, &element), S_OK);
        EXPECT_EQ(element, array.vt & VT_TYPEMASK) << type;
        variant second;
        if (element == VT_VARIANT) {
            LONG index = 1;
            ASSERT_EQ(SafeArrayGetElement(array.parray, &index, second.put()), S_OK);
        } else {
            void* slot = nullptr;
            LONG index = 1;
            ASSERT_EQ(SafeArrayPtrOfIndex(array.parray, &index, &slot), S_OK);
            variant by_reference;
            by_reference.vt = static_cast<VARTYPE>(VT_BYREF | element);
            by_reference.byref = slot;
            ASSERT_EQ(VariantCopyInd(&second, &by_reference), S_OK) << type;
        }
        // A result code is no number to convert.
        if (element == VT_ERROR)
            second.vt = VT_I4;
        ASSERT_EQ(VariantChangeType(&second, &second, 0, VT_R8), S_OK) << type;
        EXPECT_EQ(second.dblVal, element == VT_BOOL ? -1.0 : 1.0) << type;
    }
    for (const char* type : {"VT_DISPATCH", "VT_UNKNOWN"})
        EXPECT_TRUE(value_of(R"({"vt": "VT_ARRAY|)" + std::string(type) + R"(", "value": [null]})").parray);
    for (const char* type : {"VT_EMPTY", "VT_NULL"})
        EXPECT_EQ(failure_of(R"({"vt": "VT_ARRAY|)" + std::string(type) + R"(", "value": [null]})"), DISP_E_BADVARTYPE);
}

TEST(FixtureJsonVariant, ArraysHaveALowerBound)
{
    const variant array = value_of(R"({"vt": "VT_ARRAY|VT_BSTR", "lower": -3, "value": ["a", "b"]})");
    expect_bounds(array, 1, -3, -2);
    EXPECT_EQ(text_at(array, -3), u"a");
    EXPECT_EQ(text_at(array, -2), u"b");
    expect_bounds(value_of(R"({"vt": "VT_ARRAY|VT_I4", "lower": 2147483646, "value": [1, 2]})"), 1, 2147483646,
                  2147483647);
    EXPECT_EQ(failure_of(R"({"vt": "VT_ARRAY|VT_I4", "lower": 2147483646, "value": [1, 2, 3]})"), DISP_E_OVERFLOW);
    EXPECT_EQ(failure_of(R"({"vt": "VT_ARRAY|VT_I4", "lower": "1", "value": []})"), DISP_E_TYPEMISMATCH);
}

TEST(FixtureJsonVariant, ArraysAreEmptyOrNull)
{
    expect_bounds(value_of(R"({"vt": "VT_ARRAY|VT_BSTR", "lower": 1, "value": []})"), 1, 1, 0);
    expect_bounds(value_of(R"({"vt": "VT_ARRAY|VT_BSTR"})"), 1, 0, -1);
    const variant null_array = value_of(R"({"vt": "VT_ARRAY|VT_BSTR", "value": null})");
    EXPECT_EQ(null_array.vt, VT_ARRAY | VT_BSTR);
    EXPECT_EQ(null_array.parray, nullptr);
}

TEST(FixtureJsonVariant, ArraysHaveDimensions)
{
    const variant array = value_of(R"({"vt": "VT_ARRAY|VT_BSTR", "lower": 1, "dims": 2, "value": ["a", "b", "c"]})");
    ASSERT_EQ(SafeArrayGetDim(array.parray), 2u);
    expect_bounds(array, 1, 1, 3);
    expect_bounds(array, 2, 1, 3);
    const auto at = [&](LONG first, LONG second) {
        const LONG indices[] = {first, second};
        bstr text;
        EXPECT_EQ(SafeArrayGetElement(array.parray, indices, text.put()), S_OK);
        return std::u16string(text.view());
    };
    EXPECT_EQ(at(1, 1), u"a");
    EXPECT_EQ(at(2, 1), u"b");
    EXPECT_EQ(at(3, 1), u"c");
    EXPECT_EQ(at(1, 2), u"");
    EXPECT_EQ(SafeArrayGetDim(value_of(R"({"vt": "VT_ARRAY|VT_I4", "dims": 3, "value": [1]})").parray), 3u);
}

TEST(FixtureJsonVariant, DimensionsHaveLimits)
{
    for (const char* dimensions : {"0", "-1", "61", "60"})
        EXPECT_EQ(failure_of(R"({"vt": "VT_ARRAY|VT_I4", "value": [1, 2], "dims": )" + std::string(dimensions) + "}"),
                  DISP_E_OVERFLOW)
            << dimensions;
    EXPECT_EQ(failure_of(R"({"vt": "VT_ARRAY|VT_I4", "value": [1, 2], "dims": "2"})"), DISP_E_TYPEMISMATCH);
}

TEST(FixtureJsonVariant, ArraysOfVariantsTakeTypedOnesAndNest)
{
    const variant array = value_of(R"({"vt": "VT_ARRAY|VT_VARIANT", "value": [
        {"vt": "VT_R8", "value": 2.5}, "text", null, {"vt": "VT_ARRAY|VT_VARIANT", "value": [7]}]})");
    ASSERT_EQ(array.vt, VT_ARRAY | VT_VARIANT);
    variant elements[4];
    for (LONG i = 0; i < 4; ++i)
        ASSERT_EQ(SafeArrayGetElement(array.parray, &i, elements[i].put()), S_OK);
    EXPECT_EQ(elements[0].vt, VT_R8);
    EXPECT_EQ(elements[0].dblVal, 2.5);
    EXPECT_EQ(elements[1].vt, VT_BSTR);
    EXPECT_EQ(elements[2].vt, VT_EMPTY);
    ASSERT_EQ(elements[3].vt, VT_ARRAY | VT_VARIANT);
    LONG first = 0;
    variant inner;
    ASSERT_EQ(SafeArrayGetElement(elements[3].parray, &first, inner.put()), S_OK);
    EXPECT_EQ(inner.lVal, 7);
}

TEST(FixtureJsonVariant, NestingHasALimit)
{
    const auto nested = [](int depth) {
        std::string text;
        for (int i = 0; i < depth; ++i)
            text += R"({"vt": "VT_ARRAY|VT_VARIANT", "value": [)";
        text += "1";
        for (int i = 0; i < depth; ++i)
            text += "]}";
        return text;
    };
    EXPECT_EQ(failure_of(nested(32)), S_OK);
    EXPECT_EQ(failure_of(nested(33)), DISP_E_OVERFLOW);
    EXPECT_EQ(failure_of(nested(100'000)), DISP_E_OVERFLOW);
}

TEST(FixtureJsonVariant, TheOrderOfTheTypeWordsIsFree)
{
    EXPECT_EQ(value_of(R"({"vt": "VT_I4|VT_ARRAY", "value": [1]})").vt, VT_ARRAY | VT_I4);
}

TEST(FixtureJsonVariant, RefusesTypesThatDoNotExist)
{
    for (const char* type : {"", "VT_", "VT_I3", "vt_i4", "VT_ARRAY", "VT_VARIANT", "VT_I4|VT_I4", "VT_BYREF|VT_I4",
                             "VT_ARRAY|VT_ARRAY|VT_I4", "VT_I4|", "VT_RECORD"})
        EXPECT_EQ(failure_of(R"({"vt": ")" + std::string(type) + R"(", "value": null})"), DISP_E_BADVARTYPE) << type;
    EXPECT_EQ(failure_of(R"({"vt": 3, "value": 1})"), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(failure_of(R"({"value": 1})"), DISP_E_TYPEMISMATCH);
}

TEST(FixtureJsonVariant, FailsAnywhere)
{
    for (const char* text :
         {R"({"fail": "0x80070005"})", R"({"vt": "VT_I4", "value": {"fail": "0x80070005"}})",
          R"({"vt": {"fail": "0x80070005"}})", R"({"vt": "VT_ARRAY|VT_I4", "value": {"fail": "0x80070005"}})",
          R"({"vt": "VT_ARRAY|VT_I4", "value": [1, {"fail": "0x80070005"}]})",
          R"({"vt": "VT_ARRAY|VT_VARIANT", "value": [1, {"fail": "0x80070005"}]})"})
        EXPECT_EQ(failure_of(text), E_ACCESSDENIED) << text;
}

TEST(FixtureJsonVariant, ElementsMustBeOfTheirType)
{
    EXPECT_EQ(failure_of(R"({"vt": "VT_ARRAY|VT_I4", "value": ["x"]})"), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(failure_of(R"({"vt": "VT_ARRAY|VT_I2", "value": [1, 32768]})"), DISP_E_OVERFLOW);
    EXPECT_EQ(failure_of(R"({"vt": "VT_ARRAY|VT_I4", "value": "x"})"), DISP_E_TYPEMISMATCH);
}

} // namespace
