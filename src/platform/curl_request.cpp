#include "platform/curl_request.h"

#include "platform/curl_header_lines.h"
#include "platform/curl_session.h"
#include "platform/last_error.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace cw::platform {

void status_listener::tell(std::uint32_t status, const async_result& result) const
{
    if (callback)
        callback(handle, context, status, &result, sizeof result);
}

curl_request::curl_request(std::shared_ptr<curl_session> session, curl_request_plan plan,
                           const status_listener& listener)
    : m_session(std::move(session)), m_plan(std::move(plan)), m_listener(listener)
{
}

curl_request::~curl_request()
{
    stop();
}

bool curl_request::is_orphan() const noexcept
{
    return m_isAbandoned || m_session->is_closed();
}

void curl_request::forget_answer() noexcept
{
    m_isAnswered = m_isAtEnd = m_isPaused = m_wantsResume = false;
    m_error = error_success;
    m_headerBytes = 0;
    m_answer = {};
    m_skip = 0;
    m_store.clear();
}

std::uint32_t curl_request::send(std::vector<std::string> lines, std::string body, std::uintptr_t result)
{
    const std::lock_guard guard{m_lock};
    if (m_isClosed)
        return error_invalid_handle;
    if (is_orphan() || m_pending != pending_call::none)
        return error_internet_incorrect_handle_state;
    const std::uint64_t offset = offset_asked_for(lines);
    if (!m_session->post(shared_from_this()))
        return error_not_enough_memory;
    // The thread waits for the lock before it looks.
    forget_answer();
    m_lines = std::move(lines);
    m_body = std::move(body);
    m_offset = offset;
    m_resultOfSend = result;
    m_pending = pending_call::send;
    ++m_sent;
    return error_io_pending;
}

std::uint32_t curl_request::query(std::uint32_t level, void* buffer, std::uint32_t* size_in_bytes, std::uint32_t* index)
{
    const std::lock_guard guard{m_lock};
    if (m_isClosed)
        return error_invalid_handle;
    if (is_orphan() || !m_isAnswered)
        return error_internet_incorrect_handle_state;
    const std::uint32_t error = m_answer.query(level, buffer, size_in_bytes, index ? *index : 0);
    if (error == error_success && index)
        ++*index;
    return error;
}

std::uint32_t curl_request::read(void* buffer, std::uint32_t size_in_bytes, std::uint32_t* read_in_bytes)
{
    const std::lock_guard guard{m_lock};
    if (m_isClosed)
        return error_invalid_handle;
    if (is_orphan() || !m_isAnswered || m_pending != pending_call::none)
        return error_internet_incorrect_handle_state;
    const std::size_t taken = m_store.take(buffer, size_in_bytes);
    *read_in_bytes = static_cast<std::uint32_t>(taken);
    const bool is_done = taken == size_in_bytes || m_isAtEnd;
    // In good time, so that the store does not run dry while somebody reads.
    if (m_isPaused && !m_wantsResume && m_store.size() <= curl_body_store::capacity / 2)
        m_wantsResume = m_session->post(shared_from_this());
    if (!is_done) {
        m_pending = pending_call::read;
        m_target = static_cast<std::byte*>(buffer);
        m_targetSize = size_in_bytes;
        m_filled = taken;
        m_readCount = read_in_bytes;
        return error_io_pending;
    }
    // Bytes in front of a break are given out first.
    return taken == 0 && size_in_bytes != 0 ? m_error : error_success;
}

void curl_request::close()
{
    {
        const std::lock_guard telling_guard{m_tellLock};
        const std::lock_guard guard{m_lock};
        if (m_isClosed)
            return;
        m_isClosed = true;
        m_pending = pending_call::none;
        // Where that is refused the thread is at its end and stops all that runs.
        static_cast<void>(m_session->post(shared_from_this()));
    }
    m_listener.tell(status_handle_closing, {reinterpret_cast<std::uintptr_t>(m_listener.handle), error_success});
}

void curl_request::abandon() noexcept
{
    stop();
    const std::lock_guard guard{m_lock};
    m_isAbandoned = true;
    m_pending = pending_call::none;
}

void curl_request::tell(const telling& result) noexcept
{
    if (!result)
        return;
    const std::lock_guard telling_guard{m_tellLock};
    {
        const std::lock_guard guard{m_lock};
        if (m_isClosed)
            return;
    }
    m_listener.tell(status_request_complete, *result);
}

curl_request::telling curl_request::end_call(std::uintptr_t result, std::uint32_t error) noexcept
{
    m_pending = pending_call::none;
    return async_result{error == error_success ? result : 0, error};
}

curl_request::telling curl_request::end_read() noexcept
{
    *m_readCount = static_cast<std::uint32_t>(m_filled);
    return end_call(1, m_filled == 0 ? m_error : error_success);
}

curl_request::telling curl_request::end_transfer(std::uint32_t error) noexcept
{
    m_isAtEnd = true;
    m_error = error;
    if (m_pending == pending_call::send)
        return end_call(m_resultOfSend, error);
    if (m_pending == pending_call::read)
        return end_read();
    return std::nullopt;
}

/// The answer is the final one. It may be one that nobody should read from.
curl_request::telling curl_request::take_answer() noexcept
{
    m_error = m_answer.settle(m_offset);
    if (m_error != error_success)
        return std::nullopt;
    m_skip = m_answer.bytes_to_skip();
    m_isAnswered = true;
    return end_call(m_resultOfSend, error_success);
}

} // namespace cw::platform
