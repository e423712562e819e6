#include "tests/readers/fixture_support.h"

#include "readers/fixture/text.h"

using namespace cw;
using namespace cw::fixture_tests;

namespace {

class FixtureMediaModel : public fixture_test {
protected:
    // Opens a model that is expected to fail; the number of the last error.
    int number_of(std::string_view path)
    {
        m_opened = open_path(path);
        EXPECT_EQ(m_opened.result, E_FAIL);
        EXPECT_FALSE(m_opened.description.empty());
        EXPECT_EQ(last_error(media_error::Description).text(), m_opened.description);
        return last_error(media_error::Number).value.lVal;
    }
    int number_of_model(std::string_view model) { return number_of(write(model)); }
    std::string told() const { return fixture::to_utf8(m_opened.description); }

    outcome m_opened;
};

TEST_F(FixtureMediaModel, OpensWhateverTheExtension)
{
    for (const char* name : {"a.hdr", "a.cab", "a", "a.JSON"}) {
        const outcome opened = open_path(write(R"({"media": {"FormatVersion": 5}})", name));
        ASSERT_EQ(opened.result, S_OK) << name;
        EXPECT_EQ(call(opened.object().get(), media::FormatVersion).value.lVal, 5);
    }
}

TEST_F(FixtureMediaModel, OpensAPathInAnyScript)
{
    EXPECT_EQ(open_path(write(R"({"media": {}})", "\xC3\xBC\xF0\x9F\x93\xA6.hdr")).result, S_OK);
}

TEST_F(FixtureMediaModel, SkipsAByteOrderMark)
{
    EXPECT_EQ(open_path(write("\xEF\xBB\xBF{\"media\": {}}")).result, S_OK);
}

TEST_F(FixtureMediaModel, NumbersWhatTheSystemRefuses)
{
    EXPECT_EQ(number_of(path_of("none.hdr")), 2);
    EXPECT_NE(told().find(path_of("none.hdr")), std::string::npos);
    EXPECT_EQ(last_error(media_error::SystemText).text(), u"No such file or directory");
    EXPECT_EQ(number_of(""), 2);
    EXPECT_EQ(number_of(write("") + "/below"), 3);
    EXPECT_EQ(number_of(path_of("")), 5);
    EXPECT_EQ(number_of("/dev/null"), 30) << "no regular file";
}

TEST_F(FixtureMediaModel, NumbersWhatIsNoJson)
{
    for (const char* text : {"", "{", "MZ\x90", "{\"media\": {}} tail", "{\"media\": {\"x\": \"\xFF\"}}", "[1e999]"}) {
        EXPECT_EQ(number_of_model(text), 13) << text;
        EXPECT_NE(told().find("no JSON text"), std::string::npos);
        EXPECT_EQ(last_error(media_error::SystemText).text(), u"");
    }
}

TEST_F(FixtureMediaModel, NumbersWhatIsNoModelOfAMedia)
{
    for (const char* text :
         {"[]", "5", "null", "{}", R"({"types": [], "root": {}})", R"({"media": 5})", R"({"media": []})",
          R"({"media": "x"})", R"({"password": 5, "media": {}})", R"({"open_error": "x", "media": {}})",
          R"({"missing": "maybe", "media": {}})", R"({"missing": 1, "media": {}})", R"({"trace": 1, "media": {}})"})
        EXPECT_EQ(number_of_model(text), 11) << text;
    EXPECT_EQ(number_of_model(R"({"root": {}})"), 11);
    EXPECT_NE(told().find("a log"), std::string::npos);
    EXPECT_EQ(number_of_model(R"({"missing": "maybe", "media": {}})"), 11);
    EXPECT_NE(told().find("missing"), std::string::npos);
}

TEST_F(FixtureMediaModel, NumbersATraceThatCannotBeWritten)
{
    EXPECT_EQ(number_of_model(R"({"trace": ")" + path_of("") + R"(", "media": {}})"), 5);
    EXPECT_EQ(number_of_model(R"({"trace": ")" + path_of("no/such") + R"(", "media": {}})"), 2);
    EXPECT_NE(told().find("trace"), std::string::npos);
    EXPECT_EQ(last_error(media_error::SystemText).text(), u"No such file or directory");
}

TEST_F(FixtureMediaModel, TakesNullSettingsForNone)
{
    EXPECT_EQ(open_path(write(R"({"password": null, "open_error": null, "missing": null, "trace": null,
                                  "media": {}})"))
                  .result,
              S_OK);
}

TEST_F(FixtureMediaModel, OpensAMediaThatIsNull)
{
    const outcome opened = open_path(write(R"({"media": null})"));
    EXPECT_EQ(opened.result, S_OK);
    EXPECT_EQ(opened.object().get(), nullptr);
}

TEST_F(FixtureMediaModel, SurvivesDeepNesting)
{
    const int depth = 200'000;
    EXPECT_EQ(number_of_model(std::string(depth, '[') + std::string(depth, ']')), 11);
    std::string model = R"({"media": {"Features": )";
    for (int i = 0; i < depth; ++i)
        model += R"([{"SubFeatures": )";
    model += "[]";
    for (int i = 0; i < depth; ++i)
        model += "}]";
    const auto media = open(model + "}}");
    EXPECT_EQ(call(call(media.get(), media::Features).object().get(), media_collection::Count).value.lVal, 1);
}

} // namespace
