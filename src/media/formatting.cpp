#include "media/formatting.h"

#include "bridges/media_objects.h"
#include "foundation/exceptions.h"
#include "foundation/resource_text.h"
#include "media/variant_arrays.h"

#include <algorithm>
#include <array>
#include <limits>
#include <span>
#include <utility>

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

struct value_label {
    std::int32_t value;
    std::uint32_t label_id;
};
constexpr std::uint32_t no_label = 0;

constexpr auto file_needs = std::to_array<value_label>({{1, 163}, {2, 164}, {4, 165}});
constexpr auto show_commands = std::to_array<value_label>({{1, 209}, {3, 207}, {7, 208}});
constexpr auto engine_bindings = std::to_array<value_label>({{1, 223}});
constexpr std::uint32_t label_dynamic = 224;
constexpr auto maintenance_modes = std::to_array<value_label>({{1, 225}, {2, 226}, {4, 227}, {8, 228}});
constexpr auto update_modes = std::to_array<value_label>({{1, 230}, {3, 231}});
constexpr std::uint32_t label_update_not_supported = 232;
constexpr std::uint32_t label_personal = 205;
constexpr std::uint32_t label_common = 206;

/// The empty text for no label.
string label_text(std::uint32_t label_id)
{
    return label_id == no_label ? string() : resource_text(label_id);
}

/// The label of a value, `otherwise` where it has none.
string label_of(std::int32_t value, std::span<const value_label> labels, std::uint32_t otherwise)
{
    for (const value_label& entry : labels)
        if (entry.value == value)
            return label_text(entry.label_id);
    return label_text(otherwise);
}

struct named_format {
    std::int32_t version;
    const char16_t* name;
};
constexpr auto named_formats =
    std::to_array<named_format>({{0x100600C, u"ver60"}, {0x1007000, u"ver70"}, {0x1009500, u"ver95"}});
constexpr std::uint32_t unicode_format = 0x4000000;
constexpr std::uint32_t ansi_format = 0x2000000;

/// Holds an array in its place.
class array_lock {
public:
    explicit array_lock(SAFEARRAY* array) : m_array(array) { require(SafeArrayLock(array)); }
    ~array_lock()
    {
        if (m_array)
            (void)SafeArrayUnlock(m_array);
    }
    array_lock(const array_lock&) = delete;
    array_lock& operator=(const array_lock&) = delete;
    void unlock() { require(SafeArrayUnlock(std::exchange(m_array, nullptr))); }

    /// Raises a failed result as it is.
    static void require(HRESULT result)
    {
        if (FAILED(result))
            throw result;
    }

private:
    SAFEARRAY* m_array;
};

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
    return label_of(file_need, file_needs, no_label);
}

string FormatLanguage(const string& language)
{
    const std::int32_t number = number_from_hexadecimal(language);
    if (number != 0)
        return to_text(number);
    return label_text(label_not_available);
}

string FormatFolderType(std::int32_t folder_type)
{
    return label_text((static_cast<std::uint32_t>(folder_type) & 1u) != 0 ? label_personal : label_common);
}

string FormatShowCommand(std::int32_t show_command)
{
    return label_of(show_command, show_commands, no_label);
}

string DecodeMultiString(const string& digits)
{
    constexpr std::size_t digits_a_character = 4;
    std::u16string text(digits.length() / digits_a_character, u' ');
    for (std::size_t place = 0; place < text.size(); ++place) {
        const std::u16string_view run = digits.view().substr(place * digits_a_character, digits_a_character);
        if (const auto character = static_cast<char16_t>(number_from_hexadecimal(run)))
            text[place] = character;
    }
    return string(text);
}

string FormatCabinetVersion(std::int32_t format_version)
{
    for (const named_format& entry : named_formats)
        if (entry.version == format_version)
            return entry.name;
    const auto bits = static_cast<std::uint32_t>(format_version);
    const bool is_unicode = (bits & unicode_format) != 0;
    string text = to_text(static_cast<std::int32_t>(bits - (is_unicode ? unicode_format : ansi_format)));
    return text.append(is_unicode ? u" (Unicode)" : u" (ANSI)");
}

string FormatEngineVersion(std::int32_t high, std::int32_t low)
{
    string text;
    text.format(u"%d.%d.%d.%d", high >> 16, high & 0xFFFF, low >> 16, low & 0xFFFF);
    return text;
}

string FormatEngineBinding(std::int32_t binding)
{
    return label_of(binding, engine_bindings, label_dynamic);
}

string FormatMaintenance(std::int32_t mode)
{
    return label_of(mode, maintenance_modes, no_label);
}

string FormatUpdateMode(std::int32_t mode)
{
    return label_of(mode, update_modes, label_update_not_supported);
}

bool IsUpdate(std::int32_t update_mode) noexcept
{
    return std::ranges::find(update_modes, update_mode, &value_label::value) != update_modes.end();
}

string JoinOldVersions(const VARIANT& old_versions)
{
    constexpr std::u16string_view version_separator = u"; ";
    automation::variant copy;
    const HRESULT copied = VariantCopy(&copy, &old_versions);
    if (FAILED(copied))
        raise_com_error(copied);
    SAFEARRAY* const array = array_of(copy);
    if (SafeArrayGetDim(array) != 1)
        throw safe_array_exception();
    array_lock lock(array);
    // An element is fetched into a holder for a text, and into nothing else.
    VARTYPE element_type = VT_EMPTY;
    array_lock::require(SafeArrayGetVartype(array, &element_type));
    if (element_type != VT_BSTR)
        throw HRESULT{DISP_E_TYPEMISMATCH};
    LONG lower = 0;
    LONG upper = 0;
    array_lock::require(SafeArrayGetLBound(array, 1, &lower));
    array_lock::require(SafeArrayGetUBound(array, 1, &upper));
    string text;
    for (std::int64_t index = lower; index <= upper; ++index) {
        const auto place = static_cast<LONG>(index);
        automation::bstr element;
        array_lock::require(SafeArrayGetElement(array, &place, element.put()));
        if (!text.empty())
            text.append(version_separator);
        text.append(element.view());
    }
    lock.unlock();
    return text;
}

} // namespace cw
