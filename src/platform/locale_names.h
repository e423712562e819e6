// What the user's environment says about charset and language, in the names that ICU takes.
#pragma once

#include <string>

namespace cw::platform {

/// The narrow charset; "UTF-8" where the environment names none that is known.
[[nodiscard]] std::string charset_of_environment();
/// The locale of dictionary order; empty where the environment names none.
[[nodiscard]] std::string collation_of_environment();

} // namespace cw::platform
