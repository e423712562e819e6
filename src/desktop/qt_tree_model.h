// Shows the framework's tree control to a Qt view without copying it: an index carries the item's
// handle, everything else is asked of the control. Used by the tree pane.
#pragma once

#include "framework/tree_control.h"

#include <QAbstractItemModel>

namespace cw {

class qt_tree_model final : public QAbstractItemModel {
public:
    /// `tree` is borrowed.
    explicit qt_tree_model(const CTreeCtrl& tree, QObject* parent = nullptr);

    /// The structure is about to change. From the first call to `end_change` the model shows nothing.
    void begin_change();
    /// Shows the control as it now stands. Does nothing where no change has begun.
    void end_change();
    [[nodiscard]] bool is_changing() const noexcept { return m_changing; }

    /// Invalid for a null or dead handle.
    [[nodiscard]] QModelIndex index_of(HTREEITEM item) const;
    /// Null for an invalid index.
    [[nodiscard]] static HTREEITEM item_of(const QModelIndex& index) noexcept;
    /// The pictures of the items depend on which one is selected.
    void selection_moved(HTREEITEM from, HTREEITEM to);

    [[nodiscard]] QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    [[nodiscard]] QModelIndex parent(const QModelIndex& child) const override;
    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] bool hasChildren(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;

private:
    const CTreeCtrl& m_tree;
    bool m_changing = false;
};

} // namespace cw
