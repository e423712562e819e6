#include "platform/posix_services.h"

#include "platform/last_error.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using namespace cw::platform;

TEST(posix_services, has_every_member)
{
    const services& set = posix_services();
    EXPECT_NE(set.memory, nullptr);
    EXPECT_NE(set.pages, nullptr);
    EXPECT_NE(set.rules, nullptr);
    EXPECT_NE(set.messages, nullptr);
    EXPECT_NE(set.libraries, nullptr);
    EXPECT_NE(set.files, nullptr);
    EXPECT_NE(set.open, nullptr);
    EXPECT_NE(set.system, nullptr);
    EXPECT_NE(set.ids, nullptr);
    EXPECT_NE(set.network, nullptr);
    EXPECT_NE(set.waits, nullptr);
    EXPECT_NE(set.time, nullptr);
    EXPECT_NE(set.machine, nullptr);
    EXPECT_NE(set.user_keys, nullptr);
    EXPECT_NE(set.user, nullptr);
    EXPECT_NE(set.classes, nullptr);
    EXPECT_NE(set.runtime, nullptr);
    EXPECT_EQ(&posix_services(), &set);
}

TEST(posix_services, common_files_are_in_lib_beside_the_program_s_folder)
{
    if (std::getenv("CW_MACHINE_SETTINGS") || std::filesystem::exists("/etc/cratewright/machine.ini"))
        GTEST_SKIP() << "this machine has settings of its own";
    machine_settings& machine = *posix_services().machine;
    settings_key key = nullptr;
    ASSERT_EQ(machine.open_key(u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion", 0x20019, &key), error_success);
    char16_t text[1024];
    std::uint32_t size_in_bytes = sizeof text;
    ASSERT_EQ(machine.query_value(key, u"CommonFilesDir", text, &size_in_bytes), error_success);
    machine.close_key(key);
    const auto program = std::filesystem::read_symlink("/proc/self/exe");
    EXPECT_EQ(std::u16string(text), (program.parent_path().parent_path() / "lib").u16string());
}

} // namespace
