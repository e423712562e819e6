// Cabinets written byte by byte, as other people's tools write them and as nobody should. Used by the
// tests of media without a header.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace cw::mediaforge_tests {

enum class packing : std::uint16_t { stored = 0, mszip = 1, quantum = 0x0A12, lzx = 0x0F03 };

// Places of files whose folder goes on in a neighbour.
inline constexpr std::uint16_t continued_from_previous = 0xFFFD;
inline constexpr std::uint16_t continued_to_next = 0xFFFE;

inline constexpr std::uint16_t utf8_name = 0x80;

struct cabinet_file {
    std::string name; // bytes as they stand in the cabinet
    std::string content;
    std::uint16_t folder = 0;
    std::uint16_t attributes = 0x20;
    std::uint16_t date = (2001 - 1980) << 9 | 2 << 5 | 3; // 2001-02-03
    std::uint16_t time = 4 << 11 | 5 << 5 | 6 / 2;        // 04:05:06
};

/// A data block as it lies in the cabinet.
struct cabinet_block {
    std::string packed;
    std::uint16_t clear_size_in_bytes;
};

struct cabinet_plan {
    std::vector<cabinet_file> files;
    /// The packing of each folder.
    std::vector<packing> folders{packing::stored};
    std::uint16_t set_id = 7;
    std::uint16_t index = 0;
    std::string previous, next; // names of neighbours
    /// In place of the blocks that follow from the files, for folder 0.
    std::vector<cabinet_block> blocks;
};

std::string make_cabinet(const cabinet_plan& plan);
/// The blocks of a folder's clear bytes. For Quantum at most some hundred bytes.
std::vector<cabinet_block> pack(const std::string& clear, packing how);

} // namespace cw::mediaforge_tests
