#include "app/recent_files.h"

#include "foundation/exceptions.h"
#include "tests/foundation/printing.h"
#include "tests/support/scripted_services.h"

#include <gtest/gtest.h>

#include <string>

namespace cw {
namespace {

using text = std::u16string;

text run_of(std::size_t count, char16_t character = u'x')
{
    return text(count, character);
}

text shortened(const text& path)
{
    return text(shortened_path(string(path)).view());
}

/// A path of that length in all, made of a head, a run and a tail.
text of_length(std::size_t length, const text& head, const text& tail)
{
    return head + run_of(length - head.size() - tail.size()) + tail;
}

class recent_files : public testing::Test {
protected:
    bool display(std::size_t index, const char16_t* directory = u"/", std::size_t length = 1, bool keep = true)
    {
        return list.GetDisplayName(name, index, directory, length, keep);
    }

    test_support::scripted_services services;
    CCustomRecentFileList list{0, u"Recent File List", u"File%d", 16, 400};
    CString name{u"before"};
};

TEST(shortened_path, is_the_path_itself_up_to_78_code_units)
{
    for (const text& path : {text(), text(u"C:\\a.hdr"), text(u"/a.hdr"), of_length(78, u"C:\\", u"\\a.hdr"),
                             of_length(78, u"/", u"/a.hdr"), run_of(78), of_length(78, u"\\\\server\\", u"\\a.hdr")})
        EXPECT_EQ(shortened(path), path);
}

TEST(shortened_path, of_79_loses_the_end_of_its_folders_although_it_would_fit)
{
    EXPECT_EQ(shortened(of_length(79, u"C:\\", u"\\last\\file.hdr")), u"C:\\" + run_of(62) + u"\\l...\\file.hdr");
    EXPECT_EQ(shortened(of_length(79, u"C:\\", u"\\last\\file.hdr")).size(), 79u);
}

TEST(shortened_path, keeps_the_drive_the_head_of_the_folders_and_the_file_name)
{
    // 2 for the drive, 4 for the dots, 9 for the name: 64 of the folders.
    const text path = of_length(100, u"C:\\", u"\\setup.hdr");
    EXPECT_EQ(shortened(path), u"C:\\" + run_of(63) + u"...\\setup.hdr");
    EXPECT_EQ(shortened(path).size(), 79u);
}

TEST(shortened_path, cuts_folders_within_a_name)
{
    EXPECT_EQ(shortened(u"C:\\" + run_of(40, u'a') + u"\\" + run_of(40, u'b') + u"\\file.hdr"),
              u"C:\\" + run_of(40, u'a') + u"\\" + run_of(23, u'b') + u"...\\file.hdr");
}

TEST(shortened_path, keeps_what_fits_of_folders_before_a_long_name)
{
    EXPECT_EQ(shortened(u"C:\\ddddd\\" + run_of(70)), u"C:\\dd...\\" + run_of(70));
    EXPECT_EQ(shortened(u"C:\\" + run_of(76)), u"...\\" + run_of(72) + u"...");
    EXPECT_EQ(shortened(u"C:" + run_of(77)), u"...\\" + run_of(72) + u"...") << "the folder is the drive";
}

TEST(shortened_path, of_a_file_name_alone_shows_its_head_between_dots)
{
    EXPECT_EQ(shortened(u"C:\\folder\\" + run_of(100)), u"...\\" + run_of(72) + u"...");
    EXPECT_EQ(shortened(u"C:\\folder\\" + run_of(100)).size(), 79u);
    // Neither separator nor colon: all of it is the file name.
    EXPECT_EQ(shortened(run_of(79)), u"...\\" + run_of(72) + u"...");
    EXPECT_EQ(shortened(run_of(10'000)), u"...\\" + run_of(72) + u"...");
}

TEST(shortened_path, gives_up_the_root_before_the_name_and_the_name_at_76)
{
    EXPECT_EQ(shortened(u"C:\\aa\\" + run_of(73)), u"C:...\\" + run_of(73)) << "no room for folders";
    EXPECT_EQ(shortened(u"C:\\a\\" + run_of(74)), u"C...\\" + run_of(74));
    EXPECT_EQ(shortened(u"C:\\a\\" + run_of(75)), u"...\\" + run_of(75));
    EXPECT_EQ(shortened(u"C:\\a\\" + run_of(76)), u"...\\" + run_of(72) + u"...");
}

TEST(shortened_path, keeps_server_and_share)
{
    const text path = u"\\\\server\\share\\" + run_of(80, u'd') + u"\\a.hdr";
    EXPECT_EQ(shortened(path), u"\\\\server\\share\\" + run_of(55, u'd') + u"...\\a.hdr");
    EXPECT_EQ(shortened(path).size(), 79u);
}

TEST(shortened_path, cuts_a_share_that_is_too_long_beside_the_name)
{
    // 70 for the root: 84 with dots and name. 65 of the root stay.
    const text root = u"\\\\server\\" + run_of(61, u's');
    EXPECT_EQ(shortened(root + u"\\folder\\ten123.hdr"), root.substr(0, 65) + u"...\\ten123.hdr");
    EXPECT_EQ(shortened(root + u"\\folder\\ten123.hdr").size(), 79u);
}

TEST(shortened_path, of_a_server_alone_counts_the_server_as_its_name)
{
    EXPECT_EQ(shortened(u"\\\\" + run_of(90, u's')), u"...\\" + run_of(72, u's') + u"...");
    EXPECT_EQ(shortened(u"\\\\" + run_of(90, u's') + u"\\share"), (u"\\\\" + run_of(68, u's')) + u"...\\share");
}

TEST(shortened_path, takes_the_first_place_of_a_root_that_comes_again)
{
    const text path = u"C:\\a\\C:\\b\\" + run_of(80) + u"\\f.hdr";
    EXPECT_EQ(shortened(path), u"C:\\a\\C:\\b\\" + run_of(60) + u"...\\f.hdr");
}

TEST(shortened_path, of_a_native_path_has_no_root_and_uses_its_own_separator)
{
    EXPECT_EQ(shortened(u"/" + run_of(90, u'd') + u"/file.hdr"), u"/" + run_of(66, u'd') + u".../file.hdr");
    EXPECT_EQ(shortened(u"/folder/" + run_of(100)), u".../" + run_of(72) + u"...");
    EXPECT_EQ(shortened(u"/" + run_of(90, u'\\') + u"/a.hdr"), u"/" + run_of(69, u'\\') + u".../a.hdr");
    // Two slashes in front are a network path here as well.
    EXPECT_EQ(shortened(u"//server/share/" + run_of(80, u'd') + u"/a.hdr"),
              u"//server/share/" + run_of(55, u'd') + u".../a.hdr");
}

TEST(shortened_path, is_never_longer_than_79)
{
    for (const text& head : {text(), text(u"C:"), text(u"C:\\"), text(u"\\"), text(u"\\\\"), text(u"\\\\s\\"),
                             text(u"\\\\s\\t\\"), text(u"/"), text(u"//s/t/"), text(u"\\\\" + run_of(75) + u"\\t\\")})
        for (std::size_t folders = 0; folders < 120; folders += 3)
            for (std::size_t file = 0; file < 120; ++file) {
                const char16_t separator = head.starts_with(u'/') ? u'/' : u'\\';
                const text path = head + run_of(folders, u'd') + separator + run_of(file);
                const text shown = shortened(path);
                ASSERT_LE(shown.size(), 79u) << testing::PrintToString(path);
                ASSERT_EQ(shown == path, path.size() <= 78) << testing::PrintToString(path);
            }
}

TEST_F(recent_files, show_their_shortened_paths)
{
    const text long_path = of_length(100, u"C:\\", u"\\setup.hdr");
    list.Add(long_path);
    list.Add(u"/folder/a.hdr");
    EXPECT_TRUE(display(0));
    EXPECT_EQ(name, u"/folder/a.hdr");
    EXPECT_TRUE(display(1));
    EXPECT_EQ(name.view(), shortened(long_path));
}

TEST_F(recent_files, take_no_notice_of_the_current_directory_nor_of_the_flag)
{
    list.Add(u"/folder/a.hdr");
    EXPECT_TRUE(display(0, u"/folder", 7, true));
    EXPECT_EQ(name, u"/folder/a.hdr");
    EXPECT_TRUE(display(0, u"/folder", 7, false));
    EXPECT_EQ(name, u"/folder/a.hdr");
    EXPECT_TRUE(display(0, u"", 0, false));
    EXPECT_EQ(name, u"/folder/a.hdr");
}

TEST_F(recent_files, have_no_name_without_a_current_directory_or_an_entry)
{
    list.Add(u"/a.hdr");
    EXPECT_FALSE(display(0, nullptr, 0));
    EXPECT_FALSE(display(0, nullptr, 5));
    EXPECT_FALSE(display(1));
    EXPECT_FALSE(display(15));
    EXPECT_EQ(name, u"before");
}

TEST_F(recent_files, refuse_an_index_beyond_the_size_and_a_directory_that_is_shorter_than_told)
{
    list.Add(u"/a.hdr");
    EXPECT_THROW(display(16), invalid_argument_exception);
    EXPECT_THROW(display(static_cast<std::size_t>(-1)), invalid_argument_exception);
    EXPECT_THROW(display(16, nullptr, 0), invalid_argument_exception) << "looked at before the directory";
    EXPECT_THROW(display(0, u"/ab", 4), invalid_argument_exception);
    EXPECT_THROW(display(0, u"/ab", static_cast<std::size_t>(-1)), invalid_argument_exception);
    EXPECT_THROW(display(1, u"/ab", 4), invalid_argument_exception) << "looked at before the entry";
    EXPECT_TRUE(display(0, u"/ab", 2)) << "a part of a text is a text of that length";
    EXPECT_EQ(name, u"/a.hdr");
}

TEST_F(recent_files, that_there_is_no_memory_for_raise_the_class_librarys_exception)
{
    for (const text& entry : {of_length(78, u"/", u"/a.hdr"), of_length(200, u"C:\\", u"\\a.hdr")}) {
        list.Add(entry);
        services.memory.fail_after = 1;
        EXPECT_THROW(display(0), memory_exception);
        EXPECT_EQ(name, u"before");
    }
    EXPECT_TRUE(display(0)) << "the next time there is some";
}

TEST_F(recent_files, of_any_text_have_a_name)
{
    for (const text& entry : {run_of(10'000), text(u"/a\nb\tc.hdr"), text(u"\xD800\xDFFF\xDC00"), text(u"a\0b", 3),
                              text(79, u'\xD83D'), text(u"\\"), text(u":"), text(100, u'\\')}) {
        list.Add(entry);
        EXPECT_TRUE(display(0));
        EXPECT_EQ(name.view(), shortened(entry));
        EXPECT_LE(name.GetLength(), 79);
    }
}

TEST_F(recent_files, cut_at_a_code_unit_even_within_a_character)
{
    text path = u"/";
    for (int i = 0; i < 60; ++i)
        path += u"\U0001F4E6";
    list.Add(path + u"/ab.hdr");
    EXPECT_TRUE(display(0));
    EXPECT_EQ(name.view(), path.substr(0, 69) + u".../ab.hdr");
    list.Add(path + u"/a.hdr");
    EXPECT_TRUE(display(0));
    EXPECT_EQ(name.view(), path.substr(0, 70) + u".../a.hdr") << "ends with the first half of a pair";
}

} // namespace
} // namespace cw
