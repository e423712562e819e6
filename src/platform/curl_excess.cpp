#include "platform/curl_excess.h"

#include <sys/socket.h>
#include <unistd.h>

namespace cw::platform {

namespace {

// How a record of TLS begins.
constexpr unsigned char first_record_type = 20;
constexpr unsigned char last_record_type = 23;
constexpr unsigned char record_version = 3;

} // namespace

bool tells_of_excess(std::string_view trace) noexcept
{
    return trace.find("xcess found") <= 1; // not in what a server says
}

bool has_bytes_waiting(curl_socket_t socket) noexcept
{
    unsigned char bytes[2];
    if (socket == CURL_SOCKET_BAD)
        return false;
    const ssize_t count = recv(socket, bytes, sizeof bytes, MSG_PEEK | MSG_DONTWAIT);
    // A plain connection to a server may lead through a proxy that is spoken to over TLS.
    const bool is_record =
        count == 2 && bytes[0] >= first_record_type && bytes[0] <= last_record_type && bytes[1] == record_version;
    return count > 0 && !is_record;
}

int close_and_look(void* found, curl_socket_t socket) noexcept
{
    *static_cast<bool*>(found) = has_bytes_waiting(socket);
    return close(socket);
}

} // namespace cw::platform
