#include "console/progress_line.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace cw::console {
namespace {

constexpr std::size_t width = 78;

TEST(progress_text, tells_percent_and_name)
{
    EXPECT_EQ(progress_text(0, 200, "a.txt", width), "  0 % a.txt");
    EXPECT_EQ(progress_text(84, 200, "a.txt", width), " 42 % a.txt");
    EXPECT_EQ(progress_text(199, 200, "a.txt", width), " 99 % a.txt");
    EXPECT_EQ(progress_text(200, 200, "a.txt", width), "100 % a.txt");
}

TEST(progress_text, nothing_to_do_is_done)
{
    EXPECT_EQ(progress_text(0, 0, "", width), "100 % ");
}

TEST(progress_text, counts_bytes_of_any_number)
{
    constexpr auto most = std::numeric_limits<std::uint64_t>::max();
    EXPECT_EQ(progress_text(most / 2, most, "a", width), " 50 % a");
    EXPECT_EQ(progress_text(most, most, "a", width), "100 % a");
}

TEST(progress_text, cuts_long_names_in_front)
{
    const std::string text = progress_text(1, 2, std::string(200, 'a') + "end", 40);
    EXPECT_TRUE(text.starts_with(" 50 % \u2026a")) << text;
    EXPECT_TRUE(text.ends_with("aend")) << text;
    // The ellipsis takes three bytes and one column.
    EXPECT_LE(text.size() - 2, 40u);
    EXPECT_EQ(progress_text(1, 2, "abc", 0), " 50 % \u2026");
}

TEST(progress_text, never_ends_in_half_a_character)
{
    std::string name;
    for (int i = 0; i < 100; ++i)
        name += "\U0001F600";
    for (const std::size_t columns : {39u, 40u}) {
        const std::string text = progress_text(1, 2, name, columns);
        EXPECT_EQ(text.find("\uFFFD"), std::string::npos) << columns;
        EXPECT_TRUE(text.ends_with("\U0001F600"));
    }
}

TEST(progress_text, keeps_names_from_steering_the_terminal)
{
    EXPECT_EQ(progress_text(1, 2, "a\x1b\nb", width), " 50 % a\uFFFD\uFFFDb");
}

TEST(progress_line, is_written_and_taken_away)
{
    testing::internal::CaptureStderr();
    {
        progress_line line(true);
        line.show(1, 2, "a.txt");
        line.show(1, 2, "too soon");
        line.show(2, 2, "last");
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "\r\033[K 50 % a.txt\r\033[K100 % last\r\033[K");
}

TEST(progress_line, writes_nothing_where_it_is_not_shown)
{
    testing::internal::CaptureStderr();
    {
        progress_line hidden(false);
        hidden.show(1, 1, "a.txt");
        progress_line untouched(true);
        untouched.clear();
        // Standard error is a file here.
        progress_line automatic;
        automatic.show(1, 1, "a.txt");
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

} // namespace
} // namespace cw::console
