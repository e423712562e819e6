#include "bridges/search_report.h"

#include <array>

namespace cw {
namespace {

// By the order of the enumerations.
constexpr auto place_texts = std::to_array<std::u16string_view>({
    u"beside the program",
    u"in System beside the program",
    u"in Cratewright in the common files",
    u"in Cratewright/Demowright in the common files",
    u"in System/x64 of a folder above the program",
});

constexpr auto outcome_texts = std::to_array<std::u16string_view>({
    u"loaded before",
    u"taken as a path",
    u"left to the system, the program's own path being unknown",
    u"found",
    u"left to the system",
});

} // namespace

std::u16string_view search_place_text(search_place place) noexcept
{
    return place_texts[static_cast<std::size_t>(place)];
}

std::u16string_view search_outcome_text(search_outcome outcome) noexcept
{
    return outcome_texts[static_cast<std::size_t>(outcome)];
}

} // namespace cw
