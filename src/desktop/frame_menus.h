// The menu bar and its popups from the program's menu tables, with states that are computed when a
// popup opens. Used by the toolkit, and by the services for context menus.
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
    /// The keys that are shown behind the items.
    void set_accelerators(std::span<const accelerator> table) noexcept { m_accelerators = table; }

    /// Fills a menu bar. The table must outlive it.
    void fill(QMenuBar& bar, std::span<const menu_item> table);
    /// Fills a popup, states computed at once and again whenever it opens.
    void fill(QMenu& popup, std::span<const menu_item> table);

private:
    void add(QMenu& popup, const menu_item& item);
    QAction* add_command(QMenu& popup, const QString& text, std::uint32_t id, bool enabled);
    void refresh(QMenu& popup, std::span<const menu_item> table);
    void refill_recent_files(QMenu& popup, const menu_item& placeholder);
    [[nodiscard]] QString key_text(std::uint32_t id) const;

    menu_commands m_commands;
    const CRecentFileList* m_recentFiles = nullptr;
    std::span<const accelerator> m_accelerators;
};

/// What the popup of recent files shows for an entry: its number with a mnemonic for the first ten,
/// and its name with nothing in it taken for a mnemonic. `index` counts from 0.
[[nodiscard]] QString recent_file_label(std::size_t index, std::u16string_view name);

} // namespace cw
