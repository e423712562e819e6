// What there is one of: the rows of the media, its settings and its Add/Remove Programs data.

#include "readers/mediaforge/report_sections.h"

#include <array>
#include <string>

namespace cw::mediaforge {
namespace {

constexpr unsigned own_columns = 1;

constexpr unsigned of_media(const media_member_row& member)
{
    return column_of(formats::media_columns, member, own_columns);
}
constexpr unsigned of_settings(const media_member_row& member)
{
    return column_of(formats::media_settings_columns, member, own_columns);
}
constexpr unsigned of_arp_info(const media_member_row& member)
{
    return column_of(formats::arp_info_columns, member, own_columns);
}

constexpr auto named_formats =
    std::to_array<value_name>({{0x100600C, u"ver60"}, {0x1007000, u"ver70"}, {0x1009500, u"ver95"}});
constexpr std::uint32_t unicode_format = 0x4000000;
constexpr std::uint32_t ansi_format = 0x2000000;

bool write_format_version(report_text& text, const storage::typed_row& row, unsigned column)
{
    const auto version = static_cast<std::int32_t>(row.integer(column, 0));
    if (version == 0)
        return false;
    for (const value_name& format : named_formats) {
        if (format.value != version)
            continue;
        text.add(format.name);
        return true;
    }
    const auto bits = static_cast<std::uint32_t>(version);
    const bool is_unicode = (bits & unicode_format) != 0;
    text.add_number(std::int64_t{static_cast<std::int32_t>(bits - (is_unicode ? unicode_format : ansi_format))});
    text.add(is_unicode ? u" (Unicode)" : u" (ANSI)");
    return true;
}

static_assert(of_media(media::EngineVersionLow) == of_media(media::EngineVersionHigh) + 1);
/// Four numbers in the halves of two columns.
bool write_engine_version(report_text& text, const storage::typed_row& row, unsigned column)
{
    const auto high = static_cast<std::int32_t>(row.integer(column, 0));
    const auto low = static_cast<std::int32_t>(row.integer(column + 1, 0));
    if (high == 0 && low == 0)
        return false;
    bool first = true;
    for (const std::int32_t word : {high, low}) {
        for (const std::int32_t half : {word >> 16, word & 0xFFFF}) {
            if (!std::exchange(first, false))
                text.add(u".");
            text.add_number(std::int64_t{half});
        }
    }
    return true;
}

constexpr auto static_binding = std::to_array<value_name>({{1, u"Static"}});
constexpr value_names engine_bindings{static_binding, u"Dynamic"};
constexpr auto named_maintenance = std::to_array<value_name>(
    {{1, u"Standard"}, {2, u"Cumulative"}, {4, u"Multi-Instance"}, {8, u"No Uninstall or Maintenance"}});
constexpr value_names maintenance_modes{named_maintenance};
constexpr auto named_updates =
    std::to_array<value_name>({{1, u"Update - Full Media"}, {3, u"Update - Differential Media"}});
constexpr value_names update_modes{named_updates, u"Update Not Supported"};

constexpr auto product_lines = std::to_array<member_line>({
    {u"Product Name", of_settings(media_settings::ProductName), write_text},
    {u"Company Name", of_settings(media_settings::CompanyName), write_text},
    {u"Product Version", of_settings(media_settings::ProductVersion), write_text},
});
constexpr auto identity_lines = std::to_array<member_line>({
    {u"Product GUID", of_media(media::ProductGuid), write_text},
});
constexpr auto version_lines = std::to_array<member_line>({
    {u"CAB Format Version", of_media(media::FormatVersion), write_format_version},
    {u"Engine Version", of_media(media::EngineVersionHigh), write_engine_version},
    {u"Engine Binding", of_media(media::EngineBinding), write_named<engine_bindings>},
});
constexpr auto settings_lines = std::to_array<member_line>({
    {u"<TARGETDIR>", of_settings(media_settings::TargetDir), write_text},
    {u"Executable File", of_settings(media_settings::ExecutableFile), write_text},
    {u"Maintenance", of_settings(media_settings::MaintenanceMode), write_named<maintenance_modes>},
    {u"Update Mode", of_settings(media_settings::UpdateMode), write_named<update_modes>},
});
constexpr auto arp_lines = std::to_array<member_line>({
    {u"Publisher/Product URL", of_arp_info(media_arp_info::PublisherUrl), write_text},
    {u"Support Contact", of_arp_info(media_arp_info::SupportContact), write_text},
    {u"Support URL", of_arp_info(media_arp_info::SupportUrl), write_text},
    {u"Support Phone Number", of_arp_info(media_arp_info::SupportPhone), write_text},
    {u"Read Me", of_arp_info(media_arp_info::ReadMe), write_text},
    {u"Product Update URL", of_arp_info(media_arp_info::ProductUpdateUrl), write_text},
    {u"Comments", of_arp_info(media_arp_info::Comments), write_text},
    {u"Display Icon", of_arp_info(media_arp_info::DisplayIcon), write_text},
});
constexpr auto arp_words = std::to_array<member_word>({
    {u"Disable Change Button", of_arp_info(media_arp_info::DisableChangeButton)},
    {u"Disable Remove Button", of_arp_info(media_arp_info::DisableRemoveButton)},
    {u"Combined Buttons", of_arp_info(media_arp_info::CombinedButtons)},
});

/// Lines of a table that has one row.
void add_only_row(report_text& text, media_store& media, std::string_view table,
                  std::span<const formats::member_column> members, std::span<const member_line> lines,
                  std::span<const member_word> words = {})
{
    const std::string name(table);
    storage::typed_row row(media.source(), table,
                           "SELECT id" + formats::member_column_list(members) + " FROM " + name + " WHERE id = 1");
    if (!row.step())
        row.contradict(u"a row is not there");
    add_lines(text, indent_of(1), row, lines);
    add_words(text, indent_of(1), u"Options", row, words);
}

void add_old_versions(report_text& text, media_store& media)
{
    storage::typed_row row(media.source(), "old_version", "SELECT position, text FROM old_version ORDER BY position");
    for (std::int64_t position = 0; row.step(); ++position) {
        if (row.integer(0) != position)
            row.contradict(u"the positions have a gap");
        begin_value(text, indent_of(1), position == 0 ? u"Old Versions to Update" : u"");
        text.add_shown(row.text(1));
        text.end_line();
    }
}

} // namespace

void compose_product(report_text& text, media_store& media)
{
    add_only_row(text, media, "media_settings", formats::media_settings_columns, product_lines);
    add_only_row(text, media, "media", formats::media_columns, identity_lines);
}

void compose_versions(report_text& text, media_store& media)
{
    add_only_row(text, media, "media", formats::media_columns, version_lines);
}

void compose_media_settings(report_text& text, media_store& media)
{
    add_only_row(text, media, "media_settings", formats::media_settings_columns, settings_lines);
    add_old_versions(text, media);
}

void compose_arp_info(report_text& text, media_store& media)
{
    add_only_row(text, media, "arp_info", formats::arp_info_columns, arp_lines, arp_words);
}

} // namespace cw::mediaforge
