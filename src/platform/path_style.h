// The one place that tells native paths from backslash paths.
#pragma once

#include <string_view>

namespace cw {

/// '/' for a path that begins with '/', '\\' for every other.
[[nodiscard]] constexpr char16_t path_separator_of(std::u16string_view path) noexcept
{
    return !path.empty() && path.front() == u'/' ? u'/' : u'\\';
}

} // namespace cw
