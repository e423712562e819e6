#include "app/main_frame.h"

#include "tests/support/frame_harness.h"
#include "tests/support/frame_pictures.h"

#include <gtest/gtest.h>

namespace cw {
namespace {

using namespace test_support;

using lines = std::vector<std::string>;

class component_properties : public testing::Test {
protected:
    component_properties()
    {
        program.start();
        frame_access::view_filter(program.frame()) = CString(u"Components");
    }
    CMainFrame& frame() { return program.frame(); }
    /// What the list shows for a component called "C" with these further members.
    lines rows_from(std::string members)
    {
        if (!members.empty())
            members.insert(0, ", ");
        EXPECT_TRUE(program.open_media(R"("Components": [{"Name": "C")" + members + "}]"));
        (void)program.take_trace();
        select(frame(), "Components/C");
        return rows_of(frame());
    }

    frame_harness program;
};

TEST_F(component_properties, a_component_has_eighteen_rows)
{
    EXPECT_EQ(rows_from(R"("Shared": true, "Uninstall": false, "SelfRegistering": true, "PotentiallyLocked": false,
                           "Compressed": true, "StorageFlags": 2, "DotNetAssembly": 4, "OperatingSystems": "All, or 1",
                           "PlatformSuites": -5, "Language": "0409", "FtpLocation": "ftp", "HttpLocation": "http",
                           "Miscellaneous": "misc", "Overwrite": 288, "Destination": "<TARGETDIR>",
                           "SixtyFourBit": true)"),
              (lines{
                  "Name | C",
                  "Shared | Yes",
                  "Uninstall | No",
                  "Self-Registering | Yes",
                  "Potentially Locked | No",
                  "Compressed | Yes",
                  "Encrypted | Yes",
                  "Data as files | No",
                  ".NET Assembly | Yes",
                  "Operating System(s) | All, or 1",
                  "Platform Suites | -5",
                  "Language | 1033",
                  "FTP Location | ftp",
                  "HTTP Location | http",
                  "Miscellaneous | misc",
                  "Overwrite | SAME_VERSION / NEWER_DATE",
                  "Destination | <TARGETDIR>",
                  "64-Bit | Yes",
              }));
    EXPECT_EQ(columns_of(frame()), "Property (150) | Value (400)");
}

TEST_F(component_properties, absent_members_show_no_empty_and_zero)
{
    EXPECT_EQ(rows_from(""), (lines{
                                 "Name | C",
                                 "Shared | No",
                                 "Uninstall | No",
                                 "Self-Registering | No",
                                 "Potentially Locked | No",
                                 "Compressed | No",
                                 "Encrypted | No",
                                 "Data as files | No",
                                 ".NET Assembly | No",
                                 "Operating System(s) | ",
                                 "Platform Suites | 0",
                                 "Language | n/a",
                                 "FTP Location | ",
                                 "HTTP Location | ",
                                 "Miscellaneous | ",
                                 "Overwrite | ",
                                 "Destination | ",
                                 "64-Bit | No",
                             }));
}

TEST_F(component_properties, storage_flags_show_two_bits)
{
    const auto shown = [&](int flags) {
        const lines rows = rows_from("\"StorageFlags\": " + std::to_string(flags));
        return rows.at(6) + "; " + rows.at(7);
    };
    EXPECT_EQ(shown(0), "Encrypted | No; Data as files | No");
    EXPECT_EQ(shown(2), "Encrypted | Yes; Data as files | No");
    EXPECT_EQ(shown(8), "Encrypted | No; Data as files | Yes");
    EXPECT_EQ(shown(5), "Encrypted | No; Data as files | No");
    EXPECT_EQ(shown(-1), "Encrypted | Yes; Data as files | Yes");
}

TEST_F(component_properties, dot_net_assembly_is_anything_but_zero)
{
    for (const int value : {1, 2, -1, 256})
        EXPECT_EQ(rows_from("\"DotNetAssembly\": " + std::to_string(value)).at(8), ".NET Assembly | Yes") << value;
}

TEST_F(component_properties, language_is_shown_in_decimal)
{
    EXPECT_EQ(rows_from(R"("Language": "040C")").at(11), "Language | 1036");
    EXPECT_EQ(rows_from(R"("Language": "0")").at(11), "Language | n/a");
    EXPECT_EQ(rows_from(R"("Language": "neutral")").at(11), "Language | n/a");
    EXPECT_EQ(rows_from(R"("Language": null)").at(11), "Language | n/a");
}

TEST_F(component_properties, overwrite_shows_its_keywords)
{
    EXPECT_EQ(rows_from(R"("Overwrite": 1)").at(15), "Overwrite | ALWAYS_OVERWRITE");
    EXPECT_EQ(rows_from(R"("Overwrite": 32)").at(15), "Overwrite |  / NEWER_DATE");
}

TEST_F(component_properties, the_component_is_looked_up_by_name)
{
    rows_from("");
    const lines trace = program.take_trace();
    ASSERT_GE(trace.size(), 3u);
    EXPECT_EQ(trace[0], "IMedia Components");
    EXPECT_EQ(trace[1], "IMediaCollection Item C");
    EXPECT_EQ(trace[2], "IMediaComponent Name");
    EXPECT_EQ(trace.back(), "IMediaComponent SixtyFourBit");
}

TEST_F(component_properties, two_components_of_one_name_show_the_same_rows)
{
    program.open_media(
        R"("Components": [{"Name": "C", "Destination": "first"}, {"Name": "C", "Destination": "second"}])");
    const HTREEITEM first = frame().Tree().GetChildItem(frame().Tree().GetRootItem());
    for (const HTREEITEM item : {first, frame().Tree().GetNextSiblingItem(first)}) {
        frame().Tree().SelectItem(item);
        EXPECT_EQ(rows_of(frame()).at(16), "Destination | first");
    }
}

TEST_F(component_properties, a_name_that_is_not_found_leaves_the_list)
{
    for (const char* missing : {"fail", "null"}) {
        program.open(program.write(std::string(R"({"missing": ")") + missing +
                                   R"(", "media": {"Components": [{"Name": "C"}]}})"));
        const auto object = frame().NavNodes().at(item_at(frame(), "Components/C")).object;
        const HTREEITEM item = frame().InsertNavNode({}, u"unknown", {NODEKIND_COMPONENT, object});
        put_marked_row(frame());
        frame().Tree().SelectItem(item);
        EXPECT_EQ(rows_of(frame()), lines{std::string(marked_row)}) << missing;
        EXPECT_TRUE(program.take_unhandled().empty()) << missing;
    }
}

TEST_F(component_properties, only_the_look_up_is_silent)
{
    program.open_media(R"("Components": [{"Name": "C"}])");
    frame_access::media(frame()).reset();
    put_marked_row(frame());
    select(frame(), "Components/C");
    EXPECT_EQ(rows_of(frame()), lines{std::string(marked_row)});
    EXPECT_EQ(program.take_unhandled().size(), 1u);
}

TEST_F(component_properties, no_item_shows_nothing)
{
    rows_from("");
    put_marked_row(frame());
    EXPECT_NO_THROW(frame().ShowComponent({}));
    EXPECT_EQ(rows_of(frame()), lines{std::string(marked_row)});
}

TEST_F(component_properties, a_component_called_files_is_taken_for_a_file_list)
{
    for (const char* name : {"Files", "files", "FILES"}) {
        program.open_media(std::string(R"("Components": [{"Name": ")") + name + R"("}, {"Name": "other"}])");
        (void)program.take_trace();
        put_marked_row(frame());
        select(frame(), std::string("Components/") + name);
        // Its parent's text is no component's name.
        EXPECT_EQ(program.take_trace(), (lines{"IMedia Components", "IMediaCollection Item Components"})) << name;
        EXPECT_EQ(rows_of(frame()), lines{std::string(marked_row)}) << name;
        EXPECT_TRUE(program.take_unhandled().empty()) << name;
    }
}

TEST_F(component_properties, a_component_called_components_lends_its_files)
{
    program.open_media(R"("Components": [{"Name": "files"}, {"Name": "Components", "Files": [{"Name": "a.txt"}]}])");
    select(frame(), "Components/files");
    ASSERT_EQ(rows_of(frame()).size(), 1u);
    EXPECT_TRUE(rows_of(frame())[0].starts_with("a.txt | "));
}

TEST_F(component_properties, rows_stand_as_far_as_they_came_before_an_error)
{
    const char* members[] = {nullptr,          "Shared",       "Uninstall",   "SelfRegistering", "PotentiallyLocked",
                             "Compressed",     "StorageFlags", nullptr,       "DotNetAssembly",  "OperatingSystems",
                             "PlatformSuites", "Language",     "FtpLocation", "HttpLocation",    "Miscellaneous",
                             "Overwrite",      "Destination",  "SixtyFourBit"};
    ASSERT_EQ(std::size(members), 18u);
    for (std::size_t row = 0; row < std::size(members); ++row) {
        if (!members[row])
            continue;
        EXPECT_EQ(rows_from(std::string("\"") + members[row] + R"(": {"fail": "0x80004005"})").size(), row)
            << members[row];
        EXPECT_EQ(program.take_unhandled().size(), 1u) << members[row];
    }
}

} // namespace
} // namespace cw
