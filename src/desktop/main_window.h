// The top-level window: menu bar, toolbars, splitter with the panes, status bar. It tells the toolkit
// about the keys, the focus, and the wishes to close it and to see the menu of its bars; all else is
// set from outside.
#pragma once

#include "framework/commands.h"

#include <QLabel>
#include <QMainWindow>

#include <functional>
#include <string>
#include <vector>

class QContextMenuEvent;
class QSplitter;

namespace cw {

/// What happens in the window that is not an action of a menu or a pane.
struct window_events {
    std::function<void()> close_wanted;
    /// True where the key was an accelerator: nobody else gets it then.
    std::function<bool(const key_message& key)> key_pressed;
    /// The widget that has the focus now, always one of this window.
    std::function<void(QWidget* widget)> focus_moved;
    /// A menu about the bars is wanted at a place of the screen.
    std::function<void(const QPoint& place)> bars_menu_wanted;
};

/// One line of text that never widens the window: a path that is too long loses its middle.
class elided_label final : public QLabel {
public:
    explicit elided_label(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};

class main_window final : public QMainWindow {
public:
    explicit main_window(window_events events);
    ~main_window() override;

    /// Makes the client area: panes side by side. The last takes what the others leave.
    void make_splitter();
    void remove_splitter();
    /// Puts a pane into a column of the splitter.
    void add_pane(QWidget& pane, int column, int width_in_pixels);

    void make_status_bar();
    /// Appends a pane to the status bar.
    void add_status_pane();
    void set_status_text(int pane, const QString& text);
    [[nodiscard]] QString status_text(int pane) const;

    /// Lets a file be dropped anywhere on the window, except while a dialog or a menu is open. `opened` gets
    /// its path once the drop is over: whoever dragged it does not wait for what comes of it.
    void accept_files(std::function<void(const std::u16string& path)> opened);

    bool eventFilter(QObject* watched, QEvent* event) override;

protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void bars_menu_by_key();

    window_events m_events;
    QSplitter* m_splitter = nullptr;
    int m_firstPaneWidthInPixels = 0;
    std::vector<elided_label*> m_statusPanes;
    std::function<void(const std::u16string& path)> m_fileDropped;
};

} // namespace cw
