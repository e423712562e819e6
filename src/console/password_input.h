// Passwords as they come from a person: out of a file or from the terminal, and never from the
// command line, where others can read them.
#pragma once

#include <optional>
#include <string>

namespace cw::console {

/// The first line of a file, in UTF-8. Throws `std::runtime_error` that names the file, and never
/// what stands in it. The caller wipes the password when it is needed no more.
[[nodiscard]] std::string read_password(const std::string& file);

/// Asks at the terminal of the process, without echo; `prompt` stands as it is. None where there is
/// no terminal or nobody answers. The echo is back whatever ends the question; a signal that would
/// end the program then does. The caller wipes the password.
[[nodiscard]] std::optional<std::string> ask_password(const std::string& prompt);

// Overwrites a password, so that it does not stay in memory that is given up.
void wipe(std::string& password) noexcept;
void wipe(std::u16string& password) noexcept;

} // namespace cw::console
