#include "media/sibling_index.h"

#include "foundation/string.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace cw {
namespace {

constexpr HTREEITEM root{1};
constexpr HTREEITEM other{2};

TEST(sibling_index, knows_only_what_it_was_told)
{
    sibling_index index;
    EXPECT_FALSE(index.find(root, u"a"));
    EXPECT_TRUE(index.add(root, u"a", {10}));
    EXPECT_EQ(index.find(root, u"a"), HTREEITEM{10});
    EXPECT_FALSE(index.find(root, u"b"));
    EXPECT_FALSE(index.find(root, u"aa"));
    EXPECT_FALSE(index.find(root, u""));
}

TEST(sibling_index, ignores_case)
{
    sibling_index index;
    index.add(root, u"Software", {10});
    EXPECT_EQ(index.find(root, u"SOFTWARE"), HTREEITEM{10});
    index.add(root, u"\u00C4\u0416", {11});
    EXPECT_EQ(index.find(root, u"\u00E4\u0436"), HTREEITEM{11});
    EXPECT_FALSE(index.find(root, u"A\u0416"));
}

TEST(sibling_index, keeps_parents_apart)
{
    // Two for each of a handle's four units, which differ in that unit alone.
    constexpr HTREEITEM parents[] = {{0x1},         {0x2},         {0x10000},         {0x20000},
                                     {0x100000000}, {0x200000000}, {0x1000000000000}, {0x2000000000000}};
    sibling_index index;
    for (std::uint64_t place = 0; place < std::size(parents); ++place)
        EXPECT_TRUE(index.add(parents[place], u"a", {100 + place}));
    for (std::uint64_t place = 0; place < std::size(parents); ++place)
        EXPECT_EQ(index.find(parents[place], u"a"), HTREEITEM{100 + place});
    EXPECT_FALSE(index.find({0x3}, u"a"));
}

TEST(sibling_index, keeps_the_parent_as_it_is)
{
    // Only texts lose their case: these parents' units are letters of one case and of the other.
    sibling_index index;
    index.add({u'A'}, u"x", {10});
    EXPECT_FALSE(index.find({u'a'}, u"x"));
}

TEST(sibling_index, the_first_of_a_text_stays_the_one_that_is_found)
{
    sibling_index index;
    EXPECT_TRUE(index.add(root, u"a", {10}));
    EXPECT_FALSE(index.add(root, u"A", {11}));
    EXPECT_EQ(index.find(root, u"a"), HTREEITEM{10});
    EXPECT_EQ(index.find(root, u"A"), HTREEITEM{10});
    EXPECT_TRUE(index.add(other, u"A", {12}));
}

TEST(sibling_index, an_empty_text_is_a_text)
{
    sibling_index index;
    EXPECT_TRUE(index.add(root, u"", {10}));
    EXPECT_FALSE(index.add(root, {}, {11}));
    EXPECT_EQ(index.find(root, u""), HTREEITEM{10});
    EXPECT_FALSE(index.find(other, u""));
}

TEST(sibling_index, of_what_follows_a_terminator_the_length_counts)
{
    using namespace std::string_view_literals;
    sibling_index index;
    index.add(root, u"a\0b"sv, {10});
    EXPECT_EQ(index.find(root, u"A\0c"sv), HTREEITEM{10});
    EXPECT_FALSE(index.find(root, u"a"));
    EXPECT_FALSE(index.find(root, u"a\0bb"sv));
}

TEST(sibling_index, the_text_may_be_of_its_own_making)
{
    sibling_index index;
    std::u16string text(1000, u'x');
    index.add(root, text, {10});
    text.back() = u'y';
    EXPECT_FALSE(index.find(root, text));
    EXPECT_TRUE(index.add(root, text, {11}));
}

TEST(fold_case, appends)
{
    std::u16string folded = u"Kept";
    fold_case(u"ABC", folded);
    EXPECT_EQ(folded, u"Keptabc");
}

TEST(fold_case, is_equal_where_comparisons_say_so)
{
    using namespace std::string_view_literals;
    // Letters whose cases meet in unlike ways: dotted and dotless i, sharp s, the sigmas, K and Kelvin.
    constexpr std::u16string_view letters = u"aAbB\0iI\u0130\u0131\u00DFsS\u03A3\u03C2\u03C3kK\u212A\u01C5\u01C6"sv;
    std::mt19937 random(7);
    const auto pick = [&](std::size_t count) { return static_cast<std::size_t>(random() % count); };
    std::size_t equal = 0;
    for (int round = 0; round < 20'000; ++round) {
        std::u16string a(pick(4), u' ');
        std::u16string b(pick(4), u' ');
        std::ranges::generate(a, [&] { return letters[pick(letters.size())]; });
        std::ranges::generate(b, [&] { return letters[pick(letters.size())]; });
        const bool same = string(std::u16string_view(a)).equals_no_case(string(std::u16string_view(b)));
        std::u16string folded_a;
        std::u16string folded_b;
        fold_case(a, folded_a);
        fold_case(b, folded_b);
        EXPECT_EQ(folded_a == folded_b, same);
        equal += same;
    }
    EXPECT_GT(equal, 100u);
}

} // namespace
} // namespace cw
