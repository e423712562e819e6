#include "fileio/http_file.h"

#include "platform/last_error.h"

#include <array>

namespace cw {

inet_session* shared_session = nullptr;
std::atomic<std::uint32_t> shared_session_users = 0;

namespace {

// Sessions of the transfers' versions x.1 are dear: all files then share one.
constexpr std::uint32_t minor_version_of_shared_sessions = 1;
constexpr const char16_t* settings_path = u"Software\\Microsoft\\Windows\\CurrentVersion\\Internet Settings";
constexpr std::uint32_t key_read = 0x20019;
constexpr std::uint32_t first_good_status = 200;
constexpr std::uint32_t last_good_status = 299;
constexpr std::uint32_t status_facility = 0x80040000;
constexpr std::uint32_t status_base = 0xD3C0;

template <std::size_t Size>
void read_setting(platform::settings_key key, const char16_t* name, std::array<char16_t, Size>& value)
{
    auto size_in_bytes = static_cast<std::uint32_t>(Size * sizeof(char16_t));
    if (!key ||
        platform::current().user_keys->query_value(key, name, value.data(), &size_in_bytes) != platform::error_success)
        value = {};
}

/// A session that is shared obeys these two by itself; they are read before it is opened, as ever, and nothing
/// here looks at them.
void read_internet_settings()
{
    platform::machine_settings& settings = *platform::current().user_keys;
    std::array<char16_t, 4 / sizeof(char16_t)> proxy_enable{};
    std::array<char16_t, 0x824 / sizeof(char16_t)> configuration_url{};
    platform::settings_key key = nullptr;
    if (settings.open_key(settings_path, key_read, &key) != platform::error_success)
        key = nullptr;
    read_setting(key, u"ProxyEnable", proxy_enable);
    read_setting(key, u"AutoConfigURL", configuration_url);
    if (key)
        settings.close_key(key);
}

bool shares_one_session()
{
    platform::transfer_version version;
    std::uint32_t size_in_bytes = sizeof version;
    platform::current().network->query_option(nullptr, platform::option_version, &version, &size_in_bytes);
    return version.minor == minor_version_of_shared_sessions;
}

} // namespace

http_file::http_file(const string& agent, std::uint32_t timeout, std::uint32_t access_type, const char16_t* proxy,
                     const char16_t* proxy_bypass, std::uint32_t session_flags)
{
    if (shares_one_session()) {
        if (!shared_session)
            shared_session = new inet_session;
        if (!shared_session->handle) {
            read_internet_settings();
            shared_session->open(agent, access_type, proxy, proxy_bypass, session_flags);
        }
        session = *shared_session;
        shared_session_users.fetch_add(1);
        shares_session = true;
    } else {
        session.open(agent, access_type, proxy, proxy_bypass, session_flags);
    }
    timeout_ms = timeout;
}

http_file::~http_file()
{
    close_all();
}

bool http_file::wait(std::uint32_t timeout, platform::event_handle event, bool closing)
{
    return inet_file::wait(timeout, event, closing) && check_status();
}

std::uint32_t http_file::seek(std::int32_t distance, std::uint32_t method)
{
    auto target = static_cast<std::uint32_t>(distance);
    if (method == platform::seek_current)
        target += position;
    if (method == platform::seek_end) {
        // A distance from an end that nobody knows would lead to a place that nobody asked for.
        const std::uint32_t end = size();
        if (end == platform::invalid_file_position)
            return end;
        target += end;
    }
    if (target == platform::invalid_file_position) {
        platform::set_last_error(platform::error_negative_seek);
        return target;
    }
    if (target != position) {
        close_handle();
        start_offset = position = target;
    }
    return target;
}

std::uint32_t http_file::size()
{
    std::uint32_t answer = platform::invalid_file_position;
    std::uint32_t length = 0;
    std::uint32_t size_in_bytes = sizeof length;
    if (connect() &&
        platform::current().network->query_info(handle, platform::query_content_length | platform::query_as_number,
                                                &length, &size_in_bytes, nullptr)) {
        if (length < platform::invalid_file_position - start_offset)
            answer = start_offset + length;
        else
            platform::set_last_error(platform::error_arithmetic_overflow);
    }
    close_request();
    return answer;
}

bool http_file::last_modified(std::uint64_t* file_time)
{
    platform::system_time told;
    std::uint32_t size_in_bytes = sizeof told;
    const bool is_known =
        connect() &&
        platform::current().network->query_info(handle, platform::query_last_modified | platform::query_as_system_time,
                                                &told, &size_in_bytes, nullptr) &&
        platform::current().time->to_file_time(&told, file_time);
    close_request();
    return is_known;
}

bool http_file::check_status()
{
    const std::uint32_t kept = platform::get_last_error();
    std::uint32_t status = 0;
    std::uint32_t size_in_bytes = sizeof status;
    const bool is_known = platform::current().network->query_info(
        handle, platform::query_status_code | platform::query_as_number, &status, &size_in_bytes, nullptr);
    if (!is_known || (status >= first_good_status && status <= last_good_status)) {
        platform::set_last_error(kept);
        return true;
    }
    last_error = status_facility | (status + status_base);
    platform::set_last_error(last_error);
    return false;
}

void http_file::leave_shared_session() noexcept
{
    if (!shares_session || !shared_session || !shared_session->handle)
        return;
    shares_session = false;
    if (shared_session_users.fetch_sub(1) != 1)
        return;
    delete shared_session;
    shared_session = nullptr;
}

} // namespace cw
