// The list of the right pane as a plain model: columns, rows of texts in one growing buffer, a
// selected row, an image list. Presenters fill it, the window and the companion show it.
#pragma once

#include "framework/control_window.h"
#include "framework/gap_vector.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cw {

inline constexpr std::uint32_t NM_RCLICK = static_cast<std::uint32_t>(-5);
inline constexpr std::uint32_t HDN_ITEMCLICKW = static_cast<std::uint32_t>(-322);

struct list_column {
    std::u16string label;
    int width_in_pixels;
};

/// What a view of the control wants to know; calls come synchronously.
class list_observer {
public:
    /// Rows or columns are about to change. May come many times in a row.
    virtual void list_changing() = 0;
    virtual void list_selection_changed() = 0;
    virtual void list_row_wanted_visible(std::size_t row) = 0;
    virtual void list_images_changed() = 0;
    virtual void list_style_changed() = 0;

protected:
    ~list_observer() = default;
};

class CListCtrl : public control_window {
public:
    static constexpr std::size_t no_row = static_cast<std::size_t>(-1);

    CListCtrl() = default;

    void InsertColumn(std::size_t index, std::u16string_view label, int width_in_pixels);
    /// False where there is no such column. The cells of the column go with it; rows stay.
    bool DeleteColumn(std::size_t index);
    [[nodiscard]] std::size_t GetColumnCount() const noexcept { return m_columns.size(); }
    [[nodiscard]] const list_column& GetColumn(std::size_t index) const { return m_columns.at(index); }

    /// Inserts a row whose first cell is `text` at `row` (clamped to the count); answers its index. A
    /// run of rows is quick wherever it goes in.
    /// A row of a list without columns has no cells.
    std::size_t InsertItem(std::size_t row, std::u16string_view text, std::optional<int> image = {});
    /// False where there is no such row or column.
    bool SetItemText(std::size_t row, std::size_t column, std::u16string_view text);
    /// Empty where there is no such cell. Valid until the next change of the list.
    [[nodiscard]] std::u16string_view GetItemText(std::size_t row, std::size_t column) const noexcept;
    [[nodiscard]] std::optional<int> GetItemImage(std::size_t row) const noexcept;
    [[nodiscard]] std::size_t GetItemCount() const noexcept { return m_rowCount; }
    void DeleteAllItems();

    /// The selected row or `no_row`. `SelectRow(no_row)` clears it.
    [[nodiscard]] std::size_t GetSelectedRow() const noexcept { return m_selectedRow; }
    /// A row that is not there changes nothing.
    void SelectRow(std::size_t row);
    /// Asks the view to scroll to a row; nothing for a row that is not there.
    void EnsureVisible(std::size_t row);
    [[nodiscard]] std::size_t GetSelectedCount() const noexcept { return GetSelectedRow() == no_row ? 0 : 1; }

    /// The small image list; the frame keeps it alive. Null before the first is set.
    void SetSmallImages(const image_list* images);
    [[nodiscard]] const image_list* GetSmallImages() const noexcept { return m_smallImages; }
    void SetNormalImages(const image_list* images) noexcept { m_normalImages = images; }
    [[nodiscard]] const image_list* GetNormalImages() const noexcept { return m_normalImages; }

    /// Sorts stably by a comparison of two current row indices (negative, 0, positive). The selected
    /// row stays the same record.
    void SortItems(const std::function<int(std::size_t, std::size_t)>& compare);

    /// Bytes that rows, cells and texts take: from a thousand rows up at most 1.5 times the bytes of
    /// the texts and 16 a cell.
    [[nodiscard]] std::size_t storage_in_bytes() const noexcept;

    // Sent by the view.
    void ClickHeader(std::size_t column);
    [[nodiscard]] std::size_t GetClickedColumn() const noexcept { return m_clickedColumn; }
    void RightClick() const { notify(NM_RCLICK); }

    void SetObserver(list_observer* observer) noexcept { m_observer = observer; }

private:
    // A place in `m_texts`. Eight bytes hold texts longer than any library can allocate and more of
    // them than fit in memory.
    static constexpr unsigned start_bits = 34;
    static constexpr unsigned length_bits = 30;
    struct cell {
        std::uint64_t start : start_bits;
        std::uint64_t length : length_bits;
    };
    static constexpr std::int32_t no_image = INT32_MIN;

    void style_changed() override;
    void changing();
    [[nodiscard]] cell store_text(std::u16string_view text);
    void drop_text(const cell& dropped);
    void compact();

    std::vector<list_column> m_columns;
    std::vector<char16_t> m_texts;     // of all cells, in the order in which they came
    std::size_t m_unusedUnits = 0;     // of `m_texts`, left behind by cells that changed
    gap_vector<cell> m_cells;          // column count times row count, row by row
    gap_vector<std::int32_t> m_images; // one a row, or empty while no row has an image
    std::size_t m_rowCount = 0;
    std::size_t m_selectedRow = no_row;
    std::size_t m_clickedColumn = 0;
    const image_list* m_smallImages = nullptr;
    const image_list* m_normalImages = nullptr;
    list_observer* m_observer = nullptr;
};

} // namespace cw
