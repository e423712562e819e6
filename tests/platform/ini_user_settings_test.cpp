#include "platform/ini_user_settings.h"

#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

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

/// Writes, reads and removes what a program does; all of it is there for the run.
void use(const std::string& path)
{
    ini_user_settings settings(path);
    EXPECT_EQ(settings.read_number(u"S", u"a", 7), 7);
    EXPECT_EQ(settings.read_text(u"S", u"b", u"default"), u"default");
    settings.write_number(u"S", u"a", 1);
    settings.write_text(u"S", u"b", u"x");
    settings.remove(u"S", u"b");
    EXPECT_EQ(settings.read_number(u"S", u"a", 0), 1);
    EXPECT_EQ(settings.read_text(u"S", u"b", u"gone"), u"gone");
}

/// The same without an administrator's rights.
void use_as_nobody(const std::string& path)
{
    constexpr uid_t nobody = 65534;
    const uid_t before = geteuid();
    if (before == 0) {
        ASSERT_EQ(seteuid(nobody), 0);
    }
    use(path);
    ASSERT_EQ(seteuid(before), 0);
}

std::ptrdiff_t count_files(const std::filesystem::path& folder)
{
    const auto inside = std::filesystem::directory_iterator(folder);
    return std::distance(begin(inside), end(inside));
}

TEST(ini_user_settings, lives_in_memory_where_the_file_cannot_be)
{
    const temporary_folder folder;
    folder.write("file", "");
    std::filesystem::create_directory(folder.path() / "folder");
    for (const char* path : {"file/settings.ini", "folder", "folder/"})
        use(folder.file(path));
    EXPECT_EQ(folder.read("file"), "");
    EXPECT_EQ(count_files(folder.path() / "folder"), 0);
    EXPECT_EQ(count_files(folder.path()), 2);
}

TEST(ini_user_settings, leaves_alone_what_is_no_file)
{
    const temporary_folder folder;
    ASSERT_EQ(mkfifo(folder.file("pipe").c_str(), 0600), 0);
    std::filesystem::create_symlink("/dev/full", folder.path() / "link");
    for (const char* path : {"pipe", "link"})
        use(folder.file(path));
    EXPECT_TRUE(std::filesystem::is_fifo(folder.path() / "pipe"));
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
    EXPECT_EQ(count_files(folder.path()), 2);
}

TEST(ini_user_settings, leaves_a_write_protected_file_alone)
{
    const temporary_folder folder;
    folder.write("settings.ini", "[S]\nc=3\n");
    chmod(folder.file("settings.ini").c_str(), 0444);
    use(folder.file("settings.ini"));
    EXPECT_EQ(folder.read("settings.ini"), "[S]\nc=3\n");
}

TEST(ini_user_settings, leaves_what_it_may_not_read_nor_write_alone)
{
    const temporary_folder folder;
    std::filesystem::create_directory(folder.path() / "open");
    folder.write("open/settings.ini", "[S]\na=3\n");
    chmod(folder.file("open/settings.ini").c_str(), 0000);
    folder.write("of_another.ini", "[S]\nc=3\n");
    chmod(folder.file("of_another.ini").c_str(), 0644);
    std::filesystem::create_directory(folder.path() / "closed");
    chmod(folder.file("closed").c_str(), 0000);
    chmod(folder.file("open").c_str(), 0777);
    chmod(folder.path().c_str(), 0555);
    use_as_nobody(folder.file("open/settings.ini"));
    use_as_nobody(folder.file("of_another.ini"));
    use_as_nobody(folder.file("closed/settings.ini"));
    use_as_nobody(folder.file("new.ini"));
    chmod(folder.path().c_str(), 0755);
    chmod(folder.file("closed").c_str(), 0755);
    chmod(folder.file("open/settings.ini").c_str(), 0644);
    EXPECT_EQ(folder.read("open/settings.ini"), "[S]\na=3\n");
    EXPECT_EQ(folder.read("of_another.ini"), "[S]\nc=3\n");
    EXPECT_EQ(count_files(folder.path()), 3);
    EXPECT_EQ(count_files(folder.path() / "open"), 1);
    EXPECT_EQ(count_files(folder.path() / "closed"), 0);
}

TEST(ini_user_settings, keeps_a_text_of_a_million_characters)
{
    const temporary_folder folder;
    const std::string path = folder.file("settings.ini");
    std::u16string text;
    for (char16_t code_unit = 0; text.size() < 1'000'000; ++code_unit)
        text += static_cast<char16_t>(code_unit % 3 == 0 ? u'\n' : 0xD800 + code_unit % 0x800);
    ini_user_settings(path).write_text(u"S", u"a", text);
    ini_user_settings again(path);
    EXPECT_TRUE(again.read_text(u"S", u"a", u"") == text);
    // A second one is too much: it lasts for the run, and the first one stays readable.
    again.write_text(u"S", u"b", text);
    EXPECT_TRUE(again.read_text(u"S", u"b", u"") == text);
    EXPECT_TRUE(ini_user_settings(path).read_text(u"S", u"a", u"") == text);
    EXPECT_EQ(ini_user_settings(path).read_text(u"S", u"b", u"default"), u"default");
}

TEST(ini_user_settings, writes_beside_five_megabytes_of_garbage)
{
    const temporary_folder folder;
    std::string garbage;
    for (unsigned state = 1; garbage.size() < 5'000'000; state = state * 1664525 + 1013904223)
        garbage += static_cast<char>(state >> 24);
    garbage += "\n";
    const std::string path = folder.write("settings.ini", garbage);
    ini_user_settings settings(path);
    EXPECT_EQ(settings.read_number(u"S", u"a", 7), 7);
    settings.write_number(u"S", u"a", 1);
    EXPECT_TRUE(folder.read("settings.ini") == garbage + "[S]\na=1\n");
    EXPECT_EQ(ini_user_settings(path).read_number(u"S", u"a", 7), 1);
}

TEST(ini_user_settings, leaves_a_file_that_is_too_long_alone)
{
    const temporary_folder folder;
    const std::string long_file = "[S]\na=2\n" + std::string(longest_user_settings_in_bytes, 'x');
    folder.write("settings.ini", long_file);
    use(folder.file("settings.ini"));
    EXPECT_TRUE(folder.read("settings.ini") == long_file);
}

TEST(ini_user_settings, loses_nothing_of_what_others_write_at_the_same_time)
{
    const temporary_folder folder;
    const std::string path = folder.file("settings.ini");
    constexpr int writers = 4;
    constexpr int entries = 10;
    const auto entry = [](int writer, int number) {
        return std::u16string{static_cast<char16_t>(u'a' + writer), static_cast<char16_t>(u'0' + number)};
    };
    std::vector<std::jthread> threads;
    for (int writer = 0; writer < writers; ++writer)
        threads.emplace_back([&, writer] {
            ini_user_settings settings(path);
            for (int number = 0; number < entries; ++number)
                settings.write_number(u"S", entry(writer, number), 1);
        });
    threads.clear();
    ini_user_settings all(path);
    int found = 0;
    for (int writer = 0; writer < writers; ++writer)
        for (int number = 0; number < entries; ++number)
            found += all.read_number(u"S", entry(writer, number), 0);
    EXPECT_EQ(found, writers * entries);
    EXPECT_EQ(count_files(folder.path()), 1);
}

TEST(ini_user_settings, waits_no_more_than_once_for_a_folder_that_stays_locked)
{
    const temporary_folder folder;
    const int locked = open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(flock(locked, LOCK_EX), 0);
    ini_user_settings settings(folder.file("settings.ini"));
    settings.write_number(u"S", u"a", 1);
    const auto waited_until = std::chrono::steady_clock::now();
    for (const char16_t* entry : {u"b", u"c", u"d"})
        settings.write_number(u"S", entry, 1);
    EXPECT_LT(std::chrono::steady_clock::now() - waited_until, std::chrono::seconds(4)) << "6 to wait each time";
    close(locked);
    EXPECT_EQ(folder.read("settings.ini"), "[S]\na=1\nb=1\nc=1\nd=1\n");
}

} // namespace
