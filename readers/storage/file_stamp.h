// What tells one state of a file from another: a file is read for as long as it is open, and what
// lies on the disk may become something else meanwhile.
#pragma once

#include <cstdint>
#include <string>

namespace cw::storage {

struct file_stamp {
    std::uint64_t device = 0;
    std::uint64_t node = 0;
    std::uint64_t size_in_bytes = 0;
    std::int64_t modified_in_nanoseconds = 0;
    friend bool operator==(const file_stamp&, const file_stamp&) noexcept = default;
};
/// The stamp of the file at a path; all zero where there is none.
[[nodiscard]] file_stamp stamp_of(const std::string& path) noexcept;

} // namespace cw::storage
