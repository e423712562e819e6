#include "authoring/staged_files.h"

#include "tests/authoring/authoring_support.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sys/resource.h>

namespace {

using namespace cw::authoring;
using namespace cw::test;
using names = std::vector<std::string>;

std::span<const std::uint8_t> view(const std::string& text)
{
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

TEST(staged_files, appear_together)
{
    temporary_folder folder;
    {
        staged_files stage(folder.path());
        write_file(stage.add("a"), "1");
        write_file(stage.add("b"), "2");
        write_file(stage.scratch("c"), "3");
        EXPECT_EQ(names_in(folder.path()).size(), 1u) << "only the hidden folder";
        stage.publish();
        EXPECT_EQ(read_file(folder / "a"), "1");
        EXPECT_EQ(read_file(folder / "b"), "2");
    }
    EXPECT_EQ(names_in(folder.path()), (names{"a", "b"}));
}

TEST(staged_files, leave_nothing_behind_when_they_are_not_published)
{
    temporary_folder folder;
    write_file(folder / "a", "old");
    {
        staged_files stage(folder.path());
        write_file(stage.add("a"), "new");
    }
    EXPECT_EQ(names_in(folder.path()), (names{"a"}));
    EXPECT_EQ(read_file(folder / "a"), "old");
}

TEST(staged_files, replace_what_is_there)
{
    temporary_folder folder;
    write_file(folder / "a", "old");
    {
        staged_files stage(folder.path());
        write_file(stage.add("a"), "new");
        stage.publish();
    }
    EXPECT_EQ(read_file(folder / "a"), "new");
    EXPECT_EQ(names_in(folder.path()), (names{"a"}));
}

TEST(staged_files, put_everything_back_where_one_cannot_be_moved)
{
    temporary_folder folder;
    write_file(folder / "a", "old a");
    write_file(folder / "d/inside", "x");
    {
        staged_files stage(folder.path());
        write_file(stage.add("a"), "new a");
        write_file(stage.add("b"), "new b");
        write_file(stage.add("d"), "new d");
        write_file(stage.add("e"), "new e");
        EXPECT_EQ(error_of([&] { stage.publish(); }),
                  "cannot write " + (folder / "d").string() + ": a folder has this name");
    }
    EXPECT_EQ(names_in(folder.path()), (names{"a", "d"}));
    EXPECT_EQ(read_file(folder / "a"), "old a");
    {
        staged_files stage(folder.path());
        write_file(stage.add("a"), "new a");
        (void)stage.add("never written");
        EXPECT_NE(error_of([&] { stage.publish(); }), "no error");
    }
    EXPECT_EQ(names_in(folder.path()), (names{"a", "d"}));
    EXPECT_EQ(read_file(folder / "a"), "old a");
}

TEST(staged_files, make_folders_and_take_them_back)
{
    temporary_folder folder;
    {
        staged_files stage(folder.path() / "x/y/z/");
        EXPECT_TRUE(fs::is_directory(folder.path() / "x/y/z"));
    }
    EXPECT_EQ(names_in(folder.path()), names{});
    {
        staged_files stage(folder.path() / "x/y/");
        write_file(stage.add("a"), "1");
        stage.publish();
    }
    EXPECT_EQ(names_in(folder.path() / "x/y"), (names{"a"}));
}

TEST(staged_files, tell_why_a_folder_cannot_be_used)
{
    temporary_folder folder;
    write_file(folder / "file", "x");
    const std::string below = (folder.path() / "file/sub").string();
    EXPECT_EQ(error_of([&] { staged_files stage(below); }), "cannot make the folder " + below + ": Not a directory");
    const std::string file = (folder.path() / "file").string();
    EXPECT_EQ(error_of([&] { staged_files stage(file); }), "cannot write into " + file + ": Not a directory");
    EXPECT_EQ(names_in(folder.path()), (names{"file"}));
}

TEST(output_file, writes_and_joins)
{
    temporary_folder folder;
    write_file(folder / "part", noise(3'000'000));
    output_file file(folder / "whole", "whole");
    file.write(view("head "));
    file.append_file(folder / "part");
    file.close();
    EXPECT_EQ(read_file(folder / "whole"), "head " + noise(3'000'000));
}

TEST(output_file, tells_what_it_cannot_write)
{
    temporary_folder folder;
    EXPECT_EQ(error_of([&] { output_file file(folder.path() / "no/such", "tour.hdr"); }),
              "cannot write tour.hdr: No such file or directory");
    output_file file(folder / "x", "x");
    EXPECT_EQ(error_of([&] { file.append_file(folder.path() / "missing"); }),
              "cannot read back a part of x: No such file or directory");
    // A limit on the size of files stands in for a full disk.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    rlimit small = before;
    small.rlim_cur = 1000;
    setrlimit(RLIMIT_FSIZE, &small);
    const std::string message = error_of([&] { file.write(view(noise(5000))); });
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(message, "cannot write x: File too large");
}

} // namespace
