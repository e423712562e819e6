#include "desktop/tool_bars.h"

#include "desktop/icons.h"
#include "desktop/qt_text.h"
#include "desktop/tool_choices.h"
#include "desktop/tool_drag.h"

#include <QAction>
#include <QDragEnterEvent>
#include <QDragMoveEvent>
#include <QDropEvent>
#include <QMainWindow>
#include <QMenu>
#include <QPointer>
#include <QTextDocument>
#include <QToolButton>

#include <deque>
#include <memory>
#include <string>

namespace cw {
namespace {

constexpr int small_icon_size = 16;
constexpr int large_icon_size = 32;

Qt::ToolButtonStyle button_style(tool_button_text text)
{
    switch (text) {
    case tool_button_text::beside:
        return Qt::ToolButtonTextBesideIcon;
    case tool_button_text::under:
        return Qt::ToolButtonTextUnderIcon;
    case tool_button_text::none:
        break;
    }
    return Qt::ToolButtonIconOnly;
}

/// The items behind a menu that a person has put together.
struct own_table {
    std::deque<std::u16string> texts;
    std::vector<menu_item> items;
};

/// A text in which nothing is taken for a mnemonic.
QString without_mnemonic(QString text)
{
    return text.replace(u'&', QStringLiteral("&&"));
}

} // namespace

tool_bar_view::tool_bar_view(const QString& name, drop_sink dropped, QWidget* parent)
    : fixed_tool_bar(name, parent), m_dropped(std::move(dropped))
{
}

void tool_bar_view::dragEnterEvent(QDragEnterEvent* event)
{
    if (dragged_item(*event->mimeData()))
        event->acceptProposedAction();
}

void tool_bar_view::dragMoveEvent(QDragMoveEvent* event)
{
    event->acceptProposedAction();
}

void tool_bar_view::dropEvent(QDropEvent* event)
{
    const std::optional<tool_item> item = dragged_item(*event->mimeData());
    if (!item)
        return;
    event->acceptProposedAction();
    // The sink ends this view.
    m_dropped(position_at(event->position().toPoint()), *item);
}

std::size_t tool_bar_view::position_at(const QPoint& place) const
{
    const QList<QAction*> all = actions();
    qsizetype position = 0;
    while (position < all.size() && actionGeometry(all[position]).center().x() < place.x())
        ++position;
    return static_cast<std::size_t>(position);
}

tool_bar_views::tool_bar_views(QMainWindow& window, frame_menus& menus) : m_window(window), m_menus(menus)
{
    window.installEventFilter(this);
}

bool tool_bar_views::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == &m_window && event->type() == QEvent::Resize)
        break_rows();
    return false;
}

void tool_bar_views::break_rows()
{
    // In one row all of them together would keep the window from getting narrower, and each would
    // show less and less.
    int used = 0;
    for (std::size_t index = 0; index < m_views.size(); ++index) {
        tool_bar_view* view = m_views[index];
        const int width = m_shown[index].shown ? view->sizeHint().width() : 0;
        const bool begins_row = used > 0 && used + width > m_window.width();
        if (begins_row && !m_window.toolBarBreak(view))
            m_window.insertToolBarBreak(view);
        else if (!begins_row && m_window.toolBarBreak(view))
            m_window.removeToolBarBreak(view);
        used = begins_row ? width : used + width;
    }
}

void tool_bar_views::show(command_bars& bars)
{
    if (bars.tool_bars() != m_shown || bars.options() != m_options) {
        for (tool_bar_view* view : m_views) {
            m_window.removeToolBar(view);
            // One of them may be what is calling.
            view->deleteLater();
        }
        m_views.clear();
        m_shown = bars.tool_bars();
        m_options = bars.options();
        for (std::size_t index = 0; index < m_shown.size(); ++index) {
            tool_bar_view* view = make_view(bars, index);
            m_views.push_back(view);
            m_window.addToolBar(Qt::TopToolBarArea, view);
        }
        // Shown in one row first they would widen the window, which then stays wide.
        break_rows();
        for (std::size_t index = 0; index < m_shown.size(); ++index)
            m_views[index]->setVisible(m_shown[index].shown);
    }
    refresh_states();
}

tool_bar_view* tool_bar_views::make_view(command_bars& bars, std::size_t index)
{
    const tool_bar& bar = m_shown[index];
    auto dropped = [&bars, index](std::size_t position, const tool_item& item) {
        std::vector<tool_bar> changed = bars.tool_bars();
        if (index < changed.size() && insert_item(changed[index].items, {position, {}}, item))
            bars.set_tool_bars(std::move(changed));
    };
    auto* view = new tool_bar_view(to_qt(bar.name), std::move(dropped), &m_window);
    view->setAcceptDrops(m_acceptsDrops);
    const int size = m_options.large_icons ? large_icon_size : small_icon_size;
    view->setIconSize(QSize(size, size));
    view->setToolButtonStyle(button_style(m_options.button_text));
    for (const tool_item& item : bar.items)
        add_item(*view, bars, item);
    return view;
}

void tool_bar_views::add_item(tool_bar_view& view, const command_bars& bars, const tool_item& item)
{
    const QString name = tool_name(bars.menu(), item);
    switch (item.kind) {
    case tool_kind::separator:
        view.addSeparator();
        return;
    case tool_kind::command: {
        QAction* action = m_menus.make_action(view, without_mnemonic(name), item.command_id);
        action->setIcon(command_icon(item.command_id));
        view.addAction(action);
        return;
    }
    case tool_kind::popup:
        if (const menu_item* popup = bars.find_popup(item.text))
            add_menu(view, name, popup->popup);
        return;
    case tool_kind::menu:
        break;
    }
    const auto own = std::make_shared<own_table>();
    for (const tool_item& entry : item.contents) {
        const bool is_command = entry.kind == tool_kind::command;
        if (is_command)
            own->texts.push_back(from_qt(without_mnemonic(tool_name(bars.menu(), entry))));
        own->items.push_back(is_command ? menu_item{own->texts.back(), entry.command_id} : menu_item{});
    }
    // The menu looks into the table for as long as it lives.
    QObject::connect(&add_menu(view, name, own->items), &QObject::destroyed, [own] {});
}

QMenu& tool_bar_views::add_menu(tool_bar_view& view, const QString& name, std::span<const menu_item> table)
{
    auto* menu = new QMenu(without_mnemonic(name), &view);
    m_menus.fill(*menu, table);
    // A person's name for it is no markup.
    menu->menuAction()->setToolTip(Qt::convertFromPlainText(name));
    view.addAction(menu->menuAction());
    auto* button = qobject_cast<QToolButton*>(view.widgetForAction(menu->menuAction()));
    button->setPopupMode(QToolButton::InstantPopup);
    // A menu has no picture: its name is all there is to see.
    button->setToolButtonStyle(Qt::ToolButtonTextOnly);
    return *menu;
}

void tool_bar_views::refresh_states()
{
    for (const tool_bar_view* view : m_views) {
        if (view->isHidden())
            continue;
        for (QAction* action : view->actions()) {
            const std::uint32_t id = action->data().toUInt();
            if (id == 0)
                continue;
            m_menus.update_state(*action);
            const QString name = action->text().replace(QStringLiteral("&&"), QStringLiteral("&"));
            const QString key = m_menus.key_text(id);
            action->setToolTip(key.isEmpty() ? name : QStringLiteral("%1 (%2)").arg(name, key));
        }
    }
}

void tool_bar_views::set_accepts_drops(bool accepts)
{
    m_acceptsDrops = accepts;
    for (tool_bar_view* view : m_views)
        view->setAcceptDrops(accepts);
}

void run_bars_menu(command_bars& bars, const QPoint& place, QWidget& parent, const std::function<void()>& customize)
{
    // The window that owns it may be closed from outside while it is open.
    const QPointer<QMenu> menu = new QMenu(&parent);
    menu->setAccessibleName(QStringLiteral("Toolbars"));
    for (const tool_bar& bar : bars.tool_bars()) {
        QAction* action = menu->addAction(without_mnemonic(to_qt(bar.name)));
        action->setCheckable(true);
        action->setChecked(bar.shown);
    }
    const qsizetype bar_count = menu->actions().size();
    if (bar_count > 0)
        menu->addSeparator();
    const QAction* customize_action = menu->addAction(QStringLiteral("&Customize..."));
    const QAction* chosen = menu->exec(place);
    if (!menu)
        return;
    const bool customize_chosen = chosen == customize_action;
    const qsizetype index = chosen ? menu->actions().indexOf(chosen) : -1;
    delete menu;
    if (customize_chosen)
        return customize();
    if (index < 0 || index >= bar_count)
        return;
    std::vector<tool_bar> changed = bars.tool_bars();
    changed[static_cast<std::size_t>(index)].shown = !changed[static_cast<std::size_t>(index)].shown;
    bars.set_tool_bars(std::move(changed));
}

} // namespace cw
