#include "platform/curl_body_store.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace cw::platform {

bool curl_body_store::put(const void* bytes, std::size_t count) noexcept
{
    if (!m_bytes)
        m_bytes.reset(new (std::nothrow) std::byte[capacity]);
    if (!m_bytes)
        return false;
    const std::size_t end = (m_begin + m_size) % capacity;
    const std::size_t straight = std::min(count, capacity - end);
    std::memcpy(m_bytes.get() + end, bytes, straight);
    std::memcpy(m_bytes.get(), static_cast<const std::byte*>(bytes) + straight, count - straight);
    m_size += count;
    return true;
}

std::size_t curl_body_store::take(void* target, std::size_t count) noexcept
{
    count = std::min(count, m_size);
    if (count == 0)
        return 0;
    const std::size_t straight = std::min(count, capacity - m_begin);
    std::memcpy(target, m_bytes.get() + m_begin, straight);
    std::memcpy(static_cast<std::byte*>(target) + straight, m_bytes.get(), count - straight);
    m_begin = (m_begin + count) % capacity;
    m_size -= count;
    return count;
}

} // namespace cw::platform
