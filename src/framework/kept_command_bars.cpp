#include "framework/kept_command_bars.h"

#include "platform/utf8.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <limits>
#include <span>
#include <stdexcept>
#include <utility>

namespace cw {
namespace {

using json = nlohmann::ordered_json;

constexpr unsigned state_version = 1;
// More than the most of everything takes; a longer text is not even looked at.
constexpr std::size_t longest_state = 1'000'000;
// Values within a menu on a toolbar lie deepest: state, toolbars, toolbar, items, menu, items.
constexpr int deepest_in_state = 6;
constexpr std::uint32_t largest_virtual_key = 0xFE;

// What a kept key is held with, as one number.
constexpr unsigned held_control = 1;
constexpr unsigned held_shift = 2;
constexpr unsigned held_alt = 4;

constexpr auto button_texts = std::to_array<std::pair<tool_button_text, std::string_view>>({
    {tool_button_text::none, "none"},
    {tool_button_text::beside, "beside"},
    {tool_button_text::under, "under"},
});

/// Ends the reading of a state that this program has not written.
struct damaged_state : std::runtime_error {
    damaged_state() : std::runtime_error("damaged") {}
};

void require(bool condition)
{
    if (!condition)
        throw damaged_state();
}

// ---- reading -------------------------------------------------------------------------------------

/// The members of an object, all of which must be there and no others.
template <std::size_t Count>
std::array<const json*, Count> members(const json& object, const std::array<const char*, Count>& names)
{
    require(object.is_object() && object.size() == Count);
    std::array<const json*, Count> found{};
    for (std::size_t index = 0; index < Count; ++index) {
        const auto member = object.find(names[index]);
        require(member != object.end());
        found[index] = &*member;
    }
    return found;
}

std::uint32_t read_number(const json& value, std::uint32_t largest = std::numeric_limits<std::uint32_t>::max())
{
    require(value.is_number_unsigned() && value.get<std::uint64_t>() <= largest);
    return value.get<std::uint32_t>();
}

bool read_flag(const json& value)
{
    require(value.is_boolean());
    return value.get<bool>();
}

std::u16string read_text(const json& value)
{
    require(value.is_string());
    return platform::from_utf8(value.get_ref<const std::string&>());
}

const json& read_array(const json& value, std::size_t most)
{
    require(value.is_array() && value.size() <= most);
    return value;
}

std::vector<accelerator> read_keys(const json& value)
{
    std::vector<accelerator> table;
    for (const json& entry : read_array(value, kept_command_bars::most_own_keys)) {
        const auto [key, held, command] = members<3>(entry, {"key", "held", "command"});
        const std::uint32_t modifiers = read_number(*held, held_control | held_shift | held_alt);
        const std::uint32_t virtual_key = read_number(*key, largest_virtual_key);
        require(virtual_key != 0);
        table.push_back({virtual_key, (modifiers & held_control) != 0, (modifiers & held_shift) != 0,
                         (modifiers & held_alt) != 0, read_number(*command)});
    }
    return table;
}

std::vector<tool_item> read_items(const json& value);

tool_item read_item(const json& value)
{
    if (value.is_null())
        return tool_item::separator();
    if (value.is_number())
        return tool_item::command(read_number(value));
    require(value.is_object());
    if (value.contains("popup"))
        return tool_item::popup(read_text(*members<1>(value, {"popup"})[0]));
    const auto [name, contents] = members<2>(value, {"menu", "items"});
    tool_item menu = tool_item::menu(read_text(*name));
    menu.contents = read_items(*contents);
    return menu;
}

std::vector<tool_item> read_items(const json& value)
{
    std::vector<tool_item> all;
    for (const json& entry : read_array(value, tool_limits::items))
        all.push_back(read_item(entry));
    return all;
}

std::vector<tool_bar> read_bars(const json& value)
{
    std::vector<tool_bar> all;
    for (const json& entry : read_array(value, tool_limits::tool_bars)) {
        const auto [name, shown, contents] = members<3>(entry, {"name", "shown", "items"});
        all.push_back({read_text(*name), read_flag(*shown), read_items(*contents)});
    }
    require(is_sound(all));
    return all;
}

bar_options read_options(const json& value)
{
    const auto [large_icons, button_text, menu_icons] = members<3>(value, {"large_icons", "button_text", "menu_icons"});
    require(button_text->is_string());
    const auto known = std::ranges::find(button_texts, std::string_view(button_text->get_ref<const std::string&>()),
                                         [](const auto& entry) { return entry.second; });
    require(known != button_texts.end());
    return {read_flag(*large_icons), known->first, read_flag(*menu_icons)};
}

// ---- writing -------------------------------------------------------------------------------------

json written(std::span<const accelerator> table)
{
    json all = json::array();
    for (const accelerator& entry : table) {
        const unsigned held =
            (entry.control ? held_control : 0) | (entry.shift ? held_shift : 0) | (entry.alt ? held_alt : 0);
        all.push_back({{"key", entry.virtual_key}, {"held", held}, {"command", entry.command_id}});
    }
    return all;
}

json written(std::span<const tool_item> all_items)
{
    json all = json::array();
    for (const tool_item& entry : all_items) {
        switch (entry.kind) {
        case tool_kind::command:
            all.push_back(entry.command_id);
            break;
        case tool_kind::separator:
            all.push_back(nullptr);
            break;
        case tool_kind::popup:
            all.push_back({{"popup", platform::to_utf8(entry.text)}});
            break;
        case tool_kind::menu:
            all.push_back({{"menu", platform::to_utf8(entry.text)}, {"items", written(entry.contents)}});
            break;
        }
    }
    return all;
}

json written(std::span<const tool_bar> all_bars)
{
    json all = json::array();
    for (const tool_bar& bar : all_bars)
        all.push_back({{"name", platform::to_utf8(bar.name)}, {"shown", bar.shown}, {"items", written(bar.items)}});
    return all;
}

json written(const bar_options& look)
{
    const auto name = std::ranges::find(button_texts, look.button_text, [](const auto& entry) { return entry.first; });
    return {{"large_icons", look.large_icons}, {"button_text", name->second}, {"menu_icons", look.menu_icons}};
}

kept_command_bars read(std::u16string_view text)
{
    require(text.size() <= longest_state);
    // An object that grows copies what it holds, level by level: nesting without bounds would end the
    // stack long before the members are looked at.
    const auto within_depth = [](int depth, json::parse_event_t, const json&) {
        require(depth <= deepest_in_state);
        return true;
    };
    const json state = json::parse(platform::to_utf8(text), within_depth, false);
    const auto [version, removed, own, toolbars, options] =
        members<5>(state, {"version", "removed_keys", "own_keys", "toolbars", "options"});
    require(read_number(*version) == state_version);
    return {read_keys(*removed), read_keys(*own), read_bars(*toolbars), read_options(*options)};
}

} // namespace

std::optional<kept_command_bars> read_kept_command_bars(std::u16string_view text)
{
    try {
        return read(text);
    } catch (const damaged_state&) {
        return std::nullopt;
    }
}

std::u16string text_of(const kept_command_bars& kept)
{
    const json state = {{"version", state_version},
                        {"removed_keys", written(kept.removed_keys)},
                        {"own_keys", written(kept.own_keys)},
                        {"toolbars", written(kept.tool_bars)},
                        {"options", written(kept.options)}};
    return platform::from_utf8(state.dump());
}

} // namespace cw
