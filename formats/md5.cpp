#include "formats/md5.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace cw::formats {
namespace {

constexpr std::array<int, 16> rotations{7, 12, 17, 22, 5, 9, 14, 20, 4, 11, 16, 23, 6, 10, 15, 21};

// The integer parts of 2^32 times the absolute sine of 1 to 64.
constexpr std::array<std::uint32_t, 64> sines{
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

} // namespace

void md5::take_block(const std::uint8_t* block) noexcept
{
    std::array<std::uint32_t, 16> words;
    for (std::size_t i = 0; i < words.size(); ++i) {
        words[i] = static_cast<std::uint32_t>(block[4 * i]) | static_cast<std::uint32_t>(block[4 * i + 1]) << 8 |
                   static_cast<std::uint32_t>(block[4 * i + 2]) << 16 |
                   static_cast<std::uint32_t>(block[4 * i + 3]) << 24;
    }
    auto [a, b, c, d] = m_state;
    for (std::uint32_t i = 0; i < 64; ++i) {
        std::uint32_t mixed = 0;
        std::uint32_t word = i;
        switch (i / 16) {
        case 0:
            mixed = (b & c) | (~b & d);
            break;
        case 1:
            mixed = (d & b) | (~d & c);
            word = 5 * i + 1;
            break;
        case 2:
            mixed = b ^ c ^ d;
            word = 3 * i + 5;
            break;
        default:
            mixed = c ^ (b | ~d);
            word = 7 * i;
            break;
        }
        const std::uint32_t sum = a + mixed + sines[i] + words[word % 16];
        a = d;
        d = c;
        c = b;
        b += std::rotl(sum, rotations[i / 16 * 4 + i % 4]);
    }
    m_state[0] += a;
    m_state[1] += b;
    m_state[2] += c;
    m_state[3] += d;
}

void md5::add(std::span<const std::uint8_t> piece) noexcept
{
    const std::size_t pending = m_lengthInBytes % m_pending.size();
    m_lengthInBytes += piece.size();
    if (pending != 0) {
        const std::size_t taken = std::min(piece.size(), m_pending.size() - pending);
        std::copy_n(piece.begin(), taken, m_pending.begin() + static_cast<std::ptrdiff_t>(pending));
        piece = piece.subspan(taken);
        if (pending + taken < m_pending.size())
            return;
        take_block(m_pending.data());
    }
    for (; piece.size() >= m_pending.size(); piece = piece.subspan(m_pending.size()))
        take_block(piece.data());
    std::copy(piece.begin(), piece.end(), m_pending.begin());
}

md5_digest md5::finish() noexcept
{
    const std::uint64_t length_in_bits = m_lengthInBytes * 8;
    constexpr std::array<std::uint8_t, 64> padding{0x80};
    const std::size_t pending = m_lengthInBytes % 64;
    add({padding.data(), pending < 56 ? 56 - pending : 120 - pending});
    std::array<std::uint8_t, 8> tail;
    for (std::size_t i = 0; i < tail.size(); ++i)
        tail[i] = static_cast<std::uint8_t>(length_in_bits >> (8 * i));
    add(tail);
    md5_digest digest;
    for (std::size_t i = 0; i < digest.size(); ++i)
        digest[i] = static_cast<std::uint8_t>(m_state[i / 4] >> (8 * (i % 4)));
    return digest;
}

std::string md5_text(const md5_digest& digest)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : digest) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

} // namespace cw::formats
