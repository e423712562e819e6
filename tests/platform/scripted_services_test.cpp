#include "tests/support/scripted_services.h"

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

} // namespace
