// From a path to an open log: tells what kind of file it is and in what state its recorder left it.
// Called by the loader.
#pragma once

#include "readers/logkit/log_store.h"

#include <string>

namespace cw::logkit {

/// Opens the log at a path as the system takes it. Nothing is written to it nor beside it. Throws
/// `log_failure`.
[[nodiscard]] log_handle open_log(const std::string& path);

} // namespace cw::logkit
