// The session thread's side of a request.
#include "platform/curl_request.h"

#include "platform/curl_errors.h"
#include "platform/curl_excess.h"
#include "platform/curl_session.h"
#include "platform/last_error.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace cw::platform {

namespace {

/// Of one send: redirects, what comes before the answer proper, and what comes behind chunks.
constexpr std::size_t most_header_bytes = std::size_t{1} << 20;

constexpr std::string_view goodbye{"\1\0", 2}; // of TLS: a warning, that the other side closes

constexpr std::size_t refuse = 0; // fewer than came: libcurl ends the transfer

bool is_secure_scheme(const char* scheme) noexcept
{
    return scheme && std::strcmp(scheme, "HTTPS") == 0;
}

} // namespace

bool curl_request::serve(CURLM* multi) noexcept
{
    bool is_closed = false;
    bool is_new = false;
    bool resumes = false;
    {
        const std::lock_guard guard{m_lock};
        is_closed = m_isClosed;
        is_new = m_running != m_sent;
        resumes = m_wantsResume && m_easy;
        if (resumes)
            m_wantsResume = m_isPaused = false;
    }
    if (is_closed || is_new)
        stop();
    if (is_closed)
        return false;
    if (is_new) {
        const std::uint32_t error = start(multi);
        if (error != error_success)
            fail(error);
    } else if (resumes) {
        // Hands over what libcurl kept back, so without the lock. Where it cannot, those bytes are lost, and the
        // transfer would go on behind them.
        const CURLcode code = curl_easy_pause(m_easy, CURLPAUSE_CONT);
        if (code != CURLE_OK)
            on_done(code);
    }
    return m_easy != nullptr;
}

void curl_request::fail(std::uint32_t error) noexcept
{
    stop();
    telling result;
    {
        const std::lock_guard guard{m_lock};
        m_running = m_sent;
        if (!is_stale())
            result = end_transfer(error);
    }
    tell(result);
}

void curl_request::stop() noexcept
{
    if (!m_easy)
        return;
    if (m_multi)
        curl_multi_remove_handle(m_multi, m_easy);
    curl_easy_cleanup(m_easy);
    m_easy = nullptr;
    m_multi = nullptr;
    m_headers.reset();
}

/// 0 or an error.
std::uint32_t curl_request::start(CURLM* multi) noexcept
try {
    std::vector<std::string> lines;
    std::string body;
    {
        const std::lock_guard guard{m_lock};
        m_running = m_sent;
        lines.swap(m_lines);
        body.swap(m_body);
    }
    m_hasExcess = m_isClosedWithBytes = m_hasGoodbye = m_hasHeaderFault = false;
    m_easy = curl_easy_init();
    if (!m_easy)
        return error_not_enough_memory;
    CURLcode code = set_options(m_easy, m_session->settings(), m_plan, lines, body, m_headers);
    if (code == CURLE_OK)
        code = set_callbacks();
    if (code != CURLE_OK)
        return error_of_transfer({.code = code});
    if (curl_multi_add_handle(multi, m_easy) != CURLM_OK)
        return error_not_enough_memory;
    m_multi = multi;
    return error_success;
} catch (const std::bad_alloc&) {
    return error_not_enough_memory;
}

CURLcode curl_request::set_callbacks() noexcept
{
    const CURLcode codes[] = {
        curl_easy_setopt(m_easy, CURLOPT_PRIVATE, this),
        curl_easy_setopt(m_easy, CURLOPT_HEADERFUNCTION, &curl_request::on_header),
        curl_easy_setopt(m_easy, CURLOPT_HEADERDATA, this),
        curl_easy_setopt(m_easy, CURLOPT_WRITEFUNCTION, &curl_request::on_body),
        curl_easy_setopt(m_easy, CURLOPT_WRITEDATA, this),
        // Some things it only says in words.
        curl_easy_setopt(m_easy, CURLOPT_VERBOSE, 1L),
        curl_easy_setopt(m_easy, CURLOPT_DEBUGFUNCTION, &curl_request::on_trace),
        curl_easy_setopt(m_easy, CURLOPT_DEBUGDATA, this),
    };
    for (const CURLcode code : codes)
        if (code != CURLE_OK)
            return code;
    if ((m_plan.flags & transfer_keep_connection) != 0)
        return CURLE_OK;
    // Such a connection ends no later than its transfer, so the request is there when it is closed.
    const CURLcode code = curl_easy_setopt(m_easy, CURLOPT_CLOSESOCKETFUNCTION, &close_and_look);
    return code != CURLE_OK ? code : curl_easy_setopt(m_easy, CURLOPT_CLOSESOCKETDATA, &m_isClosedWithBytes);
}

void curl_request::on_done(CURLcode code) noexcept
{
    const bool has_more = code == CURLE_OK && has_excess();
    telling result;
    {
        const std::lock_guard guard{m_lock};
        if (!is_stale()) {
            // Set by a callback that refused what came.
            std::uint32_t error = m_error != error_success ? m_error : error_of(code);
            if (error == error_success && !m_isAnswered) {
                result = take_answer();
                error = m_error;
            }
            if (error == error_success && has_more)
                error = error_http_invalid_server_response;
            if (error == error_success && is_cut_off())
                error = error_internet_connection_aborted;
            if (result)
                static_cast<void>(end_transfer(error));
            else
                result = end_transfer(error);
        }
    }
    stop();
    tell(result);
}

bool curl_request::has_excess() const noexcept
{
    const char* scheme = nullptr;
    curl_easy_getinfo(m_easy, CURLINFO_SCHEME, &scheme);
    // What waits behind TLS is its own, from anywhere within a record on.
    if (m_hasExcess || is_secure_scheme(scheme))
        return m_hasExcess;
    curl_socket_t socket = CURL_SOCKET_BAD;
    curl_easy_getinfo(m_easy, CURLINFO_ACTIVESOCKET, &socket);
    return m_isClosedWithBytes || has_bytes_waiting(socket);
}

/// Whoever stands between can end a secure connection as well, but not say good-bye for the server.
bool curl_request::is_cut_off() const noexcept
{
    const char* scheme = nullptr;
    curl_easy_getinfo(m_easy, CURLINFO_SCHEME, &scheme);
    return is_secure_scheme(scheme) && !m_hasGoodbye && m_plan.verb != "HEAD" && m_answer.ends_with_connection();
}

std::uint32_t curl_request::error_of(CURLcode code) const noexcept
{
    const char* address = nullptr;
    long request_bytes = 0;
    transfer_outcome outcome{.code = code};
    curl_easy_getinfo(m_easy, CURLINFO_EFFECTIVE_URL, &address);
    curl_easy_getinfo(m_easy, CURLINFO_REQUEST_SIZE, &request_bytes);
    curl_easy_getinfo(m_easy, CURLINFO_SSL_VERIFYRESULT, &outcome.verify_result);
    outcome.began_secure = m_plan.begins_secure();
    outcome.may_leave_security = (m_plan.flags & transfer_ignore_redirect_to_http) != 0;
    outcome.was_redirected = m_answer.is_redirect();
    outcome.has_answer = m_isAnswered;
    outcome.was_sent = request_bytes > 0;
    outcome.says_header_fault = m_hasHeaderFault;
    if (address) {
        outcome.last_scheme = address;
        outcome.last_scheme = outcome.last_scheme.substr(0, outcome.last_scheme.find(':'));
    }
    return error_of_transfer(outcome);
}

std::size_t curl_request::take_header(std::string_view line) noexcept
{
    telling result;
    {
        const std::lock_guard guard{m_lock};
        if (is_stale())
            return refuse;
        m_headerBytes += line.size();
        if (m_headerBytes > most_header_bytes)
            m_error = error_http_invalid_server_response;
        if (m_error != error_success)
            return refuse;
        if (m_isAnswered)
            return line.size(); // behind the chunks of a body
        // What came behind a redirect counts for nothing.
        if (line.starts_with("HTTP/"))
            m_hasExcess = m_isClosedWithBytes = m_hasGoodbye = false;
        try {
            if (!m_answer.add_line(line) || m_answer.is_interim())
                return line.size();
        } catch (const std::bad_alloc&) {
            m_error = error_not_enough_memory;
            return refuse;
        }
        // Else the first byte of the body tells, or the end: libcurl keeps the bodies of answers that it goes
        // on from to itself.
        if (!m_answer.may_lead_on())
            result = take_answer();
        if (m_error != error_success)
            return refuse;
    }
    tell(result);
    return line.size();
}

std::size_t curl_request::take_body(const std::byte* bytes, std::size_t count) noexcept
{
    // Two calls may end by the same bytes: one that waits for the answer, never one that waits for them.
    telling result;
    {
        const std::lock_guard guard{m_lock};
        if (is_stale())
            return refuse;
        if (!m_isAnswered)
            result = take_answer();
        if (m_error != error_success)
            return refuse;
        const auto skipped = static_cast<std::size_t>(std::min<std::uint64_t>(m_skip, count));
        const std::size_t wanted = m_pending == pending_call::read ? m_targetSize - m_filled : 0;
        if (count - skipped > wanted + m_store.room()) {
            m_isPaused = true;
            count = CURL_WRITEFUNC_PAUSE;
        } else {
            m_skip -= skipped;
            const std::size_t straight = std::min(wanted, count - skipped);
            const std::size_t kept = count - skipped - straight;
            if (kept != 0 && !m_store.put(bytes + skipped + straight, kept)) {
                m_error = error_not_enough_memory;
                return refuse;
            }
            if (straight != 0)
                std::memcpy(m_target + m_filled, bytes + skipped, straight);
            m_filled += straight;
            if (straight != 0 && m_filled == m_targetSize)
                result = end_read();
        }
    }
    tell(result);
    return count;
}

std::size_t curl_request::on_header(char* bytes, std::size_t size, std::size_t count, void* request) noexcept
{
    return static_cast<curl_request*>(request)->take_header({bytes, size * count});
}

std::size_t curl_request::on_body(char* bytes, std::size_t size, std::size_t count, void* request) noexcept
{
    return static_cast<curl_request*>(request)->take_body(reinterpret_cast<const std::byte*>(bytes), size * count);
}

int curl_request::on_trace(CURL*, curl_infotype kind, char* bytes, std::size_t count, void* request) noexcept
{
    auto& self = *static_cast<curl_request*>(request);
    const std::string_view text{bytes, count};
    if (kind == CURLINFO_SSL_DATA_IN && text == goodbye)
        self.m_hasGoodbye = true;
    if (kind != CURLINFO_TEXT)
        return 0;
    self.m_hasExcess = self.m_hasExcess || tells_of_excess(text);
    self.m_hasHeaderFault = self.m_hasHeaderFault || tells_of_header_fault(text);
    return 0;
}

} // namespace cw::platform
