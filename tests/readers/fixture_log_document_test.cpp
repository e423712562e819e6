#include "tests/readers/fixture_log_support.h"

#include <filesystem>

using namespace cw;
using namespace cw::fixture_log_tests;

namespace {

class FixtureLogDocument : public log_test {
protected:
    // The library holds the trace of a log open as long as anything of the log lives.
    bool lives(std::string_view trace_name)
    {
        for (const auto& descriptor : std::filesystem::directory_iterator("/proc/self/fd")) {
            std::error_code gone;
            if (std::filesystem::read_symlink(descriptor, gone) == m_folder.file(trace_name))
                return true;
        }
        return false;
    }
    com_ptr<ILogDocument> open_traced(std::string_view more)
    {
        return open(R"({"trace": ")" + m_folder.file("calls.txt") + "\", " + std::string(more) + "}");
    }
};

constexpr const char* nested = R"("types": ["OPTYPE_FILE"],
    "root": {"Name": "Main", "features": [{"Name": "Sub", "features": [{"Name": "Inner"}],
             "properties": [["State", 2]], "operations": {"OPTYPE_FILE": [["a"], ["b"]]}}]})";

TEST_F(FixtureLogDocument, HasARootFeature)
{
    const auto document = open(R"({"root": {"Name": "Main", "ID": "APP_MAIN_LOG"}})");
    const auto root = get<IFeatureLog>(document, &ILogDocument::RootFeature);
    EXPECT_EQ(name_of(root), R"("Main")");
    EXPECT_EQ(id_of(root), R"("APP_MAIN_LOG")");
}

TEST_F(FixtureLogDocument, FailsToGiveTheRootAsTheModelTells)
{
    auto root_of = [this](std::string_view model) {
        return call<IFeatureLog>(open(model), &ILogDocument::RootFeature);
    };
    EXPECT_EQ(root_of(R"({"root": {}, "root_error": "0x80070005"})").result, E_ACCESSDENIED);
    EXPECT_EQ(last_error(), "ILogDocument RootFeature: the model makes this fail");
    EXPECT_EQ(root_of(R"({"root_error": "0x80070005"})").result, E_ACCESSDENIED);
    EXPECT_EQ(root_of(R"({"root": {"fail": "0x80070005"}})").result, E_ACCESSDENIED);
    const auto no_root = root_of(R"({"root": null})");
    EXPECT_EQ(no_root.result, S_OK);
    EXPECT_FALSE(no_root.value);
}

TEST_F(FixtureLogDocument, GivesTheTypesAnewEachTime)
{
    const auto document = open(R"({"types": ["OPTYPE_FILE"], "root": {}})");
    for (int i = 0; i < 2; ++i) {
        const auto types = get<IOperationTypeCollection>(document, &ILogDocument::OperationTypes);
        EXPECT_EQ(counts_of(types, 1), std::vector<LONG>{1});
    }
}

TEST_F(FixtureLogDocument, FailsToGiveTheTypesAsTheModelTells)
{
    auto types_of = [this](std::string_view types) {
        return call<IOperationTypeCollection>(open(R"({"root": {}, "types": )" + std::string(types) + "}"),
                                              &ILogDocument::OperationTypes);
    };
    EXPECT_EQ(types_of(R"({"fail": "0x80070005"})").result, E_ACCESSDENIED);
    EXPECT_EQ(types_of(R"("OPTYPE_FILE")").result, DISP_E_TYPEMISMATCH);
    const auto none = types_of("null");
    EXPECT_EQ(none.result, S_OK);
    EXPECT_FALSE(none.value);
}

TEST_F(FixtureLogDocument, KeepsAFeatureTheSameObject)
{
    const auto document = open_traced(nested);
    const auto root = get<IFeatureLog>(document, &ILogDocument::RootFeature);
    EXPECT_EQ(get<IFeatureLog>(document, &ILogDocument::RootFeature), root);
    IFeatureLog* const sub = sub_feature(root, 1).get();
    EXPECT_EQ(sub_feature(root, 1).get(), sub);
    EXPECT_EQ(get<IFeatureLog>(sub_feature(com_ptr<IFeatureLog>(sub), 1), &IFeatureLog::Parent).get(), sub);
}

TEST_F(FixtureLogDocument, KeepsFeaturesThatNobodyRefersTo)
{
    const auto document = open_traced(nested);
    const auto root = get<IFeatureLog>(document, &ILogDocument::RootFeature);
    IFeatureLog* const sub = sub_feature(root, 1).get();
    bstr name;
    EXPECT_EQ(sub->Name(name.put()), S_OK);
    EXPECT_EQ(name.view(), u"Sub");
}

TEST_F(FixtureLogDocument, LivesAsLongAsAnyPartOfIt)
{
    std::vector<com_ptr<IUnknown>> parts;
    {
        const auto document = open_traced(nested);
        const auto root = get<IFeatureLog>(document, &ILogDocument::RootFeature);
        const auto types = get<IOperationTypeCollection>(document, &ILogDocument::OperationTypes);
        const auto sub = sub_feature(root, 1);
        const auto list = operations(sub, u"OPTYPE_FILE").value;
        LONG position = first(list).value;
        EXPECT_EQ(next(list, position).result, S_OK);
        EXPECT_EQ(property_names(sub).result, S_OK);
        parts = {document, root, sub, sub_features(sub), types, item(types, 1).value, list};
    }
    m_loader.reset();
    while (!parts.empty()) {
        EXPECT_TRUE(lives("calls.txt")) << parts.size();
        parts.pop_back();
    }
    EXPECT_FALSE(lives("calls.txt"));
}

TEST_F(FixtureLogDocument, IsUsableFromAnyPartThatIsLeft)
{
    auto sub = sub_feature(get<IFeatureLog>(open_traced(nested), &ILogDocument::RootFeature), 1);
    m_loader.reset();
    EXPECT_EQ(name_of(get<IFeatureLog>(sub, &IFeatureLog::Parent)), R"("Main")");
    auto list = operations(sub, u"OPTYPE_FILE").value;
    auto features = sub_features(sub);
    sub.reset();
    LONG position = first(list).value;
    EXPECT_EQ(shown(next(list, position).value), strings{R"("a")"});
    list.reset();
    EXPECT_EQ(name_of(item(features, 1).value), R"("Inner")");
    features.reset();
    EXPECT_FALSE(lives("calls.txt"));
}

TEST_F(FixtureLogDocument, GoesWhereARecordAndTheNamesWereLeftLocked)
{
    {
        const auto sub = sub_feature(get<IFeatureLog>(open_traced(nested), &ILogDocument::RootFeature), 1);
        const auto list = operations(sub, u"OPTYPE_FILE").value;
        LONG position = first(list).value;
        void* data = nullptr;
        EXPECT_EQ(SafeArrayAccessData(next(list, position).value, &data), S_OK);
        EXPECT_EQ(SafeArrayAccessData(next(list, position).value, &data), S_OK);
        EXPECT_EQ(SafeArrayAccessData(property_names(sub).value, &data), S_OK);
        EXPECT_TRUE(lives("calls.txt"));
    }
    EXPECT_FALSE(lives("calls.txt"));
}

} // namespace
