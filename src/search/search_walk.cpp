// The walk of a search through tree, properties and records. It goes forward only, and every node that
// it passes is asked anew.

#include "app/main_frame.h"
#include "bridges/log_objects.h"
#include "log/feature_log_walk.h"

#include <algorithm>
#include <array>

namespace cw {
namespace {

constexpr std::u16string_view state_not_installed = u"not installed";
constexpr std::u16string_view state_installed = u"installed";
constexpr std::size_t property_columns = 2;

struct searched_operations {
    node_kind kind;
    std::u16string_view type;
};

// Not the operations that the node's list shows: self-registrations are looked for in the registry.
constexpr auto searched_by_kind = std::to_array<searched_operations>({
    {NODEKIND_LOG_FILE, log_operation_type::file},
    {NODEKIND_LOG_SHELL, log_operation_type::shell},
    {NODEKIND_LOG_INI, log_operation_type::ini},
    {NODEKIND_LOG_DOTNET, log_operation_type::dotnet},
    {NODEKIND_LOG_FILEREG, log_operation_type::registry},
    {NODEKIND_LOG_REGISTRY, log_operation_type::registry},
});

std::u16string_view searched_type(node_kind kind)
{
    for (const searched_operations& entry : searched_by_kind)
        if (entry.kind == kind)
            return entry.type;
    return log_operation_type::general;
}

/// Whether a text is the whole name of the state that a value looks like, whatever the value's type is.
bool is_state_name(std::u16string_view text, const VARIANT& value)
{
    switch (value.uiVal) {
    case log_state::not_installed:
        return text == state_not_installed;
    case log_state::installed:
        return text == state_installed;
    default:
        return false;
    }
}

} // namespace

bool CMainFrame::SelectMatchingRow(std::size_t first_row, std::size_t column_limit)
{
    for (std::size_t row = first_row; row < m_listCtrl.GetItemCount(); ++row)
        for (std::size_t column = 0; column < std::min(column_limit, m_listCtrl.GetColumnCount()); ++column) {
            if (!m_findMatcher.is_in(m_listCtrl.GetItemText(row, column)))
                continue;
            m_listCtrl.EnsureVisible(row);
            m_listCtrl.SelectRow(row);
            SetFocus(m_listCtrl);
            return true;
        }
    return false;
}

bool CMainFrame::SearchFeatureProperties(IFeatureLog* feature)
{
    const property_walk_end end = visit_feature_properties(
        feature,
        [this](std::size_t, std::u16string_view name, const VARIANT& value) {
            return !m_findMatcher.is_in(name) && !m_findMatcher.is_in(to_text(value)) &&
                   !is_state_name(m_findMatcher.text(), value);
        },
        [this](std::size_t, std::u16string_view title, std::u16string_view element) {
            return !m_findMatcher.is_in(title) && !m_findMatcher.is_in(element);
        });
    return end == property_walk_end::stopped ||
           (end == property_walk_end::no_properties && m_findMatcher.text() == state_not_installed);
}

bool CMainFrame::SearchOperationRecords(IOperationList* operations)
{
    bool found = false;
    string converted;
    for_each_record(operations, [&](std::size_t, operation_record& record) {
        for (std::size_t index = 0; index < record.size() && !found; ++index) {
            const std::u16string_view text = record.plain_text(index, converted);
            found = !text.empty() && m_findMatcher.is_in(text);
        }
        if (found)
            record.keep_locked();
        return !found;
    });
    return found;
}

bool CMainFrame::SearchItem(HTREEITEM item, bool& is_feature)
{
    const NavNode node = m_navNodes[item];
    const automation::com_ptr<IFeatureLog> feature = feature_log_of(node.object.get());
    is_feature = static_cast<bool>(feature);
    if (!feature)
        return false;

    if (m_findMatcher.is_in(m_treeCtrl.GetItemText(item))) {
        m_treeCtrl.SelectItem(item);
        SetFocus(m_treeCtrl);
        return true;
    }
    if (SearchFeatureProperties(feature.get())) {
        m_treeCtrl.SelectItem(item);
        if (!SelectMatchingRow(0, property_columns))
            SetFocus(m_treeCtrl);
        return true;
    }

    const std::u16string_view type = searched_type(node.kind);
    if (!SearchOperationRecords(operations_of(feature.get(), type).get()))
        return false;
    if (type != log_operation_type::general) {
        m_treeCtrl.SelectItem(item);
    } else {
        // General records are shown by a node of their own below the feature's. Without one the selection
        // stays, and with it the place that the next search goes on from.
        HTREEITEM child = m_treeCtrl.GetChildItem(item);
        while (child && m_treeCtrl.GetItemText(child) != log_operation_type::general)
            child = m_treeCtrl.GetNextSiblingItem(child);
        if (child)
            m_treeCtrl.SelectItem(child);
    }
    if (!SelectMatchingRow(0, every_column))
        SetFocus(m_treeCtrl);
    return true;
}

bool CMainFrame::SearchNode(HTREEITEM item)
{
    if (!item)
        return false;
    // Features can be nested deeper than a call stack.
    for (HTREEITEM place = item;;) {
        bool is_feature = false;
        if (SearchItem(place, is_feature))
            return true;
        HTREEITEM next = is_feature ? m_treeCtrl.GetChildItem(place) : HTREEITEM{};
        while (!next) {
            if (place == item)
                return false;
            next = m_treeCtrl.GetNextSiblingItem(place);
            if (!next)
                place = m_treeCtrl.GetParentItem(place);
        }
        place = next;
    }
}

bool CMainFrame::SearchFollowingNodes(HTREEITEM item)
{
    // What follows an item, and then what follows each of those that it lies in.
    for (; item; item = m_treeCtrl.GetParentItem(item))
        for (HTREEITEM next = m_treeCtrl.GetNextSiblingItem(item); next; next = m_treeCtrl.GetNextSiblingItem(next))
            if (SearchNode(next))
                return true;
    return false;
}

} // namespace cw
