#include "platform/last_error.h"
#include "platform/posix_services.h"

#include <gtest/gtest.h>

#include <sys/utsname.h>

namespace {

using namespace cw::platform;

TEST(posix_system_information, knows_the_machine)
{
    utsname names{};
    ASSERT_EQ(uname(&names), 0);
    const std::string machine = names.machine;
    const std::uint16_t expected = machine == "x86_64" && sizeof(void*) == 8 ? 9 : machine == "ia64" ? 6 : 0xFFFF;
    system_info found{1};
    make_posix_system_information()->info(&found);
    EXPECT_EQ(found.processor_architecture, expected);
}

TEST(posix_system_information, knows_the_folders_of_the_system)
{
    const auto system = make_posix_system_information();
    char16_t target[path_room];
    EXPECT_EQ(system->windows_folder(target, path_room), 4u);
    EXPECT_EQ(std::u16string(target), u"/usr");
    EXPECT_EQ(system->system_folder(target, path_room), 8u);
    EXPECT_EQ(std::u16string(target), u"/usr/lib");
}

TEST(posix_system_information, a_folder_that_does_not_fit_is_not_told)
{
    const auto system = make_posix_system_information();
    char16_t target[path_room] = u"#";
    EXPECT_EQ(system->windows_folder(target, 5), 4u);
    target[0] = u'#';
    set_last_error(0);
    EXPECT_EQ(system->windows_folder(target, 4), 0u);
    EXPECT_EQ(get_last_error(), error_insufficient_buffer);
    set_last_error(0);
    EXPECT_EQ(system->system_folder(target, 0), 0u);
    EXPECT_EQ(get_last_error(), error_insufficient_buffer);
    EXPECT_EQ(target[0], u'#');
}

} // namespace
