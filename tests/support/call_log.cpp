#include "tests/support/call_log.h"

#include "platform/last_error.h"
#include "platform/utf8.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <utility>

namespace cw::test_support {

namespace {

std::string line_of(std::string_view operation, std::u16string_view argument)
{
    std::string line(operation);
    if (!argument.empty())
        line += " " + platform::to_utf8(argument);
    return line;
}

} // namespace

std::u16string hexadecimal(std::uint32_t value)
{
    char digits[11];
    std::snprintf(digits, sizeof digits, "0x%08X", value);
    return {digits, digits + 10};
}

std::u16string decimal(std::int64_t value)
{
    return platform::from_utf8(std::to_string(value));
}

std::u16string text_or_null(const char16_t* text)
{
    if (!text)
        return u"null";
    return *text ? text : u"\"\"";
}

bool fail_with(std::uint32_t error_code) noexcept
{
    platform::set_last_error(error_code);
    return false;
}

void call_log::add(std::string_view operation, std::u16string_view argument)
{
    lines.push_back(line_of(operation, argument));
}

void call_log::fail(std::string_view line, std::uint32_t error_code, int nth)
{
    m_failures.push_back({std::string(line), error_code, nth});
}

std::optional<std::uint32_t> call_log::add_fallible(std::string_view operation, std::u16string_view argument)
{
    return add_fallible_if(true, operation, argument);
}

std::optional<std::uint32_t> call_log::add_fallible_if(bool told, std::string_view operation,
                                                       std::u16string_view argument)
{
    const std::string line = line_of(operation, argument);
    if (told)
        lines.push_back(line);
    std::optional<std::uint32_t> error_code;
    for (failure& one : m_failures) {
        if (line != one.line && !line.starts_with(one.line + " "))
            continue;
        ++one.seen;
        if (one.nth == 0 || one.nth == one.seen)
            error_code = one.error_code;
    }
    return error_code;
}

std::vector<std::string> call_log::take()
{
    return std::exchange(lines, {});
}

std::size_t call_log::count(std::string_view operation) const
{
    return static_cast<std::size_t>(
        std::ranges::count_if(lines, [&](const std::string& line) { return line.starts_with(operation); }));
}

std::vector<std::string> call_log::of(std::initializer_list<std::string_view> operations) const
{
    std::vector<std::string> found;
    std::ranges::copy_if(lines, std::back_inserter(found), [&](const std::string& line) {
        return std::ranges::any_of(operations, [&](std::string_view operation) { return line.starts_with(operation); });
    });
    return found;
}

} // namespace cw::test_support
