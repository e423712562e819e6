#include "app/sort_order.h"

#include <gtest/gtest.h>

#include <string>

namespace cw {
namespace {

using namespace std::string_view_literals;

int sign(int value)
{
    return value < 0 ? -1 : value > 0 ? 1 : 0;
}

TEST(sort_order, compares_code_units_as_numbers)
{
    EXPECT_EQ(sign(compare_code_units(u"a", u"b")), -1);
    EXPECT_EQ(sign(compare_code_units(u"b", u"a")), 1);
    EXPECT_EQ(compare_code_units(u"same", u"same"), 0);
    EXPECT_EQ(compare_code_units(u"", u""), 0);
    // Upper case comes before lower case, and 10 before 9.
    EXPECT_EQ(sign(compare_code_units(u"Z", u"a")), -1);
    EXPECT_EQ(sign(compare_code_units(u"10", u"9")), -1);
    // No dictionary: an accent sorts behind all of ASCII, a surrogate before the last of the plane.
    EXPECT_EQ(sign(compare_code_units(u"\u00E9", u"z")), 1);
    EXPECT_EQ(sign(compare_code_units(u"\U0001F600", u"\uFF21")), -1);
    EXPECT_EQ(sign(compare_code_units(u"\uFFFF", u"a")), 1);
}

TEST(sort_order, puts_a_beginning_before_the_whole)
{
    EXPECT_EQ(sign(compare_code_units(u"a", u"ab")), -1);
    EXPECT_EQ(sign(compare_code_units(u"ab", u"a")), 1);
    EXPECT_EQ(sign(compare_code_units(u"", u"a")), -1);
}

TEST(sort_order, ends_at_a_terminator)
{
    EXPECT_EQ(compare_code_units(u"a\0b"sv, u"a\0c"sv), 0);
    EXPECT_EQ(compare_code_units(u"a\0b"sv, u"a"sv), 0);
    EXPECT_EQ(compare_code_units(u"a"sv, u"a\0b"sv), 0);
    EXPECT_EQ(sign(compare_code_units(u"a\0b"sv, u"ab"sv)), -1);
}

TEST(sort_order, belongs_to_the_process)
{
    const sort_order before = current_sort_order();
    current_sort_order() = {7, true};
    EXPECT_EQ(current_sort_order().column, 7);
    EXPECT_TRUE(current_sort_order().descending);
    current_sort_order() = before;
}

} // namespace
} // namespace cw
