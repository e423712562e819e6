// Transfers over HTTP and HTTPS, as the logic asks for them: sessions, connections and requests behind
// handles. A call that takes time answers "pending" at once and is done when a status callback says so.
#pragma once

#include <cstddef>
#include <cstdint>

namespace cw::platform {

/// A session, connection or request. Null for none.
using transfer_handle = void*;
/// What a dialog belongs to.
using window_handle = void*;
inline constexpr window_handle desktop_window = nullptr;

// Access types of a session.
inline constexpr std::uint32_t access_as_configured = 0; // proxies as the person's environment says
inline constexpr std::uint32_t access_direct = 1;
inline constexpr std::uint32_t access_by_proxy = 3; // the proxy that the session names

// Flags of sessions and requests.
inline constexpr std::uint32_t transfer_reload = 0x80000000; // from the server, past every cache
inline constexpr std::uint32_t transfer_asynchronous = 0x10000000;
inline constexpr std::uint32_t transfer_secure = 0x00800000;
inline constexpr std::uint32_t transfer_keep_connection = 0x00400000;
inline constexpr std::uint32_t transfer_ignore_redirect_to_http = 0x00008000;
inline constexpr std::uint32_t transfer_pragma_no_cache = 0x00000100; // tells caches on the way to ask the server

inline constexpr std::uint32_t service_ftp = 1;
inline constexpr std::uint32_t service_gopher = 2;
inline constexpr std::uint32_t service_http = 3;

// What a status callback tells. All else may be told too and means nothing here.
inline constexpr std::uint32_t status_handle_created = 60; // `async_result::result` is the handle
inline constexpr std::uint32_t status_handle_closing = 70; // the last word on a handle
inline constexpr std::uint32_t status_request_complete = 100;

/// What comes with the first and the last of them.
struct async_result {
    std::uintptr_t result; // of a finished call: 1 or the handle that it made; 0 where it failed
    std::uint32_t error;
};

/// Called on any thread, for one handle on one thread at a time. `information` is an `async_result` for the
/// statuses above. May not call for the same handle.
using status_callback = void (*)(transfer_handle handle, void* context, std::uint32_t status, const void* information,
                                 std::uint32_t information_size);
/// What `set_status_callback` answers on failure.
inline const status_callback invalid_status_callback = reinterpret_cast<status_callback>(~std::uintptr_t{0});

/// One part of an address: with a text of null `crack_url` tells the length alone; else `length` is the room,
/// and the text is written with a terminator. Lengths are in code units, without the terminator.
struct url_part {
    char16_t* text = nullptr;
    std::uint32_t length = 0;
};

inline constexpr std::int32_t url_scheme_unknown = -1;
inline constexpr std::int32_t url_scheme_ftp = 1;
inline constexpr std::int32_t url_scheme_gopher = 2;
inline constexpr std::int32_t url_scheme_http = 3;
inline constexpr std::int32_t url_scheme_https = 4;

/// An address taken apart. User and password come without escapes; path and extra part (what follows from "?"
/// or "#") as they stand.
struct url_components {
    url_part scheme_name;
    std::int32_t scheme = url_scheme_unknown;
    url_part host;
    std::uint16_t port = 0; // the scheme's own where the address names none
    url_part user;
    url_part password;
    url_part path;
    url_part extra;
};

// Flags of `canonicalize_url`.
inline constexpr std::uint32_t canonical_decode = 0x10000000;
inline constexpr std::uint32_t canonical_browser_mode = 0x02000000;

// What `query_info` can be asked, with how the answer is wanted.
inline constexpr std::uint32_t query_content_length = 5;
inline constexpr std::uint32_t query_last_modified = 11;
inline constexpr std::uint32_t query_status_code = 19;
inline constexpr std::uint32_t query_as_system_time = 0x40000000; // a `system_time` (clocks.h)
inline constexpr std::uint32_t query_as_number = 0x20000000;      // 32 bits

inline constexpr std::uint32_t option_version = 0x28;
struct transfer_version {
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
};

// What `connected_state` tells of the connection.
inline constexpr std::uint32_t connection_modem = 0x01;
inline constexpr std::uint32_t connection_lan = 0x02;
inline constexpr std::uint32_t connection_configured = 0x40;
inline constexpr std::uint32_t autodial_force_online = 1;

// Flags of `error_dialog`, and its answers that mean something.
inline constexpr std::uint32_t error_dialog_filter_for_errors = 1;
inline constexpr std::uint32_t error_dialog_change_options = 2;
inline constexpr std::uint32_t error_dialog_generate_data = 4;

// The numbers of failed transfers.
inline constexpr std::uint32_t error_internet_timeout = 12002;
inline constexpr std::uint32_t error_internet_extended_error = 12003;
inline constexpr std::uint32_t error_internet_internal_error = 12004;
inline constexpr std::uint32_t error_internet_invalid_url = 12005;
inline constexpr std::uint32_t error_internet_unrecognized_scheme = 12006;
inline constexpr std::uint32_t error_internet_name_not_resolved = 12007;
inline constexpr std::uint32_t error_internet_operation_cancelled = 12017;
inline constexpr std::uint32_t error_internet_incorrect_handle_type = 12018;
inline constexpr std::uint32_t error_internet_incorrect_handle_state = 12019;
inline constexpr std::uint32_t error_internet_cannot_connect = 12029;
inline constexpr std::uint32_t error_internet_connection_aborted = 12030;
inline constexpr std::uint32_t error_internet_connection_reset = 12031;
inline constexpr std::uint32_t error_internet_force_retry = 12032;
inline constexpr std::uint32_t error_internet_certificate_date_invalid = 12037;
inline constexpr std::uint32_t error_internet_certificate_name_invalid = 12038;
inline constexpr std::uint32_t error_internet_https_to_http_on_redirect = 12040;
inline constexpr std::uint32_t error_internet_invalid_authority = 12045;
inline constexpr std::uint32_t error_http_header_not_found = 12150;
inline constexpr std::uint32_t error_http_invalid_server_response = 12152;
inline constexpr std::uint32_t error_http_redirect_failed = 12156;
inline constexpr std::uint32_t error_internet_security_channel_error = 12157;

/// Transfers over a network. Failing calls set the last error; where that is "pending" (997) the call goes on
/// and a status callback tells its end. Texts end with a terminator; lengths of them are in code units.
struct transfers {
    virtual ~transfers() = default;
    /// Null on failure. `proxy` and `proxy_bypass` may be null for none. Nothing is sent by it.
    virtual transfer_handle open_session(const char16_t* agent, std::uint32_t access_type, const char16_t* proxy,
                                         const char16_t* proxy_bypass, std::uint32_t flags) noexcept = 0;
    /// A connection to a host, in name: nothing is sent by it. Null on failure. The handle is told to the
    /// session's callback with `context` first.
    virtual transfer_handle connect(transfer_handle session, const char16_t* host, std::uint16_t port,
                                    const char16_t* user, const char16_t* password, std::uint32_t service,
                                    std::uint32_t flags, void* context) noexcept = 0;
    /// Makes a request for `url` and sends it. Its handle is told to the session's callback with `context`
    /// before anything is sent. Null on failure and where it is pending.
    virtual transfer_handle open_url(transfer_handle session, const char16_t* url, const char16_t* headers,
                                     std::uint32_t headers_length, std::uint32_t flags, void* context) noexcept = 0;
    /// Makes a request for `object`, path and extra part of an address, over a connection; null on failure. Its
    /// handle is told to the session's callback with `context` first. Null for `version`, `referrer` and
    /// `accept_types` (a list that ends in null) means none.
    virtual transfer_handle open_request(transfer_handle connection, const char16_t* verb, const char16_t* object,
                                         const char16_t* version, const char16_t* referrer,
                                         const char16_t* const* accept_types, std::uint32_t flags,
                                         void* context) noexcept = 0;
    /// Sends a request, also one that was sent before: what came for it then is forgotten. It is done when the
    /// headers of the answer are in.
    virtual bool send_request(transfer_handle request, const char16_t* headers, std::uint32_t headers_length,
                              const void* body, std::uint32_t body_size_in_bytes) noexcept = 0;
    /// What the headers of the answer say. `*size_in_bytes` is the room and then what was written; `index`,
    /// which of several headers of one name, may be null for the first.
    virtual bool query_info(transfer_handle request, std::uint32_t level, void* buffer, std::uint32_t* size_in_bytes,
                            std::uint32_t* index) noexcept = 0;
    /// Reads until the buffer is full or no more comes. `*read_in_bytes`, 0 at the end of the answer, and the
    /// buffer are written until the call is done or the handle closed, not later.
    virtual bool read(transfer_handle request, void* buffer, std::uint32_t size_in_bytes,
                      std::uint32_t* read_in_bytes) noexcept = 0;
    /// What is pending on the handle ends. Where this answers true, no callback for it comes later.
    virtual bool close(transfer_handle handle) noexcept = 0;
    /// The callback of a session and of all that is made from it later; null for none. Answers the one before,
    /// or `invalid_status_callback`.
    virtual status_callback set_status_callback(transfer_handle session, status_callback callback) noexcept = 0;
    virtual bool crack_url(const char16_t* url, std::uint32_t length, std::uint32_t flags,
                           url_components* components) noexcept = 0;
    /// Writes the address in its usual form; escapes that change nothing are undone with `canonical_decode`.
    /// `*length` is the room with the terminator, and then what was written without it; where the room is too
    /// small (122) what is needed with it.
    virtual bool canonicalize_url(const char16_t* url, char16_t* target, std::uint32_t* length,
                                  std::uint32_t flags) noexcept = 0;
    /// `handle` null asks for an option of the whole.
    virtual bool query_option(transfer_handle handle, std::uint32_t option, void* buffer,
                              std::uint32_t* size_in_bytes) noexcept = 0;
    /// Whether there is a way out at all; asked without sending anything.
    virtual bool connected_state(std::uint32_t* flags) noexcept = 0;
    virtual bool autodial(std::uint32_t flags, window_handle owner) noexcept = 0;
    /// Shows an error and lets a person decide: 12032 to try again, 1223 to give up, or another number.
    virtual std::uint32_t error_dialog(window_handle owner, transfer_handle request, std::uint32_t error,
                                       std::uint32_t flags, void** data) noexcept = 0;
    /// The server's own words on the last extended error of this thread. `*length` is the room, and then what
    /// was written without the terminator.
    virtual bool last_response(std::uint32_t* error, char16_t* text, std::uint32_t* length) noexcept = 0;
};

} // namespace cw::platform
