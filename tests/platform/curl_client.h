// A caller of transfers for tests: it waits for what the callback tells.
#pragma once

#include "platform/clocks.h"
#include "platform/last_error.h"
#include "platform/posix_services.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace cw::platform::test {

/// What the callback told about one handle. Its address is the context.
class told_events {
public:
    struct event {
        std::uint32_t status;
        async_result result;
        transfer_handle handle;
        std::thread::id thread;
    };

    static void on_status(transfer_handle handle, void* context, std::uint32_t status, const void* information,
                          std::uint32_t size)
    {
        static_cast<told_events*>(context)->add(handle, status, information, size);
    }

    [[nodiscard]] std::vector<event> all()
    {
        const std::lock_guard guard{m_lock};
        return m_events;
    }
    [[nodiscard]] std::size_t count(std::uint32_t status)
    {
        std::size_t found = 0;
        for (const event& one : all())
            found += one.status == status;
        return found;
    }
    /// The handle that was made with this context.
    [[nodiscard]] transfer_handle handle()
    {
        for (const event& one : all())
            if (one.status == status_handle_created)
                return reinterpret_cast<transfer_handle>(one.result.result);
        return nullptr;
    }
    /// The next end of a call that nobody has asked for yet; nothing when none comes.
    [[nodiscard]] std::optional<async_result> wait_for_end(std::chrono::seconds most = std::chrono::seconds(20))
    {
        std::unique_lock guard{m_lock};
        if (!m_changed.wait_for(guard, most, [this] { return m_ends.size() > m_seen; }))
            return std::nullopt;
        return m_ends[m_seen++];
    }

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<event> m_events;
    std::vector<async_result> m_ends;
    std::size_t m_seen = 0;

    void add(transfer_handle handle, std::uint32_t status, const void* information, std::uint32_t size)
    {
        const std::lock_guard guard{m_lock};
        async_result result{0, 0xBAD};
        if (size == sizeof result)
            result = *static_cast<const async_result*>(information);
        m_events.push_back({status, result, handle, std::this_thread::get_id()});
        if (status == status_request_complete)
            m_ends.push_back(result);
        m_changed.notify_all();
    }
};

/// One session, and requests over it. Errors are numbers, 0 for success.
class curl_client {
public:
    explicit curl_client(const std::string& certificates = {}, std::uint32_t access = access_direct,
                         const char16_t* proxy = nullptr, const char16_t* bypass = nullptr)
        : network(make_curl_transfers(certificates)),
          session(network->open_session(u"agent", access, proxy, bypass, transfer_asynchronous))
    {
        network->set_status_callback(session, &told_events::on_status);
    }
    ~curl_client() { network->close(session); }
    curl_client(const curl_client&) = delete;
    curl_client& operator=(const curl_client&) = delete;

    /// Sends and waits for the answer's headers.
    std::uint32_t open(told_events& events, const std::u16string& url, const char16_t* headers = nullptr,
                       std::uint32_t flags = 0)
    {
        set_last_error(0);
        network->open_url(session, url.c_str(), headers, headers ? 0xFFFFFFFF : 0, flags, &events);
        return end_of(events, get_last_error());
    }
    std::uint32_t send_again(told_events& events, const char16_t* headers = nullptr)
    {
        set_last_error(0);
        network->send_request(events.handle(), headers, headers ? 0xFFFFFFFF : 0, nullptr, 0);
        return end_of(events, get_last_error());
    }
    /// Reads up to `size` bytes and waits for them.
    std::uint32_t read(told_events& events, std::size_t size, std::string& bytes)
    {
        bytes.assign(size, '\0');
        std::uint32_t count = 0;
        set_last_error(0xBAD);
        const bool is_done =
            network->read(events.handle(), bytes.data(), static_cast<std::uint32_t>(bytes.size()), &count);
        const std::uint32_t error = is_done && get_last_error() == 0 ? 0 : end_of(events, get_last_error());
        bytes.resize(count);
        return error;
    }
    /// Everything to the end or to an error, by reads of `step` bytes.
    std::uint32_t read_all(told_events& events, std::string& bytes, std::size_t step = 70000)
    {
        bytes.clear();
        std::string piece;
        while (true) {
            const std::uint32_t error = read(events, step, piece);
            bytes += piece;
            if (error != 0 || piece.empty())
                return error;
        }
    }
    /// Opens and reads whole; the first error.
    std::uint32_t fetch(const std::u16string& url, std::string& bytes, const char16_t* headers = nullptr,
                        std::uint32_t flags = 0)
    {
        told_events events;
        std::uint32_t error = open(events, url, headers, flags);
        if (error == 0)
            error = read_all(events, bytes);
        close(events);
        return error;
    }
    bool close(told_events& events) { return network->close(events.handle()); }

    std::uint32_t query(transfer_handle request, std::uint32_t level, std::uint32_t& value)
    {
        std::uint32_t size = sizeof value;
        return network->query_info(request, level, &value, &size, nullptr) ? 0 : get_last_error();
    }
    /// 0 where it cannot be asked.
    std::uint32_t status(told_events& events)
    {
        std::uint32_t value = 0;
        return query(events.handle(), query_status_code | query_as_number, value) == 0 ? value : 0;
    }
    /// 0xFFFFFFFF where it cannot be asked.
    std::uint32_t length(told_events& events)
    {
        std::uint32_t value = 0;
        return query(events.handle(), query_content_length | query_as_number, value) == 0 ? value : 0xFFFFFFFF;
    }

    std::unique_ptr<transfers> network;
    transfer_handle session;

private:
    static std::uint32_t end_of(told_events& events, std::uint32_t error)
    {
        if (error != error_io_pending)
            return error;
        const std::optional<async_result> end = events.wait_for_end();
        if (!end)
            return 0xBAD;
        return end->result != 0 ? 0 : end->error;
    }
};

} // namespace cw::platform::test
