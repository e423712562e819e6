// What can be wrong with a file that a reader opens, and how that becomes the reader's own numbered
// failure.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace cw::storage {

enum class fault {
    not_found,
    access_denied,
    out_of_memory,
    is_a_folder,
    not_a_file,
    unreadable,
    locked,        // another program does not let go of it
    unfinished,    // changes that were broken off have to be undone first
    contradiction, // its rows
    overwritten,   // while it was open
    damaged,       // or a file of another kind
};

/// Throws the failure of the reader that opened the file. `detail` says what exactly was found,
/// `system_error` is an errno or 0.
using fault_handler = void (*)(fault what, const std::string& path, std::u16string_view detail, int system_error);

/// A row of the table in which a reader has its own numbers of faults.
template <class Number>
struct fault_number {
    fault what;
    Number number;
};

/// The number of a fault in such a table, or `otherwise` for one that is not in it.
template <class Number, std::size_t Size>
[[nodiscard]] constexpr Number number_of(const std::array<fault_number<Number>, Size>& table, fault what,
                                         Number otherwise) noexcept
{
    for (const fault_number<Number>& row : table)
        if (row.what == what)
            return row.number;
    return otherwise;
}

/// The fault of a path that a system call refused with `system_error`.
[[nodiscard]] fault fault_of(int system_error) noexcept;
/// The system's text for an errno; empty for 0.
[[nodiscard]] std::u16string system_error_text(int system_error);
/// An error text with the file's name in the place of "%1" and the detail in that of "%2".
[[nodiscard]] std::u16string fill_error_text(std::u16string_view format, std::u16string_view file,
                                             std::u16string_view detail);

} // namespace cw::storage
