#include "framework/list_control.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <numeric>
#include <stdexcept>

namespace cw {
namespace {

/// Makes room for `added` more code units, a quarter at a time as the cells grow.
void make_room(std::vector<char16_t>& storage, std::size_t added)
{
    constexpr std::size_t smallest_growth = 16;
    const std::size_t needed = storage.size() + added;
    if (needed > storage.capacity())
        storage.reserve(std::max(needed, storage.capacity() + storage.capacity() / 4 + smallest_growth));
}

} // namespace

void CListCtrl::style_changed()
{
    if (m_observer)
        m_observer->list_style_changed();
}

void CListCtrl::changing()
{
    if (m_observer)
        m_observer->list_changing();
}

CListCtrl::cell CListCtrl::store_text(std::u16string_view text)
{
    if (text.size() >> length_bits != 0 || m_texts.size() >> start_bits != 0)
        throw std::length_error("a list's texts are too long");
    constexpr std::uint64_t start_mask = (std::uint64_t{1} << start_bits) - 1;
    constexpr std::uint64_t length_mask = (std::uint64_t{1} << length_bits) - 1;
    const std::size_t start = m_texts.size();
    // The text may be that of another cell, whose place moves when the buffer grows.
    const std::less<const char16_t*> before;
    const char16_t* own = m_texts.data();
    const bool is_own = !before(text.data(), own) && before(text.data(), own + start);
    const std::ptrdiff_t own_offset = is_own ? text.data() - own : 0;
    make_room(m_texts, text.size());
    if (is_own)
        std::copy_n(m_texts.begin() + own_offset, text.size(), std::back_inserter(m_texts));
    else
        m_texts.insert(m_texts.end(), text.begin(), text.end());
    return {start & start_mask, text.size() & length_mask};
}

void CListCtrl::drop_text(const cell& dropped)
{
    m_unusedUnits += dropped.length;
}

/// Closes the gaps once they are an eighth of what is used.
void CListCtrl::compact()
{
    constexpr std::size_t worth_the_work = 1024;
    const std::size_t used = m_texts.size() - m_unusedUnits;
    if (m_unusedUnits < worth_the_work || m_unusedUnits < used / 8)
        return;
    std::vector<char16_t> packed;
    packed.reserve(used + used / 8);
    constexpr std::uint64_t start_mask = (std::uint64_t{1} << start_bits) - 1;
    for (cell& kept : m_cells.elements()) {
        const auto first = m_texts.begin() + static_cast<std::ptrdiff_t>(kept.start);
        kept.start = packed.size() & start_mask;
        packed.insert(packed.end(), first, first + static_cast<std::ptrdiff_t>(kept.length));
    }
    m_texts = std::move(packed);
    m_unusedUnits = 0;
}

void CListCtrl::InsertColumn(std::size_t index, std::u16string_view label, int width_in_pixels)
{
    changing();
    const std::size_t before = m_columns.size();
    index = std::min(index, before);
    m_columns.insert(m_columns.begin() + static_cast<std::ptrdiff_t>(index), {std::u16string(label), width_in_pixels});
    if (m_rowCount == 0)
        return;
    const std::span<const cell> cells = m_cells.elements();
    gap_vector<cell> widened;
    widened.reserve(m_rowCount * m_columns.size());
    for (std::size_t row = 0; row < m_rowCount; ++row) {
        const std::span<const cell> narrow = cells.subspan(row * before, before);
        widened.append(narrow.first(index));
        widened.push_back({});
        widened.append(narrow.subspan(index));
    }
    m_cells = std::move(widened);
}

bool CListCtrl::DeleteColumn(std::size_t index)
{
    const std::size_t before = m_columns.size();
    if (index >= before)
        return false;
    changing();
    m_columns.erase(m_columns.begin() + static_cast<std::ptrdiff_t>(index));
    gap_vector<cell> narrowed;
    narrowed.reserve(m_rowCount * m_columns.size());
    for (std::size_t place = 0; place < m_cells.size(); ++place)
        if (place % before == index)
            drop_text(m_cells[place]);
        else
            narrowed.push_back(m_cells[place]);
    m_cells = std::move(narrowed);
    compact();
    return true;
}

std::size_t CListCtrl::InsertItem(std::size_t row, std::u16string_view text, std::optional<int> image)
{
    changing();
    row = std::min(row, m_rowCount);
    if (image && m_images.empty()) {
        m_images.reserve(m_rowCount + 1);
        m_images.insert(0, m_rowCount, no_image);
    }
    if (!m_columns.empty()) {
        const cell first = store_text(text);
        const std::size_t place = row * m_columns.size();
        m_cells.insert(place, m_columns.size(), {});
        m_cells[place] = first;
    }
    if (image || !m_images.empty())
        m_images.insert(row, 1, image.value_or(no_image));
    ++m_rowCount;
    if (m_selectedRow != no_row && row <= m_selectedRow)
        ++m_selectedRow;
    return row;
}

bool CListCtrl::SetItemText(std::size_t row, std::size_t column, std::u16string_view text)
{
    if (row >= m_rowCount || column >= m_columns.size())
        return false;
    changing();
    const std::size_t place = row * m_columns.size() + column;
    const cell stored = store_text(text);
    drop_text(m_cells[place]);
    m_cells[place] = stored;
    compact();
    return true;
}

std::u16string_view CListCtrl::GetItemText(std::size_t row, std::size_t column) const noexcept
{
    if (row >= m_rowCount || column >= m_columns.size())
        return {};
    const cell& found = m_cells[row * m_columns.size() + column];
    return {m_texts.data() + found.start, found.length};
}

std::optional<int> CListCtrl::GetItemImage(std::size_t row) const noexcept
{
    if (row >= m_images.size() || m_images[row] == no_image)
        return {};
    return m_images[row];
}

void CListCtrl::DeleteAllItems()
{
    changing();
    // The memory of a long list goes with it.
    std::vector<char16_t>().swap(m_texts);
    m_cells = {};
    m_images = {};
    m_unusedUnits = 0;
    m_rowCount = 0;
    SelectRow(no_row);
}

void CListCtrl::SelectRow(std::size_t row)
{
    if (row == m_selectedRow || (row != no_row && row >= m_rowCount))
        return;
    m_selectedRow = row;
    if (m_observer)
        m_observer->list_selection_changed();
}

void CListCtrl::EnsureVisible(std::size_t row)
{
    if (row < m_rowCount && m_observer)
        m_observer->list_row_wanted_visible(row);
}

void CListCtrl::SetSmallImages(const image_list* images)
{
    if (images == m_smallImages)
        return;
    m_smallImages = images;
    if (m_observer)
        m_observer->list_images_changed();
}

void CListCtrl::SortItems(const std::function<int(std::size_t, std::size_t)>& compare)
{
    std::vector<std::size_t> order(m_rowCount);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::ranges::stable_sort(order, [&](std::size_t a, std::size_t b) { return compare(a, b) < 0; });

    changing();
    gap_vector<cell> cells;
    cells.reserve(m_cells.size());
    gap_vector<std::int32_t> images;
    images.reserve(m_images.size());
    const std::span<const cell> unsorted = m_cells.elements();
    for (const std::size_t row : order) {
        cells.append(unsorted.subspan(row * m_columns.size(), m_columns.size()));
        if (!m_images.empty())
            images.push_back(m_images[row]);
    }
    m_cells = std::move(cells);
    m_images = std::move(images);
    if (m_selectedRow != no_row)
        m_selectedRow = static_cast<std::size_t>(std::ranges::find(order, m_selectedRow) - order.begin());
}

std::size_t CListCtrl::storage_in_bytes() const noexcept
{
    return m_texts.capacity() * sizeof(char16_t) + m_cells.size_in_bytes() + m_images.size_in_bytes();
}

void CListCtrl::ClickHeader(std::size_t column)
{
    constexpr std::uint32_t header_control_id = 0;
    m_clickedColumn = column;
    notify_from(header_control_id, HDN_ITEMCLICKW);
}

} // namespace cw
