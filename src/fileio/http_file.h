// A file behind an HTTP or HTTPS address: its status, size, date and position.
#pragma once

#include "fileio/inet_file.h"
#include "foundation/string.h"

#include <atomic>
#include <cstdint>

namespace cw {

class http_file : public inet_file {
public:
    /// `timeout` in milliseconds, for each wait. `proxy` and `proxy_bypass` may be null for none. Opens a
    /// session, or takes part in the one that all files share where the system's transfers want that; whether
    /// it worked shows when a file is opened.
    http_file(const string& agent, std::uint32_t timeout, std::uint32_t access_type, const char16_t* proxy,
              const char16_t* proxy_bypass, std::uint32_t session_flags);
    ~http_file() override;

    /// Checks the status of the answer as well.
    bool wait(std::uint32_t timeout, platform::event_handle event, bool closing) override;
    std::uint32_t seek(std::int32_t distance, std::uint32_t method) override;
    [[nodiscard]] std::uint32_t size() override;
    [[nodiscard]] bool last_modified(std::uint64_t* file_time) override;
    /// False for a status outside 200 to 299, which `last_error` and the last error then tell: 0x80040000 with
    /// the status plus 0xD3C0. An answer without a status can be read.
    bool check_status() override;

    /// Ends the part in the shared session; the last one to do so ends that.
    void leave_shared_session() noexcept;

    bool shares_session = false;
};

/// The session that files share; null while nobody does.
extern inet_session* shared_session;
extern std::atomic<std::uint32_t> shared_session_users;

} // namespace cw
