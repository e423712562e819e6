// What the list shows for a feature of a log: its properties, or that it is not installed.

#include "app/main_frame.h"
#include "log/feature_log_walk.h"

namespace cw {

void CMainFrame::ShowFeatureLogProperties(HTREEITEM item)
{
    const automation::com_ptr<IFeatureLog> feature = FeatureLogOf(item);
    SetListColumns(NODEKIND_FEATURE);
    // Elements of arrays count from the top by themselves, and so stand above scalars.
    const auto add_row = [this](std::size_t row, std::u16string_view label, std::u16string_view text) {
        m_listCtrl.SetItemText(m_listCtrl.InsertItem(row, label), 1, text);
    };
    walk_feature_properties(feature.get(), add_row, add_row);
}

} // namespace cw
