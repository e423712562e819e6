#include "tests/readers/fixture_log_support.h"

using namespace cw;
using namespace cw::fixture_log_tests;

namespace {

class FixtureLogEntry : public log_test {};

TEST_F(FixtureLogEntry, OpensALog)
{
    const auto [result, document] = try_open(R"({"root": {"Name": "Main"}})");
    EXPECT_EQ(result, S_OK);
    EXPECT_EQ(name_of(get<IFeatureLog>(document, &ILogDocument::RootFeature)), R"("Main")");
}

TEST_F(FixtureLogEntry, FailsAsTheModelTells)
{
    EXPECT_EQ(try_open(R"({"open_error": "0x80070005", "root": {}})").result, E_ACCESSDENIED);
    EXPECT_FALSE(last_error().empty());
    EXPECT_EQ(try_open(R"({"open_error": "0x80070005"})").result, E_ACCESSDENIED) << "a root is not needed";
    EXPECT_EQ(try_open(R"({"open_error": {"fail": "0x80070005"}, "root": {}})").result, E_ACCESSDENIED);
    EXPECT_EQ(try_open(R"({"open_error": "0x00000001", "root": {}})").result, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(try_open(R"({"open_error": null, "root": {}})").result, S_OK);
}

TEST_F(FixtureLogEntry, NeedsAPathAndAPlaceForTheLog)
{
    ILogDocument* document = nullptr;
    EXPECT_EQ(m_loader->Open(nullptr, &document), E_FAIL);
    EXPECT_EQ(document, nullptr);
    const bstr path(u"log.clg");
    EXPECT_EQ(m_loader->Open(path.get(), nullptr), E_POINTER);
}

TEST_F(FixtureLogEntry, TracesTheCalls)
{
    const auto document =
        open(R"({"types": ["OPTYPE_FILE"], "trace": ")" + m_folder.file("calls.txt") +
             R"(", "root": {"features": [{}], "properties": [["State", 2]], "operations": {"OPTYPE_FILE": [["a"]]}}})");
    const auto root = get<IFeatureLog>(document, &ILogDocument::RootFeature);
    const auto types = get<IOperationTypeCollection>(document, &ILogDocument::OperationTypes);
    count_of(types);
    name_of(item(types, 1).value);
    EXPECT_EQ(item(types, 9).result, E_FAIL);
    name_of(root);
    id_of(root);
    call<IFeatureLog>(root, &IFeatureLog::Parent);
    property(root, u"State");
    property_names(root);
    const auto features = sub_features(root);
    count_of(features);
    EXPECT_EQ(item(features, 1).result, S_OK);
    const auto list = operations(root, u"OPTYPE_FILE").value;
    name_of(list);
    count_of(list);
    LONG position = first(list).value;
    next(list, position);
    EXPECT_EQ(m_folder.read("calls.txt"), "ILogLoader Open\n"
                                          "ILogDocument RootFeature\n"
                                          "ILogDocument OperationTypes\n"
                                          "IOperationTypeCollection Count\n"
                                          "IOperationTypeCollection Item 1\n"
                                          "IOperationType Name\n"
                                          "IOperationTypeCollection Item 9\n"
                                          "IFeatureLog Name\n"
                                          "IFeatureLog ID\n"
                                          "IFeatureLog Parent\n"
                                          "IFeatureLog PropertyValue\n"
                                          "IFeatureLog PropertyNames\n"
                                          "IFeatureLog SubFeatures\n"
                                          "IFeatureLogCollection Count\n"
                                          "IFeatureLogCollection Item 1\n"
                                          "IFeatureLog Operations\n"
                                          "IOperationList Name\n"
                                          "IOperationList Count\n"
                                          "IOperationList First\n"
                                          "IOperationList Next\n");
}

TEST_F(FixtureLogEntry, TracesAnOpenThatFails)
{
    const std::string trace = m_folder.file("calls.txt");
    EXPECT_EQ(try_open(R"({"open_error": "0x80004005", "trace": ")" + trace + "\"}").result, E_FAIL);
    EXPECT_EQ(m_folder.read("calls.txt"), "ILogLoader Open\n");
}

} // namespace
