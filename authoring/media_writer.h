// Writes the header of a setup media row by row: parents before children, each collection in its
// order. `build_media` drives it from a manifest; benchmarks make big headers with it directly,
// with file rows that have no payload.
#pragma once

#include "authoring/header_database.h"
#include "authoring/staged_files.h"
#include "formats/md5.h"
#include "formats/sealed.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cw::authoring {

using media_id = std::array<std::uint8_t, 16>;

/// The value of an object feature's property or of a registry value: an automation type, and one
/// value of it, or, with VT_ARRAY in the type, elements with types of their own.
struct typed_value {
    VARTYPE type = VT_EMPTY;
    cell value;
    std::int32_t lower_bound = 0;
    std::vector<typed_value> elements;
};

struct file_part_place {
    int volume = 0;
    std::uint32_t entry = 0;
    std::uint64_t size_in_bytes = 0;
};

/// A file's row. No part means no payload.
struct file_row {
    std::string name;
    std::uint64_t size_in_bytes = 0;
    std::uint64_t compressed_size_in_bytes = 0;
    double date = 0; // automation date, UTC
    std::optional<std::string> version;
    std::optional<formats::md5_digest> md5;
    std::int32_t flags = 0;
    std::vector<file_part_place> parts;
};

class media_writer {
public:
    /// The header "NAME.hdr" is staged in `stage`, which must outlive the writer. With a password
    /// (UTF-8, empty for none) it is protected and never lies on the disk in clear. Failures of the
    /// file and of the database are an `error`.
    media_writer(staged_files& stage, std::string name, const media_id& id, std::string password = {},
                 const formats::seal_cost& cost = {});

    /// The key that payload of this media is sealed with; empty where it is not protected.
    [[nodiscard]] const formats::bytes& payload_key() const noexcept { return m_payloadKey; }

    // Members are rows of the column tables of the same name in formats/media_format.h. Each of the
    // first three is called once; what is not called is all absent members.
    void set_media(row members) { m_media = std::move(members); }
    void set_settings(row members) { m_settings = std::move(members); }
    void set_arp_info(row members) { m_arpInfo = std::move(members); }
    void add_old_version(std::string text);

    /// The feature's id; `parent` is 0 at the top.
    std::int64_t add_feature(std::int64_t parent, const row& members);
    void add_feature_requirement(std::int64_t feature, std::int64_t required_feature);
    void add_feature_component(std::int64_t feature, std::int64_t component);
    void add_feature_property(std::int64_t feature, std::optional<std::string> name, const typed_value& value);

    /// The component's id, which is its position plus 1.
    std::int64_t add_component(row members);
    void add_file(std::int64_t component, const file_row& file);

    void add_volume(int number, std::uint64_t size_in_bytes, std::uint16_t set_id, std::uint32_t entries);

    std::int64_t add_setup_type(const row& members);
    void add_setup_type_feature(std::int64_t setup_type, std::int64_t feature);

    std::int64_t add_shell_folder(std::int64_t parent, const row& members);
    void add_shortcut(std::int64_t folder, const row& members);

    std::int64_t add_registry_set(const row& members);
    void add_registry_set_component(std::int64_t registry_set, std::int64_t component);
    /// `hive` counts from 0 in the order of `formats::registry_hives`.
    std::int64_t add_registry_key(std::int64_t registry_set, int hive, const row& members);
    void add_registry_value(std::int64_t registry_key, const typed_value& data, const row& members);

    /// Completes the header; `stage` can be published then.
    void finish();

private:
    struct unwritten_component {
        row members;
        std::int64_t file_count = 0;
    };
    /// The next position in a collection, which a table and its parents' ids name.
    std::int64_t next_position(std::size_t table, std::int64_t parent, std::int64_t second_parent = 0);

    staged_files& m_stage;
    std::string m_fileName;
    media_id m_id;
    std::string m_password;
    formats::seal_cost m_cost;
    formats::bytes m_payloadKey;
    header_database m_database;
    row m_media, m_settings, m_arpInfo;
    std::vector<unwritten_component> m_components;
    std::map<std::array<std::int64_t, 3>, std::int64_t> m_positions;
    std::map<std::size_t, std::int64_t> m_lastIds;
};

} // namespace cw::authoring
