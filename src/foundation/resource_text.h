// A string resource as a text of its own, for the many places that only show it.
#pragma once

#include "foundation/string.h"

#include <cstdint>

namespace cw {

/// The text of a resource; empty where there is none.
[[nodiscard]] inline string resource_text(std::uint32_t id)
{
    string text;
    text.load(id);
    return text;
}

} // namespace cw
