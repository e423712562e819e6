#include "fileio/entry_points.h"

#include "platform/posix_services.h"
#include "tests/support/scripted_services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

namespace entry_points = cw::entry_points;
namespace platform = cw::platform;
using cw::string;
using testing::ElementsAre;

constexpr int some_security = 0;
constexpr platform::file_handle some_template = 77;
constexpr platform::file_handle some_handle = 1234;

/// What the entry points of the test were given last.
struct {
    std::u16string wide_path;
    std::string narrow_path;
    std::uint32_t access, share_mode, disposition, flags;
    const void* security;
    platform::file_handle file_template;
    platform::process_handle process;
} given;
bool answers_yes = true;

bool narrow_path_call(const char* path) noexcept
{
    given.narrow_path = path;
    return answers_yes;
}

bool create_directory_narrow(const char* path, const void* security) noexcept
{
    given.security = security;
    return narrow_path_call(path);
}

template <class Character>
platform::file_handle create_file(const Character* path, std::uint32_t access, std::uint32_t share_mode,
                                  const void* security, std::uint32_t disposition, std::uint32_t flags,
                                  platform::file_handle file_template) noexcept
{
    if constexpr (sizeof(Character) == 1)
        given.narrow_path = path;
    else
        given.wide_path = path;
    given.access = access;
    given.share_mode = share_mode;
    given.security = security;
    given.disposition = disposition;
    given.flags = flags;
    given.file_template = file_template;
    return some_handle;
}

platform::file_handle find_first_file_narrow(const char* path, platform::find_data_narrow* found) noexcept
{
    given.narrow_path = path;
    *found = {1, 2, 3, 4, 5, 6, 7, 8, "long\xE9name.txt", "short\xE9.txt"};
    return answers_yes ? some_handle : platform::invalid_file_handle;
}

std::uint32_t get_file_attributes_narrow(const char* path) noexcept
{
    given.narrow_path = path;
    return platform::file_attribute_read_only;
}

void tell_ia64(platform::system_info* target) noexcept
{
    target->processor_architecture = platform::processor_architecture_ia64;
}

bool tell_wow64(platform::process_handle process, bool* is_wow64) noexcept
{
    given.process = process;
    *is_wow64 = true;
    return answers_yes;
}

bool tell_not_wow64(platform::process_handle, bool* is_wow64) noexcept
{
    *is_wow64 = false;
    return true;
}

template <class Function>
void* address_of(Function* function)
{
    return reinterpret_cast<void*>(function);
}

class entry_points_test : public testing::Test {
protected:
    entry_points_test()
    {
        given = {};
        answers_yes = true;
        scripted.log.lines.clear();
    }

    void put(const char* name, void* entry) { scripted.libraries.system_module.exports[name] = entry; }
    void take_away(const char* name) { scripted.libraries.system_module.exports.erase(name); }
    void put_narrow_entries()
    {
        put("CreateDirectoryA", address_of(&create_directory_narrow));
        put("CreateFileA", address_of(&create_file<char>));
        put("FindFirstFileA", address_of(&find_first_file_narrow));
        put("GetFileAttributesA", address_of(&get_file_attributes_narrow));
        put("DeleteFileA", address_of(&narrow_path_call));
    }
    void take_wide_entries_away()
    {
        for (const char* name :
             {"CreateDirectoryW", "CreateFileW", "FindFirstFileW", "GetFileAttributesW", "DeleteFileW"})
            take_away(name);
    }
    void expect_failure_of_all()
    {
        platform::find_data found;
        found.attributes = 99;
        EXPECT_FALSE(entry_points::create_directory(u"C:\\a"));
        EXPECT_EQ(entry_points::create_file(u"C:\\a", 0, 0, nullptr, 0, 0, 0), platform::invalid_file_handle);
        EXPECT_EQ(entry_points::find_first_file(u"C:\\a", found), platform::invalid_file_handle);
        EXPECT_EQ(found.attributes, 99u);
        EXPECT_EQ(entry_points::get_file_attributes(u"C:\\a"), platform::invalid_file_attributes);
        EXPECT_TRUE(entry_points::delete_file(u"C:\\a"));
    }

    cw::test_support::scripted_services scripted;
};

TEST_F(entry_points_test, looks_the_wide_name_up_at_each_use)
{
    scripted.files.files = {u"C:\\file"};
    platform::find_data found;
    for (int use = 0; use < 2; ++use) {
        EXPECT_EQ(entry_points::create_directory(u"C:\\a"), use == 0);
        EXPECT_THAT(scripted.log.take(), ElementsAre("GetModuleHandleW kernel32.dll", "GetProcAddress CreateDirectoryW",
                                                     "CreateDirectoryW C:\\a"));
        EXPECT_NE(entry_points::find_first_file(u"C:\\file", found), platform::invalid_file_handle);
        EXPECT_EQ(std::u16string(found.file_name), u"file");
        EXPECT_EQ(found.attributes, platform::file_attribute_normal);
        EXPECT_THAT(scripted.log.take(), ElementsAre("GetModuleHandleW kernel32.dll", "GetProcAddress FindFirstFileW",
                                                     "FindFirstFileW C:\\file"));
        EXPECT_EQ(entry_points::get_file_attributes(u"C:\\file"), platform::file_attribute_normal);
        EXPECT_THAT(scripted.log.take(),
                    ElementsAre("GetModuleHandleW kernel32.dll", "GetProcAddress GetFileAttributesW",
                                "GetFileAttributesW C:\\file"));
        EXPECT_NE(entry_points::create_file(u"C:\\file", platform::generic_read, platform::file_share_read, nullptr,
                                            platform::open_existing, platform::file_attribute_normal, 0),
                  platform::invalid_file_handle);
        EXPECT_THAT(scripted.log.take(), ElementsAre("GetModuleHandleW kernel32.dll", "GetProcAddress CreateFileW",
                                                     "CreateFileW C:\\file 0x80000000 0x00000001 3 0x00000080"));
    }
    EXPECT_TRUE(entry_points::delete_file(u"C:\\file"));
    EXPECT_THAT(scripted.log.take(),
                ElementsAre("GetModuleHandleW kernel32.dll", "GetProcAddress DeleteFileW", "DeleteFileW C:\\file"));
    EXPECT_FALSE(entry_points::delete_file(u"C:\\file"));
    EXPECT_EQ(platform::get_last_error(), platform::error_file_not_found);
}

TEST_F(entry_points_test, a_name_that_appears_later_is_used)
{
    take_away("GetFileAttributesW");
    EXPECT_EQ(entry_points::get_file_attributes(u"C:\\file"), platform::invalid_file_attributes);
    put("GetFileAttributesW", platform::find_system_entry("GetFileAttributesW"));
    scripted.files.files = {u"C:\\file"};
    EXPECT_EQ(entry_points::get_file_attributes(u"C:\\file"), platform::file_attribute_normal);
}

TEST_F(entry_points_test, hands_all_arguments_on)
{
    put("CreateFileW", address_of(&create_file<char16_t>));
    EXPECT_EQ(entry_points::create_file(u"C:\\a", 1, 2, &some_security, 3, 4, some_template), some_handle);
    EXPECT_EQ(given.wide_path, u"C:\\a");
    EXPECT_EQ(given.access, 1u);
    EXPECT_EQ(given.share_mode, 2u);
    EXPECT_EQ(given.security, &some_security);
    EXPECT_EQ(given.disposition, 3u);
    EXPECT_EQ(given.flags, 4u);
    EXPECT_EQ(given.file_template, some_template);
}

TEST_F(entry_points_test, leaves_the_narrow_name_alone_where_the_wide_one_is)
{
    put_narrow_entries();
    platform::find_data found;
    EXPECT_TRUE(entry_points::create_directory(u"C:\\a"));
    EXPECT_EQ(entry_points::create_file(u"C:\\b", 0, 0, nullptr, platform::open_existing, 0, 0),
              platform::invalid_file_handle);
    EXPECT_EQ(entry_points::find_first_file(u"C:\\b", found), platform::invalid_file_handle);
    EXPECT_EQ(entry_points::get_file_attributes(u"C:\\b"), platform::invalid_file_attributes);
    EXPECT_FALSE(entry_points::delete_file(u"C:\\b"));
    EXPECT_EQ(given.narrow_path, "");
    for (const char* name : {"CreateDirectoryA", "CreateFileA", "FindFirstFileA", "GetFileAttributesA", "DeleteFileA"})
        EXPECT_EQ(scripted.log.count(std::string("GetProcAddress ") + name), 0u) << name;
}

TEST_F(entry_points_test, takes_the_narrow_name_where_the_wide_one_is_missing)
{
    const std::unique_ptr<platform::code_pages> pages = platform::make_icu_code_pages("ISO-8859-1");
    platform::services set = platform::current();
    set.pages = pages.get();
    const platform::scoped_services in_use(set);
    take_wide_entries_away();
    put_narrow_entries();
    const string path(u"C:\\caf\u00E9");
    const std::string narrow_path = "C:\\caf\xE9";

    given.security = &some_security;
    EXPECT_TRUE(entry_points::create_directory(path));
    EXPECT_EQ(given.narrow_path, narrow_path);
    EXPECT_EQ(given.security, nullptr);
    EXPECT_THAT(scripted.log.take(), ElementsAre("GetModuleHandleW kernel32.dll", "GetProcAddress CreateDirectoryW",
                                                 "GetModuleHandleW kernel32.dll", "GetProcAddress CreateDirectoryA"));
    answers_yes = false;
    EXPECT_FALSE(entry_points::create_directory(path));

    given = {};
    EXPECT_EQ(entry_points::create_file(path, 1, 2, &some_security, 3, 4, some_template), some_handle);
    EXPECT_EQ(given.narrow_path, narrow_path);
    EXPECT_EQ(given.access, 1u);
    EXPECT_EQ(given.share_mode, 2u);
    EXPECT_EQ(given.security, &some_security);
    EXPECT_EQ(given.disposition, 3u);
    EXPECT_EQ(given.flags, 4u);
    EXPECT_EQ(given.file_template, some_template);

    given = {};
    EXPECT_EQ(entry_points::get_file_attributes(path), platform::file_attribute_read_only);
    EXPECT_EQ(given.narrow_path, narrow_path);
}

TEST_F(entry_points_test, the_narrow_find_result_is_converted_field_by_field)
{
    const std::unique_ptr<platform::code_pages> pages = platform::make_icu_code_pages("ISO-8859-1");
    platform::services set = platform::current();
    set.pages = pages.get();
    const platform::scoped_services in_use(set);
    take_wide_entries_away();
    put_narrow_entries();

    platform::find_data found;
    EXPECT_EQ(entry_points::find_first_file(u"C:\\caf\u00E9", found), some_handle);
    EXPECT_EQ(given.narrow_path, "C:\\caf\xE9");
    EXPECT_EQ(found.attributes, 1u);
    EXPECT_EQ(found.creation_time, 2u);
    EXPECT_EQ(found.last_access_time, 3u);
    EXPECT_EQ(found.last_write_time, 4u);
    EXPECT_EQ(found.size_high, 5u);
    EXPECT_EQ(found.size_low, 6u);
    EXPECT_EQ(found.reserved0, 7u);
    EXPECT_EQ(found.reserved1, 8u);
    EXPECT_EQ(std::u16string(found.file_name), u"long\u00E9name.txt");
    EXPECT_EQ(std::u16string(found.alternate_name), u"short\u00E9.txt");

    answers_yes = false;
    found.attributes = 99;
    EXPECT_EQ(entry_points::find_first_file(u"C:\\a", found), platform::invalid_file_handle);
    EXPECT_EQ(found.attributes, 99u);
}

/// Those of the system, which can turn no bytes into text.
struct pages_without_wide_text final : platform::code_pages {
    platform::code_pages& real = *platform::current().pages;

    int to_narrow(std::uint32_t code_page, const char16_t* text, int length, char* target, int room) noexcept override
    {
        return real.to_narrow(code_page, text, length, target, room);
    }
    int to_wide(std::uint32_t, const char*, int, char16_t* target, int) noexcept override
    {
        *target = u'?'; // a target is in no known state behind a failure
        return 0;
    }
    std::size_t character_count(const char* bytes) noexcept override { return real.character_count(bytes); }
};

TEST_F(entry_points_test, a_narrow_find_name_that_is_no_text_comes_out_empty)
{
    pages_without_wide_text pages;
    platform::services set = platform::current();
    set.pages = &pages;
    const platform::scoped_services in_use(set);
    take_wide_entries_away();
    put_narrow_entries();

    platform::find_data found;
    EXPECT_EQ(entry_points::find_first_file(u"C:\\a", found), some_handle);
    EXPECT_EQ(found.attributes, 1u);
    EXPECT_EQ(std::u16string(found.file_name), u"");
    EXPECT_EQ(std::u16string(found.alternate_name), u"");
}

TEST_F(entry_points_test, reports_failure_where_neither_name_is)
{
    take_wide_entries_away();
    expect_failure_of_all();
    EXPECT_EQ(platform::get_last_error(), platform::error_proc_not_found);
    for (const std::string& line : scripted.log.take())
        EXPECT_TRUE(line.starts_with("GetModuleHandleW kernel32.dll") || line.starts_with("GetProcAddress ")) << line;
}

TEST_F(entry_points_test, deletion_has_no_narrow_form)
{
    take_wide_entries_away();
    put_narrow_entries();
    EXPECT_TRUE(entry_points::delete_file(u"C:\\a"));
    EXPECT_EQ(given.narrow_path, "");
}

TEST_F(entry_points_test, reports_failure_where_the_module_is_missing)
{
    scripted.log.fail("GetModuleHandleW", platform::error_mod_not_found);
    expect_failure_of_all();
    EXPECT_EQ(platform::get_last_error(), platform::error_mod_not_found);
    EXPECT_EQ(scripted.log.count("GetProcAddress"), 0u);
}

TEST_F(entry_points_test, the_machine_is_asked_for_by_the_short_module_name)
{
    put("GetNativeSystemInfo", address_of(&tell_ia64));
    EXPECT_EQ(entry_points::get_native_system_info().processor_architecture, platform::processor_architecture_ia64);
    EXPECT_THAT(scripted.log.take(), ElementsAre("GetModuleHandleW kernel32", "GetProcAddress GetNativeSystemInfo"));
}

TEST_F(entry_points_test, the_machine_is_told_as_the_process_sees_it_where_there_is_no_other_way)
{
    take_away("GetNativeSystemInfo");
    scripted.system.architecture = platform::processor_architecture_amd64;
    EXPECT_EQ(entry_points::get_native_system_info().processor_architecture, platform::processor_architecture_amd64);
    EXPECT_THAT(scripted.log.take(),
                ElementsAre("GetModuleHandleW kernel32", "GetProcAddress GetNativeSystemInfo", "GetSystemInfo"));
}

TEST_F(entry_points_test, a_process_is_of_the_other_kind_only_where_the_system_says_so)
{
    EXPECT_FALSE(entry_points::is_wow64_process(platform::current_process));
    EXPECT_THAT(scripted.log.take(), ElementsAre("GetModuleHandleW kernel32", "GetProcAddress IsWow64Process"));

    put("IsWow64Process", address_of(&tell_wow64));
    EXPECT_TRUE(entry_points::is_wow64_process(platform::current_process));
    EXPECT_EQ(given.process, platform::current_process);
    answers_yes = false;
    EXPECT_FALSE(entry_points::is_wow64_process(platform::current_process));
    put("IsWow64Process", address_of(&tell_not_wow64));
    EXPECT_FALSE(entry_points::is_wow64_process(platform::current_process));
}

} // namespace
