// What is checked when a log is opened, in a time that does not grow with the number of operations.
#pragma once

#include "readers/storage/database.h"

namespace cw::logkit {

/// Checks identification and schema version, that every table is there with its columns, and that
/// the features make one tree. Further tables and columns do no harm. Throws `log_failure`.
void check_log(storage::database& source);

} // namespace cw::logkit
