#include "desktop/qt_tree_model.h"

#include "desktop/icons.h"
#include "desktop/qt_text.h"

namespace cw {

static_assert(sizeof(quintptr) >= sizeof(HTREEITEM::value), "an index carries a whole handle");

qt_tree_model::qt_tree_model(const CTreeCtrl& tree, QObject* parent) : QAbstractItemModel(parent), m_tree(tree) {}

void qt_tree_model::begin_change()
{
    if (m_changing)
        return;
    beginResetModel();
    m_changing = true;
}

void qt_tree_model::end_change()
{
    if (!m_changing)
        return;
    m_changing = false;
    endResetModel();
}

QModelIndex qt_tree_model::index_of(HTREEITEM item) const
{
    if (m_changing || !m_tree.IsLive(item))
        return {};
    return createIndex(static_cast<int>(m_tree.GetRow(item)), 0, static_cast<quintptr>(item.value));
}

HTREEITEM qt_tree_model::item_of(const QModelIndex& index) noexcept
{
    return {index.isValid() ? std::uint64_t{index.internalId()} : 0};
}

void qt_tree_model::selection_moved(HTREEITEM from, HTREEITEM to)
{
    for (const HTREEITEM item : {from, to})
        if (const QModelIndex index = index_of(item); index.isValid())
            emit dataChanged(index, index, {Qt::DecorationRole});
}

QModelIndex qt_tree_model::index(int row, int column, const QModelIndex& parent) const
{
    if (row < 0 || column != 0 || row >= rowCount(parent))
        return {};
    const HTREEITEM item = m_tree.GetChildAt(item_of(parent), static_cast<std::size_t>(row));
    return createIndex(row, column, static_cast<quintptr>(item.value));
}

QModelIndex qt_tree_model::parent(const QModelIndex& child) const
{
    return index_of(m_tree.GetParentItem(item_of(child)));
}

int qt_tree_model::rowCount(const QModelIndex& parent) const
{
    if (m_changing || parent.column() > 0)
        return 0;
    return static_cast<int>(m_tree.GetChildCount(item_of(parent)));
}

int qt_tree_model::columnCount(const QModelIndex&) const
{
    return 1;
}

bool qt_tree_model::hasChildren(const QModelIndex& parent) const
{
    // Asked for every item that comes into view: must not count the children.
    if (m_changing || parent.column() > 0)
        return false;
    return static_cast<bool>(parent.isValid() ? m_tree.GetChildItem(item_of(parent)) : m_tree.GetRootItem());
}

QVariant qt_tree_model::data(const QModelIndex& index, int role) const
{
    const HTREEITEM item = item_of(index);
    if (m_changing || !m_tree.IsLive(item))
        return {};
    if (role == Qt::DisplayRole)
        return to_qt(m_tree.GetItemText(item));
    if (role == Qt::DecorationRole) {
        // An item that was given no image shows the first one.
        const tree_item_images images = m_tree.GetItemImages(item).value_or(tree_item_images{0, 0});
        return tree_icon(item == m_tree.GetSelectedItem() ? images.selected : images.normal);
    }
    return {};
}

} // namespace cw
