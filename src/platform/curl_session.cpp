#include "platform/curl_session.h"

#include "platform/curl_request.h"
#include "platform/last_error.h"

#include <algorithm>
#include <csignal>
#include <new>
#include <system_error>
#include <utility>

namespace cw::platform {

namespace {

constexpr int longest_poll_ms = 60000; // libcurl knows its own dates; all else wakes it

/// Signals are the other threads' to take: a write to a connection that is gone must not end the process.
class all_signals_blocked {
public:
    all_signals_blocked()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~all_signals_blocked() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    all_signals_blocked(const all_signals_blocked&) = delete;
    all_signals_blocked& operator=(const all_signals_blocked&) = delete;

private:
    sigset_t m_before{};
};

thread_local const curl_session* session_of_thread = nullptr;

} // namespace

curl_session::curl_session(curl_session_settings settings) : m_settings(std::move(settings)) {}

curl_session::~curl_session()
{
    close();
}

bool curl_session::start() noexcept
{
    m_multi = curl_multi_init();
    if (!m_multi)
        return false;
    try {
        // Without descriptors libcurl makes one that nobody can wake.
        if (curl_multi_wakeup(m_multi) == CURLM_OK) {
            const all_signals_blocked blocked;
            m_thread = std::thread([this] { run(); });
            return true;
        }
    } catch (const std::exception&) {
    }
    curl_multi_cleanup(m_multi);
    m_multi = nullptr;
    return false;
}

bool curl_session::post(std::shared_ptr<curl_request> request) noexcept
{
    const std::lock_guard guard{m_lock};
    if (m_isClosing || (!m_multi && !start()))
        return false;
    if (!request->is_posted) {
        request->is_posted = true;
        curl_request* last = request.get();
        (m_lastPosted ? m_lastPosted->next_posted : m_firstPosted) = std::move(request);
        m_lastPosted = last;
    }
    curl_multi_wakeup(m_multi);
    return true;
}

std::shared_ptr<curl_request> curl_session::take_posted(bool& ends) noexcept
{
    const std::lock_guard guard{m_lock};
    ends = m_isClosing;
    std::shared_ptr<curl_request> request = std::move(m_firstPosted);
    if (request) {
        m_firstPosted = std::move(request->next_posted);
        if (!m_firstPosted)
            m_lastPosted = nullptr;
        request->is_posted = false;
    }
    return request;
}

void curl_session::drop(const curl_request* request) noexcept
{
    const auto found = std::find_if(m_active.begin(), m_active.end(),
                                    [request](const auto& candidate) { return candidate.get() == request; });
    if (found == m_active.end())
        return;
    std::swap(*found, m_active.back());
    m_active.pop_back();
}

void curl_session::serve(std::shared_ptr<curl_request> request) noexcept
{
    const bool is_active = std::find(m_active.begin(), m_active.end(), request) != m_active.end();
    if (!is_active) {
        try {
            m_active.push_back(request);
        } catch (const std::bad_alloc&) {
            request->fail(error_not_enough_memory);
            return;
        }
    }
    if (!request->serve(m_multi))
        drop(request.get());
}

void curl_session::tell_done() noexcept
{
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(m_multi, &left)) {
        if (message->msg != CURLMSG_DONE)
            continue;
        curl_request* request = nullptr;
        const CURLcode code = message->data.result; // the message is gone with the transfer
        curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &request);
        request->on_done(code);
        drop(request);
    }
}

void curl_session::run() noexcept
{
    session_of_thread = this;
    bool ends = false;
    while (!ends) {
        while (std::shared_ptr<curl_request> request = take_posted(ends)) {
            if (ends)
                request->abandon();
            else
                serve(std::move(request));
        }
        if (ends)
            break;
        int running = 0;
        curl_multi_perform(m_multi, &running);
        tell_done();
        curl_multi_poll(m_multi, nullptr, 0, longest_poll_ms, nullptr);
    }
    for (const std::shared_ptr<curl_request>& request : m_active)
        request->abandon();
    m_active.clear();
    // Here, where signals are blocked: it says good-bye on connections that are kept.
    curl_multi_cleanup(m_multi);
}

bool curl_session::is_own_thread() const noexcept
{
    return session_of_thread == this;
}

void curl_session::close() noexcept
{
    {
        const std::lock_guard guard{m_lock};
        m_isClosing = true;
        if (!m_thread.joinable())
            return;
        curl_multi_wakeup(m_multi);
    }
    m_thread.join();
    m_multi = nullptr;
}

} // namespace cw::platform
