#include "desktop/cell_delegate.h"

#include "desktop/icons.h"
#include "desktop/qt_text.h"

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

// A tip that fits on every screen. Nobody reads more than that while holding the mouse still.
constexpr qsizetype longest_tip_in_code_units = 2000;
constexpr int most_lines_of_tip = 20;
constexpr int longest_word_of_tip = 60;

constexpr int space_around_text_in_pixels = 6; // above and below together
constexpr float grid_opacity = 0.12f;

/// Markup that shows a text as it stands: without it, names such as "<Data>" would be taken for markup
/// themselves, and nothing would wrap.
QString tip_of(const QString& text)
{
    QString shown;
    int lines = 1;
    int word = 0;
    for (const QChar character : text) {
        if (shown.size() >= longest_tip_in_code_units || (character == u'\n' && ++lines > most_lines_of_tip)) {
            shown += u'\u2026';
            break;
        }
        word = character.isSpace() ? 0 : word + 1;
        // Paths and keys have no blanks to wrap at: an invisible one lets them.
        if (word > longest_word_of_tip && !character.isLowSurrogate() && !character.isMark()) {
            shown += u'\u200B';
            word = 1;
        }
        const bool is_control = character.category() == QChar::Other_Control;
        shown += is_control && character != u'\n' && character != u'\t' ? QChar(u' ') : character;
    }
    return QStringLiteral("<p style='white-space:pre-wrap'>%1</p>").arg(shown.toHtmlEscaped());
}

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
    return one_line_of(value.toString().left(longest_drawn_length_in_code_units));
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
    const QSize needed(cell.fontMetrics.horizontalAdvance(cell.text) + margins, room.height());
    const QRect text = QStyle::alignedRect(cell.direction, Qt::AlignLeft | Qt::AlignVCenter, needed, room);
    const bool cut = needed.width() > room.width() || !view->viewport()->rect().contains(text);
    if (!m_showTips || !index.isValid() || cell.text.isEmpty() || !cut) {
        QToolTip::hideText();
        return true;
    }
    QToolTip::showText(event->globalPos(), tip_of(index.data().toString()), view, cell.rect);
    return true;
}

} // namespace cw
