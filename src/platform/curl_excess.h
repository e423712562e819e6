// Bytes that a server sends behind the end of the body that it told of. HTTP drops them and so does libcurl,
// without a word in its result; a file that is longer than its server says is no file to trust.
#pragma once

#include <curl/curl.h>
#include <string_view>

namespace cw::platform {

/// Whether a line of libcurl's trace tells of such bytes: they came together with the body's last ones.
[[nodiscard]] bool tells_of_excess(std::string_view trace) noexcept;

/// Whether bytes wait on the socket of a plain connection whose answer is in. Only what has come by now: a server
/// that is slow enough is not found out. Records of TLS are not counted: a proxy may be spoken to by it.
[[nodiscard]] bool has_bytes_waiting(curl_socket_t socket) noexcept;

/// CURLOPT_CLOSESOCKETFUNCTION for connections that are closed with their answer, before anybody else could look;
/// `found` is a `bool` that is set where bytes wait.
int close_and_look(void* found, curl_socket_t socket) noexcept;

} // namespace cw::platform
