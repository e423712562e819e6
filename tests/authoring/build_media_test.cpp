#include "authoring/build_media.h"

#include "authoring/manifest.h"
#include "automation/variant.h"
#include "tests/authoring/authoring_support.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <sys/resource.h>

namespace {

using namespace cw::authoring;
using namespace cw::test;
namespace formats = cw::formats;
using nlohmann::json;
using rows = std::vector<std::string>;

constexpr formats::seal_cost cheap{1, 8192};

class build_media_test : public testing::Test {
protected:
    build_result build(const json& manifest, build_options options = {})
    {
        return build_text(manifest.dump(), std::move(options));
    }
    build_result build_text(const std::string& manifest, build_options options = {})
    {
        write_file(folder / "in/tour.json", manifest);
        options.cost = cheap;
        return build_media(folder / "in/tour.json", folder.path() / "out", options);
    }
    std::string build_error(const json& manifest, const build_options& options = {})
    {
        return error_of([&] { (void)build(manifest, options); });
    }
    rows ask(const std::string& statement, const std::string& password = {})
    {
        return query(folder / "out/tour.hdr", statement, password);
    }
    rows output() { return names_in(folder.path() / "out"); }
    temporary_folder folder;
};

std::string narrow(std::u16string_view name)
{
    return {name.begin(), name.end()};
}

/// Values for all members of a table that differ from each other, and what a row of them reads like.
json distinct_members(std::span<const formats::member_column> columns, std::string& expected)
{
    json object = json::object();
    int number = 1000;
    for (const formats::member_column& column : columns) {
        const std::string name = narrow(column.member.name);
        std::string shown;
        if (column.member.type == VT_BSTR) {
            shown = "текст of " + name;
            object[name] = shown;
        } else if (column.member.type == VT_BOOL) {
            // One at a time is true, see below.
            shown = "0";
            object[name] = false;
        } else {
            shown = std::to_string(-++number);
            object[name] = -number;
        }
        expected += (expected.empty() ? "" : "|") + shown;
    }
    return object;
}

struct placed_object {
    const char* table;
    std::span<const formats::member_column> columns;
    std::function<json(const json&)> manifest; // around the object
};

const std::vector<placed_object>& all_objects()
{
    const auto in_list = [](const char* key) {
        return [key](const json& object) { return json{{key, json::array({object})}}; };
    };
    static const std::vector<placed_object> objects{
        {"media", formats::media_columns, [](const json& object) { return object; }},
        {"media_settings", formats::media_settings_columns,
         [](const json& object) {
             return json{{"MediaSettings", object}};
         }},
        {"arp_info", formats::arp_info_columns,
         [](const json& object) {
             return json{{"ArpInfo", object}};
         }},
        {"feature", formats::feature_columns, in_list("Features")},
        {"component", formats::component_columns, in_list("Components")},
        {"setup_type", formats::setup_type_columns, in_list("SetupTypes")},
        {"shell_folder", formats::shell_folder_columns, in_list("ShellFolders")},
        {"shortcut", formats::shortcut_columns,
         [](const json& object) {
             return json{{"ShellFolders", {{{"Shortcuts", {object}}}}}};
         }},
        {"registry_set", formats::registry_set_columns, in_list("RegistrySets")},
        {"registry_key", formats::registry_key_columns,
         [](const json& object) {
             return json{{"RegistrySets", {{{"UsersKeys", {object}}}}}};
         }},
        {"registry_value", formats::registry_value_columns,
         [](const json& object) {
             return json{{"RegistrySets", {{{"UsersKeys", {{{"Values", {object}}}}}}}}};
         }},
    };
    return objects;
}

std::string column_names(std::span<const formats::member_column> columns)
{
    return formats::member_column_list(columns).substr(2);
}

TEST_F(build_media_test, puts_every_member_into_its_column)
{
    std::size_t tables_with_members = 0;
    for (const formats::table& table : formats::header_tables)
        tables_with_members += table.members.empty() ? 0 : 1;
    ASSERT_EQ(all_objects().size(), tables_with_members);
    for (const placed_object& object : all_objects()) {
        std::string expected;
        const json members = distinct_members(object.columns, expected);
        build(object.manifest(members));
        EXPECT_EQ(ask("SELECT " + column_names(object.columns) + " FROM " + object.table), (rows{expected}));
    }
}

TEST_F(build_media_test, puts_every_true_member_into_its_column)
{
    for (const placed_object& object : all_objects()) {
        for (const formats::member_column& column : object.columns) {
            if (column.member.type != VT_BOOL)
                continue;
            build(object.manifest(json{{narrow(column.member.name), true}}));
            std::string expected;
            for (const formats::member_column& other : object.columns)
                expected += (expected.empty() ? "" : "|") + std::string(other.name == column.name      ? "1"
                                                                        : other.member.type == VT_BSTR ? "null"
                                                                                                       : "0");
            EXPECT_EQ(ask("SELECT " + column_names(object.columns) + " FROM " + object.table), (rows{expected}))
                << column.name;
        }
    }
}

TEST_F(build_media_test, stores_absent_and_null_texts_as_nulls)
{
    build(json::parse(R"({"Features": [{"Name": null, "Description": ""}]})"));
    EXPECT_EQ(ask("SELECT name, description, status_text, visible FROM feature"), (rows{"null||null|0"}));
}

json with_files(const json& files)
{
    return json{{"Components", {{{"Name", "C"}, {"Files", files}}}}};
}

TEST_F(build_media_test, stores_all_that_a_file_is)
{
    write_file(folder / "in/a.txt", "hello");
    const build_result result =
        build(with_files(json::array({{{"path", "a.txt"},
                                       {"Name", "Ж"},
                                       {"Version", "1.2"},
                                       {"Flags", 65537},
                                       {"Size", 5},
                                       {"Date", "2001-02-03T12:00:00"},
                                       {"CompressedSize", 4},
                                       {"Md5Signature", "5d41402abc4b2a76b9719d911017c592"}}})));
    EXPECT_EQ(ask("SELECT component, position, name, size, compressed_size, date, version, md5, flags, volume, entry "
                  "FROM file"),
              (rows{"1|0|Ж|5|4|36925.5|1.2|5d41402abc4b2a76b9719d911017c592|65537|1|0"}));
    EXPECT_EQ(result.header, folder / "out/tour.hdr");
    EXPECT_EQ(result.volumes, 1u);
    EXPECT_EQ(result.files, 1u);
    EXPECT_EQ(result.payload_size_in_bytes, 5u);
    EXPECT_EQ(read_cabinet(folder / "out/tour1.cab").entries[0].name, "C\\Ж");
}

TEST_F(build_media_test, stores_references_properties_and_data)
{
    build(json::parse(R"({"Features": [{"Name": "A", "RequiredFeatures": ["B"], "IncludedComponents": ["C"],
        "ObjectProperties": [{"Name": "p", "Value": {"vt": "VT_ARRAY|VT_R8", "lower": 3, "value": [0.5]}}]}, {"Name": "B"}],
        "Components": [{"Name": "C"}], "SetupTypes": [{"Name": "T", "Features": ["B", "A"]}], "MediaSettings": {"OldVersions": ["1", "2"]},
        "RegistrySets": [{"Components": ["C"], "LocalMachineKeys": [{"Values": [{"Data": {"vt": "VT_UI8", "value": 5}}]}]}],
        "ShellFolders": [{"SubFolders": [{"Name": "S"}]}]})"));
    EXPECT_EQ(ask("SELECT * FROM feature_requirement"), (rows{"1|0|2"}));
    EXPECT_EQ(ask("SELECT * FROM feature_component"), (rows{"1|0|1"}));
    EXPECT_EQ(ask("SELECT * FROM feature_property"), (rows{"1|0|p|8197|3|null"}));
    EXPECT_EQ(ask("SELECT * FROM feature_property_element"), (rows{"1|0|0|5|0.5"}));
    EXPECT_EQ(ask("SELECT * FROM setup_type_feature"), (rows{"1|1", "1|2"}));
    EXPECT_EQ(ask("SELECT * FROM old_version"), (rows{"0|1", "1|2"}));
    EXPECT_EQ(ask("SELECT * FROM registry_set_component"), (rows{"1|0|1"}));
    EXPECT_EQ(ask("SELECT hive FROM registry_key"), (rows{"2"}));
    EXPECT_EQ(ask("SELECT data_type, data FROM registry_value"), (rows{"21|5"}));
    EXPECT_EQ(ask("SELECT parent, name FROM shell_folder"), (rows{"0|null", "1|S"}));
}

json several_files(const temporary_folder& folder)
{
    for (unsigned i = 0; i < 40; ++i) {
        const fs::path path = folder / ("in/f/" + std::to_string(i));
        write_file(path, noise(i * 300, i) + std::string(i * 1000, 'x'));
    }
    json manifest = with_files({{{"path", "f"}, {"Date", 40000}}});
    manifest["volume_size_in_bytes"] = 70'000;
    manifest["folder_size_in_bytes"] = 30'000;
    return manifest;
}

TEST_F(build_media_test, gives_the_same_bytes_for_the_same_input)
{
    const json manifest = several_files(folder);
    for (const char* password : {"", "пароль"}) {
        build_options options;
        options.password = password;
        const build_result result = build(manifest, options);
        EXPECT_GE(result.volumes, 2u);
        std::map<std::string, std::string> first;
        for (const std::string& name : output())
            first[name] = read_file(folder.path() / "out" / name);
        EXPECT_EQ(first.size(), result.volumes + 1);
        fs::remove_all(folder.path() / "out");
        build(manifest, options);
        EXPECT_EQ(output().size(), first.size());
        for (const auto& [name, bytes] : first)
            EXPECT_TRUE(read_file(folder.path() / "out" / name) == bytes) << name;
        // Another input is another media.
        json other = manifest;
        other["ProductGuid"] = "x";
        build(other, options);
        EXPECT_NE(ask("SELECT media_id FROM media", password), rows{});
        EXPECT_FALSE(read_file(folder / "out/tour1.cab") == first["tour1.cab"]);
    }
}

TEST_F(build_media_test, ties_volumes_to_the_header)
{
    build(several_files(folder));
    const std::string id = ask("SELECT hex(media_id) FROM media")[0];
    const int set_id = static_cast<int>(std::stoul(id.substr(2, 2) + id.substr(0, 2), nullptr, 16));
    const rows volumes = ask("SELECT number, size, set_id, entries FROM volume");
    ASSERT_GE(volumes.size(), 2u);
    for (std::size_t i = 0; i < volumes.size(); ++i) {
        const fs::path path = folder / ("out/tour" + std::to_string(i + 1) + ".cab");
        expect_sound_cabinet(path);
        const cabinet_content cabinet = read_cabinet(path);
        EXPECT_EQ(cabinet.set_id, set_id);
        EXPECT_EQ(volumes[i], std::to_string(i + 1) + "|" + std::to_string(cabinet.length) + "|" +
                                  std::to_string(set_id) + "|" + std::to_string(cabinet.entries.size()));
    }
}

TEST_F(build_media_test, lets_arguments_stand_above_the_manifest)
{
    json manifest = several_files(folder);
    manifest["name"] = "other";
    manifest["files_per_volume"] = 30;
    build(manifest);
    EXPECT_EQ(output()[0], "other.hdr");
    build_options options;
    options.name = "third";
    options.volume_size_in_bytes = 1 << 30;
    options.folder_size_in_bytes = 1 << 20;
    options.files_per_volume = 60'000;
    EXPECT_EQ(build(manifest, options).volumes, 1u);
    EXPECT_TRUE(fs::exists(folder.path() / "out/third1.cab"));
}

TEST_F(build_media_test, protects_with_a_password)
{
    write_file(folder / "in/a.txt", "hello");
    build_options options;
    options.password = "пароль";
    build(with_files({"a.txt"}), options);
    EXPECT_EQ(read_file(folder / "out/tour.hdr").substr(0, 8), "CWMEDIA\x1A");
    EXPECT_EQ(ask("SELECT name, length(payload_key) FROM file, media", "пароль"), (rows{"a.txt|32"}));
    const std::string file = read_file(folder / "out/tour.hdr");
    const formats::byte_view bytes(reinterpret_cast<const std::uint8_t*>(file.data()), file.size());
    EXPECT_THROW((void)formats::open_header(bytes, "password"), formats::wrong_password);
    EXPECT_THROW((void)formats::open_header(bytes, ""), formats::wrong_password);
}

TEST_F(build_media_test, replaces_an_older_media_with_all_its_volumes)
{
    const json manifest = several_files(folder);
    ASSERT_GE(build(manifest).volumes, 2u);
    write_file(folder / "out/tourist.cab", "not ours");
    build(json::object());
    EXPECT_EQ(output(), (rows{"tour.hdr", "tourist.cab"}));
    // Without a header of that name nothing is known to be ours.
    fs::remove(folder / "out/tour.hdr");
    write_file(folder / "out/tour1.cab", "not ours");
    build(json::object());
    EXPECT_EQ(output(), (rows{"tour.hdr", "tour1.cab", "tourist.cab"}));
}

TEST_F(build_media_test, leaves_nothing_behind_on_a_failure)
{
    write_file(folder / "in/a.txt", "hello");
    EXPECT_EQ(build_error(with_files({"a.txt", "no"})),
              "manifest: Components[0].Files[1]: no such file: " + (folder.path() / "in/no").string());
    EXPECT_EQ(build_error(with_files(
                  json::array({"a.txt", {{"path", "a.txt"}, {"Name", "b"}, {"Md5Signature", std::string(32, '0')}}}))),
              "manifest: Components[0].Files[1]: Md5Signature: 00000000000000000000000000000000 given, but b has "
              "5d41402abc4b2a76b9719d911017c592");
    EXPECT_FALSE(fs::exists(folder.path() / "out"));
    build(json{{"ProductGuid", "old"}});
    EXPECT_NE(build_error(with_files({"no"})), "no error");
    EXPECT_EQ(output(), (rows{"tour.hdr"}));
    EXPECT_EQ(ask("SELECT product_guid FROM media"), (rows{"old"}));
}

TEST_F(build_media_test, leaves_nothing_behind_on_a_full_disk)
{
    write_file(folder / "in/big", noise(3'000'000));
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    rlimit small = before;
    small.rlim_cur = 1'000'000;
    setrlimit(RLIMIT_FSIZE, &small);
    const std::string message = build_error(with_files({"big"}));
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(message, "cannot write tour1.cab: File too large");
    EXPECT_FALSE(fs::exists(folder.path() / "out"));
}

TEST_F(build_media_test, can_be_given_up_from_its_progress)
{
    write_file(folder / "in/a.txt", "hello");
    write_file(folder / "in/m.json", with_files({"a.txt"}).dump());
    std::uint64_t last_total = 0;
    EXPECT_THROW(build_media(folder / "in/m.json", folder.path() / "out", {},
                             [&](std::uint64_t done, std::uint64_t total, const std::string& current) {
                                 EXPECT_EQ(done, 5u);
                                 last_total = total;
                                 EXPECT_EQ(current, (folder.path() / "in/a.txt").string());
                                 throw std::runtime_error("enough");
                             }),
                 std::runtime_error);
    EXPECT_EQ(last_total, 5u);
    EXPECT_FALSE(fs::exists(folder.path() / "out"));
}

TEST_F(build_media_test, refuses_names_that_are_no_file_names)
{
    for (const char* name : {"", "a/b", "a\\b", ".hidden", "..", "a\nb"})
        EXPECT_EQ(build_error(json{{"name", name}}), "no name for a media: \"" + std::string(name) + "\"");
    EXPECT_EQ(build_error(json{{"name", std::string(201, 'n')}}),
              "no name for a media: \"" + std::string(200, 'n') + "\"");
    build_options options;
    options.name = "\xFF";
    EXPECT_EQ(build_error(json::object(), options), "no name for a media: \"\xFF\"");
    EXPECT_EQ(build_error(json{{"name", "Прогулки.hdr"}}), "no error");
    EXPECT_EQ(output(), (rows{"Прогулки.hdr.hdr"}));
}

TEST_F(build_media_test, refuses_sizes_beyond_the_format)
{
    EXPECT_EQ(build_error(json{{"volume_size_in_bytes", 10}}),
              "the volume size must be from 4096 to 1073741824, not 10");
    EXPECT_EQ(build_error(json{{"folder_size_in_bytes", 10}}),
              "the folder size must be from 1024 to 536870912, not 10");
    build_options options;
    options.files_per_volume = 0;
    EXPECT_EQ(build_error(json::object(), options), "the number of files in a volume must be from 1 to 60000, not 0");
}

TEST_F(build_media_test, takes_many_small_files)
{
    json files = json::array();
    for (int i = 0; i < 3000; ++i)
        files.push_back({{"Name", "file " + std::to_string(i)}, {"content", std::to_string(i)}});
    json manifest = with_files(files);
    manifest["files_per_volume"] = 700;
    EXPECT_EQ(build(manifest).volumes, 5u);
    EXPECT_EQ(ask("SELECT volume, count(*), max(entry) FROM file GROUP BY volume"),
              (rows{"1|700|699", "2|700|699", "3|700|699", "4|700|699", "5|200|199"}));
    const cabinet_content cabinet = read_cabinet(folder / "out/tour3.cab");
    for (const std::string& found : ask("SELECT entry || '|' || name FROM file WHERE volume = 3 AND entry % 97 = 0")) {
        const std::size_t bar = found.find('|');
        const cabinet_entry& entry = cabinet.entries[std::stoul(found.substr(0, bar))];
        EXPECT_EQ(entry.name, "C\\" + found.substr(bar + 1));
        EXPECT_EQ("file " + entry.content, found.substr(bar + 1));
    }
}

TEST_F(build_media_test, builds_the_sample)
{
    const fs::path source = fs::path(CW_TEST_SOURCE_DIR) / "resources/samples/tour.json";
    const build_result result = build_media(source, folder.path() / "out");
    EXPECT_GE(result.volumes, 2u);
    EXPECT_EQ(result.header, folder / "out/tour.hdr");
    for (std::size_t i = 1; i <= result.volumes; ++i)
        expect_sound_cabinet(folder / ("out/tour" + std::to_string(i) + ".cab"));
    // It is there to show something of everything.
    for (const formats::table& table : formats::header_tables)
        EXPECT_NE(ask("SELECT count(*) FROM " + std::string(table.name)), (rows{"0"})) << table.name;
    for (const char* name : {"<Support>", "<Data>", "Disk<1>"})
        EXPECT_EQ(ask("SELECT count(*) FROM feature WHERE name LIKE '%" + std::string(name) + "%'"), (rows{"1"}));
    for (const char* name : {"<Support>", "<Disk1>", "<Engine>"})
        EXPECT_EQ(ask("SELECT count(*) FROM component WHERE name LIKE '%" + std::string(name) + "%'"), (rows{"1"}));
    EXPECT_EQ(ask("SELECT DISTINCT hive FROM registry_key ORDER BY hive"), (rows{"0", "1", "2", "3", "4"}));
    for (const char* type : {"1", "2", "3", "4", "7"})
        EXPECT_NE(ask("SELECT count(*) FROM registry_value WHERE value_type = " + std::string(type)), (rows{"0"}));
    for (const std::string& data : ask("SELECT data FROM registry_value WHERE value_type = 7")) {
        EXPECT_EQ(data.size() % 4, 0u);
        EXPECT_EQ(data.find_first_not_of("0123456789abcdefABCDEF"), std::string::npos);
    }
    EXPECT_EQ(ask("SELECT format_version > 0x1007000, update_mode FROM media, media_settings"), (rows{"1|1"}));
    EXPECT_NE(ask("SELECT count(*) FROM feature_property WHERE type & 0x2000"), (rows{"0"}));
    EXPECT_NE(ask("SELECT count(*) FROM registry_set WHERE name LIKE '%:%'"), (rows{"0"}));
    EXPECT_EQ(ask("SELECT count(*) FROM shell_folder WHERE name IN ('Desktop', 'Start Menu')"), (rows{"2"}));
}

} // namespace
