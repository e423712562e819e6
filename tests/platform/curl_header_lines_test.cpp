#include "platform/curl_header_lines.h"

#include <gtest/gtest.h>

namespace {

using namespace cw::platform;
using lines = std::vector<std::string>;

TEST(curl_header_lines, splits_at_line_ends)
{
    EXPECT_EQ(read_header_lines(nullptr, 5), lines{});
    EXPECT_EQ(read_header_lines(u"", length_to_terminator), lines{});
    EXPECT_EQ(read_header_lines(u"A: b", length_to_terminator), lines{"A: b"});
    EXPECT_EQ(read_header_lines(u"A: b\r\n", length_to_terminator), lines{"A: b"});
    EXPECT_EQ(read_header_lines(u"A: b\r\nC:d:e", length_to_terminator), (lines{"A: b", "C:d:e"}));
    EXPECT_EQ(read_header_lines(u"A: b\r\nno", 6), lines{"A: b"});
    EXPECT_EQ(read_header_lines(u"A: b", 0), lines{});
    EXPECT_EQ(read_header_lines(u"A: \u20AC", length_to_terminator), lines{"A: \xE2\x82\xAC"});
}

TEST(curl_header_lines, refuses_what_is_no_header)
{
    for (const char16_t* headers : {u"A", u": b", u"A: b\r\n\r\n", u"\r\n", u"A: b\rC: d", u"A: b\nC: d", u"A: \x01",
                                    u"A: \x7F", u"A : b", u" A: b", u"\u00C4: b", u"A: b\r\nC"})
        EXPECT_EQ(read_header_lines(headers, length_to_terminator), std::nullopt);
    EXPECT_EQ(read_header_lines(u"A: \0b", 5), std::nullopt);
}

TEST(curl_header_lines, finds_where_an_answer_is_to_begin)
{
    EXPECT_EQ(offset_asked_for({"A: b", "Range: bytes=1234-", "C: d"}), 1234U);
    EXPECT_EQ(offset_asked_for({"range:bytes=1-"}), 1U);
    EXPECT_EQ(offset_asked_for({"Range: bytes=18446744073709551615-"}), 0xFFFFFFFFFFFFFFFFU);
    for (const char* line : {"Range: bytes=1-2", "Range: bytes=-2", "Range: bytes=1-,5-", "Range: lines=1-",
                             "X-Range: bytes=1-", "Range:", "Range: bytes=", "Range: bytes=99999999999999999999-"})
        EXPECT_EQ(offset_asked_for({line}), 0U) << line;
    EXPECT_EQ(offset_asked_for({}), 0U);
}

} // namespace
