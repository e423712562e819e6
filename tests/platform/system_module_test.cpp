#include "platform/system_module.h"

#include "tests/support/scripted_services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace cw::platform;
using cw::test_support::scripted_services;
using testing::ElementsAre;

template <class Entry>
Entry entry_of(const char* name)
{
    return reinterpret_cast<Entry>(find_system_entry(name));
}

TEST(system_module, is_known_by_its_name)
{
    EXPECT_TRUE(is_system_module_name(system_module_name));
    for (const auto* name : {u"kernel32.dll", u"KERNEL32.DLL", u"Kernel32", u"kernel32"})
        EXPECT_TRUE(is_system_module_name(name)) << std::u16string_view(name).size();
    for (const auto* name : {u"", u"kernel", u"kernel32.", u"kernel32.dl", u"kernel32.dlls", u"kernel33.dll",
                             u"C:\\kernel32.dll", u"user32.dll", u"\u212Aernel32"})
        EXPECT_FALSE(is_system_module_name(name)) << std::u16string_view(name).size();
}

TEST(system_module, entries_lead_to_the_interfaces_in_use)
{
    scripted_services script;
    script.files.folders.insert(u"C:\\folder");
    script.system.architecture = 6;

    EXPECT_TRUE(entry_of<create_directory_entry<char16_t>>("CreateDirectoryW")(u"C:\\new", nullptr));
    EXPECT_FALSE(entry_of<create_directory_entry<char16_t>>("CreateDirectoryW")(u"C:\\new", nullptr));
    EXPECT_EQ(get_last_error(), error_already_exists);
    const file_handle file = entry_of<create_file_entry<char16_t>>("CreateFileW")(
        u"C:\\file", generic_write, file_share_read, nullptr, create_always, file_attribute_normal, 0);
    EXPECT_NE(file, invalid_file_handle);
    EXPECT_EQ(script.open.open_handles(), 1u);
    EXPECT_EQ(entry_of<get_file_attributes_entry<char16_t>>("GetFileAttributesW")(u"C:\\folder"), 0x10u);
    find_data found;
    const auto find_first_file = entry_of<find_first_file_entry<char16_t>>("FindFirstFileW");
    EXPECT_NE(find_first_file(u"C:\\folder", &found), invalid_file_handle);
    EXPECT_EQ(std::u16string(found.file_name), u"folder");
    EXPECT_TRUE(entry_of<delete_file_entry<char16_t>>("DeleteFileW")(u"C:\\file"));
    EXPECT_FALSE(entry_of<delete_file_entry<char16_t>>("DeleteFileW")(u"C:\\file"));
    system_info info;
    entry_of<get_native_system_info_entry>("GetNativeSystemInfo")(&info);
    EXPECT_EQ(info.processor_architecture, 6);
    EXPECT_THAT(script.log.take(), ElementsAre("CreateDirectoryW C:\\new", "CreateDirectoryW C:\\new",
                                               "CreateFileW C:\\file 0x40000000 0x00000001 2 0x00000080",
                                               "GetFileAttributesW C:\\folder", "FindFirstFileW C:\\folder",
                                               "DeleteFileW C:\\file", "DeleteFileW C:\\file", "GetSystemInfo"));
}

TEST(system_module, an_entry_follows_when_another_set_comes_into_use)
{
    const auto attributes = entry_of<get_file_attributes_entry<char16_t>>("GetFileAttributesW");
    EXPECT_EQ(attributes(u"/"), file_attribute_directory);
    const scripted_services script;
    EXPECT_EQ(attributes(u"/"), invalid_file_attributes);
    EXPECT_THAT(script.log.lines, ElementsAre("GetFileAttributesW /"));
}

TEST(system_module, has_wide_names_alone)
{
    for (const char* name : {"CreateDirectoryA", "CreateFileA", "DeleteFileA", "FindFirstFileA", "GetFileAttributesA",
                             "IsWow64Process", "createfilew", "CreateFile", ""})
        EXPECT_EQ(find_system_entry(name), nullptr) << name;
}

} // namespace
