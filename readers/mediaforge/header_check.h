// What is checked when a header is opened, in a time that does not grow with the number of files.
#pragma once

#include "formats/sealed.h"
#include "readers/mediaforge/header_rows.h"

#include <cstdint>
#include <string>

namespace cw::mediaforge {

/// Checks a database's first bytes against the size of the whole, its identification and schema
/// version. Throws `media_failure` (not_a_media, newer_schema).
void check_prefix(formats::byte_view first_bytes, std::uint64_t size_in_bytes, const std::string& path);
/// Checks that every table is one: neither a view nor anything that computes its rows.
void check_tables(storage::database& source);
/// Checks the rows of the small tables. Throws `media_failure` (contradiction).
void check_rows(storage::database& source, header_rows& queries);

} // namespace cw::mediaforge
