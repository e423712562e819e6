#include "desktop/tree_pane.h"

#include "desktop/cell_delegate.h"
#include "desktop/icons.h"

#include <QHeaderView>
#include <QPainter>
#include <QScopedValueRollback>

namespace cw {
namespace {

constexpr std::uint32_t TVS_HASBUTTONS = 0x1;
constexpr std::uint32_t TVS_HASLINES = 0x2;
constexpr std::uint32_t TVS_LINESATROOT = 0x4;

} // namespace

tree_pane::tree_pane(CTreeCtrl& tree, frame_entry entry, QWidget* parent)
    : QTreeView(parent), m_tree(&tree), m_entry(std::move(entry)), m_model(new qt_tree_model(tree, this))
{
    setAccessibleName(QStringLiteral("Contents"));
    setHeaderHidden(true);
    setUniformRowHeights(true);
    setEditTriggers(NoEditTriggers);
    setSelectionMode(SingleSelection);
    setTabKeyNavigation(false);
    setIconSize({tree_icon_size, tree_icon_size});
    setItemDelegate(new cell_delegate(this));
    setModel(m_model);
    apply_style();

    m_fallback.setSingleShot(true);
    connect(&m_fallback, &QTimer::timeout, this, &tree_pane::catch_up);
    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this, &tree_pane::person_selected);
    connect(this, &QTreeView::expanded, this, [this](const QModelIndex& index) { person_expanded(index, true); });
    connect(this, &QTreeView::collapsed, this, [this](const QModelIndex& index) { person_expanded(index, false); });
    tree.SetObserver(this);
}

void tree_pane::detach()
{
    if (!m_tree)
        return;
    m_fallback.stop();
    m_tree->SetObserver(nullptr);
    m_tree = nullptr;
    setModel(nullptr);
    delete m_model;
    m_model = nullptr;
}

void tree_pane::tree_structure_changing()
{
    m_model->begin_change();
    m_fallback.start(0);
}

void tree_pane::tree_selection_changed()
{
    m_selectionPending = true;
    m_fallback.start(0);
}

void tree_pane::tree_item_expanded(HTREEITEM item, bool expanded)
{
    // After a change of structure all expansion is taken from the control anyway.
    if (m_applying || m_model->is_changing())
        return;
    const QScopedValueRollback applying(m_applying, true);
    setExpanded(m_model->index_of(item), expanded);
    if (expanded)
        apply_expansion(item);
}

void tree_pane::tree_item_wanted_visible(HTREEITEM item)
{
    m_wanted = item;
    m_fallback.start(0);
}

void tree_pane::tree_style_changed()
{
    apply_style();
}

void tree_pane::apply_style()
{
    const std::uint32_t style = m_tree->style();
    setRootIsDecorated((style & TVS_LINESATROOT) != 0);
    setItemsExpandable((style & TVS_HASBUTTONS) != 0);
    viewport()->update();
}

void tree_pane::catch_up()
{
    if (!m_tree)
        return;
    if (m_applying) {
        m_fallback.start(0);
        return;
    }
    m_fallback.stop();
    const bool changed = m_model->is_changing();
    {
        const QScopedValueRollback applying(m_applying, true);
        m_model->end_change();
        if (changed)
            apply_expansion({});
    }
    if (changed || m_selectionPending)
        apply_selection();
    apply_wanted_item();
}

void tree_pane::apply_expansion(HTREEITEM parent)
{
    // Items below a collapsed one keep their state in the control until they come into view, so the
    // cost is that of what is shown.
    HTREEITEM item = parent ? m_tree->GetChildItem(parent) : m_tree->GetRootItem();
    for (; item; item = m_tree->GetNextSiblingItem(item)) {
        if (!m_tree->IsExpanded(item))
            continue;
        expand(m_model->index_of(item));
        apply_expansion(item);
    }
}

void tree_pane::apply_selection()
{
    m_selectionPending = false;
    const HTREEITEM before = std::exchange(m_shownSelection, m_tree->GetSelectedItem());
    const QModelIndex index = m_model->index_of(m_shownSelection);
    const bool auto_scroll = hasAutoScroll();
    {
        const QScopedValueRollback applying(m_applying, true);
        setAutoScroll(false);
        if (index.isValid())
            selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect);
        else
            selectionModel()->clear();
        setAutoScroll(auto_scroll);
    }
    m_model->selection_moved(before, m_shownSelection);
    // Brings the item into view and, as a person would have to, opens what it lies in.
    if (index.isValid())
        scrollTo(index);
}

void tree_pane::apply_wanted_item()
{
    if (!m_wanted)
        return;
    const QModelIndex index = m_model->index_of(*m_wanted);
    m_wanted.reset();
    if (index.isValid())
        scrollTo(index);
}

void tree_pane::person_selected()
{
    if (m_applying || m_model->is_changing())
        return;
    const QModelIndexList selected = selectionModel()->selectedIndexes();
    const HTREEITEM item = selected.isEmpty() ? HTREEITEM{} : qt_tree_model::item_of(selected.front());
    m_entry([this, item] { m_tree->SelectItem(item); });
}

void tree_pane::person_expanded(const QModelIndex& index, bool expanded)
{
    if (m_applying || m_model->is_changing())
        return;
    const QScopedValueRollback applying(m_applying, true);
    const HTREEITEM item = qt_tree_model::item_of(index);
    m_entry([this, item, expanded] { m_tree->Expand(item, expanded); });
    if (expanded)
        apply_expansion(item);
}

QItemSelectionModel::SelectionFlags tree_pane::selectionCommand(const QModelIndex& index, const QEvent*) const
{
    // One item is selected whatever keys are held: Ctrl would otherwise take the selection away.
    return index.isValid() ? QItemSelectionModel::ClearAndSelect : QItemSelectionModel::NoUpdate;
}

void tree_pane::focusInEvent(QFocusEvent* event)
{
    // Not QTreeView's: it would make the first item current, and an arrow key would then skip it.
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update();
}

void tree_pane::drawBranches(QPainter* painter, const QRect& rect, const QModelIndex& index) const
{
    if (m_tree && (m_tree->style() & TVS_HASLINES) != 0) {
        QColor line = palette().color(QPalette::Text);
        line.setAlphaF(0.25f);
        const bool has_button = itemsExpandable() && m_model->hasChildren(index);
        const int gap = has_button ? indentation() / 3 : 0;
        int x = rect.right() + 1 - indentation() / 2;
        const int middle = rect.center().y();
        const QRect row = rect;
        HTREEITEM item = qt_tree_model::item_of(index);
        const auto down = [&](int left, int from, int to) { painter->fillRect(left, from, 1, to - from, line); };

        const bool at_root = !m_tree->GetParentItem(item);
        if (x >= rect.left()) {
            if (!at_root || item != m_tree->GetRootItem())
                down(x, row.top(), middle - gap);
            if (m_tree->GetNextSiblingItem(item))
                down(x, middle + gap, row.bottom() + 1);
            painter->fillRect(x + gap, middle, indentation() / 2 - gap, 1, line);
        }
        for (item = m_tree->GetParentItem(item); item; item = m_tree->GetParentItem(item)) {
            x -= indentation();
            if (x >= rect.left() && m_tree->GetNextSiblingItem(item))
                down(x, row.top(), row.bottom() + 1);
        }
    }
    QTreeView::drawBranches(painter, rect, index);
}

} // namespace cw
