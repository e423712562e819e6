#include "desktop/tool_lists.h"

#include "desktop/icons.h"
#include "desktop/tool_drag.h"

#include <QDropEvent>
#include <QMimeData>

namespace cw {
namespace {

constexpr QSize picture_size(tree_icon_size, tree_icon_size);

} // namespace

tool_choice_list::tool_choice_list(QWidget* parent) : QListWidget(parent)
{
    setIconSize(picture_size);
    setSpacing(1);
    setDragEnabled(true);
    setDragDropMode(DragOnly);
}

void tool_choice_list::show_choices(std::vector<tool_choice> choices)
{
    clear();
    m_choices = std::move(choices);
    for (const tool_choice& choice : m_choices)
        addItem(new QListWidgetItem(command_icon(choice.item.command_id), choice.text));
    setCurrentRow(0);
}

const tool_choice* tool_choice_list::chosen() const
{
    const int row = currentRow();
    return row >= 0 && row < static_cast<int>(m_choices.size()) ? &m_choices[static_cast<std::size_t>(row)] : nullptr;
}

QMimeData* tool_choice_list::mimeData(const QList<QListWidgetItem*>& items) const
{
    if (items.isEmpty())
        return nullptr;
    return drag_of(m_choices[static_cast<std::size_t>(row(items.front()))].item).release();
}

tool_tree::tool_tree(QWidget* parent) : QTreeWidget(parent)
{
    setHeaderHidden(true);
    setIconSize(picture_size);
    setUniformRowHeights(true);
    setDragDropMode(DragDrop);
    setDefaultDropAction(Qt::CopyAction);
    setExpandsOnDoubleClick(false);
}

void tool_tree::show_items(const std::vector<tool_item>& items, std::span<const menu_item> menu)
{
    clear();
    const auto made = [&](const tool_item& item) {
        auto* line = new QTreeWidgetItem(QStringList(tool_name(menu, item)));
        line->setIcon(0, command_icon(item.command_id));
        line->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled);
        return line;
    };
    for (const tool_item& item : items) {
        QTreeWidgetItem* line = made(item);
        addTopLevelItem(line);
        if (item.kind != tool_kind::menu)
            continue;
        line->setFlags(line->flags() | Qt::ItemIsDropEnabled);
        for (const tool_item& entry : item.contents)
            line->addChild(made(entry));
        line->setExpanded(true);
    }
    // Room for the arrows only where there is something to open.
    bool has_menu = false;
    for (const tool_item& item : items)
        has_menu = has_menu || item.kind == tool_kind::menu;
    setRootIsDecorated(has_menu);
}

std::optional<tool_place> tool_tree::chosen() const
{
    QTreeWidgetItem* item = currentItem();
    return item ? std::optional(place_of(*item)) : std::nullopt;
}

void tool_tree::choose(const tool_place& place)
{
    QTreeWidgetItem* item = topLevelItem(static_cast<int>(place.index));
    if (item && place.within_menu && item->childCount() > 0)
        item = item->child(static_cast<int>(*place.within_menu));
    setCurrentItem(item);
}

QStringList tool_tree::mimeTypes() const
{
    return drag_of({})->formats();
}

QMimeData* tool_tree::mimeData(const QList<QTreeWidgetItem*>& items) const
{
    return items.isEmpty() ? nullptr : drag_from(place_of(*items.front())).release();
}

void tool_tree::dropEvent(QDropEvent* event)
{
    const tool_place place = place_at(event->position().toPoint());
    const std::optional<tool_item> item = dragged_item(*event->mimeData());
    const std::optional<tool_place> from = dragged_place(*event->mimeData());
    setState(NoState);
    viewport()->update();
    event->setDropAction(Qt::CopyAction);
    event->accept();
    if (item && m_dropped)
        m_dropped(place, *item);
    else if (from && m_moved)
        m_moved(*from, place);
}

tool_place tool_tree::place_of(QTreeWidgetItem& item) const
{
    if (QTreeWidgetItem* menu = item.parent())
        return {static_cast<std::size_t>(indexOfTopLevelItem(menu)),
                static_cast<std::size_t>(menu->indexOfChild(&item))};
    return {static_cast<std::size_t>(indexOfTopLevelItem(&item)), {}};
}

tool_place tool_tree::place_at(const QPoint& point) const
{
    QTreeWidgetItem* target = itemAt(point);
    if (!target)
        return {static_cast<std::size_t>(topLevelItemCount()), {}};
    tool_place place = place_of(*target);
    const QRect line = visualItemRect(target);
    const bool is_menu = (target->flags() & Qt::ItemIsDropEnabled) != 0;
    // The middle of a menu's line is the menu itself.
    const int edge = is_menu ? line.height() / 4 : line.height() / 2;
    if (is_menu && point.y() >= line.top() + edge && point.y() < line.bottom() + 1 - edge)
        return {place.index, static_cast<std::size_t>(target->childCount())};
    if (point.y() >= line.top() + edge) {
        if (is_menu && target->childCount() > 0)
            return {place.index, 0};
        ++(place.within_menu ? *place.within_menu : place.index);
    }
    return place;
}

} // namespace cw
