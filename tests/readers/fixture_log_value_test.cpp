#include "readers/fixture/log_value.h"

#include "automation/dispatch_object.h"
#include "tests/readers/fixture_log_support.h"

using namespace cw::fixture;
using cw::fixture_log_tests::shown;

namespace {

std::string value(const char* text)
{
    return shown(log_value(json::parse(text)));
}

HRESULT failure(const char* text)
{
    try {
        (void)log_value(json::parse(text));
        return S_OK;
    } catch (const cw::automation::automation_error& error) {
        return error.result();
    }
}

TEST(FixtureLogValue, HasTheTypeOfThePlainValue)
{
    EXPECT_EQ(value(R"("a")"), R"("a")");
    EXPECT_EQ(value(R"("")"), R"("")");
    EXPECT_EQ(value("-5"), "-5");
    EXPECT_EQ(value("2147483648"), "-2147483648") << "the bits of an unsigned number";
    EXPECT_EQ(value("true"), "true");
    EXPECT_EQ(value("false"), "false");
    EXPECT_EQ(value("null"), "empty");
    EXPECT_EQ(failure("4294967296"), DISP_E_OVERFLOW);
}

TEST(FixtureLogValue, HasTheTypeThatIsNamed)
{
    EXPECT_EQ(value(R"({"vt": "VT_BSTR", "value": null})"), "null text");
    EXPECT_EQ(value(R"({"vt": "VT_I2", "value": 2})"), "vt 2");
    EXPECT_EQ(value(R"({"vt": "VT_ARRAY|VT_BSTR", "lower": 3, "value": ["a"]})"), R"(["a"])");
}

TEST(FixtureLogValue, IsAnArrayOfTexts)
{
    const auto array = log_value(json::parse(R"({"array": ["a", "", null]})"));
    EXPECT_EQ(shown(array), R"(["a", "", null text])");
    LONG lower = 7;
    EXPECT_EQ(SafeArrayGetLBound(array.parray, 1, &lower), S_OK);
    EXPECT_EQ(lower, 0);
    EXPECT_EQ(value(R"({"array": []})"), "[]");
    EXPECT_EQ(value(R"(["a", "b"])"), R"(["a", "b"])");
    const auto none = log_value(json::parse(R"({"array": null})"));
    EXPECT_EQ(none.vt, VT_ARRAY | VT_BSTR);
    EXPECT_EQ(none.parray, nullptr);
}

TEST(FixtureLogValue, FailsWhereTheModelSaysSo)
{
    EXPECT_EQ(failure(R"({"fail": "0x80070005"})"), E_ACCESSDENIED);
    EXPECT_EQ(failure(R"({"array": ["a"], "fail": "0x80070005"})"), E_ACCESSDENIED);
    EXPECT_EQ(failure(R"({"array": ["a", {"fail": "0x80070005"}]})"), E_ACCESSDENIED);
    EXPECT_EQ(failure(R"({"array": {"fail": "0x80070005"}})"), E_ACCESSDENIED);
    EXPECT_EQ(failure(R"({"array": [5]})"), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(failure(R"({"array": "a"})"), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(failure(R"({"unknown": 1})"), DISP_E_TYPEMISMATCH);
}

} // namespace
