#include "tests/readers/fixture_support.h"

using namespace cw;
using namespace cw::fixture_tests;

namespace {

class FixtureMediaEntry : public fixture_test {};

TEST_F(FixtureMediaEntry, HasNoErrorBeforeAnOpen)
{
    EXPECT_EQ(last_error(media_error::Number).value.lVal, 0);
    EXPECT_EQ(last_error(media_error::Description).text(), u"");
    EXPECT_EQ(last_error(media_error::SystemText).text(), u"");
}

TEST_F(FixtureMediaEntry, AnswersTheOpenErrorOfTheModel)
{
    const std::string path = write(R"({"open_error": {"Number": 7, "Description": "no such volume",
                                                      "SystemText": "file not found"}, "media": {}})");
    for (int attempt = 0; attempt < 2; ++attempt) {
        const outcome opened = open_path(path);
        EXPECT_EQ(opened.result, E_FAIL) << "every open fails";
        EXPECT_EQ(opened.description, u"no such volume");
        EXPECT_EQ(last_error(media_error::Number).value.lVal, 7);
        EXPECT_EQ(last_error(media_error::Description).text(), u"no such volume");
        EXPECT_EQ(last_error(media_error::SystemText).text(), u"file not found");
    }
}

TEST_F(FixtureMediaEntry, AnswersAbsentAndFailingMembersOfTheOpenError)
{
    EXPECT_EQ(
        open_path(write(R"({"open_error": {"Number": 0, "Description": {"fail": "0x80070005"}}, "media": {}})")).result,
        E_FAIL);
    EXPECT_EQ(last_error(media_error::Number).value.lVal, 0);
    EXPECT_EQ(last_error(media_error::Description).result, E_ACCESSDENIED);
    EXPECT_EQ(last_error(media_error::SystemText).text(), u"");

    EXPECT_EQ(open_path(write(R"({"open_error": {"fail": "0x80070005"}, "media": {}})")).result, E_FAIL);
    EXPECT_EQ(call(m_factory.get(), media_factory::LastError).result, E_ACCESSDENIED);
}

TEST_F(FixtureMediaEntry, PutsTheOpenErrorBeforeThePassword)
{
    open_path(write(R"({"open_error": {"Number": 7}, "password": "secret", "media": {}})"));
    EXPECT_EQ(last_error(media_error::Number).value.lVal, 7);
}

TEST_F(FixtureMediaEntry, AsksForThePassword)
{
    const std::string path = write(R"({"password": "s\u00e9cret", "media": {}})");
    for (const char16_t* wrong : {u"", u"secret", u"S\u00E9CRET", u"s\u00E9cret "}) {
        EXPECT_EQ(open_path(path, wrong).result, E_FAIL);
        EXPECT_EQ(last_error(media_error::Number).value.lVal, 142);
        EXPECT_EQ(last_error(media_error::Description).text(), u"password required");
        EXPECT_EQ(last_error(media_error::SystemText).text(), u"");
    }
    EXPECT_EQ(open_path(path, u"s\u00E9cret").result, S_OK);
    EXPECT_EQ(last_error(media_error::Number).value.lVal, 0) << "an open that works clears the error";
}

TEST_F(FixtureMediaEntry, TakesThePasswordInEveryForm)
{
    const std::u16string path = std::filesystem::path(write(R"({"password": "12", "media": {}})")).u16string();
    const std::u16string_view path_view = path;
    const auto& open_media = media_factory::OpenMedia;
    EXPECT_EQ(call(m_factory.get(), open_media, path_view).result, E_FAIL) << "left out";
    EXPECT_EQ(last_error(media_error::Number).value.lVal, 142);
    EXPECT_EQ(call(m_factory.get(), open_media, path_view, 12).result, S_OK) << "a number";

    variant left_out;
    left_out.vt = VT_ERROR;
    left_out.scode = DISP_E_PARAMNOTFOUND;
    EXPECT_EQ(call(m_factory.get(), open_media, path_view, std::move(left_out)).result, E_FAIL);
    EXPECT_EQ(last_error(media_error::Number).value.lVal, 142);

    variant null_text;
    null_text.vt = VT_BSTR;
    EXPECT_EQ(call(m_factory.get(), open_media, path_view, std::move(null_text)).result, E_FAIL);
    EXPECT_EQ(last_error(media_error::Number).value.lVal, 142);

    variant no_text;
    no_text.vt = VT_NULL;
    EXPECT_EQ(call(m_factory.get(), open_media, path_view, std::move(no_text)).result, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(last_error(media_error::Number).value.lVal, 31) << "no failure leaves the number 0";
}

TEST_F(FixtureMediaEntry, OpensWithAnyPasswordWhereNoneIsWanted)
{
    const std::string path = write(R"({"media": {}})");
    EXPECT_EQ(open_path(path).result, S_OK);
    EXPECT_EQ(open_path(path, u"anything").result, S_OK);
    EXPECT_EQ(open_path(write(R"({"password": "", "media": {}})")).result, S_OK);
    EXPECT_EQ(open_path(write(R"({"password": "", "media": {}})"), u"x").result, E_FAIL);
}

TEST_F(FixtureMediaEntry, FailsAsTheMediaFails)
{
    EXPECT_EQ(open_path(write(R"({"media": {"fail": "0x8007000E"}})")).result, E_OUTOFMEMORY);
    EXPECT_EQ(last_error(media_error::Number).value.lVal, 31);
    EXPECT_NE(last_error(media_error::Description).text(), u"");
}

TEST_F(FixtureMediaEntry, NeedsAPath)
{
    EXPECT_TRUE(FAILED(call(m_factory.get(), media_factory::OpenMedia).result));
    EXPECT_TRUE(FAILED(call(m_factory.get(), media_factory::OpenMedia, 1, 2, 3).result));
}

TEST_F(FixtureMediaEntry, KeepsTheMediaWhenTheFactoryGoes)
{
    const auto media = open_media(R"("ProductGuid": "{5}", "Features": [{"Name": "Main"}])");
    const auto feature = item(call(media.get(), media::Features).object().get(), 1);
    open(R"({"media": {}})");
    m_factory.reset();
    EXPECT_EQ(call(media.get(), media::ProductGuid, 0).text(), u"{5}");
    EXPECT_EQ(call(feature.get(), media_feature::Name).text(), u"Main");
}

} // namespace
