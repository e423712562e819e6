#include "console/safe_text.h"

#include <gtest/gtest.h>

namespace cw::console {
namespace {

TEST(safe_text, keeps_plain_text)
{
    EXPECT_EQ(terminal_text(u"Main part (1) \u00e9 \u65e5\u672c \U0001F600"),
              "Main part (1) \u00e9 \u65e5\u672c \U0001F600");
    EXPECT_EQ(terminal_text(u""), "");
}

TEST(safe_text, replaces_what_steers_a_terminal)
{
    for (char16_t c = 0; c < 0x20; ++c)
        EXPECT_EQ(terminal_text({&c, 1}), "\uFFFD") << static_cast<int>(c);
    for (char16_t c = 0x7F; c < 0xA0; ++c)
        EXPECT_EQ(terminal_text({&c, 1}), "\uFFFD") << static_cast<int>(c);
    for (const char16_t c : {u'\u061C', u'\u200E', u'\u200F', u'\u202A', u'\u202E', u'\u2066', u'\u2069'})
        EXPECT_EQ(terminal_text({&c, 1}), "\uFFFD") << static_cast<int>(c);
}

TEST(safe_text, keeps_the_neighbours_of_what_steers)
{
    EXPECT_EQ(terminal_text(u"\u0020\u007e\u00a0\u061b\u061d\u200d\u2010\u2029\u202f\u2065\u206a"),
              "\u0020\u007e\u00a0\u061b\u061d\u200d\u2010\u2029\u202f\u2065\u206a");
}

TEST(safe_text, replaces_half_a_character)
{
    const char16_t high[] = {0xD83D};
    const char16_t low[] = {0xDE00};
    EXPECT_EQ(terminal_text({high, 1}), "\uFFFD");
    EXPECT_EQ(json_text({low, 1}), "\uFFFD");
}

TEST(safe_text, leaves_controls_to_the_json_writer)
{
    EXPECT_EQ(json_text(u"a\x1b\n\"\u00e9"), "a\x1b\n\"\u00e9");
}

} // namespace
} // namespace cw::console
