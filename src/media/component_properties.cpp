// What the list shows for a component. The component is looked up by the tree item's text, so two
// components of one name show the same rows.

#include "foundation/resource_text.h"
#include "media/formatting.h"
#include "media/property_rows.h"

#include <array>

namespace cw {
namespace {

constexpr std::uint32_t label_files = 145;

constexpr auto component_rows = std::to_array<property_row>({
    {157, show_text<media_component::Name>},
    {185, show_yes_no<media_component::Shared>},
    {186, show_yes_no<media_component::Uninstall>},
    {187, show_yes_no<media_component::SelfRegistering>},
    {188, show_yes_no<media_component::PotentiallyLocked>},
    {189, show_yes_no<media_component::Compressed>},
    {190, show_bit<media_component::StorageFlags, 1>},
    {162, show_bit<media_component::StorageFlags, 3>},
    {191, show_yes_no<media_component::DotNetAssembly>},
    {192, show_text<media_component::OperatingSystems>},
    {193, show_decimal<media_component::PlatformSuites>},
    {194, show_formatted<media_component::Language, FormatLanguage>},
    {169, show_text<media_component::FtpLocation>},
    {170, show_text<media_component::HttpLocation>},
    {171, show_text<media_component::Miscellaneous>},
    {195, show_formatted<media_component::Overwrite, FormatOverwrite>},
    {196, show_text<media_component::Destination>},
    {283, show_yes_no<media_component::SixtyFourBit>},
});

} // namespace

bool CMainFrame::IsFilesItem(HTREEITEM item) const
{
    static const string files_label = [] {
        const string label = resource_text(label_files);
        return label;
    }();
    return string(m_treeCtrl.GetItemText(item)).equals_no_case(files_label);
}

automation::com_ptr<IDispatch> CMainFrame::FindComponent(std::u16string_view name)
{
    const automation::com_ptr<IDispatch> components = get(m_media.get(), media::Components);
    try {
        return collection_item(components.get(), name);
    } catch (...) {
        // A name that the library does not know ends the presenter without a word.
        return {};
    }
}

void CMainFrame::ShowComponent(HTREEITEM item)
{
    if (!item)
        return;
    if (IsFilesItem(item)) {
        ShowComponentFiles(item);
        return;
    }
    const automation::com_ptr<IDispatch> component = FindComponent(m_treeCtrl.GetItemText(item));
    if (!component)
        return;
    SetListColumns(NODEKIND_COMPONENT);
    add_property_rows(*this, component_rows, component.get());
}

} // namespace cw
