#include "console/report_target.h"

#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <functional>
#include <stdexcept>

#include <sys/stat.h>

namespace cw::console {
namespace {

namespace fs = std::filesystem;

class report_target : public testing::Test {
protected:
    /// Why something is refused; empty where it is not.
    static std::string refusal(const std::function<void()>& work)
    {
        try {
            work();
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return {};
    }
    std::string refusal_of_kind(const std::string& name) const
    {
        return refusal([&] { (void)kind_of_target(folder.file(name)); });
    }
    std::string refusal_of_inputs(const std::string& target, std::array<std::string, 2> inputs) const
    {
        return refusal([&] { refuse_inputs(folder.file(target), inputs); });
    }
    test_support::temporary_folder folder;
};

TEST_F(report_target, is_a_descriptor_by_its_name)
{
    EXPECT_EQ(descriptor_named("/dev/stdin"), 0);
    EXPECT_EQ(descriptor_named("/dev/stdout"), 1);
    EXPECT_EQ(descriptor_named("/dev/stderr"), 2);
    EXPECT_EQ(descriptor_named("/dev/fd/17"), 17);
    EXPECT_EQ(descriptor_named("/proc/self/fd/3"), 3);
    fs::create_symlink("/dev/stdout", folder.file("link"));
    fs::create_symlink("link", folder.file("further"));
    EXPECT_EQ(descriptor_named(folder.file("further")), 1);
}

TEST_F(report_target, is_no_descriptor)
{
    folder.write("1", "");
    fs::create_symlink("circle", folder.file("circle"));
    for (const std::string& path :
         {folder.file("1"), folder.file("circle"), folder.file("gone"), std::string("1"), std::string("/dev/fd/1x"),
          std::string("/dev/fd/-1"), std::string("/dev/fd/"), std::string("/dev/null"), std::string()})
        EXPECT_FALSE(descriptor_named(path)) << path;
}

TEST_F(report_target, has_a_kind)
{
    EXPECT_EQ(kind_of_target(folder.file("new")), target_kind::nothing);
    folder.write("file", "");
    EXPECT_EQ(kind_of_target(folder.file("file")), target_kind::file);
    fs::create_symlink("file", folder.file("link"));
    EXPECT_EQ(kind_of_target(folder.file("link")), target_kind::file);
    EXPECT_EQ(kind_of_target("/dev/null"), target_kind::stream);
    ASSERT_EQ(::mkfifo(folder.file("pipe").c_str(), 0600), 0);
    EXPECT_EQ(kind_of_target(folder.file("pipe")), target_kind::stream);
}

TEST_F(report_target, is_refused)
{
    EXPECT_EQ(refusal_of_kind("."), "a folder stands there");
    fs::create_symlink("gone", folder.file("dangling"));
    EXPECT_EQ(refusal_of_kind("dangling"), "a link that leads nowhere stands there");
    fs::create_symlink("circle", folder.file("circle"));
    EXPECT_NE(refusal_of_kind("circle"), "");
    folder.write("file", "");
    EXPECT_NE(refusal_of_kind("file/below"), "");
    EXPECT_NE(refusal_of_kind(std::string(300, 'n')), "");
    fs::permissions(folder.file("file"), fs::perms(0444));
    EXPECT_EQ(refusal_of_kind("file"), "a file that is read-only stands there");
}

TEST_F(report_target, is_no_input)
{
    folder.write("log.clg", "");
    folder.write("password", "");
    folder.write("other.txt", "");
    const std::string log = folder.file("log.clg");
    EXPECT_EQ(refusal_of_inputs("other.txt", {log, ""}), "");
    EXPECT_EQ(refusal_of_inputs("new.txt", {log, folder.file("gone")}), "");
    EXPECT_EQ(refusal_of_inputs("log.clg", {log, ""}), "that is a file that the report is made from");
    EXPECT_EQ(refusal_of_inputs("password", {log, folder.file("password")}),
              "that is a file that the report is made from");
    EXPECT_EQ(refusal([&] { refuse_inputs(log, {}); }), "");
}

TEST_F(report_target, is_no_part_of_a_media)
{
    fs::create_directory(folder.file("media"));
    for (const char* name : {"media/a.hdr", "media/a1.CAB", "media/notes.txt", "b1.cab"})
        folder.write(name, "");
    fs::create_hard_link(folder.file("media/a1.CAB"), folder.file("link"));
    const std::string media = folder.file("media/a.hdr");
    EXPECT_EQ(refusal_of_inputs("media/a1.CAB", {media, ""}), "that is a part of a media");
    EXPECT_EQ(refusal_of_inputs("link", {media, ""}), "that is a part of a media");
    EXPECT_EQ(refusal_of_inputs("media/notes.txt", {media, ""}), "");
    // Elsewhere it is somebody's who knows.
    EXPECT_EQ(refusal_of_inputs("b1.cab", {media, ""}), "");
}

TEST_F(report_target, gives_its_permissions)
{
    folder.write("old", "");
    folder.write("new", "");
    fs::permissions(folder.file("old"), fs::perms(0604));
    take_over_permissions(folder.file("new"), folder.file("old"));
    EXPECT_EQ(fs::status(folder.file("new")).permissions(), fs::perms(0604));
    EXPECT_NE(refusal([&] { take_over_permissions(folder.file("new"), folder.file("gone")); }), "");
    EXPECT_NE(refusal([&] { take_over_permissions(folder.file("gone"), folder.file("old")); }), "");
}

} // namespace
} // namespace cw::console
