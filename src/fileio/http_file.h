// A file behind an HTTP address, as the file object sees it: an address and a position in a session.
// Sessions have no requests here, so whatever needs one says that it cannot connect.
#pragma once

#include "foundation/string.h"
#include "platform/services.h"

#include <cstdint>

namespace cw {

class http_file {
public:
    /// Opens a session for `agent`; whether that worked shows when a file is opened. `proxy` and
    /// `proxy_bypass` may be null for none.
    http_file(const string& agent, std::uint32_t timeout, std::uint32_t access_type, const char16_t* proxy,
              const char16_t* proxy_bypass, std::uint32_t session_flags);
    /// Closes all, then the session.
    virtual ~http_file();
    http_file(const http_file&) = delete;
    http_file& operator=(const http_file&) = delete;

    // Failing calls set the last error.

    /// Takes an address; `headers` go with each request for it, `flags` say how it is asked for.
    [[nodiscard]] bool open(const string& address, const string& headers, std::uint32_t flags);
    /// `*read_in_bytes` is what came in, also where the rest failed.
    [[nodiscard]] bool read(void* buffer, std::uint32_t size_in_bytes, std::uint32_t* read_in_bytes);
    /// Moves the position; `method` is one of `platform::seek_begin` and the like. The new position;
    /// 0xFFFFFFFF on failure, nothing having moved.
    [[nodiscard]] virtual std::uint32_t seek(std::int32_t distance, std::uint32_t method);
    /// In bytes; 0xFFFFFFFF on failure.
    [[nodiscard]] virtual std::uint32_t size();
    /// Forgets the address and goes to the start. Safe at any time; the session stays.
    void close_all() noexcept;

    string url;
    string extra_headers;
    std::uint32_t position = 0;
    std::uint32_t open_flags = 0;
    std::uint32_t timeout_ms;
    void* error_handler = nullptr; // asked what to do about an error of a request; null for nobody

private:
    platform::transfer_handle m_session;
    std::uint32_t m_error; // why nothing can be asked for
};

} // namespace cw
