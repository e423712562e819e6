#include "platform/curl_answer.h"

#include "platform/clocks.h"
#include "platform/last_error.h"
#include "platform/transfers.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <ctime>
#include <curl/curl.h>
#include <optional>
#include <strings.h>

namespace cw::platform {

namespace {

constexpr std::uint32_t status_switching = 101;
constexpr std::uint32_t status_ok = 200;
constexpr std::uint32_t status_no_content = 204;
constexpr std::uint32_t status_partial = 206;
constexpr std::uint32_t status_not_modified = 304;
constexpr std::uint32_t status_unauthorized = 401;
constexpr std::uint32_t status_proxy_unauthorized = 407;
constexpr std::uint32_t status_beyond_end = 416;
constexpr std::uint32_t greatest_status = 999;
constexpr std::uint64_t greatest_length = 0xFFFFFFFE;
constexpr std::uint64_t greatest_countable_length = 0x7FFFFFFFFFFFFFFF; // of a body, for libcurl

// In the order of `curl_answer::header`.
constexpr std::string_view header_names[] = {"Content-Length", "Content-Range", "Last-Modified", "Location",
                                             "Transfer-Encoding"};

constexpr std::string_view blanks = " \t\r\n";

std::string_view trimmed(std::string_view text) noexcept
{
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

bool is_same_name(std::string_view one, std::string_view other) noexcept
{
    return one.size() == other.size() && strncasecmp(one.data(), other.data(), one.size()) == 0;
}

/// Takes a plain decimal number off the front; nothing where there is none or it is too great.
std::optional<std::uint64_t> take_number(std::string_view& text) noexcept
{
    std::uint64_t number = 0;
    const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (code != std::errc())
        return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

std::optional<std::uint64_t> whole_number(std::string_view text) noexcept
{
    const std::optional<std::uint64_t> number = take_number(text);
    return text.empty() ? number : std::nullopt;
}

struct byte_range {
    std::uint64_t first = 0;
    std::uint64_t last = 0;
};

/// "bytes FIRST-LAST/…"; nothing for every other form.
std::optional<byte_range> range_of(std::string_view text) noexcept
{
    constexpr std::string_view unit = "bytes";
    if (!is_same_name(text.substr(0, unit.size()), unit))
        return std::nullopt;
    text.remove_prefix(unit.size());
    text = trimmed(text);
    const std::optional<std::uint64_t> first = take_number(text);
    if (!first || !text.starts_with('-'))
        return std::nullopt;
    text.remove_prefix(1);
    const std::optional<std::uint64_t> last = take_number(text);
    if (!last || *last < *first || !text.starts_with('/'))
        return std::nullopt;
    return byte_range{*first, *last};
}

} // namespace

bool curl_answer::add_line(std::string_view line)
{
    // Amid headers such a line is one of them, as it is for libcurl.
    if (m_isBetweenAnswers && line.starts_with("HTTP/")) {
        *this = {};
        m_isBetweenAnswers = false;
        line.remove_prefix(std::min(line.find(' '), line.size()));
        line = trimmed(line);
        m_status =
            static_cast<std::uint32_t>(std::min(take_number(line).value_or(0), std::uint64_t{greatest_status + 1}));
        return false;
    }
    if (m_isBetweenAnswers)
        return false; // behind the chunks of a body that nobody is given
    if (trimmed(line).empty()) {
        m_isBetweenAnswers = true;
        return true;
    }
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos)
        return false;
    for (std::size_t i = 0; i < kept; ++i)
        if (is_same_name(line.substr(0, colon), header_names[i]))
            m_values[i].emplace_back(trimmed(line.substr(colon + 1)));
    return false;
}

bool curl_answer::is_interim() const noexcept
{
    return m_status >= 100 && m_status < status_ok && m_status != status_switching;
}

bool curl_answer::is_redirect() const noexcept
{
    return m_status >= 300 && m_status < 400 && !m_values[location].empty();
}

bool curl_answer::may_lead_on() const noexcept
{
    return is_redirect() || m_status == status_unauthorized || m_status == status_proxy_unauthorized;
}

/// libcurl would follow the last of several, read "0x10" as 0, and drop one that it cannot hold.
bool curl_answer::has_clear_length() const noexcept
{
    const std::vector<std::string>& told = m_values[content_length];
    return std::all_of(told.begin(), told.end(), [&told](const std::string& value) {
        const std::optional<std::uint64_t> length = whole_number(value);
        return length && *length <= greatest_countable_length && value == told.front();
    });
}

/// libcurl unpacks what comes packed on the way, with no bound while the transfer is paused; nobody asks for that.
bool curl_answer::is_plain() const noexcept
{
    const std::vector<std::string>& told = m_values[transfer_encoding];
    return std::all_of(told.begin(), told.end(), [](const std::string& value) {
        return is_same_name(value, "chunked") || is_same_name(value, "identity");
    });
}

bool curl_answer::ends_with_connection() const noexcept
{
    const std::vector<std::string>& codings = m_values[transfer_encoding];
    const bool is_chunked = std::any_of(codings.begin(), codings.end(),
                                        [](const std::string& value) { return is_same_name(value, "chunked"); });
    return m_status != status_no_content && m_status != status_not_modified && m_values[content_length].empty() &&
           !is_chunked;
}

std::uint32_t curl_answer::settle(std::uint64_t offset) noexcept
{
    // libcurl takes the end of a connection amid headers for the end of an answer.
    if (!m_isBetweenAnswers || is_interim())
        return error_internet_connection_aborted;
    if (m_status < status_ok || m_status > greatest_status || !has_clear_length() || !is_plain())
        return error_http_invalid_server_response;
    std::optional<std::uint64_t> length;
    if (!m_values[content_length].empty() && m_values[transfer_encoding].empty())
        length = whole_number(m_values[content_length].front());
    if (m_status == status_partial && !m_values[content_range].empty()) {
        const std::optional<byte_range> range = range_of(m_values[content_range].front());
        if (!range || range->first != offset)
            return error_http_invalid_server_response;
        // The bytes that are told are one less than the distance to the one behind the last.
        if (length && *length != 0 && range->last - range->first < *length - 1)
            return error_http_invalid_server_response;
    }
    if (m_status != status_ok)
        return error_success;
    m_skip = offset;
    if (length && *length < offset)
        m_status = status_beyond_end;
    return error_success;
}

struct curl_answer::query_row {
    std::uint32_t level;
    std::uint32_t size;
    std::uint32_t (curl_answer::*query)(std::uint32_t index, void* value) const noexcept;
};

std::uint32_t curl_answer::query(std::uint32_t level, void* buffer, std::uint32_t* size_in_bytes,
                                 std::uint32_t index) const noexcept
{
    static constexpr query_row rows[] = {
        {query_content_length | query_as_number, sizeof(std::uint32_t), &curl_answer::query_length},
        {query_last_modified | query_as_system_time, sizeof(system_time), &curl_answer::query_modified},
        {query_status_code | query_as_number, sizeof(std::uint32_t), &curl_answer::query_status},
    };
    for (const query_row& row : rows) {
        if (row.level != level)
            continue;
        if (!size_in_bytes)
            return error_invalid_parameter;
        if (!buffer || *size_in_bytes < row.size) {
            *size_in_bytes = row.size;
            return error_insufficient_buffer;
        }
        const std::uint32_t error = (this->*row.query)(index, buffer);
        if (error == error_success)
            *size_in_bytes = row.size;
        return error;
    }
    return error_invalid_parameter;
}

std::uint32_t curl_answer::query_length(std::uint32_t index, void* value) const noexcept
{
    // Chunks end where they end, whatever else is told.
    if (!m_values[transfer_encoding].empty() || index >= m_values[content_length].size())
        return error_http_header_not_found;
    const std::optional<std::uint64_t> told = whole_number(m_values[content_length][index]);
    if (!told)
        return error_http_invalid_server_response;
    const std::uint64_t left = *told - std::min(*told, m_skip);
    if (left > greatest_length)
        return error_http_invalid_server_response;
    const auto length = static_cast<std::uint32_t>(left);
    std::memcpy(value, &length, sizeof length);
    return error_success;
}

std::uint32_t curl_answer::query_modified(std::uint32_t index, void* value) const noexcept
{
    if (index >= m_values[last_modified].size())
        return error_http_header_not_found;
    const std::time_t seconds = curl_getdate(m_values[last_modified][index].c_str(), nullptr);
    std::tm fields{};
    if (seconds == -1 || !gmtime_r(&seconds, &fields) || fields.tm_year + 1900 < 1601)
        return error_http_invalid_server_response;
    system_time time;
    time.year = static_cast<std::uint16_t>(fields.tm_year + 1900);
    time.month = static_cast<std::uint16_t>(fields.tm_mon + 1);
    time.day_of_week = static_cast<std::uint16_t>(fields.tm_wday);
    time.day = static_cast<std::uint16_t>(fields.tm_mday);
    time.hour = static_cast<std::uint16_t>(fields.tm_hour);
    time.minute = static_cast<std::uint16_t>(fields.tm_min);
    time.second = static_cast<std::uint16_t>(fields.tm_sec);
    std::memcpy(value, &time, sizeof time);
    return error_success;
}

std::uint32_t curl_answer::query_status(std::uint32_t index, void* value) const noexcept
{
    if (index != 0)
        return error_http_header_not_found;
    std::memcpy(value, &m_status, sizeof m_status);
    return error_success;
}

} // namespace cw::platform
