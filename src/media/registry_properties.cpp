// What the list shows for a registry set and for a key with its values.

#include "foundation/resource_text.h"
#include "media/formatting.h"
#include "media/property_rows.h"

#include <array>

namespace cw {
namespace {

constexpr std::uint32_t label_yes = 150;
constexpr std::uint32_t label_no = 151;
constexpr std::uint32_t label_components = 215;
constexpr std::u16string_view default_value_name = u"(Default)";

constexpr std::size_t data_column = 1;
constexpr std::size_t uninstall_column = 2;

constexpr std::int32_t value_type_multi_string = 7;

struct value_image {
    std::int32_t value_type;
    int image;
};
constexpr auto value_images = std::to_array<value_image>({{2, 18}, {3, 19}, {4, 20}, {value_type_multi_string, 17}});
constexpr int text_image = 21; // of every other type, and of the default value

int image_of(std::int32_t value_type) noexcept
{
    for (const value_image& entry : value_images)
        if (entry.value_type == value_type)
            return entry.image;
    return text_image;
}

void show_key(CMainFrame& frame, IDispatch* key)
{
    frame.SetListColumns(NODEKIND_REGISTRY_VALUES);
    const automation::com_ptr<IDispatch> values = get(key, media_registry_key::Values);
    const string default_value = get(key, media_registry_key::DefaultValue);
    CListCtrl& list = frame.List();
    const std::size_t default_row = list.InsertItem(0, default_value_name, text_image);
    list.SetItemText(default_row, data_column, default_value);
    list.SetItemText(default_row, uninstall_column, u"");

    const string yes = resource_text(label_yes);
    const string no = resource_text(label_no);
    for_each_item(values.get(), [&](std::int32_t index, IDispatch* value) {
        const string name = get(value, media_registry_value::Name);
        string data = to_text(get(value, media_registry_value::Data));
        const bool uninstall = get(value, media_registry_value::Uninstall);
        const std::int32_t type = get(value, media_registry_value::ValueType);
        if (type == value_type_multi_string)
            data = DecodeMultiString(data);
        const std::size_t row = list.InsertItem(static_cast<std::size_t>(index), name, image_of(type));
        list.SetItemText(row, data_column, data);
        list.SetItemText(row, uninstall_column, uninstall ? yes : no);
    });
}

} // namespace

void CMainFrame::ShowRegistryNode(HTREEITEM item)
{
    m_listCtrl.DeleteAllItems();
    if (!m_treeCtrl.IsLive(item))
        return;
    IDispatch* const object = m_navNodes[item].object.get();
    const auto set = automation::query_interface<IDispatch>(object, IID_IMediaRegistrySet);
    const auto key = automation::query_interface<IDispatch>(object, IID_IMediaRegistryKey);
    if (set) {
        SetListColumns(NODEKIND_REGISTRY_KEY);
        const string names = JoinComponentNames(get(set.get(), media_registry_set::Components).get());
        // A set's one row has no icon.
        m_listCtrl.SetSmallImages(&m_spacerImages);
        AddPropertyRow(0, label_components, names);
    } else if (key) {
        show_key(*this, key.get());
    }
}

} // namespace cw
