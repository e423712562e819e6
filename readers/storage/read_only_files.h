// Opens databases so that nothing beside them can be made, changed or taken away, whatever the
// rights of the user are.
#pragma once

#include "formats/sealed.h"
#include "readers/storage/fault.h"

#include <cstdint>
#include <string>

namespace cw::storage {

/// Names for sqlite3_open_v2. The first takes the usual locks; the second takes none and is for
/// files that nobody writes.
[[nodiscard]] const char* read_only_files();
[[nodiscard]] const char* read_only_files_without_locks();

/// What can be told of a database's file before it is read as one.
struct file_look {
    formats::bytes first_bytes; // a prefix, or all that there is
    std::uint64_t size_in_bytes = 0;
    bool is_locked = false; // another program keeps everybody from reading
};
/// Looks at a regular file by a path without links. It is not opened past the database library: closing such a descriptor
/// would let go of the locks that the process holds on the file. Raises what opening finds.
[[nodiscard]] file_look look_at(const std::string& path, fault_handler on_fault);

/// Whether the database library has room for a path; it does not tell why it opens none that is longer.
[[nodiscard]] bool has_room_for(const std::string& path) noexcept;

} // namespace cw::storage
