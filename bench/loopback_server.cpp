#include "bench/loopback_server.h"

#include <algorithm>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace cw::bench {

namespace {

constexpr std::size_t block_size_in_bytes = 256 * 1024;
constexpr int patience_in_ms = 100; // between two looks at whether the end is wanted

bool is_readable(int descriptor)
{
    pollfd waited{descriptor, POLLIN, 0};
    return poll(&waited, 1, patience_in_ms) == 1;
}

bool send_all(int connection, const char* bytes, std::size_t size_in_bytes)
{
    while (size_in_bytes > 0) {
        const ssize_t sent = send(connection, bytes, size_in_bytes, MSG_NOSIGNAL);
        if (sent <= 0)
            return false;
        bytes += sent;
        size_in_bytes -= static_cast<std::size_t>(sent);
    }
    return true;
}

/// Reads up to the empty line.
bool take_request(int connection)
{
    std::string text;
    char buffer[4096];
    while (text.find("\r\n\r\n") == std::string::npos) {
        const ssize_t came = recv(connection, buffer, sizeof buffer, 0);
        if (came <= 0)
            return false;
        text.append(buffer, static_cast<std::size_t>(came));
    }
    return true;
}

} // namespace

loopback_server::loopback_server(std::uint64_t body_size_in_bytes) : m_bodySize(body_size_in_bytes)
{
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof place;
    m_listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (m_listener < 0 || bind(m_listener, reinterpret_cast<sockaddr*>(&place), length) != 0 ||
        listen(m_listener, 8) != 0 || getsockname(m_listener, reinterpret_cast<sockaddr*>(&place), &length) != 0)
        return;
    m_address = "http://127.0.0.1:" + std::to_string(ntohs(place.sin_port)) + "/body";
    m_thread = std::thread([this] { serve(); });
}

loopback_server::~loopback_server()
{
    m_ends = true;
    if (m_thread.joinable())
        m_thread.join();
    if (m_listener >= 0)
        close(m_listener);
}

void loopback_server::serve()
{
    while (!m_ends) {
        if (!is_readable(m_listener))
            continue;
        const int connection = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0)
            continue;
        answer(connection);
        close(connection);
    }
}

void loopback_server::answer(int connection) const
{
    if (!take_request(connection))
        return;
    const std::string head =
        "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(m_bodySize) + "\r\nConnection: close\r\n\r\n";
    static const std::vector<char> block(block_size_in_bytes, 'x');
    bool goes_on = send_all(connection, head.data(), head.size());
    for (std::uint64_t left = m_bodySize; goes_on && left > 0;) {
        const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(left, block.size()));
        goes_on = send_all(connection, block.data(), size);
        left -= size;
    }
}

} // namespace cw::bench
