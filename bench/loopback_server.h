// A web server on loopback that gives out one big body as fast as the machine can, for measuring clients.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

namespace cw::bench {

class loopback_server {
public:
    /// Answers every request with `body_size_in_bytes` bytes, until its end.
    explicit loopback_server(std::uint64_t body_size_in_bytes);
    ~loopback_server();
    loopback_server(const loopback_server&) = delete;
    loopback_server& operator=(const loopback_server&) = delete;

    /// Empty where no port could be had.
    [[nodiscard]] const std::string& address() const noexcept { return m_address; }

private:
    void serve();
    void answer(int connection) const;

    std::uint64_t m_bodySize;
    int m_listener = -1;
    std::string m_address;
    std::atomic<bool> m_ends = false;
    std::thread m_thread;
};

} // namespace cw::bench
