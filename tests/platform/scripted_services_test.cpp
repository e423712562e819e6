#include "tests/support/scripted_services.h"

#include "platform/system_module.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace cw::platform;
using cw::test_support::scripted_services;
using testing::ElementsAre;

TEST(scripted_services, is_in_use_while_it_lives)
{
    file_system* const before = current().files;
    code_pages* const pages = current().pages;
    {
        scripted_services script;
        EXPECT_EQ(current().files, &script.files);
        EXPECT_EQ(current().memory, &script.memory);
        EXPECT_EQ(current().user, &script.user);
        EXPECT_EQ(current().pages, pages);
    }
    EXPECT_EQ(current().files, before);
}

TEST(scripted_services, records_calls_as_lines)
{
    scripted_services script;
    int entry = 0;
    script.libraries.module_path = u"C:\\app\\viewer.exe";
    script.libraries.add_library(u"C:\\app\\LogKit.dll", "DllGetClassObject", &entry);
    script.files.files.insert(u"C:\\app\\LogKit.dll");
    script.machine.keys[u"SOFTWARE\\X"][u"Dir"] = u"C:\\Common";

    char16_t text[32];
    EXPECT_EQ(current().libraries->module_file_name(text, 32), 17u);
    EXPECT_EQ(current().libraries->module_file_name(text, 4), 3u);
    EXPECT_EQ(current().files->attributes(u"C:\\app\\LogKit.dll"), file_attribute_normal);
    EXPECT_EQ(current().files->attributes(u"C:\\x"), invalid_file_attributes);
    EXPECT_EQ(get_last_error(), error_file_not_found);
    EXPECT_EQ(current().libraries->load_library(u"x"), nullptr);
    EXPECT_EQ(current().libraries->load_failure(), u"x: does not load");
    void* library = current().libraries->load_library(u"C:\\app\\LogKit.dll");
    ASSERT_NE(library, nullptr);
    EXPECT_EQ(current().libraries->find_export(library, "DllGetClassObject"), &entry);
    EXPECT_EQ(current().libraries->find_export(library, "other"), nullptr);
    settings_key key = nullptr;
    ASSERT_EQ(current().machine->open_key(u"SOFTWARE\\X", 0x20019, &key), 0u);
    std::uint32_t size_in_bytes = sizeof text;
    EXPECT_EQ(current().machine->query_value(key, u"Dir", text, &size_in_bytes), 0u);
    EXPECT_EQ(std::u16string(text), u"C:\\Common");
    size_in_bytes = 2;
    EXPECT_EQ(current().machine->query_value(key, u"Dir", text, &size_in_bytes), error_more_data);
    current().machine->close_key(key);
    EXPECT_EQ(script.log.count("LoadLibraryW"), 2u);
    EXPECT_THAT(script.log.take(),
                ElementsAre("GetModuleFileNameW", "GetModuleFileNameW", "GetFileAttributesW C:\\app\\LogKit.dll",
                            "GetFileAttributesW C:\\x", "LoadLibraryW x", "LoadLibraryW C:\\app\\LogKit.dll",
                            "GetProcAddress DllGetClassObject", "GetProcAddress other",
                            "RegOpenKeyExW SOFTWARE\\X 0x00020019", "RegQueryValueExW Dir", "RegQueryValueExW Dir",
                            "RegCloseKey"));
    EXPECT_TRUE(script.log.lines.empty());
}

TEST(scripted_services, moves_the_current_directory)
{
    scripted_services script;
    EXPECT_TRUE(current().files->set_current_directory(u"C:\\app"));
    EXPECT_FALSE(current().files->set_current_directory(u""));
    EXPECT_EQ(script.files.directory, u"C:\\app");
    char16_t text[32];
    EXPECT_EQ(current().files->current_directory(text, 32), 6u);
    script.files.files.insert(u"f");
    EXPECT_TRUE(current().files->delete_file(u"f"));
    EXPECT_FALSE(current().files->delete_file(u"f"));
}

TEST(scripted_services, memory_fails_and_changes_the_last_error_when_told)
{
    scripted_services script;
    script.memory.fail_after = 2;
    script.memory.last_error_left = 99;
    BSTR text = current().memory->allocate(u"a", 1);
    EXPECT_NE(text, nullptr);
    EXPECT_EQ(get_last_error(), 99u);
    EXPECT_EQ(current().memory->reallocate(&text, u"ab", 2), 0);
    EXPECT_EQ(current().memory->reallocate(&text, u"ab", 2), 1);
    set_last_error(0);
    current().memory->release(text);
    EXPECT_EQ(get_last_error(), 99u);
    char* bytes = current().memory->allocate_bytes(64);
    current().memory->release_bytes(bytes);
    EXPECT_THAT(script.memory.sizes, ElementsAre(1u, 2u, 2u, 64u));
    EXPECT_EQ(script.memory.releases, 2);
}

TEST(scripted_services, answers_messages_and_classes)
{
    scripted_services script;
    script.messages.texts[5] = u"no access";
    char16_t* text = current().messages->format_message(5);
    EXPECT_EQ(std::u16string(text), u"no access");
    EXPECT_EQ(script.messages.texts_not_released(), 1u);
    current().messages->release(text);
    EXPECT_EQ(script.messages.texts_not_released(), 0u);
    EXPECT_EQ(current().messages->format_message(6), nullptr);

    script.classes.program_ids[u"A.B"] = IID_IUnknown;
    CLSID id{};
    EXPECT_EQ(current().classes->class_id_from_program_id(u"A.B", &id), S_OK);
    EXPECT_EQ(id, IID_IUnknown);
    EXPECT_EQ(current().classes->class_id_from_program_id(u"C.D", &id), CO_E_CLASSSTRING);
    void* object = &id;
    EXPECT_EQ(current().classes->create_instance(IID_IUnknown, nullptr, 0x17, IID_IUnknown, &object),
              REGDB_E_CLASSNOTREG);
    EXPECT_EQ(script.log.lines.back(), "CoCreateInstance {00000000-0000-0000-C000-000000000046} 0x00000017");
}

TEST(scripted_services, puts_each_interface_in_use)
{
    scripted_services script;
    EXPECT_EQ(current().open, &script.open);
    EXPECT_EQ(current().system, &script.system);
    EXPECT_EQ(current().ids, &script.ids);
    EXPECT_EQ(current().network, &script.network);
}

TEST(scripted_services, calls_fail_by_their_lines)
{
    scripted_services script;
    file_system& files = *current().files;
    script.files.files = {u"C:\\a", u"C:\\ab"};
    script.log.fail("GetFileAttributesW C:\\a", 5);
    set_last_error(0);
    EXPECT_EQ(files.attributes(u"C:\\a"), invalid_file_attributes);
    EXPECT_EQ(get_last_error(), 5u);
    EXPECT_EQ(files.attributes(u"C:\\ab"), file_attribute_normal);
    EXPECT_EQ(files.attributes(u"C:\\a"), invalid_file_attributes);
    script.log.fail_nothing();
    EXPECT_EQ(files.attributes(u"C:\\a"), file_attribute_normal);

    script.log.fail("CreateDirectoryW", 3, 2);
    EXPECT_TRUE(files.create_folder(u"C:\\1"));
    EXPECT_FALSE(files.create_folder(u"C:\\2"));
    EXPECT_EQ(get_last_error(), 3u);
    EXPECT_TRUE(files.create_folder(u"C:\\3"));
    script.log.fail("DeleteFileW", 32);
    EXPECT_FALSE(files.delete_file(u"C:\\a"));
    EXPECT_EQ(get_last_error(), 32u);
    EXPECT_TRUE(script.files.files.contains(u"C:\\a"));
    EXPECT_THAT(script.log.take(),
                ElementsAre("GetFileAttributesW C:\\a", "GetFileAttributesW C:\\ab", "GetFileAttributesW C:\\a",
                            "GetFileAttributesW C:\\a", "CreateDirectoryW C:\\1", "CreateDirectoryW C:\\2",
                            "CreateDirectoryW C:\\3", "DeleteFileW C:\\a"));
    EXPECT_EQ(script.files.folders, (std::set<std::u16string>{u"C:\\1", u"C:\\3"}));
}

TEST(scripted_services, folders_and_searches)
{
    scripted_services script;
    file_system& files = *current().files;
    script.files.files.insert(u"C:\\folder\\file");
    EXPECT_TRUE(files.create_folder(u"C:\\folder"));
    EXPECT_EQ(files.attributes(u"C:\\folder"), file_attribute_directory);
    for (const char16_t* taken : {u"C:\\folder", u"C:\\folder\\file"}) {
        EXPECT_FALSE(files.create_folder(taken));
        EXPECT_EQ(get_last_error(), error_already_exists);
    }

    find_data found;
    const file_handle one = files.find_first_file(u"C:\\folder\\file", &found);
    EXPECT_EQ(found.attributes, file_attribute_normal);
    EXPECT_EQ(std::u16string(found.file_name), u"file");
    const file_handle other = files.find_first_file(u"C:\\folder", &found);
    EXPECT_EQ(found.attributes, file_attribute_directory);
    EXPECT_NE(one, other);
    EXPECT_EQ(script.files.open_searches(), 2u);
    EXPECT_TRUE(files.find_close(one));
    EXPECT_FALSE(files.find_close(one));
    EXPECT_EQ(get_last_error(), error_invalid_handle);
    EXPECT_EQ(script.files.open_searches(), 1u);
    script.log.fail("FindClose", 7);
    EXPECT_FALSE(files.find_close(other));
    EXPECT_EQ(get_last_error(), 7u);

    script.files.missing_error = error_path_not_found;
    EXPECT_EQ(files.find_first_file(u"C:\\none", &found), invalid_file_handle);
    EXPECT_EQ(get_last_error(), error_path_not_found);
    script.log.fail("FindFirstFileW", 5);
    EXPECT_EQ(files.find_first_file(u"C:\\folder", &found), invalid_file_handle);
    EXPECT_EQ(get_last_error(), 5u);
    EXPECT_EQ(script.log.count("FindFirstFileW C:\\folder"), 3u);
    EXPECT_EQ(script.log.count("FindClose"), 3u);
}

TEST(scripted_services, temporary_names)
{
    scripted_services script;
    file_system& files = *current().files;
    char16_t target[path_room] = {};
    EXPECT_EQ(files.temp_folder(target, path_room), 8u);
    EXPECT_EQ(std::u16string(target), u"C:\\Temp\\");
    EXPECT_EQ(files.temp_folder(target, 8), 0u);
    EXPECT_EQ(get_last_error(), error_insufficient_buffer);
    script.log.fail("GetTempPathW", 8);
    EXPECT_EQ(files.temp_folder(target, path_room), 0u);
    EXPECT_EQ(get_last_error(), 8u);

    script.files.files.insert(u"C:\\T\\_cwA1B2.tmp");
    EXPECT_EQ(files.temp_file_name(u"C:\\T\\", u"_cw", 0, target), 0xA1B3u);
    EXPECT_EQ(std::u16string(target), u"C:\\T\\_cwA1B3.tmp");
    EXPECT_TRUE(script.files.files.contains(target));
    EXPECT_EQ(files.temp_file_name(u"C:\\T", u"_cw", 0, target), 0xA1B4u);
    EXPECT_EQ(files.temp_file_name(u"/t", u"_cw", 0xFFFFFFFF, target), 0xFFFFFFFFu);
    EXPECT_EQ(std::u16string(target), u"/t/_cwFFFFFFFF.tmp");
    EXPECT_FALSE(script.files.files.contains(target));

    script.log.fail("GetTempFileNameW C:\\T _cw 0", 5);
    EXPECT_EQ(files.temp_file_name(u"C:\\T", u"_cw", 0, target), 0u);
    EXPECT_EQ(get_last_error(), 5u);
    EXPECT_EQ(std::u16string(target), u"C:\\T\\_cwA1B5.tmp");
    EXPECT_FALSE(script.files.files.contains(target));
    target[0] = 0;
    EXPECT_EQ(files.temp_file_name(std::u16string(260, u'n').c_str(), u"_cw", 1, target), 0u);
    EXPECT_EQ(get_last_error(), error_name_too_long);
    EXPECT_EQ(target[0], u'\0');
    EXPECT_EQ(script.log.lines[3], "GetTempFileNameW C:\\T\\ _cw 0");
    EXPECT_EQ(script.log.lines[5], "GetTempFileNameW /t _cw 4294967295");
}

class scripted_open_files : public testing::Test {
protected:
    scripted_services script;
    open_files& files = *current().open;

    file_handle open_file(const char16_t* path, std::uint32_t access, std::uint32_t disposition)
    {
        return files.create_file(path, access, file_share_read, nullptr, disposition, file_attribute_normal, 0);
    }
};

TEST_F(scripted_open_files, keep_to_the_disposition)
{
    struct row {
        std::uint32_t disposition;
        std::uint32_t error_where_absent;
        std::uint32_t error_where_present;
        const char* left_where_present;
    };
    for (const row& expected :
         {row{create_new, 0, 80, "old"}, row{create_always, 0, 0, ""}, row{open_existing, 2, 0, "old"},
          row{open_always, 0, 0, "old"}, row{truncate_existing, 2, 0, ""}}) {
        SCOPED_TRACE(expected.disposition);
        script.files.files.clear();
        script.files.add_file(u"present", "old");
        for (const auto& [name, error] :
             {std::pair{u"absent", expected.error_where_absent}, {u"present", expected.error_where_present}}) {
            set_last_error(0);
            const file_handle file = open_file(name, generic_write, expected.disposition);
            EXPECT_EQ(file == invalid_file_handle, error != 0);
            EXPECT_EQ(get_last_error(), error);
        }
        EXPECT_EQ(script.files.files.contains(u"absent"), expected.error_where_absent == 0);
        EXPECT_EQ(script.files.contents[u"present"], expected.left_where_present);
    }
    script.files.folders.insert(u"folder");
    EXPECT_EQ(open_file(u"folder", generic_write, create_always), invalid_file_handle);
    EXPECT_EQ(get_last_error(), error_access_denied);
}

TEST_F(scripted_open_files, write_read_and_close)
{
    const file_handle file = open_file(u"C:\\f", generic_read | generic_write, create_always);
    std::uint32_t count = 0;
    EXPECT_TRUE(files.write(file, "hello", 5, &count));
    EXPECT_EQ(count, 5u);
    EXPECT_EQ(script.open.position(file), 5u);
    EXPECT_EQ(script.files.contents[u"C:\\f"], "hello");
    EXPECT_EQ(files.seek(file, 1, nullptr, seek_begin), 1u);
    char bytes[8] = {};
    EXPECT_TRUE(files.read(file, bytes, 8, &count));
    EXPECT_EQ(std::string(bytes, count), "ello");
    EXPECT_TRUE(files.read(file, bytes, 8, &count));
    EXPECT_EQ(count, 0u);
    script.open.longest_read = 2;
    EXPECT_EQ(files.seek(file, -3, nullptr, seek_end), 2u);
    EXPECT_TRUE(files.read(file, bytes, 8, &count));
    EXPECT_EQ(std::string(bytes, count), "ll");
    EXPECT_EQ(files.size(file, nullptr), 5u);
    EXPECT_TRUE(files.close(file));
    EXPECT_EQ(script.open.open_handles(), 0u);
    EXPECT_TRUE(current().files->delete_file(u"C:\\f"));
    EXPECT_TRUE(script.files.contents.empty());
    EXPECT_THAT(script.log.take(),
                ElementsAre("CreateFileW C:\\f 0xC0000000 0x00000001 2 0x00000080", "WriteFile 5",
                            "SetFilePointer 1 null 0", "ReadFile 8", "ReadFile 8", "SetFilePointer -3 null 2",
                            "ReadFile 8", "GetFileSize", "CloseHandle", "DeleteFileW C:\\f"));
}

TEST_F(scripted_open_files, keep_to_the_access_and_to_what_is_open)
{
    script.files.add_file(u"f", "x");
    char bytes[1];
    std::uint32_t count = 9;
    const file_handle reader = open_file(u"f", generic_read, open_existing);
    const file_handle writer = open_file(u"f", generic_write, open_existing);
    EXPECT_EQ(script.open.open_handles(), 2u);
    EXPECT_FALSE(files.write(reader, "y", 1, &count));
    EXPECT_EQ(get_last_error(), error_access_denied);
    EXPECT_EQ(count, 0u);
    set_last_error(0);
    EXPECT_FALSE(files.read(writer, bytes, 1, &count));
    EXPECT_EQ(get_last_error(), error_access_denied);

    const auto expect_invalid = [](bool failed) {
        EXPECT_TRUE(failed);
        EXPECT_EQ(get_last_error(), error_invalid_handle);
        set_last_error(0);
    };
    expect_invalid(!files.read(invalid_file_handle, bytes, 1, &count));
    expect_invalid(!files.write(invalid_file_handle, bytes, 1, &count));
    expect_invalid(files.seek(invalid_file_handle, 0, nullptr, seek_begin) == invalid_file_position);
    expect_invalid(files.size(invalid_file_handle, nullptr) == invalid_file_position);
    expect_invalid(!files.close(invalid_file_handle));
}

TEST_F(scripted_open_files, fail_when_told)
{
    script.files.add_file(u"f", "abc");
    script.log.fail("CreateFileW f", 32, 2);
    const file_handle file = open_file(u"f", generic_read | generic_write, open_existing);
    EXPECT_EQ(open_file(u"f", generic_read, open_existing), invalid_file_handle);
    EXPECT_EQ(get_last_error(), 32u);

    char bytes[4];
    std::uint32_t count = 9;
    script.log.fail("ReadFile", 23, 1);
    EXPECT_FALSE(files.read(file, bytes, 4, &count));
    EXPECT_EQ(get_last_error(), 23u);
    EXPECT_EQ(count, 0u);
    script.open.kept_of_failed_read = 2;
    script.log.fail("ReadFile", 23, 1);
    EXPECT_FALSE(files.read(file, bytes, 4, &count));
    EXPECT_EQ(std::string_view(bytes, count), "ab");
    EXPECT_TRUE(files.read(file, bytes, 4, &count));
    EXPECT_EQ(std::string_view(bytes, count), "c");

    script.open.kept_of_failed_write = 2;
    script.log.fail("WriteFile", 112, 2);
    EXPECT_TRUE(files.write(file, "d", 1, &count));
    EXPECT_FALSE(files.write(file, "efgh", 4, &count));
    EXPECT_EQ(get_last_error(), 112u);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(script.files.contents[u"f"], "abcdef");

    script.log.fail("SetFilePointer 0 null", 0, 1);
    set_last_error(9);
    EXPECT_EQ(files.seek(file, 0, nullptr, seek_begin), invalid_file_position);
    EXPECT_EQ(get_last_error(), 0u);
    EXPECT_EQ(script.open.position(file), 6u);
    script.log.fail("GetFileSize", 21);
    EXPECT_EQ(files.size(file, nullptr), invalid_file_position);
    EXPECT_EQ(get_last_error(), 21u);

    script.log.fail("CloseHandle", 6);
    EXPECT_FALSE(files.close(file));
    EXPECT_EQ(get_last_error(), 6u);
    EXPECT_EQ(script.open.open_handles(), 0u);
}

TEST_F(scripted_open_files, have_sizes_of_two_halves)
{
    script.files.add_file(u"f", "abc");
    script.open.sizes[u"f"] = 0x1'FFFF'FFFF;
    const file_handle file = open_file(u"f", generic_read, open_existing);
    std::uint32_t size_high = 0;
    set_last_error(9);
    EXPECT_EQ(files.size(file, &size_high), 0xFFFFFFFFu);
    EXPECT_EQ(size_high, 1u);
    EXPECT_EQ(get_last_error(), 0u);
    std::int32_t high = 0;
    set_last_error(9);
    EXPECT_EQ(files.seek(file, 0, &high, seek_end), 0xFFFFFFFFu);
    EXPECT_EQ(high, 1);
    EXPECT_EQ(get_last_error(), 0u);
    high = -1;
    EXPECT_EQ(files.seek(file, -1, &high, seek_current), 0xFFFFFFFEu);
    EXPECT_EQ(high, 1);
    EXPECT_EQ(files.seek(file, 0, nullptr, seek_current), invalid_file_position);
    EXPECT_EQ(get_last_error(), error_invalid_parameter);
    EXPECT_EQ(files.seek(file, -1, nullptr, seek_begin), invalid_file_position);
    EXPECT_EQ(get_last_error(), error_negative_seek);
    EXPECT_EQ(script.log.lines[2], "SetFilePointer 0 0 2");
    EXPECT_EQ(script.log.lines[3], "SetFilePointer -1 -1 1");
}

TEST(scripted_services, the_system_s_module_can_lose_and_gain_entries)
{
    scripted_services script;
    loader& libraries = *current().libraries;
    void* module = libraries.module_handle(u"kernel32.dll");
    EXPECT_EQ(module, &script.libraries.system_module);
    EXPECT_EQ(libraries.module_handle(u"kernel32"), module);
    for (const char* name : {"CreateDirectoryW", "CreateFileW", "DeleteFileW", "FindFirstFileW", "GetFileAttributesW",
                             "GetNativeSystemInfo"}) {
        EXPECT_NE(libraries.find_export(module, name), nullptr) << name;
        EXPECT_EQ(libraries.find_export(module, name), find_system_entry(name)) << name;
    }
    int narrow = 0;
    script.libraries.system_module.exports.erase("CreateFileW");
    script.libraries.system_module.exports["CreateFileA"] = &narrow;
    EXPECT_EQ(libraries.find_export(module, "CreateFileW"), nullptr);
    EXPECT_EQ(get_last_error(), error_proc_not_found);
    EXPECT_EQ(libraries.find_export(module, "CreateFileA"), &narrow);

    EXPECT_EQ(libraries.module_handle(u"other.dll"), nullptr);
    EXPECT_EQ(get_last_error(), error_mod_not_found);
    script.libraries.add_library(u"other.dll", "entry", &narrow);
    EXPECT_EQ(libraries.find_export(libraries.module_handle(u"other.dll"), "entry"), &narrow);
    script.log.fail("GetModuleHandleW kernel32.dll", 8);
    EXPECT_EQ(libraries.module_handle(u"kernel32.dll"), nullptr);
    EXPECT_EQ(get_last_error(), 8u);
    EXPECT_EQ(script.log.lines.back(), "GetModuleHandleW kernel32.dll");
}

TEST(scripted_services, the_system_s_folders)
{
    scripted_services script;
    system_information& system = *current().system;
    system_info info;
    system.info(&info);
    EXPECT_EQ(info.processor_architecture, processor_architecture_intel);
    char16_t target[path_room] = {};
    EXPECT_EQ(system.windows_folder(target, path_room), 10u);
    EXPECT_EQ(std::u16string(target), u"C:\\Windows");
    EXPECT_EQ(system.system_folder(target, path_room), 19u);
    EXPECT_EQ(std::u16string(target), u"C:\\Windows\\System32");
    script.log.fail("GetWindowsDirectoryW", 5);
    script.log.fail("GetSystemDirectoryW", 6);
    EXPECT_EQ(system.windows_folder(target, path_room), 0u);
    EXPECT_EQ(get_last_error(), 5u);
    EXPECT_EQ(system.system_folder(target, path_room), 0u);
    EXPECT_EQ(get_last_error(), 6u);
    EXPECT_THAT(script.log.take(), ElementsAre("GetSystemInfo", "GetWindowsDirectoryW", "GetSystemDirectoryW",
                                               "GetWindowsDirectoryW", "GetSystemDirectoryW"));
}

TEST(scripted_services, identifiers)
{
    scripted_services script;
    unique_ids& ids = *current().ids;
    script.ids.ids.push_back(IID_IDispatch);
    GUID id{};
    EXPECT_EQ(ids.create(&id), 0u);
    EXPECT_EQ(id, IID_IDispatch);
    EXPECT_EQ(ids.create(&id), 0u);
    EXPECT_EQ(id, (GUID{1, 0, 0, {}}));
    EXPECT_EQ(ids.create(&id), 0u);
    EXPECT_EQ(id, (GUID{2, 0, 0, {}}));
    script.log.fail("UuidCreate", 1739);
    EXPECT_EQ(ids.create(&id), 1739u);
    EXPECT_EQ(id, (GUID{2, 0, 0, {}}));

    char16_t* text = nullptr;
    const GUID letters{0xABCDEF01, 0, 0, {0xFF}};
    EXPECT_EQ(ids.to_text(&letters, &text), 0u);
    EXPECT_EQ(std::u16string(text), u"abcdef01-0000-0000-ff00-000000000000");
    EXPECT_EQ(script.ids.texts_not_released(), 1u);
    ids.release(&text);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(script.ids.texts_not_released(), 0u);
    script.log.fail("UuidToStringW", 14);
    EXPECT_EQ(ids.to_text(&id, &text), 14u);
    EXPECT_THAT(script.log.take(), ElementsAre("UuidCreate", "UuidCreate", "UuidCreate", "UuidCreate", "UuidToStringW",
                                               "RpcStringFreeW", "UuidToStringW"));
}

TEST(scripted_services, calls_fail_without_a_line_where_nobody_wants_it)
{
    scripted_services script;
    script.log.fail("Quiet 1", 5, 2);
    EXPECT_EQ(script.log.add_fallible_if(false, "Quiet", u"1"), std::nullopt);
    EXPECT_EQ(script.log.add_fallible_if(false, "Quiet", u"2"), std::nullopt);
    EXPECT_EQ(script.log.add_fallible_if(false, "Quiet", u"1"), 5u);
    EXPECT_TRUE(script.log.lines.empty());
    EXPECT_EQ(script.log.add_fallible_if(true, "Quiet", u"1"), std::nullopt);
    script.log.add("Other");
    script.log.add("Third", u"3");
    EXPECT_THAT(script.log.of({"Third", "Quiet"}), ElementsAre("Quiet 1", "Third 3"));
    EXPECT_EQ(cw::test_support::text_or_null(nullptr), u"null");
    EXPECT_EQ(cw::test_support::text_or_null(u""), u"\"\"");
    EXPECT_EQ(cw::test_support::text_or_null(u"a"), u"a");
}

TEST(scripted_services, settings_of_the_person_are_their_own)
{
    scripted_services script;
    script.user_keys.keys[u"Software\\X"][u"Dir"] = u"ab";
    script.user_keys.tells_room = true;
    settings_key key = nullptr;
    EXPECT_NE(current().machine->open_key(u"Software\\X", 0x20019, &key), 0u);
    ASSERT_EQ(current().user_keys->open_key(u"Software\\X", 0x20019, &key), 0u);
    char16_t target[3] = {};
    std::uint32_t size = 4;
    EXPECT_EQ(current().user_keys->query_value(key, u"Dir", target, &size), error_more_data);
    EXPECT_EQ(current().user_keys->query_value(key, u"Dir", target, &size), 0u);
    EXPECT_EQ(std::u16string(target), u"ab");
    EXPECT_EQ(script.log.lines[2], "RegQueryValueExW Dir 4");
    EXPECT_EQ(script.log.lines[3], "RegQueryValueExW Dir 6");
}

} // namespace
