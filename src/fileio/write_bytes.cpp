#include "fileio/write_bytes.h"

namespace cw {

bool write_bytes(platform::file_handle file, std::string_view bytes, std::uint32_t largest_piece_in_bytes) noexcept
{
    do {
        const std::string_view piece = bytes.substr(0, largest_piece_in_bytes);
        std::uint32_t written = 0;
        if (!platform::current().open->write(file, piece.data(), static_cast<std::uint32_t>(piece.size()), &written))
            return false;
        bytes.remove_prefix(piece.size());
    } while (!bytes.empty());
    return true;
}

} // namespace cw
