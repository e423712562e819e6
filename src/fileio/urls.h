// Addresses told from paths by their scheme, case ignored. A scheme alone is no address.
#pragma once

#include "foundation/string.h"

namespace cw {

[[nodiscard]] bool is_ftp_url(const string& text);
[[nodiscard]] bool is_http_url(const string& text);
[[nodiscard]] bool is_https_url(const string& text);

} // namespace cw
