#include "foundation/wide_format.h"

#include "platform/posix_services.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>
#include <limits>

namespace {

using namespace cw::platform;

std::optional<std::u16string> attempt(const char16_t* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    auto result = cw::format_wide(format, arguments);
    va_end(arguments);
    return result;
}

template <class... Arguments>
std::u16string formatted(const char16_t* format, Arguments... arguments)
{
    return attempt(format, arguments...).value_or(u"<malformed>");
}

TEST(wide_format, copies_plain_text)
{
    EXPECT_EQ(formatted(u""), u"");
    EXPECT_EQ(formatted(u"plain \u20AC"), u"plain \u20AC");
    EXPECT_EQ(formatted(u"100%%"), u"100%");
}

TEST(wide_format, writes_integers)
{
    EXPECT_EQ(formatted(u"%d %i", 42, -42), u"42 -42");
    EXPECT_EQ(formatted(u"%d", std::numeric_limits<int>::min()), u"-2147483648");
    EXPECT_EQ(formatted(u"%u", 4294967295u), u"4294967295");
    EXPECT_EQ(formatted(u"%x %X %o", 255, 255, 8), u"ff FF 10");
    EXPECT_EQ(formatted(u"%#x %#o", 255, 8), u"0xff 010");
    EXPECT_EQ(formatted(u"%+d % d", 5, 5), u"+5  5");
    EXPECT_EQ(formatted(u"[%5d][%-5d][%05d]", 42, 42, 42), u"[   42][42   ][00042]");
    EXPECT_EQ(formatted(u"[%.4d][%6.4d][%.0d]", 42, 42, 0), u"[0042][  0042][]");
    EXPECT_EQ(formatted(u"%02d/%02d/%04d", 1, 2, 2003), u"01/02/2003");
    EXPECT_EQ(formatted(u"%d.%d.%d.%d", 1, 2, 3, 4), u"1.2.3.4");
}

TEST(wide_format, knows_the_sizes_of_integers)
{
    EXPECT_EQ(formatted(u"%hd %hu", 65536 + 7, -1), u"7 65535");
    EXPECT_EQ(formatted(u"%hhd %hhu", 511, 511), u"-1 255");
    EXPECT_EQ(formatted(u"%ld %lu", -1, 4294967295u), u"-1 4294967295");
    EXPECT_EQ(formatted(u"%lx", -1), u"ffffffff");
    EXPECT_EQ(formatted(u"%I32d", -7), u"-7");
    const std::int64_t big = -9223372036854775807;
    EXPECT_EQ(formatted(u"%lld", big), u"-9223372036854775807");
    EXPECT_EQ(formatted(u"%I64d", big), u"-9223372036854775807");
    EXPECT_EQ(formatted(u"%I64X", std::uint64_t{0xFEDCBA9876543210}), u"FEDCBA9876543210");
    EXPECT_EQ(formatted(u"%llu", std::numeric_limits<std::uint64_t>::max()), u"18446744073709551615");
    EXPECT_EQ(formatted(u"%zu %jd %td %Iu", std::size_t{1} << 40, big, std::ptrdiff_t{-5}, std::size_t{6}),
              u"1099511627776 -9223372036854775807 -5 6");
}

TEST(wide_format, takes_width_and_precision_from_arguments)
{
    EXPECT_EQ(formatted(u"[%*d][%*d]", 5, 42, -5, 42), u"[   42][42   ]");
    EXPECT_EQ(formatted(u"[%.*d][%.*d]", 4, 42, -1, 42), u"[0042][42]");
    EXPECT_EQ(formatted(u"[%*.*s]", 5, 2, u"abc"), u"[   ab]");
}

TEST(wide_format, writes_reals)
{
    EXPECT_EQ(formatted(u"%f", 1.5), u"1.500000");
    EXPECT_EQ(formatted(u"%.2f|%8.3f|%-8.1f|%+.0f", 3.14159, 2.5, 1.25, 7.0), u"3.14|   2.500|1.2     |+7");
    EXPECT_EQ(formatted(u"%e %.1E", 12345.678, 0.5), u"1.234568e+04 5.0E-01");
    EXPECT_EQ(formatted(u"%g %G %g", 0.0001, 1e-10, 100000.0), u"0.0001 1E-10 100000");
    EXPECT_EQ(formatted(u"%F %a", 0.25, 1.0), u"0.250000 0x1p+0");
    EXPECT_EQ(formatted(u"%lf", 0.5), u"0.500000");
}

TEST(wide_format, writes_a_point_in_every_locale)
{
    const char* changed = nullptr;
    for (const char* with_comma : {"de_DE.UTF-8", "de_DE", "fr_FR.UTF-8", "fr_FR"})
        changed = changed ? changed : std::setlocale(LC_NUMERIC, with_comma);
    if (!changed)
        GTEST_SKIP() << "no locale that writes a comma is installed";
    EXPECT_EQ(formatted(u"%.1f", 0.5), u"0.5");
    std::setlocale(LC_NUMERIC, "C");
}

TEST(wide_format, writes_wide_text)
{
    EXPECT_EQ(formatted(u"<%s>", u"wide \u20AC"), u"<wide \u20AC>");
    EXPECT_EQ(formatted(u"[%5s][%-5s][%.2s][%5.1s]", u"abc", u"abc", u"abc", u"abc"), u"[  abc][abc  ][ab][    a]");
    EXPECT_EQ(formatted(u"%ls %ws", u"a", u"b"), u"a b");
    EXPECT_EQ(formatted(u"%lS", u"wide"), u"wide");
    EXPECT_EQ(formatted(u"[%05s]", u"ab"), u"[000ab]");
    const char16_t unterminated[2] = {u'x', u'y'};
    EXPECT_EQ(formatted(u"%.2s", unterminated), u"xy");
}

TEST(wide_format, writes_narrow_text_in_the_thread_s_charset)
{
    const auto pages = make_icu_code_pages("ISO-8859-1");
    services set = current();
    set.pages = pages.get();
    const scoped_services scope(set);
    EXPECT_EQ(formatted(u"%S|%hs", "n\xE9", "m"), u"n\u00E9|m");
    EXPECT_EQ(formatted(u"[%6S][%.2S]", "abc", "abc"), u"[   abc][ab]");
    EXPECT_EQ(formatted(u"%S", ""), u"");
    const char unterminated[2] = {'x', 'y'};
    EXPECT_EQ(formatted(u"%.2S", unterminated), u"xy");
    EXPECT_EQ(formatted(u"%C%hc", 0xE9, 'c'), u"\u00E9c");
}

TEST(wide_format, names_null_texts)
{
    const char16_t* const wide = nullptr;
    const char* const narrow = nullptr;
    EXPECT_EQ(formatted(u"%s %S %.2s", wide, narrow, wide), u"(null) (null) (n");
}

TEST(wide_format, writes_characters)
{
    EXPECT_EQ(formatted(u"%c%c", u'a', 0x20AC), u"a\u20AC");
    EXPECT_EQ(formatted(u"[%3c][%-3c]", u'a', u'b'), u"[  a][b  ]");
    EXPECT_EQ(formatted(u"%lc", 0x20AC), u"\u20AC");
    EXPECT_EQ(formatted(u"a%cb", 0), std::u16string(u"a\0b", 3));
    EXPECT_EQ(formatted(u"a%Cb", 0), std::u16string(u"a\0b", 3));
}

TEST(wide_format, writes_pointers_in_full)
{
    EXPECT_EQ(formatted(u"%p", reinterpret_cast<void*>(0xABCDEF)), u"0000000000ABCDEF");
}

TEST(wide_format, refuses_what_it_cannot_do)
{
    int count = 0;
    EXPECT_EQ(attempt(u"ab%n", &count), std::nullopt);
    for (const char16_t* format : {u"%", u"text %", u"%5", u"%.", u"%l", u"%y", u"%99999999999d", u"%.99999999999d"})
        EXPECT_EQ(attempt(format, 1), std::nullopt) << testing::PrintToString(std::u16string(format));
    EXPECT_EQ(attempt(u"%*d", std::numeric_limits<int>::min(), 1), std::nullopt);
}

} // namespace
