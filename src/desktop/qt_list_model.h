// Shows the framework's list control to a Qt view without copying it. Used by the list pane.
#pragma once

#include "framework/list_control.h"

#include <QAbstractTableModel>

namespace cw {

/// The first columns are sorted by Ctrl and their number.
inline constexpr int columns_with_keys = 9;

class qt_list_model final : public QAbstractTableModel {
public:
    /// `list` is borrowed.
    explicit qt_list_model(const CListCtrl& list, QObject* parent = nullptr);

    /// Rows or columns are about to change. From the first call to `end_change` the model shows
    /// nothing.
    void begin_change();
    /// Shows the control as it now stands. Does nothing where no change has begun.
    void end_change();
    [[nodiscard]] bool is_changing() const noexcept { return m_changing; }

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    [[nodiscard]] QVariant icon_of(std::size_t row) const;

    const CListCtrl& m_list;
    bool m_changing = false;
};

} // namespace cw
