#include "authoring/source_files.h"

#include "authoring/dates.h"
#include "tests/authoring/authoring_support.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

using namespace cw::authoring;
using namespace cw::test;

std::vector<source_file> scan(const fs::path& path)
{
    std::vector<source_file> files;
    scan_source(path, [&](source_file&& file) { files.push_back(std::move(file)); });
    return files;
}

TEST(source_files, reports_a_file_with_size_and_date)
{
    temporary_folder folder;
    const fs::path path = folder / "a.txt";
    write_file(path, "hello");
    const timespec times[2] = {{981'205'629, 0}, {981'205'629, 900'000'000}}; // 2001-02-03 13:07:09
    utimensat(AT_FDCWD, path.c_str(), times, 0);
    const std::vector<source_file> files = scan(path);
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(files[0].name, "a.txt");
    EXPECT_EQ(files[0].path, path.string());
    EXPECT_EQ(files[0].size_in_bytes, 5u);
    EXPECT_EQ(files[0].date, date_from_text("2001-02-03T13:07:09"));
    EXPECT_FALSE(is_folder(path));
    EXPECT_TRUE(is_folder(folder.path()));
}

TEST(source_files, reports_folders_in_the_order_of_their_names)
{
    temporary_folder folder;
    for (const char* name : {"t/b", "t/a/z", "t/a/y/x", "t/B", "t/яя", "t/a.txt", "t/🐟/1"})
        write_file(folder / name, name);
    fs::create_directories(folder / "t/empty/too");
    std::vector<std::string> names;
    for (const source_file& file : scan(folder / "t"))
        names.push_back(file.name);
    EXPECT_EQ(names, (std::vector<std::string>{"B", "a\\y\\x", "a\\z", "a.txt", "b", "яя", "🐟\\1"}));
}

TEST(source_files, follows_links_but_not_in_circles)
{
    temporary_folder folder;
    write_file(folder / "real/x", "1");
    fs::create_directory(folder / "t");
    fs::create_directory_symlink(folder / "real", folder.path() / "t/one");
    fs::create_directory_symlink(folder / "real", folder.path() / "t/two");
    EXPECT_EQ(scan(folder / "t").size(), 2u) << "one folder may be reached twice";
    fs::create_directory_symlink(folder / "t", folder.path() / "real/back");
    EXPECT_EQ(error_of([&] { (void)scan(folder / "t"); }),
              "cyclic: the folder lies within itself: " + (folder.path() / "t/one/back").string());
    fs::create_symlink("loop", folder.path() / "loop");
    EXPECT_EQ(error_of([&] { (void)scan(folder / "loop"); }),
              "cyclic: links lead to themselves: " + (folder.path() / "loop").string());
}

TEST(source_files, refuses_what_is_no_file)
{
    temporary_folder folder;
    const auto error_for = [&](const char* name) { return error_of([&] { (void)scan(folder.path() / name); }); };
    const auto path = [&](const char* name) { return (folder.path() / name).string(); };
    EXPECT_EQ(error_for("missing"), "no such file: " + path("missing"));
    fs::create_symlink("missing", folder.path() / "dangling");
    EXPECT_EQ(error_for("dangling"), "no such file: " + path("dangling"));
    write_file(folder / "f", "");
    EXPECT_EQ(error_for("f/x"), "no such file: " + path("f/x"));
    mkfifo(path("pipe").c_str(), 0600);
    EXPECT_EQ(error_for("pipe"), "not a regular file: " + path("pipe"));
    write_file(folder / "d/a\\b", "");
    EXPECT_EQ(error_for("d"), "the file name has a backslash: " + path("d/a\\b"));
    write_file(folder / "e/\xFF", "");
    EXPECT_EQ(error_for("e"), "the file name is not UTF-8: " + path("e/\xFF"));
    EXPECT_EQ(error_for((std::string(300, 'x')).c_str()).substr(0, 11), "cannot read");
    EXPECT_EQ(error_of([&] { (void)is_folder(folder.path() / "missing"); }), "no such file: " + path("missing"));
}

} // namespace
