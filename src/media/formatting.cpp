#include "media/formatting.h"

#include "bridges/media_objects.h"

#include <array>
#include <limits>
#include <span>

namespace cw {
namespace {

constexpr std::uint32_t label_not_available = 248;
constexpr std::u16string_view list_separator = u", ";

template <class Member>
string join_names(IDispatch* collection, const Member& name_member)
{
    string joined;
    for_each_item(collection, [&](std::int32_t index, IDispatch* item) {
        const string name = get(item, name_member);
        if (index == 1)
            joined = name;
        else
            joined.append(list_separator).append(name.view());
    });
    return joined;
}

struct overwrite_keyword {
    std::uint32_t bit;
    const char16_t* keyword;
    bool replaces; // what the part held before; otherwise it is added to it
};

constexpr auto version_keywords = std::to_array<overwrite_keyword>({
    {0x200, u"NEWER_VERSION", true},
    {0x400, u"OLDER_VERSION", true},
    {0x100, u"SAME_VERSION", false},
});
constexpr auto date_keywords = std::to_array<overwrite_keyword>({
    {0x20, u"NEWER_DATE", true},
    {0x40, u"OLDER_DATE", true},
    {0x10, u"SAME_DATE", false},
});

string overwrite_part(std::uint32_t flags, std::span<const overwrite_keyword> keywords)
{
    string part;
    for (const overwrite_keyword& entry : keywords) {
        if (!(flags & entry.bit))
            continue;
        if (entry.replaces || part.empty())
            part = entry.keyword;
        else
            part.append(list_separator).append(entry.keyword);
    }
    return part;
}

struct file_need_label {
    std::int32_t value;
    std::uint32_t label_id;
};
constexpr auto file_needs = std::to_array<file_need_label>({{1, 163}, {2, 164}, {4, 165}});

int hexadecimal_digit(char16_t c) noexcept
{
    if (c >= u'0' && c <= u'9')
        return c - u'0';
    if (c >= u'a' && c <= u'f')
        return c - u'a' + 10;
    if (c >= u'A' && c <= u'F')
        return c - u'A' + 10;
    return -1;
}

/// The C library's `wcstol` in base 16: leading blanks, a sign, "0x", then digits as far as they go;
/// held at the limits of 32 bits.
std::int32_t number_from_hexadecimal(std::u16string_view text) noexcept
{
    std::size_t at = 0;
    while (at < text.size() && (text[at] == u' ' || (text[at] >= u'\t' && text[at] <= u'\r')))
        ++at;
    bool negative = false;
    if (at < text.size() && (text[at] == u'+' || text[at] == u'-'))
        negative = text[at++] == u'-';
    if (at + 2 < text.size() && text[at] == u'0' && (text[at + 1] | 0x20) == u'x' &&
        hexadecimal_digit(text[at + 2]) >= 0)
        at += 2;
    std::int64_t value = 0;
    constexpr std::int64_t limit = std::int64_t{1} << 32;
    for (; at < text.size(); ++at) {
        const int digit = hexadecimal_digit(text[at]);
        if (digit < 0)
            break;
        if (value < limit)
            value = value * 16 + digit;
    }
    if (negative)
        value = -value;
    if (value > std::numeric_limits<std::int32_t>::max())
        return std::numeric_limits<std::int32_t>::max();
    if (value < std::numeric_limits<std::int32_t>::min())
        return std::numeric_limits<std::int32_t>::min();
    return static_cast<std::int32_t>(value);
}

} // namespace

string JoinFeatureNames(IDispatch* features)
{
    return join_names(features, media_feature::Name);
}

string JoinComponentNames(IDispatch* components)
{
    return join_names(components, media_component::Name);
}

string FormatOverwrite(std::int32_t flags)
{
    if (flags == 1)
        return u"ALWAYS_OVERWRITE";
    if (flags == 2)
        return u"NEVER_OVERWRITE";
    const auto bits = static_cast<std::uint32_t>(flags);
    string result = overwrite_part(bits, version_keywords);
    const string dates = overwrite_part(bits, date_keywords);
    // The separator leads even where there is no version part.
    if (!dates.empty())
        result.append(u" / ").append(dates.view());
    return result;
}

string FormatFileNeed(std::int32_t file_need)
{
    string text;
    for (const file_need_label& entry : file_needs)
        if (entry.value == file_need)
            text.load(entry.label_id);
    return text;
}

string FormatLanguage(const string& language)
{
    const std::int32_t number = number_from_hexadecimal(language);
    if (number != 0)
        return to_text(number);
    string text;
    text.load(label_not_available);
    return text;
}

} // namespace cw
