// Folders that are packed with MSZIP and whole in their cabinet, as all of a media's volumes are. They
// are unpacked by zlib: it needs less time than libmspack, to which all else is left, and that time
// pays for the signatures. Used by the cabinet.
#pragma once

#include "formats/sealed.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

struct z_stream_s;

namespace cw::mediaforge {

/// Takes the next bytes of an entry; may throw, which ends the reading.
using byte_sink = std::function<void(formats::byte_view)>;

class mszip_folders {
public:
    /// `path` names a cabinet without neighbours and without reserved places.
    explicit mszip_folders(const std::string& path);
    ~mszip_folders();
    mszip_folders(const mszip_folders&) = delete;
    mszip_folders& operator=(const mszip_folders&) = delete;

    /// Hands `length` bytes of a folder from `offset` on to `sink`, which may throw; answers one of
    /// libmspack's codes. What lies behind the place last read is reached without unpacking the folder
    /// from its start again.
    [[nodiscard]] int read(std::size_t folder, std::uint64_t offset, std::uint64_t length, const byte_sink& sink);
    /// What the system said to the last failure, or 0.
    [[nodiscard]] int system_error() const noexcept { return m_systemError; }

private:
    static constexpr std::size_t window_size_in_bytes = 32768;
    static constexpr std::size_t no_folder = static_cast<std::size_t>(-1);

    int open_file();
    int go_to(std::size_t folder, std::uint64_t offset);
    int next_block();
    /// Exactly `size` bytes of the file from `m_position` on; empty where there are not as many.
    formats::byte_view take_bytes(std::size_t size);

    std::string m_path;
    int m_descriptor = -1;
    int m_systemError = 0;
    formats::bytes m_buffer; // of the file, from `m_bufferStart` on
    std::uint64_t m_bufferStart = 0;
    std::uint64_t m_position = 0;

    std::unique_ptr<z_stream_s> m_stream;
    std::size_t m_folder = no_folder;
    unsigned m_blocksLeft = 0;
    // What stands before the block that was unpacked last, as far as it can be referred to, and the
    // block itself.
    formats::bytes m_window;
    std::size_t m_historySize = 0;
    std::uint64_t m_blockStart = 0; // in the folder
    std::size_t m_blockSize = 0;
};

} // namespace cw::mediaforge
