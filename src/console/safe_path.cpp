#include "console/safe_path.h"

#include "platform/utf8.h"

#include <algorithm>
#include <array>
#include <utility>

namespace cw::console {
namespace {

constexpr std::size_t longest_part_in_bytes = 255;
// Deeper folders could be made, but most programs could not reach them.
constexpr std::size_t longest_name_in_bytes = 4000;
constexpr std::u16string_view separators = u"\\/";

constexpr bool is_separator(char16_t c)
{
    return separators.find(c) != separators.npos;
}

constexpr bool is_control(char16_t c)
{
    return c < 0x20 || (c >= 0x7F && c < 0xA0);
}

constexpr bool is_ascii_letter(char16_t c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

bool is_text(std::u16string_view name)
{
    return platform::from_utf8(platform::to_utf8(name)) == name;
}

bool begins_at_root(std::u16string_view name)
{
    return is_separator(name.front());
}

bool holds_control(std::u16string_view name)
{
    return std::ranges::any_of(name, is_control);
}

bool is_too_long(std::u16string_view name)
{
    return platform::to_utf8(name).size() > longest_name_in_bytes;
}

struct rule {
    bool (*breaks)(std::u16string_view);
    std::string_view refusal;
};

// In this order: each may rely on those before it.
constexpr auto name_rules = std::to_array<rule>({
    {[](std::u16string_view name) { return name.empty(); }, "the name is empty"},
    {[](std::u16string_view name) { return !is_text(name); }, "the name is no valid text"},
    {holds_control, "the name holds a control character"},
    {begins_at_root, "the name begins at the root"},
    {is_too_long, "the name is longer than 4000 bytes"},
});

constexpr auto part_rules = std::to_array<rule>({
    {[](std::u16string_view part) { return part.empty(); }, "a part of the name is empty"},
    {[](std::u16string_view part) { return part == u"."; }, "a part of the name is \".\""},
    {[](std::u16string_view part) { return part == u".."; }, "the name leads out of its folder"},
    // Harmless here, but whoever wrote it meant another place.
    {[](std::u16string_view part) { return part.size() >= 2 && is_ascii_letter(part[0]) && part[1] == u':'; },
     "the name begins at a drive"},
    {[](std::u16string_view part) { return platform::to_utf8(part).size() > longest_part_in_bytes; },
     "a part of the name is longer than 255 bytes"},
});

std::string_view refusal_by(const auto& rules, std::u16string_view text)
{
    for (const rule& one : rules)
        if (one.breaks(text))
            return one.refusal;
    return {};
}

} // namespace

safe_path safe_path_of(std::u16string_view name)
{
    if (const std::string_view refusal = refusal_by(name_rules, name); !refusal.empty())
        return {{}, refusal};
    safe_path path;
    for (std::size_t start = 0; start <= name.size();) {
        const std::size_t end = std::min(name.find_first_of(separators, start), name.size());
        const std::u16string_view part = name.substr(start, end - start);
        if (const std::string_view refusal = refusal_by(part_rules, part); !refusal.empty())
            return {{}, refusal};
        path.parts.push_back(platform::to_utf8(part));
        start = end + 1;
    }
    return path;
}

} // namespace cw::console
