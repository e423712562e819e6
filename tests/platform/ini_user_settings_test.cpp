#include "platform/ini_user_settings.h"

#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace cw::platform;
using cw::test_support::temporary_folder;

TEST(ini_user_settings, keeps_numbers_and_texts_across_runs)
{
    const temporary_folder folder;
    const std::string path = folder.file("settings.ini");
    {
        ini_user_settings settings(path);
        EXPECT_EQ(settings.read_number(u"Window", u"Width", 640), 640);
        EXPECT_EQ(settings.read_text(u"Recent", u"File1", u"none"), u"none");
        settings.write_number(u"Window", u"Width", -2147483648);
        settings.write_text(u"Recent", u"File1", u"/tmp/\u00E9.hdr");
        EXPECT_EQ(settings.read_number(u"Window", u"Width", 640), -2147483648);
    }
    ini_user_settings again(path);
    EXPECT_EQ(again.read_number(u"Window", u"Width", 640), -2147483648);
    EXPECT_EQ(again.read_text(u"Recent", u"File1", u"none"), u"/tmp/\u00E9.hdr");
    EXPECT_EQ(folder.read("settings.ini"), "[Window]\nWidth=-2147483648\n[Recent]\nFile1=/tmp/\xC3\xA9.hdr\n");
}

TEST(ini_user_settings, removes_entries)
{
    const temporary_folder folder;
    const std::string path = folder.write("settings.ini", "[S]\na=1\nb=2\n");
    ini_user_settings settings(path);
    settings.remove(u"S", u"a");
    settings.remove(u"S", u"absent");
    EXPECT_EQ(settings.read_text(u"S", u"a", u"gone"), u"gone");
    EXPECT_EQ(folder.read("settings.ini"), "[S]\nb=2\n");
}

TEST(ini_user_settings, any_text_comes_back_as_it_was)
{
    const temporary_folder folder;
    const std::string path = folder.file("settings.ini");
    std::u16string every;
    for (unsigned code_unit = 0; code_unit < 0x10000; ++code_unit)
        every += static_cast<char16_t>(code_unit);
    const std::u16string texts[] = {
        u"",
        u" ",
        u"  both edges  ",
        u"\ttab\t",
        u"two\r\nlines",
        u"C:\\users\\u0041\\file",
        u"\\",
        u"\\\\server\\share",
        u"[x]=;#\"'",
        u"\U0001F4E6",
        std::u16string(u"lone \xD800 and \xDC00"),
        std::u16string(u"\xDC00\xD800"),
        std::u16string(u"zero\0in it", 10),
        u"\uFEFFmark",
        every,
    };
    for (const std::u16string& text : texts) {
        ini_user_settings(path).write_text(u"S", u"value", text);
        EXPECT_TRUE(ini_user_settings(path).read_text(u"S", u"value", u"default") == text) << escape_setting(text);
        ini_user_settings(path).write_text(text, text, u"1");
        EXPECT_EQ(ini_user_settings(path).read_number(text, text, 0), 1) << escape_setting(text);
    }
}

TEST(ini_user_settings, escapes_are_readable)
{
    EXPECT_EQ(escape_setting(u"a b"), "a b");
    EXPECT_EQ(escape_setting(u" a\\"), "\\u0020a\\u005C");
    EXPECT_EQ(unescape_setting("\\u0041\\u00e9"), u"A\u00E9");
    // What people type by hand is taken as it looks.
    EXPECT_EQ(unescape_setting("C:\\unknown\\u12"), u"C:\\unknown\\u12");
}

TEST(ini_user_settings, garbage_gives_defaults_and_stays)
{
    const temporary_folder folder;
    const std::string garbage =
        std::string(1, '\0') + "\xFF\xFE=?\n[S\nWidth\n[S]\nWidth=12cm\nHuge=99999999999\n# note\n";
    const std::string path = folder.write("settings.ini", garbage);
    ini_user_settings settings(path);
    EXPECT_EQ(settings.read_number(u"S", u"Width", 7), 7);
    EXPECT_EQ(settings.read_number(u"S", u"Huge", 8), 8);
    settings.write_number(u"S", u"New", 1);
    EXPECT_EQ(folder.read("settings.ini"), garbage + "New=1\n");
}

TEST(ini_user_settings, takes_in_what_another_run_wrote)
{
    const temporary_folder folder;
    const std::string path = folder.file("settings.ini");
    ini_user_settings one(path);
    ini_user_settings two(path);
    one.write_number(u"S", u"a", 1);
    two.write_number(u"S", u"b", 2);
    EXPECT_EQ(folder.read("settings.ini"), "[S]\na=1\nb=2\n");
}

TEST(ini_user_settings, makes_the_folder_and_leaves_no_other_file)
{
    const temporary_folder folder;
    ini_user_settings settings(folder.file("deep/er/settings.ini"));
    settings.write_number(u"S", u"a", 1);
    EXPECT_EQ(folder.read("deep/er/settings.ini"), "[S]\na=1\n");
    const auto inside = std::filesystem::directory_iterator(folder.path() / "deep/er");
    EXPECT_EQ(std::distance(begin(inside), end(inside)), 1);
}

TEST(ini_user_settings, replaces_the_file_behind_a_link_with_its_rights)
{
    const temporary_folder folder;
    folder.write("real.ini", "");
    chmod(folder.file("real.ini").c_str(), 0640);
    std::filesystem::create_symlink("real.ini", folder.path() / "link.ini");
    ini_user_settings(folder.file("link.ini")).write_number(u"S", u"a", 1);
    EXPECT_EQ(folder.read("real.ini"), "[S]\na=1\n");
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path() / "link.ini"));
    struct stat status {};
    ASSERT_EQ(stat(folder.file("real.ini").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
}

TEST(ini_user_settings, lives_in_memory_where_the_file_cannot_be)
{
    const temporary_folder folder;
    folder.write("file", "");
    for (const std::string& path : {folder.file("file/settings.ini"), folder.path().native()}) {
        ini_user_settings settings(path);
        settings.write_number(u"S", u"a", 1);
        settings.write_text(u"S", u"b", u"x");
        settings.remove(u"S", u"b");
        EXPECT_EQ(settings.read_number(u"S", u"a", 0), 1);
        EXPECT_EQ(settings.read_text(u"S", u"b", u"gone"), u"gone");
    }
    EXPECT_EQ(folder.read("file"), "");
}

} // namespace
