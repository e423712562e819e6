#include "platform/memory_user_settings.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

using namespace cw::platform;

TEST(memory_user_settings, answers_the_default_until_written)
{
    memory_user_settings settings;
    EXPECT_EQ(settings.read_number(u"S", u"n", 5), 5);
    EXPECT_EQ(settings.read_text(u"S", u"t", u"x"), u"x");
    settings.write_number(u"S", u"n", -3);
    settings.write_text(u"S", u"t", u"");
    EXPECT_EQ(settings.read_number(u"S", u"n", 5), -3);
    EXPECT_EQ(settings.read_text(u"S", u"t", u"x"), u"");
    EXPECT_EQ(settings.read_number(u"Other", u"n", 5), 5);
    settings.remove(u"S", u"n");
    EXPECT_EQ(settings.read_number(u"S", u"n", 5), 5);
}

TEST(memory_user_settings, a_number_is_also_a_text)
{
    memory_user_settings settings;
    settings.write_number(u"S", u"n", 12);
    EXPECT_EQ(settings.read_text(u"S", u"n", u""), u"12");
    settings.write_text(u"S", u"n", u"13");
    EXPECT_EQ(settings.read_number(u"S", u"n", 0), 13);
}

TEST(memory_user_settings, reads_whole_numbers_alone)
{
    EXPECT_EQ(number_from_setting(u"2147483647", 0), INT_MAX);
    EXPECT_EQ(number_from_setting(u"-2147483648", 0), INT_MIN);
    for (const std::u16string_view text : {u"", u" 1", u"1 ", u"+1", u"1.0", u"0x1", u"-", u"2147483648",
                                           u"00000000000000000001", u"\u0661", u"1\u0661"})
        EXPECT_EQ(number_from_setting(text, 77), 77);
    EXPECT_EQ(setting_from_number(INT_MIN), u"-2147483648");
}

} // namespace
