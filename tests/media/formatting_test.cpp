#include "media/formatting.h"

#include <gtest/gtest.h>

#include <ostream>

namespace cw {

// Makes a failing comparison readable.
void PrintTo(const string& text, std::ostream* out)
{
    *out << '"' << string(text).narrow() << '"';
}

namespace {

TEST(format_overwrite, whole_values_come_before_bits)
{
    EXPECT_EQ(FormatOverwrite(1), u"ALWAYS_OVERWRITE");
    EXPECT_EQ(FormatOverwrite(2), u"NEVER_OVERWRITE");
    EXPECT_EQ(FormatOverwrite(3), u"");
    EXPECT_EQ(FormatOverwrite(0), u"");
}

TEST(format_overwrite, each_bit_has_its_keyword)
{
    EXPECT_EQ(FormatOverwrite(0x100), u"SAME_VERSION");
    EXPECT_EQ(FormatOverwrite(0x200), u"NEWER_VERSION");
    EXPECT_EQ(FormatOverwrite(0x400), u"OLDER_VERSION");
    EXPECT_EQ(FormatOverwrite(0x10), u" / SAME_DATE");
    EXPECT_EQ(FormatOverwrite(0x20), u" / NEWER_DATE");
    EXPECT_EQ(FormatOverwrite(0x40), u" / OLDER_DATE");
}

TEST(format_overwrite, older_replaces_newer_and_same_is_added)
{
    EXPECT_EQ(FormatOverwrite(0x600), u"OLDER_VERSION");
    EXPECT_EQ(FormatOverwrite(0x300), u"NEWER_VERSION, SAME_VERSION");
    EXPECT_EQ(FormatOverwrite(0x710), u"OLDER_VERSION, SAME_VERSION / SAME_DATE");
    EXPECT_EQ(FormatOverwrite(0x120), u"SAME_VERSION / NEWER_DATE");
    EXPECT_EQ(FormatOverwrite(0x60), u" / OLDER_DATE");
    EXPECT_EQ(FormatOverwrite(0x770), u"OLDER_VERSION, SAME_VERSION / OLDER_DATE, SAME_DATE");
}

TEST(format_overwrite, bits_without_a_keyword_say_nothing)
{
    EXPECT_EQ(FormatOverwrite(0x880F), u"");
    EXPECT_EQ(FormatOverwrite(0x101), u"SAME_VERSION");
    EXPECT_EQ(FormatOverwrite(static_cast<std::int32_t>(0x80000200)), u"NEWER_VERSION");
}

TEST(format_file_need, has_three_words)
{
    EXPECT_EQ(FormatFileNeed(1), u"Critical");
    EXPECT_EQ(FormatFileNeed(2), u"Highly Recommended");
    EXPECT_EQ(FormatFileNeed(4), u"Standard");
    for (const std::int32_t other : {0, 3, 5, 8, -1})
        EXPECT_EQ(FormatFileNeed(other), u"") << other;
}

TEST(format_language, reads_hexadecimal_text_and_shows_decimal)
{
    EXPECT_EQ(FormatLanguage(u"0409"), u"1033");
    EXPECT_EQ(FormatLanguage(u"040C"), u"1036");
    EXPECT_EQ(FormatLanguage(u"040c"), u"1036");
    EXPECT_EQ(FormatLanguage(u" 0x409 rest"), u"1033");
    EXPECT_EQ(FormatLanguage(u"409;40C"), u"1033");
    EXPECT_EQ(FormatLanguage(u"-1"), u"-1");
    EXPECT_EQ(FormatLanguage(u"+7"), u"7");
}

TEST(format_language, zero_and_no_number_are_not_available)
{
    for (const char16_t* text : {u"", u"0", u"0000", u"neutral", u"x409", u"-", u"0x"})
        EXPECT_EQ(FormatLanguage(text), u"n/a");
}

TEST(format_language, holds_at_the_limits_of_32_bits)
{
    EXPECT_EQ(FormatLanguage(u"FFFFFFFF"), u"2147483647");
    EXPECT_EQ(FormatLanguage(u"7FFFFFFF"), u"2147483647");
    EXPECT_EQ(FormatLanguage(u"-80000000"), u"-2147483648");
    EXPECT_EQ(FormatLanguage(u"123456789ABCDEF0123456789"), u"2147483647");
}

} // namespace
} // namespace cw
