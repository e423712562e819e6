#include "authoring/media_writer.h"

#include "authoring/error.h"

#include <system_error>

namespace cw::authoring {
namespace {

cell blob(std::span<const std::uint8_t> data)
{
    return formats::bytes(data.begin(), data.end());
}

cell text_or_null(const std::optional<std::string>& text)
{
    return text ? cell(*text) : cell();
}

std::int64_t number(std::uint64_t value)
{
    return static_cast<std::int64_t>(value);
}

} // namespace

media_writer::media_writer(staged_files& stage, std::string name, const media_id& id, std::string password,
                           const formats::seal_cost& cost)
    : m_stage(stage), m_fileName(std::move(name) + ".hdr"), m_id(id), m_password(std::move(password)), m_cost(cost),
      m_payloadKey(m_password.empty() ? formats::bytes() : formats::derive_payload_key(id, m_password, cost)),
      m_database(m_password.empty() ? stage.scratch(m_fileName) : std::filesystem::path()),
      m_media(make_row(formats::media_columns, {})), m_settings(make_row(formats::media_settings_columns, {})),
      m_arpInfo(make_row(formats::arp_info_columns, {}))
{
}

std::int64_t media_writer::next_position(std::size_t table, std::int64_t parent, std::int64_t second_parent)
{
    return m_positions[{static_cast<std::int64_t>(table), parent, second_parent}]++;
}

void media_writer::add_old_version(std::string text)
{
    constexpr std::size_t table = table_number("old_version");
    m_database.insert(table, {next_position(table, 0), std::move(text)});
}

std::int64_t media_writer::add_feature(std::int64_t parent, const row& members)
{
    constexpr std::size_t table = table_number("feature");
    const std::int64_t id = ++m_lastIds[table];
    m_database.insert(table, {id, parent, next_position(table, parent)}, members);
    return id;
}

void media_writer::add_feature_requirement(std::int64_t feature, std::int64_t required_feature)
{
    constexpr std::size_t table = table_number("feature_requirement");
    m_database.insert(table, {feature, next_position(table, feature), required_feature});
}

void media_writer::add_feature_component(std::int64_t feature, std::int64_t component)
{
    constexpr std::size_t table = table_number("feature_component");
    m_database.insert(table, {feature, next_position(table, feature), component});
}

void media_writer::add_feature_property(std::int64_t feature, std::optional<std::string> name, const typed_value& value)
{
    constexpr std::size_t table = table_number("feature_property");
    const std::int64_t position = next_position(table, feature);
    m_database.insert(table, {feature, position, text_or_null(name), std::int64_t{value.type},
                              std::int64_t{value.lower_bound}, value.value});
    std::int64_t index = 0;
    for (const typed_value& element : value.elements)
        m_database.insert(table_number("feature_property_element"),
                          {feature, position, index++, std::int64_t{element.type}, element.value});
}

std::int64_t media_writer::add_component(row members)
{
    // Its row is written at the end, with the number of its files.
    m_components.push_back({std::move(members)});
    return number(m_components.size());
}

void media_writer::add_file(std::int64_t component, const file_row& file)
{
    const std::int64_t position = m_components.at(static_cast<std::size_t>(component - 1)).file_count++;
    const bool whole = file.parts.size() == 1;
    m_database.insert(table_number("file"),
                      {component, position, file.name, number(file.size_in_bytes),
                       number(file.compressed_size_in_bytes), file.date, text_or_null(file.version),
                       file.md5 ? blob(*file.md5) : cell(), std::int64_t{file.flags},
                       whole ? cell(std::int64_t{file.parts[0].volume}) : cell(),
                       whole ? cell(std::int64_t{file.parts[0].entry}) : cell()});
    if (whole)
        return;
    std::int64_t index = 0;
    for (const file_part_place& part : file.parts)
        m_database.insert(table_number("file_part"), {component, position, index++, std::int64_t{part.volume},
                                                      std::int64_t{part.entry}, number(part.size_in_bytes)});
}

void media_writer::add_volume(int volume, std::uint64_t size_in_bytes, std::uint16_t set_id, std::uint32_t entries)
{
    m_database.insert(table_number("volume"),
                      {std::int64_t{volume}, number(size_in_bytes), std::int64_t{set_id}, std::int64_t{entries}});
}

std::int64_t media_writer::add_setup_type(const row& members)
{
    constexpr std::size_t table = table_number("setup_type");
    const std::int64_t id = ++m_lastIds[table];
    m_database.insert(table, {id}, members);
    return id;
}

void media_writer::add_setup_type_feature(std::int64_t setup_type, std::int64_t feature)
{
    m_database.insert(table_number("setup_type_feature"), {setup_type, feature});
}

std::int64_t media_writer::add_shell_folder(std::int64_t parent, const row& members)
{
    constexpr std::size_t table = table_number("shell_folder");
    const std::int64_t id = ++m_lastIds[table];
    m_database.insert(table, {id, parent, next_position(table, parent)}, members);
    return id;
}

void media_writer::add_shortcut(std::int64_t folder, const row& members)
{
    constexpr std::size_t table = table_number("shortcut");
    m_database.insert(table, {folder, next_position(table, folder)}, members);
}

std::int64_t media_writer::add_registry_set(const row& members)
{
    constexpr std::size_t table = table_number("registry_set");
    const std::int64_t id = ++m_lastIds[table];
    m_database.insert(table, {id}, members);
    return id;
}

void media_writer::add_registry_set_component(std::int64_t registry_set, std::int64_t component)
{
    constexpr std::size_t table = table_number("registry_set_component");
    m_database.insert(table, {registry_set, next_position(table, registry_set), component});
}

std::int64_t media_writer::add_registry_key(std::int64_t registry_set, int hive, const row& members)
{
    constexpr std::size_t table = table_number("registry_key");
    const std::int64_t id = ++m_lastIds[table];
    m_database.insert(table, {id, registry_set, std::int64_t{hive}, next_position(table, registry_set, hive)}, members);
    return id;
}

void media_writer::add_registry_value(std::int64_t registry_key, const typed_value& data, const row& members)
{
    constexpr std::size_t table = table_number("registry_value");
    m_database.insert(table, {registry_key, next_position(table, registry_key), std::int64_t{data.type}, data.value},
                      members);
}

void media_writer::finish()
{
    const std::int64_t only_row = 1;
    m_database.insert(table_number("media"), {only_row, blob(m_id), m_payloadKey.empty() ? cell() : cell(m_payloadKey)},
                      m_media);
    m_database.insert(table_number("media_settings"), {only_row}, m_settings);
    m_database.insert(table_number("arp_info"), {only_row}, m_arpInfo);
    std::int64_t id = 0;
    for (const unwritten_component& item : m_components)
        m_database.insert(table_number("component"), {++id, item.file_count}, item.members);
    m_database.finish();
    // The header is staged last, so that it also appears last, when its volumes are there.
    if (m_password.empty()) {
        std::error_code code;
        std::filesystem::rename(m_stage.scratch(m_fileName), m_stage.add(m_fileName), code);
        if (code)
            throw error("cannot write " + m_fileName + ": " + code.message());
        return;
    }
    const formats::bytes sealed = formats::seal_header(m_database.image(), m_password, m_cost);
    output_file file(m_stage.add(m_fileName), m_fileName);
    file.write(sealed);
    file.close();
}

} // namespace cw::authoring
