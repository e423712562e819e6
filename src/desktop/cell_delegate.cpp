#include "desktop/cell_delegate.h"

#include "desktop/icons.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>

namespace cw {
namespace {

// No column is wide enough for more; laying out a megabyte of text for one cell takes seconds.
constexpr qsizetype longest_drawn_length_in_code_units = 2000;
constexpr qsizetype longest_tip_length_in_code_units = 4000;

constexpr int space_around_text_in_pixels = 6; // above and below together
constexpr float grid_opacity = 0.12f;

} // namespace

cell_delegate::cell_delegate(QObject* parent) : QStyledItemDelegate(parent) {}

int cell_delegate::row_height(const QFontMetrics& metrics)
{
    return std::max(metrics.height(), tree_icon_size) + space_around_text_in_pixels;
}

QSize cell_delegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    return {QStyledItemDelegate::sizeHint(option, index).width(), row_height(option.fontMetrics)};
}

void cell_delegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    QStyledItemDelegate::paint(painter, option, index);
    if (!m_showGrid)
        return;
    // The style's own grid is as strong as the text in some themes.
    QColor line = option.palette.color(QPalette::Text);
    line.setAlphaF(grid_opacity);
    const QRect& cell = option.rect;
    painter->fillRect(QRect(cell.right(), cell.top(), 1, cell.height()), line);
    painter->fillRect(QRect(cell.left(), cell.bottom(), cell.width() - 1, 1), line);
}

QString cell_delegate::displayText(const QVariant& value, const QLocale&) const
{
    QString text = value.toString().left(longest_drawn_length_in_code_units);
    std::replace_if(
        text.begin(), text.end(), [](QChar c) { return c < u' '; }, QChar(u' '));
    return text;
}

void cell_delegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    // The selection is the whole row; a frame around one of its cells would say something else.
    option->state.setFlag(QStyle::State_HasFocus, false);
}

bool cell_delegate::helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                              const QModelIndex& index)
{
    if (event->type() != QEvent::ToolTip)
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    QStyleOptionViewItem cell = option;
    initStyleOption(&cell, index);
    const QRect room = view->style()->subElementRect(QStyle::SE_ItemViewItemText, &cell, view);
    const int margins = 2 * (view->style()->pixelMetric(QStyle::PM_FocusFrameHMargin, &cell, view) + 1);
    const bool cut = cell.fontMetrics.horizontalAdvance(cell.text) > room.width() - margins ||
                     !view->viewport()->rect().contains(room);
    if (!m_showTips || !index.isValid() || cell.text.isEmpty() || !cut) {
        QToolTip::hideText();
        return true;
    }
    // Names such as "<Data>" would be taken for markup.
    const QString text = index.data().toString().left(longest_tip_length_in_code_units).toHtmlEscaped();
    QToolTip::showText(event->globalPos(), QStringLiteral("<p style='white-space:pre-wrap'>%1</p>").arg(text), view,
                       cell.rect);
    return true;
}

} // namespace cw
