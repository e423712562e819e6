#include "platform/curl_excess.h"

#include <sys/socket.h>
#include <unistd.h>

namespace cw::platform {

bool tells_of_excess(std::string_view trace) noexcept
{
    return trace.find("xcess found") != std::string_view::npos;
}

bool has_bytes_waiting(curl_socket_t socket) noexcept
{
    char byte = 0;
    return socket != CURL_SOCKET_BAD && recv(socket, &byte, sizeof byte, MSG_PEEK | MSG_DONTWAIT) > 0;
}

int close_and_look(void* found, curl_socket_t socket) noexcept
{
    *static_cast<bool*>(found) = has_bytes_waiting(socket);
    return close(socket);
}

} // namespace cw::platform
