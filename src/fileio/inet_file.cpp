#include "fileio/inet_file.h"

#include "platform/last_error.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace cw {

namespace {

using platform::url_part;

constexpr std::int64_t ticks_a_second = 1000;
constexpr std::size_t first_room_for_canonical = 20; // beyond the address
constexpr std::size_t slashes_before_path = 3;
// A connection over a telephone line or one that was set up once: something that can be dialled.
constexpr std::uint32_t dialled_connection = platform::connection_modem | platform::connection_configured;
constexpr std::uint32_t error_dialog_flags = platform::error_dialog_filter_for_errors |
                                             platform::error_dialog_change_options |
                                             platform::error_dialog_generate_data;

struct scheme_row {
    std::int32_t scheme;
    std::uint32_t service;
    std::uint32_t flags;
};
constexpr scheme_row schemes[] = {
    {platform::url_scheme_ftp, platform::service_ftp, 0},
    {platform::url_scheme_gopher, platform::service_gopher, 0},
    {platform::url_scheme_http, platform::service_http, 0},
    {platform::url_scheme_https, platform::service_http, platform::transfer_secure},
};

// The parts of an address that a request is made of.
constexpr url_part platform::url_components::*kept_parts[] = {
    &platform::url_components::scheme_name, &platform::url_components::host, &platform::url_components::user,
    &platform::url_components::password,    &platform::url_components::path, &platform::url_components::extra,
};

/// An address taken apart, with room for its texts.
struct cracked_address {
    platform::url_components parts;
    std::vector<char16_t> texts[std::size(kept_parts)];
};

bool crack(const string& address, cracked_address& cracked)
{
    platform::transfers& network = *platform::current().network;
    const auto length = static_cast<std::uint32_t>(address.length());
    if (!network.crack_url(address.c_str(), length, 0, &cracked.parts))
        return false;
    for (std::size_t i = 0; i < std::size(kept_parts); ++i) {
        url_part& part = cracked.parts.*kept_parts[i];
        cracked.texts[i].resize(part.length + 1);
        part = {cracked.texts[i].data(), part.length + 1};
    }
    return network.crack_url(address.c_str(), length, 0, &cracked.parts);
}

/// A user, with or without a password, in front of the host.
bool holds_credentials(const string& address)
{
    std::size_t slashes = 0;
    for (const char16_t character : address.view()) {
        if (character == u'@')
            return true;
        if (character == u'/' && ++slashes == slashes_before_path)
            return false;
    }
    return false;
}

/// Turns slashes of a password, which would split the address, into backslashes.
void protect_credentials(string& address)
{
    const std::size_t end = address.find(u"@");
    if (end == string::npos)
        return;
    std::size_t slashes = 0;
    for (std::size_t at = 0; at < end; ++at) {
        if (address[at] == u'/' && ++slashes >= slashes_before_path)
            address.data()[at] = u'\\';
    }
}

bool canonicalize(const string& address, string& canonical)
{
    auto room = static_cast<std::uint32_t>(address.length() + first_room_for_canonical);
    for (;;) {
        std::vector<char16_t> text(room);
        std::uint32_t length = room;
        if (platform::current().network->canonicalize_url(
                address.c_str(), text.data(), &length, platform::canonical_decode | platform::canonical_browser_mode)) {
            canonical.assign(text.data(), length);
            return true;
        }
        if (platform::get_last_error() != platform::error_insufficient_buffer)
            return false;
        room = std::max(length, room + 1);
    }
}

} // namespace

inet_file::inet_file() : connection(new wininet_async_handle)
{
    has_performance_counter = platform::current().time->performance_frequency(&timer_frequency) && timer_frequency > 0;
    if (!has_performance_counter)
        timer_frequency = ticks_a_second;
}

inet_file::~inet_file()
{
    close_all();
}

std::uint32_t inet_file::handle_error()
{
    const std::uint32_t kept = platform::get_last_error();
    std::uint32_t answer = error_handler ? error_handler->on_error(*this) : 0;
    if (answer != platform::error_internet_force_retry && answer != platform::error_cancelled) {
        void* data = nullptr;
        answer = platform::current().network->error_dialog(owner_window, handle, last_error, error_dialog_flags, &data);
        if (answer != platform::error_cancelled)
            answer = platform::error_internet_force_retry;
    }
    platform::set_last_error(kept);
    return answer;
}

bool inet_file::check_status()
{
    return true;
}

bool inet_file::open(const string& address, const string& headers, std::uint32_t flags)
{
    // What is open belongs to another address.
    close_handle();
    start_offset = position = 0;

    if (platform::current().network->set_status_callback(session.handle, &on_status) ==
        platform::invalid_status_callback)
        return false;
    open_flags = flags;
    window_bytes = window_micro = window_ms = 0;
    next_bytes = next_micro = next_ms = 0;
    if (!connection)
        connection = new wininet_async_handle;
    extra_headers = headers;
    header_text.erase(0);
    // `address` may be the one that the file has.
    string canonical;
    const bool is_taken = canonicalize(address, canonical);
    if (is_taken && holds_credentials(address))
        protect_credentials(canonical);
    url.swap(canonical);
    return is_taken;
}

bool inet_file::connect()
{
    for (retry_count = 0; retry_count <= max_retries; ++retry_count) {
        if (start_request(retry_count > 0))
            return true;
        if (handle_error() != platform::error_internet_force_retry)
            break;
    }
    // The next call must not take an answer that was refused for the file.
    close_request();
    return false;
}

void inet_file::close_request()
{
    const std::uint32_t kept = platform::get_last_error();
    close_handle();
    platform::set_last_error(kept);
}

bool inet_file::start_request(bool resend)
{
    platform::transfers& network = *platform::current().network;
    std::uint32_t state = 0;
    if (!network.connected_state(&state) && (state & dialled_connection) &&
        !network.autodial(autodial_flags, platform::desktop_window)) {
        last_error = platform::get_last_error();
        return false;
    }
    // A handle may have been closed far from where its request started.
    if (!handle)
        start_offset = position;
    header_text.erase(0);
    if (start_offset != 0)
        header_text.format(extra_headers.empty() ? u"Range: bytes=%u-" : u"Range: bytes=%u-\r\n", start_offset);
    header_text += extra_headers;

    platform::thread_waits& waits = *platform::current().waits;
    if (!handle) {
        waits.reset_event(completed_event);
        while (!open_request(session, url, header_text, open_flags, static_cast<wininet_async_handle*>(this))) {
            if (platform::get_last_error() != platform::error_invalid_parameter ||
                !(open_flags & platform::transfer_pragma_no_cache))
                return wait(timeout_ms, completed_event, false);
            // Some systems refuse the flag; the request goes without it then.
            open_flags &= ~platform::transfer_pragma_no_cache;
            close_handle();
        }
        return check_status();
    }
    if (!resend)
        return true;
    waits.reset_event(completed_event);
    if (!network.send_request(handle, header_text.c_str(), static_cast<std::uint32_t>(header_text.length()), nullptr,
                              0))
        return wait(timeout_ms, completed_event, false);
    return check_status();
}

bool inet_file::open_request(const inet_session& in_session, const string& address, const string& headers,
                             std::uint32_t flags, void* context)
{
    cracked_address cracked;
    if (!crack(address, cracked))
        return false;
    const platform::url_components& parts = cracked.parts;
    const auto scheme = std::ranges::find(schemes, parts.scheme, &scheme_row::scheme);
    if (scheme == std::end(schemes)) {
        const platform::async_result failed{0, platform::error_internet_unrecognized_scheme};
        on_status(handle, context, platform::status_request_complete, &failed, sizeof failed);
        platform::set_last_error(failed.error);
        return false;
    }
    flags |= scheme->flags;

    platform::transfers& network = *platform::current().network;
    const auto headers_length = static_cast<std::uint32_t>(headers.length());
    if (!(flags & platform::transfer_secure)) {
        if (network.open_url(in_session.handle, address.c_str(), headers.c_str(), headers_length, flags, context))
            return true;
        // A request that could not be sent at all is gone, though its handle was told.
        if (platform::get_last_error() != platform::error_io_pending)
            close_request();
        return false;
    }

    if (connection && connection->handle && !is_connected_to(parts))
        close_other_host();
    if (!connection)
        connection = new wininet_async_handle;
    if (!connection->handle) {
        if (!network.connect(in_session.handle, parts.host.text, parts.port, parts.user.text, parts.password.text,
                             scheme->service, 0, connection))
            return false;
        host_name = parts.host.text;
        m_connectedPort = parts.port;
        m_connectedUser = parts.user.text;
        m_connectedPassword = parts.password.text;
    }
    const std::u16string object = std::u16string(parts.path.text) + parts.extra.text;
    const platform::transfer_handle request =
        network.open_request(connection->handle, u"GET", object.c_str(), nullptr, nullptr, nullptr, flags, context);
    return request && network.send_request(request, headers.c_str(), headers_length, nullptr, 0);
}

bool inet_file::is_connected_to(const platform::url_components& parts) const
{
    // Another port of a host is another server, and what one person may see another may not.
    return host_name.equals_no_case(parts.host.text) && m_connectedPort == parts.port &&
           m_connectedUser == parts.user.text && m_connectedPassword == parts.password.text;
}

void inet_file::close_other_host()
{
    // Only the connection is another's; what is asked for stays.
    string kept_url;
    string kept_headers;
    string kept_text;
    kept_url.swap(url);
    kept_headers.swap(extra_headers);
    kept_text.swap(header_text);
    const std::uint32_t kept_position = position;
    close_all();
    url.swap(kept_url);
    extra_headers.swap(kept_headers);
    header_text.swap(kept_text);
    start_offset = position = kept_position;
}

void inet_file::close_all()
{
    url.erase(0);
    extra_headers.erase(0);
    header_text.erase(0);
    if (wininet_async_handle* const closed = std::exchange(connection, nullptr))
        closed->release();
    host_name.erase(0);
    m_connectedPort = 0;
    m_connectedUser.erase(0);
    m_connectedPassword.erase(0);
    start_offset = position = 0;
    close_handle();
}

} // namespace cw
