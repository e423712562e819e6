#include "platform/temp_folder.h"

#include "platform/utf8.h"

#include "tests/support/surroundings.h"

#include <gtest/gtest.h>

namespace {

using cw::platform::temp_folder_of_environment;
using cw::test_support::environment_variable;

std::u16string folder_for(const std::string& value)
{
    const environment_variable variable("TMPDIR", value);
    return temp_folder_of_environment();
}

TEST(temp_folder, is_where_the_environment_wants_it)
{
    EXPECT_EQ(folder_for("/var/tmp"), u"/var/tmp/");
    EXPECT_EQ(folder_for("/not there"), u"/not there/");
    EXPECT_EQ(folder_for("/\xC3\xA9\xFF"), std::u16string(u"/\u00E9") + char16_t(0xDCFF) + u"/");
}

TEST(temp_folder, begins_with_one_separator)
{
    EXPECT_EQ(folder_for("//var/tmp"), u"/var/tmp/");
    EXPECT_EQ(folder_for("////var//tmp//"), u"/var//tmp/");
}

TEST(temp_folder, ends_in_one_separator)
{
    EXPECT_EQ(folder_for("/var/tmp/"), u"/var/tmp/");
    EXPECT_EQ(folder_for("/var//tmp///"), u"/var//tmp/");
    EXPECT_EQ(folder_for("/"), u"/");
    EXPECT_EQ(folder_for("///"), u"/");
}

TEST(temp_folder, is_the_system_s_where_the_environment_names_none)
{
    EXPECT_EQ(folder_for(""), u"/tmp/");
    EXPECT_EQ(folder_for("relative/folder"), u"/tmp/");
    EXPECT_EQ(folder_for("C:\\Temp"), u"/tmp/");
    const environment_variable restored("TMPDIR", "");
    unsetenv("TMPDIR");
    EXPECT_EQ(temp_folder_of_environment(), u"/tmp/");
}

TEST(temp_folder, leaves_room_for_names)
{
    const std::string longest = "/" + std::string(244, 'n');
    EXPECT_EQ(folder_for(longest), cw::platform::from_utf8(longest) + u"/");
    EXPECT_EQ(folder_for(longest + "/"), cw::platform::from_utf8(longest) + u"/");
    EXPECT_EQ(folder_for(longest + "n"), u"/tmp/");
    // The room is one of code units, not of bytes.
    std::string wide = "/";
    for (int i = 0; i < 244; ++i)
        wide += "\xE4\xB8\xAD";
    EXPECT_EQ(folder_for(wide).size(), 246u);
}

} // namespace
