// A scripted network: a test tells what becomes of each request and of each read, and what servers answer.
#pragma once

#include "platform/clocks.h"
#include "platform/transfers.h"

#include "tests/support/call_log.h"
#include "tests/support/scripted_waits.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cw::test_support {

/// What becomes of one call that takes time.
struct transfer_step {
    enum class course { done, failed, pending, endless };
    course way = course::done;
    std::uint32_t error = 0;              // of a call that fails, at once or in the end
    std::optional<std::uintptr_t> result; // told in the end; else 1, and 0 with an error
    bool on_thread = true;                // where the end is told
    bool tells_handle = true;             // of `open_url` that is pending
    bool tells_handle_late = false;       // with the end, not in the call
    std::uint32_t longest = 0xFFFFFFFF;   // what a read gets at most, in bytes

    [[nodiscard]] transfer_step here() const;
    [[nodiscard]] transfer_step at_most(std::uint32_t size_in_bytes) const;
    [[nodiscard]] transfer_step with_result(std::uintptr_t told) const;
};

[[nodiscard]] transfer_step done();
/// At once. `open_url` makes no handle then.
[[nodiscard]] transfer_step failed(std::uint32_t error);
/// Ends while the logic waits; well, or with `error`.
[[nodiscard]] transfer_step pending(std::uint32_t error = 0);
/// Never ends.
[[nodiscard]] transfer_step endless();

/// What a server says to one request.
struct transfer_answer {
    std::optional<std::uint32_t> status = 200;
    std::string body = {};
    bool tells_length = true;
    std::optional<std::uint32_t> length = {}; // where it is not that of the body
    std::optional<platform::system_time> modified = {};
    bool keeps_to_range = true; // leaves out what lies in front of the range
};

/// Handles count from 101. Lines, where a text that is empty has quotes and one of null is "null":
/// `InternetOpenW <agent> <access type> <proxy> <bypass list> 0x10000000`, `InternetCloseHandle <handle>`,
/// `InternetConnectW <session> <host> <port> <user> <password> <service> 0x00000000`,
/// `InternetOpenUrlW <session> <address> <headers> 0x80400100`,
/// `HttpOpenRequestW <connection> <verb> <object> <version> <referrer> <types or null> 0x80C00100`,
/// `HttpSendRequestW <request> <headers>`, `HttpQueryInfoW 0x20000013`, `InternetReadFile <count>`,
/// `InternetSetStatusCallbackW <session>`, `InternetCrackUrlW <length>`,
/// `InternetCanonicalizeUrlW <room> 0x12000000`, `InternetQueryOptionW 0x00000028 <room>`,
/// `InternetGetConnectedState`, `InternetAutodial 1 0`, `InternetErrorDlg <window> <request> <error> 0x00000007`,
/// `InternetGetLastResponseInfoW <room>`. Calls are told to fail by them; a close that fails with "pending" tells
/// the closing while the logic waits, with any other error the handle stays.
struct scripted_transfers final : platform::transfers {
    scripted_transfers(call_log& log, scripted_waits& waits) noexcept : m_log(log), m_waits(waits) {}
    ~scripted_transfers() override { m_waits.join(); }

    /// For requests and for reads, in their order; after them each is done at once.
    std::deque<transfer_step> requests;
    std::deque<transfer_step> reads;
    /// In the order of the requests; after them `answer`.
    std::deque<transfer_answer> answers;
    transfer_answer answer;
    bool tells_closing = true; // of a close that is pending
    std::uint32_t minor_version = 2;
    bool is_connected = true;
    std::uint32_t connection_flags = platform::connection_lan;
    /// Rooms that canonicalizing asks for, one a call, before it works; then the address as it came, or this.
    std::deque<std::uint32_t> rooms_wanted;
    std::optional<std::u16string> canonical;
    /// Answered in this order; after them a person gives up.
    std::deque<std::uint32_t> dialog_answers;
    std::uint32_t response_error = 0;
    std::u16string response_text;

    [[nodiscard]] std::size_t open_handles() const noexcept { return m_handles.size(); }
    [[nodiscard]] bool is_open(platform::transfer_handle handle) const { return m_handles.contains(handle); }
    /// Of the next handle that is made.
    [[nodiscard]] platform::transfer_handle next_handle() const noexcept;

    platform::transfer_handle open_session(const char16_t* agent, std::uint32_t access_type, const char16_t* proxy,
                                           const char16_t* proxy_bypass, std::uint32_t flags) noexcept override;
    platform::transfer_handle connect(platform::transfer_handle session, const char16_t* host, std::uint16_t port,
                                      const char16_t* user, const char16_t* password, std::uint32_t service,
                                      std::uint32_t flags, void* context) noexcept override;
    platform::transfer_handle open_url(platform::transfer_handle session, const char16_t* url, const char16_t* headers,
                                       std::uint32_t headers_length, std::uint32_t flags,
                                       void* context) noexcept override;
    platform::transfer_handle open_request(platform::transfer_handle connection, const char16_t* verb,
                                           const char16_t* object, const char16_t* version, const char16_t* referrer,
                                           const char16_t* const* accept_types, std::uint32_t flags,
                                           void* context) noexcept override;
    bool send_request(platform::transfer_handle request, const char16_t* headers, std::uint32_t headers_length,
                      const void* body, std::uint32_t body_size_in_bytes) noexcept override;
    bool query_info(platform::transfer_handle request, std::uint32_t level, void* buffer, std::uint32_t* size_in_bytes,
                    std::uint32_t* index) noexcept override;
    bool read(platform::transfer_handle request, void* buffer, std::uint32_t size_in_bytes,
              std::uint32_t* read_in_bytes) noexcept override;
    bool close(platform::transfer_handle handle) noexcept override;
    platform::status_callback set_status_callback(platform::transfer_handle session,
                                                  platform::status_callback callback) noexcept override;
    bool crack_url(const char16_t* url, std::uint32_t length, std::uint32_t flags,
                   platform::url_components* components) noexcept override;
    bool canonicalize_url(const char16_t* url, char16_t* target, std::uint32_t* length,
                          std::uint32_t flags) noexcept override;
    bool query_option(platform::transfer_handle handle, std::uint32_t option, void* buffer,
                      std::uint32_t* size_in_bytes) noexcept override;
    bool connected_state(std::uint32_t* flags) noexcept override;
    bool autodial(std::uint32_t flags, platform::window_handle owner) noexcept override;
    std::uint32_t error_dialog(platform::window_handle owner, platform::transfer_handle request, std::uint32_t error,
                               std::uint32_t flags, void** data) noexcept override;
    bool last_response(std::uint32_t* error, char16_t* text, std::uint32_t* length) noexcept override;

private:
    enum class kind { session, connection, request };
    struct open_handle {
        kind is;
        platform::status_callback callback; // null for none
        void* context;
        std::optional<transfer_answer> answered;
        std::size_t offset; // in its body
    };

    platform::transfer_handle add(kind is, const open_handle* parent, void* context);
    /// Null, with the last error, for what is not open or of another kind.
    open_handle* find(platform::transfer_handle handle, kind wanted);
    /// Takes the next step and the next answer for a request; true where it is done at once.
    bool send(platform::transfer_handle request, std::u16string_view headers, const transfer_step& step);
    /// Has the end of a pending call told while the logic waits, `before` done first.
    void tell_later(platform::transfer_handle request, const transfer_step& step, std::function<void()> before);
    static void tell(platform::transfer_handle handle, const open_handle& to, std::uint32_t status,
                     std::uintptr_t result, std::uint32_t error);

    call_log& m_log;
    scripted_waits& m_waits;
    std::map<platform::transfer_handle, open_handle> m_handles;
    std::uintptr_t m_nextHandle = 101;
};

} // namespace cw::test_support
