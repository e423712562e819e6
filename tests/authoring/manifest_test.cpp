#include "authoring/manifest.h"

#include "automation/variant.h"
#include "tests/authoring/authoring_support.h"

#include <gtest/gtest.h>

namespace {

using namespace cw::authoring;
using namespace cw::test;
using ids = std::vector<std::int64_t>;

manifest read(const std::string& text)
{
    temporary_folder folder;
    write_file(folder / "m.json", text);
    write_file(folder / "a.txt", "hello");
    return read_manifest(folder / "m.json");
}

std::string error_in(const std::string& text)
{
    return error_of([&] { (void)read(text); });
}

TEST(manifest, may_be_empty)
{
    const manifest plan = read("{}");
    EXPECT_TRUE(plan.features.empty() && plan.components.empty() && plan.setup_types.empty());
    EXPECT_EQ(plan.media.size(), cw::formats::media_columns.size());
    EXPECT_EQ(plan.settings.size(), cw::formats::media_settings_columns.size());
    EXPECT_EQ(plan.arp_info.size(), cw::formats::arp_info_columns.size());
    EXPECT_FALSE(plan.name);
}

TEST(manifest, has_options)
{
    const manifest plan =
        read(R"({"name": "n", "volume_size_in_bytes": 5000, "folder_size_in_bytes": 2000, "files_per_volume": 7})");
    EXPECT_EQ(plan.name, "n");
    EXPECT_EQ(plan.volume_size_in_bytes, 5000u);
    EXPECT_EQ(plan.folder_size_in_bytes, 2000u);
    EXPECT_EQ(plan.files_per_volume, 7u);
    EXPECT_EQ(error_in(R"({"name": 5})"), "manifest: name: expected a text, not a number");
    EXPECT_EQ(error_in(R"({"volume_size_in_bytes": "big"})"),
              "manifest: volume_size_in_bytes: expected an integer, not a text");
    EXPECT_EQ(error_in(R"({"files_per_volume": -1})"), "manifest: files_per_volume: -1 is not within 0 to 4294967295");
    EXPECT_EQ(error_in(R"({"password": "x"})"), "manifest: password: unknown key");
}

TEST(manifest, nests_features_and_folders_parents_first)
{
    const manifest plan = read(
        R"({"Features": [{"Name": "A", "SubFeatures": [{"Name": "B", "SubFeatures": [{"Name": "C"}]}, {"Name": "D"}]}, {"Name": "E"}],
        "ShellFolders": [{"Name": "F", "SubFolders": [{"Name": "G"}]}, {"Name": "H", "Shortcuts": [{"Name": "s"}, {}]}]})");
    ids parents;
    for (const manifest_feature& feature : plan.features)
        parents.push_back(feature.parent);
    EXPECT_EQ(parents, (ids{0, 1, 2, 1, 0}));
    ASSERT_EQ(plan.shell_folders.size(), 3u);
    EXPECT_EQ(plan.shell_folders[1].parent, 1);
    EXPECT_EQ(plan.shell_folders[2].parent, 0);
    EXPECT_EQ(plan.shell_folders[2].shortcuts.size(), 2u);
}

TEST(manifest, resolves_names)
{
    const manifest plan = read(R"({
        "Features": [{"Name": "A", "RequiredFeatures": ["B/C", {"Name": "D"}], "IncludedComponents": ["Y", {"Name": "X"}]},
                     {"Name": "B", "SubFeatures": [{"Name": "C", "IncludedComponents": ["X"]}]}, {"Name": "D"}],
        "Components": [{"Name": "X"}, {"Name": "Y"}],
        "SetupTypes": [{"Name": "all", "Features": ["*"]}, {"Name": "some", "Features": ["D", "B/*", "D", {"Name": "A"}]}, {}],
        "RegistrySets": [{"Name": "r", "Components": ["Y", "X"]}]})");
    EXPECT_EQ(plan.features[0].required_features, (ids{3, 4}));
    EXPECT_EQ(plan.features[0].components, (ids{2, 1}));
    EXPECT_EQ(plan.features[2].components, (ids{1}));
    EXPECT_EQ(plan.setup_types[0].features, (ids{1, 2, 3, 4}));
    EXPECT_EQ(plan.setup_types[1].features, (ids{1, 3, 4}));
    EXPECT_EQ(plan.setup_types[2].features, ids{});
    EXPECT_EQ(plan.registry_sets[0].components, (ids{2, 1}));
}

TEST(manifest, complains_about_dangling_names)
{
    EXPECT_EQ(error_in(R"({"Features": [{"Name": "A", "RequiredFeatures": ["B"]}]})"),
              "manifest: Features[0].RequiredFeatures[0]: no such feature: B");
    EXPECT_EQ(error_in(R"({"Features": [{"Name": "A", "SubFeatures": [{"IncludedComponents": ["B"]}]}]})"),
              "manifest: Features[0].SubFeatures[0].IncludedComponents[0]: no such component: B");
    EXPECT_EQ(error_in(R"({"SetupTypes": [{"Features": ["A"]}]})"),
              "manifest: SetupTypes[0].Features[0]: no such feature: A");
    EXPECT_EQ(error_in(R"({"RegistrySets": [{"Components": ["A"]}]})"),
              "manifest: RegistrySets[0].Components[0]: no such component: A");
    EXPECT_EQ(error_in(R"({"Components": [{"Name": "A"}, {"Name": "A"}], "RegistrySets": [{"Components": ["A"]}]})"),
              "manifest: RegistrySets[0].Components[0]: more than one component is called A");
    EXPECT_EQ(error_in(R"({"SetupTypes": [{"Features": [{"Name": "A", "Visible": true}]}]})"),
              "manifest: SetupTypes[0].Features[0].Visible: unknown key");
    EXPECT_EQ(error_in(R"({"SetupTypes": [{"Features": [{}]}]})"),
              "manifest: SetupTypes[0].Features[0]: Name is missing");
}

TEST(manifest, complains_about_circles)
{
    EXPECT_EQ(error_in(R"({"Features": [{"Name": "A", "RequiredFeatures": ["A"]}]})"),
              "manifest: Features: cyclic requirements: A -> A");
    EXPECT_EQ(
        error_in(R"({"Features": [{"Name": "S", "RequiredFeatures": ["A"]}, {"Name": "A", "RequiredFeatures": ["B/C"]},
                     {"Name": "B", "SubFeatures": [{"Name": "C", "RequiredFeatures": ["D"]}]}, {"Name": "D", "RequiredFeatures": ["A"]}]})"),
        "manifest: Features: cyclic requirements: A -> B/C -> D -> A");
    EXPECT_EQ(
        error_in(
            R"({"Features": [{"Name": "A", "RequiredFeatures": ["B", "C"]}, {"Name": "B", "RequiredFeatures": ["C"]}, {"Name": "C"}]})"),
        "no error");
}

TEST(manifest, follows_long_chains_of_requirements)
{
    std::string text = R"({"Features": [)";
    for (int i = 0; i < 20'000; ++i)
        text +=
            "{\"Name\": \"f" + std::to_string(i) + "\", \"RequiredFeatures\": [\"f" + std::to_string(i + 1) + "\"]}, ";
    EXPECT_EQ(error_in(text + R"({"Name": "f20000"}]})"), "no error");
}

TEST(manifest, reads_object_properties)
{
    const manifest plan =
        read(R"({"Features": [{"ObjectProperties": [{"Name": "a", "Value": 5}, {"Value": ["x"]}, {"Name": null}]},
                                   {"ObjectProperties": null}, {"ObjectProperties": []}]})");
    const auto& properties = plan.features[0].properties;
    ASSERT_EQ(properties.size(), 3u);
    EXPECT_EQ(properties[0].name, "a");
    EXPECT_EQ(properties[0].value.type, VT_I4);
    EXPECT_FALSE(properties[1].name);
    EXPECT_EQ(properties[1].value.type, VT_ARRAY | VT_BSTR);
    EXPECT_EQ(properties[2].value.type, VT_EMPTY);
    EXPECT_TRUE(plan.features[1].properties.empty());
    EXPECT_EQ(error_in(R"({"Features": [{"ObjectProperties": [{"Name": "a", "value": 5}]}]})"),
              "manifest: Features[0].ObjectProperties[0].value: unknown key");
}

TEST(manifest, reads_registry_keys_of_all_hives)
{
    const manifest plan = read(R"({"RegistrySets": [{"ClassesRootKeys": [{}], "CurrentUserKeys": [{}, {}],
        "LocalMachineKeys": [{"Path": "a\\b", "Values": [{"Name": "v", "Data": true, "ValueType": 4}, {}]}], "UsersKeys": [{}], "UserSelectableKeys": [{}]}]})");
    std::vector<int> hives;
    for (const manifest_registry_key& key : plan.registry_sets[0].keys)
        hives.push_back(key.hive);
    EXPECT_EQ(hives, (std::vector<int>{0, 1, 1, 2, 3, 4}));
    EXPECT_EQ(plan.registry_sets[0].keys[3].values[0].data.type, VT_BOOL);
    EXPECT_EQ(plan.registry_sets[0].keys[3].values[1].data.type, VT_EMPTY);
    EXPECT_EQ(error_in(R"({"RegistrySets": [{"UsersKeys": [{"Values": [{"Data": ["x"]}]}]}]})"),
              "manifest: RegistrySets[0].UsersKeys[0].Values[0].Data: registry data is no array");
}

TEST(manifest, reads_old_versions)
{
    EXPECT_EQ(read(R"({"MediaSettings": {"OldVersions": ["1", "2", null]}})").old_versions,
              (std::vector<std::string>{"1", "2", ""}));
    EXPECT_EQ(
        read(R"({"MediaSettings": {"OldVersions": {"vt": "VT_ARRAY|VT_BSTR", "value": ["1"]}, "OldVersionCount": 1}})")
            .old_versions.size(),
        1u);
    EXPECT_EQ(error_in(R"({"MediaSettings": {"OldVersions": ["1"], "OldVersionCount": 2}})"),
              "manifest: MediaSettings.OldVersionCount: OldVersions has 1 items");
    EXPECT_EQ(error_in(R"({"MediaSettings": {"OldVersions": "1"}})"),
              "manifest: MediaSettings.OldVersions: expected a list of texts that counts from 0");
    EXPECT_EQ(error_in(R"({"MediaSettings": {"OldVersions": {"vt": "VT_ARRAY|VT_BSTR", "lower": 1, "value": ["1"]}}})"),
              "manifest: MediaSettings.OldVersions: expected a list of texts that counts from 0");
}

TEST(manifest, complains_about_unknown_keys_everywhere)
{
    for (const auto& [text, place] : std::vector<std::pair<std::string, std::string>>{
             {R"({"Colour": 1})", "Colour"},
             {R"({"features": []})", "features"},
             {R"({"MediaSettings": {"X": 1}})", "MediaSettings.X"},
             {R"({"ArpInfo": {"X": 1}})", "ArpInfo.X"},
             {R"({"Features": [{"X": 1}]})", "Features[0].X"},
             {R"({"Components": [{}, {"X": 1}]})", "Components[1].X"},
             {R"({"Components": [{"Files": [{"X": 1}]}]})", "Components[0].Files[0].X"},
             {R"({"SetupTypes": [{"X": 1}]})", "SetupTypes[0].X"},
             {R"({"ShellFolders": [{"X": 1}]})", "ShellFolders[0].X"},
             {R"({"ShellFolders": [{"Shortcuts": [{"X": 1}]}]})", "ShellFolders[0].Shortcuts[0].X"},
             {R"({"RegistrySets": [{"X": 1}]})", "RegistrySets[0].X"},
             {R"({"RegistrySets": [{"UsersKeys": [{"X": 1}]}]})", "RegistrySets[0].UsersKeys[0].X"},
             {R"({"RegistrySets": [{"UsersKeys": [{"Values": [{"X": 1}]}]}]})",
              "RegistrySets[0].UsersKeys[0].Values[0].X"},
         })
        EXPECT_EQ(error_in(text), "manifest: " + place + ": unknown key");
    EXPECT_EQ(error_in(R"({"Report": {}})"), "manifest: Report: the report is composed when it is read");
}

TEST(manifest, complains_about_wrong_types)
{
    EXPECT_EQ(error_in("[]"), "manifest: expected an object, not a list");
    EXPECT_EQ(error_in(R"({"Features": {}})"), "manifest: Features: expected a list, not an object");
    EXPECT_EQ(error_in(R"({"Features": ["A"]})"), "manifest: Features[0]: expected an object, not a text");
    EXPECT_EQ(error_in(R"({"Features": [{"Name": 5}]})"), "manifest: Features[0].Name: expected a text, not a number");
    EXPECT_EQ(error_in(R"({"Features": [{"Visible": 1}]})"),
              "manifest: Features[0].Visible: expected true or false, not a number");
    EXPECT_EQ(error_in(R"({"Features": [{"ImageIndex": 32768}]})"),
              "manifest: Features[0].ImageIndex: 32768 is not within -32768 to 32767");
    EXPECT_EQ(error_in(R"({"FormatVersion": 2147483648})"),
              "manifest: FormatVersion: 2147483648 is not within -2147483648 to 2147483647");
    EXPECT_EQ(error_in(R"({"MediaSettings": []})"), "manifest: MediaSettings: expected an object, not a list");
    EXPECT_EQ(error_in(R"({"Components": [{"Files": {"items": []}}]})"),
              "manifest: Components[0].Files: expected a list, not an object");
    EXPECT_EQ(error_in(R"({"ProductGuid": {"fail": "0x80004005"}})"),
              "manifest: ProductGuid: expected a text, not an object");
}

TEST(manifest, complains_about_missing_files)
{
    temporary_folder folder;
    write_file(folder / "m.json", R"({"Components": [{}, {}, {}, {"Files": [{"path": "x/y"}]}]})");
    EXPECT_EQ(error_of([&] { (void)read_manifest(folder / "m.json"); }),
              "manifest: Components[3].Files[0].path: no such file: " + (folder.path() / "x/y").string());
    EXPECT_EQ(error_of([&] { (void)read_manifest(folder.path() / "no.json"); }),
              "manifest: no such file: " + (folder.path() / "no.json").string());
    EXPECT_EQ(error_of([&] { (void)read_manifest(folder.path()); }),
              "manifest: not a regular file: " + folder.path().string());
    write_file(folder / "empty.json", "");
    EXPECT_EQ(error_of([&] { (void)read_manifest(folder / "empty.json"); }),
              "manifest: line 1, column 1: not valid JSON");
}

} // namespace
