#include "tests/support/scripted_transfers.h"

#include "platform/last_error.h"

#include "tests/support/scripted_urls.h"
#include "tests/support/text_copies.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace cw::test_support {

namespace {

std::u16string number_of(const void* handle)
{
    return decimal(static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(handle)));
}

std::u16string_view with_length(const char16_t* text, std::uint32_t length)
{
    if (!text)
        return {};
    return length == 0xFFFFFFFF ? std::u16string_view(text) : std::u16string_view(text, length);
}

/// The first byte that the headers want.
std::size_t start_of_range(std::u16string_view headers)
{
    constexpr std::u16string_view name = u"Range: bytes=";
    const std::size_t found = headers.find(name);
    std::size_t start = 0;
    if (found != headers.npos) {
        for (const char16_t digit : headers.substr(found + name.size())) {
            if (digit < u'0' || digit > u'9')
                break;
            start = start * 10 + (digit - u'0');
        }
    }
    return start;
}

template <typename T>
T next_of(std::deque<T>& list, const T& otherwise)
{
    if (list.empty())
        return otherwise;
    const T next = std::move(list.front());
    list.pop_front();
    return next;
}

/// Copies a value whole; `*size_in_bytes` is the room and then what it takes.
bool give(const void* value, std::uint32_t size, void* buffer, std::uint32_t* size_in_bytes)
{
    const bool fits = *size_in_bytes >= size;
    *size_in_bytes = size;
    if (!fits)
        return fail_with(platform::error_insufficient_buffer);
    std::memcpy(buffer, value, size);
    return true;
}

// What callers get to hear besides, and have no use for.
constexpr std::uint32_t other_statuses[] = {10, 11, 20, 21, 30, 31, 40, 41, 50, 51, 80, 110, 120};

} // namespace

transfer_step transfer_step::here() const
{
    transfer_step changed = *this;
    changed.on_thread = false;
    return changed;
}

transfer_step transfer_step::at_most(std::uint32_t size_in_bytes) const
{
    transfer_step changed = *this;
    changed.longest = size_in_bytes;
    return changed;
}

transfer_step transfer_step::with_result(std::uintptr_t told) const
{
    transfer_step changed = *this;
    changed.result = told;
    return changed;
}

transfer_step done()
{
    return {};
}

transfer_step failed(std::uint32_t error)
{
    transfer_step step;
    step.way = transfer_step::course::failed;
    step.error = error;
    return step;
}

transfer_step pending(std::uint32_t error)
{
    transfer_step step;
    step.way = transfer_step::course::pending;
    step.error = error;
    return step;
}

transfer_step endless()
{
    transfer_step step;
    step.way = transfer_step::course::endless;
    return step;
}

platform::transfer_handle scripted_transfers::next_handle() const noexcept
{
    return reinterpret_cast<platform::transfer_handle>(m_nextHandle);
}

platform::transfer_handle scripted_transfers::add(kind is, const open_handle* parent, void* context)
{
    const platform::transfer_handle made = next_handle();
    ++m_nextHandle;
    m_handles[made] = {is, parent ? parent->callback : nullptr, context, {}, 0};
    return made;
}

scripted_transfers::open_handle* scripted_transfers::find(platform::transfer_handle handle, kind wanted)
{
    const auto found = m_handles.find(handle);
    if (found == m_handles.end()) {
        platform::set_last_error(platform::error_invalid_handle);
        return nullptr;
    }
    if (found->second.is == wanted)
        return &found->second;
    platform::set_last_error(platform::error_internet_incorrect_handle_type);
    return nullptr;
}

void scripted_transfers::tell(platform::transfer_handle handle, const open_handle& to, std::uint32_t status,
                              std::uintptr_t result, std::uint32_t error)
{
    const platform::async_result told{result, error};
    if (to.callback && to.context)
        to.callback(handle, to.context, status, &told, sizeof told);
}

void scripted_transfers::tell_later(platform::transfer_handle request, const transfer_step& step,
                                    std::function<void()> before)
{
    // A copy: the thread may not look at what the test's own thread changes.
    m_waits.later(request, step.on_thread, [request, to = m_handles.at(request), step, before = std::move(before)] {
        before();
        if (step.tells_handle_late)
            tell(request, to, platform::status_handle_created, reinterpret_cast<std::uintptr_t>(request), 0);
        for (const std::uint32_t status : other_statuses)
            tell(request, to, status, 1, 0);
        tell(request, to, platform::status_request_complete, step.result.value_or(step.error == 0 ? 1 : 0), step.error);
    });
}

bool scripted_transfers::send(platform::transfer_handle request, std::u16string_view headers, const transfer_step& step)
{
    open_handle& sent = m_handles.at(request);
    sent.answered = next_of(answers, answer);
    sent.offset = 0;
    if (sent.answered->keeps_to_range)
        sent.answered->body.erase(0, start_of_range(headers));
    if (step.way == transfer_step::course::done)
        return true;
    if (step.error != 0)
        sent.answered.reset();
    if (step.way == transfer_step::course::failed)
        return fail_with(step.error);
    if (step.way == transfer_step::course::pending)
        tell_later(request, step, [] {});
    return fail_with(platform::error_io_pending);
}

platform::transfer_handle scripted_transfers::open_session(const char16_t* agent, std::uint32_t access_type,
                                                           const char16_t* proxy, const char16_t* proxy_bypass,
                                                           std::uint32_t flags) noexcept
{
    if (const auto error_code = m_log.add_fallible(
            "InternetOpenW", text_or_null(agent) + u" " + decimal(access_type) + u" " + text_or_null(proxy) + u" " +
                                 text_or_null(proxy_bypass) + u" " + hexadecimal(flags))) {
        platform::set_last_error(*error_code);
        return nullptr;
    }
    return add(kind::session, nullptr, nullptr);
}

platform::transfer_handle scripted_transfers::connect(platform::transfer_handle session, const char16_t* host,
                                                      std::uint16_t port, const char16_t* user,
                                                      const char16_t* password, std::uint32_t service,
                                                      std::uint32_t flags, void* context) noexcept
{
    const auto error_code =
        m_log.add_fallible("InternetConnectW", number_of(session) + u" " + text_or_null(host) + u" " + decimal(port) +
                                                   u" " + text_or_null(user) + u" " + text_or_null(password) + u" " +
                                                   decimal(service) + u" " + hexadecimal(flags));
    const open_handle* const parent = find(session, kind::session);
    if (error_code)
        platform::set_last_error(*error_code);
    if (error_code || !parent)
        return nullptr;
    const platform::transfer_handle made = add(kind::connection, parent, context);
    tell(made, m_handles.at(made), platform::status_handle_created, reinterpret_cast<std::uintptr_t>(made), 0);
    return made;
}

platform::transfer_handle scripted_transfers::open_url(platform::transfer_handle session, const char16_t* url,
                                                       const char16_t* headers, std::uint32_t headers_length,
                                                       std::uint32_t flags, void* context) noexcept
{
    const std::u16string_view told_headers = with_length(headers, headers_length);
    const auto error_code = m_log.add_fallible(
        "InternetOpenUrlW", number_of(session) + u" " + text_or_null(url) + u" " +
                                (told_headers.empty() ? text_or_null(headers) : std::u16string(told_headers)) + u" " +
                                hexadecimal(flags));
    const open_handle* const parent = find(session, kind::session);
    if (error_code)
        platform::set_last_error(*error_code);
    if (error_code || !parent)
        return nullptr;
    const transfer_step step = next_of(requests, done());
    if (step.way == transfer_step::course::failed) {
        platform::set_last_error(step.error);
        return nullptr;
    }
    const platform::transfer_handle made = add(kind::request, parent, context);
    if (step.tells_handle && !step.tells_handle_late)
        tell(made, m_handles.at(made), platform::status_handle_created, reinterpret_cast<std::uintptr_t>(made), 0);
    return send(made, told_headers, step) ? made : nullptr;
}

platform::transfer_handle scripted_transfers::open_request(platform::transfer_handle connection, const char16_t* verb,
                                                           const char16_t* object, const char16_t* version,
                                                           const char16_t* referrer,
                                                           const char16_t* const* accept_types, std::uint32_t flags,
                                                           void* context) noexcept
{
    const auto error_code = m_log.add_fallible(
        "HttpOpenRequestW", number_of(connection) + u" " + text_or_null(verb) + u" " + text_or_null(object) + u" " +
                                text_or_null(version) + u" " + text_or_null(referrer) + u" " +
                                (accept_types ? u"types" : u"null") + u" " + hexadecimal(flags));
    const open_handle* const parent = find(connection, kind::connection);
    if (error_code)
        platform::set_last_error(*error_code);
    if (error_code || !parent)
        return nullptr;
    const platform::transfer_handle made = add(kind::request, parent, context);
    tell(made, m_handles.at(made), platform::status_handle_created, reinterpret_cast<std::uintptr_t>(made), 0);
    return made;
}

bool scripted_transfers::send_request(platform::transfer_handle request, const char16_t* headers,
                                      std::uint32_t headers_length, const void* body,
                                      std::uint32_t body_size_in_bytes) noexcept
{
    const std::u16string_view told_headers = with_length(headers, headers_length);
    const auto error_code = m_log.add_fallible(
        "HttpSendRequestW", number_of(request) + u" " +
                                (told_headers.empty() ? text_or_null(headers) : std::u16string(told_headers)) +
                                (body ? u" " + decimal(body_size_in_bytes) : std::u16string()));
    if (!find(request, kind::request))
        return false;
    if (error_code)
        return fail_with(*error_code);
    return send(request, told_headers, next_of(requests, done()));
}

bool scripted_transfers::query_info(platform::transfer_handle request, std::uint32_t level, void* buffer,
                                    std::uint32_t* size_in_bytes, std::uint32_t*) noexcept
{
    const auto error_code = m_log.add_fallible("HttpQueryInfoW", hexadecimal(level));
    const open_handle* const asked = find(request, kind::request);
    if (!asked)
        return false;
    if (error_code)
        return fail_with(*error_code);
    if (!asked->answered)
        return fail_with(platform::error_internet_incorrect_handle_state);
    const transfer_answer& from = *asked->answered;
    if (level == (platform::query_status_code | platform::query_as_number) && from.status)
        return give(&*from.status, sizeof(std::uint32_t), buffer, size_in_bytes);
    if (level == (platform::query_content_length | platform::query_as_number) && from.tells_length) {
        const std::uint32_t length = from.length.value_or(static_cast<std::uint32_t>(from.body.size()));
        return give(&length, sizeof length, buffer, size_in_bytes);
    }
    if (level == (platform::query_last_modified | platform::query_as_system_time) && from.modified)
        return give(&*from.modified, sizeof(platform::system_time), buffer, size_in_bytes);
    return fail_with(platform::error_http_header_not_found);
}

bool scripted_transfers::read(platform::transfer_handle request, void* buffer, std::uint32_t size_in_bytes,
                              std::uint32_t* read_in_bytes) noexcept
{
    const auto error_code = m_log.add_fallible("InternetReadFile", decimal(size_in_bytes));
    *read_in_bytes = 0;
    open_handle* const from = find(request, kind::request);
    if (!from)
        return false;
    if (error_code)
        return fail_with(*error_code);
    if (!from->answered)
        return fail_with(platform::error_internet_incorrect_handle_state);
    const transfer_step step = next_of(reads, done());
    if (step.way == transfer_step::course::failed)
        return fail_with(step.error);
    if (step.way == transfer_step::course::endless)
        return fail_with(platform::error_io_pending);
    std::string bytes;
    if (step.error == 0)
        bytes = from->answered->body.substr(from->offset, std::min(size_in_bytes, step.longest));
    from->offset += bytes.size();
    const auto deliver = [bytes, buffer, read_in_bytes] {
        std::memcpy(buffer, bytes.data(), bytes.size());
        *read_in_bytes = static_cast<std::uint32_t>(bytes.size());
    };
    if (step.way == transfer_step::course::pending) {
        tell_later(request, step, deliver);
        return fail_with(platform::error_io_pending);
    }
    deliver();
    return true;
}

bool scripted_transfers::close(platform::transfer_handle handle) noexcept
{
    const auto error_code = m_log.add_fallible("InternetCloseHandle", number_of(handle));
    if (!m_handles.contains(handle))
        return fail_with(platform::error_invalid_handle);
    if (error_code && *error_code != platform::error_io_pending)
        return fail_with(*error_code);
    m_waits.drop(handle);
    const open_handle closed = m_handles.extract(handle).mapped();
    const auto tell_closing = [handle, closed] {
        tell(handle, closed, platform::status_handle_closing, reinterpret_cast<std::uintptr_t>(handle), 0);
    };
    if (!error_code) {
        tell_closing();
        return true;
    }
    if (tells_closing)
        m_waits.later(nullptr, true, tell_closing);
    return fail_with(platform::error_io_pending);
}

platform::status_callback scripted_transfers::set_status_callback(platform::transfer_handle session,
                                                                  platform::status_callback callback) noexcept
{
    const auto error_code = m_log.add_fallible("InternetSetStatusCallbackW", number_of(session));
    open_handle* const changed = find(session, kind::session);
    if (error_code)
        platform::set_last_error(*error_code);
    if (error_code || !changed)
        return platform::invalid_status_callback;
    return std::exchange(changed->callback, callback);
}

bool scripted_transfers::crack_url(const char16_t* url, std::uint32_t length, std::uint32_t,
                                   platform::url_components* components) noexcept
{
    // A length of 0 stands for all up to the terminator.
    const std::u16string_view address = with_length(url, length == 0 ? 0xFFFFFFFF : length);
    if (const auto error_code =
            m_log.add_fallible("InternetCrackUrlW", decimal(static_cast<std::int64_t>(address.size()))))
        return fail_with(*error_code);
    return crack_plain_url(address, *components);
}

bool scripted_transfers::canonicalize_url(const char16_t* url, char16_t* target, std::uint32_t* length,
                                          std::uint32_t flags) noexcept
{
    const auto error_code =
        m_log.add_fallible("InternetCanonicalizeUrlW", decimal(*length) + u" " + hexadecimal(flags));
    if (error_code)
        return fail_with(*error_code);
    const std::u16string result = canonical.value_or(url);
    const auto needed = static_cast<std::uint32_t>(result.size() + 1);
    if (!rooms_wanted.empty() || *length < needed) {
        *length = next_of(rooms_wanted, needed);
        return fail_with(platform::error_insufficient_buffer);
    }
    *length = copy_whole(result, target, *length);
    return true;
}

bool scripted_transfers::query_option(platform::transfer_handle, std::uint32_t option, void* buffer,
                                      std::uint32_t* size_in_bytes) noexcept
{
    if (const auto error_code =
            m_log.add_fallible("InternetQueryOptionW", hexadecimal(option) + u" " + decimal(*size_in_bytes)))
        return fail_with(*error_code);
    const platform::transfer_version version{1, minor_version};
    return option == platform::option_version ? give(&version, sizeof version, buffer, size_in_bytes)
                                              : fail_with(platform::error_invalid_parameter);
}

bool scripted_transfers::connected_state(std::uint32_t* flags) noexcept
{
    m_log.add("InternetGetConnectedState");
    *flags = connection_flags;
    return is_connected;
}

bool scripted_transfers::autodial(std::uint32_t flags, platform::window_handle owner) noexcept
{
    const auto error_code = m_log.add_fallible("InternetAutodial", decimal(flags) + u" " + number_of(owner));
    return !error_code || fail_with(*error_code);
}

std::uint32_t scripted_transfers::error_dialog(platform::window_handle owner, platform::transfer_handle request,
                                               std::uint32_t error, std::uint32_t flags, void**) noexcept
{
    m_log.add("InternetErrorDlg",
              number_of(owner) + u" " + number_of(request) + u" " + decimal(error) + u" " + hexadecimal(flags));
    return next_of(dialog_answers, platform::error_cancelled);
}

bool scripted_transfers::last_response(std::uint32_t* error, char16_t* text, std::uint32_t* length) noexcept
{
    if (const auto error_code = m_log.add_fallible("InternetGetLastResponseInfoW", decimal(*length)))
        return fail_with(*error_code);
    *error = response_error;
    *length = copy_whole(response_text, text, *length);
    return true;
}

} // namespace cw::test_support
