#include "framework/command_bars.h"

#include "framework/kept_command_bars.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace cw {
namespace {

constexpr std::u16string_view state_entry = u"State";

/// Entries of one table that another does not have.
std::vector<accelerator> entries_beside(std::span<const accelerator> table, std::span<const accelerator> other)
{
    std::vector<accelerator> entries;
    std::ranges::copy_if(table, std::back_inserter(entries),
                         [&](const accelerator& entry) { return std::ranges::find(other, entry) == other.end(); });
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

} // namespace

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
        if (key_of(entry) == key)
            return entry.command_id;
    return 0;
}

void command_bars::drop_key(const key_message& key)
{
    std::erase_if(m_accelerators, [&](const accelerator& entry) { return key_of(entry) == key; });
}

void command_bars::put_key(const key_message& key, std::uint32_t command_id)
{
    drop_key(key);
    const accelerator wanted{key.virtual_key, key.control, key.shift, key.alt, command_id};
    // A key that comes back to its first command comes back to its first place.
    const auto place_of = [this](const accelerator& entry) {
        return std::ranges::find(m_defaults, entry) - m_defaults.begin();
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
    // A damaged one is of no use to anybody, and no reason not to start: everything begins anew.
    kept_command_bars state =
        read_kept_command_bars(settings.read_text(name, state_entry, u"")).value_or(kept_command_bars{});
    m_accelerators.assign(m_defaults.begin(), m_defaults.end());
    for (const accelerator& entry : state.removed_keys)
        std::erase(m_accelerators, entry);
    for (const accelerator& entry : state.own_keys)
        if (knows_command(entry.command_id))
            put_key(key_of(entry), entry.command_id);
    m_toolBars = std::move(state.tool_bars);
    for (tool_bar& bar : m_toolBars)
        leave_out_unknown(bar.items);
    m_options = state.options;
    changed();
    m_touched = false;
}

void command_bars::save(platform::user_settings& settings, std::u16string_view name) const
{
    // Another window may have kept something since.
    if (!m_touched)
        return;
    const kept_command_bars state{entries_beside(m_defaults, m_accelerators),
                                  entries_beside(m_accelerators, m_defaults), m_toolBars, m_options};
    if (state == kept_command_bars{})
        settings.remove(name, state_entry);
    else
        settings.write_text(name, state_entry, text_of(state));
}

} // namespace cw
