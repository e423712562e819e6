// Data blocks of cabinets: at most 32 KiB each, deflated one by one with the blocks before as
// history, or stored as they are. Used by the cabinet writer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace cw::authoring {

inline constexpr std::size_t block_size_in_bytes = 32 * 1024;
inline constexpr std::size_t block_header_size_in_bytes = 8;
/// What a block can grow by: its header, the signature, one stored deflate block.
inline constexpr std::size_t largest_block_growth_in_bytes = block_header_size_in_bytes + 2 + 5;

class mszip_encoder {
public:
    mszip_encoder();
    ~mszip_encoder();
    /// Appends the blocks of a whole folder, headers and checksums included; their number.
    std::size_t encode(std::span<const std::uint8_t> folder, std::vector<std::uint8_t>& out);

private:
    struct state;
    std::unique_ptr<state> m_state;
};

/// The same without compression.
std::size_t store_blocks(std::span<const std::uint8_t> folder, std::vector<std::uint8_t>& out);

/// Appends a number, little-endian, in `size_in_bytes` bytes.
void append_number(std::vector<std::uint8_t>& out, std::uint64_t value, std::size_t size_in_bytes);

} // namespace cw::authoring
