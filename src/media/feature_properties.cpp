// What the list shows for a feature: standard rows, or for an object feature its own properties.

#include "foundation/exceptions.h"
#include "foundation/resource_text.h"
#include "media/formatting.h"
#include "media/property_rows.h"
#include "media/variant_arrays.h"

#include <array>
#include <vector>

namespace cw {
namespace {

constexpr std::uint32_t label_true = 155;
constexpr std::uint32_t label_false = 156;
constexpr std::int32_t object_feature_flags = 3;

constexpr auto standard_rows = std::to_array<property_row>({
    {157, show_text<media_feature::Name>},
    {158, show_text<media_feature::Description>},
    {159, show_text<media_feature::StatusText>},
    {160, show_text<media_feature::DisplayName>},
    {161, show_yes_no<media_feature::Visible>},
    {162, show_yes_no<media_feature::DataAsFiles>},
    {166, show_formatted<media_feature::FileNeed, FormatFileNeed>},
    {167, show_yes_no<media_feature::Encryption>},
    {168, show_text<media_feature::CdRomFolder>},
    {169, show_text<media_feature::FtpLocation>},
    {170, show_text<media_feature::HttpLocation>},
    {171, show_text<media_feature::Miscellaneous>},
    {172, show_joined<media_feature::RequiredFeatures, JoinFeatureNames>},
    {173, show_joined<media_feature::IncludedComponents, JoinComponentNames>},
    {174, show_bit<media_feature::PasswordFlags, 0>},
    {152, show_text<media_feature::Guid>},
    {175, show_text<media_feature::OnInstalling>},
    {176, show_text<media_feature::OnInstalled>},
    {177, show_text<media_feature::OnUninstalling>},
    {178, show_text<media_feature::OnUninstalled>},
    {179, show_yes_no<media_feature::Volatile>},
    {180, show_yes_no<media_feature::SplitBefore>},
    {181, show_yes_no<media_feature::SplitAfter>},
    {182, show_yes_no<media_feature::SplitNotAllowed>},
    {183, show_yes_no<media_feature::SplitBeforeNotAllowed>},
    {184, show_decimal<media_feature::ImageIndex>},
});

constexpr auto object_rows = std::to_array<property_row>({
    {152, show_text<media_feature::Guid>},
    {153, show_text<media_feature::ObjectName>},
    {154, show_text<media_feature::ObjectVersion>},
});

string scalar_text(const VARIANT& value)
{
    if (value.vt != VT_BOOL)
        return to_text(value);
    return resource_text(value.boolVal != VARIANT_FALSE ? label_true : label_false);
}

/// Copies element `index` of the first dimension; further dimensions stay at their lower bounds.
/// False where the array has elements of another type than its value says.
bool get_element(SAFEARRAY* array, VARTYPE type, LONG index, void* element)
{
    VARTYPE stored_type = VT_EMPTY;
    if (FAILED(SafeArrayGetVartype(array, &stored_type)) || stored_type != type)
        return false;
    std::vector<LONG> indices(SafeArrayGetDim(array));
    for (UINT dimension = 1; dimension <= indices.size(); ++dimension)
        if (FAILED(SafeArrayGetLBound(array, dimension, &indices[dimension - 1])))
            return false;
    indices.front() = index;
    return SUCCEEDED(SafeArrayGetElement(array, indices.data(), element));
}

/// What an element shows. An element type without a rule leaves the text of the element before it.
void update_element_text(string& text, const VARIANT& value, LONG index)
{
    automation::variant element;
    switch (value.vt & ~VT_ARRAY) {
    case VT_I4:
        if (get_element(value.parray, VT_I4, index, &element.lVal))
            text = to_text(element.lVal);
        break;
    case VT_BSTR:
        if (get_element(value.parray, VT_BSTR, index, &element.bstrVal)) {
            element.vt = VT_BSTR;
            text = to_text(element);
        }
        break;
    default:
        break;
    }
}

std::size_t add_array_rows(CMainFrame& frame, std::size_t row, IDispatch* property, const VARIANT& value)
{
    SAFEARRAY* const array = array_of(value);
    LONG lower = 0;
    LONG upper = -1;
    if (FAILED(SafeArrayGetLBound(array, 1, &lower)) || FAILED(SafeArrayGetUBound(array, 1, &upper)))
        return row;
    string text;
    for (std::int64_t index = lower; index <= upper; ++index) {
        const auto element_index = static_cast<LONG>(index);
        string label = get(property, media_feature_property::Name);
        label.append(u"(").append(to_text(element_index).view()).append(u")");
        update_element_text(text, value, element_index);
        frame.AddPropertyRow(row++, label, text);
    }
    return row;
}

void add_object_properties(CMainFrame& frame, std::size_t row, IDispatch* properties)
{
    for_each_item(properties, [&](std::int32_t, IDispatch* property) {
        automation::variant value;
        const HRESULT copied = get(property, media_feature_property::Value).copy_to(value);
        if (FAILED(copied))
            raise_com_error(copied);
        if (value.vt & VT_ARRAY) {
            row = add_array_rows(frame, row, property, value);
            return;
        }
        const string text = scalar_text(value);
        frame.AddPropertyRow(row++, get(property, media_feature_property::Name), text);
    });
}

} // namespace

void CMainFrame::ShowFeature(HTREEITEM item)
{
    const auto feature = automation::query_interface<IDispatch>(m_navNodes[item].object.get(), IID_IMediaFeature);
    if (!feature)
        return;
    SetListColumns(NODEKIND_FEATURE);
    if ((get(feature.get(), media_feature::Flags) & object_feature_flags) == 0) {
        add_property_rows(*this, standard_rows, feature.get());
        return;
    }
    add_property_rows(*this, object_rows, feature.get());
    if (const auto properties = get(feature.get(), media_feature::ObjectProperties))
        add_object_properties(*this, object_rows.size(), properties.get());
}

} // namespace cw
