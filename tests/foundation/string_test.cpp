#include "foundation/string.h"

#include "platform/last_error.h"
#include "platform/posix_services.h"

#include "printing.h"
#include "tests/support/scripted_services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <stdexcept>

namespace {

using cw::string;
using cw::test_support::scripted_services;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace cw::platform;

constexpr std::uint32_t mark = 0xC0FFEE;

/// The set in use with another charset for narrow text.
class charset_scope {
public:
    explicit charset_scope(const char* charset) : m_pages(make_icu_code_pages(charset)), m_scope(set()) {}

private:
    services set() const
    {
        services replaced = current();
        replaced.pages = m_pages.get();
        return replaced;
    }
    std::unique_ptr<code_pages> m_pages;
    scoped_services m_scope;
};

std::u16string letters(std::size_t count)
{
    std::u16string text;
    for (std::size_t i = 0; i < count; ++i)
        text += static_cast<char16_t>(u'a' + i % 26);
    return text;
}

template <class Exception, class Action>
std::string message_of(Action action)
{
    try {
        action();
    } catch (const Exception& failure) {
        return failure.what();
    }
    return "<nothing thrown>";
}

// --- construction ---

TEST(string, default_is_empty_in_the_small_buffer)
{
    const string text;
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(text.length(), 0u);
    EXPECT_EQ(text.capacity(), 7u);
    EXPECT_EQ(text.c_str()[0], u'\0');
}

TEST(string, constructs_from_every_form)
{
    EXPECT_EQ(string(u"abc"), u"abc");
    EXPECT_EQ(string(static_cast<const char16_t*>(nullptr)), u"");
    EXPECT_EQ(string(u"ab\0cd", 5).view(), std::u16string_view(u"ab\0cd", 5));
    EXPECT_EQ(string(std::u16string_view(u"xyz")), u"xyz");
    EXPECT_EQ(string(std::u16string_view()), u"");
    const string longer(u"a longer text");
    EXPECT_EQ(string(longer), longer);
    EXPECT_EQ(string("narrow"), u"narrow");
    EXPECT_EQ(string(static_cast<const char*>(nullptr)), u"");
    const string zeros(std::size_t{20});
    EXPECT_EQ(zeros.length(), 20u);
    EXPECT_EQ(zeros.view(), std::u16string(20, u'\0'));
}

TEST(string, constructs_from_a_run)
{
    const string source(u"0123456789");
    EXPECT_EQ(string(source, 2, 3), u"234");
    EXPECT_EQ(string(source, 8, 100), u"89");
    EXPECT_EQ(string(source, 10, 1), u"");
    EXPECT_EQ(string(source, 0, string::npos), source);
    EXPECT_EQ(source.substr(1), u"123456789");
    EXPECT_EQ(source.substr(1, 2), u"12");
    EXPECT_EQ(message_of<std::out_of_range>([&] { (void)string(source, 11, 0); }), "invalid string position");
    EXPECT_EQ(message_of<std::out_of_range>([&] { (void)source.substr(11); }), "invalid string position");
}

TEST(string, narrow_text_is_cut_by_its_trail_bytes)
{
    const charset_scope japanese("ibm-943_P15A-2003");
    EXPECT_EQ(string("abc"), u"abc");
    // Two characters in four bytes: two bytes are taken, which are the first character.
    EXPECT_EQ(string("\x93\xFA\x96\x7B"), u"\u65E5");
    EXPECT_EQ(string("a\x93\xFA"), u"a\uFFFD");
    EXPECT_EQ(string("\x93\xFAz"), u"\u65E5");
}

TEST(string, narrow_text_in_utf8_is_cut_likewise)
{
    const charset_scope utf8("UTF-8");
    EXPECT_EQ(string("\xC3\xA4z"), u"\u00E4");
    EXPECT_EQ(string("\xC3\xA4zz"), u"\u00E4z");
}

TEST(string, text_that_was_never_long_costs_no_allocation)
{
    scripted_services script;
    {
        string text(u"1234567");
        text = u"7654321";
        const string copy(text);
        EXPECT_EQ(copy.capacity(), 7u);
    }
    EXPECT_THAT(script.memory.sizes, IsEmpty());
    EXPECT_EQ(script.memory.releases, 0);
}

TEST(string, the_eighth_character_moves_to_a_buffer_of_fifteen)
{
    scripted_services script;
    const string text(u"12345678");
    EXPECT_EQ(text.capacity(), 15u);
    EXPECT_THAT(script.memory.sizes, ElementsAre(16u));
    string grown(u"1234567");
    EXPECT_EQ(grown.capacity(), 7u);
    grown.append(1, u'8');
    EXPECT_EQ(grown.capacity(), 15u);
    EXPECT_EQ(grown, text);
}

// --- growth ---

TEST(string, construction_rounds_up_to_seven)
{
    for (const auto& [length, capacity] :
         {std::pair{0u, 7u}, {7u, 7u}, {8u, 15u}, {15u, 15u}, {16u, 23u}, {23u, 23u}, {100u, 103u}})
        EXPECT_EQ(string(letters(length)).capacity(), capacity) << length;
}

TEST(string, growth_is_at_least_by_half)
{
    string text(letters(103));
    ASSERT_EQ(text.capacity(), 103u);
    text.append(1, u'x');
    EXPECT_EQ(text.capacity(), 154u); // 103 + 51, more than 104 | 7
    text.append(200, u'x');
    EXPECT_EQ(text.capacity(), 311u); // 304 | 7, more than 154 + 77
    string assigned(letters(103));
    assigned.assign(letters(104).data(), 104);
    EXPECT_EQ(assigned.capacity(), 154u);
    string replaced(letters(103));
    replaced.replace(0, 0, u"x", 1);
    EXPECT_EQ(replaced.capacity(), 154u);
}

TEST(string, growth_gives_the_old_buffer_back)
{
    scripted_services script;
    string text(letters(20));
    text.append(100, u'x');
    EXPECT_EQ(script.memory.releases, 1);
    text.append(letters(500));
    EXPECT_EQ(script.memory.releases, 2);
    (void)text.narrow();
    text.append(letters(500));
    (void)text.narrow();
    EXPECT_EQ(script.memory.releases, 4);
}

TEST(string, its_end_gives_every_buffer_back)
{
    scripted_services script;
    {
        string text(letters(20));
        (void)text.narrow();
        (void)text.bstr();
        EXPECT_EQ(script.memory.allocations, 3);
    }
    EXPECT_EQ(script.memory.releases, 3);
}

TEST(string, a_long_buffer_stays)
{
    string text(letters(50));
    const char16_t* const buffer = text.c_str();
    text = u"x";
    EXPECT_EQ(text.capacity(), 55u);
    EXPECT_EQ(text.c_str(), buffer);
    EXPECT_EQ(text, u"x");
}

TEST(string, too_long_is_refused_before_any_copy)
{
    constexpr std::size_t beyond = 0x7FFFFFFFFFFFFFFF;
    const auto message = [](auto action) { return message_of<std::length_error>(action); };
    EXPECT_EQ(message([] { (void)string(beyond); }), "string too long");
    EXPECT_EQ(message([] { (void)string(u"x", beyond); }), "string too long");
    string text(u"abc");
    EXPECT_EQ(message([&] { text.append(beyond - 3, u'x'); }), "string too long");
    EXPECT_EQ(message([&] { text.append(string::npos, u'x'); }), "string too long");
    EXPECT_EQ(message([&] { text.append(u"x", string::npos); }), "string too long");
    EXPECT_EQ(message([&] { text.assign(u"x", beyond); }), "string too long");
    EXPECT_EQ(message([&] { text.replace(0, 1, u"x", beyond); }), "string too long");
    EXPECT_EQ(text, u"abc");
}

TEST(string, a_count_beyond_the_allocator_is_refused_and_not_cut)
{
    scripted_services script;
    const auto message = [](auto action) { return message_of<std::length_error>(action); };
    EXPECT_EQ(message([] { (void)string(std::size_t{0x1'0000'0000}); }), "string too long");
    EXPECT_EQ(message([] { (void)string(u"x", 0x1'0000'0005); }), "string too long");
    string text;
    EXPECT_EQ(message([&] { text.append(0xFFFFFFFF, u'x'); }), "string too long");
    EXPECT_THAT(script.memory.sizes, IsEmpty());
}

TEST(string, a_failing_allocation_leaves_the_old_text)
{
    scripted_services script;
    string text(u"1234567");
    script.memory.fail_after = 1;
    EXPECT_THROW(text.append(1, u'8'), std::bad_alloc);
    EXPECT_EQ(text, u"1234567");
    script.memory.fail_after = 1;
    EXPECT_THROW(text.append(u"89", 2), std::bad_alloc);
    EXPECT_EQ(text, u"1234567");
    script.memory.fail_after = 1;
    EXPECT_THROW((void)string(letters(100)), std::bad_alloc);
}

// --- the last error ---

struct construction {
    const char* name;
    std::function<void(std::optional<string>&)> make;
};

class string_last_error : public testing::TestWithParam<construction> {};

TEST_P(string_last_error, is_kept_by_construction_and_destruction)
{
    scripted_services script;
    script.memory.last_error_left = 1234;
    std::optional<string> text;
    set_last_error(mark);
    GetParam().make(text);
    EXPECT_EQ(get_last_error(), mark);

    // Copies of every kind must be freed without a trace.
    (void)text->narrow();
    (void)text->bstr();
    text->append(letters(100));
    EXPECT_EQ(get_last_error(), 1234u);
    set_last_error(mark + 1);
    const int released = script.memory.releases;
    text.reset();
    EXPECT_GT(script.memory.releases, released + 1);
    EXPECT_EQ(get_last_error(), mark + 1);
}

const string long_source(letters(60));

INSTANTIATE_TEST_SUITE_P(
    all, string_last_error,
    testing::Values(
        construction{"default", [](auto& text) { text.emplace(); }},
        construction{"wide", [](auto& text) { text.emplace(u"a text that needs a buffer"); }},
        construction{"null", [](auto& text) { text.emplace(static_cast<const char16_t*>(nullptr)); }},
        construction{"counted", [](auto& text) { text.emplace(u"a text that needs a buffer", std::size_t{20}); }},
        construction{"view", [](auto& text) { text.emplace(std::u16string_view(u"a text that needs a buffer")); }},
        construction{"copy", [](auto& text) { text.emplace(long_source); }},
        construction{"run", [](auto& text) { text.emplace(long_source, std::size_t{5}, std::size_t{40}); }},
        construction{"narrow", [](auto& text) { text.emplace("a narrow text that needs a buffer"); }},
        construction{"malformed", [](auto& text) { text.emplace("\xFF"); }},
        construction{"empty_narrow", [](auto& text) { text.emplace(""); }},
        construction{"null_narrow", [](auto& text) { text.emplace(static_cast<const char*>(nullptr)); }},
        construction{"count", [](auto& text) { text.emplace(std::size_t{50}); }}),
    [](const auto& each) { return each.param.name; });

TEST(string, only_building_and_destroying_keep_the_last_error)
{
    scripted_services script;
    script.memory.last_error_left = 1234;
    string text;
    set_last_error(mark);
    text.append(letters(20));
    EXPECT_EQ(get_last_error(), 1234u);
    set_last_error(mark);
    text = letters(200).c_str();
    EXPECT_EQ(get_last_error(), 1234u);
}

// --- changes ---

TEST(string, assigns)
{
    string text(u"old");
    text = u"new text, longer";
    EXPECT_EQ(text, u"new text, longer");
    text = static_cast<const char16_t*>(nullptr);
    EXPECT_EQ(text, u"");
    text.assign(u"abcdef", 3);
    EXPECT_EQ(text, u"abc");
    const string other(u"other");
    text = other;
    EXPECT_EQ(text, other);
}

TEST(string, assigning_itself_changes_nothing)
{
    string text(letters(30));
    string& same = text;
    text = same;
    EXPECT_EQ(text, letters(30));
    text = text.c_str();
    EXPECT_EQ(text, letters(30));
}

TEST(string, assigns_a_part_of_itself)
{
    string text(u"0123456789");
    text.assign(text.c_str() + 2, 5);
    EXPECT_EQ(text, u"23456");
    string small(u"abcdef");
    small.assign(small.c_str() + 3, 3);
    EXPECT_EQ(small, u"def");
}

TEST(string, appends)
{
    string text(u"a");
    text.append(u"bcd", 2).append(u"ef").append(3, u'!');
    text += u"end";
    EXPECT_EQ(text, u"abcef!!!end");
    text.append(std::u16string_view());
    EXPECT_EQ(text, u"abcef!!!end");
}

TEST(string, appends_a_part_of_itself_across_a_reallocation)
{
    for (const std::size_t length : {7u, 15u, 23u, 100u}) {
        string text(letters(length));
        std::u16string expected = letters(length);
        for (int round = 0; round < 4; ++round) {
            text.append(text.c_str() + 1, text.length() - 1);
            expected += expected.substr(1);
            EXPECT_EQ(text, expected);
        }
    }
}

TEST(string, appends_a_part_of_itself_in_place)
{
    string text(letters(20));
    text.append(100, u'x');
    text = u"abcdef";
    text.append(text.c_str() + 2, 4);
    EXPECT_EQ(text, u"abcdefcdef");
}

TEST(string, erases)
{
    string text(u"0123456789");
    text.erase(2, 3);
    EXPECT_EQ(text, u"0156789");
    text.erase(5, 100);
    EXPECT_EQ(text, u"01567");
    text.erase(5);
    EXPECT_EQ(text, u"01567");
    EXPECT_EQ(message_of<std::out_of_range>([&] { text.erase(6); }), "invalid string position");
    text.erase(0);
    EXPECT_TRUE(text.empty());
}

TEST(string, erasing_frees_the_bstr_first)
{
    scripted_services script;
    string text(u"abc");
    BSTR* const address = text.bstr();
    ASSERT_NE(*address, nullptr);
    EXPECT_THROW(text.erase(9), std::out_of_range);
    EXPECT_EQ(*address, nullptr);
    (void)text.bstr();
    text.replace(0, 1, u"", 0);
    EXPECT_NE(*address, nullptr);
    text.erase(0, 1);
    EXPECT_EQ(*address, nullptr);
    EXPECT_EQ(text, u"c");
}

TEST(string, replaces_a_run)
{
    string text(u"0123456789");
    text.replace(2, 3, u"xy", 2);
    EXPECT_EQ(text, u"01xy56789");
    text.replace(0, 1, u"longer", 6);
    EXPECT_EQ(text, u"longer1xy56789");
    text.replace(10, 100, u"!", 1);
    EXPECT_EQ(text, u"longer1xy5!");
    text.replace(11, 0, u"?", 1);
    EXPECT_EQ(text, u"longer1xy5!?");
    EXPECT_EQ(message_of<std::out_of_range>([&] { text.replace(13, 0, u"", 0); }), "invalid string position");
}

TEST(string, replaces_with_a_part_of_itself)
{
    for (const bool grows : {false, true}) {
        string text(u"0123456789");
        if (!grows) {
            text.append(100, u'x');
            text.assign(u"0123456789", 10);
        }
        text.replace(1, 2, text.c_str() + 3, 7);
        EXPECT_EQ(text, u"034567893456789");
        text.replace(0, 10, text.c_str() + 8, 2);
        EXPECT_EQ(text, u"3456789");
    }
}

TEST(string, finds)
{
    const string text(u"abcabc");
    EXPECT_EQ(text.find(u"bc"), 1u);
    EXPECT_EQ(text.find(u"bc", 2), 4u);
    EXPECT_EQ(text.find(u"bcX", 0, 2), 1u);
    EXPECT_EQ(text.find(u"BC"), string::npos);
    EXPECT_EQ(text.find(u""), 0u);
    EXPECT_EQ(string().find(u""), 0u);
    EXPECT_EQ(text.find(u"c", 100), string::npos);
    EXPECT_EQ(text.rfind(u'b'), 4u);
    EXPECT_EQ(text.rfind(u'x'), string::npos);
}

TEST(string, swaps_text_and_leaves_the_copies)
{
    string small(u"small");
    string large(letters(40));
    const char* const narrow = small.narrow();
    BSTR* const bstr = small.bstr();
    const BSTR text = *bstr;
    small.swap(large);
    EXPECT_EQ(small, letters(40));
    EXPECT_EQ(small.capacity(), 47u);
    EXPECT_EQ(large, u"small");
    EXPECT_EQ(large.capacity(), 7u);
    EXPECT_EQ(small.narrow_capacity_in_bytes(), 64u);
    EXPECT_EQ(large.narrow_capacity_in_bytes(), 0u);
    EXPECT_EQ(std::string_view(narrow), "small");
    EXPECT_EQ(*bstr, text);
    small.swap(small);
    EXPECT_EQ(small, letters(40));
}

TEST(string, concatenates)
{
    const string a(u"one");
    const string b(u"two");
    EXPECT_EQ(a + b, u"onetwo");
    EXPECT_EQ(a + u"!", u"one!");
    EXPECT_EQ(u"!" + a, u"!one");
    EXPECT_EQ(a + static_cast<const char16_t*>(nullptr), u"one");
}

TEST(string, compares_exactly)
{
    EXPECT_TRUE(string(u"a") == string(u"a"));
    EXPECT_FALSE(string(u"a") == string(u"A"));
    EXPECT_FALSE(string(u"a\0b", 3) == string(u"a\0c", 3));
    EXPECT_EQ(string(u"abc")[1], u'b');
    string text(u"abc");
    text.data()[0] = u'x';
    EXPECT_EQ(text, u"xbc");
}

// --- the narrow copy ---

TEST(string, an_empty_narrow_copy_has_64_bytes)
{
    scripted_services script;
    string text;
    EXPECT_EQ(text.narrow_capacity_in_bytes(), 0u);
    EXPECT_STREQ(text.narrow(), "");
    EXPECT_EQ(text.narrow_capacity_in_bytes(), 64u);
    EXPECT_THAT(script.memory.sizes, ElementsAre(64u));
}

TEST(string, the_narrow_copy_grows_in_steps_of_64)
{
    for (const auto& [length, capacity] : {std::pair{1u, 64u}, {30u, 64u}, {31u, 128u}, {62u, 128u}, {63u, 192u}}) {
        string text(letters(length));
        EXPECT_EQ(std::u16string(text.view()), letters(length));
        EXPECT_EQ(std::string_view(text.narrow()).size(), length);
        EXPECT_EQ(text.narrow_capacity_in_bytes(), capacity) << length;
    }
}

TEST(string, a_narrow_buffer_that_is_not_greater_than_needed_is_replaced)
{
    string text(letters(30));
    (void)text.narrow();
    EXPECT_EQ(text.narrow_capacity_in_bytes(), 64u);
    text.append(1, u'x');
    (void)text.narrow();
    EXPECT_EQ(text.narrow_capacity_in_bytes(), 128u);
}

TEST(string, a_narrow_buffer_is_kept_and_converted_anew)
{
    scripted_services script;
    string text(u"first");
    const char* const before = text.narrow();
    text = u"2nd";
    EXPECT_EQ(text.narrow(), before);
    EXPECT_STREQ(before, "2nd");
    EXPECT_EQ(script.memory.allocations, 1);
    string shrunk(letters(100));
    (void)shrunk.narrow();
    shrunk = u"x";
    (void)shrunk.narrow();
    EXPECT_EQ(shrunk.narrow_capacity_in_bytes(), 256u);
}

TEST(string, a_charset_that_needs_three_bytes_gets_them)
{
    const charset_scope utf8("UTF-8");
    const std::u16string euros(30, u'\u20AC');
    string text(euros);
    std::string expected;
    for (int i = 0; i < 30; ++i)
        expected += "\xE2\x82\xAC";
    EXPECT_EQ(text.narrow(), expected);
    EXPECT_EQ(text.narrow_capacity_in_bytes(), 128u); // 91 bytes needed
    EXPECT_EQ(text.narrow(), expected);
    string longer(std::u16string(1000, u'\u20AC'));
    EXPECT_EQ(std::string_view(longer.narrow()).size(), 3000u);
    EXPECT_EQ(longer.narrow_capacity_in_bytes(), 3008u); // 3001 bytes needed
}

TEST(string, the_narrow_copy_is_in_the_thread_s_charset)
{
    const charset_scope latin("ISO-8859-1");
    EXPECT_STREQ(string(u"\u00E9\u20AC").narrow(), "\xE9?");
}

struct failing_pages final : code_pages {
    int to_narrow(std::uint32_t, const char16_t*, int, char*, int) noexcept override
    {
        set_last_error(error_invalid_parameter);
        return 0;
    }
    int to_wide(std::uint32_t, const char*, int, char16_t*, int) noexcept override { return 0; }
    std::size_t character_count(const char*) noexcept override { return 0; }
};

TEST(string, a_failed_narrow_conversion_gives_an_empty_text)
{
    failing_pages pages;
    services set = current();
    set.pages = &pages;
    const scoped_services scope(set);
    EXPECT_STREQ(string(u"abc").narrow(), "");
}

TEST(string, no_memory_for_the_narrow_copy_is_told)
{
    scripted_services script;
    string text(u"abc");
    script.memory.fail_after = 1;
    EXPECT_THROW((void)text.narrow(), std::bad_alloc);
    EXPECT_EQ(text.narrow_capacity_in_bytes(), 0u);
    EXPECT_STREQ(text.narrow(), "abc");
}

// --- the BSTR copy ---

TEST(string, an_empty_text_has_a_null_bstr)
{
    string text;
    EXPECT_EQ(*text.bstr(), nullptr);
    text = u"abc";
    ASSERT_NE(*text.bstr(), nullptr);
    text = u"";
    // A copy that once was stays one, with the length of the text.
    BSTR const emptied = *text.bstr();
    EXPECT_EQ(SysStringLen(emptied), 0u);
}

TEST(string, the_bstr_is_refreshed_from_the_text)
{
    scripted_services script;
    string text(u"abc");
    BSTR* const address = text.bstr();
    EXPECT_EQ(SysStringLen(*address), 3u);
    EXPECT_EQ(std::u16string_view(*address), u"abc");
    const BSTR same = *address;
    text = u"xyz";
    EXPECT_EQ(text.bstr(), address);
    EXPECT_EQ(*address, same);
    EXPECT_EQ(std::u16string_view(same), u"xyz");
    EXPECT_EQ(script.memory.allocations, 1);
    text = u"longer";
    EXPECT_EQ(std::u16string_view(*text.bstr()), u"longer");
    EXPECT_EQ(SysStringLen(*address), 6u);
}

TEST(string, the_bstr_gets_its_terminator_back)
{
    string text(u"abc");
    (*text.bstr())[3] = u'!';
    EXPECT_EQ((*text.bstr())[3], u'\0');
}

TEST(string, the_bstr_keeps_embedded_zeros)
{
    string text(u"a\0b", 3);
    EXPECT_EQ(SysStringLen(*text.bstr()), 3u);
    EXPECT_EQ((*text.bstr())[2], u'b');
    EXPECT_EQ((*text.bstr())[3], u'\0');
}

TEST(string, no_memory_for_the_bstr_is_told)
{
    scripted_services script;
    string text(u"abc");
    (void)text.bstr();
    text = letters(300).c_str();
    script.memory.fail_after = 1;
    EXPECT_THROW((void)text.bstr(), std::bad_alloc);
    EXPECT_EQ(SysStringLen(*text.bstr()), 300u);
}

TEST(string, copies_start_without_copies)
{
    string text(u"abc");
    (void)text.narrow();
    BSTR* const address = text.bstr();
    string copy(text);
    EXPECT_EQ(copy.narrow_capacity_in_bytes(), 0u);
    EXPECT_NE(*copy.bstr(), *address);
}

// --- buffer_scope ---

TEST(string_buffer_scope, takes_the_text_back_up_to_the_first_zero)
{
    string text(std::size_t{16});
    {
        const string::buffer_scope scope(text, true);
        std::u16string_view(u"ab\0cd", 5).copy(*text.bstr(), 5);
    }
    EXPECT_EQ(text, u"ab");
    EXPECT_EQ(text.length(), 2u);
}

TEST(string_buffer_scope, cuts_a_text_with_a_zero_in_the_middle)
{
    string text(u"left\0right", 10);
    {
        const string::buffer_scope scope(text, true);
        (void)text.bstr();
    }
    EXPECT_EQ(text, u"left");
}

TEST(string_buffer_scope, a_null_bstr_counts_as_empty)
{
    string text(u"something");
    {
        const string::buffer_scope scope(text, true);
    }
    EXPECT_EQ(text, u"");
}

TEST(string_buffer_scope, does_not_read_beyond_an_overwritten_terminator)
{
    string text(u"abc");
    {
        const string::buffer_scope scope(text, true);
        (*text.bstr())[3] = u'!';
    }
    EXPECT_EQ(text, u"abc");
}

TEST(string_buffer_scope, takes_a_bstr_that_the_callee_put_in_place)
{
    string text;
    {
        string::buffer_scope scope(text);
        scope.take_from_bstr();
        *text.bstr() = SysAllocString(u"given by the callee");
    }
    EXPECT_EQ(text, u"given by the callee");
}

TEST(string_buffer_scope, without_a_request_nothing_is_taken)
{
    string text(u"abc");
    {
        const string::buffer_scope scope(text);
        (*text.bstr())[0] = u'x';
    }
    EXPECT_EQ(text, u"abc");
}

TEST(string_buffer_scope, takes_a_narrow_text)
{
    string text(u"abc");
    {
        string::buffer_scope scope(text);
        scope.take_from("narrow");
    }
    EXPECT_EQ(text, u"narrow");
    {
        const string::buffer_scope scope(text, true, "both, and this one last");
        (*text.bstr())[0] = u'x';
    }
    EXPECT_EQ(text, u"both, and this one last");
}

TEST(string_buffer_scope, keeps_the_last_error)
{
    scripted_services script;
    script.memory.last_error_left = 1234;
    string text(u"abc");
    {
        const string::buffer_scope scope(text, true, "a narrow text that needs a buffer");
        (void)text.bstr();
        set_last_error(mark);
    }
    EXPECT_EQ(get_last_error(), mark);
    EXPECT_EQ(text, u"a narrow text that needs a buffer");
}

TEST(string_buffer_scope, no_memory_is_told)
{
    scripted_services script;
    string text;
    const auto fill = [&] {
        const string::buffer_scope scope(text, true);
        *text.bstr() = SysAllocString(u"longer than the small buffer");
        script.memory.fail_after = 1;
    };
    EXPECT_THROW(fill(), std::bad_alloc);
    EXPECT_EQ(text, u"");
}

} // namespace
