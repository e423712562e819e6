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

TEST(format_folder_type, looks_at_bit_zero)
{
    EXPECT_EQ(FormatFolderType(0), u"Common");
    EXPECT_EQ(FormatFolderType(1), u"Personal");
    EXPECT_EQ(FormatFolderType(2), u"Common");
    EXPECT_EQ(FormatFolderType(-1), u"Personal");
}

TEST(format_show_command, has_three_words)
{
    EXPECT_EQ(FormatShowCommand(1), u"Normal Window");
    EXPECT_EQ(FormatShowCommand(3), u"Maximized Window");
    EXPECT_EQ(FormatShowCommand(7), u"Minimized Window");
    for (const std::int32_t other : {0, 2, 4, 5, 6, 8, -1})
        EXPECT_EQ(FormatShowCommand(other), u"") << other;
}

TEST(decode_multi_string, four_digits_are_a_character)
{
    EXPECT_EQ(DecodeMultiString(u"0041004200000000"), u"AB  ");
    EXPECT_EQ(DecodeMultiString(u"004100000042"), u"A B");
    EXPECT_EQ(DecodeMultiString(u"00e400E4AbCdFFFF"), u"\u00E4\u00E4\uABCD\uFFFF");
    EXPECT_EQ(DecodeMultiString(u"D83DDE00"), u"\U0001F600");
    EXPECT_EQ(DecodeMultiString(u""), u"");
}

TEST(decode_multi_string, drops_what_makes_no_character)
{
    for (const char16_t* digits : {u"0", u"00", u"004"})
        EXPECT_EQ(DecodeMultiString(digits), u"");
    EXPECT_EQ(DecodeMultiString(u"00410"), u"A");
    EXPECT_EQ(DecodeMultiString(u"004100"), u"A");
    EXPECT_EQ(DecodeMultiString(u"0041004"), u"A");
}

TEST(decode_multi_string, reads_each_run_as_a_number)
{
    // Digits as far as they go.
    EXPECT_EQ(DecodeMultiString(u"41zz"), u"A");
    EXPECT_EQ(DecodeMultiString(u"4 41"), u"\u0004");
    // Blanks, a sign and "0x" may stand before them.
    EXPECT_EQ(DecodeMultiString(u"  41"), u"A");
    EXPECT_EQ(DecodeMultiString(u"\t\r\n4"), u"\u0004");
    EXPECT_EQ(DecodeMultiString(u"0x41"), u"A");
    EXPECT_EQ(DecodeMultiString(u"0X4a"), u"J");
    EXPECT_EQ(DecodeMultiString(u" +41"), u"A");
    EXPECT_EQ(DecodeMultiString(u"+0x4"), u"\u0004");
    // Of a negative number the low sixteen bits.
    EXPECT_EQ(DecodeMultiString(u"-001"), u"\uFFFF");
    EXPECT_EQ(DecodeMultiString(u"-FFF"), u"\uF001");
    // No number is zero, and zero a blank.
    for (const char16_t* digits : {u"zzzz", u"    ", u"- 41", u"+-41", u"x041", u"0x 4", u"0xzz", u"-000", u"000x"})
        EXPECT_EQ(DecodeMultiString(digits), u" ");
    // Each run ends by itself.
    EXPECT_EQ(DecodeMultiString(u"00zz0041"), u" A");
    EXPECT_EQ(DecodeMultiString(string(u"4\u00001141", 6)), u"\u0004");
}

TEST(format_cabinet_version, three_versions_have_names)
{
    EXPECT_EQ(FormatCabinetVersion(0x100600C), u"ver60");
    EXPECT_EQ(FormatCabinetVersion(0x1007000), u"ver70");
    EXPECT_EQ(FormatCabinetVersion(0x1009500), u"ver95");
    EXPECT_EQ(FormatCabinetVersion(0x1009501), u"-16739071 (ANSI)");
    EXPECT_EQ(FormatCabinetVersion(0x100600B), u"-16752629 (ANSI)");
}

TEST(format_cabinet_version, others_are_numbers)
{
    EXPECT_EQ(FormatCabinetVersion(0x2000005), u"5 (ANSI)");
    EXPECT_EQ(FormatCabinetVersion(0x4000009), u"9 (Unicode)");
    EXPECT_EQ(FormatCabinetVersion(0x1000000), u"-16777216 (ANSI)");
    EXPECT_EQ(FormatCabinetVersion(0x6000000), u"33554432 (Unicode)");
    EXPECT_EQ(FormatCabinetVersion(0), u"-33554432 (ANSI)");
    EXPECT_EQ(FormatCabinetVersion(-1), u"-67108865 (Unicode)");
    EXPECT_EQ(FormatCabinetVersion(INT32_MAX), u"2080374783 (Unicode)");
    // Below the least number the arithmetic goes round.
    EXPECT_EQ(FormatCabinetVersion(INT32_MIN), u"2113929216 (ANSI)");
}

TEST(format_engine_version, keeps_the_sign_of_the_high_halves_alone)
{
    EXPECT_EQ(FormatEngineVersion(0x000A0001, 0x00020003), u"10.1.2.3");
    EXPECT_EQ(FormatEngineVersion(-1, -1), u"-1.65535.-1.65535");
    EXPECT_EQ(FormatEngineVersion(INT32_MIN, 0x8000), u"-32768.0.0.32768");
    EXPECT_EQ(FormatEngineVersion(INT32_MAX, 0), u"32767.65535.0.0");
}

TEST(format_media_settings, words_of_binding_maintenance_and_update)
{
    EXPECT_EQ(FormatEngineBinding(1), u"Static");
    for (const std::int32_t other : {0, 2, -1})
        EXPECT_EQ(FormatEngineBinding(other), u"Dynamic") << other;

    EXPECT_EQ(FormatMaintenance(1), u"Standard");
    EXPECT_EQ(FormatMaintenance(2), u"Cumulative");
    EXPECT_EQ(FormatMaintenance(4), u"Multi-Instance");
    EXPECT_EQ(FormatMaintenance(8), u"No Uninstall or Maintenance");
    for (const std::int32_t other : {0, 3, 6, 12, 16, -1})
        EXPECT_EQ(FormatMaintenance(other), u"") << other;

    EXPECT_EQ(FormatUpdateMode(1), u"Update - Full Media");
    EXPECT_EQ(FormatUpdateMode(3), u"Update - Differential Media");
    for (const std::int32_t other : {0, 2, 4, -1})
        EXPECT_EQ(FormatUpdateMode(other), u"Update Not Supported") << other;

    for (std::int32_t mode = -1; mode < 6; ++mode)
        EXPECT_EQ(IsUpdate(mode), mode == 1 || mode == 3) << mode;
}

/// A value that owns an array of texts.
automation::variant array_of_texts(std::vector<std::u16string> texts, LONG lower = 0)
{
    automation::variant value;
    value.parray = SafeArrayCreateVector(VT_BSTR, lower, static_cast<ULONG>(texts.size()));
    value.vt = VT_ARRAY | VT_BSTR;
    for (std::size_t place = 0; place < texts.size(); ++place)
        static_cast<BSTR*>(value.parray->pvData)[place] =
            SysAllocStringLen(texts[place].data(), static_cast<UINT>(texts[place].size()));
    return value;
}

/// What an operation raises as a bare result code; S_OK where it raises nothing.
HRESULT bare_result_of_joining(const VARIANT& value)
{
    try {
        (void)JoinOldVersions(value);
    } catch (HRESULT result) {
        return result;
    }
    return S_OK;
}

TEST(join_old_versions, separates_by_semicolon_and_blank)
{
    EXPECT_EQ(JoinOldVersions(array_of_texts({})), u"");
    EXPECT_EQ(JoinOldVersions(array_of_texts({u"1.0"})), u"1.0");
    EXPECT_EQ(JoinOldVersions(array_of_texts({u"1.0", u"1.1", u"2"})), u"1.0; 1.1; 2");
}

TEST(join_old_versions, separates_behind_a_text_only)
{
    EXPECT_EQ(JoinOldVersions(array_of_texts({u"", u"", u"a", u"", u"b"})), u"a; ; b");
    EXPECT_EQ(JoinOldVersions(array_of_texts({u"", u""})), u"");
}

TEST(join_old_versions, begins_at_the_lower_bound)
{
    for (const LONG lower : {1, -1, 100, INT32_MIN, INT32_MAX - 1})
        EXPECT_EQ(JoinOldVersions(array_of_texts({u"a", u"b"}, lower)), u"a; b") << lower;
}

TEST(join_old_versions, follows_a_reference)
{
    automation::variant texts = array_of_texts({u"a", u"b"});
    VARIANT reference{};
    reference.vt = VT_BYREF | VT_ARRAY | VT_BSTR;
    reference.byref = &texts.parray;
    EXPECT_EQ(JoinOldVersions(reference), u"a; b");
    // Nothing stays held.
    EXPECT_EQ(texts.parray->cLocks, 0u);
    reference.byref = nullptr;
    EXPECT_THROW((void)JoinOldVersions(reference), safe_array_exception);
}

TEST(join_old_versions, wants_an_array_of_one_dimension)
{
    EXPECT_THROW((void)JoinOldVersions(automation::variant()), safe_array_exception);
    EXPECT_THROW((void)JoinOldVersions(automation::variant(std::u16string_view(u"1.0"))), safe_array_exception);
    automation::variant none;
    none.vt = VT_ARRAY | VT_BSTR;
    none.parray = nullptr;
    EXPECT_THROW((void)JoinOldVersions(none), safe_array_exception);

    const SAFEARRAYBOUND bounds[] = {{2, 0}, {2, 0}};
    automation::variant square;
    square.vt = VT_ARRAY | VT_BSTR;
    square.parray = SafeArrayCreate(VT_BSTR, 2, bounds);
    EXPECT_THROW((void)JoinOldVersions(square), safe_array_exception);
}

TEST(join_old_versions, raises_a_bare_result_for_elements_that_are_no_texts)
{
    for (const VARTYPE type : {VT_I4, VT_VARIANT, VT_UI1, VT_DISPATCH}) {
        automation::variant value;
        value.parray = SafeArrayCreateVector(type, 0, 2);
        value.vt = static_cast<VARTYPE>(VT_ARRAY | type);
        EXPECT_EQ(bare_result_of_joining(value), DISP_E_TYPEMISMATCH) << type;
        // Also where the value says otherwise.
        value.vt = VT_ARRAY | VT_BSTR;
        EXPECT_EQ(bare_result_of_joining(value), DISP_E_TYPEMISMATCH) << type;
    }
}

TEST(join_old_versions, raises_a_bare_result_for_an_array_that_cannot_be_locked)
{
    automation::variant texts = array_of_texts({u"a"});
    VARIANT reference{};
    reference.vt = VT_BYREF | VT_ARRAY | VT_BSTR;
    reference.byref = &texts.parray;
    constexpr ULONG most_locks = 0xFFFF;
    texts.parray->cLocks = most_locks;
    EXPECT_EQ(bare_result_of_joining(reference), E_UNEXPECTED);
    EXPECT_EQ(texts.parray->cLocks, most_locks);
    texts.parray->cLocks = 0;
}

TEST(join_old_versions, lets_go_of_the_array_where_it_raises)
{
    automation::variant numbers;
    numbers.parray = SafeArrayCreateVector(VT_I4, 0, 1);
    numbers.vt = VT_ARRAY | VT_I4;
    VARIANT reference{};
    reference.vt = VT_BYREF | VT_ARRAY | VT_I4;
    reference.byref = &numbers.parray;
    EXPECT_EQ(bare_result_of_joining(reference), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(numbers.parray->cLocks, 0u);
}

TEST(join_old_versions, raises_where_the_value_cannot_be_copied)
{
    VARIANT value{};
    value.vt = 0x0FFF;
    EXPECT_THROW((void)JoinOldVersions(value), _com_error);
}

} // namespace
} // namespace cw
