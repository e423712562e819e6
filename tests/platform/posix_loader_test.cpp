#include "platform/last_error.h"
#include "platform/posix_services.h"
#include "platform/system_module.h"
#include "platform/utf8.h"

#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <sys/stat.h>

namespace {

using namespace cw::platform;
using cw::test_support::temporary_folder;

class posix_loader : public testing::Test {
protected:
    temporary_folder folder;
    std::unique_ptr<loader> libraries = make_posix_loader();

    /// The last error of a load that must fail; the reason is in `reason`.
    std::uint32_t error_of_load(const std::u16string& path)
    {
        set_last_error(0);
        EXPECT_EQ(libraries->load_library(path.c_str()), nullptr);
        reason = to_utf8(libraries->load_failure());
        return get_last_error();
    }
    std::string reason;
};

TEST_F(posix_loader, knows_the_running_program)
{
    char16_t target[1024];
    const std::uint32_t length = libraries->module_file_name(target, 1024);
    const std::u16string path(target, length);
    EXPECT_EQ(path, std::filesystem::read_symlink("/proc/self/exe").u16string());
    EXPECT_EQ(target[length], u'\0');

    char16_t small[5] = {1, 1, 1, 1, 1};
    set_last_error(0);
    EXPECT_EQ(libraries->module_file_name(small, 4), 3u);
    EXPECT_EQ(std::u16string_view(small, 3), path.substr(0, 3));
    EXPECT_EQ(small[3], u'\0');
    EXPECT_EQ(small[4], 1);
    EXPECT_EQ(get_last_error(), error_insufficient_buffer);
    EXPECT_EQ(libraries->module_file_name(small, 0), 0u);
}

TEST_F(posix_loader, loads_and_finds_exports)
{
    EXPECT_EQ(error_of_load(folder.wide_file("absent.dll")), error_mod_not_found);
    void* library = libraries->load_library(from_utf8(CW_TEST_LOADABLE).c_str());
    ASSERT_NE(library, nullptr);
    EXPECT_EQ(libraries->load_failure(), u"");
    void* found = libraries->find_export(library, "answer_of_library");
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(reinterpret_cast<int (*)()>(found)(), 42);
    // Two libraries may export the same name, so none may become visible to all.
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "answer_of_library"), nullptr);

    set_last_error(0);
    EXPECT_EQ(libraries->find_export(library, "something_else"), nullptr);
    EXPECT_EQ(get_last_error(), error_proc_not_found);
}

TEST_F(posix_loader, refuses_a_truncated_library_before_mapping_it)
{
    std::filesystem::copy_file(CW_TEST_LOADABLE, folder.path() / "cut.dll");
    std::filesystem::resize_file(folder.path() / "cut.dll", std::filesystem::file_size(CW_TEST_LOADABLE) / 2);
    EXPECT_EQ(error_of_load(folder.wide_file("cut.dll")), error_bad_format);
    EXPECT_EQ(reason, folder.file("cut.dll") + ": an incomplete shared object");
}

TEST_F(posix_loader, refuses_what_is_no_library)
{
    folder.write("text.dll", std::string(500, 'x'));
    EXPECT_EQ(error_of_load(folder.wide_file("text.dll")), error_bad_format);
    EXPECT_EQ(reason, folder.file("text.dll") + ": not a shared object");

    std::filesystem::create_directory(folder.path() / "folder.dll");
    EXPECT_EQ(error_of_load(folder.wide_file("folder.dll")), error_bad_format);
    EXPECT_EQ(reason, folder.file("folder.dll") + ": not a regular file");

    ASSERT_EQ(mkfifo(folder.file("pipe.dll").c_str(), 0600), 0);
    EXPECT_EQ(error_of_load(folder.wide_file("pipe.dll")), error_bad_format);
}

TEST_F(posix_loader, tells_why_a_file_cannot_be_opened)
{
    EXPECT_EQ(error_of_load(folder.wide_file("absent.dll")), error_mod_not_found);
    EXPECT_EQ(reason, folder.file("absent.dll") + ": No such file or directory");
    folder.write("file", "");
    EXPECT_EQ(error_of_load(folder.wide_file("file/below.dll")), error_mod_not_found);
    std::filesystem::create_symlink("loop.dll", folder.path() / "loop.dll");
    EXPECT_EQ(error_of_load(folder.wide_file("loop.dll")), 1921u);
}

TEST_F(posix_loader, leaves_a_bare_name_to_the_system)
{
    EXPECT_EQ(error_of_load(u"no-such-library.dll"), error_mod_not_found);
    EXPECT_NE(reason.find("no-such-library.dll"), std::string::npos);
    EXPECT_EQ(error_of_load(u"C:\\app\\LogKit.dll"), error_mod_not_found);
    EXPECT_NE(libraries->load_library(u"libc.so.6"), nullptr);
    EXPECT_EQ(libraries->load_failure(), u"");
    // An empty name would be the program itself.
    EXPECT_EQ(error_of_load(u""), error_mod_not_found);
    EXPECT_EQ(reason, "no file name was given");
}

TEST_F(posix_loader, has_the_system_s_module)
{
    void* module = libraries->module_handle(u"kernel32.dll");
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(libraries->module_handle(u"KERNEL32"), module);
    void* found = libraries->find_export(module, "CreateFileW");
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found, find_system_entry("CreateFileW"));
    set_last_error(0);
    EXPECT_EQ(libraries->find_export(module, "CreateFileA"), nullptr);
    EXPECT_EQ(get_last_error(), error_proc_not_found);
}

TEST_F(posix_loader, knows_the_modules_that_are_loaded)
{
    EXPECT_NE(libraries->module_handle(u"libc.so.6"), nullptr);
    std::filesystem::copy_file(CW_TEST_LOADABLE, folder.path() / "own.dll");
    const std::u16string path = folder.wide_file("own.dll");
    for (const std::u16string& name : {path, std::u16string(u"no-such-library.dll"), std::u16string()}) {
        set_last_error(0);
        EXPECT_EQ(libraries->module_handle(name.c_str()), nullptr);
        EXPECT_EQ(get_last_error(), error_mod_not_found);
    }
    void* library = libraries->load_library(path.c_str());
    ASSERT_NE(library, nullptr);
    EXPECT_EQ(libraries->module_handle(path.c_str()), library);
}

} // namespace
