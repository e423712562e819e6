#include "tests/readers/fixture_log_support.h"

#include <limits>

using namespace cw;
using namespace cw::fixture_log_tests;

namespace {

class FixtureLogOperations : public log_test {
protected:
    // The only record of a list.
    outcome<SAFEARRAY*> record_of(std::string_view record)
    {
        m_list = open_list("[" + std::string(record) + "]");
        LONG position = first(m_list).value;
        return next(m_list, position);
    }

    com_ptr<IOperationList> m_list;
};

TEST_F(FixtureLogOperations, AreReadOneAfterTheOther)
{
    const auto list = open_list(R"([["a", true], ["b"], []])");
    EXPECT_EQ(name_of(list), R"("OPTYPE_FILE")");
    EXPECT_EQ(counts_of(list, 1), std::vector<LONG>{3});
    LONG position = first(list).value;
    EXPECT_EQ(position, 0);
    EXPECT_EQ(shown(next(list, position).value), (strings{R"("a")", "true"}));
    EXPECT_EQ(position, 1);
    EXPECT_EQ(shown(next(list, position).value), strings{R"("b")"});
    EXPECT_EQ(shown(next(list, position).value), strings{});
    EXPECT_EQ(position, 3);
    EXPECT_EQ(next(list, position).result, E_FAIL);
    EXPECT_EQ(last_error(), "IOperationList Next: no such record");
    EXPECT_EQ(position, 3);
}

TEST_F(FixtureLogOperations, CanBeReadAgain)
{
    const auto list = open_list(R"([["a"], ["b"]])");
    LONG one = first(list).value;
    next(list, one);
    next(list, one);
    LONG other = first(list).value;
    EXPECT_EQ(shown(next(list, other).value), strings{R"("a")"});
}

TEST_F(FixtureLogOperations, HaveNoPositionWhereThereIsNoRecord)
{
    for (const char* none : {"[]", R"({"items": []})", R"({"counts": [2]})", "{}"})
        EXPECT_EQ(first(open_list(none)).value, -1) << none;
    EXPECT_EQ(first(operations(open_feature(""), u"OPTYPE_INI").value).value, -1);
    LONG position = -1;
    EXPECT_EQ(next(open_list("[[]]"), position).result, E_FAIL);
    position = std::numeric_limits<LONG>::max();
    EXPECT_EQ(next(open_list("[[]]"), position).result, E_FAIL);
}

TEST_F(FixtureLogOperations, TakeArgumentsOfTheContractAlone)
{
    const auto list = open_list("[[]]");
    LONG position = 0;
    EXPECT_EQ(list->First(1, &position), E_INVALIDARG);
    EXPECT_EQ(list->First(0, nullptr), E_POINTER);
    SAFEARRAY* record = nullptr;
    EXPECT_EQ(list->Next(nullptr, &record), E_POINTER);
    EXPECT_EQ(list->Next(&position, nullptr), E_POINTER);
    EXPECT_EQ(position, 0) << "a call that fails leaves the position";
    EXPECT_EQ(list->Name(nullptr), E_POINTER);
}

TEST_F(FixtureLogOperations, HaveElementsOfEveryKind)
{
    const auto record = record_of(R"(["x", 5, 2147483648, true, null, {"vt": "VT_BSTR", "value": null},
                                      {"vt": "VT_I2", "value": -1}, {"array": ["a"]}, {"vt": "VT_R8", "value": 1.5}])");
    EXPECT_EQ(shown(record.value),
              (strings{R"("x")", "5", "-2147483648", "true", "empty", "null text", "vt 2", R"(["a"])", "vt 5"}));
}

TEST_F(FixtureLogOperations, KeepTheLengthThatIsWrittenAndCanBeReadPastIt)
{
    const auto record = record_of(R"(["x"])");
    EXPECT_EQ(shown(record.value), strings{R"("x")"});
    const auto* elements = static_cast<const VARIANT*>(record.value->pvData);
    for (ULONG i = 1; i < log_registry_record::element_count64; ++i)
        EXPECT_EQ(shown(elements[i]), "empty") << i;
}

TEST_F(FixtureLogOperations, HaveTheLowerBoundThatIsNamed)
{
    const auto record = record_of(R"({"vt": "VT_ARRAY|VT_VARIANT", "lower": 3, "value": ["x", 5]})");
    EXPECT_EQ(shown(record.value), (strings{R"("x")", "5"}));
    LONG lower = 0;
    EXPECT_EQ(SafeArrayGetLBound(record.value, 1, &lower), S_OK);
    EXPECT_EQ(lower, 3);
    EXPECT_EQ(record_of(R"({"vt": "VT_ARRAY|VT_VARIANT", "lower": 2147483647, "value": []})").result, DISP_E_OVERFLOW);
}

TEST_F(FixtureLogOperations, KeepARecordUntilTheNext)
{
    const auto list = open_list(R"([["a"], ["b"]])");
    LONG position = first(list).value;
    SAFEARRAY* const record = next(list, position).value;
    counts_of(list, 2);
    first(list);
    LONG outside = 9;
    EXPECT_EQ(next(list, outside).result, E_FAIL);
    EXPECT_EQ(shown(record), strings{R"("a")"});
}

TEST_F(FixtureLogOperations, FailAsTheModelTells)
{
    EXPECT_EQ(record_of(R"({"fail": "0x80070005"})").result, E_ACCESSDENIED);
    EXPECT_EQ(record_of(R"(["a", {"fail": "0x80070005"}])").result, E_ACCESSDENIED);
    EXPECT_EQ(record_of(R"({"vt": "VT_ARRAY|VT_VARIANT", "value": {"fail": "0x80070005"}})").result, E_ACCESSDENIED);
    for (const char* wrong : {"5", R"("a")", "{}", R"({"vt": "VT_ARRAY|VT_BSTR", "value": ["a"]})",
                              R"({"vt": "VT_ARRAY|VT_VARIANT"})", R"({"vt": "VT_ARRAY|VT_VARIANT", "value": 1})"})
        EXPECT_EQ(record_of(wrong).result, DISP_E_TYPEMISMATCH) << wrong;
    const auto null = record_of("null");
    EXPECT_EQ(null.result, S_OK);
    EXPECT_EQ(null.value, nullptr);
}

TEST_F(FixtureLogOperations, StayAtARecordThatFails)
{
    const auto list = open_list(R"([{"fail": "0x80070005"}, ["b"]])");
    LONG position = first(list).value;
    EXPECT_EQ(next(list, position).result, E_ACCESSDENIED);
    EXPECT_EQ(position, 0);
    ++position;
    EXPECT_EQ(shown(next(list, position).value), strings{R"("b")"});
}

TEST_F(FixtureLogOperations, TellCountsOfOneListAfterTheOther)
{
    const auto feature = open_feature(R"("operations": {"A": {"items": [["a"]], "counts": [2, 1]}})");
    for (int fetch = 0; fetch < 2; ++fetch)
        EXPECT_EQ(counts_of(operations(feature, u"A").value, 3), (std::vector<LONG>{2, 1, 1}));
    EXPECT_EQ(count_of(open_list(R"({"items": [], "counts": {"fail": "0x80070005"}})")).result, E_ACCESSDENIED);
}

TEST_F(FixtureLogOperations, HaveMembersThatTheModelSets)
{
    const auto list = open_list(R"({"items": [["a"]], "Name": "OTHER", "First": -1})");
    EXPECT_EQ(name_of(list), R"("OTHER")");
    EXPECT_EQ(first(list).value, -1);
    const auto fails = open_list(R"({"Name": {"fail": "0x80070005"}, "First": {"fail": "0x8000FFFF"}})");
    EXPECT_EQ(name_of(fails), "0x80070005");
    EXPECT_EQ(first(fails).result, E_UNEXPECTED);
    EXPECT_EQ(first(fails).value, 0);
    EXPECT_EQ(name_of(open_list(R"({"Name": null})")), "null text");
    EXPECT_EQ(first(open_list(R"({"items": {"fail": "0x80070005"}})")).result, E_ACCESSDENIED);
}

} // namespace
