// Addresses taken apart, for scripted transfers.
#pragma once

#include "platform/transfers.h"

#include <string_view>

namespace cw::test_support {

/// As `platform::transfers::crack_url`, but escapes stay as they stand. False with the last error set.
bool crack_plain_url(std::u16string_view url, platform::url_components& components);

} // namespace cw::test_support
