#include "framework/tool_items.h"

#include <algorithm>
#include <utility>

namespace cw {
namespace {

/// Whether a thing may stand in a menu that a person has put together.
bool may_stand_in_menu(const tool_item& item) noexcept
{
    return item.kind == tool_kind::command || item.kind == tool_kind::separator;
}

/// Whether a text can be read in one line of a menu.
bool is_name(std::u16string_view text)
{
    constexpr char16_t first_visible = 0x20;
    constexpr char16_t delete_character = 0x7F;
    return !text.empty() && text.size() <= tool_limits::name_length &&
           std::ranges::none_of(text, [](char16_t unit) { return unit < first_visible || unit == delete_character; });
}

bool is_sound(std::span<const tool_item> items, bool within_menu)
{
    return items.size() <= tool_limits::items && std::ranges::all_of(items, [&](const tool_item& item) {
               const bool may_stand_here = !within_menu || may_stand_in_menu(item);
               const bool has_name = item.kind == tool_kind::menu || item.kind == tool_kind::popup;
               return may_stand_here && (has_name ? is_name(item.text) : item.text.empty()) &&
                      (item.kind == tool_kind::menu ? is_sound(item.contents, true) : item.contents.empty());
           });
}

std::size_t count_of(std::span<const tool_item> items)
{
    std::size_t count = items.size();
    for (const tool_item& item : items)
        count += item.contents.size();
    return count;
}

/// The items among which a place is: those of the toolbar, or those of the menu on it; null where there
/// is no such menu.
template <class Items>
Items* items_around(Items& all, const tool_place& place) noexcept
{
    if (!place.within_menu)
        return &all;
    const bool is_menu = place.index < all.size() && all[place.index].kind == tool_kind::menu;
    return is_menu ? &all[place.index].contents : nullptr;
}

std::size_t position(const tool_place& place) noexcept
{
    return place.within_menu.value_or(place.index);
}

} // namespace

bool is_sound(std::span<const tool_bar> bars)
{
    if (bars.size() > tool_limits::tool_bars)
        return false;
    std::size_t together = 0;
    for (const tool_bar& bar : bars)
        together += count_of(bar.items);
    if (together > tool_limits::items_together)
        return false;
    for (std::size_t index = 0; index < bars.size(); ++index) {
        const tool_bar& bar = bars[index];
        const bool named_before =
            std::ranges::any_of(bars.first(index), [&](const tool_bar& earlier) { return earlier.name == bar.name; });
        if (!is_name(bar.name) || named_before || !is_sound(bar.items, false))
            return false;
    }
    return true;
}

const tool_item* item_at(const std::vector<tool_item>& all_items, const tool_place& place) noexcept
{
    const std::vector<tool_item>* const around = items_around(all_items, place);
    return around && position(place) < around->size() ? &(*around)[position(place)] : nullptr;
}

bool insert_item(std::vector<tool_item>& all_items, const tool_place& place, tool_item new_item)
{
    std::vector<tool_item>* const around = items_around(all_items, place);
    const bool may_stand_here = !place.within_menu || may_stand_in_menu(new_item);
    if (!around || !may_stand_here || position(place) > around->size())
        return false;
    around->insert(around->begin() + static_cast<std::ptrdiff_t>(position(place)), std::move(new_item));
    return true;
}

std::optional<tool_item> take_item(std::vector<tool_item>& all_items, const tool_place& place)
{
    std::vector<tool_item>* const around = items_around(all_items, place);
    if (!around || position(place) >= around->size())
        return std::nullopt;
    const auto taken = around->begin() + static_cast<std::ptrdiff_t>(position(place));
    tool_item item_out = std::move(*taken);
    around->erase(taken);
    return item_out;
}

} // namespace cw
