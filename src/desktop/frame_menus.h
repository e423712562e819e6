// The menu bar and its popups from the program's menu tables, with states that are computed when a
// popup opens. Used by the toolkit, by the toolbars, and by the services for context menus.
#pragma once

#include "framework/commands.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <span>
#include <string_view>
#include <vector>

class QAction;
class QMenu;
class QMenuBar;
class QObject;

namespace cw {

class CRecentFileList;

/// What the menus need of the frame.
struct menu_commands {
    std::function<command_ui(std::uint32_t id)> update;
    std::function<void(std::uint32_t id)> run;
};

class frame_menus {
public:
    explicit frame_menus(menu_commands commands) : m_commands(std::move(commands)) {}

    /// The list behind the popup of recent files; null leaves its placeholder alone. Borrowed.
    void set_recent_files(const CRecentFileList* list) noexcept { m_recentFiles = list; }
    /// The keys that are shown behind the items. Borrowed.
    void set_accelerators(std::span<const accelerator> table) noexcept { m_accelerators = table; }
    /// Whether items show the pictures of their commands, from the next time that their popup opens.
    void set_icons_shown(bool shown) noexcept { m_iconsShown = shown; }

    /// Fills a menu bar. The table must outlive it.
    void fill(QMenuBar& bar, std::span<const menu_item> table);
    /// Fills a popup, states computed at once and again whenever it opens.
    void fill(QMenu& popup, std::span<const menu_item> table);

    /// An action that runs a command; its owner ends it.
    [[nodiscard]] QAction* make_action(QObject& owner, const QString& text, std::uint32_t id);
    /// Asks whether the action's command is enabled and checked.
    void update_state(QAction& action) const;
    /// The first key of a command as a text; empty where it has none.
    [[nodiscard]] QString key_text(std::uint32_t id) const;

private:
    void add(QMenu& popup, const menu_item& item);
    void add_command(QMenu& popup, const QString& text, std::uint32_t id, bool enabled);
    void refresh(QMenu& popup, std::span<const menu_item> table);
    void refill_recent_files(QMenu& popup, const menu_item& placeholder);

    menu_commands m_commands;
    const CRecentFileList* m_recentFiles = nullptr;
    std::span<const accelerator> m_accelerators;
    bool m_iconsShown = false;
};

/// What the popup of recent files shows for an entry: its number with a mnemonic for the first ten,
/// and its name with nothing in it taken for a mnemonic. `index` counts from 0.
[[nodiscard]] QString recent_file_label(std::size_t index, std::u16string_view name);

} // namespace cw
