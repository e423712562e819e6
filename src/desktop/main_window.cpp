#include "desktop/main_window.h"

#include "desktop/dropped_file.h"
#include "desktop/icons.h"
#include "desktop/virtual_keys.h"

#include <QApplication>
#include <QCloseEvent>
#include <QContextMenuEvent>
#include <QDragEnterEvent>
#include <QKeyEvent>
#include <QMenuBar>
#include <QPainter>
#include <QScreen>
#include <QSplitter>
#include <QStatusBar>
#include <QStyle>
#include <QToolBar>
#include <QWindow>

#include <algorithm>
#include <optional>

namespace cw {
namespace {

constexpr QSize preferred_size(1100, 700);
constexpr int space_beside_status_text = 4;
constexpr int share_of_screen_in_percent = 90;

/// A command may be in the middle of its work, waiting for an answer.
bool is_asking()
{
    return QApplication::activeModalWidget() || QApplication::activePopupWidget();
}

/// The file is read and stays where it is: an offer to move it, which ends with its removal by whoever
/// dragged it, is taken as one to copy or to link it.
std::optional<Qt::DropAction> action_of(const QDropEvent& event)
{
    for (const Qt::DropAction action : {Qt::CopyAction, Qt::LinkAction})
        if (event.possibleActions().testFlag(action))
            return action;
    return std::nullopt;
}

} // namespace

elided_label::elided_label(QWidget* parent) : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    setContentsMargins(space_beside_status_text, 0, space_beside_status_text, 0);
}

void elided_label::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const QString shown = fontMetrics().elidedText(text(), Qt::ElideMiddle, contentsRect().width());
    style()->drawItemText(&painter, contentsRect(), Qt::AlignLeft | Qt::AlignVCenter, palette(), isEnabled(), shown,
                          foregroundRole());
}

main_window::main_window(window_events events) : m_events(std::move(events))
{
    setWindowIcon(application_icon());
    const QSize largest = screen()->availableGeometry().size() * share_of_screen_in_percent / 100;
    resize(preferred_size.boundedTo(largest));

    // Keys are seen before the focused pane gets them, and in the order of the frame: its message
    // filter first, then the accelerators. Shortcuts of actions would turn that around.
    qApp->installEventFilter(this);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) {
        if (now && now->window() == this)
            m_events.focus_moved(now);
    });
}

main_window::~main_window()
{
    qApp->removeEventFilter(this);
}

void main_window::make_splitter()
{
    m_splitter = new QSplitter(Qt::Horizontal, this);
    m_splitter->setChildrenCollapsible(false);
    setCentralWidget(m_splitter);
}

void main_window::remove_splitter()
{
    delete takeCentralWidget();
    m_splitter = nullptr;
}

void main_window::add_pane(QWidget& pane, int column, int width_in_pixels)
{
    if (column == 0)
        m_firstPaneWidthInPixels = width_in_pixels;
    m_splitter->insertWidget(column, &pane);
    const int last = m_splitter->count() - 1;
    for (int index = 0; index <= last; ++index)
        m_splitter->setStretchFactor(index, index == last ? 1 : 0);
    const int rest = width() - m_firstPaneWidthInPixels - m_splitter->handleWidth();
    m_splitter->setSizes({m_firstPaneWidthInPixels, std::max(1, rest)});
}

void main_window::make_status_bar()
{
    statusBar()->setAccessibleName(QStringLiteral("Status"));
}

void main_window::add_status_pane()
{
    auto* pane = new elided_label(this);
    pane->setAccessibleName(QStringLiteral("Status text"));
    statusBar()->addWidget(pane, 1);
    m_statusPanes.push_back(pane);
}

void main_window::set_status_text(int pane, const QString& text)
{
    if (pane < 0 || pane >= static_cast<int>(m_statusPanes.size()))
        return;
    m_statusPanes[static_cast<std::size_t>(pane)]->setText(text);
    m_statusPanes[static_cast<std::size_t>(pane)]->setAccessibleDescription(text);
}

QString main_window::status_text(int pane) const
{
    const bool known = pane >= 0 && pane < static_cast<int>(m_statusPanes.size());
    return known ? m_statusPanes[static_cast<std::size_t>(pane)]->text() : QString();
}

bool main_window::eventFilter(QObject* watched, QEvent* event)
{
    // A key goes to the native window first and only then up the chain of widgets: here it is seen
    // once. Dialogs and open menus have windows of their own.
    if (event->type() == QEvent::KeyPress && watched == windowHandle() && !QApplication::activePopupWidget()) {
        const auto& pressed = *static_cast<QKeyEvent*>(event);
        // Not every window system turns this key into a request for a menu, as it does with the menu key.
        if (pressed.key() == Qt::Key_F10 && pressed.modifiers() == Qt::ShiftModifier && menuBar()->hasFocus()) {
            bars_menu_by_key();
            return true;
        }
        const std::optional<key_message> key = key_message_of(pressed);
        if (key && m_events.key_pressed(*key))
            return true;
    }
    return QMainWindow::eventFilter(watched, event);
}

void main_window::closeEvent(QCloseEvent* event)
{
    // The frame decides, and destroys the window at the end of its close.
    event->ignore();
    m_events.close_wanted();
}

void main_window::contextMenuEvent(QContextMenuEvent* event)
{
    if (event->reason() == QContextMenuEvent::Keyboard) {
        if (menuBar()->hasFocus())
            bars_menu_by_key();
        return;
    }
    const QWidget* clicked = childAt(event->pos());
    while (clicked && clicked != menuBar() && !qobject_cast<const QToolBar*>(clicked))
        clicked = clicked->parentWidget();
    if (clicked && m_events.bars_menu_wanted)
        m_events.bars_menu_wanted(event->globalPos());
}

void main_window::bars_menu_by_key()
{
    if (m_events.bars_menu_wanted)
        m_events.bars_menu_wanted(menuBar()->mapToGlobal(menuBar()->rect().bottomLeft()));
}

void main_window::accept_files(std::function<void(const std::u16string& path)> opened)
{
    m_fileDropped = std::move(opened);
    setAcceptDrops(true);
}

void main_window::dragEnterEvent(QDragEnterEvent* event)
{
    const std::optional<Qt::DropAction> action = action_of(*event);
    if (is_asking() || !action || !dropped_file(*event->mimeData()))
        return event->ignore();
    event->setDropAction(*action);
    event->accept();
}

void main_window::dropEvent(QDropEvent* event)
{
    const std::optional<Qt::DropAction> action = action_of(*event);
    const std::optional<std::u16string> path = dropped_file(*event->mimeData());
    if (is_asking() || !action || !path)
        return event->ignore();
    event->setDropAction(*action);
    event->accept();
    raise();
    activateWindow();
    QMetaObject::invokeMethod(
        this,
        [this, path = *path] {
            if (!is_asking())
                m_fileDropped(path);
        },
        Qt::QueuedConnection);
}

} // namespace cw
