#include "readers/storage/database_prefix.h"

#include <cstring>

namespace cw::storage {
namespace {

std::uint32_t big_endian(formats::byte_view bytes, std::size_t at, unsigned size)
{
    std::uint32_t value = 0;
    for (unsigned i = 0; i < size; ++i)
        value = value << 8 | bytes[at + i];
    return value;
}

} // namespace

bool is_database(formats::byte_view first_bytes) noexcept
{
    constexpr char magic[] = "SQLite format 3"; // with its zero
    return first_bytes.size() >= sizeof magic && std::memcmp(first_bytes.data(), magic, sizeof magic) == 0;
}

database_prefix read_prefix(formats::byte_view first_bytes) noexcept
{
    // Places in the file's first hundred bytes, all numbers most significant byte first.
    constexpr std::uint8_t write_ahead_version = 2;
    const std::uint32_t stored_page_size = big_endian(first_bytes, 16, 2);
    database_prefix prefix;
    prefix.page_size_in_bytes = stored_page_size == 1 ? 65536 : stored_page_size;
    prefix.page_count = big_endian(first_bytes, 28, 4);
    prefix.user_version = big_endian(first_bytes, 60, 4);
    prefix.application_id = big_endian(first_bytes, 68, 4);
    prefix.has_sensible_page_size =
        prefix.page_size_in_bytes >= 512 && (prefix.page_size_in_bytes & (prefix.page_size_in_bytes - 1)) == 0;
    prefix.writes_ahead = first_bytes[18] == write_ahead_version || first_bytes[19] == write_ahead_version;
    return prefix;
}

} // namespace cw::storage
