#include "console/extract_folder.h"

#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace cw {
namespace {

namespace fs = std::filesystem;
using console::extract_folder;

class extract_folder_test : public testing::Test {
protected:
    extract_folder_test() { fs::create_directory(below.path() / "out"); }

    void put(const std::vector<std::string>& parts, bool replace = false, std::string_view bytes = "new")
    {
        extract_folder out(root());
        out.put(parts, replace, [&] { std::ofstream(out.working_path()) << bytes; });
    }
    void expect_refusal(const std::vector<std::string>& parts, std::string_view reason, bool replace = false)
    {
        try {
            put(parts, replace);
            ADD_FAILURE() << reason;
        } catch (const std::runtime_error& error) {
            EXPECT_NE(std::string_view(error.what()).find(reason), std::string_view::npos) << error.what();
        }
        EXPECT_EQ(hidden(), 0);
    }
    /// What was left of unfinished files.
    [[nodiscard]] int hidden() const
    {
        int count = 0;
        for (const fs::directory_entry& entry : fs::directory_iterator(root()))
            count += entry.path().filename().native().starts_with(".cwcab-") ? 1 : 0;
        return count;
    }
    [[nodiscard]] std::string root() const { return below.file("out"); }
    [[nodiscard]] std::string read(const std::string& name) const { return below.read("out/" + name); }

    test_support::temporary_folder below;
};

TEST_F(extract_folder_test, puts_files_at_their_place)
{
    put({"a.txt"});
    put({"b", "c", "d.txt"});
    put({"b", "c", "e.txt"}, false, "other");
    EXPECT_EQ(read("a.txt"), "new");
    EXPECT_EQ(read("b/c/d.txt"), "new");
    EXPECT_EQ(read("b/c/e.txt"), "other");
    EXPECT_EQ(hidden(), 0);
}

TEST_F(extract_folder_test, keeps_the_mode_that_the_writer_gave)
{
    extract_folder out(root());
    out.put({"a"}, false, [&] {
        std::ofstream(out.working_path()) << "new";
        fs::permissions(out.working_path(), fs::perms::owner_read | fs::perms::owner_exec);
    });
    EXPECT_EQ(fs::status(root() + "/a").permissions(), fs::perms::owner_read | fs::perms::owner_exec);
}

TEST_F(extract_folder_test, lets_nobody_else_at_unfinished_files)
{
    const extract_folder out(root());
    EXPECT_EQ(fs::status(fs::path(out.working_path()).parent_path()).permissions(), fs::perms::owner_all);
    EXPECT_EQ(hidden(), 1);
}

TEST_F(extract_folder_test, leaves_what_exists_alone_unless_told_otherwise)
{
    below.write("out/a.txt", "old");
    expect_refusal({"a.txt"}, "exists already");
    EXPECT_EQ(read("a.txt"), "old");
    put({"a.txt"}, true);
    EXPECT_EQ(read("a.txt"), "new");
}

TEST_F(extract_folder_test, replaces_links_and_not_what_they_lead_to)
{
    below.write("outside", "old");
    fs::create_symlink(below.file("outside"), root() + "/link");
    fs::create_symlink(below.file("nothing"), root() + "/broken");
    for (const char* name : {"link", "broken"}) {
        expect_refusal({name}, "exists already");
        put({name}, true);
        EXPECT_FALSE(fs::is_symlink(root() + "/" + name));
        EXPECT_EQ(read(name), "new");
    }
    EXPECT_EQ(below.read("outside"), "old");
    EXPECT_FALSE(fs::exists(below.file("nothing")));
}

TEST_F(extract_folder_test, never_replaces_what_is_no_file)
{
    fs::create_directory(root() + "/folder");
    ASSERT_EQ(mkfifo((root() + "/pipe").c_str(), 0600), 0);
    fs::create_symlink("/dev/null", root() + "/device");
    fs::create_directory_symlink(below.path(), root() + "/linked folder");
    for (const bool replace : {false, true}) {
        expect_refusal({"folder"}, "a folder stands there", replace);
        expect_refusal({"pipe"}, "no file stands there", replace);
        expect_refusal({"device"}, "no file stands there", replace);
        expect_refusal({"linked folder"}, "no file stands there", replace);
    }
}

TEST_F(extract_folder_test, goes_through_no_link)
{
    fs::create_directory(below.path() / "outside");
    fs::create_directory(below.path() / "out/a");
    fs::create_directory_symlink(below.file("outside"), root() + "/link");
    fs::create_directory_symlink("../../outside", root() + "/a/link");
    fs::create_directory_symlink("a", root() + "/inside");
    for (const bool replace : {false, true}) {
        expect_refusal({"link", "x"}, "a link stands in place of the folder \"link\"", replace);
        expect_refusal({"a", "link", "x"}, "a link stands in place of the folder \"a/link\"", replace);
        expect_refusal({"a", "link", "deeper", "x"}, "a link stands in place of the folder", replace);
        expect_refusal({"inside", "x"}, "a link stands in place of the folder", replace);
    }
    EXPECT_TRUE(fs::is_empty(below.path() / "outside"));
}

TEST_F(extract_folder_test, is_not_led_away_by_what_changes_meanwhile)
{
    fs::create_directory(below.path() / "outside");
    fs::create_directory(root() + "/a");
    extract_folder out(root());
    const auto write = [&] { std::ofstream(out.working_path()) << "new"; };
    // A folder becomes a link while the file is written.
    EXPECT_THROW(out.put({"a", "x"}, true,
                         [&] {
                             write();
                             fs::remove(root() + "/a");
                             fs::create_directory_symlink(below.file("outside"), root() + "/a");
                         }),
                 std::runtime_error);
    // Somebody takes the place.
    EXPECT_THROW(out.put({"b"}, false,
                         [&] {
                             write();
                             below.write("out/b", "theirs");
                         }),
                 std::runtime_error);
    EXPECT_EQ(read("b"), "theirs");
    // The whole folder is exchanged: the file follows the folder that was meant.
    out.put({"c"}, false, [&] {
        write();
        fs::rename(root(), below.file("moved"));
        fs::create_directory_symlink(below.file("outside"), root());
    });
    EXPECT_EQ(below.read("moved/c"), "new");
    EXPECT_TRUE(fs::is_empty(below.path() / "outside"));
}

TEST_F(extract_folder_test, makes_no_folder_for_a_file_that_is_not_written)
{
    extract_folder out(root());
    EXPECT_THROW(out.put({"a", "x"}, false, [] { throw std::logic_error("no"); }), std::logic_error);
    EXPECT_THROW(out.put({"a", "x"}, false, [] {}), std::runtime_error);
    EXPECT_FALSE(fs::exists(root() + "/a"));
}

TEST_F(extract_folder_test, takes_nothing_but_a_file_from_the_writer)
{
    extract_folder out(root());
    below.write("outside", "old");
    EXPECT_THROW(out.put({"a"}, false, [&] { fs::create_symlink(below.file("outside"), out.working_path()); }),
                 std::runtime_error);
    // What one file left behind is not taken for the next.
    EXPECT_THROW(out.put({"a"}, false,
                         [&] {
                             std::ofstream(out.working_path()) << "half";
                             throw std::runtime_error("disk full");
                         }),
                 std::runtime_error);
    EXPECT_THROW(out.put({"a"}, false, [] {}), std::runtime_error);
    EXPECT_FALSE(fs::exists(root() + "/a"));
}

TEST_F(extract_folder_test, clears_up_behind_a_writer_that_does_not)
{
    {
        extract_folder out(root());
        EXPECT_THROW(out.put({"a"}, false,
                             [&] {
                                 std::ofstream(out.working_path() + ".own") << "half";
                                 throw std::runtime_error("no");
                             }),
                     std::runtime_error);
    }
    EXPECT_TRUE(fs::is_empty(root()));
}

TEST_F(extract_folder_test, tells_that_a_file_stands_in_place_of_a_folder)
{
    below.write("out/a", "old");
    expect_refusal({"a", "b"}, "the folder \"a\" cannot be", true);
    EXPECT_EQ(read("a"), "old");
}

TEST_F(extract_folder_test, needs_a_folder)
{
    below.write("file", "old");
    EXPECT_THROW(extract_folder(below.file("absent")), std::runtime_error);
    EXPECT_THROW(extract_folder(below.file("file")), std::runtime_error);
    EXPECT_THROW(console::make_folder(""), std::runtime_error);
    EXPECT_THROW(console::make_folder(below.file("file")), std::runtime_error);
    EXPECT_THROW(console::make_folder(below.file("file/a")), std::runtime_error);
    console::make_folder(below.file("a/b"));
    console::make_folder(below.file("a/b"));
    EXPECT_TRUE(fs::is_directory(below.file("a/b")));
}

} // namespace
} // namespace cw
