// The toolbars of the window as the person has put them together. Used by the toolkit.
#pragma once

#include "desktop/fixed_tool_bar.h"
#include "desktop/frame_menus.h"
#include "framework/command_bars.h"

#include <cstddef>
#include <functional>
#include <span>
#include <vector>

class QMainWindow;
class QMenu;
class QPoint;

namespace cw {

/// One toolbar in the window. While it accepts drops, new things can be dragged onto it.
class tool_bar_view final : public fixed_tool_bar {
public:
    using drop_sink = std::function<void(std::size_t position, const tool_item& item)>;

    tool_bar_view(const QString& name, drop_sink dropped, QWidget* parent);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    [[nodiscard]] std::size_t position_at(const QPoint& place) const;

    drop_sink m_dropped;
};

class tool_bar_views final : public QObject {
public:
    /// `menus` makes the actions and fills the menus. Window and menus are borrowed and must outlive
    /// the views.
    tool_bar_views(QMainWindow& window, frame_menus& menus);

    /// Replaces what the window shows; a toolbar that was not changed stays as it is. `bars` is kept
    /// and must outlive the views.
    void show(command_bars& bars);
    /// Shows which commands are enabled and checked now.
    void refresh_states();
    /// Whether things can be dragged onto the toolbars.
    void set_accepts_drops(bool accepts);

    [[nodiscard]] const std::vector<tool_bar_view*>& views() const noexcept { return m_views; }

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    /// Begins another row where the window is too narrow for the next toolbar.
    void break_rows();
    [[nodiscard]] tool_bar_view* make_view(command_bars& bars, std::size_t index);
    void add_item(tool_bar_view& view, const command_bars& bars, const tool_item& item);
    QMenu& add_menu(tool_bar_view& view, const QString& name, std::span<const menu_item> table);

    QMainWindow& m_window;
    frame_menus& m_menus;
    bool m_acceptsDrops = false;
    std::vector<tool_bar> m_shown;
    bar_options m_options;
    std::vector<tool_bar_view*> m_views;
};

/// The menu that tells which toolbars are shown and leads to changing them, at a place of the screen.
/// `customize` is called where the person chooses that.
void run_bars_menu(command_bars& bars, const QPoint& place, QWidget& parent, const std::function<void()>& customize);

} // namespace cw
