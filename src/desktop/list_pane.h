// The right pane: a view of the framework's list control. Changes of the control are gathered and
// shown at once when its owner says so; what the person does goes into the control.
#pragma once

#include "desktop/qt_list_model.h"
#include "desktop/tree_pane.h"
#include "framework/list_control.h"

#include <QTableView>
#include <QTimer>

#include <vector>

namespace cw {

class cell_delegate;

class list_pane final : public QTableView, private list_observer {
public:
    /// `list` is borrowed until `detach`.
    list_pane(CListCtrl& list, frame_entry entry, QWidget* parent = nullptr);

    /// Shows what has changed since the last time: rows, columns, selection. The event loop does it
    /// where nobody else has.
    void catch_up();
    /// Lets go of the control, which may die afterwards.
    void detach();
    [[nodiscard]] qt_list_model& model_of_list() noexcept { return *m_model; }
    /// Where a menu that was asked for from the keyboard belongs, in screen coordinates; empty while
    /// no such request is being dealt with.
    [[nodiscard]] std::optional<QPoint> keyboard_menu_position() const noexcept { return m_menuPosition; }

protected:
    void changeEvent(QEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    [[nodiscard]] QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    [[nodiscard]] QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex& index,
                                                                       const QEvent* event) const override;

private:
    void list_changing() override;
    void list_selection_changed() override;
    void list_row_wanted_visible(std::size_t row) override;
    void list_images_changed() override;
    void list_style_changed() override;

    void apply_style();
    void apply_font();
    void apply_selection();
    void apply_column_widths();
    void person_selected();
    void header_clicked(int section);
    /// The list's context menu for the current row, asked for by a key.
    void menu_by_key();
    void select_row_under(const QPoint& position);

    CListCtrl* m_list;
    frame_entry m_entry;
    qt_list_model* m_model;
    cell_delegate* m_delegate;
    QTimer m_fallback;
    bool m_applying = false; // the view follows the control; its signals are echoes
    bool m_selectionPending = false;
    std::optional<std::size_t> m_wantedRow;
    bool m_sorting = false;
    std::optional<QPoint> m_menuPosition;
};

} // namespace cw
