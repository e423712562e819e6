#include "platform/last_error.h"
#include "platform/posix_services.h"
#include "platform/utf8.h"

#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

using namespace cw::platform;
using cw::test_support::temporary_folder;

class posix_file_system : public testing::Test {
protected:
    temporary_folder folder;
    std::unique_ptr<file_system> files = make_posix_file_system();
    std::filesystem::path before = std::filesystem::current_path();
    ~posix_file_system() override { std::filesystem::current_path(before); }
};

TEST_F(posix_file_system, tells_files_from_folders)
{
    folder.write("\xC3\xA9.txt", "x");
    EXPECT_EQ(files->attributes(folder.wide_file("\xC3\xA9.txt").c_str()), file_attribute_normal);
    EXPECT_EQ(files->attributes(folder.path().u16string().c_str()), file_attribute_directory);
    chmod(folder.file("\xC3\xA9.txt").c_str(), 0444);
    EXPECT_EQ(files->attributes(folder.wide_file("\xC3\xA9.txt").c_str()), file_attribute_read_only);
}

TEST_F(posix_file_system, tells_why_there_is_none)
{
    const auto error_of = [&](const std::u16string& path) {
        set_last_error(0);
        EXPECT_EQ(files->attributes(path.c_str()), invalid_file_attributes);
        return get_last_error();
    };
    folder.write("file", "x");
    EXPECT_EQ(error_of(folder.wide_file("absent")), error_file_not_found);
    EXPECT_EQ(error_of(folder.wide_file("file/below")), error_path_not_found);
    EXPECT_EQ(error_of(u""), error_path_not_found);
    EXPECT_EQ(error_of(folder.wide_file(std::string(300, 'n'))), 206u);
}

TEST_F(posix_file_system, a_backslash_path_is_one_relative_name)
{
    folder.write("a\\b", "x");
    std::filesystem::current_path(folder.path());
    EXPECT_EQ(files->attributes(u"a\\b"), file_attribute_normal);
    EXPECT_EQ(files->attributes(u"C:\\a"), invalid_file_attributes);
}

TEST_F(posix_file_system, reaches_names_that_are_no_utf8)
{
    folder.write("bad\xFFname", "x");
    const std::u16string path = path_from_bytes(folder.file("bad\xFFname"));
    EXPECT_EQ(files->attributes(path.c_str()), file_attribute_normal);
    EXPECT_TRUE(files->delete_file(path.c_str()));
    EXPECT_FALSE(std::filesystem::exists(folder.file("bad\xFFname")));
}

TEST_F(posix_file_system, changes_the_current_directory)
{
    const std::u16string wanted = folder.path().u16string();
    ASSERT_TRUE(files->set_current_directory(wanted.c_str()));
    char16_t target[260];
    EXPECT_EQ(files->current_directory(target, 260), wanted.size());
    EXPECT_EQ(target, wanted);

    const auto size = static_cast<std::uint32_t>(wanted.size());
    EXPECT_EQ(files->current_directory(target, size + 1), size);
    EXPECT_EQ(files->current_directory(target, size), 0u);
    EXPECT_EQ(get_last_error(), error_insufficient_buffer);
    EXPECT_EQ(files->current_directory(target, 0), 0u);
}

TEST_F(posix_file_system, a_folder_that_is_not_there_changes_nothing)
{
    set_last_error(0);
    EXPECT_FALSE(files->set_current_directory(folder.wide_file("absent").c_str()));
    EXPECT_EQ(get_last_error(), error_file_not_found);
    EXPECT_FALSE(files->set_current_directory(u""));
    EXPECT_EQ(std::filesystem::current_path(), before);
}

TEST_F(posix_file_system, a_current_directory_that_is_gone_has_no_name)
{
    std::filesystem::create_directory(folder.path() / "short");
    std::filesystem::current_path(folder.path() / "short");
    std::filesystem::remove(folder.path() / "short");
    char16_t target[260];
    set_last_error(0);
    EXPECT_EQ(files->current_directory(target, 260), 0u);
    EXPECT_EQ(get_last_error(), error_file_not_found);
}

TEST_F(posix_file_system, deletes_files_alone)
{
    folder.write("file", "x");
    EXPECT_TRUE(files->delete_file(folder.wide_file("file").c_str()));
    EXPECT_FALSE(std::filesystem::exists(folder.file("file")));
    EXPECT_FALSE(files->delete_file(folder.wide_file("file").c_str()));
    EXPECT_EQ(get_last_error(), error_file_not_found);
    EXPECT_FALSE(files->delete_file(folder.path().u16string().c_str()));
    EXPECT_EQ(get_last_error(), error_access_denied);
}

} // namespace
