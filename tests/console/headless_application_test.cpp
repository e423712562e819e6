#include "console/headless_application.h"

#include "app/menus.h"
#include "bridges/activation.h"
#include "platform/utf8.h"
#include "tests/support/frame_harness.h"
#include "tests/support/frame_pictures.h"
#include "tests/support/scripted_readers.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace cw::console {
namespace {

using namespace test_support;

/// What the companion stands on: a folder with the readers beside it.
class headless : public testing::Test {
protected:
    headless() { libraries.add_fixture_media(); }
    ~headless() override { forget_loaded_libraries(); }
    static platform::services with(platform::loader& loader)
    {
        forget_loaded_libraries();
        platform::services set = platform::current();
        set.libraries = &loader;
        return set;
    }
    std::u16string write(std::string_view model, std::string_view name = "media.hdr") const
    {
        folder.write(name, model);
        return folder.wide_file(name);
    }
    /// What `open` answers, as UTF-8; "open" where it is open.
    std::string opened(std::u16string_view path)
    {
        const auto failure = viewer.open(path);
        return failure ? platform::to_utf8(*failure) : "open";
    }

    temporary_folder folder;
    library_folder libraries{folder};
    platform::scoped_services in_use{with(libraries)};
    headless_application viewer;
};

TEST_F(headless, opens_as_the_window_would)
{
    EXPECT_EQ(opened(write(R"({"media": {"Features": [{"Name": "Main"}]}})")), "open");
    EXPECT_EQ(tree_of(viewer.frame(), "Features"), "Features\n  Main\n");
    EXPECT_TRUE(viewer.frame().HasMedia());
}

TEST_F(headless, tells_a_numbered_error)
{
    EXPECT_EQ(opened(write(R"({"open_error": {"Number": 7, "Description": "d", "SystemText": "s"}, "media": {}})")),
              "Error 7 while attempting to open media. Error: d (system error 's')");
    // One open has nothing to say about the next.
    EXPECT_EQ(opened(write(R"({"media": {}})")), "open");
}

TEST_F(headless, tells_that_a_password_is_needed)
{
    const std::u16string path = write(R"({"password": "p", "media": {}})");
    EXPECT_EQ(opened(path), "a password is needed to open it");
    viewer.person().answer(question_kind::password, u"wrong");
    EXPECT_EQ(opened(path), "a password is needed to open it");
    // A question that was answered well is no failure.
    viewer.person().answer(question_kind::password, u"p");
    EXPECT_EQ(opened(path), "open");
}

TEST_F(headless, tells_an_error_that_no_site_caught)
{
    const std::string told = opened(write(R"({"media": {"Features": {"fail": "0x80004005"}}})"));
    EXPECT_NE(told.find("0x80004005"), std::string::npos) << told;
    EXPECT_EQ(opened(write(R"({"media": {}})")), "open");
}

TEST_F(headless, tells_what_the_window_is_silent_about)
{
    libraries.remove("MediaForge40.dll");
    EXPECT_EQ(opened(u"/a.hdr"), "no reader library MediaForge40.dll could be activated");
    EXPECT_EQ(opened(u"/a.clg"), "no reader library LogKit.dll could be activated");
    scripted_log_library log;
    libraries.add("LogKit.dll", &scripted_log_library::entry_point);
    log.open_result = E_FAIL;
    EXPECT_EQ(opened(u"/a.clg"), "the log cannot be read");
    log.open_result = S_OK;
    log.root_gives_null = true;
    EXPECT_EQ(opened(u"/a.clg"), "the log cannot be read");
    (void)opened(u"/a.hdr");
}

TEST_F(headless, runs_commands_and_tells_their_errors)
{
    EXPECT_EQ(
        opened(write(R"({"media": {"Features": [{"Name": "<Support>", "SubFeatures": {"fail": "0x80004005"}}]}})")),
        "open");
    EXPECT_FALSE(viewer.run_command(ID_VIEW_FEATURES));
    const auto failure = viewer.run_command(ID_VIEW_EXPERT_MODE);
    ASSERT_TRUE(failure);
    EXPECT_NE(platform::to_utf8(*failure).find("0x80004005"), std::string::npos);
    EXPECT_FALSE(viewer.run_command(ID_VIEW_EXPERT_MODE));
    // One that is disabled does nothing.
    (void)opened(u"/a.clg");
    EXPECT_FALSE(viewer.run_command(ID_VIEW_ALL));
    EXPECT_EQ(viewer.frame().ViewFilter(), u"Features");
}

TEST(headless_application, closes_the_frame_at_its_end)
{
    platform::memory_user_settings settings;
    platform::services set = platform::current();
    set.user = &settings;
    const platform::scoped_services in_use(set);
    {
        headless_application viewer;
        (void)viewer.open(u"/a.clg");
        EXPECT_EQ(settings.read_text(u"Settings", u"Mode", u""), u"");
    }
    EXPECT_EQ(settings.read_text(u"Settings", u"Mode", u""), u"0");
    EXPECT_EQ(settings.read_text(u"Recent File List", u"File1", u""), u"/a.clg");
}

TEST(absolute_path, leaves_the_way_to_the_system)
{
    EXPECT_EQ(absolute_path("/a/b.hdr"), u"/a/b.hdr");
    EXPECT_EQ(absolute_path("/a/../b.hdr"), u"/a/../b.hdr");
    const std::u16string here = std::filesystem::current_path().u16string();
    EXPECT_EQ(absolute_path("b.hdr"), here + u"/b.hdr");
}

TEST(absolute_path, keeps_bytes_that_are_no_text)
{
    const std::u16string path = absolute_path("/a\xff");
    EXPECT_EQ(platform::path_to_bytes(path), "/a\xff");
}

} // namespace
} // namespace cw::console
