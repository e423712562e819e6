#include "platform/posix_services.h"

#include <gtest/gtest.h>

#include <string>

namespace {

const auto rules = cw::platform::make_icu_text_rules("");

TEST(icu_text_rules, raises_a_code_unit_by_itself)
{
    EXPECT_EQ(rules->to_upper(u'a'), u'A');
    EXPECT_EQ(rules->to_upper(u'A'), u'A');
    EXPECT_EQ(rules->to_upper(u'1'), u'1');
    EXPECT_EQ(rules->to_upper(u'\u00E9'), u'\u00C9');
    EXPECT_EQ(rules->to_upper(u'\u0436'), u'\u0416');
    // One character would become two.
    EXPECT_EQ(rules->to_upper(u'\u00DF'), u'\u00DF');
    EXPECT_EQ(rules->to_upper(0xD800), 0xD800);
    EXPECT_EQ(rules->to_lower(u'A'), u'a');
    EXPECT_EQ(rules->to_lower(u'a'), u'a');
    EXPECT_EQ(rules->to_lower(u'\u0416'), u'\u0436');
    EXPECT_EQ(rules->to_lower(0xD800), 0xD800);
}

TEST(icu_text_rules, compares_without_case)
{
    EXPECT_EQ(rules->compare_no_case(u"Abc", u"aBC", 3), 0);
    EXPECT_EQ(rules->compare_no_case(u"\u00C9t\u00C9", u"\u00E9T\u00E9", 3), 0);
    EXPECT_LT(rules->compare_no_case(u"abc", u"ABD", 3), 0);
    EXPECT_GT(rules->compare_no_case(u"abd", u"ABC", 3), 0);
    // The underscore stands before the letters, as in their lower case.
    EXPECT_LT(rules->compare_no_case(u"_", u"A", 1), 0);
}

TEST(icu_text_rules, compares_up_to_the_count)
{
    EXPECT_EQ(rules->compare_no_case(u"abX", u"abY", 2), 0);
    EXPECT_EQ(rules->compare_no_case(u"a", u"b", 0), 0);
    EXPECT_NE(rules->compare_no_case(u"abX", u"abY", 3), 0);
}

TEST(icu_text_rules, stops_behind_a_common_terminator)
{
    EXPECT_EQ(rules->compare_no_case(u"a\0x", u"A\0y", 3), 0);
    EXPECT_LT(rules->compare_no_case(u"a\0x", u"ab", 2), 0);
    EXPECT_GT(rules->compare_no_case(u"ab", u"a", 2), 0);
}

TEST(icu_text_rules, sort_keys_order_like_a_dictionary)
{
    const auto key = [](std::u16string_view text) { return rules->sort_key(text); };
    EXPECT_EQ(key(u"File"), key(u"fILE"));
    EXPECT_LT(key(u"apple"), key(u"Banana"));
    EXPECT_LT(key(u"Apple"), key(u"banana"));
    EXPECT_LT(key(u"cote"), key(u"cot\u00E9"));
    EXPECT_LT(key(u"cot\u00E9"), key(u"cotf"));
    EXPECT_LT(key(u""), key(u"a"));
    EXPECT_LT(key(u"a"), key(u"aa"));
    EXPECT_EQ(key(std::u16string(5000, u'a')), key(std::u16string(5000, u'A')));
    EXPECT_LT(key(std::u16string(5000, u'\u4E2D') + u"a"), key(std::u16string(5000, u'\u4E2D') + u"b"));
}

TEST(icu_text_rules, follows_the_language)
{
    const auto swedish = cw::platform::make_icu_text_rules("sv_SE");
    EXPECT_GT(swedish->sort_key(u"\u00E4"), swedish->sort_key(u"z"));
    EXPECT_LT(rules->sort_key(u"\u00E4"), rules->sort_key(u"z"));
}

} // namespace
