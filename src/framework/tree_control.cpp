#include "framework/tree_control.h"

#include "platform/services.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

namespace cw {
namespace {

constexpr unsigned generation_shift = 32;

} // namespace

CTreeCtrl::CTreeCtrl() : m_items(1) {}

void CTreeCtrl::style_changed()
{
    if (m_observer)
        m_observer->tree_style_changed();
}

void CTreeCtrl::changing()
{
    if (m_observer)
        m_observer->tree_structure_changing();
}

void CTreeCtrl::clear_selection()
{
    if (!m_selected)
        return;
    m_selected = {};
    if (m_observer)
        m_observer->tree_selection_changed();
}

HTREEITEM CTreeCtrl::handle(std::uint32_t index) const noexcept
{
    if (index == none)
        return {};
    return {std::uint64_t{m_items[index].generation} << generation_shift | index};
}

std::uint32_t CTreeCtrl::index_of(HTREEITEM item) const noexcept
{
    const auto index = static_cast<std::uint32_t>(item.value);
    if (index == none || index >= m_items.size())
        return none;
    const entry& found = m_items[index];
    return found.live && found.generation == item.value >> generation_shift ? index : none;
}

bool CTreeCtrl::IsLive(HTREEITEM item) const noexcept
{
    return index_of(item) != none;
}

HTREEITEM CTreeCtrl::InsertItem(std::u16string_view text, std::optional<tree_item_images> images, HTREEITEM parent)
{
    const std::uint32_t parent_index = index_of(parent);
    if (parent && parent_index == none)
        return {};
    changing();

    // The text may be that of another item, whose entry moves when the table grows.
    std::u16string copy(text);
    std::uint32_t index = none;
    if (m_free.empty()) {
        index = static_cast<std::uint32_t>(m_items.size());
        m_items.emplace_back();
    } else {
        index = m_free.back();
        m_free.pop_back();
    }

    entry& added = m_items[index];
    entry& above = m_items[parent_index];
    added.text = std::move(copy);
    added.images = images;
    added.live = true;
    added.parent = parent_index;
    added.previous = above.last_child;
    (added.previous == none ? above.first_child : m_items[added.previous].next) = index;
    above.last_child = index;
    if (above.rows_known) {
        added.row = static_cast<std::uint32_t>(above.rows.size());
        above.rows.push_back(index);
    }
    ++m_liveCount;
    return handle(index);
}

void CTreeCtrl::retire(std::uint32_t index)
{
    const std::uint32_t next_generation = m_items[index].generation + 1;
    m_items[index] = {};
    m_items[index].generation = next_generation;
    // An entry that has used up its generations is given up.
    if (next_generation != std::numeric_limits<std::uint32_t>::max())
        m_free.push_back(index);
    --m_liveCount;
}

void CTreeCtrl::release(std::uint32_t index)
{
    std::vector<std::uint32_t> waiting{index};
    while (!waiting.empty()) {
        const std::uint32_t current = waiting.back();
        waiting.pop_back();
        for (std::uint32_t child = m_items[current].first_child; child != none; child = m_items[child].next)
            waiting.push_back(child);
        retire(current);
    }
}

void CTreeCtrl::unlink(std::uint32_t index)
{
    const entry& leaving = m_items[index];
    entry& above = m_items[leaving.parent];
    (leaving.previous == none ? above.first_child : m_items[leaving.previous].next) = leaving.next;
    (leaving.next == none ? above.last_child : m_items[leaving.next].previous) = leaving.previous;
    if (above.first_child == none)
        above.expanded = false;
    if (leaving.next == none && above.rows_known) {
        above.rows.pop_back();
    } else {
        above.rows_known = false;
        above.rows.clear();
    }
}

bool CTreeCtrl::DeleteItem(HTREEITEM item)
{
    const std::uint32_t index = index_of(item);
    if (index == none)
        return false;
    changing();
    unlink(index);
    release(index);
    if (!IsLive(m_selected))
        clear_selection();
    return true;
}

void CTreeCtrl::DeleteAllItems()
{
    changing();
    // Backwards, so that the entries are used again from the front.
    for (auto index = static_cast<std::uint32_t>(m_items.size() - 1); index != none; --index)
        if (m_items[index].live)
            retire(index);
    m_items.front() = {};
    clear_selection();
}

HTREEITEM CTreeCtrl::GetRootItem() const noexcept
{
    return handle(m_items.front().first_child);
}

HTREEITEM CTreeCtrl::GetParentItem(HTREEITEM item) const noexcept
{
    return handle(m_items[index_of(item)].parent);
}

HTREEITEM CTreeCtrl::GetChildItem(HTREEITEM item) const noexcept
{
    const std::uint32_t index = index_of(item);
    return index == none ? HTREEITEM{} : handle(m_items[index].first_child);
}

HTREEITEM CTreeCtrl::GetNextSiblingItem(HTREEITEM item) const noexcept
{
    return handle(m_items[index_of(item)].next);
}

HTREEITEM CTreeCtrl::GetPrevSiblingItem(HTREEITEM item) const noexcept
{
    return handle(m_items[index_of(item)].previous);
}

std::u16string_view CTreeCtrl::GetItemText(HTREEITEM item) const noexcept
{
    return m_items[index_of(item)].text;
}

std::optional<tree_item_images> CTreeCtrl::GetItemImages(HTREEITEM item) const noexcept
{
    return m_items[index_of(item)].images;
}

bool CTreeCtrl::IsExpanded(HTREEITEM item) const noexcept
{
    return m_items[index_of(item)].expanded;
}

void CTreeCtrl::Expand(HTREEITEM item, bool expanded)
{
    const std::uint32_t index = index_of(item);
    if (index == none || m_items[index].first_child == none || m_items[index].expanded == expanded)
        return;
    m_items[index].expanded = expanded;
    if (m_observer)
        m_observer->tree_item_expanded(item, expanded);
}

void CTreeCtrl::SelectItem(HTREEITEM item)
{
    if (item == m_selected || (item && !IsLive(item)))
        return;
    m_selected = item;
    if (m_observer)
        m_observer->tree_selection_changed();
    notify(TVN_SELCHANGEDW);
}

void CTreeCtrl::EnsureVisible(HTREEITEM item)
{
    if (!IsLive(item))
        return;
    for (HTREEITEM above = GetParentItem(item); above; above = GetParentItem(above))
        Expand(above);
    if (m_observer)
        m_observer->tree_item_wanted_visible(item);
}

void CTreeCtrl::SortChildren(HTREEITEM parent)
{
    const std::uint32_t parent_index = index_of(parent);
    if ((parent && parent_index == none) || m_items[parent_index].first_child == m_items[parent_index].last_child)
        return;
    platform::text_rules& rules = *platform::current().rules;
    std::vector<std::pair<std::string, std::uint32_t>> children;
    for (std::uint32_t child = m_items[parent_index].first_child; child != none; child = m_items[child].next)
        children.emplace_back(rules.sort_key(m_items[child].text), child);
    std::ranges::stable_sort(children, {}, [](const auto& child) -> const std::string& { return child.first; });

    changing();
    entry& above = m_items[parent_index];
    above.rows.clear();
    above.rows_known = false;
    std::uint32_t previous = none;
    for (const auto& [key, child] : children) {
        (previous == none ? above.first_child : m_items[previous].next) = child;
        m_items[child].previous = previous;
        previous = child;
    }
    m_items[previous].next = none;
    above.last_child = previous;
}

const std::vector<std::uint32_t>& CTreeCtrl::rows_of(std::uint32_t parent) const
{
    entry& above = m_items[parent];
    if (!above.rows_known) {
        above.rows.clear();
        for (std::uint32_t child = above.first_child; child != none; child = m_items[child].next) {
            m_items[child].row = static_cast<std::uint32_t>(above.rows.size());
            above.rows.push_back(child);
        }
        above.rows_known = true;
    }
    return above.rows;
}

std::size_t CTreeCtrl::GetChildCount(HTREEITEM item) const
{
    const std::uint32_t index = index_of(item);
    return item && index == none ? 0 : rows_of(index).size();
}

HTREEITEM CTreeCtrl::GetChildAt(HTREEITEM item, std::size_t row) const
{
    return row < GetChildCount(item) ? handle(rows_of(index_of(item))[row]) : HTREEITEM{};
}

std::size_t CTreeCtrl::GetRow(HTREEITEM item) const
{
    const std::uint32_t index = index_of(item);
    if (index == none)
        return 0;
    rows_of(m_items[index].parent);
    return m_items[index].row;
}

} // namespace cw
