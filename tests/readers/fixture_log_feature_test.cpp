#include "tests/readers/fixture_log_support.h"

using namespace cw;
using namespace cw::fixture_log_tests;

namespace {

class FixtureLogFeature : public log_test {};

TEST_F(FixtureLogFeature, AnswersToItsInterface)
{
    const auto feature = open_feature(R"("Name": "Main")");
    EXPECT_EQ(automation::query_interface<IFeatureLog>(feature.get(), IID_IFeatureLog), feature);
    EXPECT_TRUE(automation::query_interface<IDispatch>(feature.get(), IID_IDispatch));
    EXPECT_FALSE(automation::query_interface<IUnknown>(feature.get(), IID_ILogDocument));
    EXPECT_FALSE(automation::query_interface<IUnknown>(feature.get(), IID_IOperationList));
}

TEST_F(FixtureLogFeature, HasTextsThatMayBeAbsentOrNull)
{
    const auto absent = open_feature("");
    EXPECT_EQ(name_of(absent), R"("")");
    EXPECT_EQ(id_of(absent), R"("")");
    const auto null = open_feature(R"("Name": null, "ID": null)");
    EXPECT_EQ(name_of(null), "null text");
    EXPECT_EQ(id_of(null), "null text");
    const auto fails = open_feature(R"("Name": {"fail": "0x80070005"}, "ID": {"fail": "0x8000FFFF"})");
    EXPECT_EQ(name_of(fails), "0x80070005");
    EXPECT_EQ(last_error(), "IFeatureLog Name: the model makes this fail");
    EXPECT_EQ(id_of(fails), "0x8000FFFF");
    EXPECT_EQ(name_of(open_feature(R"("Name": 5)")), "0x80020005");
}

TEST_F(FixtureLogFeature, HasTheParentOfItsNesting)
{
    const auto root = open_feature(R"("Name": "Main", "features": [{"Name": "Sub", "features": [{}]},
                                      {"Parent": {"fail": "0x80070005"}}])");
    const auto top = call<IFeatureLog>(root, &IFeatureLog::Parent);
    EXPECT_EQ(top.result, S_OK);
    EXPECT_FALSE(top.value);
    const auto sub = sub_feature(root, 1);
    EXPECT_EQ(get<IFeatureLog>(sub, &IFeatureLog::Parent), root);
    EXPECT_EQ(get<IFeatureLog>(sub_feature(sub, 1), &IFeatureLog::Parent), sub);
    EXPECT_EQ(call<IFeatureLog>(sub_feature(root, 2), &IFeatureLog::Parent).result, E_ACCESSDENIED);
}

TEST_F(FixtureLogFeature, NamesItsPropertiesInTheirOrder)
{
    const auto feature = open_feature(R"("properties": [["State", 2], ["A", "x"], ["State", 3], [null, 4], ["", 5]])");
    EXPECT_EQ(shown(property_names(feature).value),
              (strings{R"("State")", R"("A")", R"("State")", "null text", R"("")"}));
    EXPECT_EQ(shown(property_names(open_feature("")).value), strings{});
    EXPECT_EQ(shown(property_names(open_feature(R"("properties": [])")).value), strings{});
    const auto none = property_names(open_feature(R"("properties": null)"));
    EXPECT_EQ(none.result, S_OK);
    EXPECT_EQ(none.value, nullptr);
}

TEST_F(FixtureLogFeature, NamesItsPropertiesInTheSameArray)
{
    const auto feature = open_feature(R"("properties": [["State", 2]], "features": [{"properties": [["B", 1]]}])");
    SAFEARRAY* const names = property_names(feature).value;
    EXPECT_EQ(property_names(feature).value, names);
    const auto sub = sub_feature(feature, 1);
    EXPECT_NE(property_names(sub).value, names);
    void* data = nullptr;
    EXPECT_EQ(SafeArrayAccessData(names, &data), S_OK);
    EXPECT_EQ(property_names(feature).value->cLocks, 1u);
    EXPECT_EQ(SafeArrayUnaccessData(property_names(feature).value), S_OK);
}

TEST_F(FixtureLogFeature, HasAValueForEachProperty)
{
    const auto feature = open_feature(R"("properties": [["State", 2], ["Text", "x"], ["Flag", true], ["None", null],
        ["Titles", {"array": ["a", "b"]}], ["Real", {"vt": "VT_R8", "value": 1.5}], ["State", 3], [null, 7]])");
    EXPECT_EQ(property(feature, u"State"), "2") << "the first of that name";
    EXPECT_EQ(property(feature, u"Text"), R"("x")");
    EXPECT_EQ(property(feature, u"Flag"), "true");
    EXPECT_EQ(property(feature, u"None"), "empty");
    EXPECT_EQ(property(feature, u"Titles"), R"(["a", "b"])");
    EXPECT_EQ(property(feature, u"Real"), "vt 5");
    EXPECT_EQ(property(feature, u""), "7");
    EXPECT_EQ(property(feature, u"state"), "0x80004005");
    EXPECT_EQ(last_error(), "IFeatureLog PropertyValue: no such property");
}

TEST_F(FixtureLogFeature, GivesEachValueAway)
{
    const auto feature = open_feature(R"("properties": [["Titles", {"array": ["a"]}]])");
    const auto one = property_value(feature, u"Titles");
    const auto other = property_value(feature, u"Titles");
    EXPECT_NE(one.value.parray, other.value.parray);
}

TEST_F(FixtureLogFeature, TakesANameAsItIsPassed)
{
    const auto feature = open_feature(R"("properties": [["5", 1], ["", 2]])");
    variant value;
    VARIANT null_text{};
    null_text.vt = VT_BSTR;
    EXPECT_EQ(feature->PropertyValue(null_text, value.put()), S_OK);
    EXPECT_EQ(shown(value), "2");
    EXPECT_EQ(feature->PropertyValue(index_of(5), value.put()), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(feature->PropertyValue(null_text, nullptr), E_POINTER);
}

TEST_F(FixtureLogFeature, FailsAtPropertiesAsTheModelTells)
{
    const auto one = open_feature(R"("properties": [["A", 1], ["B", {"fail": "0x80070005"}]])");
    EXPECT_EQ(shown(property_names(one).value).size(), 2u);
    EXPECT_EQ(property(one, u"A"), "1");
    EXPECT_EQ(property(one, u"B"), "0x80070005");
    const auto all = open_feature(R"("properties": {"fail": "0x80070005"})");
    EXPECT_EQ(property_names(all).result, E_ACCESSDENIED);
    EXPECT_EQ(property(all, u"A"), "0x80070005");
    const auto name = open_feature(R"("properties": [["A", 1], [{"fail": "0x80070005"}, 2]])");
    EXPECT_EQ(property_names(name).result, E_ACCESSDENIED);
    EXPECT_EQ(property_names(name).result, E_ACCESSDENIED) << "no half of an array is kept";
    EXPECT_EQ(property(name, u"A"), "1");
    for (const char* wrong : {R"("properties": {"A": 1})", R"("properties": ["A"])", R"("properties": [["A"]])",
                              R"("properties": [["A", 1, 2]])", R"("properties": [[5, 1]])"})
        EXPECT_EQ(property_names(open_feature(wrong)).result, DISP_E_TYPEMISMATCH) << wrong;
}

TEST_F(FixtureLogFeature, HasSubFeatures)
{
    const auto feature = open_feature(R"("features": [{"Name": "A"}, {"Name": "B"}])");
    EXPECT_EQ(counts_of(sub_features(feature), 1), std::vector<LONG>{2});
    EXPECT_EQ(name_of(sub_feature(feature, 2)), R"("B")");
    EXPECT_EQ(counts_of(sub_features(open_feature("")), 1), std::vector<LONG>{0}) << "never null unless told";
    auto told = [this](const char* features) {
        return call<IFeatureLogCollection>(open_feature(features), &IFeatureLog::SubFeatures);
    };
    EXPECT_FALSE(told(R"("features": null)").value);
    EXPECT_EQ(told(R"("features": null)").result, S_OK);
    EXPECT_EQ(told(R"("features": {"fail": "0x80070005"})").result, E_ACCESSDENIED);
    EXPECT_EQ(told(R"("features": 5)").result, DISP_E_TYPEMISMATCH);
}

TEST_F(FixtureLogFeature, HasOperationsOfEveryType)
{
    const auto feature = open_feature(R"("operations": {"OPTYPE_FILE": [["a"]], "MY_TYPE": [["b"], ["c"]], "NULL": null,
                         "FAILS": {"fail": "0x80070005"}, "WRONG": 5})");
    EXPECT_EQ(counts_of(operations(feature, u"OPTYPE_FILE").value, 1), std::vector<LONG>{1});
    EXPECT_EQ(counts_of(operations(feature, u"MY_TYPE").value, 1), std::vector<LONG>{2});
    for (const std::u16string_view known : log_operation_type::all)
        EXPECT_TRUE(operations(feature, known).value);
    const auto unknown = operations(feature, u"UNKNOWN").value;
    EXPECT_EQ(counts_of(unknown, 1), std::vector<LONG>{0});
    EXPECT_EQ(name_of(unknown), R"("UNKNOWN")");
    EXPECT_EQ(operations(feature, u"NULL").result, S_OK);
    EXPECT_FALSE(operations(feature, u"NULL").value);
    EXPECT_EQ(operations(feature, u"FAILS").result, E_ACCESSDENIED);
    EXPECT_EQ(operations(feature, u"WRONG").result, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(counts_of(call<IOperationList>(feature, &IFeatureLog::Operations, BSTR{}).value, 1),
              std::vector<LONG>{0});
}

TEST_F(FixtureLogFeature, FailsAtAllOperationsAsTheModelTells)
{
    EXPECT_EQ(operations(open_feature(R"("operations": {"fail": "0x80070005"})"), u"A").result, E_ACCESSDENIED);
    EXPECT_EQ(operations(open_feature(R"("operations": [])"), u"A").result, DISP_E_TYPEMISMATCH);
    const auto null = operations(open_feature(R"("operations": null)"), u"A");
    EXPECT_EQ(null.result, S_OK);
    EXPECT_FALSE(null.value);
    EXPECT_EQ(counts_of(operations(open_feature(""), u"A").value, 1), std::vector<LONG>{0});
}

TEST_F(FixtureLogFeature, DoesNotHaveTheReservedOperations)
{
    const auto feature = open_feature("");
    EXPECT_EQ(feature->reserved_2(), E_NOTIMPL);
    EXPECT_EQ(feature->reserved_6(), E_NOTIMPL);
    EXPECT_EQ(feature->reserved_9(), E_NOTIMPL);
    EXPECT_EQ(feature->reserved_10(), E_NOTIMPL);
}

} // namespace
