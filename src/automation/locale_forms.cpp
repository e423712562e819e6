#include "automation/locale_forms.h"

#include <unicode/udat.h>
#include <unicode/uloc.h>
#include <unicode/unum.h>
#include <unicode/ures.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <string_view>

namespace cw::automation::detail {

namespace {

constexpr LCID neutral_locale = 0x007F;
constexpr LCID english_locale = 0x0409;
constexpr LCID user_locale = 0x0400;
constexpr LCID system_locale = 0x0800;

// ICU's handles are mere void pointers, so each needs its closing function beside it.
template <auto Close>
struct closer {
    void operator()(auto* handle) const noexcept { Close(handle); }
};
using resource_bundle = std::unique_ptr<UResourceBundle, closer<&ures_close>>;
using number_format = std::unique_ptr<UNumberFormat, closer<&unum_close>>;
using date_format = std::unique_ptr<UDateFormat, closer<&udat_close>>;

// An ICU name such as "de_DE", empty for the neutral forms.
std::string known_name(std::string name)
{
    name.resize(std::min(name.find_first_of(".@"), name.size()));
    if (name.empty() || name == "C" || name == "POSIX" || name == "en_US")
        return {};
    UErrorCode status = U_ZERO_ERROR;
    const resource_bundle bundle(ures_open(nullptr, name.c_str(), &status));
    // Without this test ICU answers for a locale that it does not know with whatever is its default.
    return U_FAILURE(status) || status == U_USING_DEFAULT_WARNING ? std::string{} : name;
}

std::string name_from_environment(const char* category)
{
    for (const char* variable : {"LC_ALL", category, "LANG"})
        if (const char* value = std::getenv(variable); value && *value)
            return value;
    return {};
}

std::string name_of(LCID locale, const char* category)
{
    if (locale == neutral_locale || locale == english_locale)
        return {};
    if (locale == 0 || locale == user_locale || locale == system_locale)
        return name_from_environment(category);
    UErrorCode status = U_ZERO_ERROR;
    char name[ULOC_FULLNAME_CAPACITY] = {};
    uloc_getLocaleForLCID(locale, name, sizeof name - 1, &status);
    return U_FAILURE(status) ? std::string{} : std::string{name};
}

void make_spaces_plain(std::u16string& text)
{
    std::ranges::transform(text, text.begin(), plain_space);
    // Marks of writing direction are for a display, not for a text that is read again.
    std::erase_if(text, [](char16_t c) { return c == u'\u200E' || c == u'\u200F' || c == u'\u061C'; });
}

// Runs an ICU function that fills a buffer and tells the length that it needs.
template <class Function>
std::u16string filled(Function fill)
{
    std::u16string text(128, u'\0');
    UErrorCode status = U_ZERO_ERROR;
    const auto length = fill(text.data(), static_cast<std::int32_t>(text.size()), &status);
    if (U_FAILURE(status))
        return {};
    text.resize(static_cast<std::size_t>(std::max(length, 0)));
    make_spaces_plain(text);
    return text;
}

char16_t symbol(const UNumberFormat* format, UNumberFormatSymbol which, char16_t otherwise)
{
    const std::u16string text = filled([&](UChar* room, std::int32_t size, UErrorCode* status) {
        return unum_getSymbol(format, which, room, size, status);
    });
    return text.size() == 1 ? text.front() : otherwise;
}

number_forms read_number_forms(const std::string& name)
{
    number_forms forms;
    UErrorCode status = U_ZERO_ERROR;
    const number_format format(unum_open(UNUM_DECIMAL, nullptr, 0, (name + "@numbers=latn").c_str(), nullptr, &status));
    if (U_FAILURE(status))
        return forms;
    forms.decimal = symbol(format.get(), UNUM_DECIMAL_SEPARATOR_SYMBOL, forms.decimal);
    forms.group = symbol(format.get(), UNUM_GROUPING_SEPARATOR_SYMBOL, forms.group);
    return forms;
}

// Years are written in full: a short year does not tell a file of 1999 from one of 2099.
std::u16string with_full_year(std::u16string pattern)
{
    const std::size_t first = pattern.find(u'y');
    if (first == std::u16string::npos)
        return pattern;
    const std::size_t last = std::min(pattern.find_first_not_of(u'y', first), pattern.size());
    return pattern.replace(first, last - first, u"yyyy");
}

date_forms read_date_forms(const std::string& name)
{
    date_forms forms;
    const std::string full_name = name + "@calendar=gregorian;numbers=latn";
    auto open = [&](UDateFormatStyle time, UDateFormatStyle date) {
        UErrorCode status = U_ZERO_ERROR;
        date_format format(udat_open(time, date, full_name.c_str(), u"GMT", -1, nullptr, 0, &status));
        if (U_FAILURE(status))
            format.reset();
        return format;
    };
    const auto date = open(UDAT_NONE, UDAT_SHORT);
    const auto time = open(UDAT_MEDIUM, UDAT_NONE);
    if (!date || !time)
        return forms;
    auto pattern_of = [](const UDateFormat* format) {
        return filled([&](UChar* room, std::int32_t size, UErrorCode* status) {
            return udat_toPattern(format, 0, room, size, status);
        });
    };
    auto symbol_of = [&](UDateFormatSymbolType type, std::int32_t index) {
        return filled([&](UChar* room, std::int32_t size, UErrorCode* status) {
            return udat_getSymbols(date.get(), type, index, room, size, status);
        });
    };
    forms.date = with_full_year(pattern_of(date.get()));
    forms.time = pattern_of(time.get());
    forms.morning = symbol_of(UDAT_AM_PMS, 0);
    forms.afternoon = symbol_of(UDAT_AM_PMS, 1);
    if (forms.date.find(u"MMM") != std::u16string::npos)
        for (std::size_t i = 0; i < forms.months.size(); ++i)
            forms.months[i] = symbol_of(UDAT_SHORT_MONTHS, static_cast<std::int32_t>(i));
    return forms;
}

// Never freed: a conversion may still run on another thread while the process ends.
template <class Forms>
const Forms& cached(std::string name, Forms (*read)(const std::string&))
{
    static std::mutex& guard = *new std::mutex;
    static auto& known = *new std::map<std::string, Forms>;
    const std::lock_guard lock(guard);
    if (const auto found = known.find(name); found != known.end())
        return found->second;
    const std::string icu_name = known_name(name);
    return known.emplace(std::move(name), icu_name.empty() ? Forms{} : read(icu_name)).first->second;
}

} // namespace

const number_forms& number_forms_of(LCID locale)
{
    return cached(name_of(locale, "LC_NUMERIC"), &read_number_forms);
}

const date_forms& date_forms_of(LCID locale)
{
    return cached(name_of(locale, "LC_TIME"), &read_date_forms);
}

char16_t plain_space(char16_t c) noexcept
{
    const bool wide_or_narrow = c == u'\u00A0' || c == u'\u202F' || c == u'\u2009' || c == u'\u3000';
    return wide_or_narrow ? u' ' : c;
}

} // namespace cw::automation::detail
