// What writers and readers of setup media agree on: identification of a header, its tables and
// columns, the envelope of protected headers, the limits of volumes. docs/media-format.md describes
// the same in prose.
#pragma once

#include "bridges/media_interface.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace cw::formats {

// ---- identification -------------------------------------------------------------------------

/// SQLite `application_id` of a header: "CWMH".
inline constexpr std::int32_t header_application_id = 0x43574D48;
/// SQLite `user_version`: the schema. A reader refuses a higher one.
inline constexpr std::int32_t header_schema_version = 1;

// ---- protected headers ----------------------------------------------------------------------
// A protected header is this prefix, in clear, followed by the database image in chunks of
// secretstream messages. All numbers are little-endian.

inline constexpr std::array<std::uint8_t, 8> envelope_magic{'C', 'W', 'M', 'E', 'D', 'I', 'A', 0x1A};
inline constexpr std::uint32_t envelope_version = 1;

#pragma pack(push, 1)
struct envelope_prefix {
    std::uint8_t magic[8];
    std::uint32_t version;
    std::uint32_t chunk_size_in_bytes; // of clear text; each stored chunk is 17 bytes longer
    std::uint64_t operations_limit;    // Argon2id
    std::uint64_t memory_limit_in_bytes;
    std::uint64_t image_size_in_bytes; // of the clear database image
    std::uint8_t salt[16];
    std::uint8_t stream_header[24];
};
#pragma pack(pop)
static_assert(sizeof(envelope_prefix) == 80);

inline constexpr std::uint32_t envelope_chunk_size_in_bytes = 64 * 1024;
/// Limits that a reader accepts: a forged prefix must not be able to eat the machine.
inline constexpr std::uint64_t largest_operations_limit = 16;
inline constexpr std::uint64_t largest_memory_limit_in_bytes = 1024ull * 1024 * 1024;

// ---- volumes --------------------------------------------------------------------------------

inline constexpr std::uint64_t default_folder_size_in_bytes = 4ull * 1024 * 1024;
inline constexpr std::uint64_t largest_volume_size_in_bytes = 1024ull * 1024 * 1024;
inline constexpr std::uint32_t largest_volume_file_count = 60'000;
inline constexpr std::size_t largest_stored_name_in_bytes = 255;

// ---- tables ---------------------------------------------------------------------------------

/// A column that carries one member of the object model. Texts are stored as TEXT, integers as
/// INTEGER, booleans as 0 or 1. A null text is an absent one.
struct member_column {
    media_member_row member;
    std::string_view name;
};

// Single-row tables `media`, `media_settings`, `arp_info`.
inline constexpr auto media_columns = std::to_array<member_column>({
    {media::FormatVersion, "format_version"},
    {media::ProductGuid, "product_guid"},
    {media::EngineVersionHigh, "engine_version_high"},
    {media::EngineVersionLow, "engine_version_low"},
    {media::EngineBinding, "engine_binding"},
});
inline constexpr auto media_settings_columns = std::to_array<member_column>({
    {media_settings::UpdateMode, "update_mode"},
    {media_settings::MaintenanceMode, "maintenance_mode"},
    {media_settings::ProductVersion, "product_version"},
    {media_settings::ProductName, "product_name"},
    {media_settings::CompanyName, "company_name"},
    {media_settings::ExecutableFile, "executable_file"},
    {media_settings::TargetDir, "target_dir"},
});
inline constexpr auto arp_info_columns = std::to_array<member_column>({
    {media_arp_info::PublisherUrl, "publisher_url"},
    {media_arp_info::SupportContact, "support_contact"},
    {media_arp_info::SupportUrl, "support_url"},
    {media_arp_info::SupportPhone, "support_phone"},
    {media_arp_info::ReadMe, "read_me"},
    {media_arp_info::ProductUpdateUrl, "product_update_url"},
    {media_arp_info::Comments, "comments"},
    {media_arp_info::DisplayIcon, "display_icon"},
    {media_arp_info::DisableChangeButton, "disable_change_button"},
    {media_arp_info::DisableRemoveButton, "disable_remove_button"},
    {media_arp_info::CombinedButtons, "combined_buttons"},
});
inline constexpr auto feature_columns = std::to_array<member_column>({
    {media_feature::Name, "name"},
    {media_feature::Description, "description"},
    {media_feature::StatusText, "status_text"},
    {media_feature::Miscellaneous, "miscellaneous"},
    {media_feature::DisplayName, "display_name"},
    {media_feature::FtpLocation, "ftp_location"},
    {media_feature::HttpLocation, "http_location"},
    {media_feature::CdRomFolder, "cd_rom_folder"},
    {media_feature::Visible, "visible"},
    {media_feature::FileNeed, "file_need"},
    {media_feature::DataAsFiles, "data_as_files"},
    {media_feature::Encryption, "encryption"},
    {media_feature::PasswordFlags, "password_flags"},
    {media_feature::Volatile, "volatile"},
    {media_feature::ObjectName, "object_name"},
    {media_feature::Guid, "guid"},
    {media_feature::Flags, "flags"},
    {media_feature::OnInstalling, "on_installing"},
    {media_feature::OnInstalled, "on_installed"},
    {media_feature::OnUninstalling, "on_uninstalling"},
    {media_feature::OnUninstalled, "on_uninstalled"},
    {media_feature::SplitBefore, "split_before"},
    {media_feature::SplitAfter, "split_after"},
    {media_feature::SplitNotAllowed, "split_not_allowed"},
    {media_feature::SplitBeforeNotAllowed, "split_before_not_allowed"},
    {media_feature::ObjectVersion, "object_version"},
    {media_feature::ImageIndex, "image_index"},
});
inline constexpr auto component_columns = std::to_array<member_column>({
    {media_component::Name, "name"},
    {media_component::OperatingSystems, "operating_systems"},
    {media_component::Language, "language"},
    {media_component::FtpLocation, "ftp_location"},
    {media_component::HttpLocation, "http_location"},
    {media_component::Miscellaneous, "miscellaneous"},
    {media_component::PotentiallyLocked, "potentially_locked"},
    {media_component::SelfRegistering, "self_registering"},
    {media_component::Shared, "shared"},
    {media_component::Compressed, "compressed"},
    {media_component::StorageFlags, "storage_flags"},
    {media_component::Destination, "destination"},
    {media_component::Overwrite, "overwrite"},
    {media_component::Uninstall, "uninstall"},
    {media_component::DotNetAssembly, "dot_net_assembly"},
    {media_component::PlatformSuites, "platform_suites"},
    {media_component::SixtyFourBit, "sixty_four_bit"},
});
inline constexpr auto shell_folder_columns = std::to_array<member_column>({
    {media_shell_folder::Name, "name"},
    {media_shell_folder::DisplayName, "display_name"},
    {media_shell_folder::Shared, "shared"},
});
inline constexpr auto shortcut_columns = std::to_array<member_column>({
    {media_shortcut::Name, "name"},
    {media_shortcut::ShortcutText, "shortcut_text"},
    {media_shortcut::ShortcutFlags, "shortcut_flags"},
    {media_shortcut::Target, "target"},
    {media_shortcut::Parameters, "parameters"},
    {media_shortcut::StartIn, "start_in"},
    {media_shortcut::ShortcutKey, "shortcut_key"},
    {media_shortcut::ShowCommand, "show_command"},
    {media_shortcut::IconFile, "icon_file"},
    {media_shortcut::IconIndex, "icon_index"},
    {media_shortcut::ReplaceExisting, "replace_existing"},
    {media_shortcut::FolderType, "folder_type"},
    {media_shortcut::Uninstall, "uninstall"},
    {media_shortcut::PreventPinning, "prevent_pinning"},
    {media_shortcut::NoHighlightOnInstall, "no_highlight_on_install"},
    {media_shortcut::NoPinToStart, "no_pin_to_start"},
    {media_shortcut::RunAsAdministrator, "run_as_administrator"},
});
inline constexpr auto setup_type_columns = std::to_array<member_column>({{media_setup_type::Name, "name"}});
inline constexpr auto registry_set_columns = std::to_array<member_column>({{media_registry_set::Name, "name"}});
inline constexpr auto registry_key_columns = std::to_array<member_column>({
    {media_registry_key::DefaultValue, "default_value"},
    {media_registry_key::Path, "path"},
});
inline constexpr auto registry_value_columns = std::to_array<member_column>({
    {media_registry_value::ValueType, "value_type"},
    {media_registry_value::Name, "name"},
    {media_registry_value::Uninstall, "uninstall"},
});

/// A table of the header: its own columns as written in the statement that makes it, the member
/// columns that follow them, and what stands behind all columns (keys, WITHOUT ROWID).
/// Every `position` counts from 0 without gaps among rows of one parent: the n-th item of a
/// collection is one keyed look-up.
struct table {
    std::string_view name;
    std::string_view own_columns;
    std::span<const member_column> members;
    std::string_view constraints; // behind the columns, inside the parentheses
    std::string_view options;     // behind the parentheses
};

inline constexpr auto header_tables = std::to_array<table>({
    // One row. `media_id` is 16 bytes that name this media; `payload_key` is 32 bytes in a protected
    // media and null otherwise.
    {"media", "id INTEGER PRIMARY KEY CHECK (id = 1), media_id BLOB NOT NULL, payload_key BLOB", media_columns, "", ""},
    {"media_settings", "id INTEGER PRIMARY KEY CHECK (id = 1)", media_settings_columns, "", ""},
    {"arp_info", "id INTEGER PRIMARY KEY CHECK (id = 1)", arp_info_columns, "", ""},
    {"old_version", "position INTEGER PRIMARY KEY, text TEXT NOT NULL", {}, "", ""},

    // Features: `parent` is 0 at the top, otherwise the id of a feature.
    {"feature", "id INTEGER PRIMARY KEY, parent INTEGER NOT NULL, position INTEGER NOT NULL", feature_columns,
     "UNIQUE (parent, position)", ""},
    {"feature_requirement",
     "feature INTEGER NOT NULL, position INTEGER NOT NULL, required INTEGER NOT NULL",
     {},
     "PRIMARY KEY (feature, position)",
     "WITHOUT ROWID"},
    {"feature_component",
     "feature INTEGER NOT NULL, position INTEGER NOT NULL, component INTEGER NOT NULL",
     {},
     "PRIMARY KEY (feature, position)",
     "WITHOUT ROWID"},
    // A scalar property has its type in `type` and its value in `value`; an array has VT_ARRAY set
    // in `type`, its lower bound in `lower_bound`, and its elements in `feature_property_element`.
    // `value` holds texts as TEXT, integers, booleans (0, -1) and currency (ten-thousandths) as
    // INTEGER, reals and dates as REAL.
    {"feature_property",
     "feature INTEGER NOT NULL, position INTEGER NOT NULL, name TEXT, type INTEGER NOT NULL, "
     "lower_bound INTEGER NOT NULL DEFAULT 0, value",
     {},
     "PRIMARY KEY (feature, position)",
     "WITHOUT ROWID"},
    {"feature_property_element",
     "feature INTEGER NOT NULL, property INTEGER NOT NULL, position INTEGER NOT NULL, type INTEGER NOT NULL, value",
     {},
     "PRIMARY KEY (feature, property, position)",
     "WITHOUT ROWID"},

    // Components: `id` is the position plus 1. `file_count` spares the count of a million rows.
    {"component", "id INTEGER PRIMARY KEY, file_count INTEGER NOT NULL", component_columns, "", ""},
    // Files: where the bytes lie is the volume's number and the entry's index in it (from 0, in the
    // order of its directory), or, where `volume` is null, the rows of `file_part`, whose `size` is
    // that of the stored entry; the entries follow each other without a gap, and those of a sealed
    // file make one sealed stream. A file with neither has no payload. `size` is that of the clear
    // file. `date` is an automation date, in UTC. `md5` is 16 bytes.
    {"file",
     "component INTEGER NOT NULL, position INTEGER NOT NULL, name TEXT NOT NULL, size INTEGER NOT NULL, "
     "compressed_size INTEGER NOT NULL, date REAL NOT NULL, version TEXT, md5 BLOB, flags INTEGER NOT NULL DEFAULT 0, "
     "volume INTEGER, entry INTEGER",
     {},
     "PRIMARY KEY (component, position)",
     "WITHOUT ROWID"},
    {"file_part",
     "component INTEGER NOT NULL, file INTEGER NOT NULL, position INTEGER NOT NULL, volume INTEGER NOT NULL, "
     "entry INTEGER NOT NULL, size INTEGER NOT NULL",
     {},
     "PRIMARY KEY (component, file, position)",
     "WITHOUT ROWID"},
    // Volumes: number n is the file NAMEn.cab beside NAME.hdr.
    {"volume",
     "number INTEGER PRIMARY KEY, size INTEGER NOT NULL, set_id INTEGER NOT NULL, entries INTEGER NOT NULL",
     {},
     "",
     ""},

    {"setup_type", "id INTEGER PRIMARY KEY", setup_type_columns, "", ""}, // `id` is the position plus 1
    // The features of a setup type, of any depth. Those whose parent is not among them stand at the
    // top of the type, in the order of the header's features.
    {"setup_type_feature",
     "setup_type INTEGER NOT NULL, feature INTEGER NOT NULL",
     {},
     "PRIMARY KEY (setup_type, feature)",
     "WITHOUT ROWID"},

    {"shell_folder", "id INTEGER PRIMARY KEY, parent INTEGER NOT NULL, position INTEGER NOT NULL", shell_folder_columns,
     "UNIQUE (parent, position)", ""},
    {"shortcut", "folder INTEGER NOT NULL, position INTEGER NOT NULL", shortcut_columns,
     "PRIMARY KEY (folder, position)", "WITHOUT ROWID"},

    {"registry_set", "id INTEGER PRIMARY KEY", registry_set_columns, "", ""}, // `id` is the position plus 1
    {"registry_set_component",
     "registry_set INTEGER NOT NULL, position INTEGER NOT NULL, component INTEGER NOT NULL",
     {},
     "PRIMARY KEY (registry_set, position)",
     "WITHOUT ROWID"},
    // `hive` counts from 0 in the order of `registry_hives`.
    {"registry_key",
     "id INTEGER PRIMARY KEY, registry_set INTEGER NOT NULL, hive INTEGER NOT NULL, position INTEGER NOT NULL",
     registry_key_columns, "UNIQUE (registry_set, hive, position)", ""},
    // `data` as `value` of feature_property, its automation type in `data_type`.
    {"registry_value", "registry_key INTEGER NOT NULL, position INTEGER NOT NULL, data_type INTEGER NOT NULL, data",
     registry_value_columns, "PRIMARY KEY (registry_key, position)", "WITHOUT ROWID"},
});

/// Indexes for the look-ups by name.
inline constexpr auto header_indexes = std::to_array<std::string_view>({
    "CREATE INDEX component_by_name ON component (name)",
    "CREATE INDEX file_by_name ON file (component, name)",
});

/// The members of a registry set that give its hives, in the order of `registry_key.hive`.
inline constexpr auto registry_hives = std::to_array<media_member_row>({
    media_registry_set::ClassesRootKeys,
    media_registry_set::CurrentUserKeys,
    media_registry_set::LocalMachineKeys,
    media_registry_set::UsersKeys,
    media_registry_set::UserSelectableKeys,
});

/// The statement that makes a table.
[[nodiscard]] std::string create_statement(const table& definition);
/// "a, b, c" for the member columns, each behind ", ", to follow own columns in a statement.
[[nodiscard]] std::string member_column_list(std::span<const member_column> members);
/// File name of a volume: the header's file name without its ".hdr" (case ignored) plus the number
/// plus ".cab". UTF-8.
[[nodiscard]] std::string volume_file_name(std::string_view header_file_name, int number);

} // namespace cw::formats
