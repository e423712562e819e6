// The text that a report is made of.
#include "readers/mediaforge/report_text.h"

#include "automation/dispatch_object.h"
#include "tests/readers/reader_module.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace cw::mediaforge {
namespace {

using reader_tests::narrow;

std::string shown(std::string_view text, std::size_t longest = std::numeric_limits<std::size_t>::max())
{
    report_text report;
    report.add_shown(text, longest);
    return narrow(report.view());
}

template <class Add>
std::string added(Add add)
{
    report_text report;
    add(report);
    return narrow(report.view());
}

TEST(mediaforge_report_text, shows_texts_of_any_alphabet)
{
    EXPECT_EQ(shown(""), "");
    EXPECT_EQ(shown("plain ~"), "plain ~");
    EXPECT_EQ(shown("Ä Русский 中文 🐟"), "Ä Русский 中文 🐟");
}

TEST(mediaforge_report_text, shows_what_is_not_seen)
{
    EXPECT_EQ(shown(std::string_view("\0\t\n\r\x1B\x1F\x7F", 7)), "␀␉␊␍␛␟␡");
    EXPECT_EQ(shown("\xC2\x85\xE2\x80\xA8\xE2\x80\xA9"), "␤␤␤");
    EXPECT_EQ(shown("\xC2\x80\xC2\x9F\xE2\x80\xAE\xE2\x81\xA6\xEF\xBB\xBF"), "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD");
    for (const std::u16string_view hidden : {u"\u00AD", u"\u061C", u"\u200B", u"\u200E", u"\u200F", u"\u2060",
                                             u"\u2064", u"\u206F", u"\U000E0000", u"\U000E0041", u"\U000E007F"})
        EXPECT_EQ(shown(narrow(hidden)), "\uFFFD") << narrow(hidden);
    // Bytes that are no UTF-8.
    EXPECT_EQ(shown("a\xFF\xC3z"), "a\uFFFD\uFFFDz");
}

TEST(mediaforge_report_text, keeps_the_neighbours_of_what_is_not_seen)
{
    for (const std::string_view kept :
         {"\u00A0\u00AC\u00AE", "\u061B\u061D", "\u200A\u200C\u200D\u2010", "\u2027\u202F\u205F\u2070",
          "\uFE0E\uFE0F\uFEFE\uFF00", "\U000DFFFF\U000E0080\U000E0100\U000E01EF", "👩\u200D🚀 🗺\uFE0F"})
        EXPECT_EQ(shown(kept), kept);
}

TEST(mediaforge_report_text, cuts_between_characters)
{
    EXPECT_EQ(shown("abcd", 4), "abcd");
    EXPECT_EQ(shown("abcde", 4), "abcd…");
    EXPECT_EQ(shown("🐟🐟🐟", 2), "🐟🐟…");
    EXPECT_EQ(shown("a", 0), "…");
    EXPECT_EQ(shown("", 0), "");
}

TEST(mediaforge_report_text, writes_numbers)
{
    EXPECT_EQ(added([](report_text& text) { text.add_number(std::numeric_limits<std::int64_t>::min()); }),
              "-9223372036854775808");
    EXPECT_EQ(added([](report_text& text) { text.add_number(std::numeric_limits<std::uint64_t>::max()); }),
              "18446744073709551615");
    EXPECT_EQ(added([](report_text& text) { text.add_right(42, 5); }), "   42");
    EXPECT_EQ(added([](report_text& text) { text.add_right(-123456, 5); }), "-123456");
    EXPECT_EQ(added([](report_text& text) { text.add_flags(0x1F00A); }), "0x0001F00A");
    EXPECT_EQ(added([](report_text& text) { text.add_real(0.1); }), "0.1");
    EXPECT_EQ(added([](report_text& text) { text.add_real(0.1f); }), "0.1");
    EXPECT_EQ(added([](report_text& text) { text.add_real(-std::numeric_limits<double>::denorm_min()); }), "-5e-324");
    EXPECT_EQ(added([](report_text& text) { text.add_real(-std::numeric_limits<double>::max()); }),
              "-1.7976931348623157e+308");
    const std::uint8_t bytes[] = {0x00, 0x9A, 0xFF};
    EXPECT_EQ(added([&](report_text& text) { text.add_bytes(bytes); }), "009aff");
}

TEST(mediaforge_report_text, writes_dates)
{
    EXPECT_EQ(added([](report_text& text) { EXPECT_TRUE(text.add_date(36925.5)); }), "2001-02-03 12:00:00");
    EXPECT_EQ(added([](report_text& text) { EXPECT_TRUE(text.add_date(0)); }), "1899-12-30 00:00:00");
    EXPECT_EQ(added([](report_text& text) { EXPECT_TRUE(text.add_date(-657434)); }), "0100-01-01 00:00:00");
    EXPECT_EQ(added([](report_text& text) { EXPECT_FALSE(text.add_date(1e9)); }), "");
    EXPECT_EQ(added([](report_text& text) { EXPECT_FALSE(text.add_date(std::numeric_limits<double>::quiet_NaN())); }),
              "");
}

TEST(mediaforge_report_text, pads_by_what_is_seen)
{
    const auto padded = [](std::string_view name) {
        return added([&](report_text& text) {
            text.add(u"before");
            text.end_line();
            text.add_shown(name);
            text.pad_to(8);
            text.add(u"|");
        });
    };
    EXPECT_EQ(padded(""), "before\r\n        |");
    EXPECT_EQ(padded("abcdef"), "before\r\nabcdef  |");
    EXPECT_EQ(padded("abcdefg"), "before\r\nabcdefg  |");
    EXPECT_EQ(padded("Ä"), "before\r\nÄ       |");
    EXPECT_EQ(padded("中文"), "before\r\n中文    |");
    EXPECT_EQ(padded("🐟"), "before\r\n🐟      |");
    EXPECT_EQ(padded("e\u0301"), "before\r\ne\u0301       |");
    EXPECT_EQ(padded("語\U000E0100"), "before\r\n語\U000E0100      |");
    EXPECT_EQ(padded("a\u200Bb"), "before\r\na\uFFFDb     |");
}

TEST(mediaforge_report_text, measures_what_was_added)
{
    report_text text;
    EXPECT_EQ(text.width_from(0), 0u);
    text.add_shown("中");
    const std::size_t begin = text.size();
    EXPECT_EQ(text.width_from(begin), 0u);
    text.add_shown("文a🐟");
    EXPECT_EQ(text.width_from(begin), 5u);
    EXPECT_EQ(text.column(), 7u);
}

TEST(mediaforge_report_text, takes_padding_back_at_the_end_of_a_line_and_nothing_else)
{
    EXPECT_EQ(added([](report_text& text) {
                  text.add(u"label");
                  text.pad_to(12);
                  text.end_line();
                  text.add(u"own  ");
                  text.end_line();
              }),
              "label\r\nown  \r\n");
    // A line that was taken back must not leave its padding in the next one.
    EXPECT_EQ(added([](report_text& text) {
                  text.add(u"label");
                  text.pad_to(12);
                  text.cut(0);
                  text.add(u"twelve chars");
                  text.end_line();
              }),
              "twelve chars\r\n");
}

TEST(mediaforge_report_text, grows_as_far_as_a_text_may)
{
    report_text text(10'000);
    for (int i = 0; i < 1'000; ++i)
        text.add(u"0123456789");
    EXPECT_EQ(text.size(), 10'000u);
    for (const auto& add :
         {+[](report_text& report) { report.add(u"x"); }, +[](report_text& report) { report.add_shown("x"); },
          +[](report_text& report) { report.add_blanks(1); }, +[](report_text& report) { report.end_line(); },
          +[](report_text& report) { report.add_number(std::int64_t{1}); }}) {
        try {
            add(text);
            FAIL() << "longer than it may be";
        } catch (const automation::automation_error& error) {
            EXPECT_EQ(error.result(), E_OUTOFMEMORY);
            EXPECT_EQ(error.description(), u"the report is longer than a text can be");
        }
        EXPECT_EQ(text.size(), 10'000u);
    }
    EXPECT_EQ(text.to_bstr().view(), text.view());
    EXPECT_EQ(text.view().substr(9'990), u"0123456789");
}

TEST(mediaforge_report_text, is_never_longer_than_a_caller_can_be_given)
{
    // The length in bytes and the terminator are counted in 32 bits.
    static_assert((longest_report_in_code_units + 1) * sizeof(char16_t) <= std::size_t{UINT32_MAX} + 1);
    EXPECT_EQ(report_text().to_bstr().view(), u"");
    EXPECT_NE(report_text().to_bstr().get(), nullptr);
}

} // namespace
} // namespace cw::mediaforge
