#include "readers/mediaforge/running_signature.h"

#include <system_error>

namespace cw::mediaforge {
namespace {

// Below it a thread costs more than it spares.
constexpr std::int64_t long_file_in_bytes = 128 * 1024;
constexpr std::size_t handed_over_in_bytes = 256 * 1024;
constexpr std::size_t longest_piece_in_bytes = 32 * 1024; // of nearly all

} // namespace

running_signature::running_signature(std::int64_t expected_size_in_bytes)
{
    if (expected_size_in_bytes < long_file_in_bytes)
        return;
    for (formats::bytes* buffer : {&m_gathered, &m_handedOver})
        buffer->reserve(handed_over_in_bytes + longest_piece_in_bytes);
    try {
        m_thread = std::thread(&running_signature::sum_handed_over, this);
    } catch (const std::system_error&) {
        // The system has no thread to spare; then it takes a little longer.
    }
}

running_signature::~running_signature()
{
    end_thread();
}

void running_signature::add(formats::byte_view piece)
{
    if (!m_thread.joinable()) {
        m_sum.add(piece);
        return;
    }
    m_gathered.insert(m_gathered.end(), piece.begin(), piece.end());
    if (m_gathered.size() >= handed_over_in_bytes)
        hand_over();
}

formats::md5_digest running_signature::finish()
{
    if (!m_gathered.empty())
        hand_over();
    end_thread();
    return m_sum.finish();
}

void running_signature::hand_over()
{
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_handedOver.empty(); });
        m_handedOver.swap(m_gathered);
    }
    m_changed.notify_one();
}

void running_signature::end_thread()
{
    if (!m_thread.joinable())
        return;
    {
        const std::lock_guard lock(m_mutex);
        m_ended = true;
    }
    m_changed.notify_one();
    m_thread.join();
}

void running_signature::sum_handed_over()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [&] { return m_ended || !m_handedOver.empty(); });
        if (m_handedOver.empty())
            return;
        // Nobody touches what was handed over until it is empty again.
        lock.unlock();
        m_sum.add(m_handedOver);
        lock.lock();
        m_handedOver.clear();
        m_changed.notify_one();
    }
}

} // namespace cw::mediaforge
