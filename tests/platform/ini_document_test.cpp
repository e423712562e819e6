#include "platform/ini_document.h"

#include "tests/support/surroundings.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

using cw::platform::ini_document;
using cw::test_support::open_descriptors;

constexpr std::size_t longest = 1 << 20;

std::optional<std::string> read_whole_file(const std::string& path)
{
    return cw::platform::read_whole_file(path, longest);
}

constexpr const char* sample = "; made by hand\n"
                               "loose=1\n"
                               "\n"
                               "[ One ]\n"
                               "  a = first value \r\n"
                               "what is this\n"
                               "b==\n"
                               "\n"
                               "[Two]\n"
                               "a=other\n"
                               "# c=no\n"
                               "a=last";

TEST(ini_document, reads_entries_in_order)
{
    const ini_document document(sample);
    std::string listed;
    for (const auto& entry : document.entries())
        listed += std::string(entry.section) + "/" + std::string(entry.name) + "=" + std::string(entry.value) + "\n";
    EXPECT_EQ(listed, "/loose=1\n"
                      "One/a=first value\n"
                      "One/b==\n"
                      "Two/a=other\n"
                      "Two/a=last\n");
}

TEST(ini_document, finds_the_last_of_a_name)
{
    const ini_document document(sample);
    EXPECT_EQ(document.find("Two", "a"), "last");
    EXPECT_EQ(document.find("", "loose"), "1");
    EXPECT_EQ(document.find("One", "A"), std::nullopt);
    EXPECT_EQ(document.find("Three", "a"), std::nullopt);
}

TEST(ini_document, keeps_every_line_as_it_was)
{
    EXPECT_EQ(ini_document(sample).to_bytes(), std::string(sample) + "\n");
    EXPECT_EQ(ini_document("").to_bytes(), "");
    EXPECT_EQ(ini_document("\n\n").to_bytes(), "\n\n");
}

TEST(ini_document, changes_only_the_line_it_means)
{
    ini_document document(sample);
    document.set("One", "a", "new");
    document.set("Two", "a", "newest");
    EXPECT_EQ(document.to_bytes(), "; made by hand\nloose=1\n\n[ One ]\na=new\nwhat is this\nb==\n\n"
                                   "[Two]\na=other\n# c=no\na=newest\n");
}

TEST(ini_document, adds_at_the_end_of_the_section)
{
    ini_document document("[One]\na=1\n\n[Two]\nb=2\n");
    document.set("One", "c", "3");
    document.set("Two", "d", "4");
    document.set("Three", "e", "5");
    EXPECT_EQ(document.to_bytes(), "[One]\na=1\nc=3\n\n[Two]\nb=2\nd=4\n[Three]\ne=5\n");
}

TEST(ini_document, adds_entries_without_a_section_in_front)
{
    ini_document document("[One]\na=1\n");
    document.set("", "x", "1");
    document.set("", "y", "2");
    EXPECT_EQ(document.to_bytes(), "x=1\ny=2\n[One]\na=1\n");
}

TEST(ini_document, removes_every_entry_of_a_name)
{
    ini_document document(sample);
    document.remove("Two", "a");
    document.remove("One", "absent");
    EXPECT_EQ(document.find("Two", "a"), std::nullopt);
    EXPECT_EQ(document.find("One", "a"), "first value");
    EXPECT_NE(document.to_bytes().find("[Two]\n# c=no\n"), std::string::npos);
}

TEST(ini_document, takes_any_bytes)
{
    EXPECT_EQ(ini_document("\xEF\xBB\xBF[S]\na=1").find("S", "a"), "1");
    const std::string garbage("\0\xFF=\x80[\n]=[\n===\n[\n", 17);
    EXPECT_EQ(ini_document(garbage).to_bytes().substr(0, garbage.size()), garbage);
    EXPECT_TRUE(ini_document("word\n[unclosed\n;a=b\n").entries().empty());
    EXPECT_EQ(ini_document("=value").find("", ""), "value");
}

TEST(read_whole_file, tells_absence_from_emptiness)
{
    const cw::test_support::temporary_folder folder;
    EXPECT_EQ(read_whole_file(folder.write("empty", "")), "");
    EXPECT_EQ(read_whole_file(folder.write("zero", std::string_view("a\0b\r\n", 5))), std::string("a\0b\r\n", 5));
    EXPECT_EQ(read_whole_file(folder.file("absent")), std::nullopt);
    EXPECT_EQ(read_whole_file(folder.path()), std::nullopt);
}

TEST(read_whole_file, takes_nothing_but_files)
{
    const cw::test_support::temporary_folder folder;
    const std::ptrdiff_t open_before = open_descriptors();
    ASSERT_EQ(mkfifo(folder.file("pipe").c_str(), 0600), 0);
    EXPECT_EQ(read_whole_file(folder.file("pipe")), std::nullopt);
    for (const char* device : {"/dev/zero", "/dev/null", "/dev/tty"})
        EXPECT_EQ(read_whole_file(device), std::nullopt) << device;
    folder.write("file", "a=1");
    std::filesystem::create_symlink("file", folder.path() / "link");
    EXPECT_EQ(read_whole_file(folder.file("link")), "a=1");
    EXPECT_EQ(open_descriptors(), open_before);
}

TEST(read_whole_file, takes_files_of_up_to_the_length_asked_for)
{
    const cw::test_support::temporary_folder folder;
    const std::ptrdiff_t open_before = open_descriptors();
    const std::string bytes(longest, 'x');
    EXPECT_TRUE(read_whole_file(folder.write("longest", bytes)) == bytes);
    EXPECT_EQ(read_whole_file(folder.write("longer", bytes + "x")), std::nullopt);
    // One that is made as it is read is longer than its size tells.
    EXPECT_GT(read_whole_file("/proc/self/status").value_or("").size(), 0u);
    EXPECT_EQ(open_descriptors(), open_before);
}

} // namespace
