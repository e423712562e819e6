#include "app/main_frame.h"

#include "app/menus.h"
#include "platform/utf8.h"
#include "tests/support/frame_harness.h"
#include "tests/support/frame_pictures.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace cw {
namespace {

using namespace test_support;

using lines = std::vector<std::string>;

constexpr const char16_t* failure_text = u"An error occurred extracting the file. Please verify all setup cab files "
                                         u"are present in the source folder.";

constexpr const char* sample_members = R"("Features": [{"Name": "Main"}],
    "Components": [{"Name": "Program", "Files": [
        {"Name": "a.txt", "Size": 5, "content": "hello"},
        {"Name": "\\"},
        {"Name": "\\\\"},
        {"Name": "damaged", "content": {"fail": "0x80004005"}}]}],
    "SetupTypes": [{"Name": "Typical"}])";

class extract_file : public testing::Test {
protected:
    extract_file()
    {
        program.start();
        program.open_media(sample_members);
    }
    CMainFrame& frame() { return program.frame(); }
    bool is_enabled() { return frame().UpdateCommand(ID_TOOLS_EXTRACT).enabled().value(); }
    void select_file(std::size_t row)
    {
        select(frame(), "Components/Program/Files");
        frame().List().SelectRow(row);
    }
    std::u16string target(std::string_view name = "target") { return (program.folder.path() / name).u16string(); }
    static std::string content_of(const std::filesystem::path& path)
    {
        std::ifstream stream(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    frame_harness program;
};

TEST_F(extract_file, writes_the_selected_file_to_the_chosen_place)
{
    select_file(0);
    (void)program.take_trace();
    program.person.answer(question_kind::save, target());
    EXPECT_TRUE(frame().RunCommand(ID_TOOLS_EXTRACT));
    EXPECT_EQ(content_of(target()), "hello");
    EXPECT_TRUE(program.person.take_messages().empty());
    EXPECT_EQ(program.take_trace(),
              (lines{"IMedia Components", "IMediaCollection Item Program", "IMediaComponent Files",
                     "IMediaFileList Item a.txt", "IMediaFile Extract"}));
}

TEST_F(extract_file, asks_with_the_rows_text_and_an_overwrite_prompt)
{
    select_file(0);
    frame().RunCommand(ID_TOOLS_EXTRACT);
    const auto questions = program.person.take_questions();
    ASSERT_EQ(questions.size(), 1u);
    EXPECT_EQ(questions[0].kind, question_kind::save);
    EXPECT_EQ(questions[0].name, u"a.txt");
    EXPECT_EQ(questions[0].filter, u"");
    EXPECT_EQ(questions[0].default_extension, u"");
    EXPECT_TRUE(questions[0].overwrite_prompt);
}

TEST_F(extract_file, looks_the_file_up_before_it_asks)
{
    select_file(0);
    frame().List().SetItemText(0, 0, u"unknown");
    EXPECT_FALSE(frame().RunCommand(ID_TOOLS_EXTRACT));
    EXPECT_TRUE(program.person.take_questions().empty());
    EXPECT_TRUE(program.person.take_messages().empty());
    EXPECT_EQ(program.take_unhandled().size(), 1u);
}

TEST_F(extract_file, a_cancelled_dialog_writes_and_shows_nothing)
{
    select_file(0);
    (void)program.take_trace();
    program.person.answer(question_kind::save, {});
    frame().RunCommand(ID_TOOLS_EXTRACT);
    EXPECT_EQ(program.person.take_questions().size(), 1u);
    EXPECT_TRUE(program.person.take_messages().empty());
    EXPECT_EQ(program.take_trace().back(), "IMediaFileList Item a.txt");
    EXPECT_FALSE(std::filesystem::exists(target()));
}

TEST_F(extract_file, a_failed_extraction_is_told_after_the_dialog)
{
    select_file(3);
    program.person.answer(question_kind::save, target());
    EXPECT_TRUE(frame().RunCommand(ID_TOOLS_EXTRACT));
    EXPECT_EQ(program.person.take_questions().size(), 1u);
    const auto messages = program.person.take_messages();
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].text, failure_text);
    EXPECT_EQ(messages[0].icon, message_icon::none);
    EXPECT_TRUE(program.take_unhandled().empty());
    // The view is as it was.
    EXPECT_EQ(rows_of(frame()).size(), 4u);
    EXPECT_EQ(frame().List().GetSelectedRow(), 3u);
    EXPECT_TRUE(is_enabled());
}

TEST_F(extract_file, is_enabled_on_a_row_of_a_components_files_alone)
{
    EXPECT_FALSE(is_enabled()); // nothing is selected
    select(frame(), "Components/Program/Files");
    EXPECT_FALSE(is_enabled()); // no row is
    frame().List().SelectRow(0);
    EXPECT_TRUE(is_enabled());
    EXPECT_FALSE(frame().UpdateCommand(ID_TOOLS_EXTRACT).checked().has_value());
    for (const char* path : {"Features/Main", "Components/Program", "Media Settings"}) {
        select(frame(), path);
        ASSERT_GT(frame().List().GetItemCount(), 0u) << path;
        frame().List().SelectRow(0);
        EXPECT_FALSE(is_enabled()) << path;
        EXPECT_FALSE(frame().RunCommand(ID_TOOLS_EXTRACT)) << path;
    }
    // A root has no node at all.
    select(frame(), "Components");
    put_marked_row(frame());
    frame().List().SelectRow(0);
    EXPECT_FALSE(is_enabled());
    EXPECT_TRUE(program.person.take_questions().empty());
}

TEST_F(extract_file, a_row_that_stands_for_no_file_is_not_extracted)
{
    select_file(1);
    EXPECT_FALSE(is_enabled());
    frame().OnExtractFile(ID_TOOLS_EXTRACT);
    EXPECT_TRUE(program.person.take_questions().empty());
    // Two backslashes are a name like any other.
    select_file(2);
    EXPECT_TRUE(is_enabled());
}

TEST_F(extract_file, the_command_tests_the_row_itself)
{
    (void)program.take_trace();
    frame().OnExtractFile(ID_TOOLS_EXTRACT);
    select(frame(), "Features/Main");
    frame().List().SelectRow(0);
    (void)program.take_trace();
    frame().OnExtractFile(ID_TOOLS_EXTRACT);
    EXPECT_TRUE(program.take_trace().empty());
    EXPECT_TRUE(program.person.take_questions().empty());
}

TEST_F(extract_file, a_component_that_cannot_be_found_ends_it_silently)
{
    const HTREEITEM renamed = frame().Tree().InsertItem(u"renamed", {}, item_at(frame(), "Components"));
    const HTREEITEM files =
        frame().InsertNavNode(renamed, u"Files", frame().NavNodes().at(item_at(frame(), "Components/Program/Files")));
    frame().Tree().SelectItem(files);
    put_marked_row(frame());
    frame().List().SelectRow(0);
    EXPECT_TRUE(is_enabled());
    EXPECT_TRUE(frame().RunCommand(ID_TOOLS_EXTRACT));
    EXPECT_TRUE(program.person.take_questions().empty());
    EXPECT_TRUE(program.person.take_messages().empty());
    EXPECT_TRUE(program.take_unhandled().empty());
}

TEST_F(extract_file, null_objects_on_the_way_end_it_silently)
{
    // What the library answers once the rows are shown.
    program.open(program.write(R"({"missing": "null", "media": {"Components": [
        {"Name": "Program", "Files": [{"Name": "a.txt"}]}, {"Name": "Bare", "Files": null}]}})"));
    const NavNode node = frame().NavNodes().at(item_at(frame(), "Components/Program/Files"));
    for (const char16_t* component : {u"gone", u"Bare"}) {
        const HTREEITEM item = frame().Tree().InsertItem(component, {}, item_at(frame(), "Components"));
        frame().Tree().SelectItem(frame().InsertNavNode(item, u"Files", node));
        put_marked_row(frame());
        frame().List().SelectRow(0);
        EXPECT_TRUE(frame().RunCommand(ID_TOOLS_EXTRACT));
        EXPECT_TRUE(program.person.take_questions().empty());
        EXPECT_TRUE(program.take_unhandled().empty());
    }
}

TEST_F(extract_file, a_null_file_is_told_as_a_failed_extraction)
{
    program.open(program.write(
        R"({"missing": "null", "media": {"Components": [{"Name": "Program", "Files": [{"Name": "a.txt"}]}]}})"));
    select_file(0);
    frame().List().SetItemText(0, 0, u"unknown");
    program.person.answer(question_kind::save, target());
    EXPECT_TRUE(frame().RunCommand(ID_TOOLS_EXTRACT));
    EXPECT_EQ(program.person.take_messages().size(), 1u);
}

TEST_F(extract_file, errors_before_the_dialog_leave_the_command)
{
    for (const char* members : {R"("Components": {"fail": "0x80070005"})",
                                R"("Components": [{"Name": "Program", "Files": {"fail": "0x80070005"}}])"}) {
        program.open_media(sample_members);
        const HTREEITEM files = item_at(frame(), "Components/Program/Files");
        frame().Tree().SelectItem(files);
        frame().List().SelectRow(0);
        // The same media from here on with a member that fails.
        frame_harness failing;
        failing.start();
        failing.open_media(members);
        (void)failing.take_unhandled();
        frame_access::media(frame()) = frame_access::media(failing.frame());
        program.person.answer(question_kind::save, target());
        EXPECT_FALSE(frame().RunCommand(ID_TOOLS_EXTRACT));
        EXPECT_EQ(program.take_unhandled().size(), 1u);
        EXPECT_TRUE(program.person.take_questions().empty());
        EXPECT_TRUE(program.person.take_messages().empty());
    }
}

} // namespace
} // namespace cw
