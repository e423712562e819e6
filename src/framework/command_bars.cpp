#include "framework/command_bars.h"

#include "platform/utf8.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <limits>
#include <stdexcept>
#include <utility>

namespace cw {
namespace {

using json = nlohmann::ordered_json;

constexpr std::u16string_view state_entry = u"State";
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

bool same_key(const accelerator& entry, const key_message& key) noexcept
{
    return entry.virtual_key == key.virtual_key && entry.control == key.control && entry.shift == key.shift &&
           entry.alt == key.alt;
}

bool same_entry(const accelerator& left, const accelerator& right) noexcept
{
    return same_key(left, key_of(right)) && left.command_id == right.command_id;
}

bool holds(std::span<const accelerator> table, const accelerator& entry) noexcept
{
    return std::ranges::any_of(table, [&](const accelerator& other) { return same_entry(entry, other); });
}

/// Entries of one table that another does not have.
std::vector<accelerator> entries_beside(std::span<const accelerator> table, std::span<const accelerator> other)
{
    std::vector<accelerator> entries;
    std::ranges::copy_if(table, std::back_inserter(entries),
                         [&](const accelerator& entry) { return !holds(other, entry); });
    return entries;
}

template <class Match>
const menu_item* find_item(std::span<const menu_item> menu, const Match& match) noexcept
{
    for (const menu_item& item : menu) {
        if (match(item))
            return &item;
        if (const menu_item* below = find_item(item.popup, match))
            return below;
    }
    return nullptr;
}

/// Whether a text can be read in one line of a menu.
bool is_name(std::u16string_view text)
{
    constexpr char16_t first_visible = 0x20;
    constexpr char16_t delete_character = 0x7F;
    return !text.empty() && text.size() <= command_bars::longest_name &&
           std::ranges::none_of(text, [](char16_t unit) { return unit < first_visible || unit == delete_character; });
}

bool is_sound(std::span<const tool_item> items, bool within_menu)
{
    return items.size() <= command_bars::most_items && std::ranges::all_of(items, [&](const tool_item& item) {
               const bool may_stand_here =
                   !within_menu || item.kind == tool_kind::command || item.kind == tool_kind::separator;
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

bool is_sound(std::span<const tool_bar> bars)
{
    if (bars.size() > command_bars::most_tool_bars)
        return false;
    std::size_t together = 0;
    for (const tool_bar& bar : bars)
        together += count_of(bar.items);
    if (together > command_bars::most_items_together)
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
    for (const json& entry : read_array(value, command_bars::most_own_keys)) {
        const auto [key, held, command] = members<3>(entry, {"key", "held", "command"});
        const std::uint32_t modifiers = read_number(*held, held_control | held_shift | held_alt);
        const std::uint32_t virtual_key = read_number(*key, largest_virtual_key);
        require(virtual_key != 0);
        table.push_back({virtual_key, (modifiers & held_control) != 0, (modifiers & held_shift) != 0,
                         (modifiers & held_alt) != 0, read_number(*command)});
    }
    return table;
}

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
    for (const json& entry : read_array(*contents, command_bars::most_items))
        menu.contents.push_back(read_item(entry));
    return menu;
}

std::vector<tool_item> read_items(const json& value)
{
    std::vector<tool_item> all;
    for (const json& entry : read_array(value, command_bars::most_items))
        all.push_back(read_item(entry));
    return all;
}

std::vector<tool_bar> read_bars(const json& value)
{
    std::vector<tool_bar> all;
    for (const json& entry : read_array(value, command_bars::most_tool_bars)) {
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

/// A state as it was kept, sound in itself.
struct command_bars::kept_state {
    std::vector<accelerator> removed_keys;
    std::vector<accelerator> own_keys;
    std::vector<tool_bar> tool_bars;
    bar_options look;

    static kept_state from(std::u16string_view kept)
    {
        require(kept.size() <= longest_state);
        // An object that grows copies what it holds, level by level: nesting without bounds would end the
        // stack long before the members are looked at.
        const auto within_depth = [](int depth, json::parse_event_t, const json&) {
            require(depth <= deepest_in_state);
            return true;
        };
        const json state = json::parse(platform::to_utf8(kept), within_depth, false);
        const auto [version, removed, own, toolbars, shown_options] =
            members<5>(state, {"version", "removed_keys", "own_keys", "toolbars", "options"});
        require(read_number(*version) == state_version);
        return {read_keys(*removed), read_keys(*own), read_bars(*toolbars), read_options(*shown_options)};
    }
};

void command_bars::changed()
{
    m_touched = true;
    if (m_changed)
        m_changed();
}

void command_bars::set_default_accelerators(std::span<const accelerator> table)
{
    m_defaults = table;
    m_accelerators.assign(table.begin(), table.end());
    changed();
    m_touched = false;
}

const menu_item* command_bars::find_popup(std::u16string_view text_of_popup) const noexcept
{
    return find_item(m_menu, [&](const menu_item& entry) { return entry.is_popup() && entry.text == text_of_popup; });
}

std::uint32_t command_bars::command_of(const key_message& key) const noexcept
{
    for (const accelerator& entry : m_accelerators)
        if (same_key(entry, key))
            return entry.command_id;
    return 0;
}

void command_bars::drop_key(const key_message& key)
{
    std::erase_if(m_accelerators, [&](const accelerator& entry) { return same_key(entry, key); });
}

void command_bars::put_key(const key_message& key, std::uint32_t command_id)
{
    drop_key(key);
    const accelerator wanted{key.virtual_key, key.control, key.shift, key.alt, command_id};
    // A key that comes back to its first command comes back to its first place.
    const auto place_of = [this](const accelerator& entry) {
        const auto found =
            std::ranges::find_if(m_defaults, [&](const accelerator& own) { return same_entry(own, entry); });
        return found - m_defaults.begin();
    };
    const auto behind = std::ranges::find_if(
        m_accelerators, [&](const accelerator& entry) { return place_of(entry) > place_of(wanted); });
    m_accelerators.insert(behind, wanted);
}

void command_bars::assign_key(const key_message& key, std::uint32_t command_id)
{
    put_key(key, command_id);
    changed();
}

void command_bars::remove_key(const key_message& key)
{
    drop_key(key);
    changed();
}

void command_bars::reset_keys()
{
    m_accelerators.assign(m_defaults.begin(), m_defaults.end());
    changed();
}

bool command_bars::set_tool_bars(std::vector<tool_bar> all_bars)
{
    if (!is_sound(all_bars))
        return false;
    m_toolBars = std::move(all_bars);
    changed();
    return true;
}

void command_bars::set_options(const bar_options& look)
{
    m_options = look;
    changed();
}

void command_bars::reset()
{
    m_accelerators.assign(m_defaults.begin(), m_defaults.end());
    m_toolBars.clear();
    m_options = {};
    changed();
}

bool command_bars::knows_command(std::uint32_t id) const noexcept
{
    return find_item(m_menu, [&](const menu_item& entry) { return id != 0 && entry.id == id; }) ||
           std::ranges::any_of(m_defaults, [&](const accelerator& entry) { return entry.command_id == id; });
}

bool command_bars::knows(const tool_item& entry) const noexcept
{
    if (entry.kind == tool_kind::command)
        return knows_command(entry.command_id);
    return entry.kind != tool_kind::popup || find_popup(entry.text);
}

void command_bars::leave_out_unknown(std::vector<tool_item>& all_items) const
{
    std::erase_if(all_items, [this](const tool_item& entry) { return !knows(entry); });
    for (tool_item& entry : all_items)
        leave_out_unknown(entry.contents);
}

void command_bars::load(platform::user_settings& settings, std::u16string_view name)
{
    kept_state state;
    const std::u16string kept = settings.read_text(name, state_entry, u"");
    if (!kept.empty()) {
        try {
            state = kept_state::from(kept);
        } catch (const damaged_state&) {
            // Of no use to anybody, and no reason not to start: everything begins anew.
            state = {};
        }
    }
    m_accelerators.assign(m_defaults.begin(), m_defaults.end());
    for (const accelerator& entry : state.removed_keys)
        std::erase_if(m_accelerators, [&](const accelerator& other) { return same_entry(entry, other); });
    for (const accelerator& entry : state.own_keys)
        if (knows_command(entry.command_id))
            put_key(key_of(entry), entry.command_id);
    m_toolBars = std::move(state.tool_bars);
    for (tool_bar& bar : m_toolBars)
        leave_out_unknown(bar.items);
    m_options = state.look;
    changed();
    m_touched = false;
}

void command_bars::save(platform::user_settings& settings, std::u16string_view name) const
{
    // Another window may have kept something since.
    if (!m_touched)
        return;
    const std::vector<accelerator> removed = entries_beside(m_defaults, m_accelerators);
    const std::vector<accelerator> own = entries_beside(m_accelerators, m_defaults);
    if (removed.empty() && own.empty() && m_toolBars.empty() && m_options == bar_options{})
        return settings.remove(name, state_entry);
    const json state = {{"version", state_version},
                        {"removed_keys", written(removed)},
                        {"own_keys", written(own)},
                        {"toolbars", written(m_toolBars)},
                        {"options", written(m_options)}};
    settings.write_text(name, state_entry, platform::from_utf8(state.dump()));
}

const tool_item* item_at(const std::vector<tool_item>& all_items, const tool_place& place) noexcept
{
    const std::vector<tool_item>* const around = items_around(all_items, place);
    return around && position(place) < around->size() ? &(*around)[position(place)] : nullptr;
}

bool insert_item(std::vector<tool_item>& all_items, const tool_place& place, tool_item new_item)
{
    std::vector<tool_item>* const around = items_around(all_items, place);
    const bool may_stand_here =
        !place.within_menu || new_item.kind == tool_kind::command || new_item.kind == tool_kind::separator;
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
