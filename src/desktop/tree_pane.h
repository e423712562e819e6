// The left pane: a view of the framework's tree control. Changes of the control are gathered and
// shown at once when its owner says so; what the person does goes into the control.
#pragma once

#include "desktop/qt_tree_model.h"
#include "framework/tree_control.h"

#include <QTimer>
#include <QTreeView>

#include <functional>
#include <optional>

namespace cw {

/// Runs what a pane has to tell the frame under the frame's boundary.
using frame_entry = std::function<void(const std::function<void()>& work)>;

class tree_pane final : public QTreeView, private tree_observer {
public:
    /// `tree` is borrowed until `detach`.
    tree_pane(CTreeCtrl& tree, frame_entry entry, QWidget* parent = nullptr);

    /// Shows what has changed since the last time: structure, expansion, selection, the item that was
    /// wanted in view. The event loop does it where nobody else has.
    void catch_up();
    /// Lets go of the control, which may die afterwards.
    void detach();
    [[nodiscard]] qt_tree_model& model_of_tree() noexcept { return *m_model; }

protected:
    void drawBranches(QPainter* painter, const QRect& rect, const QModelIndex& index) const override;
    void focusInEvent(QFocusEvent* event) override;
    [[nodiscard]] QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex& index,
                                                                       const QEvent* event) const override;

private:
    void tree_structure_changing() override;
    void tree_selection_changed() override;
    void tree_item_expanded(HTREEITEM item, bool expanded) override;
    void tree_item_wanted_visible(HTREEITEM item) override;
    void tree_style_changed() override;

    void apply_style();
    void apply_expansion(HTREEITEM parent);
    void apply_selection();
    void apply_wanted_item();
    void person_selected();
    void person_expanded(const QModelIndex& index, bool expanded);

    CTreeCtrl* m_tree;
    frame_entry m_entry;
    qt_tree_model* m_model;
    QTimer m_fallback;
    bool m_applying = false; // the view follows the control; its signals are echoes
    bool m_selectionPending = false;
    HTREEITEM m_shownSelection;
    std::optional<HTREEITEM> m_wanted;
};

} // namespace cw
