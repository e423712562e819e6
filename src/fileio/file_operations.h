// Operations on files and folders by their names: temporary names, existence, folder chains, deletion.
#pragma once

#include "foundation/string.h"

#include <cstdint>

namespace cw {

// Flags of `path_exists` and `url_exists`.
inline constexpr std::uint32_t accept_file = 0x04;    // whatever is not a folder counts
inline constexpr std::uint32_t accept_folder = 0x08;  // a folder counts
inline constexpr std::uint32_t check_url = 0x10;      // addresses are tested over the network
inline constexpr std::uint32_t raise_on_error = 0x20; // an error other than "not found" raises

/// A name that is not taken, below `folder`, or below the user's temporary folder where that is
/// empty; the folder is made where it is missing. With `as_file` just a name, with `extension` (no
/// dot) in place of "tmp", or without any where that is empty. Otherwise a new folder in braces, with
/// a separator at its end; `short_name` keeps 8 characters of it. Empty where all names are taken
/// (they are tried by numbers, from `first_number` on up to 0x7FFFFFFF), or `folder` is too long for one.
[[nodiscard]] string make_temp_name(bool as_file, const string& extension, const string& folder, bool short_name,
                                    std::uint32_t first_number = 0);

/// Whether a path leads to something of the kinds that `flags` accept. Throws `file_exception` where
/// that cannot be told and `raise_on_error` is set.
[[nodiscard]] bool path_exists(const string& path, std::uint32_t flags);
/// Whether something can be read from an address. Throws `internet_file_exception` where that cannot
/// be told and `raise_on_error` is set.
[[nodiscard]] bool url_exists(const string& address, std::uint32_t flags);

/// Makes a folder and those above it; whether the whole chain is there. What failed is recorded
/// (process_values.h) and nowhere told.
bool create_folders(const string& path);
/// The same for the folder of a path.
bool create_folders_of(const string& path);
/// A failure is recorded and nowhere told.
void delete_file(const string& path);

/// A new identifier in upper case, without braces.
[[nodiscard]] string new_guid_text();

} // namespace cw
