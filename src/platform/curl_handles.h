// What stands behind the handles of transfers. Handles are numbers that are never given twice: one that was
// closed harms nobody.
#pragma once

#include "platform/curl_request.h"
#include "platform/curl_session.h"
#include "platform/transfers.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <variant>

namespace cw::platform {

/// A host to which requests go, in name.
struct curl_connection {
    std::shared_ptr<curl_session> session;
    std::u16string host;
    std::uint16_t port = 0;
    std::u16string user;
    std::u16string password;
    status_listener listener;
};

class curl_handles {
public:
    using object = std::variant<std::monostate, std::shared_ptr<curl_session>, std::shared_ptr<curl_connection>,
                                std::shared_ptr<curl_request>>;

    /// A new handle, with nothing behind it yet.
    [[nodiscard]] transfer_handle next() noexcept;
    /// Throws `std::bad_alloc`.
    void put(transfer_handle handle, object thing);
    /// Nothing behind an unknown handle.
    [[nodiscard]] object find(transfer_handle handle);
    /// The same, and the handle is unknown from then on.
    object take(transfer_handle handle) noexcept;
    /// All that are left, sessions first.
    void close_all() noexcept;

private:
    std::mutex m_lock;
    std::uintptr_t m_last = 0;
    std::map<transfer_handle, object> m_objects;
};

} // namespace cw::platform
