// A file behind an address: the request for it with its retries, and the reading that follows the measured
// rate. What is particular to a protocol is left to derived classes.
#pragma once

#include "fileio/inet_session.h"
#include "fileio/wininet_async_handle.h"
#include "foundation/string.h"

#include <cstdint>

namespace cw {

class inet_file;

/// Is asked what to do about a failed request, instead of a person.
struct transfer_error_handler {
    virtual ~transfer_error_handler() = default;
    /// `platform::error_internet_force_retry` to try again, `platform::error_cancelled` to give up; anything
    /// else leaves it to the person.
    virtual std::uint32_t on_error(inet_file& failed) = 0;
};

class inet_file : public wininet_async_handle {
public:
    inet_file();
    ~inet_file() override;

    // In the order of the table of operations. Failing calls set the last error.

    /// Moves the position by one of `platform::seek_begin` and the like. The new position.
    virtual std::uint32_t seek(std::int32_t distance, std::uint32_t method) = 0;
    /// In bytes; 0xFFFFFFFF on failure.
    [[nodiscard]] virtual std::uint32_t size() = 0;
    /// In 100 ns since 1601-01-01 UTC.
    [[nodiscard]] virtual bool last_modified(std::uint64_t* file_time) = 0;
    virtual void reserved_hook() {}
    /// What to do about the last failure: `platform::error_internet_force_retry` or `platform::error_cancelled`.
    /// The last error stays.
    virtual std::uint32_t handle_error();
    /// Whether the answer is one that can be read.
    virtual bool check_status();
    /// Makes and sends the request for `address`; true where that was done at once.
    virtual bool open_request(const inet_session& in_session, const string& address, const string& headers,
                              std::uint32_t flags, void* context);

    /// Takes an address; nothing is sent yet. `headers` go with each request for it, `flags` say how it is
    /// asked for.
    [[nodiscard]] bool open(const string& address, const string& headers, std::uint32_t flags);
    /// Makes sure of an open request, trying up to `max_retries` times more.
    [[nodiscard]] bool connect();
    /// Reads until the buffer is full or the file at its end. `*read_in_bytes` is what came in, also where the
    /// rest failed. A read that breaks off goes on from the position reached. Where it breaks off again, the
    /// bytes that came before the first break are taken off what is left once more: callers of old rely on
    /// where the bytes lie then. What would lie outside the buffer fails.
    [[nodiscard]] bool read(void* target, std::uint32_t size_in_bytes, std::uint32_t* read_in_bytes);
    /// Forgets the address, closes all handles and goes to the start. Safe at any time; the session stays.
    void close_all();
    /// The measured rate, in bytes a second, of the last 30 to 60 seconds.
    [[nodiscard]] std::uint32_t measured_rate();

    inet_session session;
    string url; // canonical
    string extra_headers;
    string header_text;             // of the request that is made
    std::uint32_t start_offset = 0; // where the next request starts
    std::uint32_t position = 0;
    std::uint32_t open_flags = 0;
    // Bytes and time of the transfers, and the same since the last roll-over.
    std::uint32_t window_bytes = 0;
    std::uint32_t window_micro = 0;
    std::uint32_t window_ms = 0;
    std::uint32_t next_bytes = 0;
    std::uint32_t next_micro = 0;
    std::uint32_t next_ms = 0;
    std::uint32_t window_started = 0; // in ticks
    std::uint32_t max_retries = 5;
    std::uint32_t retry_count = 0;
    std::uint32_t autodial_flags = platform::autodial_force_online;
    platform::window_handle owner_window = platform::desktop_window;
    transfer_error_handler* error_handler = nullptr; // null for nobody; not owned
    std::int64_t timer_frequency = 1000;             // counts a second
    bool has_performance_counter = false;
    wininet_async_handle* connection; // for HTTPS; null after `close_all`
    string host_name;                 // of the connection

protected:
    /// Closes the request; the last error stays, also over a closing that fails.
    void close_request();

private:
    std::uint16_t m_connectedPort = 0; // and who, of the connection
    string m_connectedUser;
    string m_connectedPassword;

    bool start_request(bool resend);
    [[nodiscard]] bool is_connected_to(const platform::url_components& parts) const;
    void close_other_host();
    bool read_loop(char* target, std::uint32_t size_in_bytes, std::uint32_t* read_in_bytes);
    [[nodiscard]] std::uint32_t next_chunk();
    [[nodiscard]] std::int64_t now() const;
    void count_time(std::int64_t started, std::int64_t ended);
};

} // namespace cw
