#include "authoring/build_media.h"

#include "authoring/json_node.h"
#include "authoring/manifest.h"
#include "authoring/stored_names.h"

#include <sodium.h>

#include <bit>
#include <new>
#include <system_error>

namespace cw::authoring {
namespace {

namespace fs = std::filesystem;
// Leaves room for a number and an extension in a file name of 255 bytes.
constexpr std::size_t longest_name_in_bytes = 200;

std::string checked_name(const std::string& name)
{
    const bool harmless = is_utf8(name) && name.find_first_of(std::string_view("/\\\0", 3)) == std::string::npos &&
                          std::none_of(name.begin(), name.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; });
    if (name.empty() || name.size() > longest_name_in_bytes || name.front() == '.' || !harmless)
        throw error("no name for a media: \"" + name.substr(0, longest_name_in_bytes) + "\"");
    return name;
}

/// Names the media by all that it is made of, the contents of its files aside.
media_id identify(const manifest& plan, const std::string& name, const cabinet_options& options)
{
    if (sodium_init() < 0)
        throw error("the encryption library cannot start");
    crypto_generichash_state state;
    media_id id;
    crypto_generichash_init(&state, nullptr, 0, id.size());
    const auto add_number = [&](std::uint64_t value) {
        crypto_generichash_update(&state, reinterpret_cast<const std::uint8_t*>(&value), sizeof value);
    };
    const auto add_text = [&](const std::string& text) {
        add_number(text.size());
        crypto_generichash_update(&state, reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    };
    add_text(name);
    add_text(plan.text);
    for (const std::uint64_t number :
         {options.folder_size_in_bytes, options.volume_size_in_bytes, std::uint64_t{options.files_per_volume}})
        add_number(number);
    for (const manifest_component& component : plan.components) {
        add_number(component.files.size());
        for (const source_file& file : component.files) {
            add_text(file.name);
            add_number(file.size_in_bytes);
            add_number(std::bit_cast<std::uint64_t>(file.date));
        }
    }
    crypto_generichash_final(&state, id.data(), id.size());
    return id;
}

std::string text_of(const row& members, std::span<const formats::member_column> columns, std::u16string_view name)
{
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (columns[i].member.name == name && std::holds_alternative<std::string>(members[i]))
            return std::get<std::string>(members[i]);
    }
    return {};
}

void write_model(const manifest& plan, media_writer& media)
{
    media.set_media(plan.media);
    media.set_settings(plan.settings);
    media.set_arp_info(plan.arp_info);
    for (const std::string& version : plan.old_versions)
        media.add_old_version(version);
    for (const manifest_feature& feature : plan.features) {
        const std::int64_t id = media.add_feature(feature.parent, feature.members);
        for (const std::int64_t required : feature.required_features)
            media.add_feature_requirement(id, required);
        for (const std::int64_t component : feature.components)
            media.add_feature_component(id, component);
        for (const manifest_feature::property& property : feature.properties)
            media.add_feature_property(id, property.name, property.value);
    }
    for (const manifest_component& component : plan.components)
        media.add_component(component.members);
    for (const manifest_setup_type& type : plan.setup_types) {
        const std::int64_t id = media.add_setup_type(type.members);
        for (const std::int64_t feature : type.features)
            media.add_setup_type_feature(id, feature);
    }
    for (const manifest_shell_folder& folder : plan.shell_folders) {
        const std::int64_t id = media.add_shell_folder(folder.parent, folder.members);
        for (const row& shortcut : folder.shortcuts)
            media.add_shortcut(id, shortcut);
    }
    for (const manifest_registry_set& set : plan.registry_sets) {
        const std::int64_t id = media.add_registry_set(set.members);
        for (const std::int64_t component : set.components)
            media.add_registry_set_component(id, component);
        for (const manifest_registry_key& key : set.keys) {
            const std::int64_t key_id = media.add_registry_key(id, key.hive, key.members);
            for (const manifest_registry_key::value& value : key.values)
                media.add_registry_value(key_id, value.data, value.members);
        }
    }
}

void write_payload(const manifest& plan, payload_writer& payload)
{
    std::int64_t id = 0;
    for (const manifest_component& component : plan.components) {
        ++id;
        const std::string name = text_of(component.members, formats::component_columns, media_component::Name.name);
        for (const source_file& file : component.files) {
            try {
                payload.add(id, name, file);
            } catch (const source_error& failure) {
                throw error(manifest_complaint("Components[" + std::to_string(id - 1) + "].Files[" +
                                                   std::to_string(file.item) + "]",
                                               failure.what()));
            }
        }
    }
}

build_result build(const fs::path& manifest_file, const fs::path& output_folder, const build_options& options,
                   const progress_callback& progress)
{
    const manifest plan = read_manifest(manifest_file);
    const std::string name = checked_name(options.name ? *options.name
                                          : plan.name  ? *plan.name
                                                       : manifest_file.stem().string());
    cabinet_options cabinets;
    const auto choose = [](auto& target, const auto& above, const auto& below) {
        target = above ? *above : below ? *below : target;
    };
    choose(cabinets.volume_size_in_bytes, options.volume_size_in_bytes, plan.volume_size_in_bytes);
    choose(cabinets.folder_size_in_bytes, options.folder_size_in_bytes, plan.folder_size_in_bytes);
    choose(cabinets.files_per_volume, options.files_per_volume, plan.files_per_volume);
    // Sealed payload is compressed already and looks like noise.
    cabinets.compression = options.password.empty() ? cabinet_compression::mszip : cabinet_compression::none;
    const media_id id = identify(plan, name, cabinets);
    cabinets.set_id = static_cast<std::uint16_t>(id[0] | id[1] << 8);

    build_result result;
    for (const manifest_component& component : plan.components) {
        result.files += component.files.size();
        for (const source_file& file : component.files)
            result.payload_size_in_bytes += file.size_in_bytes;
    }
    staged_files stage(output_folder);
    media_writer media(stage, name, id, options.password, options.cost);
    payload_writer payload(media, stage, name, cabinets, result.payload_size_in_bytes, progress);
    write_model(plan, media);
    write_payload(plan, payload);
    result.volumes = payload.finish();
    media.finish();

    result.header = output_folder / (name + ".hdr");
    std::error_code code;
    const bool replaces = fs::exists(result.header, code);
    stage.publish();
    // A larger media of this name has left volumes that no header knows any more.
    for (std::size_t number = result.volumes + 1; replaces; ++number) {
        const std::string volume = formats::volume_file_name(name + ".hdr", static_cast<int>(number));
        if (!fs::remove(output_folder / volume, code))
            break;
    }
    return result;
}

} // namespace

build_result build_media(const fs::path& manifest_file, const fs::path& output_folder, const build_options& options,
                         const progress_callback& progress)
{
    try {
        return build(manifest_file, output_folder, options, progress);
    } catch (const std::bad_alloc&) {
        throw error("not enough memory");
    } catch (const std::invalid_argument& failure) {
        throw error(failure.what());
    } catch (const fs::filesystem_error& failure) {
        throw error("cannot write into " + output_folder.string() + ": " + failure.code().message());
    }
}

} // namespace cw::authoring
