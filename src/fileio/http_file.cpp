#include "fileio/http_file.h"

#include "platform/last_error.h"

namespace cw {

namespace {

constexpr std::uint32_t asynchronous = 0x10000000;

} // namespace

http_file::http_file(const string& agent, std::uint32_t timeout, std::uint32_t access_type, const char16_t* proxy,
                     const char16_t* proxy_bypass, std::uint32_t session_flags)
    : timeout_ms(timeout), m_session(platform::current().network->open_session(
                               agent.c_str(), access_type, proxy, proxy_bypass, session_flags | asynchronous)),
      m_error(m_session ? platform::error_internet_cannot_connect : platform::get_last_error())
{
}

http_file::~http_file()
{
    close_all();
    if (m_session)
        platform::current().network->close(m_session);
}

bool http_file::open(const string& address, const string& headers, std::uint32_t flags)
{
    if (!m_session) {
        platform::set_last_error(m_error);
        return false;
    }
    url = address;
    extra_headers = headers;
    open_flags = flags;
    return true;
}

bool http_file::read(void*, std::uint32_t, std::uint32_t* read_in_bytes)
{
    *read_in_bytes = 0;
    platform::set_last_error(m_error);
    return false;
}

std::uint32_t http_file::seek(std::int32_t distance, std::uint32_t method)
{
    std::uint32_t from = 0;
    if (method == platform::seek_current)
        from = position;
    // A distance from an end that nobody knows would lead to a place that nobody asked for.
    if (method == platform::seek_end && (from = size()) == platform::invalid_file_position)
        return platform::invalid_file_position;
    position = from + static_cast<std::uint32_t>(distance);
    return position;
}

std::uint32_t http_file::size()
{
    platform::set_last_error(m_error);
    return platform::invalid_file_position;
}

void http_file::close_all() noexcept
{
    url.erase(0);
    extra_headers.erase(0);
    position = 0;
}

} // namespace cw
