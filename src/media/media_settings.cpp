// The root of the media's own settings, and what the list shows for it.

#include "media/formatting.h"
#include "media/property_rows.h"

#include <array>

namespace cw {
namespace {

constexpr std::uint32_t label_media_settings = 147;
constexpr tree_item_images root_images{1, 2};
/// Media of later formats have more to show.
constexpr std::int32_t last_short_format = 0x1007000;

enum class source { media, settings };

struct settings_row {
    source from;
    property_row row;
};

void show_product_guid(CMainFrame& frame, std::size_t row, std::uint32_t label_id, IDispatch* media)
{
    frame.AddPropertyRow(row, label_id, product_guid(media));
}

void show_engine_version(CMainFrame& frame, std::size_t row, std::uint32_t label_id, IDispatch* media)
{
    const std::int32_t high = get(media, media::EngineVersionHigh);
    const std::int32_t low = get(media, media::EngineVersionLow);
    frame.AddPropertyRow(row, label_id, FormatEngineVersion(high, low));
}

void show_old_versions(CMainFrame& frame, std::size_t row, std::uint32_t label_id, IDispatch* settings)
{
    string text;
    const std::int32_t mode = get(settings, media_settings::UpdateMode);
    if (IsUpdate(mode) && get(settings, media_settings::OldVersionCount) > 0)
        text = JoinOldVersions(get(settings, media_settings::OldVersions));
    frame.AddPropertyRow(row, label_id, text);
}

constexpr auto general_rows = std::to_array<settings_row>({
    {source::settings, {216, show_text<media_settings::ProductName>}},
    {source::settings, {218, show_text<media_settings::CompanyName>}},
    {source::settings, {217, show_text<media_settings::ProductVersion>}},
    {source::media, {219, show_product_guid}},
    {source::media, {220, show_formatted<media::FormatVersion, FormatCabinetVersion>}},
    {source::media, {221, show_engine_version}},
    {source::media, {222, show_formatted<media::EngineBinding, FormatEngineBinding>}},
    {source::settings, {229, show_formatted<media_settings::MaintenanceMode, FormatMaintenance>}},
    {source::settings, {233, show_formatted<media_settings::UpdateMode, FormatUpdateMode>}},
    {source::settings, {234, show_old_versions}},
});

constexpr auto later_rows = std::to_array<property_row>({
    {235, show_text<media_settings::TargetDir>},
    {236, show_text<media_settings::ExecutableFile>},
});

// "Change" stands before "Remove", against the order of the labels' numbers.
constexpr auto arp_rows = std::to_array<property_row>({
    {237, show_text<media_arp_info::PublisherUrl>},
    {238, show_text<media_arp_info::SupportContact>},
    {239, show_text<media_arp_info::SupportUrl>},
    {240, show_text<media_arp_info::SupportPhone>},
    {241, show_text<media_arp_info::ReadMe>},
    {242, show_text<media_arp_info::ProductUpdateUrl>},
    {243, show_text<media_arp_info::Comments>},
    {244, show_text<media_arp_info::DisplayIcon>},
    {246, show_yes_no<media_arp_info::DisableChangeButton>},
    {245, show_yes_no<media_arp_info::DisableRemoveButton>},
    {247, show_yes_no<media_arp_info::CombinedButtons>},
});

} // namespace

void CMainFrame::BuildMediaSettingsNode()
{
    if (!m_media)
        return;
    const HTREEITEM root = InsertRoot(label_media_settings, root_images);
    m_navNodes[root] = {NODEKIND_MEDIA_SETTINGS, get(m_media.get(), media::MediaSettings)};
    ShowMediaSettings(root);
}

void CMainFrame::ShowMediaSettings(HTREEITEM item)
{
    // An object that is no settings object is found out by the first row's read.
    const auto settings = automation::query_interface<IDispatch>(m_navNodes[item].object.get(), IID_IMediaSettings);
    SetListColumns(NODEKIND_MEDIA_SETTINGS);
    std::size_t row = 0;
    for (const settings_row& entry : general_rows) {
        IDispatch* const object = entry.from == source::media ? m_media.get() : settings.get();
        entry.row.add(*this, row++, entry.row.label_id, object);
    }
    if (get(m_media.get(), media::FormatVersion) <= last_short_format)
        return;
    const automation::com_ptr<IDispatch> arp_info = get(m_media.get(), media::ArpInfo);
    row = add_property_rows(*this, later_rows, settings.get(), row);
    add_property_rows(*this, arp_rows, arp_info.get(), row);
}

} // namespace cw
