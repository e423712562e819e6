#include "readers/fixture/call_trace.h"

#include "tests/readers/fixture_support.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

using namespace cw;
using namespace cw::fixture_tests;

namespace {

class FixtureCallTrace : public fixture_test {};

std::string model_with_trace(const std::string& trace, const std::string& more = {})
{
    return R"({"trace": ")" + trace + R"(", )" + more + R"(
        "media": {"Features": [{"Name": "Main"}],
                  "Components": [{"Name": "Program", "Files": [{"Name": "a.txt", "content": "x"}]}]}})";
}

TEST_F(FixtureCallTrace, WritesOneLineForEachCall)
{
    const std::string trace = path_of("calls.txt");
    const auto media = open(model_with_trace(trace));
    const auto features = call(media.get(), media::Features).object();
    call(features.get(), media_collection::Count);
    const auto feature = item(features.get(), 1);
    call(feature.get(), media_feature::Name);
    call(media.get(), media::ProductGuid, 0);
    const auto component = item(call(media.get(), media::Components).object().get(), u"Program");
    const auto files = call(component.get(), media_component::Files).object();
    call(files.get(), media_file_list::Count);
    const auto file = call(files.get(), media_file_list::Item, std::u16string_view(u"a.txt")).object();
    const std::u16string target = std::filesystem::path(path_of("out")).u16string();
    EXPECT_EQ(call(file.get(), media_file::Extract, std::u16string_view(target)).result, S_OK);
    EXPECT_EQ(read(trace), "IMediaFactory OpenMedia\n"
                           "IMedia Features\n"
                           "IMediaCollection Count\n"
                           "IMediaCollection Item 1\n"
                           "IMediaFeature Name\n"
                           "IMedia ProductGuid\n"
                           "IMedia Components\n"
                           "IMediaCollection Item Program\n"
                           "IMediaComponent Files\n"
                           "IMediaFileList Count\n"
                           "IMediaFileList Item a.txt\n"
                           "IMediaFile Extract\n");
}

TEST_F(FixtureCallTrace, TracesTheErrorsOfAnOpen)
{
    const std::string trace = path_of("calls.txt");
    EXPECT_EQ(open_path(write(model_with_trace(trace, R"("open_error": {"Number": 7},)"))).result, E_FAIL);
    EXPECT_EQ(last_error(media_error::Number).value.lVal, 7);
    EXPECT_EQ(read(trace), "IMediaFactory OpenMedia\nIMediaFactory LastError\nIMediaError Number\n");
}

TEST_F(FixtureCallTrace, TracesCallsThatFail)
{
    const std::string trace = path_of("calls.txt");
    const auto media = open(model_with_trace(trace));
    const auto features = call(media.get(), media::Features).object();
    EXPECT_EQ(call(features.get(), media_collection::Item, 9).result, E_FAIL);
    EXPECT_EQ(call(features.get(), media_collection::Item, std::u16string_view(u"No such")).result, E_FAIL);
    EXPECT_TRUE(read(trace).ends_with("IMediaCollection Item 9\nIMediaCollection Item No such\n"));
}

TEST_F(FixtureCallTrace, AppendsToWhatStandsThere)
{
    const std::string trace = write("before\n", "calls.txt");
    open(model_with_trace(trace));
    EXPECT_EQ(read(trace), "before\nIMediaFactory OpenMedia\n");
}

TEST_F(FixtureCallTrace, StopsWithAMediaThatHasNone)
{
    const std::string trace = path_of("calls.txt");
    open(model_with_trace(trace));
    const auto media = open_media("");
    call(media.get(), media::FormatVersion);
    call(m_factory.get(), media_factory::LastError);
    EXPECT_EQ(read(trace), "IMediaFactory OpenMedia\n");
}

TEST_F(FixtureCallTrace, KeepsALineOnOneLine)
{
    const std::string trace = path_of("calls.txt");
    const auto media = open(model_with_trace(trace));
    const auto features = call(media.get(), media::Features).object();
    call(features.get(), media_collection::Item, std::u16string_view(u"a\r\nb"));
    EXPECT_TRUE(read(trace).ends_with("IMediaCollection Item a  b\n"));
}

TEST_F(FixtureCallTrace, HasTheLineBeforeTheProcessDies)
{
    const std::string trace = path_of("calls.txt");
    const pid_t child = ::fork();
    if (child == 0) {
        fixture::call_trace(trace).append(u"IMedia \u00FC");
        const fixture::call_trace open_at_the_end(trace);
        open_at_the_end.append(u"IMedia Features");
        ::_exit(0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(read(trace), "IMedia \xC3\xBC\nIMedia Features\n");
}

TEST_F(FixtureCallTrace, ThrowsWhereItCannotBeOpened)
{
    try {
        const fixture::call_trace trace(path_of("no/such/folder"));
        FAIL();
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code().value(), ENOENT);
    }
}

TEST_F(FixtureCallTrace, FailsTheCallThatItCannotWrite)
{
    // A device that takes no byte.
    if (::access("/dev/full", W_OK) != 0)
        GTEST_SKIP() << "no /dev/full";
    const outcome opened = open_path(write(model_with_trace("/dev/full")));
    EXPECT_EQ(opened.result, E_FAIL);
    EXPECT_NE(opened.description.find(u"trace"), std::u16string::npos);
    EXPECT_EQ(last_error(media_error::Number).value.lVal, 31);
    EXPECT_EQ(last_error(media_error::Description).text(), opened.description);
}

} // namespace
