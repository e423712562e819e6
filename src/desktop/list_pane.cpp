#include "desktop/list_pane.h"

#include "app/sort_order.h"
#include "desktop/cell_delegate.h"
#include "desktop/icons.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QScopedValueRollback>
#include <QScrollBar>

#include <algorithm>
#include <utility>

namespace cw {
namespace {

constexpr std::uint32_t LVS_EX_GRIDLINES = 0x1;
constexpr std::uint32_t LVS_EX_FULLROWSELECT = 0x20;
constexpr std::uint32_t LVS_EX_INFOTIP = 0x400;

constexpr int narrowest_column = 8;

} // namespace

list_pane::list_pane(CListCtrl& list, frame_entry entry, QWidget* parent)
    : QTableView(parent), m_list(&list), m_entry(std::move(entry)), m_model(new qt_list_model(list, this)),
      m_delegate(new cell_delegate(this))
{
    setAccessibleName(QStringLiteral("Details"));
    setEditTriggers(NoEditTriggers);
    setSelectionMode(SingleSelection);
    setTabKeyNavigation(false);
    setShowGrid(false);
    setWordWrap(false);
    setCornerButtonEnabled(false);
    setHorizontalScrollMode(ScrollPerPixel);
    setIconSize({tree_icon_size, tree_icon_size});
    setItemDelegate(m_delegate);

    QHeaderView* columns = horizontalHeader();
    columns->setAccessibleName(QStringLiteral("Columns"));
    columns->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    columns->setHighlightSections(false);
    columns->setSectionsClickable(true);
    columns->setMinimumSectionSize(narrowest_column);
    // All rows are of one height, known without asking any of them.
    QHeaderView* rows = verticalHeader();
    rows->hide();
    rows->setSectionResizeMode(QHeaderView::Fixed);
    rows->setMinimumSectionSize(1);
    apply_font();

    setModel(m_model);
    apply_style();
    apply_column_widths();

    m_fallback.setSingleShot(true);
    connect(&m_fallback, &QTimer::timeout, this, &list_pane::catch_up);
    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this, &list_pane::person_selected);
    connect(columns, &QHeaderView::sectionClicked, this, &list_pane::header_clicked);
    list.SetObserver(this);
}

void list_pane::detach()
{
    if (!m_list)
        return;
    m_fallback.stop();
    m_list->SetObserver(nullptr);
    m_list = nullptr;
    setModel(nullptr);
    delete m_model;
    m_model = nullptr;
}

void list_pane::list_changing()
{
    m_model->begin_change();
    m_fallback.start(0);
}

void list_pane::list_selection_changed()
{
    m_selectionPending = true;
    m_fallback.start(0);
}

void list_pane::list_row_wanted_visible(std::size_t row)
{
    m_wantedRow = row;
    m_fallback.start(0);
}

void list_pane::list_images_changed()
{
    viewport()->update();
}

void list_pane::list_style_changed()
{
    apply_style();
}

void list_pane::apply_style()
{
    const std::uint32_t style = m_list->extended_style();
    m_delegate->show_grid((style & LVS_EX_GRIDLINES) != 0);
    setSelectionBehavior((style & LVS_EX_FULLROWSELECT) != 0 ? SelectRows : SelectItems);
    m_delegate->show_tips((style & LVS_EX_INFOTIP) != 0);
    viewport()->update();
}

void list_pane::apply_font()
{
    const int height = cell_delegate::row_height(fontMetrics());
    verticalHeader()->setDefaultSectionSize(height);
    horizontalHeader()->setMinimumHeight(height);
}

void list_pane::changeEvent(QEvent* event)
{
    QTableView::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        apply_font();
}

void list_pane::catch_up()
{
    m_fallback.stop();
    if (!m_list)
        return;
    const bool changed = m_model->is_changing();
    if (changed) {
        const QScopedValueRollback applying(m_applying, true);
        // A sort leaves the list where it is, and the columns as wide as the person made them.
        std::vector<int> widths;
        for (int column = 0; m_sorting && column < horizontalHeader()->count(); ++column)
            widths.push_back(columnWidth(column));
        const QPoint position(horizontalScrollBar()->value(), verticalScrollBar()->value());
        m_model->end_change();
        if (m_sorting && static_cast<int>(widths.size()) == m_model->columnCount()) {
            for (int column = 0; column < m_model->columnCount(); ++column)
                setColumnWidth(column, widths[static_cast<std::size_t>(column)]);
            updateGeometries();
            horizontalScrollBar()->setValue(position.x());
            verticalScrollBar()->setValue(position.y());
        } else {
            apply_column_widths();
        }
        // Rows that are new come in their presenter's order, whatever the last list was sorted by.
        if (!m_sorting)
            horizontalHeader()->setSortIndicatorShown(false);
    }
    if (changed || m_selectionPending)
        apply_selection();
    if (const auto row = std::exchange(m_wantedRow, {}))
        scrollTo(m_model->index(static_cast<int>(*row), 0));
}

void list_pane::apply_column_widths()
{
    for (int column = 0; column < m_model->columnCount(); ++column)
        setColumnWidth(column, m_list->GetColumn(static_cast<std::size_t>(column)).width_in_pixels);
}

void list_pane::apply_selection()
{
    m_selectionPending = false;
    const std::size_t row = m_list->GetSelectedRow();
    const QScopedValueRollback applying(m_applying, true);
    if (row == CListCtrl::no_row) {
        selectionModel()->clear();
        return;
    }
    const bool auto_scroll = hasAutoScroll();
    setAutoScroll(false);
    const QModelIndex index = m_model->index(static_cast<int>(row), 0);
    selectionModel()->setCurrentIndex(index, selectionCommand(index, nullptr));
    setAutoScroll(auto_scroll);
    if (!m_sorting)
        scrollTo(index);
}

void list_pane::person_selected()
{
    if (m_applying || m_model->is_changing())
        return;
    const QItemSelection selected = selectionModel()->selection();
    const std::size_t row = selected.isEmpty() ? CListCtrl::no_row : static_cast<std::size_t>(selected.front().top());
    m_entry([this, row] { m_list->SelectRow(row); });
}

void list_pane::header_clicked(int section)
{
    const QScopedValueRollback sorting(m_sorting, true);
    const bool descending = current_sort_order().descending;
    m_entry([this, section] { m_list->ClickHeader(static_cast<std::size_t>(section)); });
    catch_up();
    if (!m_list)
        return;
    // The frame turns the direction around once it has sorted.
    const bool sorted = current_sort_order().descending != descending && m_model->rowCount() > 0;
    QHeaderView* columns = horizontalHeader();
    if (sorted)
        columns->setSortIndicator(section, descending ? Qt::DescendingOrder : Qt::AscendingOrder);
    columns->setSortIndicatorShown(sorted);
}

void list_pane::select_row_under(const QPoint& position)
{
    const QModelIndex index = indexAt(position);
    const std::size_t row = index.isValid() ? static_cast<std::size_t>(index.row()) : CListCtrl::no_row;
    if (m_list->GetSelectedRow() != row)
        m_entry([this, row] { m_list->SelectRow(row); });
}

void list_pane::mousePressEvent(QMouseEvent* event)
{
    // A click beside all rows takes the selection away.
    if (m_list && !indexAt(event->position().toPoint()).isValid())
        select_row_under(event->position().toPoint());
    QTableView::mousePressEvent(event);
}

void list_pane::contextMenuEvent(QContextMenuEvent* event)
{
    if (!m_list)
        return;
    if (event->reason() == QContextMenuEvent::Mouse) {
        select_row_under(event->pos());
        m_entry([this] { m_list->RightClick(); });
    } else {
        menu_by_key();
    }
    event->accept();
}

void list_pane::menu_by_key()
{
    if (const QModelIndex index = currentIndex(); index.isValid()) {
        const int sideways = horizontalScrollBar()->value();
        scrollTo(index);
        horizontalScrollBar()->setValue(sideways);
        // Below the row, so that it can still be read, and at its part that is in view.
        const QRect cell = visualRect(index);
        m_menuPosition = viewport()->mapToGlobal(QPoint(std::max(cell.left(), 0), cell.bottom() + 1));
    }
    m_entry([this] { m_list->RightClick(); });
    m_menuPosition.reset();
}

void list_pane::focusInEvent(QFocusEvent* event)
{
    // Not QTableView's: it would make the first row current, and an arrow key would then skip it.
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update();
}

void list_pane::keyPressEvent(QKeyEvent* event)
{
    if (!m_list)
        return;
    // Not every window system turns this key into a request for a menu, as it does with the menu key.
    if (event->key() == Qt::Key_F10 && event->modifiers() == Qt::ShiftModifier)
        return menu_by_key();
    // With Shift as well, where digits take it.
    const bool with_control = (event->modifiers() & (Qt::ControlModifier | Qt::AltModifier)) == Qt::ControlModifier;
    const int column = event->key() - Qt::Key_1;
    if (with_control && column >= 0 && column < std::min(columns_with_keys, m_model->columnCount()))
        return header_clicked(column);
    // Rows are selected as a whole, so sideways keys move the view and not a cell cursor.
    if (event->key() == Qt::Key_Left || event->key() == Qt::Key_Right) {
        const bool left = event->key() == Qt::Key_Left;
        horizontalScrollBar()->triggerAction(left ? QScrollBar::SliderSingleStepSub : QScrollBar::SliderSingleStepAdd);
        return;
    }
    QTableView::keyPressEvent(event);
}

QModelIndex list_pane::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers)
{
    // Home and End go to the first and the last row, not to the first and the last cell of a row.
    if (action == MoveHome || action == MoveEnd)
        modifiers |= Qt::ControlModifier;
    const QModelIndex index = QTableView::moveCursor(action, modifiers);
    return index.siblingAtColumn(0);
}

QItemSelectionModel::SelectionFlags list_pane::selectionCommand(const QModelIndex& index, const QEvent*) const
{
    if (!index.isValid())
        return QItemSelectionModel::NoUpdate;
    QItemSelectionModel::SelectionFlags flags = QItemSelectionModel::ClearAndSelect;
    flags.setFlag(QItemSelectionModel::Rows, selectionBehavior() == SelectRows);
    return flags;
}

} // namespace cw
