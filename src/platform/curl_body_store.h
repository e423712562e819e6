// What came of an answer's body before anybody asked for it: a bounded queue of bytes.
#pragma once

#include <cstddef>
#include <memory>

namespace cw::platform {

class curl_body_store {
public:
    static constexpr std::size_t capacity = std::size_t{1} << 20;

    [[nodiscard]] std::size_t size() const noexcept { return m_size; }
    [[nodiscard]] std::size_t room() const noexcept { return capacity - m_size; }
    /// At most `room()` bytes. False without memory.
    [[nodiscard]] bool put(const void* bytes, std::size_t count) noexcept;
    /// Answers how many bytes it took: `count`, or fewer at the end.
    std::size_t take(void* target, std::size_t count) noexcept;
    void clear() noexcept { m_begin = m_size = 0; }

private:
    std::unique_ptr<std::byte[]> m_bytes; // at the first need; most answers are read as they come
    std::size_t m_begin = 0;
    std::size_t m_size = 0;
};

} // namespace cw::platform
