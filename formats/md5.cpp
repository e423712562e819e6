#include "formats/md5.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace cw::formats {
namespace {

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

struct md5_round {
    std::uint32_t first_word;
    std::uint32_t word_step;
    std::array<int, 4> rotations;
};
constexpr std::array<md5_round, 4> rounds{
    {{0, 1, {7, 12, 17, 22}}, {1, 5, {5, 9, 14, 20}}, {5, 3, {4, 11, 16, 23}}, {0, 7, {6, 10, 15, 21}}}};

/// A step waits for `b`, which the step before it made; what does not hang on it is added first. The
/// two halves of the second round's choice never have a bit in common, so their sum is their union.
template <unsigned Step>
void take_step(std::uint32_t& a, std::uint32_t b, std::uint32_t c, std::uint32_t d, const std::uint32_t* words)
{
    constexpr unsigned round = Step / 16;
    constexpr const md5_round& how = rounds[round];
    a += sines[Step] + words[(how.first_word + how.word_step * (Step % 16)) % 16];
    if constexpr (round == 0) {
        a += ((c ^ d) & b) ^ d;
    } else if constexpr (round == 1) {
        a += ~d & c;
        a += d & b;
    } else if constexpr (round == 2) {
        a += b ^ (c ^ d);
    } else {
        a += c ^ (b | ~d);
    }
    a = std::rotl(a, how.rotations[Step % 4]) + b;
}

template <unsigned... Four>
void take_steps(std::array<std::uint32_t, 4>& state, const std::uint32_t* words,
                std::integer_sequence<unsigned, Four...>)
{
    auto [a, b, c, d] = state;
    ((take_step<4 * Four>(a, b, c, d, words), take_step<4 * Four + 1>(d, a, b, c, words),
      take_step<4 * Four + 2>(c, d, a, b, words), take_step<4 * Four + 3>(b, c, d, a, words)),
     ...);
    state[0] += a;
    state[1] += b;
    state[2] += c;
    state[3] += d;
}

} // namespace

void md5::take_block(const std::uint8_t* block) noexcept
{
    std::array<std::uint32_t, 16> words;
    for (std::size_t i = 0; i < words.size(); ++i) {
        words[i] = static_cast<std::uint32_t>(block[4 * i]) | static_cast<std::uint32_t>(block[4 * i + 1]) << 8 |
                   static_cast<std::uint32_t>(block[4 * i + 2]) << 16 |
                   static_cast<std::uint32_t>(block[4 * i + 3]) << 24;
    }
    take_steps(m_state, words.data(), std::make_integer_sequence<unsigned, 16>());
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
    std::string text(2 * digest.size(), '\0');
    for (std::size_t i = 0; i < digest.size(); ++i) {
        text[2 * i] = digits[digest[i] >> 4];
        text[2 * i + 1] = digits[digest[i] & 15];
    }
    return text;
}

} // namespace cw::formats
