// Why a call into a reader failed, for people.
#pragma once

#include <exception>
#include <string>

namespace cw::console {

/// What the reader says, in its own words; of any other error, or where it says nothing, what went
/// wrong in one line.
[[nodiscard]] std::u16string reader_reason(std::exception_ptr failure);

} // namespace cw::console
