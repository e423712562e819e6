#include "authoring/manifest.h"

#include "authoring/error.h"
#include "authoring/json_node.h"
#include "authoring/manifest_files.h"
#include "authoring/manifest_names.h"
#include "authoring/typed_values.h"
#include "formats/media_format.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <limits>
#include <set>
#include <sstream>
#include <system_error>

namespace cw::authoring {
namespace {

namespace fs = std::filesystem;
using key_list = std::initializer_list<std::string_view>;

std::string narrow(std::u16string_view name)
{
    return {name.begin(), name.end()};
}

/// The member columns of an object, absent ones included, and a complaint about every key that is
/// neither one of them nor among `further_keys`.
row read_members(const json_node& node, std::span<const formats::member_column> columns, key_list further_keys = {})
{
    node.for_each_key([&](std::string_view key, const json_node& value) {
        const bool known =
            std::find(further_keys.begin(), further_keys.end(), key) != further_keys.end() ||
            std::any_of(columns.begin(), columns.end(), [&](const formats::member_column& column) {
                return std::equal(key.begin(), key.end(), column.member.name.begin(), column.member.name.end());
            });
        if (!known)
            value.fail("unknown key");
    });
    row members = make_row(columns, {});
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const std::string name = narrow(columns[i].member.name);
        if (!node.has(name))
            continue;
        const json_node value = node[name];
        switch (columns[i].member.type) {
        case VT_BSTR:
            if (!value.is_null())
                members[i] = value.text();
            break;
        case VT_BOOL:
            members[i] = std::int64_t{value.boolean() ? 1 : 0};
            break;
        case VT_I2:
            members[i] =
                value.integer(std::numeric_limits<std::int16_t>::min(), std::numeric_limits<std::int16_t>::max());
            break;
        default:
            members[i] =
                value.integer(std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max());
            break;
        }
    }
    return members;
}

template <typename Visitor>
void for_each_item_of(const json_node& node, std::string_view key, Visitor visit)
{
    if (node.has(key))
        node[key].for_each_item(visit);
}

std::string name_of(const json_node& node)
{
    return node.has("Name") && node["Name"].is_string() ? node["Name"].text() : std::string();
}

/// A reference by name: a text, or an object that has a name and nothing else.
const std::string& reference(const json_node& node)
{
    if (!node.is_object())
        return node.text();
    node.for_each_key([](std::string_view key, const json_node& value) {
        if (key != "Name")
            value.fail("unknown key");
    });
    if (!node.has("Name"))
        node.fail("Name is missing");
    return node["Name"].text();
}

class reader {
public:
    reader(manifest& plan, fs::path folder) : m_plan(plan), m_folder(std::move(folder)) {}

    void read(const json_node& root)
    {
        m_plan.media = read_members(root, formats::media_columns,
                                    {"name", "volume_size_in_bytes", "folder_size_in_bytes", "files_per_volume",
                                     "Features", "Components", "SetupTypes", "RegistrySets", "ShellFolders", "Report",
                                     "MediaSettings", "ArpInfo"});
        if (root.has("Report"))
            root["Report"].fail("the report is composed when it is read");
        read_options(root);
        read_settings(root);
        // Names are looked up when all are known.
        for_each_item_of(root, "Features", [&](const json_node& item) { read_feature(item, 0); });
        for_each_item_of(root, "Components", [&](const json_node& item) { read_component(item); });
        m_nextFeature = 0;
        for_each_item_of(root, "Features", [&](const json_node& item) { read_feature_references(item); });
        check_requirements(root);
        for_each_item_of(root, "SetupTypes", [&](const json_node& item) { read_setup_type(item); });
        for_each_item_of(root, "ShellFolders", [&](const json_node& item) { read_shell_folder(item, 0); });
        for_each_item_of(root, "RegistrySets", [&](const json_node& item) { read_registry_set(item); });
    }

private:
    void read_options(const json_node& root)
    {
        constexpr std::uint64_t any = std::numeric_limits<std::uint64_t>::max();
        if (root.has("name"))
            m_plan.name = root["name"].text();
        if (root.has("volume_size_in_bytes"))
            m_plan.volume_size_in_bytes = root["volume_size_in_bytes"].unsigned_integer(any);
        if (root.has("folder_size_in_bytes"))
            m_plan.folder_size_in_bytes = root["folder_size_in_bytes"].unsigned_integer(any);
        if (root.has("files_per_volume"))
            m_plan.files_per_volume = static_cast<std::uint32_t>(
                root["files_per_volume"].unsigned_integer(std::numeric_limits<std::uint32_t>::max()));
    }

    void read_settings(const json_node& root)
    {
        m_plan.settings = make_row(formats::media_settings_columns, {});
        m_plan.arp_info = make_row(formats::arp_info_columns, {});
        if (root.has("ArpInfo"))
            m_plan.arp_info = read_members(root["ArpInfo"], formats::arp_info_columns);
        if (!root.has("MediaSettings"))
            return;
        const json_node settings = root["MediaSettings"];
        m_plan.settings = read_members(settings, formats::media_settings_columns, {"OldVersionCount", "OldVersions"});
        if (settings.has("OldVersions")) {
            const typed_value versions = read_typed_value(settings["OldVersions"]);
            if (versions.type != (VT_ARRAY | VT_BSTR) || versions.lower_bound != 0)
                settings["OldVersions"].fail("expected a list of texts that counts from 0");
            for (const typed_value& version : versions.elements) {
                const auto* text = std::get_if<std::string>(&version.value);
                m_plan.old_versions.push_back(text == nullptr ? std::string() : *text);
            }
        }
        if (settings.has("OldVersionCount")) {
            const json_node count = settings["OldVersionCount"];
            if (count.integer(0, std::numeric_limits<std::int32_t>::max()) !=
                static_cast<std::int64_t>(m_plan.old_versions.size()))
                count.fail("OldVersions has " + std::to_string(m_plan.old_versions.size()) + " items");
        }
    }

    void read_feature(const json_node& node, std::int64_t parent)
    {
        manifest_feature feature;
        feature.parent = parent;
        feature.members = read_members(node, formats::feature_columns,
                                       {"SubFeatures", "IncludedComponents", "RequiredFeatures", "ObjectProperties"});
        if (node.has("ObjectProperties") && !node["ObjectProperties"].is_null())
            for_each_item_of(node, "ObjectProperties",
                             [&](const json_node& item) { feature.properties.push_back(read_property(item)); });
        m_plan.features.push_back(std::move(feature));
        m_featureNames.add(parent, name_of(node));
        const auto id = static_cast<std::int64_t>(m_plan.features.size());
        for_each_item_of(node, "SubFeatures", [&](const json_node& item) { read_feature(item, id); });
    }

    static manifest_feature::property read_property(const json_node& node)
    {
        node.for_each_key([](std::string_view key, const json_node& value) {
            if (key != "Name" && key != "Value")
                value.fail("unknown key");
        });
        manifest_feature::property property;
        if (node.has("Name") && !node["Name"].is_null())
            property.name = node["Name"].text();
        if (node.has("Value"))
            property.value = read_typed_value(node["Value"]);
        return property;
    }

    /// The second walk over the features, in the same order.
    void read_feature_references(const json_node& node)
    {
        manifest_feature& feature = m_plan.features[m_nextFeature++];
        for_each_item_of(node, "RequiredFeatures", [&](const json_node& item) {
            feature.required_features.push_back(m_featureNames.find(item, reference(item)));
        });
        for_each_item_of(node, "IncludedComponents", [&](const json_node& item) {
            feature.components.push_back(m_componentNames.find(item, reference(item)));
        });
        for_each_item_of(node, "SubFeatures", [&](const json_node& item) { read_feature_references(item); });
    }

    /// Fails where features require each other in a circle. Follows the requirements with a stack of
    /// its own, since their chains may be long.
    void check_requirements(const json_node& root) const
    {
        enum class state { unknown, open, closed };
        std::vector<state> states(m_plan.features.size() + 1, state::unknown);
        struct step {
            std::size_t feature;
            std::size_t next;
        };
        for (std::size_t start = 1; start < states.size(); ++start) {
            std::vector<step> chain;
            if (states[start] == state::unknown)
                chain.push_back({start, 0});
            while (!chain.empty()) {
                auto& [feature, next] = chain.back();
                states[feature] = state::open;
                const auto& required = m_plan.features[feature - 1].required_features;
                if (next == required.size()) {
                    states[feature] = state::closed;
                    chain.pop_back();
                    continue;
                }
                const auto target = static_cast<std::size_t>(required[next++]);
                if (states[target] == state::open) {
                    std::string circle;
                    bool within = false;
                    for (const step& item : chain) {
                        within = within || item.feature == target;
                        if (within)
                            circle += m_featureNames.path(static_cast<std::int64_t>(item.feature)) + " -> ";
                    }
                    root["Features"].fail("cyclic requirements: " + circle +
                                          m_featureNames.path(static_cast<std::int64_t>(target)));
                }
                if (states[target] == state::unknown)
                    chain.push_back({target, 0});
            }
        }
    }

    void read_component(const json_node& node)
    {
        manifest_component component;
        component.members = read_members(node, formats::component_columns, {"Files"});
        if (node.has("Files"))
            component.files = read_component_files(node["Files"], m_folder);
        m_plan.components.push_back(std::move(component));
        m_componentNames.add(name_of(node));
    }

    void read_setup_type(const json_node& node)
    {
        manifest_setup_type type;
        type.members = read_members(node, formats::setup_type_columns, {"Features"});
        std::set<std::int64_t> features;
        for_each_item_of(node, "Features", [&](const json_node& item) {
            const std::vector<std::int64_t> found = m_featureNames.find_all(item, reference(item));
            features.insert(found.begin(), found.end());
        });
        type.features.assign(features.begin(), features.end());
        m_plan.setup_types.push_back(std::move(type));
    }

    void read_shell_folder(const json_node& node, std::int64_t parent)
    {
        manifest_shell_folder folder;
        folder.parent = parent;
        folder.members = read_members(node, formats::shell_folder_columns, {"SubFolders", "Shortcuts"});
        for_each_item_of(node, "Shortcuts", [&](const json_node& item) {
            folder.shortcuts.push_back(read_members(item, formats::shortcut_columns));
        });
        m_plan.shell_folders.push_back(std::move(folder));
        const auto id = static_cast<std::int64_t>(m_plan.shell_folders.size());
        for_each_item_of(node, "SubFolders", [&](const json_node& item) { read_shell_folder(item, id); });
    }

    void read_registry_set(const json_node& node)
    {
        manifest_registry_set set;
        set.members = read_members(node, formats::registry_set_columns,
                                   {"Components", "ClassesRootKeys", "CurrentUserKeys", "LocalMachineKeys", "UsersKeys",
                                    "UserSelectableKeys"});
        for_each_item_of(node, "Components", [&](const json_node& item) {
            set.components.push_back(m_componentNames.find(item, reference(item)));
        });
        int hive = 0;
        for (const media_member_row& member : formats::registry_hives) {
            for_each_item_of(node, narrow(member.name),
                             [&](const json_node& item) { set.keys.push_back(read_registry_key(item, hive)); });
            ++hive;
        }
        m_plan.registry_sets.push_back(std::move(set));
    }

    static manifest_registry_key read_registry_key(const json_node& node, int hive)
    {
        manifest_registry_key key;
        key.hive = hive;
        key.members = read_members(node, formats::registry_key_columns, {"Values"});
        for_each_item_of(node, "Values", [&](const json_node& item) {
            manifest_registry_key::value value;
            value.members = read_members(item, formats::registry_value_columns, {"Data"});
            if (item.has("Data")) {
                value.data = read_typed_value(item["Data"]);
                if ((value.data.type & VT_ARRAY) != 0)
                    item["Data"].fail("registry data is no array");
            }
            key.values.push_back(std::move(value));
        });
        return key;
    }

    manifest& m_plan;
    fs::path m_folder;
    std::size_t m_nextFeature = 0;
    feature_names m_featureNames;
    component_names m_componentNames;
};

std::string read_text(const fs::path& file)
{
    std::error_code code;
    if (!fs::exists(file, code))
        throw error("manifest: no such file: " + file.string());
    if (!fs::is_regular_file(file, code))
        throw error("manifest: not a regular file: " + file.string());
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    if (fs::file_size(file, code) != 0)
        text << stream.rdbuf();
    if (!stream || !text)
        throw error("manifest: cannot read " + file.string() + ": " + std::generic_category().message(errno));
    return std::move(text).str();
}

} // namespace

manifest read_manifest(const fs::path& file)
{
    manifest plan;
    const fs::path path = fs::absolute(file);
    plan.text = read_text(path);
    const nlohmann::json parsed = parse_manifest_text(plan.text);
    reader(plan, path.parent_path()).read(json_node(parsed));
    return plan;
}

} // namespace cw::authoring
