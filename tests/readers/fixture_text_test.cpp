#include "readers/fixture/text.h"

#include <gtest/gtest.h>

using namespace cw::fixture;

TEST(FixtureText, TurnsEveryLengthOfCodePointBothWays)
{
    const std::string utf8 = "a\xC3\xBC\xE2\x82\xAC\xF0\x9F\x93\xA6z";
    const std::u16string utf16 = u"a\u00FC\u20AC\U0001F4E6z";
    EXPECT_EQ(to_utf16(utf8), utf16);
    EXPECT_EQ(to_utf8(utf16), utf8);
}

TEST(FixtureText, KeepsEmbeddedZeros)
{
    EXPECT_EQ(to_utf16(std::string_view("a\0b", 3)), std::u16string_view(u"a\0b", 3));
    EXPECT_EQ(to_utf8(std::u16string_view(u"a\0b", 3)), std::string_view("a\0b", 3));
}

TEST(FixtureText, ReplacesBytesThatAreNoText)
{
    EXPECT_EQ(to_utf16("\x80"), u"\uFFFD");
    EXPECT_EQ(to_utf16("\xFF!"), u"\uFFFD!");
    EXPECT_EQ(to_utf16("\xC3"), u"\uFFFD") << "cut off";
    EXPECT_EQ(to_utf16("\xC3("), u"\uFFFD(") << "no continuation";
    EXPECT_EQ(to_utf16("\xC0\x80"), u"\uFFFD\uFFFD") << "overlong";
    EXPECT_EQ(to_utf16("\xE0\x80\x80"), u"\uFFFD\uFFFD\uFFFD") << "overlong";
    EXPECT_EQ(to_utf16("\xED\xA0\x80"), u"\uFFFD\uFFFD\uFFFD") << "surrogate";
    EXPECT_EQ(to_utf16("\xF4\x90\x80\x80"), u"\uFFFD\uFFFD\uFFFD\uFFFD") << "beyond the last code point";
}

TEST(FixtureText, ReplacesLoneSurrogates)
{
    EXPECT_EQ(to_utf8(std::u16string{0xD800}), "\xEF\xBF\xBD");
    EXPECT_EQ(to_utf8(std::u16string{0xDC00, u'a'}), "\xEF\xBF\xBD"
                                                     "a");
    EXPECT_EQ(to_utf8(std::u16string{0xD800, u'a'}), "\xEF\xBF\xBD"
                                                     "a");
}

TEST(FixtureText, ReachesTheLastCodePoint)
{
    EXPECT_EQ(to_utf16("\xF4\x8F\xBF\xBF"), (std::u16string{0xDBFF, 0xDFFF}));
    EXPECT_EQ(to_utf8(std::u16string{0xDBFF, 0xDFFF}), "\xF4\x8F\xBF\xBF");
}
