// A session: what its requests share, and the thread that their transfers run on.
#pragma once

#include "platform/curl_options.h"
#include "platform/transfers.h"

#include <atomic>
#include <curl/curl.h>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace cw::platform {

class curl_request;

class curl_session {
public:
    explicit curl_session(curl_session_settings settings);
    ~curl_session();
    curl_session(const curl_session&) = delete;
    curl_session& operator=(const curl_session&) = delete;

    [[nodiscard]] const curl_session_settings& settings() const noexcept { return m_settings; }
    std::atomic<status_callback> callback{nullptr};

    /// Has the thread look at a request; starts it for the first one. False without memory or threads, and when
    /// the session is closed. Called under the request's lock.
    bool post(std::shared_ptr<curl_request> request) noexcept;
    /// Whether the caller is the session's thread, in a callback: that one cannot wait for its own end.
    [[nodiscard]] bool is_own_thread() const noexcept;
    /// Ends all transfers and the thread. Not on that thread, and not on two threads at once.
    void close() noexcept;
    [[nodiscard]] bool is_closed() const noexcept { return m_isClosing; }

private:
    const curl_session_settings m_settings;

    std::mutex m_lock;
    std::atomic<bool> m_isClosing{false};
    std::shared_ptr<curl_request> m_firstPosted;
    curl_request* m_lastPosted = nullptr;
    std::thread m_thread;
    CURLM* m_multi = nullptr;                            // as long as the thread
    std::vector<std::shared_ptr<curl_request>> m_active; // the thread's alone

    bool start() noexcept;
    void run() noexcept;
    std::shared_ptr<curl_request> take_posted(bool& ends) noexcept;
    void serve(std::shared_ptr<curl_request> request) noexcept;
    void tell_done() noexcept;
    void drop(const curl_request* request) noexcept;
};

} // namespace cw::platform
