// Names that the installer gives to its own groups, and the test for them. Each tree has its own
// list of what it hides.
#pragma once

#include <span>
#include <string_view>

namespace cw {

inline constexpr std::u16string_view name_support = u"<Support>";
inline constexpr std::u16string_view name_data = u"<Data>";
inline constexpr std::u16string_view name_engine = u"<Engine>";
/// As features spell it, and as components do.
inline constexpr std::u16string_view name_feature_disk = u"Disk<1>";
inline constexpr std::u16string_view name_component_disk = u"<Disk1>";

/// Whether any of the patterns stands anywhere in `name`, to the letter.
[[nodiscard]] constexpr bool contains_any(std::u16string_view name, std::span<const std::u16string_view> patterns)
{
    for (const std::u16string_view pattern : patterns)
        if (name.find(pattern) != std::u16string_view::npos)
            return true;
    return false;
}

} // namespace cw
