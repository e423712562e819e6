#include "tests/readers/fixture_log_support.h"

using namespace cw;
using namespace cw::fixture_log_tests;

namespace {

class FixtureLogCollections : public log_test {
protected:
    com_ptr<IOperationTypeCollection> open_types(std::string_view types)
    {
        return get<IOperationTypeCollection>(open(R"({"root": {}, "types": )" + std::string(types) + "}"),
                                             &ILogDocument::OperationTypes);
    }
};

TEST_F(FixtureLogCollections, CountFromOne)
{
    const auto features = sub_features(open_feature(R"("features": [{"Name": "A"}, {"Name": "B"}])"));
    EXPECT_EQ(counts_of(features, 2), (std::vector<LONG>{2, 2}));
    EXPECT_EQ(name_of(item(features, 1).value), R"("A")");
    EXPECT_EQ(name_of(item(features, 2).value), R"("B")");
    for (const LONG outside : {0, 3, -1}) {
        EXPECT_EQ(item(features, outside).result, E_FAIL) << outside;
        EXPECT_EQ(last_error(), "IFeatureLogCollection Item: no such item");
    }
}

TEST_F(FixtureLogCollections, TakeAnIndexOfTheContractAlone)
{
    const auto features = sub_features(open_feature(R"("features": [{}])"));
    IFeatureLog* feature = nullptr;
    EXPECT_EQ(features->Item(variant(u"1"), &feature), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(features->Item(variant(1.0), &feature), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(features->Item(index_of(1), nullptr), E_POINTER);
    EXPECT_EQ(features->Count(nullptr), E_POINTER);
}

TEST_F(FixtureLogCollections, NameTypes)
{
    const auto types = open_types(R"(["OPTYPE_FILE", {"Name": "MY_TYPE"}, {"Name": {"fail": "0x80070005"}},
                                      {"Name": null}, {}, null, {"fail": "0x8000FFFF"}, 5])");
    EXPECT_EQ(counts_of(types, 1), std::vector<LONG>{8});
    EXPECT_EQ(name_of(item(types, 1).value), R"("OPTYPE_FILE")");
    EXPECT_EQ(name_of(item(types, 2).value), R"("MY_TYPE")");
    EXPECT_EQ(name_of(item(types, 3).value), "0x80070005");
    EXPECT_EQ(name_of(item(types, 4).value), "null text");
    EXPECT_EQ(name_of(item(types, 5).value), R"("")");
    EXPECT_EQ(item(types, 6).result, S_OK);
    EXPECT_FALSE(item(types, 6).value);
    EXPECT_EQ(item(types, 7).result, E_UNEXPECTED);
    EXPECT_EQ(item(types, 8).result, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(item(types, 9).result, E_FAIL);
}

TEST_F(FixtureLogCollections, AreEmptyWhereTheModelHasNone)
{
    const auto document = open(R"({"root": {}})");
    EXPECT_EQ(counts_of(get<IOperationTypeCollection>(document, &ILogDocument::OperationTypes), 1),
              std::vector<LONG>{0});
}

TEST_F(FixtureLogCollections, HaveFeaturesThatAreNullOrFail)
{
    const auto features = sub_features(open_feature(R"("features": [null, {"fail": "0x80070005"}, "A"])"));
    EXPECT_EQ(item(features, 1).result, S_OK);
    EXPECT_FALSE(item(features, 1).value);
    EXPECT_EQ(item(features, 2).result, E_ACCESSDENIED);
    EXPECT_EQ(item(features, 3).result, DISP_E_TYPEMISMATCH);
}

TEST_F(FixtureLogCollections, TellCountsOverAllFetches)
{
    const auto document = open(R"({"types": {"items": ["A"], "counts": [2, 1]},
                                   "root": {"features": {"items": [{}], "counts": [3, {"fail": "0x80070005"}, 0]}}})");
    for (const LONG expected : {2, 1, 1})
        EXPECT_EQ(counts_of(get<IOperationTypeCollection>(document, &ILogDocument::OperationTypes), 1),
                  std::vector<LONG>{expected});
    const auto root = get<IFeatureLog>(document, &ILogDocument::RootFeature);
    EXPECT_EQ(counts_of(sub_features(root), 1), std::vector<LONG>{3});
    EXPECT_EQ(count_of(sub_features(root)).result, E_ACCESSDENIED);
    EXPECT_EQ(counts_of(sub_features(root), 2), (std::vector<LONG>{0, 0}));
    EXPECT_EQ(item(sub_features(root), 1).result, S_OK);
}

TEST_F(FixtureLogCollections, AnswerToTheirInterfaces)
{
    const auto types = open_types(R"(["A"])");
    EXPECT_TRUE(automation::query_interface<IUnknown>(types.get(), IID_IOperationTypeCollection));
    EXPECT_TRUE(automation::query_interface<IUnknown>(item(types, 1).value.get(), IID_IOperationType));
    const auto features = sub_features(open_feature(""));
    EXPECT_TRUE(automation::query_interface<IUnknown>(features.get(), IID_IFeatureLogCollection));
    EXPECT_FALSE(automation::query_interface<IUnknown>(features.get(), IID_IOperationTypeCollection));
}

} // namespace
