#include "authoring/media_writer.h"

#include "authoring/error.h"
#include "automation/variant.h"
#include "tests/authoring/authoring_support.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <sys/resource.h>

namespace {

using namespace cw::authoring;
using namespace cw::test;
namespace formats = cw::formats;
using rows = std::vector<std::string>;

constexpr media_id id{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
constexpr formats::seal_cost cheap{1, 8192};

row named(std::span<const formats::member_column> columns, const char* name)
{
    return make_row(columns, {{u"Name", std::string(name)}});
}

class media_writer_test : public testing::Test {
protected:
    void write(const std::function<void(media_writer&)>& fill, const std::string& password = {})
    {
        staged_files stage(folder.path());
        media_writer media(stage, "m", id, password, cheap);
        fill(media);
        media.finish();
        stage.publish();
    }
    rows ask(const std::string& statement) { return query(folder / "m.hdr", statement); }
    temporary_folder folder;
};

TEST_F(media_writer_test, writes_an_empty_media)
{
    write([](media_writer&) {});
    EXPECT_EQ(ask("SELECT hex(media_id), payload_key, format_version, product_guid FROM media"),
              (rows{"0102030405060708090A0B0C0D0E0F10|null|0|null"}));
    EXPECT_EQ(ask("SELECT count(*), id FROM media_settings"), (rows{"1|1"}));
    EXPECT_EQ(ask("SELECT count(*), id FROM arp_info"), (rows{"1|1"}));
    EXPECT_EQ(names_in(folder.path()), (rows{"m.hdr"}));
}

TEST_F(media_writer_test, counts_positions_in_each_collection)
{
    write([](media_writer& media) {
        media.add_old_version("1");
        media.add_old_version("2");
        const auto a = media.add_feature(0, named(formats::feature_columns, "A"));
        const auto b = media.add_feature(a, named(formats::feature_columns, "B"));
        const auto c = media.add_feature(0, named(formats::feature_columns, "C"));
        media.add_feature(a, named(formats::feature_columns, "D"));
        media.add_feature_requirement(c, b);
        media.add_feature_requirement(c, a);
        const auto x = media.add_component(named(formats::component_columns, "X"));
        const auto y = media.add_component(named(formats::component_columns, "Y"));
        media.add_feature_component(a, y);
        media.add_feature_component(a, x);
        media.add_feature_component(b, x);
        const auto type = media.add_setup_type(named(formats::setup_type_columns, "T"));
        media.add_setup_type_feature(type, b);
        const auto desktop = media.add_shell_folder(0, named(formats::shell_folder_columns, "Desktop"));
        media.add_shell_folder(desktop, named(formats::shell_folder_columns, "Sub"));
        media.add_shortcut(desktop, named(formats::shortcut_columns, "s1"));
        media.add_shortcut(desktop, named(formats::shortcut_columns, "s2"));
        const auto set = media.add_registry_set(named(formats::registry_set_columns, "R"));
        media.add_registry_set_component(set, y);
        const auto key = media.add_registry_key(set, 2, make_row(formats::registry_key_columns, {}));
        media.add_registry_key(set, 2, make_row(formats::registry_key_columns, {}));
        media.add_registry_key(set, 0, make_row(formats::registry_key_columns, {}));
        media.add_registry_value(key, {VT_I4, std::int64_t{5}, 0, {}}, named(formats::registry_value_columns, "v"));
        media.add_registry_value(key, {VT_BSTR, std::string("t"), 0, {}}, named(formats::registry_value_columns, "w"));
    });
    EXPECT_EQ(ask("SELECT * FROM old_version"), (rows{"0|1", "1|2"}));
    EXPECT_EQ(ask("SELECT id, parent, position, name FROM feature"),
              (rows{"1|0|0|A", "2|1|0|B", "3|0|1|C", "4|1|1|D"}));
    EXPECT_EQ(ask("SELECT * FROM feature_requirement"), (rows{"3|0|2", "3|1|1"}));
    EXPECT_EQ(ask("SELECT * FROM feature_component"), (rows{"1|0|2", "1|1|1", "2|0|1"}));
    EXPECT_EQ(ask("SELECT id, file_count, name FROM component"), (rows{"1|0|X", "2|0|Y"}));
    EXPECT_EQ(ask("SELECT * FROM setup_type"), (rows{"1|T"}));
    EXPECT_EQ(ask("SELECT * FROM setup_type_feature"), (rows{"1|2"}));
    EXPECT_EQ(ask("SELECT id, parent, position, name FROM shell_folder"), (rows{"1|0|0|Desktop", "2|1|0|Sub"}));
    EXPECT_EQ(ask("SELECT folder, position, name FROM shortcut"), (rows{"1|0|s1", "1|1|s2"}));
    EXPECT_EQ(ask("SELECT * FROM registry_set"), (rows{"1|R"}));
    EXPECT_EQ(ask("SELECT * FROM registry_set_component"), (rows{"1|0|2"}));
    EXPECT_EQ(ask("SELECT id, registry_set, hive, position FROM registry_key ORDER BY id"),
              (rows{"1|1|2|0", "2|1|2|1", "3|1|0|0"}));
    EXPECT_EQ(ask("SELECT registry_key, position, data_type, data, name FROM registry_value"),
              (rows{"1|0|3|5|v", "1|1|8|t|w"}));
}

TEST_F(media_writer_test, writes_properties_with_their_elements)
{
    write([](media_writer& media) {
        const auto feature = media.add_feature(0, make_row(formats::feature_columns, {}));
        media.add_feature_property(feature, "scalar", {VT_R8, 1.5, 0, {}});
        typed_value array{
            VT_ARRAY | VT_VARIANT, {}, -2, {{VT_I4, std::int64_t{7}, 0, {}}, {VT_BSTR, std::string("x"), 0, {}}}};
        media.add_feature_property(feature, std::nullopt, array);
    });
    EXPECT_EQ(ask("SELECT * FROM feature_property"), (rows{"1|0|scalar|5|0|1.5", "1|1|null|8204|-2|null"}));
    EXPECT_EQ(ask("SELECT * FROM feature_property_element"), (rows{"1|1|0|3|7", "1|1|1|8|x"}));
}

TEST_F(media_writer_test, places_files)
{
    write([](media_writer& media) {
        const auto x = media.add_component(named(formats::component_columns, "X"));
        const auto y = media.add_component(named(formats::component_columns, "Y"));
        file_row whole;
        whole.name = "whole";
        whole.size_in_bytes = 6'000'000'000;
        whole.compressed_size_in_bytes = 5;
        whole.date = 2.5;
        whole.version = "1.0";
        whole.md5 = formats::md5_digest{0xAB};
        whole.flags = -1;
        whole.parts = {{3, 4, 6'000'000'000}};
        media.add_file(y, whole);
        file_row split;
        split.name = "split";
        split.parts = {{1, 2, 10}, {2, 0, 20}};
        media.add_file(x, split);
        file_row none;
        none.name = "none";
        media.add_file(y, none);
        media.add_volume(1, 100, 0xFFFF, 3);
    });
    EXPECT_EQ(ask("SELECT * FROM file"), (rows{"1|0|split|0|0|0.0|null|null|0|null|null",
                                               "2|0|whole|6000000000|5|2.5|1.0|ab000000000000000000000000000000|-1|3|4",
                                               "2|1|none|0|0|0.0|null|null|0|null|null"}));
    EXPECT_EQ(ask("SELECT * FROM file_part"), (rows{"1|0|0|1|2|10", "1|0|1|2|0|20"}));
    EXPECT_EQ(ask("SELECT id, file_count FROM component"), (rows{"1|1", "2|2"}));
    EXPECT_EQ(ask("SELECT * FROM volume"), (rows{"1|100|65535|3"}));
}

TEST_F(media_writer_test, seals_with_a_password)
{
    formats::bytes key;
    write(
        [&](media_writer& media) {
            media.add_old_version("a rather conspicuous text");
            key = media.payload_key();
        },
        "secret");
    const std::string file = read_file(folder / "m.hdr");
    EXPECT_EQ(file.substr(0, 7), "CWMEDIA");
    EXPECT_EQ(file.find("conspicuous"), std::string::npos);
    EXPECT_EQ(names_in(folder.path()), (rows{"m.hdr"}));
    EXPECT_EQ(query(folder / "m.hdr", "SELECT text FROM old_version", "secret"), (rows{"a rather conspicuous text"}));
    const std::string stored = query(folder / "m.hdr", "SELECT hex(payload_key) FROM media", "secret")[0];
    EXPECT_EQ(stored.size(), 64u);
    EXPECT_EQ(key, formats::derive_payload_key(id, "secret", cheap));
    EXPECT_EQ(std::stoul(stored.substr(0, 2), nullptr, 16), key[0]);
}

TEST_F(media_writer_test, keeps_clear_rows_off_the_disk_while_it_seals)
{
    staged_files stage(folder.path());
    media_writer media(stage, "m", id, "secret", cheap);
    for (int i = 0; i < 20'000; ++i)
        media.add_old_version("a rather conspicuous text");
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder.path()))
        EXPECT_TRUE(entry.is_directory()) << entry.path();
}

TEST_F(media_writer_test, makes_big_headers_quickly)
{
    const auto start = std::chrono::steady_clock::now();
    write([](media_writer& media) {
        const row members = named(formats::component_columns, "C");
        for (int i = 0; i < 2000; ++i)
            media.add_component(members);
        file_row file;
        file.date = 36925.5;
        file.md5 = formats::md5_digest{};
        for (int i = 0; i < 100'000; ++i) {
            file.name = "file number " + std::to_string(i);
            media.add_file(i % 7 == 0 ? 1 : 2, file);
        }
    });
    EXPECT_EQ(ask("SELECT sum(file_count) FROM component"), (rows{"100000"}));
    EXPECT_EQ(ask("SELECT name FROM file WHERE component = 1 AND position = 1"), (rows{"file number 7"}));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
}

TEST_F(media_writer_test, is_the_same_for_the_same_rows)
{
    const auto fill = [](media_writer& media) {
        const auto x = media.add_component(named(formats::component_columns, "X"));
        file_row file;
        for (int i = 0; i < 5000; ++i) {
            file.name = "f" + std::to_string(i * 7919 % 5000);
            media.add_file(x, file);
        }
    };
    for (const char* password : {"", "secret"}) {
        write(fill, password);
        const std::string first = read_file(folder / "m.hdr");
        write(fill, password);
        EXPECT_TRUE(read_file(folder / "m.hdr") == first) << password;
    }
}

TEST_F(media_writer_test, leaves_nothing_behind_on_a_full_disk)
{
    std::signal(SIGXFSZ, SIG_IGN);
    for (const char* password : {"", "secret"}) {
        rlimit before;
        getrlimit(RLIMIT_FSIZE, &before);
        rlimit small = before;
        small.rlim_cur = 200'000;
        setrlimit(RLIMIT_FSIZE, &small);
        const std::string message = error_of([&] {
            write(
                [](media_writer& media) {
                    for (int i = 0; i < 20'000; ++i)
                        media.add_old_version("a text that takes some room");
                },
                password);
        });
        setrlimit(RLIMIT_FSIZE, &before);
        EXPECT_EQ(message.substr(0, 13), "cannot write ") << message;
        EXPECT_TRUE(names_in(folder.path()).empty());
    }
}

} // namespace
