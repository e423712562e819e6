// The numbers that the logic knows, for what libcurl says.
#pragma once

#include <cstdint>
#include <curl/curl.h>
#include <string_view>

namespace cw::platform {

/// What libcurl's number alone does not tell about the end of a transfer.
struct transfer_outcome {
    CURLcode code = CURLE_OK;
    long verify_result = 0;            // of the certificate, in the numbers of the TLS library
    bool began_secure = false;         // the address that was asked for first was HTTPS
    bool may_leave_security = false;   // and a redirect may lead from it to HTTP
    bool was_redirected = false;       // the last answer was a redirect, or none came after one
    bool has_answer = false;           // headers of the final answer were in
    bool was_sent = false;             // some of the request had gone out
    bool says_header_fault = false;    // the words on the way told of headers that nobody can read
    std::string_view last_scheme = {}; // of the address that was asked last; lower case
};

/// Whether a line of libcurl's trace tells of more headers than it takes: by number that is a lost connection.
[[nodiscard]] bool tells_of_header_fault(std::string_view trace) noexcept;

/// 0 for success.
[[nodiscard]] std::uint32_t error_of_transfer(const transfer_outcome& outcome) noexcept;

} // namespace cw::platform
