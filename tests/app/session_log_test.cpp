// The log side of the session: which paths are logs, and the steps of opening one.
#include "app/main_frame.h"

#include "app/menus.h"
#include "tests/support/frame_harness.h"
#include "tests/support/frame_pictures.h"
#include "tests/support/scripted_readers.h"

#include <gtest/gtest.h>

namespace cw {
namespace {

using namespace test_support;

using lines = std::vector<std::string>;
using paths = std::vector<std::u16string>;

constexpr const char16_t* log_path = u"C:\\logs\\setup.clg";

class log_session : public testing::Test {
protected:
    log_session()
    {
        program.libraries.add("LogKit.dll", &scripted_log_library::entry_point);
        program.start();
    }
    CMainFrame& frame() { return program.frame(); }
    /// Opens the log; what is the same for every log, whether or not it can be read.
    void open_log(std::u16string_view path = log_path)
    {
        EXPECT_TRUE(program.open(path));
        EXPECT_EQ(frame().GetTitle(), path);
        EXPECT_EQ(frame().OpenPath(), path);
        EXPECT_EQ(program.recent().front(), path);
        EXPECT_TRUE(program.person.take_messages().empty());
        EXPECT_TRUE(program.take_unhandled().empty());
        EXPECT_FALSE(frame().Tree().GetSelectedItem());
        EXPECT_FALSE(frame().HasMedia());
    }
    bool has_loader() { return static_cast<bool>(frame_access::log_loader(frame())); }
    bool has_document() { return static_cast<bool>(frame_access::log_document(frame())); }
    bool has_feature() { return static_cast<bool>(frame_access::root_feature_log(frame())); }
    /// Whether the path goes to the log library.
    bool is_log(std::u16string_view path)
    {
        log.calls.clear();
        program.open(path);
        (void)program.person.take_messages();
        return !log.calls.empty();
    }

    scripted_log_library log;
    frame_harness program;
};

TEST_F(log_session, path_decides_by_the_marker_wherever_it_stands)
{
    EXPECT_TRUE(is_log(u"C:\\a.clg"));
    EXPECT_TRUE(is_log(u"/a.clg"));
    EXPECT_TRUE(is_log(u"C:\\old.clg files\\media.hdr"));
    EXPECT_TRUE(is_log(u"/old.clg/media.hdr"));
    EXPECT_TRUE(is_log(u"/a.clgx"));
    EXPECT_FALSE(is_log(u"/a.CLG"));
    EXPECT_FALSE(is_log(u"/a.Clg"));
    EXPECT_FALSE(is_log(u"/aclg"));
    EXPECT_FALSE(is_log(u"/a.hdr"));
    EXPECT_FALSE(is_log(u""));
}

TEST_F(log_session, upper_case_extension_opens_as_a_media)
{
    EXPECT_TRUE(program.open(program.write(R"({"media": {"Features": [{"Name": "Main"}]}})", "a.CLG")));
    EXPECT_EQ(tree_of(frame(), "Features"), "Features\n  Main\n");
    EXPECT_TRUE(log.calls.empty());
}

TEST_F(log_session, media_below_a_folder_with_the_marker_is_a_log)
{
    open_log(program.write(R"({"media": {"Features": [{"Name": "Main"}]}})", "set.clg/media.hdr"));
    EXPECT_EQ(roots_of(frame()).front(), "media.hdr");
}

TEST_F(log_session, opens_in_steps)
{
    open_log();
    EXPECT_EQ(log.classes_asked_for, std::vector<CLSID>{CLSID_LogLoader});
    ASSERT_GE(log.calls.size(), 2u);
    EXPECT_EQ(log.calls[0], "Open C:\\logs\\setup.clg");
    EXPECT_EQ(log.calls[1], "RootFeature");
    EXPECT_TRUE(has_loader());
    EXPECT_TRUE(has_document());
    EXPECT_TRUE(has_feature());
    EXPECT_TRUE(frame().HasLog());
    EXPECT_TRUE(frame().HasLogLoader());
}

TEST_F(log_session, root_item_has_the_file_name_and_no_node)
{
    log.open_result = E_FAIL;
    const std::vector<std::pair<const char16_t*, const char*>> names{
        {u"C:\\logs\\a.clg", "a.clg"},  {u"C:\\a.clg", "a.clg"},         {u"/logs/a.clg", "a.clg"},
        {u"/l/a.clg", "a.clg"},         {u"/a.clg", "/a.clg"},           {u"\\a.clg", "\\a.clg"},
        {u"x\\a.clg", "x\\a.clg"},      {u"xy\\a.clg", "a.clg"},         {u"a.clg", "a.clg"},
        {u"logs/a.clg", "logs/a.clg"},  {u"/logs/a\\b.clg", "a\\b.clg"}, {u"C:\\a.clg\\", ""},
        {u"\\\\server\\a.clg", "a.clg"}};
    for (const auto& [path, name] : names) {
        open_log(path);
        EXPECT_EQ(detailed_tree_of(frame()), std::string(name) + " (-; -)\n");
    }
}

TEST_F(log_session, clears_what_was_shown_before)
{
    program.open_features("Main\n  Help\n");
    select(frame(), "Features/Main");
    ASSERT_FALSE(rows_of(frame()).empty());
    log.open_result = E_FAIL;
    open_log();
    EXPECT_TRUE(frame().NavNodes().empty());
    EXPECT_EQ(rows_of(frame()), lines{});
    EXPECT_EQ(tree_of(frame()), "setup.clg\n");
}

TEST_F(log_session, leaves_the_status_bar_as_it_is)
{
    open_log();
    EXPECT_EQ(frame().GetStatusText(), u"");
    program.open_features("Main\n");
    const std::u16string status = frame().GetStatusText();
    EXPECT_FALSE(status.empty());
    open_log();
    EXPECT_EQ(frame().GetStatusText(), status);
}

TEST_F(log_session, is_silent_without_a_library)
{
    program.libraries.remove("LogKit.dll");
    open_log();
    EXPECT_EQ(detailed_tree_of(frame()), "setup.clg (-; -)\n");
    EXPECT_FALSE(has_loader());
    EXPECT_FALSE(frame().HasLog());
}

TEST_F(log_session, is_silent_where_the_class_cannot_be_made)
{
    log.class_result = CLASS_E_CLASSNOTAVAILABLE;
    open_log();
    EXPECT_FALSE(has_loader());
    EXPECT_EQ(detailed_tree_of(frame()), "setup.clg (-; -)\n");
}

TEST_F(log_session, is_silent_where_the_class_makes_no_loader)
{
    log.makes_loader = false;
    open_log();
    EXPECT_FALSE(has_loader());
    EXPECT_EQ(log.alive, 0);
    EXPECT_TRUE(log.calls.empty());
    EXPECT_EQ(detailed_tree_of(frame()), "setup.clg (-; -)\n");
}

TEST_F(log_session, keeps_the_loader_where_the_log_does_not_open)
{
    for (const bool gives_null : {false, true}) {
        log.calls.clear();
        log.open_result = gives_null ? S_OK : E_FAIL;
        log.open_gives_null = gives_null;
        open_log();
        EXPECT_EQ(log.calls, lines{"Open C:\\logs\\setup.clg"});
        EXPECT_TRUE(has_loader());
        EXPECT_FALSE(has_document());
        EXPECT_FALSE(has_feature());
        EXPECT_EQ(detailed_tree_of(frame()), "setup.clg (-; -)\n");
    }
}

TEST_F(log_session, keeps_loader_and_document_where_the_root_feature_fails)
{
    for (const bool gives_null : {false, true}) {
        log.root_result = gives_null ? S_OK : E_FAIL;
        log.root_gives_null = gives_null;
        open_log();
        EXPECT_TRUE(has_loader());
        EXPECT_TRUE(has_document());
        EXPECT_FALSE(has_feature());
        EXPECT_FALSE(frame().HasLog());
        EXPECT_EQ(detailed_tree_of(frame()), "setup.clg (-; -)\n");
    }
}

TEST_F(log_session, a_log_that_fails_enters_the_recent_list)
{
    log.open_result = E_FAIL;
    open_log(u"/a.clg");
    open_log(u"/b.clg");
    EXPECT_EQ(program.recent(), (paths{u"/b.clg", u"/a.clg"}));
}

TEST_F(log_session, each_open_makes_a_new_loader)
{
    open_log();
    const auto loader = frame_access::log_loader(frame());
    open_log();
    EXPECT_NE(frame_access::log_loader(frame()), loader);
    // One loader is this test's; the session before is gone.
    EXPECT_EQ(log.alive, 4);
}

TEST_F(log_session, ends_the_media_session_but_keeps_its_library)
{
    program.open_features("Main\n");
    const auto factory = frame_access::media_factory(frame());
    open_log();
    EXPECT_EQ(frame_access::media_factory(frame()), factory);
    // The reference that was kept for the time of the call is gone too.
    {
        const auto media = scripted_object::make([](DISPID, const VARIANT*, VARIANT&) { return E_FAIL; });
        frame_access::media(frame()) = media;
    }
    EXPECT_EQ(scripted_object::alive, 1);
    program.open(log_path);
    EXPECT_EQ(scripted_object::alive, 0);
}

TEST_F(log_session, a_media_ends_the_log_session)
{
    open_log();
    EXPECT_TRUE(program.open_features("Main\n"));
    EXPECT_FALSE(has_loader());
    EXPECT_FALSE(has_document());
    EXPECT_FALSE(has_feature());
    // The main feature's node outlives its tree until the next log.
    EXPECT_EQ(log.alive, 1);
    EXPECT_EQ(roots_of(frame()).front(), "Features");
}

TEST_F(log_session, a_media_that_fails_leaves_the_logs_tree)
{
    open_log();
    const std::string tree = detailed_tree_of(frame());
    const std::size_t nodes = frame().NavNodes().size();
    EXPECT_FALSE(program.open(program.folder.wide_file("absent.hdr")));
    EXPECT_EQ(detailed_tree_of(frame()), tree);
    EXPECT_EQ(frame().NavNodes().size(), nodes);
    EXPECT_FALSE(has_loader());
    EXPECT_FALSE(frame().HasLog());
}

TEST_F(log_session, view_commands_mean_nothing_to_a_log)
{
    open_log();
    for (std::uint32_t id = ID_VIEW_FEATURES; id <= ID_VIEW_EXPERT_MODE; ++id)
        EXPECT_FALSE(frame().UpdateCommand(id).enabled().value()) << id;
    EXPECT_FALSE(frame().UpdateCommand(ID_VIEW_ALL).enabled().value());
    EXPECT_FALSE(frame().RunCommand(ID_VIEW_FEATURES));
    EXPECT_EQ(frame().ViewFilter(), u"All");
    EXPECT_EQ(roots_of(frame()).front(), "setup.clg");
}

} // namespace
} // namespace cw
