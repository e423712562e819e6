#include "tests/readers/fixture_log_support.h"

using namespace cw;
using namespace cw::fixture_log_tests;

namespace {

class FixtureLogModel : public log_test {
protected:
    // Why a model is refused.
    std::string refusal(std::string_view model)
    {
        const auto opened = try_open(model);
        EXPECT_EQ(opened.result, E_FAIL) << model;
        return last_error();
    }
};

TEST_F(FixtureLogModel, OpensWhateverTheExtensionAndTheScript)
{
    for (const char* name : {"a.clg", "a.hdr", "a", "\xC3\xBC\xF0\x9F\x93\xA6.clg"}) {
        m_folder.write(name, R"({"root": {}})");
        EXPECT_EQ(open_path(std::filesystem::path(m_folder.file(name)).u16string()).result, S_OK) << name;
    }
}

TEST_F(FixtureLogModel, RefusesWhatCannotBeRead)
{
    EXPECT_EQ(open_path(m_folder.wide_file("none.clg")).result, E_FAIL);
    const std::string told = last_error();
    EXPECT_NE(told.find(m_folder.file("none.clg")), std::string::npos) << told;
    EXPECT_NE(told.find("No such file"), std::string::npos) << told;
    EXPECT_EQ(open_path(m_folder.wide_file("")).result, E_FAIL) << "a folder";
    EXPECT_EQ(open_path(u"/dev/null").result, E_FAIL) << "no regular file";
}

TEST_F(FixtureLogModel, RefusesWhatIsNoJson)
{
    for (const char* text : {"", "{", "\x01\x02", R"({"root": {}} tail)", "{\"root\": {\"Name\": \"\xFF\"}}"})
        EXPECT_NE(refusal(text).find("no JSON text"), std::string::npos) << text;
}

TEST_F(FixtureLogModel, RefusesWhatIsNoModelOfALog)
{
    for (const char* text : {"[]", "5", "null", "{}", R"({"types": []})", R"({"root": 5})", R"({"root": []})"})
        EXPECT_NE(refusal(text).find("no model of a log"), std::string::npos) << text;
    EXPECT_NE(refusal(R"({"media": {}})").find("a media"), std::string::npos);
    EXPECT_NE(refusal(R"({"root": {}, "trace": 1})").find("trace"), std::string::npos);
}

TEST_F(FixtureLogModel, RefusesATraceThatCannotBeWritten)
{
    EXPECT_NE(refusal(R"({"root": {}, "trace": ")" + m_folder.file("no/such") + "\"}").find("trace"),
              std::string::npos);
}

TEST_F(FixtureLogModel, TakesNullSettingsForNone)
{
    EXPECT_EQ(try_open(R"({"root": {}, "trace": null, "open_error": null, "root_error": null})").result, S_OK);
}

TEST_F(FixtureLogModel, SurvivesDeepNesting)
{
    const int depth = 100'000;
    EXPECT_EQ(try_open(std::string(depth, '[') + std::string(depth, ']')).result, E_FAIL);
    std::string model = R"({"root": )";
    for (int i = 0; i < depth; ++i)
        model += R"({"features": [)";
    model += "{}";
    for (int i = 0; i < depth; ++i)
        model += "]}";
    auto feature = get<IFeatureLog>(open(model + "}"), &ILogDocument::RootFeature);
    for (int i = 0; i < 1'000; ++i)
        feature = sub_feature(feature, 1);
    EXPECT_EQ(counts_of(sub_features(feature), 1), std::vector<LONG>{1});
}

} // namespace
