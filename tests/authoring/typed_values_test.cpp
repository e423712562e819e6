#include "authoring/typed_values.h"

#include "automation/variant.h"
#include "tests/authoring/authoring_support.h"

#include <gtest/gtest.h>

namespace {

using namespace cw::authoring;
using cw::test::error_of;

typed_value read(const std::string& text)
{
    const nlohmann::json json = nlohmann::json::parse(text);
    return read_typed_value(json_node(json));
}

std::string error_in(const std::string& text)
{
    const nlohmann::json json = nlohmann::json::parse("{\"v\": " + text + "}");
    return error_of([&] { (void)read_typed_value(json_node(json)["v"]); });
}

cell number(std::int64_t value)
{
    return value;
}
cell text(const char* value)
{
    return std::string(value);
}

struct scalar_case {
    const char* json;
    VARTYPE type;
    cell value;
};

TEST(typed_values, have_plain_and_typed_forms)
{
    for (const scalar_case& item : std::vector<scalar_case>{
             {"\"x\"", VT_BSTR, text("x")},
             {"7", VT_I4, number(7)},
             {"true", VT_BOOL, number(-1)},
             {"false", VT_BOOL, number(0)},
             {"null", VT_EMPTY, {}},
             {R"({"vt": "VT_EMPTY"})", VT_EMPTY, {}},
             {R"({"vt": "VT_NULL", "value": null})", VT_NULL, {}},
             {R"({"vt": "VT_I2", "value": -32768})", VT_I2, number(-32768)},
             {R"({"vt": "VT_I4", "value": -2147483648})", VT_I4, number(-2147483648ll)},
             {R"({"vt": "VT_R4", "value": 0.1})", VT_R4, static_cast<double>(0.1f)},
             {R"({"vt": "VT_R8", "value": 1.5})", VT_R8, 1.5},
             {R"({"vt": "VT_R8", "value": 2})", VT_R8, 2.0},
             {R"({"vt": "VT_CY", "value": 12.3456})", VT_CY, number(123456)},
             {R"({"vt": "VT_CY", "value": -3})", VT_CY, number(-30000)},
             {R"({"vt": "VT_DATE", "value": "2001-02-03T12:00:00"})", VT_DATE, 36925.5},
             {R"({"vt": "VT_DATE", "value": 2.25})", VT_DATE, 2.25},
             {R"({"vt": "VT_BSTR", "value": "я"})", VT_BSTR, text("я")},
             {R"({"vt": "VT_BSTR", "value": null})", VT_BSTR, {}},
             {R"({"vt": "VT_ERROR", "value": "0x80004005"})", VT_ERROR, number(-2147467259)},
             {R"({"vt": "VT_ERROR", "value": 5})", VT_ERROR, number(5)},
             {R"({"vt": "VT_BOOL", "value": true})", VT_BOOL, number(-1)},
             {R"({"vt": "VT_I1", "value": -128})", VT_I1, number(-128)},
             {R"({"vt": "VT_UI1", "value": 255})", VT_UI1, number(255)},
             {R"({"vt": "VT_UI2", "value": 65535})", VT_UI2, number(65535)},
             {R"({"vt": "VT_UI4", "value": 4294967295})", VT_UI4, number(4294967295)},
             {R"({"vt": "VT_I8", "value": -9223372036854775808})", VT_I8, number(INT64_MIN)},
             {R"({"vt": "VT_UI8", "value": 18446744073709551615})", VT_UI8, number(-1)},
             {R"({"vt": "VT_INT", "value": -1})", VT_INT, number(-1)},
             {R"({"vt": "VT_UINT", "value": 4294967295})", VT_UINT, number(4294967295)},
         }) {
        const typed_value value = read(item.json);
        EXPECT_EQ(value.type, item.type) << item.json;
        EXPECT_EQ(value.value, item.value) << item.json;
        EXPECT_TRUE(value.elements.empty());
    }
}

TEST(typed_values, are_arrays_too)
{
    const typed_value plain = read(R"(["a", "b", null])");
    EXPECT_EQ(plain.type, VT_ARRAY | VT_BSTR);
    ASSERT_EQ(plain.elements.size(), 3u);
    EXPECT_EQ(plain.elements[1].value, text("b"));
    EXPECT_EQ(plain.elements[2].type, VT_BSTR);
    EXPECT_EQ(plain.elements[2].value, cell());

    const typed_value numbers = read(R"({"vt": "VT_ARRAY|VT_I4", "lower": -1, "value": [5, 6], "dims": 1})");
    EXPECT_EQ(numbers.type, VT_ARRAY | VT_I4);
    EXPECT_EQ(numbers.lower_bound, -1);
    EXPECT_EQ(numbers.elements[1].value, number(6));

    const typed_value mixed =
        read(R"({"vt": "VT_ARRAY|VT_VARIANT", "value": [1, "a", null, {"vt": "VT_R8", "value": 1.5}]})");
    EXPECT_EQ(mixed.type, VT_ARRAY | VT_VARIANT);
    ASSERT_EQ(mixed.elements.size(), 4u);
    EXPECT_EQ(mixed.elements[0].type, VT_I4);
    EXPECT_EQ(mixed.elements[1].type, VT_BSTR);
    EXPECT_EQ(mixed.elements[2].type, VT_EMPTY);
    EXPECT_EQ(mixed.elements[3].type, VT_R8);
    EXPECT_TRUE(read("[]").elements.empty());
}

TEST(typed_values, are_refused_with_their_place)
{
    EXPECT_EQ(error_in("1.5"), "manifest: v: expected an integer, not a fraction");
    EXPECT_EQ(error_in("2147483648"), "manifest: v: 2147483648 is not within -2147483648 to 2147483647");
    EXPECT_EQ(error_in("[1]"), "manifest: v[0]: expected a text, not a number");
    EXPECT_EQ(error_in("{}"), "manifest: v: vt is missing");
    EXPECT_EQ(error_in(R"({"vt": 3})"), "manifest: v.vt: expected a text, not a number");
    EXPECT_EQ(error_in(R"({"vt": "VT_DECIMAL", "value": 1})"),
              "manifest: v.vt: no type that can be stored: VT_DECIMAL");
    EXPECT_EQ(error_in(R"({"vt": "VT_BYREF|VT_I4", "value": 1})"),
              "manifest: v.vt: no type that can be stored: VT_BYREF|VT_I4");
    EXPECT_EQ(error_in(R"({"vt": "VT_I4"})"), "manifest: v: value is missing");
    EXPECT_EQ(error_in(R"({"vt": "VT_I4", "value": 1, "valu": 2})"), "manifest: v.valu: unknown key");
    EXPECT_EQ(error_in(R"({"vt": "VT_I4", "value": 1, "lower": 2})"), "manifest: v.lower: only an array has this");
    EXPECT_EQ(error_in(R"({"vt": "VT_VARIANT", "value": 1})"),
              "manifest: v.vt: only an array has elements of this type");
    EXPECT_EQ(error_in(R"({"vt": "VT_EMPTY", "value": 1})"), "manifest: v.value: expected null");
    EXPECT_EQ(error_in(R"({"vt": "VT_UI1", "value": 256})"), "manifest: v.value: 256 is not within 0 to 255");
    EXPECT_EQ(error_in(R"({"vt": "VT_R4", "value": 1e39})"), "manifest: v.value: too big for a real of 32 bits");
    EXPECT_EQ(error_in(R"({"vt": "VT_CY", "value": 1e17})"), "manifest: v.value: too big for a currency value");
    EXPECT_EQ(error_in(R"({"vt": "VT_CY", "value": 9223372036854775807})").substr(0, 42),
              "manifest: v.value: 9223372036854775807 is ");
    EXPECT_EQ(error_in(R"({"vt": "VT_ERROR", "value": "80004005"})"),
              "manifest: v.value: expected an integer or a text like \"0x80004005\"");
    EXPECT_EQ(error_in(R"({"vt": "VT_DATE", "value": "yesterday"})"),
              "manifest: v.value: no date like \"2001-02-03T00:04:05\": yesterday");
    EXPECT_EQ(error_in(R"({"vt": "VT_DATE", "value": 1e9})"),
              "manifest: v.value: no date between the years 100 and 9999");
    EXPECT_EQ(error_in(R"({"vt": "VT_ARRAY|VT_I4", "dims": 2, "value": [1]})"),
              "manifest: v.dims: only arrays of one dimension can be stored");
    EXPECT_EQ(error_in(R"({"vt": "VT_ARRAY|VT_I4", "lower": 2147483647, "value": [1, 2]})"),
              "manifest: v.value: the upper bound does not fit 32 bits");
    EXPECT_EQ(error_in(R"({"vt": "VT_ARRAY|VT_NULL", "value": []})"),
              "manifest: v.value: an array has no elements of this type");
    EXPECT_EQ(error_in(R"({"vt": "VT_ARRAY|VT_I4"})"), "manifest: v: value is missing");
    EXPECT_EQ(error_in(R"({"vt": "VT_ARRAY|VT_VARIANT", "value": [{"vt": "VT_ARRAY|VT_I4", "value": []}]})"),
              "manifest: v.value[0]: an array cannot be an element of an array");
}

} // namespace
