// The first bytes of a database file, which tell what it is before it is opened as one.
#pragma once

#include "formats/sealed.h"

#include <cstdint>

namespace cw::storage {

inline constexpr std::size_t database_prefix_size_in_bytes = 100;

struct database_prefix {
    std::uint64_t page_size_in_bytes = 0;
    std::uint64_t page_count = 0;
    std::uint32_t user_version = 0;
    std::uint32_t application_id = 0;
    bool has_sensible_page_size = false;
    /// Changes are written into a file beside the database and brought in later.
    bool writes_ahead = false;

    [[nodiscard]] std::uint64_t size_in_bytes() const noexcept { return page_count * page_size_in_bytes; }
};

/// Whether a file that begins with these bytes is a database.
[[nodiscard]] bool is_database(formats::byte_view first_bytes) noexcept;
/// What the first bytes tell; there must be as many as a prefix has.
[[nodiscard]] database_prefix read_prefix(formats::byte_view first_bytes) noexcept;

} // namespace cw::storage
