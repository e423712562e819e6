#include "platform/last_error.h"
#include "platform/posix_services.h"

#include <gtest/gtest.h>

#include <climits>
#include <sys/mman.h>
#include <tuple>
#include <unistd.h>

namespace {

using namespace cw::platform;

class icu_code_pages : public testing::Test {
protected:
    std::unique_ptr<code_pages> pages = make_icu_code_pages("UTF-8");

    std::string narrow(std::uint32_t page, std::u16string_view text)
    {
        char target[64];
        const int count = pages->to_narrow(page, text.data(), static_cast<int>(text.size()), target, sizeof target);
        return {target, static_cast<std::size_t>(count)};
    }
    std::u16string wide(std::uint32_t page, std::string_view bytes)
    {
        char16_t target[64];
        const int count = pages->to_wide(page, bytes.data(), static_cast<int>(bytes.size()), target, 64);
        return {target, static_cast<std::size_t>(count)};
    }
};

TEST_F(icu_code_pages, converts_both_ways)
{
    struct row {
        std::uint32_t page;
        std::u16string_view text;
        std::string_view bytes;
    };
    const row rows[] = {
        {65001, u"a\u00E9\u20AC\U0001F4E6", "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x93\xA6"},
        {0, u"\u00E9", "\xC3\xA9"},
        {3, u"\u00E9", "\xC3\xA9"},
        {437, u"\u00E9", "\x82"},
        {850, u"\u00E9", "\x82"},
        {1250, u"\u0141", "\xA3"},
        {1251, u"\u0416", "\xC6"},
        {1252, u"\u20AC", "\x80"},
        {1253, u"\u03A9", "\xD9"},
        {1254, u"\u011F", "\xF0"},
        {1255, u"\u05D0", "\xE0"},
        {1256, u"\u0627", "\xC7"},
        {1257, u"\u0105", "\xE0"},
        {1258, u"\u0110", "\xD0"},
        {932, u"\u65E5\u672C", "\x93\xFA\x96\x7B"},
        {936, u"\u4E2D", "\xD6\xD0"},
        {949, u"\uD55C", "\xC7\xD1"},
        {950, u"\u4E2D", "\xA4\xA4"},
        {20127, u"plain", "plain"},
        {20866, u"\u0416", "\xF6"},
        {28591, u"\u00E9", "\xE9"},
        {28605, u"\u20AC", "\xA4"},
        {54936, u"\u4E2D", "\xD6\xD0"},
    };
    for (const row& each : rows) {
        EXPECT_EQ(narrow(each.page, each.text), each.bytes) << each.page;
        EXPECT_EQ(wide(each.page, each.bytes), each.text) << each.page;
    }
}

TEST_F(icu_code_pages, every_listed_page_opens)
{
    for (const std::uint32_t page :
         {37u,    437u,   500u,   737u,   775u,   850u,   852u,   855u,   857u,   858u,   860u,   861u,
          862u,   863u,   864u,   865u,   866u,   869u,   874u,   932u,   936u,   949u,   950u,   1026u,
          1140u,  1250u,  1251u,  1252u,  1253u,  1254u,  1255u,  1256u,  1257u,  1258u,  10000u, 20127u,
          20866u, 20932u, 21866u, 28591u, 28592u, 28593u, 28594u, 28595u, 28596u, 28597u, 28598u, 28599u,
          28603u, 28605u, 50220u, 51932u, 51949u, 52936u, 54936u, 65000u, 65001u})
        EXPECT_EQ(wide(page, narrow(page, u"abc")), u"abc") << page;
}

TEST_F(icu_code_pages, an_unknown_page_is_a_bad_argument)
{
    for (const std::uint32_t page : {1u, 42u, 1200u, 1201u, 99999u}) {
        set_last_error(0);
        EXPECT_EQ(narrow(page, u"a"), "");
        EXPECT_EQ(get_last_error(), error_invalid_parameter);
        set_last_error(0);
        EXPECT_EQ(wide(page, "a"), u"");
        EXPECT_EQ(get_last_error(), error_invalid_parameter);
    }
}

TEST_F(icu_code_pages, bad_arguments_are_refused)
{
    char bytes[4];
    char16_t text[4];
    const auto fails = [](int answer) {
        const bool failed = answer == 0 && get_last_error() == error_invalid_parameter;
        set_last_error(0);
        return failed;
    };
    EXPECT_TRUE(fails(pages->to_narrow(65001, nullptr, 1, bytes, 4)));
    EXPECT_TRUE(fails(pages->to_narrow(65001, u"a", 0, bytes, 4)));
    EXPECT_TRUE(fails(pages->to_narrow(65001, u"a", -2, bytes, 4)));
    EXPECT_TRUE(fails(pages->to_narrow(65001, u"a", 1, bytes, -1)));
    EXPECT_TRUE(fails(pages->to_narrow(65001, u"a", 1, nullptr, 4)));
    EXPECT_TRUE(fails(pages->to_wide(65001, nullptr, 1, text, 4)));
    EXPECT_TRUE(fails(pages->to_wide(65001, "a", 0, text, 4)));
    EXPECT_TRUE(fails(pages->to_wide(65001, "a", -2, text, 4)));
    EXPECT_TRUE(fails(pages->to_wide(65001, "a", 1, text, -1)));
    EXPECT_TRUE(fails(pages->to_wide(65001, "a", 1, nullptr, 4)));
}

TEST_F(icu_code_pages, a_length_of_minus_one_includes_the_terminator)
{
    for (const std::uint32_t page : {65001u, 1252u}) {
        char bytes[8] = {1, 1, 1, 1, 1, 1, 1, 1};
        EXPECT_EQ(pages->to_narrow(page, u"ab", -1, bytes, 8), 3);
        EXPECT_EQ(std::string_view(bytes, 3), std::string_view("ab", 3));
        char16_t text[8] = {1, 1, 1, 1, 1, 1, 1, 1};
        EXPECT_EQ(pages->to_wide(page, "ab", -1, text, 8), 3);
        EXPECT_EQ(std::u16string_view(text, 3), std::u16string_view(u"ab", 3));
    }
}

TEST_F(icu_code_pages, no_room_asks_for_the_size)
{
    EXPECT_EQ(pages->to_narrow(65001, u"\u20AC\u20AC", 2, nullptr, 0), 6);
    EXPECT_EQ(pages->to_narrow(932, u"\u65E5a", 2, nullptr, 0), 3);
    EXPECT_EQ(pages->to_wide(65001, "\xE2\x82\xAC", 3, nullptr, 0), 1);
    EXPECT_EQ(pages->to_wide(932, "\x93\xFA", 2, nullptr, 0), 1);
}

TEST_F(icu_code_pages, too_little_room_fails)
{
    for (const std::uint32_t page : {65001u, 1252u}) {
        char bytes[2];
        char16_t text[2];
        set_last_error(0);
        EXPECT_EQ(pages->to_narrow(page, u"abc", 3, bytes, 2), 0);
        EXPECT_EQ(get_last_error(), error_insufficient_buffer);
        set_last_error(0);
        EXPECT_EQ(pages->to_wide(page, "abc", 3, text, 2), 0);
        EXPECT_EQ(get_last_error(), error_insufficient_buffer);
    }
}

TEST_F(icu_code_pages, a_room_that_fits_exactly_is_enough)
{
    char bytes[3];
    EXPECT_EQ(pages->to_narrow(65001, u"\u20AC", 1, bytes, 3), 3);
    char16_t text[3];
    EXPECT_EQ(pages->to_wide(1252, "abc", 3, text, 3), 3);
}

/// A text of one character over and over, which takes little memory however long it is.
class endless_text {
public:
    explicit endless_text(char16_t character, std::size_t length)
        : m_sizeInBytes((length * sizeof(char16_t) / piece_in_bytes + 1) * piece_in_bytes)
    {
        const int memory = memfd_create("text", MFD_CLOEXEC);
        const std::u16string piece(piece_in_bytes / sizeof(char16_t), character);
        const bool is_written = write(memory, piece.data(), piece_in_bytes) == ssize_t{piece_in_bytes};
        m_start = mmap(nullptr, m_sizeInBytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        m_isThere = is_written && m_start != MAP_FAILED;
        for (std::size_t at = 0; m_isThere && at < m_sizeInBytes; at += piece_in_bytes)
            m_isThere = mmap(static_cast<char*>(m_start) + at, piece_in_bytes, PROT_READ, MAP_SHARED | MAP_FIXED,
                             memory, 0) != MAP_FAILED;
        close(memory);
    }
    ~endless_text()
    {
        if (m_start != MAP_FAILED)
            munmap(m_start, m_sizeInBytes);
    }
    endless_text(const endless_text&) = delete;
    endless_text& operator=(const endless_text&) = delete;

    /// Null where the system does not give it.
    [[nodiscard]] const char16_t* data() const { return m_isThere ? static_cast<const char16_t*>(m_start) : nullptr; }

private:
    static constexpr std::size_t piece_in_bytes = 1 << 21;
    std::size_t m_sizeInBytes;
    void* m_start = MAP_FAILED;
    bool m_isThere = false;
};

TEST_F(icu_code_pages, more_bytes_than_can_be_counted_are_a_failure)
{
    // Three bytes for each character are more than an int counts, or 2 as 32 bits tell it; four are 0.
    constexpr int over_2_gib = INT_MAX / 3 + 1;
    constexpr int around_to_2 = static_cast<int>((std::int64_t{1} << 32) / 3 + 1);
    constexpr int around_to_0 = 1 << 30;
    const endless_text text(u'\u4E2D', around_to_2);
    if (!text.data())
        GTEST_SKIP() << "the system does not give so many addresses";
    char bytes[4];
    for (const auto& [page, length, room] :
         {std::tuple{65001u, over_2_gib, 0}, {65001u, around_to_2, 4}, {54936u, around_to_0, 4}}) {
        set_last_error(0);
        EXPECT_EQ(pages->to_narrow(page, text.data(), length, room ? bytes : nullptr, room), 0) << length;
        EXPECT_EQ(get_last_error(), error_arithmetic_overflow) << length;
    }
}

TEST_F(icu_code_pages, what_cannot_be_expressed_is_replaced)
{
    EXPECT_EQ(narrow(1252, u"a\u4E2Db"), "a?b");
    EXPECT_EQ(narrow(20127, u"\u00E9"), "?");
    EXPECT_EQ(narrow(65001, u"\xD800"), "\xEF\xBF\xBD");
    EXPECT_EQ(wide(65001, "a\xFFz"), u"a\uFFFDz");
    EXPECT_EQ(wide(65001, "\xC3"), u"\uFFFD");
    EXPECT_EQ(wide(932, "\x93"), u"\uFFFD");
}

TEST_F(icu_code_pages, zeros_are_characters)
{
    EXPECT_EQ(narrow(1252, std::u16string_view(u"a\0b", 3)), std::string("a\0b", 3));
    EXPECT_EQ(wide(65001, std::string_view("a\0b", 3)), std::u16string(u"a\0b", 3));
}

TEST_F(icu_code_pages, counts_each_character_once)
{
    EXPECT_EQ(pages->character_count(""), 0u);
    EXPECT_EQ(pages->character_count("abc"), 3u);
    EXPECT_EQ(pages->character_count("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x93\xA6"), 4u);
    EXPECT_EQ(pages->character_count("\xC3"), 1u);
    EXPECT_EQ(pages->character_count("\xFF\xFF"), 2u);
    EXPECT_EQ(make_icu_code_pages("windows-1252")->character_count("\xC3\xA9"), 2u);
    EXPECT_EQ(make_icu_code_pages("ibm-943_P15A-2003")
                  ->character_count("\x93\xFA\x96\x7B"
                                    "a"),
              3u);
}

TEST_F(icu_code_pages, the_charset_of_the_user_stands_for_system_and_thread)
{
    pages = make_icu_code_pages("ISO-8859-1");
    EXPECT_EQ(narrow(0, u"\u00E9"), "\xE9");
    EXPECT_EQ(narrow(3, u"\u00E9"), "\xE9");
    EXPECT_EQ(wide(3, "\xE9"), u"\u00E9");
    EXPECT_EQ(narrow(65001, u"\u00E9"), "\xC3\xA9");
}

} // namespace
