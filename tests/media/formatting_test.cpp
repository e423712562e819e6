#include "media/formatting.h"

#include "bridges/media_interface.h"
#include "foundation/exceptions.h"
#include "tests/support/scripted_readers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

namespace cw {

// Makes a failing comparison readable.
void PrintTo(const string& text, std::ostream* out)
{
    *out << '"' << string(text).narrow() << '"';
}

namespace {

TEST(format_overwrite, whole_values_come_before_bits)
{
    EXPECT_EQ(FormatOverwrite(1), u"ALWAYS_OVERWRITE");
    EXPECT_EQ(FormatOverwrite(2), u"NEVER_OVERWRITE");
    EXPECT_EQ(FormatOverwrite(3), u"");
    EXPECT_EQ(FormatOverwrite(0), u"");
}

TEST(format_overwrite, each_bit_has_its_keyword)
{
    EXPECT_EQ(FormatOverwrite(0x100), u"SAME_VERSION");
    EXPECT_EQ(FormatOverwrite(0x200), u"NEWER_VERSION");
    EXPECT_EQ(FormatOverwrite(0x400), u"OLDER_VERSION");
    EXPECT_EQ(FormatOverwrite(0x10), u" / SAME_DATE");
    EXPECT_EQ(FormatOverwrite(0x20), u" / NEWER_DATE");
    EXPECT_EQ(FormatOverwrite(0x40), u" / OLDER_DATE");
}

TEST(format_overwrite, older_replaces_newer_and_same_is_added)
{
    EXPECT_EQ(FormatOverwrite(0x600), u"OLDER_VERSION");
    EXPECT_EQ(FormatOverwrite(0x300), u"NEWER_VERSION, SAME_VERSION");
    EXPECT_EQ(FormatOverwrite(0x710), u"OLDER_VERSION, SAME_VERSION / SAME_DATE");
    EXPECT_EQ(FormatOverwrite(0x120), u"SAME_VERSION / NEWER_DATE");
    EXPECT_EQ(FormatOverwrite(0x60), u" / OLDER_DATE");
    EXPECT_EQ(FormatOverwrite(0x770), u"OLDER_VERSION, SAME_VERSION / OLDER_DATE, SAME_DATE");
}

TEST(format_overwrite, bits_without_a_keyword_say_nothing)
{
    EXPECT_EQ(FormatOverwrite(0x880F), u"");
    EXPECT_EQ(FormatOverwrite(0x101), u"SAME_VERSION");
    EXPECT_EQ(FormatOverwrite(static_cast<std::int32_t>(0x80000200)), u"NEWER_VERSION");
}

TEST(format_file_need, has_three_words)
{
    EXPECT_EQ(FormatFileNeed(1), u"Critical");
    EXPECT_EQ(FormatFileNeed(2), u"Highly Recommended");
    EXPECT_EQ(FormatFileNeed(4), u"Standard");
    for (const std::int32_t other : {0, 3, 5, 8, -1})
        EXPECT_EQ(FormatFileNeed(other), u"") << other;
}

TEST(format_language, reads_hexadecimal_text_and_shows_decimal)
{
    EXPECT_EQ(FormatLanguage(u"0409"), u"1033");
    EXPECT_EQ(FormatLanguage(u"040C"), u"1036");
    EXPECT_EQ(FormatLanguage(u"040c"), u"1036");
    EXPECT_EQ(FormatLanguage(u" 0x409 rest"), u"1033");
    EXPECT_EQ(FormatLanguage(u"409;40C"), u"1033");
    EXPECT_EQ(FormatLanguage(u"-1"), u"-1");
    EXPECT_EQ(FormatLanguage(u"+7"), u"7");
}

TEST(format_language, zero_and_no_number_are_not_available)
{
    for (const char16_t* text : {u"", u"0", u"0000", u"neutral", u"x409", u"-", u"0x"})
        EXPECT_EQ(FormatLanguage(text), u"n/a");
}

TEST(format_language, holds_at_the_limits_of_32_bits)
{
    EXPECT_EQ(FormatLanguage(u"FFFFFFFF"), u"2147483647");
    EXPECT_EQ(FormatLanguage(u"7FFFFFFF"), u"2147483647");
    EXPECT_EQ(FormatLanguage(u"-80000000"), u"-2147483648");
    EXPECT_EQ(FormatLanguage(u"123456789ABCDEF0123456789"), u"2147483647");
}

using test_support::answer_object;
using test_support::scripted_object;

automation::com_ptr<scripted_object> named_object(DISPID name_member, std::u16string name)
{
    return scripted_object::make([name_member, name = std::move(name)](DISPID member, const VARIANT*, VARIANT& result) {
        if (member != name_member)
            return E_FAIL;
        result.bstrVal = SysAllocStringLen(name.data(), static_cast<UINT>(name.size()));
        result.vt = VT_BSTR;
        return S_OK;
    });
}

/// A collection of named objects whose count answers these numbers, the last one again and again.
automation::com_ptr<scripted_object> collection_of(DISPID name_member, std::vector<std::u16string> names,
                                                   std::vector<LONG> counts)
{
    return scripted_object::make(
        [=, read = std::size_t{0}](DISPID member, const VARIANT* argument, VARIANT& result) mutable {
            if (member == media_collection::Item.id) {
                EXPECT_EQ(argument->vt, VT_I4);
                const auto object = named_object(name_member, names.at(static_cast<std::size_t>(argument->lVal) - 1));
                return answer_object(result, object.get());
            }
            result.lVal = counts.at(std::min(read++, counts.size() - 1));
            result.vt = VT_I4;
            return S_OK;
        });
}

string joined_features(std::vector<std::u16string> names)
{
    const auto count = static_cast<LONG>(names.size());
    return JoinFeatureNames(collection_of(media_feature::Name.id, std::move(names), {count}).get());
}

TEST(join_names, separates_by_comma_and_blank)
{
    EXPECT_EQ(joined_features({}), u"");
    EXPECT_EQ(joined_features({u"A"}), u"A");
    EXPECT_EQ(joined_features({u"A", u"B", u"C"}), u"A, B, C");
}

TEST(join_names, appends_behind_an_empty_text_too)
{
    EXPECT_EQ(joined_features({u"", u"B"}), u", B");
    EXPECT_EQ(joined_features({u"", u"", u""}), u", , ");
}

TEST(join_names, shows_internal_names_as_they_are)
{
    EXPECT_EQ(joined_features({u"<Support>", u"<Data>"}), u"<Support>, <Data>");
}

TEST(join_names, reads_a_components_name_by_its_own_number)
{
    EXPECT_EQ(JoinComponentNames(collection_of(media_component::Name.id, {u"A", u"B"}, {2}).get()), u"A, B");
    EXPECT_THROW((void)JoinComponentNames(collection_of(media_feature::Name.id, {u"A"}, {1}).get()), _com_error);
}

TEST(join_names, reads_the_count_anew_after_each_item)
{
    EXPECT_EQ(JoinFeatureNames(collection_of(media_feature::Name.id, {u"A", u"B", u"C"}, {3, 3, 2}).get()), u"A, B");
    EXPECT_EQ(JoinFeatureNames(collection_of(media_feature::Name.id, {u"A", u"B", u"C"}, {1, 2, 3}).get()), u"A, B, C");
}

TEST(join_names, raises_without_a_collection)
{
    EXPECT_THROW((void)JoinFeatureNames(nullptr), _com_error);
}

} // namespace
} // namespace cw
