#include "platform/curl_header_lines.h"

#include "platform/utf8.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <strings.h>

namespace cw::platform {

namespace {

constexpr std::u16string_view line_end = u"\r\n";

bool is_header(std::u16string_view line) noexcept
{
    const std::size_t colon = line.find(u':');
    if (colon == 0 || colon == std::u16string_view::npos)
        return false;
    const std::u16string_view name = line.substr(0, colon);
    const bool is_name =
        std::all_of(name.begin(), name.end(), [](char16_t unit) { return unit > 0x20 && unit < 0x7F; });
    return is_name && std::none_of(line.begin(), line.end(), [](char16_t unit) { return unit < 0x20 || unit == 0x7F; });
}

} // namespace

std::optional<std::vector<std::string>> read_header_lines(const char16_t* headers, std::uint32_t length)
{
    std::vector<std::string> lines;
    if (!headers)
        return lines;
    std::u16string_view rest =
        length == length_to_terminator ? std::u16string_view(headers) : std::u16string_view(headers, length);
    while (!rest.empty()) {
        const std::u16string_view line = rest.substr(0, rest.find(line_end));
        if (!is_header(line))
            return std::nullopt;
        lines.push_back(to_utf8(line));
        rest.remove_prefix(std::min(rest.size(), line.size() + line_end.size()));
    }
    return lines;
}

std::uint64_t offset_asked_for(const std::vector<std::string>& lines) noexcept
{
    constexpr std::string_view name = "Range:";
    constexpr std::string_view unit = "bytes=";
    for (const std::string& line : lines) {
        if (strncasecmp(line.c_str(), name.data(), name.size()) != 0)
            continue;
        std::string_view value = std::string_view(line).substr(name.size());
        value.remove_prefix(std::min(value.find_first_not_of(' '), value.size()));
        if (!value.starts_with(unit))
            continue;
        value.remove_prefix(unit.size());
        std::uint64_t offset = 0;
        const auto [end, code] = std::from_chars(value.data(), value.data() + value.size(), offset);
        if (code == std::errc() && std::string_view(end, value.data() + value.size()) == "-")
            return offset;
    }
    return 0;
}

} // namespace cw::platform
