// What the list shows for a feature of a log: its properties, or that it is not installed.

#include "app/main_frame.h"
#include "bridges/log_objects.h"
#include "bridges/text_value.h"
#include "media/variant_arrays.h"

#include <utility>
#include <vector>

namespace cw {
namespace {

constexpr std::u16string_view label_state = u"State";
constexpr std::u16string_view text_not_installed = u"Not Installed";
constexpr std::u16string_view text_installed = u"Installed";

SAFEARRAY* property_names(IFeatureLog* feature)
{
    SAFEARRAY* names = nullptr;
    call(feature, &IFeatureLog::PropertyNames, &names);
    return names;
}

automation::variant property_value(IFeatureLog* feature, std::u16string_view name)
{
    automation::variant value;
    call(feature, &IFeatureLog::PropertyValue, text_value(name), &value);
    return value;
}

/// The state's name where the value field looks like one, whatever the type is.
string scalar_text(const VARIANT& value)
{
    string text = to_text(value);
    switch (value.uiVal) {
    case log_state::not_installed:
        text = text_not_installed;
        break;
    case log_state::installed:
        text = text_installed;
        break;
    default:
        break;
    }
    return text;
}

} // namespace

void CMainFrame::ShowFeatureLogProperties(HTREEITEM item)
{
    const automation::com_ptr<IFeatureLog> feature = FeatureLogOf(item);
    SetListColumns(NODEKIND_FEATURE);
    const auto add_row = [this](std::size_t row, std::u16string_view name, std::u16string_view value) {
        m_listCtrl.SetItemText(m_listCtrl.InsertItem(row, name), 1, value);
    };

    std::vector<string> titles;
    locked_array names(property_names(feature.get()), VT_BSTR);
    std::size_t index = 0;
    // The library's array may be the same one and grow all the same.
    for (; index < element_count(property_names(feature.get())); ++index) {
        const automation::variant value = property_value(feature.get(), names.text(index));
        if (!(value.vt & VT_ARRAY)) {
            add_row(index, names.text(index), scalar_text(value));
            continue;
        }
        const locked_array elements(array_of(value), VT_BSTR);
        if (titles.empty()) {
            for (std::size_t i = 0; i < elements.size(); ++i)
                titles.emplace_back(elements.text(i));
            continue;
        }
        // Rows of array elements count from the top by themselves, and so stand above scalars.
        for (std::size_t i = 0; i < elements.size(); ++i) {
            if (i >= titles.size())
                throw invalid_argument_exception();
            add_row(i, titles[i], elements.text(i));
        }
    }
    if (index == 0)
        add_row(0, label_state, text_not_installed);

    // The lock goes back through the array that the library names last.
    if (SAFEARRAY* const last = property_names(feature.get())) {
        names.keep_locked();
        SafeArrayUnaccessData(last);
    }
}

} // namespace cw
