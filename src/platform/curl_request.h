// One request: what its caller sees of it, and the transfer behind it on the session's thread.
#pragma once

#include "platform/curl_answer.h"
#include "platform/curl_body_store.h"
#include "platform/curl_options.h"
#include "platform/transfers.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cw::platform {

class curl_session;

/// Who is told about a handle.
struct status_listener {
    transfer_handle handle = nullptr;
    status_callback callback = nullptr;
    void* context = nullptr;

    /// May be called with a callback of null.
    void tell(std::uint32_t status, const async_result& result) const;
};

class curl_request : public std::enable_shared_from_this<curl_request> {
public:
    curl_request(std::shared_ptr<curl_session> session, curl_request_plan plan, const status_listener& listener);
    ~curl_request();
    curl_request(const curl_request&) = delete;
    curl_request& operator=(const curl_request&) = delete;

    [[nodiscard]] transfer_handle handle() const noexcept { return m_listener.handle; }

    // What the caller does, on any thread. Error numbers as results; "pending" where the callback tells the end.

    /// Sends the request, also once more. `result` is told at the end where it went well.
    std::uint32_t send(std::vector<std::string> lines, std::string body, std::uintptr_t result);
    std::uint32_t query(std::uint32_t level, void* buffer, std::uint32_t* size_in_bytes, std::uint32_t* index);
    std::uint32_t read(void* buffer, std::uint32_t size_in_bytes, std::uint32_t* read_in_bytes);
    /// When it returns, nobody is told anything but the closing, and nothing of the caller's is written.
    void close();

    // What the session's thread does.

    /// Brings the transfer to where its caller wants it. True while it runs.
    bool serve(CURLM* multi) noexcept;
    /// A send that cannot even begin.
    void fail(std::uint32_t error) noexcept;
    /// libcurl says that the transfer has ended.
    void on_done(CURLcode code) noexcept;
    /// Takes the transfer out of the session's and forgets it.
    void stop() noexcept;
    /// The session ends: the handle can be closed and nothing else.
    void abandon() noexcept;

    /// For the session, under its lock: requests that are posted to its thread, one after the other.
    std::shared_ptr<curl_request> next_posted;
    bool is_posted = false;

private:
    enum class pending_call { none, send, read };
    using telling = std::optional<async_result>;

    const std::shared_ptr<curl_session> m_session;
    const curl_request_plan m_plan;
    const status_listener m_listener;

    // Held while the callback runs and while the handle is closed; always before `m_lock`.
    std::mutex m_tellLock;
    std::mutex m_lock;
    bool m_isClosed = false;    // with both locks
    bool m_isAbandoned = false; // and all below with `m_lock`
    std::uint64_t m_sent = 0;   // how often it was sent; what a transfer brings for an earlier one counts for nothing
    std::uint64_t m_running = 0;
    std::vector<std::string> m_lines;
    std::string m_body;
    std::uint64_t m_offset = 0;

    bool m_isAnswered = false; // the headers of the final answer are in
    bool m_isAtEnd = false;    // nothing more comes; `m_error` says whether that is well
    std::uint32_t m_error = 0;
    std::size_t m_headerBytes = 0;
    curl_answer m_answer;
    std::uint64_t m_skip = 0;
    curl_body_store m_store;
    bool m_isPaused = false;
    bool m_wantsResume = false;

    pending_call m_pending = pending_call::none;
    std::uintptr_t m_resultOfSend = 0;
    std::byte* m_target = nullptr;
    std::size_t m_targetSize = 0;
    std::size_t m_filled = 0;
    std::uint32_t* m_readCount = nullptr;

    // The thread's alone.
    CURL* m_easy = nullptr;
    CURLM* m_multi = nullptr;
    curl_list m_headers;
    bool m_hasExcess = false;
    bool m_isClosedWithBytes = false;
    bool m_hasGoodbye = false;
    bool m_hasHeaderFault = false;

    bool is_stale() const noexcept { return m_isClosed || m_isAbandoned || m_running != m_sent; }
    bool is_orphan() const noexcept;
    void forget_answer() noexcept;
    telling end_call(std::uintptr_t result, std::uint32_t error) noexcept;
    telling end_read() noexcept;
    telling end_transfer(std::uint32_t error) noexcept;
    telling take_answer() noexcept;
    void tell(const telling& result) noexcept;

    std::uint32_t start(CURLM* multi) noexcept;
    CURLcode set_callbacks() noexcept;
    std::uint32_t error_of(CURLcode code) const noexcept;
    bool has_excess() const noexcept;
    bool is_cut_off() const noexcept;
    std::size_t take_header(std::string_view line) noexcept;
    std::size_t take_body(const std::byte* bytes, std::size_t count) noexcept;

    static std::size_t on_header(char* bytes, std::size_t size, std::size_t count, void* request) noexcept;
    static std::size_t on_body(char* bytes, std::size_t size, std::size_t count, void* request) noexcept;
    static int on_trace(CURL* easy, curl_infotype kind, char* bytes, std::size_t count, void* request) noexcept;
};

} // namespace cw::platform
