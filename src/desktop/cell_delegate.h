// How both panes draw a cell: one line, no focus frame, and a tool tip where the text is cut off. The
// list has faint grid lines besides.
#pragma once

#include <QStyledItemDelegate>

namespace cw {

class cell_delegate final : public QStyledItemDelegate {
public:
    explicit cell_delegate(QObject* parent = nullptr);

    void show_tips(bool shown) noexcept { m_showTips = shown; }
    void show_grid(bool shown) noexcept { m_showGrid = shown; }
    [[nodiscard]] bool shows_grid() const noexcept { return m_showGrid; }

    /// The height of every row in a font.
    [[nodiscard]] static int row_height(const QFontMetrics& metrics);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    [[nodiscard]] QString displayText(const QVariant& value, const QLocale& locale) const override;
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;

private:
    bool m_showTips = true;
    bool m_showGrid = false;
};

} // namespace cw
