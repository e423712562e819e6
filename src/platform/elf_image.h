// The test that a shared object is whole before the system's loader maps it: reading a mapped page
// that lies beyond the end of the file ends the process.
#pragma once

#include <string>

namespace cw::platform {

/// Why the open file is no complete shared object for the running program's machine, in English and
/// without the file's name; empty where it is one.
[[nodiscard]] std::string shared_object_flaw(int file_descriptor);

} // namespace cw::platform
