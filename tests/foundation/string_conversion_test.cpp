#include "foundation/string.h"

#include "foundation/resource_text.h"
#include "foundation/string_table.h"
#include "platform/last_error.h"
#include "platform/posix_services.h"

#include "printing.h"
#include "tests/support/scripted_services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <stdexcept>
#include <vector>

namespace {

using cw::string;
using cw::test_support::scripted_services;
using testing::ElementsAre;
using namespace cw::platform;

constexpr std::uint32_t utf16_little_endian = 1200;
constexpr std::uint32_t utf16_big_endian = 1201;
constexpr std::uint32_t utf8 = 65001;

// --- format ---

TEST(string_format, replaces_the_text)
{
    string text(u"old");
    EXPECT_EQ(&text.format(u"%02d/%02d/%04d %s", 1, 2, 2003, u"AM"), &text);
    EXPECT_EQ(text, u"01/02/2003 AM");
    EXPECT_EQ(text.format(u"%d.%d.%d.%d", 1, 2, 3, 4), u"1.2.3.4");
    EXPECT_EQ(text.length(), 7u);
}

TEST(string_format, a_result_of_no_characters_is_an_empty_text)
{
    string text;
    EXPECT_EQ(text.format(u""), u"");
    text = u"a long text that was there before";
    EXPECT_EQ(text.format(u"%s", u""), u"");
    EXPECT_EQ(text.length(), 0u);
}

TEST(string_format, stops_at_an_embedded_zero)
{
    EXPECT_EQ(string().format(u"ab%ccd", 0), u"ab");
}

TEST(string_format, may_use_its_own_text)
{
    string text(u"abcdefg");
    text.format(u"[%s][%s]", text.c_str(), text.c_str());
    EXPECT_EQ(text, u"[abcdefg][abcdefg]");
}

TEST(string_format, a_malformed_format_leaves_no_room_and_so_the_text)
{
    string text(u"stays");
    EXPECT_EQ(text.format(u"%y"), u"stays");
    string empty;
    EXPECT_EQ(empty.format(u"%"), u"");
    string with_zero(u"a\0b", 3);
    EXPECT_EQ(with_zero.format(u"%"), u"a");
}

TEST(string_format, goes_through_the_bstr)
{
    scripted_services script;
    string text;
    text.format(u"%s", u"twelve chars");
    // The room of 13 characters, and the BSTR of the same length.
    EXPECT_THAT(script.memory.sizes, ElementsAre(16u, 13u));
    EXPECT_EQ(text, u"twelve chars");
}

// --- load ---

int resource_length = 0;
std::vector<int> rooms;

int scripted_load(std::uint32_t id, char16_t* target, int room) noexcept
{
    rooms.push_back(room);
    const int count = id == 1 ? std::min(resource_length, room - 1) : 0;
    for (int i = 0; i < count; ++i)
        target[i] = static_cast<char16_t>(u'a' + i % 26);
    target[count] = 0;
    return count;
}

class string_load : public testing::Test {
protected:
    string_load()
    {
        rooms.clear();
        cw::set_string_loader(&scripted_load);
    }
    ~string_load() override { cw::set_string_loader(nullptr); }
};

TEST_F(string_load, a_text_of_its_own_is_the_same)
{
    resource_length = 100;
    string loaded;
    EXPECT_TRUE(loaded.load(1));
    EXPECT_EQ(cw::resource_text(1), loaded);
    EXPECT_EQ(cw::resource_text(2), u"");
}

TEST_F(string_load, one_pass_is_enough_for_usual_texts)
{
    for (const int length : {1, 100, 509}) {
        rooms.clear();
        resource_length = length;
        string text;
        EXPECT_TRUE(text.load(1));
        EXPECT_EQ(text.length(), static_cast<std::size_t>(length));
        EXPECT_THAT(rooms, ElementsAre(512));
    }
}

TEST_F(string_load, a_text_that_may_have_been_cut_is_loaded_again)
{
    for (const int length : {510, 511, 512, 765}) {
        rooms.clear();
        resource_length = length;
        string text;
        EXPECT_TRUE(text.load(1));
        EXPECT_EQ(text.length(), static_cast<std::size_t>(length));
        EXPECT_EQ(text[text.length() - 1], u'a' + (length - 1) % 26);
        EXPECT_THAT(rooms, ElementsAre(512, 768)) << length;
    }
    rooms.clear();
    resource_length = 1500;
    string text;
    EXPECT_TRUE(text.load(1));
    EXPECT_EQ(text.length(), 1500u);
    EXPECT_THAT(rooms, ElementsAre(512, 768, 1024, 1280, 1536));
}

TEST_F(string_load, makes_room_only_where_the_text_is_shorter)
{
    scripted_services script;
    resource_length = 5;
    string empty;
    EXPECT_TRUE(empty.load(1));
    // A buffer for 519 characters and its terminator, and the BSTR for the room.
    EXPECT_THAT(script.memory.sizes, ElementsAre(520u, 512u));
    string some(u"abc");
    script.memory.sizes.clear();
    EXPECT_TRUE(some.load(1));
    EXPECT_THAT(script.memory.sizes, ElementsAre(520u, 512u));
    string longer(std::u16string(2000, u'x'));
    script.memory.sizes.clear();
    EXPECT_TRUE(longer.load(1));
    EXPECT_THAT(script.memory.sizes, ElementsAre(2000u));
}

TEST_F(string_load, a_missing_resource_is_empty_and_false)
{
    string text(u"old text");
    EXPECT_FALSE(text.load(2));
    EXPECT_TRUE(text.empty());
    EXPECT_THAT(rooms, ElementsAre(512));
}

TEST_F(string_load, a_text_longer_than_the_room_is_replaced_as_well)
{
    resource_length = 5;
    string text(std::u16string(2000, u'x'));
    EXPECT_TRUE(text.load(1));
    EXPECT_EQ(text, u"abcde");
}

TEST(string_load_table, takes_the_program_s_own_texts)
{
    string text;
    EXPECT_TRUE(text.load(276));
    EXPECT_EQ(text, u"Sub Features ");
    EXPECT_FALSE(text.load(99));
    EXPECT_EQ(text, u"");
}

// --- to_text ---

TEST(to_text, writes_plain_decimal)
{
    EXPECT_EQ(cw::to_text(0), u"0");
    EXPECT_EQ(cw::to_text(-5), u"-5");
    EXPECT_EQ(cw::to_text(1234567), u"1234567");
    EXPECT_EQ(cw::to_text(std::numeric_limits<std::int32_t>::min()), u"-2147483648");
    EXPECT_EQ(cw::to_text(std::numeric_limits<std::int32_t>::max()), u"2147483647");
}

TEST(to_text, takes_texts_up_to_the_first_zero)
{
    EXPECT_EQ(cw::to_text(cw::automation::variant(u"text")), u"text");
    EXPECT_EQ(cw::to_text(cw::automation::variant(std::u16string_view(u"a\0b", 3))), u"a");
    VARIANT null_text;
    VariantInit(&null_text);
    null_text.vt = VT_BSTR;
    null_text.bstrVal = nullptr;
    EXPECT_EQ(cw::to_text(null_text), u"");
}

TEST(to_text, converts_other_values)
{
    EXPECT_EQ(cw::to_text(cw::automation::variant(std::int32_t{-42})), u"-42");
    EXPECT_EQ(cw::to_text(cw::automation::variant(true)), u"-1");
    EXPECT_EQ(cw::to_text(cw::automation::variant(false)), u"0");
}

TEST(to_text, what_cannot_be_converted_is_empty)
{
    cw::automation::variant empty;
    EXPECT_EQ(cw::to_text(empty), u"");
    cw::automation::variant null;
    null.vt = VT_NULL;
    EXPECT_EQ(cw::to_text(null), u"");
    cw::automation::variant array;
    array.vt = VT_ARRAY | VT_I4;
    array.parray = SafeArrayCreateVector(VT_I4, 0, 2);
    EXPECT_EQ(cw::to_text(array), u"");
}

// --- to_bytes ---

TEST(string_to_bytes, converts_with_the_terminator)
{
    char target[16];
    std::memset(target, 1, sizeof target);
    EXPECT_EQ(string(u"\u00E9x").to_bytes(target, sizeof target, utf8), 4u);
    EXPECT_EQ(std::string_view(target, 4), std::string_view("\xC3\xA9x\0", 4));
    EXPECT_EQ(string(u"a\0b", 3).to_bytes(target, sizeof target, 1252), 4u);
    EXPECT_EQ(std::string_view(target, 4), std::string_view("a\0b\0", 4));
    EXPECT_EQ(string().to_bytes(target, sizeof target, 1252), 1u);
}

TEST(string_to_bytes, without_a_size_it_asks)
{
    EXPECT_EQ(string(u"\u00E9x").to_bytes(nullptr, 0, utf8), 4u);
    EXPECT_EQ(string(u"\u00E9x").to_bytes(nullptr, 0, 1252), 3u);
    EXPECT_EQ(string(u"abc").to_bytes(nullptr, 0, utf16_little_endian), 8u);
    EXPECT_EQ(string(u"abc").to_bytes(nullptr, 0, utf16_big_endian), 8u);
    EXPECT_EQ(string().to_bytes(nullptr, 0, utf16_big_endian), 2u);
}

TEST(string_to_bytes, answers_0_where_the_conversion_fails)
{
    char target[4];
    set_last_error(0);
    EXPECT_EQ(string(u"too long").to_bytes(target, sizeof target, utf8), 0u);
    EXPECT_EQ(get_last_error(), error_insufficient_buffer);
    EXPECT_EQ(string(u"a").to_bytes(target, sizeof target, 42), 0u);
    EXPECT_EQ(get_last_error(), error_invalid_parameter);
}

TEST(string_to_bytes, a_room_beyond_an_int_is_no_failure)
{
    char target[4];
    EXPECT_EQ(string(u"a").to_bytes(target, std::size_t{1} << 40, utf8), 2u);
}

TEST(string_to_bytes, writes_utf16_as_it_is)
{
    char target[8];
    std::memset(target, 9, sizeof target);
    EXPECT_EQ(string(u"\u20ACb").to_bytes(target, 6, utf16_little_endian), 6u);
    EXPECT_EQ(std::string_view(target, 8), std::string_view("\xAC\x20"
                                                            "b\0"
                                                            "\0\0"
                                                            "\x09\x09",
                                                            8));
}

TEST(string_to_bytes, swaps_each_pair_of_big_endian)
{
    char target[8];
    std::memset(target, 9, sizeof target);
    EXPECT_EQ(string(u"\u20ACb").to_bytes(target, 6, utf16_big_endian), 6u);
    EXPECT_EQ(std::string_view(target, 8), std::string_view("\x20\xAC"
                                                            "\0b"
                                                            "\0\0"
                                                            "\x09\x09",
                                                            8));
}

TEST(string_to_bytes, a_room_that_is_too_small_cuts_utf16)
{
    char target[6];
    std::memset(target, 9, sizeof target);
    EXPECT_EQ(string(u"abcd").to_bytes(target, 4, utf16_little_endian), 4u);
    EXPECT_EQ(std::string_view(target, 6), std::string_view("a\0b\0\x09\x09", 6));
    EXPECT_EQ(string(u"abcd").to_bytes(target, 4, utf16_big_endian), 4u);
    EXPECT_EQ(std::string_view(target, 6), std::string_view("\0a\0b\x09\x09", 6));
}

TEST(string_to_bytes, an_odd_byte_of_the_room_is_left_alone)
{
    char target[6];
    std::memset(target, 9, sizeof target);
    EXPECT_EQ(string(u"abcd").to_bytes(target, 5, utf16_big_endian), 5u);
    EXPECT_EQ(std::string_view(target, 6), std::string_view("\0a\0b\x09\x09", 6));
    std::memset(target, 9, sizeof target);
    EXPECT_EQ(string(u"abcd").to_bytes(target, 1, utf16_big_endian), 1u);
    EXPECT_EQ(target[0], 9);
}

TEST(string_to_bytes, bytes_beyond_the_text_are_swapped_in_place)
{
    char target[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(string(u"a").to_bytes(target, 8, utf16_big_endian), 8u);
    EXPECT_EQ(std::string_view(target, 8), std::string_view("\0a\0\0\6\5\10\7", 8));
}

// --- assign_bytes ---

TEST(string_assign_bytes, converts_a_code_page)
{
    string text(u"old");
    EXPECT_EQ(text.assign_bytes("\xC3\xA9x", 3, utf8), 2u);
    EXPECT_EQ(text, u"\u00E9x");
    EXPECT_EQ(text.assign_bytes("\x80", 1, 1252), 1u);
    EXPECT_EQ(text, u"\u20AC");
    EXPECT_EQ(text.assign_bytes("up to the zero", -1, 1252), 14u);
    EXPECT_EQ(text, u"up to the zero");
    EXPECT_EQ(text.assign_bytes("a\0b", 3, utf8), 3u);
    EXPECT_EQ(text.view(), std::u16string_view(u"a\0b", 3));
    EXPECT_EQ(text.assign_bytes("abcdef", 2, utf8), 2u);
    EXPECT_EQ(text, u"ab");
}

TEST(string_assign_bytes, reads_no_byte_beyond_the_length)
{
    // Without a terminator; a byte more would be noticed by the sanitizer.
    const std::vector<char> bytes{'a', 'b', 'c'};
    string text;
    EXPECT_EQ(text.assign_bytes(bytes.data(), 3, utf8), 3u);
    EXPECT_EQ(text, u"abc");
    EXPECT_EQ(text.assign_bytes(bytes.data() + 1, 2, utf16_little_endian), 1u);
}

TEST(string_assign_bytes, an_empty_narrow_source_leaves_the_old_text)
{
    string text(u"old");
    EXPECT_EQ(text.assign_bytes("", -1, utf8), 0u);
    EXPECT_EQ(text.assign_bytes("abc", 0, utf8), 0u);
    EXPECT_EQ(text.assign_bytes(nullptr, -1, utf8), 0u);
    EXPECT_EQ(text.assign_bytes("abc", -2, utf8), 0u);
    EXPECT_EQ(text.assign_bytes("abc", 3, 42), 0u);
    EXPECT_EQ(text, u"old");
}

TEST(string_assign_bytes, takes_utf16_bytes)
{
    string text(u"old");
    EXPECT_EQ(text.assign_bytes("\xAC\x20"
                                "b\0",
                                4, utf16_little_endian),
              2u);
    EXPECT_EQ(text, u"\u20ACb");
    EXPECT_EQ(text.assign_bytes("\x20\xAC\0b", 4, utf16_big_endian), 2u);
    EXPECT_EQ(text, u"\u20ACb");
    EXPECT_EQ(text.assign_bytes("a\0b", 3, utf16_little_endian), 1u);
    EXPECT_EQ(text, u"a");
    EXPECT_EQ(text.assign_bytes("\0a\0", 3, utf16_big_endian), 1u);
    EXPECT_EQ(text, u"a");
    EXPECT_EQ(text.assign_bytes("abc", 0, utf16_little_endian), 0u);
    EXPECT_EQ(text, u"");
}

TEST(string_assign_bytes, measures_utf16_up_to_its_zero)
{
    string text;
    EXPECT_EQ(text.assign_bytes("a\0b\0\0\0z\0", -1, utf16_little_endian), 2u);
    EXPECT_EQ(text, u"ab");
    EXPECT_EQ(text.assign_bytes("\0a\0b\0\0\0z", -1, utf16_big_endian), 2u);
    EXPECT_EQ(text, u"ab");
    // At an odd address.
    const char shifted[] = "xa\0b\0\0\0";
    EXPECT_EQ(text.assign_bytes(shifted + 1, -1, utf16_little_endian), 2u);
    EXPECT_EQ(text, u"ab");
}

TEST(string_assign_bytes, more_bytes_than_the_converters_count_are_refused)
{
    string text(u"old");
    const char byte = 'a';
    EXPECT_THROW(text.assign_bytes(&byte, std::ptrdiff_t{0x80000000}, utf8), std::length_error);
    EXPECT_EQ(text, u"old");
}

// --- joining ---

TEST(string_append_separated, puts_exactly_one_separator_at_the_seam)
{
    const auto joined = [](const char16_t* a, const char16_t* b) {
        string text(a);
        text.append_separated(string(b), u'\\');
        return text;
    };
    EXPECT_EQ(joined(u"a\\", u"\\b"), u"a\\b");
    EXPECT_EQ(joined(u"a", u"b"), u"a\\b");
    EXPECT_EQ(joined(u"a\\", u"b"), u"a\\b");
    EXPECT_EQ(joined(u"a", u"\\b"), u"a\\b");
    EXPECT_EQ(joined(u"", u"b"), u"b");
    EXPECT_EQ(joined(u"", u"\\b"), u"\\b");
    EXPECT_EQ(joined(u"a", u""), u"a");
    EXPECT_EQ(joined(u"a\\", u""), u"a\\");
    EXPECT_EQ(joined(u"", u""), u"");
    EXPECT_EQ(joined(u"\\", u"\\"), u"\\");
    EXPECT_EQ(joined(u"a\\\\", u"\\\\b"), u"a\\\\\\b");
    string list(u"x");
    list.append_separated(string(u"y"), u';');
    EXPECT_EQ(list, u"x;y");
    list.append_separated(list, u';');
    EXPECT_EQ(list, u"x;y;x;y");
}

TEST(combine_path, uses_the_separator_of_the_first_path)
{
    const auto combined = [](const char16_t* a, const char16_t* b) { return cw::combine_path(string(a), string(b)); };
    EXPECT_EQ(combined(u"a\\", u"\\b"), u"a\\b");
    EXPECT_EQ(combined(u"a", u"b"), u"a\\b");
    EXPECT_EQ(combined(u"", u"b"), u"b");
    EXPECT_EQ(combined(u"a", u""), u"a");
    EXPECT_EQ(combined(u"C:\\", u"b"), u"C:\\b");
    EXPECT_EQ(combined(u"/a", u"b"), u"/a/b");
    EXPECT_EQ(combined(u"/a/", u"/b"), u"/a/b");
    EXPECT_EQ(combined(u"/", u"b"), u"/b");
    EXPECT_EQ(combined(u"a/b", u"c"), u"a/b\\c");
}

TEST(is_other_than_backslash, only_the_single_backslash_is_not)
{
    EXPECT_FALSE(cw::is_other_than_backslash(string(u"\\")));
    for (const char16_t* text : {u"", u"\\\\", u"a", u"/"})
        EXPECT_TRUE(cw::is_other_than_backslash(string(text)));
    EXPECT_TRUE(cw::is_other_than_backslash(string(u"\\\0", 2)));
}

// --- comparison and search without case ---

TEST(string_equals_no_case, takes_every_form)
{
    const string text(u"Features \u00C9");
    EXPECT_TRUE(text.equals_no_case(string(u"fEATURES \u00E9")));
    EXPECT_TRUE(text.equals_no_case(u"FEATURES \u00E9"));
    EXPECT_FALSE(text.equals_no_case(u"FEATURES"));
    EXPECT_FALSE(string(u"abc").equals_no_case(u"abcd"));
    EXPECT_FALSE(string(u"abcd").equals_no_case(u"abc"));
    EXPECT_FALSE(string(u"abc").equals_no_case(u"abd"));
    EXPECT_TRUE(string(u"abc").equals_no_case("ABC"));
    EXPECT_FALSE(string(u"abc").equals_no_case("ABD"));
    EXPECT_TRUE(string().equals_no_case(u""));
    EXPECT_TRUE(string().equals_no_case(static_cast<const char16_t*>(nullptr)));
    EXPECT_FALSE(string(u"a").equals_no_case(u""));
}

TEST(string_equals_no_case, narrow_text_is_cut_as_at_its_construction)
{
    const auto pages = make_icu_code_pages("ibm-943_P15A-2003");
    services set = current();
    set.pages = pages.get();
    const scoped_services scope(set);
    EXPECT_TRUE(string(u"\u65E5").equals_no_case("\x93\xFA\x96\x7B"));
}

TEST(string_equals_no_case, the_comparison_ends_at_a_common_zero)
{
    EXPECT_TRUE(string(u"a\0x", 3).equals_no_case(string(u"A\0y", 3)));
    EXPECT_FALSE(string(u"a\0x", 3).equals_no_case(string(u"A\0yz", 4)));
}

TEST(string_find_no_case, finds_the_first_match)
{
    const string text(u"One two ONE Two");
    const auto find = [&](std::size_t start, std::u16string_view pattern) {
        return text.find_no_case(start, pattern.data(), pattern.size());
    };
    EXPECT_EQ(find(0, u"one"), 0u);
    EXPECT_EQ(find(1, u"one"), 8u);
    EXPECT_EQ(find(0, u"TWO"), 4u);
    EXPECT_EQ(find(5, u"TWO"), 12u);
    EXPECT_EQ(find(12, u"two"), 12u);
    EXPECT_EQ(find(13, u"two"), string::npos);
    EXPECT_EQ(find(0, u"three"), string::npos);
    EXPECT_EQ(find(0, u"One two ONE Two!"), string::npos);
    EXPECT_EQ(find(0, u"oNE TWO one tWO"), 0u);
    EXPECT_EQ(find(string::npos, u"one"), string::npos);
}

TEST(string_find_no_case, the_first_character_must_agree_in_upper_case)
{
    // The Kelvin sign is a k in lower case, but not a K in upper case.
    EXPECT_EQ(string(u"\u212A1 k1").find_no_case(0, u"K1", 2), 3u);
    EXPECT_EQ(string(u"1\u212A").find_no_case(0, u"1K", 2), 0u);
}

TEST(string_find_no_case, an_empty_pattern_is_at_the_start)
{
    const string text(u"abc");
    EXPECT_EQ(text.find_no_case(0, u"", 0), 0u);
    EXPECT_EQ(text.find_no_case(2, u"", 0), 2u);
    EXPECT_EQ(text.find_no_case(50, u"", 0), 50u);
}

} // namespace
