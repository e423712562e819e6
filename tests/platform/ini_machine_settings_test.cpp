#include "platform/last_error.h"
#include "platform/posix_services.h"

#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

using namespace cw::platform;
using cw::test_support::temporary_folder;

constexpr const char16_t* current_version = u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion";
constexpr std::uint32_t key_read = 0x20019;

std::u16string value_of(machine_settings& settings, const char16_t* path, const char16_t* name)
{
    settings_key key = nullptr;
    if (settings.open_key(path, key_read, &key) != error_success)
        return u"<no key>";
    char16_t text[260] = {};
    std::uint32_t size_in_bytes = sizeof text;
    const std::uint32_t result = settings.query_value(key, name, text, &size_in_bytes);
    settings.close_key(key);
    if (result != error_success)
        return u"<no value>";
    EXPECT_EQ(size_in_bytes, (std::u16string_view(text).size() + 1) * 2);
    return text;
}

TEST(ini_machine_settings, has_the_installation_s_own_entry_without_a_file)
{
    const auto settings = make_ini_machine_settings("/nonexistent/machine.ini", u"/opt/viewer/lib");
    EXPECT_EQ(value_of(*settings, current_version, u"CommonFilesDir"), u"/opt/viewer/lib");
    EXPECT_EQ(value_of(*settings, current_version, u"ProgramFilesDir"), u"<no value>");
    EXPECT_EQ(value_of(*settings, u"SOFTWARE\\Other", u"CommonFilesDir"), u"<no key>");
}

TEST(ini_machine_settings, the_file_has_the_last_word)
{
    const temporary_folder folder;
    const auto file = folder.write("machine.ini", "[software\\microsoft\\windows\\currentversion]\n"
                                                  "commonfilesdir = C:\\Common Files\\\n"
                                                  "[Own\\Key]\nName=\xC3\xA9\xFF\n");
    const auto settings = make_ini_machine_settings(file, u"/opt/viewer/lib");
    EXPECT_EQ(value_of(*settings, current_version, u"CommonFilesDir"), u"C:\\Common Files\\");
    EXPECT_EQ(value_of(*settings, u"OWN\\KEY", u"NAME"), std::u16string(u"\u00E9") + char16_t(0xDCFF));
}

TEST(ini_machine_settings, what_is_no_file_of_settings_counts_as_an_empty_one)
{
    const temporary_folder folder;
    ASSERT_EQ(mkfifo(folder.file("pipe").c_str(), 0600), 0);
    const std::string entry = "[SOFTWARE\\Microsoft\\Windows\\CurrentVersion]\nCommonFilesDir=/of/the/file\n";
    const std::string padding = std::string(1 << 20, ';') + "\n";
    for (const std::string& file :
         {folder.file("pipe"), std::string("/dev/zero"), folder.path().native(), folder.write("long", entry + padding)})
        EXPECT_EQ(value_of(*make_ini_machine_settings(file, u"/lib"), current_version, u"CommonFilesDir"), u"/lib")
            << file;
}

TEST(ini_machine_settings, an_installation_that_is_not_known_has_no_entry)
{
    const auto settings = make_ini_machine_settings("/nonexistent/machine.ini", u"");
    EXPECT_EQ(value_of(*settings, current_version, u"CommonFilesDir"), u"<no key>");
}

TEST(ini_machine_settings, tells_the_errors_of_the_calls)
{
    const auto settings = make_ini_machine_settings("/nonexistent/machine.ini", u"/lib");
    settings_key key = &key;
    EXPECT_EQ(settings->open_key(u"none", key_read, &key), error_file_not_found);
    EXPECT_EQ(key, nullptr);
    ASSERT_EQ(settings->open_key(current_version, key_read, &key), error_success);

    char16_t text[5] = u"####";
    std::uint32_t size_in_bytes = 8;
    EXPECT_EQ(settings->query_value(key, u"CommonFilesDir", text, &size_in_bytes), error_more_data);
    EXPECT_EQ(size_in_bytes, 10u);
    EXPECT_EQ(text[0], u'#');
    size_in_bytes = 0;
    EXPECT_EQ(settings->query_value(key, u"CommonFilesDir", nullptr, &size_in_bytes), error_success);
    EXPECT_EQ(size_in_bytes, 10u);
    EXPECT_EQ(settings->query_value(key, u"CommonFilesDir", text, &size_in_bytes), error_success);
    EXPECT_EQ(std::u16string_view(text), u"/lib");
    EXPECT_EQ(settings->query_value(key, u"none", text, &size_in_bytes), error_file_not_found);
    settings->close_key(key);
}

} // namespace
