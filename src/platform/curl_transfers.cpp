#include "platform/posix_services.h"

#include "platform/curl_handles.h"
#include "platform/curl_header_lines.h"
#include "platform/curl_urls.h"
#include "platform/last_error.h"
#include "platform/utf8.h"

#include <algorithm>
#include <cstring>
#include <curl/curl.h>
#include <new>
#include <string_view>
#include <utility>

namespace cw::platform {

namespace {

constexpr transfer_version version_of_transfers{1, 2};
constexpr std::uint32_t known_canonical_flags = canonical_decode | canonical_browser_mode;

template <class T>
T refuse(std::uint32_t error, T answer) noexcept
{
    set_last_error(error);
    return answer;
}

/// Nothing that a server or a caller gives may end the process: what is thrown becomes the last error.
template <class T, class Call>
T guarded(T failure, const Call& call) noexcept
{
    try {
        return call();
    } catch (const std::bad_alloc&) {
        return refuse(error_not_enough_memory, failure);
    } catch (...) {
        return refuse(error_internet_internal_error, failure);
    }
}

std::u16string_view view_of(const char16_t* text) noexcept
{
    return text ? std::u16string_view(text) : std::u16string_view();
}

bool init_libcurl() noexcept
{
    // Kept for the life of the process: other code in it may use libcurl as well.
    static const bool is_ready = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    return is_ready;
}

bool is_verb(std::string_view verb) noexcept
{
    return !verb.empty() && std::all_of(verb.begin(), verb.end(), [](char unit) { return unit >= 'A' && unit <= 'Z'; });
}

/// A text that becomes a header's value.
bool is_header_value(std::u16string_view text) noexcept
{
    return std::none_of(text.begin(), text.end(), [](char16_t unit) { return unit < 0x20 || unit == 0x7F; });
}

/// Tells the length or writes the text; false where the room is too small, `length` being what is needed then.
bool give_part(url_part& part, std::u16string_view text) noexcept
{
    const auto length = static_cast<std::uint32_t>(text.size());
    if (part.text && part.length <= length) {
        part.length = length + 1;
        return false;
    }
    part.length = length;
    if (part.text)
        *std::copy(text.begin(), text.end(), part.text) = 0;
    return true;
}

class curl_transfers final : public transfers {
public:
    explicit curl_transfers(std::string certificates) : m_certificates(std::move(certificates)) {}
    ~curl_transfers() override { m_handles.close_all(); }

    transfer_handle open_session(const char16_t* agent, std::uint32_t access_type, const char16_t* proxy,
                                 const char16_t* proxy_bypass, std::uint32_t flags) noexcept override
    {
        return guarded<transfer_handle>(nullptr, [&]() -> transfer_handle {
            // All callers wait for the callback; nobody needs calls that take as long as a server likes.
            const bool is_known_access = access_type == access_as_configured || access_type == access_direct ||
                                         (access_type == access_by_proxy && !view_of(proxy).empty());
            if ((flags & transfer_asynchronous) == 0 || !is_known_access || !is_header_value(view_of(agent)))
                return refuse(error_invalid_parameter, nullptr);
            if (!init_libcurl())
                return refuse(error_internet_internal_error, nullptr);
            const transfer_handle handle = m_handles.next();
            m_handles.put(handle, std::make_shared<curl_session>(curl_session_settings{
                                      to_utf8(view_of(agent)), access_type, to_utf8(view_of(proxy)),
                                      bypass_list(to_utf8(view_of(proxy_bypass))), m_certificates}));
            return handle;
        });
    }

    transfer_handle connect(transfer_handle session, const char16_t* host, std::uint16_t port, const char16_t* user,
                            const char16_t* password, std::uint32_t service, std::uint32_t,
                            void* context) noexcept override
    {
        return guarded<transfer_handle>(nullptr, [&]() -> transfer_handle {
            const auto owner = find<curl_session>(session);
            if (!owner)
                return nullptr;
            if (service != service_http)
                return refuse(error_internet_unrecognized_scheme, nullptr);
            // Some ways to log in send them as they are.
            if (!is_header_value(view_of(user)) || !is_header_value(view_of(password)))
                return refuse(error_invalid_parameter, nullptr);
            if (!address_of_object(false, view_of(host), port, {}))
                return refuse(error_internet_invalid_url, nullptr);
            const status_listener listener{m_handles.next(), owner->callback, context};
            m_handles.put(listener.handle,
                          std::make_shared<curl_connection>(
                              curl_connection{owner, std::u16string(view_of(host)), port, std::u16string(view_of(user)),
                                              std::u16string(view_of(password)), listener}));
            tell_created(listener);
            return listener.handle;
        });
    }

    transfer_handle open_url(transfer_handle session, const char16_t* url, const char16_t* headers,
                             std::uint32_t headers_length, std::uint32_t flags, void* context) noexcept override
    {
        return guarded<transfer_handle>(nullptr, [&]() -> transfer_handle {
            const auto owner = find<curl_session>(session);
            if (!owner)
                return nullptr;
            const auto form = canonical_form(view_of(url), false);
            const auto parts = take_apart(view_of(url));
            if (!form || !parts)
                return refuse(error_internet_invalid_url, nullptr);
            if (form->scheme_number != url_scheme_http && form->scheme_number != url_scheme_https)
                return refuse(error_internet_unrecognized_scheme, nullptr);
            auto lines = read_header_lines(headers, headers_length);
            if (!lines)
                return refuse(error_invalid_parameter, nullptr);
            curl_request_plan plan;
            plan.url = form->request_text();
            if (form->user_info)
                plan.credentials = {to_utf8(parts->user), to_utf8(parts->password)};
            plan.flags = flags;
            const auto request = make_request(owner, std::move(plan), context);
            const std::uint32_t error = request->send(std::move(*lines), {}, number_of(request->handle()));
            if (error != error_io_pending) {
                m_handles.take(request->handle());
                request->close();
            }
            return refuse(error, nullptr);
        });
    }

    transfer_handle open_request(transfer_handle connection, const char16_t* verb, const char16_t* object,
                                 const char16_t* version, const char16_t* referrer, const char16_t* const* accept_types,
                                 std::uint32_t flags, void* context) noexcept override
    {
        return guarded<transfer_handle>(nullptr, [&]() -> transfer_handle {
            const auto host = find<curl_connection>(connection);
            if (!host)
                return nullptr;
            if (host->session->is_closed())
                return refuse(error_internet_incorrect_handle_state, nullptr);
            const auto form =
                address_of_object((flags & transfer_secure) != 0, host->host, host->port, view_of(object));
            if (!form)
                return refuse(error_internet_invalid_url, nullptr);
            curl_request_plan plan;
            plan.url = form->request_text();
            if (!host->user.empty() || !host->password.empty())
                plan.credentials = {to_utf8(host->user), to_utf8(host->password)};
            if (!view_of(verb).empty())
                plan.verb = to_utf8(view_of(verb));
            plan.referrer = to_utf8(view_of(referrer));
            plan.is_old_version = view_of(version) == u"HTTP/1.0";
            plan.flags = flags;
            bool is_clean = is_verb(plan.verb) && is_header_value(view_of(referrer));
            for (; accept_types && *accept_types; ++accept_types) {
                is_clean = is_clean && is_header_value(*accept_types);
                plan.accept += (plan.accept.empty() ? "" : ", ") + to_utf8(*accept_types);
            }
            if (!is_clean)
                return refuse(error_invalid_parameter, nullptr);
            return make_request(host->session, std::move(plan), context)->handle();
        });
    }

    bool send_request(transfer_handle request, const char16_t* headers, std::uint32_t headers_length, const void* body,
                      std::uint32_t body_size_in_bytes) noexcept override
    {
        return guarded(false, [&] {
            const auto found = find<curl_request>(request);
            if (!found)
                return false;
            auto lines = read_header_lines(headers, headers_length);
            if (!lines || (!body && body_size_in_bytes != 0))
                return refuse(error_invalid_parameter, false);
            std::string bytes(static_cast<const char*>(body), body_size_in_bytes);
            return refuse(found->send(std::move(*lines), std::move(bytes), 1), false);
        });
    }

    bool query_info(transfer_handle request, std::uint32_t level, void* buffer, std::uint32_t* size_in_bytes,
                    std::uint32_t* index) noexcept override
    {
        return guarded(false, [&] {
            const auto found = find<curl_request>(request);
            return found && succeed(found->query(level, buffer, size_in_bytes, index));
        });
    }

    bool read(transfer_handle request, void* buffer, std::uint32_t size_in_bytes,
              std::uint32_t* read_in_bytes) noexcept override
    {
        return guarded(false, [&] {
            const auto found = find<curl_request>(request);
            if (!found)
                return false;
            if (!read_in_bytes || (!buffer && size_in_bytes != 0))
                return refuse(error_invalid_parameter, false);
            return succeed(found->read(buffer, size_in_bytes, read_in_bytes));
        });
    }

    bool close(transfer_handle handle) noexcept override
    {
        return guarded(false, [&] {
            const curl_handles::object known = m_handles.find(handle);
            const auto* own = std::get_if<std::shared_ptr<curl_session>>(&known);
            if (own && (*own)->is_own_thread())
                return refuse(error_internet_incorrect_handle_state, false);
            // Who takes it closes it, however many try.
            const curl_handles::object thing = m_handles.take(handle);
            if (std::holds_alternative<std::monostate>(thing))
                return refuse(error_invalid_handle, false);
            if (const auto* session = std::get_if<std::shared_ptr<curl_session>>(&thing))
                (*session)->close();
            if (const auto* connection = std::get_if<std::shared_ptr<curl_connection>>(&thing))
                (*connection)->listener.tell(status_handle_closing, {number_of(handle), error_success});
            if (const auto* request = std::get_if<std::shared_ptr<curl_request>>(&thing))
                (*request)->close();
            return true;
        });
    }

    status_callback set_status_callback(transfer_handle session, status_callback callback) noexcept override
    {
        return guarded(invalid_status_callback, [&] {
            const auto found = find<curl_session>(session);
            return found ? found->callback.exchange(callback) : invalid_status_callback;
        });
    }

    bool crack_url(const char16_t* url, std::uint32_t length, std::uint32_t flags,
                   url_components* components) noexcept override
    {
        return guarded(false, [&] {
            if (!url || !components || flags != 0)
                return refuse(error_invalid_parameter, false);
            const auto parts = take_apart(length == 0 ? view_of(url) : std::u16string_view(url, length));
            if (!parts)
                return refuse(error_internet_invalid_url, false);
            components->scheme = parts->scheme;
            components->port = parts->port;
            const std::pair<url_part*, const std::u16string*> texts[] = {
                {&components->scheme_name, &parts->scheme_name},
                {&components->host, &parts->host},
                {&components->user, &parts->user},
                {&components->password, &parts->password},
                {&components->path, &parts->path},
                {&components->extra, &parts->extra},
            };
            bool has_room = true;
            for (const auto& [part, text] : texts)
                has_room = give_part(*part, *text) && has_room;
            return succeed(has_room ? error_success : error_insufficient_buffer);
        });
    }

    bool canonicalize_url(const char16_t* url, char16_t* target, std::uint32_t* length,
                          std::uint32_t flags) noexcept override
    {
        return guarded(false, [&] {
            if (!url || !length || (flags & ~known_canonical_flags) != 0)
                return refuse(error_invalid_parameter, false);
            const auto form = canonical_form(url, (flags & canonical_decode) != 0);
            if (!form)
                return refuse(error_internet_invalid_url, false);
            const std::u16string text = from_utf8(form->text());
            url_part whole{target, *length};
            const bool has_room = target && give_part(whole, text);
            *length = static_cast<std::uint32_t>(text.size() + (has_room ? 0 : 1));
            return succeed(has_room ? error_success : error_insufficient_buffer);
        });
    }

    bool query_option(transfer_handle handle, std::uint32_t option, void* buffer,
                      std::uint32_t* size_in_bytes) noexcept override
    {
        if (handle || option != option_version || !size_in_bytes)
            return refuse(error_invalid_parameter, false);
        const bool has_room = buffer && *size_in_bytes >= sizeof version_of_transfers;
        *size_in_bytes = sizeof version_of_transfers;
        if (!has_room)
            return refuse(error_insufficient_buffer, false);
        std::memcpy(buffer, &version_of_transfers, sizeof version_of_transfers);
        return true;
    }

    // Whether there is a network shows with the first request; nothing here dials.
    bool connected_state(std::uint32_t* flags) noexcept override
    {
        if (flags)
            *flags = connection_lan;
        return true;
    }
    bool autodial(std::uint32_t, window_handle) noexcept override { return true; }

    // There is no window to ask in.
    std::uint32_t error_dialog(window_handle, transfer_handle, std::uint32_t, std::uint32_t, void**) noexcept override
    {
        return 0;
    }

    bool last_response(std::uint32_t* error, char16_t* text, std::uint32_t* length) noexcept override
    {
        if (error)
            *error = error_success;
        if (text && length && *length != 0)
            *text = 0;
        if (length)
            *length = 0;
        return true;
    }

private:
    const std::string m_certificates;
    curl_handles m_handles;

    static std::uintptr_t number_of(transfer_handle handle) noexcept
    {
        return reinterpret_cast<std::uintptr_t>(handle);
    }

    static void tell_created(const status_listener& listener)
    {
        listener.tell(status_handle_created, {number_of(listener.handle), error_success});
    }

    static bool succeed(std::uint32_t error) noexcept
    {
        set_last_error(error);
        return error == error_success;
    }

    /// What stands behind a handle, or null with the last error.
    template <class T>
    std::shared_ptr<T> find(transfer_handle handle)
    {
        const curl_handles::object thing = m_handles.find(handle);
        if (const auto* found = std::get_if<std::shared_ptr<T>>(&thing))
            return *found;
        set_last_error(std::holds_alternative<std::monostate>(thing) ? error_invalid_handle
                                                                     : error_internet_incorrect_handle_type);
        return nullptr;
    }

    std::shared_ptr<curl_request> make_request(const std::shared_ptr<curl_session>& session, curl_request_plan plan,
                                               void* context)
    {
        const status_listener listener{m_handles.next(), session->callback, context};
        auto request = std::make_shared<curl_request>(session, std::move(plan), listener);
        m_handles.put(listener.handle, request);
        tell_created(listener);
        return request;
    }
};

} // namespace

std::unique_ptr<transfers> make_curl_transfers(const std::string& certificates)
{
    return std::make_unique<curl_transfers>(certificates);
}

} // namespace cw::platform
