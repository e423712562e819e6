// A session of transfers, shared by its copies: the last one closes it.
#pragma once

#include "foundation/string.h"
#include "platform/services.h"

#include <atomic>
#include <cstdint>

namespace cw {

class inet_session {
public:
    inet_session();
    inet_session(const inet_session& other) noexcept;
    inet_session& operator=(const inet_session& other) noexcept;
    virtual ~inet_session();

    /// Opens an asynchronous session where there is none; null in `handle` and the last error tell that it
    /// failed. `proxy` and `proxy_bypass` may be null for none.
    void open(const string& agent, std::uint32_t access_type, const char16_t* proxy, const char16_t* proxy_bypass,
              std::uint32_t flags);

    platform::transfer_handle handle = nullptr;
    std::atomic<std::uint32_t>* shared_count; // never null
    char* buffer = nullptr;                   // nothing fills it

private:
    void give_up() noexcept;
};

} // namespace cw
