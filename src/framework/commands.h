// Commands by number: menus, accelerators, and the tables that route a command to its handler and
// to the handler that says whether it is enabled and checked.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace cw {

/// What an update handler sets.
class command_ui {
public:
    explicit command_ui(std::uint32_t id) noexcept : m_id(id) {}
    [[nodiscard]] std::uint32_t id() const noexcept { return m_id; }
    void Enable(bool enabled = true) noexcept { m_enabled = enabled; }
    void SetCheck(bool checked = true) noexcept { m_checked = checked; }
    [[nodiscard]] std::optional<bool> enabled() const noexcept { return m_enabled; }
    [[nodiscard]] std::optional<bool> checked() const noexcept { return m_checked; }

private:
    std::uint32_t m_id;
    std::optional<bool> m_enabled;
    std::optional<bool> m_checked;
};

/// One line of a window's command map.
template <class Window>
struct command_entry {
    std::uint32_t first_id;
    std::uint32_t last_id;
    void (Window::*handler)(std::uint32_t id); // null: the state alone is told, another target runs it
    void (Window::*update)(command_ui& ui);    // null: enabled wherever there is a handler
};

/// One line of a window's notification map.
template <class Window>
struct notification_entry {
    std::uint32_t code;
    std::uint32_t control_id;
    void (Window::*handler)();
};

template <class Window>
[[nodiscard]] const command_entry<Window>* find_command(std::span<const command_entry<Window>> map,
                                                        std::uint32_t id) noexcept
{
    for (const command_entry<Window>& entry : map)
        if (id >= entry.first_id && id <= entry.last_id)
            return &entry;
    return nullptr;
}

/// One item of a menu. A separator has no text; a popup has items of its own.
struct menu_item {
    std::u16string_view text; // with '&' before the mnemonic
    std::uint32_t id = 0;
    bool disabled_in_resource = false;
    std::span<const menu_item> popup = {};

    [[nodiscard]] constexpr bool is_separator() const noexcept { return text.empty(); }
    [[nodiscard]] constexpr bool is_popup() const noexcept { return !popup.empty(); }
};

struct accelerator {
    std::uint32_t virtual_key;
    bool control;
    bool shift;
    bool alt;
    std::uint32_t command_id;

    friend bool operator==(const accelerator&, const accelerator&) = default;
};

/// A key-down on its way to the focused control.
struct key_message {
    std::uint32_t virtual_key;
    bool control = false;
    bool shift = false;
    bool alt = false;

    friend bool operator==(const key_message&, const key_message&) = default;
};

} // namespace cw
