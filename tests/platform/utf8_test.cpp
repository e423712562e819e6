#include "platform/utf8.h"

#include <gtest/gtest.h>

namespace {

using namespace cw::platform;

TEST(utf8, converts_both_ways)
{
    const std::pair<std::u16string_view, std::string_view> rows[] = {
        {u"", ""},
        {u"abc", "abc"},
        {u"\u00E9\u20AC", "\xC3\xA9\xE2\x82\xAC"},
        {u"\U0001F4E6", "\xF0\x9F\x93\xA6"},
        {std::u16string_view(u"a\0b", 3), std::string_view("a\0b", 3)},
    };
    for (const auto& [text, bytes] : rows) {
        EXPECT_EQ(to_utf8(text), bytes);
        EXPECT_EQ(from_utf8(bytes), text);
        EXPECT_EQ(path_to_bytes(text), bytes);
        EXPECT_EQ(path_from_bytes(bytes), text);
    }
}

TEST(utf8, replaces_what_is_malformed)
{
    EXPECT_EQ(to_utf8(u"a\xD800z"), "a\xEF\xBF\xBDz");
    EXPECT_EQ(to_utf8(u"\xDC80"), "\xEF\xBF\xBD");
    EXPECT_EQ(from_utf8("a\xFFz"), u"a\uFFFDz");
    EXPECT_EQ(from_utf8("\xC3"), u"\uFFFD");
    EXPECT_EQ(from_utf8("\xED\xA0\x80").find(0xD800), std::u16string::npos);
}

TEST(utf8, file_names_keep_bytes_that_are_no_utf8)
{
    EXPECT_EQ(path_from_bytes("a\xFF\x80z"), std::u16string(u"a\xDCFF\xDC80z"));
    EXPECT_EQ(path_to_bytes(u"a\xDCFF\xDC80z"), "a\xFF\x80z");
    std::string every;
    for (int byte = 1; byte < 256; ++byte)
        every += static_cast<char>(byte);
    EXPECT_EQ(path_to_bytes(path_from_bytes(every)), every);
    const std::string truncated = "\xE2\x82x\xF0\x9F\x93\xED\xA0\x80";
    EXPECT_EQ(path_to_bytes(path_from_bytes(truncated)), truncated);
    EXPECT_EQ(path_to_bytes(u"\xD800"), "\xEF\xBF\xBD");
}

} // namespace
