// A web server for tests, as a process of its own: what a client meets on a real connection, faults included.
//
// It serves by path; numbers in capitals are parts of the path, sizes in bytes. Bytes of files are those of
// `web_server::content`.
//
//   /plain/SIZE             a file; ranges are honoured ("bytes=N-"; 416 behind the end); Last-Modified is
//                           1994-11-06 08:49:37
//   /norange/SIZE           a file; ranges are ignored
//   /break/SIZE/AT          a file with ranges; each answer ends after AT bytes of its body
//   /break-once/SIZE/AT     the same for the first of all equal requests alone
//   /reset/SIZE/AT          as /break, the connection being reset
//   /stall/SIZE/AT          as /break, but nothing ends: nothing more comes
//   /stall-headers          headers that stay without an end
//   /gate/SIZE/AT           a file; after AT bytes it waits for `release`
//   /gate-break/SIZE/AT     the same, but it ends then
//   /gate-headers/SIZE      a file; nothing comes before `release`
//   /slow/SIZE/STEP/MS      a file by STEPs, MS milliseconds between them
//   /chunked/SIZE           a file in chunks, with a wrong Content-Length (3) beside it
//   /long/SIZE/EXTRA        EXTRA bytes behind a body of SIZE; the connection stays
//   /wrong-range/SIZE       206 from one byte behind the one that was asked for
//   /redirect/COUNT/PATH    COUNT redirects, the last to /PATH
//   /redirect-to?URL        a redirect to URL (escapes undone)
//   /loop                   a redirect to itself
//   /leave                  "soon" on a connection that stays until `release` and is reset then
//   /wait-for-leave         "gone" when that has happened
//   /status/CODE            an answer with "status" in its body (204 and 304: nothing)
//   /auth/USER/PASSWORD     401, and 200 with "welcome" for Basic credentials; parts with escapes
//   /digest/USER/PASSWORD   the same for Digest
//   /echo                   the request as body: line, headers, empty line, body
//   /endless-headers, /endless-header-line, /endless-1xx, /endless-trailers (behind the chunk "abc")
//   /raw/BYTES              BYTES (escapes undone) as they are, headers and all; then the end
//   /raw-cut/BYTES          the same, but TLS is not told of the end
//
// Everything else is 404. A client may take it for its HTTP proxy as well; it opens no ways through (403).
#pragma once

#include "tests/support/temporary_folder.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace cw::test_support {

/// Keys and certificates for servers, made by the `openssl` command.
class test_certificates {
public:
    /// Made at the first call, for the life of the test program.
    static const test_certificates& instance();

    enum class server {
        good,        // for 127.0.0.1, [::1] and localhost
        expired,     // good before
        wrong_name,  // for another host
        self_signed, // by nobody that is known
    };
    /// A file: the authority that signed all but the last.
    [[nodiscard]] std::string authority() const { return m_folder.file("authority.pem"); }
    [[nodiscard]] std::string certificate(server kind) const;
    [[nodiscard]] std::string key(server kind) const;

private:
    temporary_folder m_folder;
    test_certificates();
};

/// A request as it came.
struct web_request {
    std::size_t connection = 0; // numbered from 1
    std::string line;           // without its end
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;

    /// Value of the first header of a name, in any case.
    [[nodiscard]] std::optional<std::string> header(std::string_view name) const;
};

class web_server {
public:
    /// HTTP.
    web_server() : web_server(std::vector<std::string>{}) {}
    /// HTTPS.
    explicit web_server(test_certificates::server kind);
    ~web_server();
    web_server(const web_server&) = delete;
    web_server& operator=(const web_server&) = delete;

    [[nodiscard]] std::uint16_t port() const noexcept { return m_port; }
    /// "http://127.0.0.1:PORT" and the path, which begins with a slash.
    [[nodiscard]] std::string address(std::string_view path) const;
    [[nodiscard]] std::u16string wide_address(std::string_view path) const;

    /// All requests so far, or since `forget_requests`, in the order in which they came.
    [[nodiscard]] std::vector<web_request> requests();
    void forget_requests() { command("forget"); }
    /// Opens all gates, for good.
    void release() { command("release"); }

    /// The bytes of the server's files from `first` on.
    [[nodiscard]] static std::string content(std::size_t first, std::size_t count);

private:
    explicit web_server(const std::vector<std::string>& arguments);

    std::string m_scheme;
    pid_t m_child = -1;
    std::FILE* m_to = nullptr;
    std::FILE* m_from = nullptr;
    std::uint16_t m_port = 0;

    std::string line();
    std::string command(const char* text);
};

} // namespace cw::test_support
