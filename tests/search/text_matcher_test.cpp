#include "search/text_matcher.h"

#include "tests/support/scripted_services.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace cw {
namespace {

bool matches(std::u16string_view text, std::u16string_view candidate)
{
    return text_matcher(text).is_in(candidate);
}

TEST(text_matcher, finds_a_part_anywhere)
{
    EXPECT_TRUE(matches(u"ab", u"ab"));
    EXPECT_TRUE(matches(u"ab", u"abc"));
    EXPECT_TRUE(matches(u"bc", u"abc"));
    EXPECT_TRUE(matches(u"b", u"abc"));
    EXPECT_FALSE(matches(u"ac", u"abc"));
    EXPECT_FALSE(matches(u"abc", u"ab"));
    EXPECT_FALSE(matches(u"a", u""));
    EXPECT_TRUE(matches(u"", u""));
    EXPECT_TRUE(text_matcher().is_in(u"anything"));
}

TEST(text_matcher, knows_no_words)
{
    EXPECT_TRUE(matches(u"not inst", u"not installed"));
    EXPECT_TRUE(matches(u"t i", u"not installed"));
    EXPECT_TRUE(matches(u"*", u"a*b"));
    EXPECT_FALSE(matches(u"a*b", u"aab"));
}

TEST(text_matcher, takes_code_units_as_they_come)
{
    using namespace std::string_view_literals;
    // A zero ends no text.
    EXPECT_TRUE(matches(u"behind", u"a\0behind"sv));
    EXPECT_TRUE(matches(u"a\0B"sv, u"a\0bc"sv));
    EXPECT_FALSE(matches(u"a\0c"sv, u"a\0bc"sv));
    // Halves of a pair are found in it, and have no case.
    EXPECT_TRUE(matches(u"\xD83D", u"\U0001F600"));
    EXPECT_TRUE(matches(u"\xDE00", u"\U0001F600"));
    EXPECT_TRUE(matches(u"\xD83D", u"\xD83D"));
    EXPECT_FALSE(matches(u"\xD83D", u"\xDE00"));
    EXPECT_FALSE(matches(u"\U00010400", u"\U00010428"));
}

TEST(text_matcher, goes_without_case_on_both_sides)
{
    EXPECT_TRUE(matches(u"NOT Installed", u"a Not inSTALLED b"));
    EXPECT_TRUE(matches(u"\u00C4pfel", u"die \u00E4PFEL"));
    EXPECT_TRUE(matches(u"\u0416", u"\u0436"));
    EXPECT_FALSE(matches(u"\u00C4", u"a"));
    // Neighbours of the letters have no case.
    EXPECT_FALSE(matches(u"@", u"`"));
    EXPECT_FALSE(matches(u"[", u"{"));
    EXPECT_EQ(text_matcher(u"NOT \u00C4 1").text(), u"not \u00E4 1");
}

TEST(text_matcher, starts_again_inside_what_has_matched)
{
    EXPECT_TRUE(matches(u"aab", u"aaab"));
    EXPECT_TRUE(matches(u"abab", u"abaabab"));
    EXPECT_TRUE(matches(u"aabaaa", u"aabaabaaa"));
    EXPECT_FALSE(matches(u"aabaaa", u"aabaabaa"));
}

TEST(text_matcher, finds_what_a_plain_search_finds)
{
    std::mt19937 random(7);
    const auto text_of = [&random](std::size_t longest) {
        std::u16string text(random() % (longest + 1), u' ');
        for (char16_t& unit : text)
            unit = u"aAbB"[random() % 4];
        return text;
    };
    const auto lower = [](std::u16string text) {
        for (char16_t& unit : text)
            unit = unit == u'A' ? u'a' : unit == u'B' ? u'b' : unit;
        return text;
    };
    for (int i = 0; i < 5'000; ++i) {
        const std::u16string text = text_of(6);
        const std::u16string candidate = text_of(20);
        EXPECT_EQ(matches(text, candidate), lower(candidate).find(lower(text)) != std::u16string::npos);
    }
}

// A search that began anew at every place would take hours.
TEST(text_matcher, reads_long_texts_once)
{
    constexpr std::size_t million = 1'000'000;
    const text_matcher matcher(std::u16string(million, u'a') + u'b');
    EXPECT_FALSE(matcher.is_in(std::u16string(2 * million, u'A')));
    EXPECT_TRUE(matcher.is_in(std::u16string(2 * million, u'A') + u'B'));
}

} // namespace
} // namespace cw
