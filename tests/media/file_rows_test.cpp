#include "app/main_frame.h"

#include "tests/support/frame_harness.h"
#include "tests/support/frame_pictures.h"

#include <gtest/gtest.h>

namespace cw {
namespace {

using namespace test_support;

using lines = std::vector<std::string>;

constexpr const char* file_columns = "Filename (200) | Size (200) | Compressed Size (200) | Date (200) | Version "
                                     "(200) | MD5 Signature (200) | Flags (200)";

class file_rows : public testing::Test {
protected:
    file_rows()
    {
        program.start();
        frame_access::view_filter(program.frame()) = CString(u"Components");
    }
    CMainFrame& frame() { return program.frame(); }
    /// What the list shows for the files of a component.
    lines rows_from(std::string_view files)
    {
        EXPECT_TRUE(program.open_media(R"("Components": [{"Name": "C", "Files": )" + std::string(files) + "}]"));
        (void)program.take_trace();
        select(frame(), "Components/C/Files");
        return rows_of(frame());
    }
    /// The cell in a column of a file with these members.
    std::string cell_from(std::string_view members, std::size_t column)
    {
        rows_from("[{\"Name\": \"f\", " + std::string(members) + "}]");
        const std::u16string text(frame().List().GetItemText(0, column));
        return {text.begin(), text.end()};
    }

    frame_harness program;
};

TEST_F(file_rows, a_file_has_seven_cells)
{
    EXPECT_EQ(rows_from(R"([{"Name": "a.exe", "Size": 100, "CompressedSize": 50, "Date": "2001-02-03T13:07:09",
                             "Version": "1.2.3.4", "Md5Signature": "abcdef", "Flags": 65537},
                            {"Name": "b.txt"}])"),
              (lines{"a.exe | 100 | 50 | 02/03/2001 01:07:09 PM | 1.2.3.4 | abcdef | F",
                     "b.txt | 0 | 0 | 12/30/1899 00:00:00 AM |  |  | "}));
    EXPECT_EQ(columns_of(frame()), file_columns);
}

TEST_F(file_rows, a_component_without_files_has_columns_and_no_rows)
{
    EXPECT_EQ(rows_from("[]"), lines{});
    EXPECT_EQ(columns_of(frame()), file_columns);
}

TEST_F(file_rows, dates_are_month_first_with_a_suffix)
{
    const auto date = [&](std::string_view value) { return cell_from("\"Date\": " + std::string(value), 3); };
    EXPECT_EQ(date(R"("2001-02-03T00:04:05")"), "02/03/2001 00:04:05 AM");
    EXPECT_EQ(date(R"("2001-02-03T11:59:59")"), "02/03/2001 11:59:59 AM");
    EXPECT_EQ(date(R"("2001-02-03T12:00:00")"), "02/03/2001 12:00:00 PM");
    EXPECT_EQ(date(R"("2001-02-03T12:59:00")"), "02/03/2001 12:59:00 PM");
    EXPECT_EQ(date(R"("2001-02-03T13:07:09")"), "02/03/2001 01:07:09 PM");
    EXPECT_EQ(date(R"("2001-12-31T23:00:00")"), "12/31/2001 11:00:00 PM");
    EXPECT_EQ(date("1.5"), "12/31/1899 12:00:00 PM");
}

TEST_F(file_rows, a_date_that_is_none_is_shown_all_the_same)
{
    EXPECT_EQ(cell_from(R"("Date": 99999999)", 3), "00/00/0000 00:00:00 AM");
    EXPECT_TRUE(program.take_unhandled().empty());
}

TEST_F(file_rows, a_single_backslash_is_a_row_with_no_data)
{
    constexpr const char* data = R"(, "Size": 5, "CompressedSize": 4, "Version": "1", "Md5Signature": "m",
                                    "Flags": 65536, "Date": 1})";
    EXPECT_EQ(rows_from(R"([{"Name": "\\")" + std::string(data) + R"(, {"Name": "\\\\")" + data + R"(, {"Name": "")" +
                        data + "]"),
              (lines{"\\ |  |  |  |  |  | ", "\\\\ | 5 | 4 | 12/31/1899 00:00:00 AM | 1 | m | F",
                     " | 5 | 4 | 12/31/1899 00:00:00 AM | 1 | m | F"}));
}

TEST_F(file_rows, bit_sixteen_of_the_flags_shows_a_letter)
{
    EXPECT_EQ(cell_from(R"("Flags": 65536)", 6), "F");
    EXPECT_EQ(cell_from(R"("Flags": 65537)", 6), "F");
    EXPECT_EQ(cell_from(R"("Flags": -1)", 6), "F");
    EXPECT_EQ(cell_from(R"("Flags": 1)", 6), "");
    EXPECT_EQ(cell_from(R"("Flags": 131072)", 6), "");
}

TEST_F(file_rows, sizes_are_signed)
{
    EXPECT_EQ(cell_from(R"("Size": -2147483648)", 1), "-2147483648");
    EXPECT_EQ(cell_from(R"("Size": 2147483647)", 1), "2147483647");
    EXPECT_EQ(cell_from(R"("CompressedSize": -1)", 2), "-1");
}

TEST_F(file_rows, members_are_read_in_order)
{
    rows_from(R"([{"Name": "a"}, {"Name": "\\"}])");
    const lines one_file{"IMediaFile Name",    "IMediaFile Size",         "IMediaFile CompressedSize",
                         "IMediaFile Version", "IMediaFile Md5Signature", "IMediaFile Flags",
                         "IMediaFile Date"};
    lines expected{"IMedia Components", "IMediaCollection Item C", "IMediaComponent Files", "IMediaFileList Count",
                   "IMediaFileList Item 1"};
    expected.insert(expected.end(), one_file.begin(), one_file.end());
    expected.insert(expected.end(), {"IMediaFileList Count", "IMediaFileList Item 2"});
    expected.insert(expected.end(), one_file.begin(), one_file.end());
    expected.push_back("IMediaFileList Count");
    EXPECT_EQ(program.take_trace(), expected);
}

TEST_F(file_rows, the_count_is_read_anew_after_each_file)
{
    EXPECT_EQ(rows_from(R"({"items": [{"Name": "a"}, {"Name": "b"}, {"Name": "c"}], "counts": [3, 3, 2]})").size(), 2u);
    EXPECT_EQ(rows_from(R"({"items": [{"Name": "a"}, {"Name": "b"}], "counts": [1, 2]})").size(), 2u);
}

TEST_F(file_rows, a_component_without_a_file_list_leaves_the_list)
{
    // The node of its files has no object, so the presenter is called as a row's owner would be.
    program.open_media(R"("Components": [{"Name": "C", "Files": null}])");
    put_marked_row(frame());
    frame().ShowComponent(item_at(frame(), "Components/C/Files"));
    EXPECT_EQ(rows_of(frame()), lines{std::string(marked_row)});
    EXPECT_EQ(columns_of(frame()), "Property (150) | Value (400)");
}

TEST_F(file_rows, a_component_that_is_not_found_leaves_the_list)
{
    for (const char* missing : {"fail", "null"}) {
        program.open(program.write(std::string(R"({"missing": ")") + missing +
                                   R"(", "media": {"Components": [{"Name": "C"}]}})"));
        const auto object = frame().NavNodes().at(item_at(frame(), "Components/C/Files")).object;
        const HTREEITEM unknown = frame().Tree().InsertItem(u"unknown", {}, frame().Tree().GetRootItem());
        const HTREEITEM files = frame().InsertNavNode(unknown, u"Files", {NODEKIND_COMPONENT_FILES, object});
        put_marked_row(frame());
        frame().Tree().SelectItem(files);
        EXPECT_EQ(rows_of(frame()), lines{std::string(marked_row)}) << missing;
        EXPECT_TRUE(program.take_unhandled().empty()) << missing;
    }
}

TEST_F(file_rows, files_are_those_of_the_first_component_of_the_name)
{
    program.open_media(R"("Components": [{"Name": "C", "Files": [{"Name": "first"}]},
                                         {"Name": "C", "Files": [{"Name": "second"}]}])");
    const HTREEITEM first = frame().Tree().GetChildItem(frame().Tree().GetRootItem());
    const HTREEITEM second = frame().Tree().GetNextSiblingItem(first);
    frame().Tree().SelectItem(frame().Tree().GetChildItem(second));
    EXPECT_EQ(frame().List().GetItemText(0, 0), u"first");
}

TEST_F(file_rows, rows_stand_as_far_as_they_came_before_an_error)
{
    for (const char* member : {"Name", "Size", "CompressedSize", "Version", "Md5Signature", "Flags", "Date"}) {
        const lines rows =
            rows_from(std::string(R"([{"Name": "a"}, {")") + member + R"(": {"fail": "0x80004005"}}, {"Name": "c"}])");
        EXPECT_EQ(rows.size(), 1u) << member;
        EXPECT_EQ(program.take_unhandled().size(), 1u) << member;
    }
    EXPECT_EQ(rows_from(R"({"items": [{"Name": "a"}], "counts": [2]})").size(), 1u);
    EXPECT_EQ(program.take_unhandled().size(), 1u);
}

} // namespace
} // namespace cw
