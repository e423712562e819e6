#include "app/main_frame.h"
#include "app/menus.h"
#include "tests/support/frame_harness.h"

#include <gtest/gtest.h>

namespace cw {
namespace {

using namespace test_support;

using lines = std::vector<std::string>;

class help_command : public testing::Test {
protected:
    help_command() { program.start(); }

    /// What the person is shown by Help when the program stands at a path and these folders are there.
    std::u16string help_of(std::u16string_view program_path, std::set<std::u16string> folders = {})
    {
        scripted_services scripted;
        scripted.libraries.module_path = program_path;
        scripted.files.folders = std::move(folders);
        EXPECT_TRUE(program.frame().RunCommand(ID_HELP_TOPIC));
        calls = scripted.log.take();
        const std::vector<std::u16string> topics = program.person.take_help_topics();
        EXPECT_EQ(topics.size(), 1u);
        return topics.empty() ? std::u16string() : topics.front();
    }

    frame_harness program;
    /// What Help asked the platform.
    lines calls;
};

constexpr std::u16string_view topic = u"::/helplibrary/CwCabView.htm";

TEST_F(help_command, shows_the_first_language_where_it_is_there)
{
    EXPECT_EQ(help_of(u"/usr/local/bin/cwcabview", {u"/usr/local/Program/0409/HelpLib.chm"}),
              u"/usr/local/Program/0409/HelpLib.chm::/helplibrary/CwCabView.htm");
    EXPECT_EQ(calls, (lines{"GetModuleFileNameW", "GetFileAttributesW /usr/local/Program/0409/HelpLib.chm"}));
}

TEST_F(help_command, shows_the_second_language_where_the_first_is_missing_and_never_looks_for_it)
{
    EXPECT_EQ(help_of(u"/usr/local/bin/cwcabview"), u"/usr/local/Program/0411/HelpLib.chm::/helplibrary/CwCabView.htm");
    EXPECT_EQ(calls, (lines{"GetModuleFileNameW", "GetFileAttributesW /usr/local/Program/0409/HelpLib.chm"}));
}

TEST_F(help_command, a_file_or_a_folder_will_do)
{
    scripted_services scripted;
    scripted.libraries.module_path = u"C:\\Cratewright\\Bin\\v.exe";
    scripted.files.files = {u"C:\\Cratewright\\Program\\0409\\HelpLib.chm"};
    program.frame().RunCommand(ID_HELP_TOPIC);
    EXPECT_EQ(program.person.take_help_topics(),
              (std::vector<std::u16string>{u"C:\\Cratewright\\Program\\0409\\HelpLib.chm" + std::u16string(topic)}));
}

TEST_F(help_command, backslash_paths_are_taken_apart_at_their_backslashes)
{
    EXPECT_EQ(help_of(u"C:\\x\\bin\\v.exe", {u"C:\\x\\Program\\0409\\HelpLib.chm"}),
              u"C:\\x\\Program\\0409\\HelpLib.chm::/helplibrary/CwCabView.htm");
    EXPECT_EQ(calls, (lines{"GetModuleFileNameW", "GetFileAttributesW C:\\x\\Program\\0409\\HelpLib.chm"}));
    EXPECT_EQ(help_of(u"C:\\a/b\\bin/v.exe"), u"C:\\Program\\0411\\HelpLib.chm::/helplibrary/CwCabView.htm");
    EXPECT_EQ(help_of(u"C:\\bin\\v.exe"), u"C:\\Program\\0411\\HelpLib.chm::/helplibrary/CwCabView.htm");
    EXPECT_EQ(help_of(u"\\\\server\\v.exe"), u"\\\\Program\\0411\\HelpLib.chm::/helplibrary/CwCabView.htm");
}

TEST_F(help_command, a_backslash_in_a_native_path_is_a_letter)
{
    EXPECT_EQ(help_of(u"/opt/a\\b/bin/v\\w", {u"/opt/a\\b/Program/0409/HelpLib.chm"}),
              u"/opt/a\\b/Program/0409/HelpLib.chm::/helplibrary/CwCabView.htm");
    EXPECT_EQ(help_of(u"/bin/cwcabview"), u"/Program/0411/HelpLib.chm::/helplibrary/CwCabView.htm");
    EXPECT_EQ(calls, (lines{"GetModuleFileNameW", "GetFileAttributesW /Program/0409/HelpLib.chm"}));
}

TEST_F(help_command, without_a_folder_above_the_folder_itself_is_shown)
{
    const lines nothing_is_looked_for{"GetModuleFileNameW"};
    EXPECT_EQ(help_of(u"C:\\v.exe"), u"C:");
    EXPECT_EQ(calls, nothing_is_looked_for);
    EXPECT_EQ(help_of(u"0409\\v.exe"), u"0409") << "as it stands";
    EXPECT_EQ(calls, nothing_is_looked_for);
    EXPECT_EQ(help_of(u"/cwcabview"), u"");
    EXPECT_EQ(calls, nothing_is_looked_for);
}

TEST_F(help_command, a_program_without_a_folder_is_its_own)
{
    EXPECT_EQ(help_of(u"v.exe"), u"v.exe");
    EXPECT_EQ(help_of(u""), u"") << "the platform does not know where the program stands";
    EXPECT_EQ(calls, (lines{"GetModuleFileNameW"}));
}

TEST_F(help_command, every_occurrence_of_the_first_language_is_replaced)
{
    EXPECT_EQ(help_of(u"/srv/0409/x04090409/bin/v"),
              u"/srv/0411/x04110411/Program/0411/HelpLib.chm::/helplibrary/CwCabView.htm");
    EXPECT_EQ(calls, (lines{"GetModuleFileNameW", "GetFileAttributesW /srv/0409/x04090409/Program/0409/HelpLib.chm"}));
    EXPECT_EQ(help_of(u"D:\\040409\\0409\\v.exe"),
              u"D:\\040411\\Program\\0411\\HelpLib.chm::/helplibrary/CwCabView.htm");
    EXPECT_EQ(help_of(u"/srv/0409/bin/v", {u"/srv/0409/Program/0409/HelpLib.chm"}),
              u"/srv/0409/Program/0409/HelpLib.chm::/helplibrary/CwCabView.htm")
        << "a folder above alone is no reason";
}

TEST_F(help_command, every_occurrence_of_the_topic_is_taken_off_what_is_looked_for)
{
    const std::u16string twice = std::u16string(topic) + std::u16string(topic);
    EXPECT_EQ(help_of(u"C:\\a" + twice + u"\\bin\\v.exe", {u"C:\\a\\Program\\0409\\HelpLib.chm"}),
              u"C:\\a" + twice + u"\\Program\\0409\\HelpLib.chm" + std::u16string(topic));
}

TEST_F(help_command, a_folder_that_is_called_like_the_topic_is_taken_for_it)
{
    // Only what is looked for loses it.
    EXPECT_EQ(help_of(u"/a::/helplibrary/CwCabView.htm/bin/v", {u"/a/Program/0409/HelpLib.chm"}),
              u"/a::/helplibrary/CwCabView.htm/Program/0409/HelpLib.chm::/helplibrary/CwCabView.htm");
}

TEST_F(help_command, the_programs_path_ends_where_its_room_does)
{
    // 260 characters with the end mark: the folder's name loses its tail and counts as the file's.
    const std::u16string long_name(260, u'n');
    EXPECT_EQ(help_of(u"/opt/a/" + long_name + u"/v"), u"/opt/Program/0411/HelpLib.chm" + std::u16string(topic));
    const auto in_long_folder = [](std::size_t length) { return u"/x/" + std::u16string(length, u'n') + u"/b/v"; };
    EXPECT_EQ(help_of(in_long_folder(253)),
              u"/x/" + std::u16string(253, u'n') + u"/Program/0411/HelpLib.chm" + std::u16string(topic))
        << "the last separator is the last character that there is room for";
    EXPECT_EQ(help_of(in_long_folder(254)), u"/x/Program/0411/HelpLib.chm" + std::u16string(topic));
    const std::u16string no_separator_left = u"C:\\" + long_name + u"\\bin\\v.exe";
    EXPECT_EQ(help_of(no_separator_left), u"C:");
}

TEST_F(help_command, is_always_enabled_and_never_checked)
{
    const auto expect_enabled = [this] {
        const command_ui state = program.frame().UpdateCommand(ID_HELP_TOPIC);
        EXPECT_EQ(state.enabled(), true);
        EXPECT_EQ(state.checked(), std::nullopt);
    };
    expect_enabled();
    program.open_features("One");
    expect_enabled();
}

TEST_F(help_command, asks_and_shows_nothing_else)
{
    program.open_features("One");
    (void)program.take_trace();
    program.toolkit_calls.forget_calls();
    help_of(u"/usr/bin/v");
    EXPECT_EQ(program.take_trace(), lines{});
    EXPECT_TRUE(program.person.take_questions().empty());
    EXPECT_TRUE(program.person.take_messages().empty());
    EXPECT_TRUE(program.person.take_opened().empty());
    EXPECT_TRUE(program.toolkit_calls.calls().empty());
    EXPECT_EQ(program.take_unhandled(), lines{});
}

} // namespace
} // namespace cw
