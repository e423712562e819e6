#include "desktop/qt_list_model.h"

#include "desktop/icons.h"
#include "desktop/qt_text.h"

namespace cw {

qt_list_model::qt_list_model(const CListCtrl& list, QObject* parent) : QAbstractTableModel(parent), m_list(list) {}

void qt_list_model::begin_change()
{
    if (m_changing)
        return;
    beginResetModel();
    m_changing = true;
}

void qt_list_model::end_change()
{
    if (!m_changing)
        return;
    m_changing = false;
    endResetModel();
}

int qt_list_model::rowCount(const QModelIndex& parent) const
{
    return m_changing || parent.isValid() ? 0 : static_cast<int>(m_list.GetItemCount());
}

int qt_list_model::columnCount(const QModelIndex& parent) const
{
    return m_changing || parent.isValid() ? 0 : static_cast<int>(m_list.GetColumnCount());
}

QVariant qt_list_model::data(const QModelIndex& index, int role) const
{
    if (m_changing || !index.isValid())
        return {};
    const auto row = static_cast<std::size_t>(index.row());
    const auto column = static_cast<std::size_t>(index.column());
    if (role == Qt::DisplayRole)
        return to_qt(m_list.GetItemText(row, column));
    if (role == Qt::DecorationRole && column == 0)
        return icon_of(row);
    return {};
}

QVariant qt_list_model::icon_of(std::size_t row) const
{
    // The spacer list has no pictures: its rows show none, whatever index they carry.
    const image_list* images = m_list.GetSmallImages();
    const std::optional<int> image = m_list.GetItemImage(row);
    if (!images || !image || *image >= images->image_count)
        return {};
    return tree_icon(*image);
}

QVariant qt_list_model::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (m_changing || orientation != Qt::Horizontal || section < 0 || section >= columnCount())
        return {};
    const QString label = to_qt(m_list.GetColumn(static_cast<std::size_t>(section)).label);
    if (role == Qt::DisplayRole || role == Qt::AccessibleTextRole)
        return label;
    if (role == Qt::ToolTipRole || role == Qt::AccessibleDescriptionRole) {
        const QString key = section < columns_with_keys ? QStringLiteral(" (Ctrl+%1)").arg(section + 1) : QString();
        return QStringLiteral("Sort by \u201C%1\u201D").arg(label) + key;
    }
    return {};
}

} // namespace cw
