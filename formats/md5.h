// The MD5 digest of a stream of bytes: the signature that setup media carry for each file. Used by
// the writer that stores it and by the reader that checks it. No protection against forgery.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace cw::formats {

using md5_digest = std::array<std::uint8_t, 16>;

class md5 {
public:
    /// Takes the next bytes of the stream.
    void add(std::span<const std::uint8_t> piece) noexcept;
    /// The digest of all bytes so far; the object is used up.
    [[nodiscard]] md5_digest finish() noexcept;

private:
    void take_block(const std::uint8_t* block) noexcept;

    std::array<std::uint32_t, 4> m_state{0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};
    std::array<std::uint8_t, 64> m_pending{};
    std::uint64_t m_lengthInBytes = 0;
};

/// 32 lower-case hexadecimal digits.
[[nodiscard]] std::string md5_text(const md5_digest& digest);

} // namespace cw::formats
