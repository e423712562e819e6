#include "framework/file_filter.h"

#include <utility>

namespace cw {
namespace {

/// Cuts what stands before the next separator off the front of `rest`.
std::u16string_view take_part(std::u16string_view& rest, char16_t separator)
{
    const std::size_t end = rest.find(separator);
    const std::u16string_view part = rest.substr(0, end);
    rest = end == std::u16string_view::npos ? std::u16string_view{} : rest.substr(end + 1);
    return part;
}

std::u16string_view trimmed(std::u16string_view text)
{
    const std::size_t first = text.find_first_not_of(u' ');
    if (first == std::u16string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(u' ') - first + 1);
}

} // namespace

std::vector<file_filter> parse_file_filter(std::u16string_view text)
{
    std::vector<file_filter> filters;
    while (!text.empty()) {
        const std::u16string_view label = take_part(text, u'|');
        if (label.empty())
            break;
        file_filter filter{std::u16string(label), {}};
        std::u16string_view patterns = take_part(text, u'|');
        while (!patterns.empty())
            if (const std::u16string_view pattern = trimmed(take_part(patterns, u';')); !pattern.empty())
                filter.patterns.emplace_back(pattern);
        if (!filter.patterns.empty())
            filters.push_back(std::move(filter));
    }
    return filters;
}

} // namespace cw
