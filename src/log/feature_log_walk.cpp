#include "log/feature_log_walk.h"

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

property_walk_end visit_feature_properties(IFeatureLog* feature, const scalar_visitor& scalar,
                                           const element_visitor& element)
{
    std::vector<string> titles;
    locked_array names(property_names(feature), VT_BSTR);
    std::size_t index = 0;
    // The library's array may be the same one and grow all the same.
    for (; index < element_count(property_names(feature)); ++index) {
        const automation::variant value = property_value(feature, names.text(index));
        if (!(value.vt & VT_ARRAY)) {
            if (!scalar(index, names.text(index), value))
                return property_walk_end::stopped;
            continue;
        }
        const locked_array elements(array_of(value), VT_BSTR);
        if (titles.empty()) {
            for (std::size_t i = 0; i < elements.size(); ++i)
                titles.emplace_back(elements.text(i));
            continue;
        }
        for (std::size_t i = 0; i < elements.size(); ++i) {
            if (i >= titles.size())
                throw invalid_argument_exception();
            if (!element(i, titles[i], elements.text(i)))
                return property_walk_end::stopped;
        }
    }

    // The lock goes back through the array that the library names last.
    if (SAFEARRAY* const last = property_names(feature)) {
        names.keep_locked();
        SafeArrayUnaccessData(last);
    }
    return index == 0 ? property_walk_end::no_properties : property_walk_end::all_visited;
}

void walk_feature_properties(IFeatureLog* feature, const property_sink& scalar, const property_sink& element)
{
    const property_walk_end end = visit_feature_properties(
        feature,
        [&scalar](std::size_t index, std::u16string_view name, const VARIANT& value) {
            scalar(index, name, scalar_text(value));
            return true;
        },
        [&element](std::size_t index, std::u16string_view label, std::u16string_view text) {
            element(index, label, text);
            return true;
        });
    if (end == property_walk_end::no_properties)
        scalar(0, label_state, text_not_installed);
}

} // namespace cw
