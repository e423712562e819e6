// Headers whose rows are not what they should be: an error at the open or at the member, never harm.
#include "mediaforge_walk.h"

#include <chrono>
#include <random>

namespace cw::mediaforge_tests {
namespace {

class mediaforge_header_check : public media_test {
protected:
    std::string header() { return make_header(fill_every_table); }
};

TEST_F(mediaforge_header_check, a_whole_header_has_no_fault)
{
    const walk_result result = walk_media(open(header()).get());
    EXPECT_EQ(result.failures, 0u);
    EXPECT_GT(result.calls, 300u);
}

struct fault {
    const char* sql;
    int number;
    const char16_t* told;
};

TEST_F(mediaforge_header_check, contradictions_are_found_at_the_open)
{
    const fault faults[] = {
        {"UPDATE feature SET parent = 2 WHERE id = 1", 31, u"feature"}, // a circle of two
        {"UPDATE feature SET parent = id, position = id; UPDATE feature SET position = 0", 31,
         u"feature"},                                                                    // each its own parent
        {"UPDATE feature SET parent = 99 WHERE id = 2", 31, u"rows that are not there"}, // dangling
        {"UPDATE feature SET position = 5 WHERE id = 2", 31, u"gap"},                    //
        {"UPDATE feature SET position = -1 WHERE id = 1", 31, u"gap"},                   //
        {"UPDATE feature SET position = 'x' WHERE id = 1", 31, u"not a number"},         //
        {"UPDATE feature SET parent = x'00' WHERE id = 2", 31, u"not a number"},         //
        {"UPDATE feature SET id = 0 WHERE id = 1", 31, u"number of the root"},           //
        {"UPDATE shell_folder SET parent = 2 WHERE id = 1", 31, u"shell_folder"},        //
        {"UPDATE shell_folder SET parent = 7 WHERE id = 2", 31, u"shell_folder"},        //
        {"UPDATE component SET id = 3 WHERE id = 2", 31, u"component"},                  //
        {"UPDATE component SET id = 0 WHERE id = 2", 31, u"component"},                  //
        {"UPDATE setup_type SET id = 4", 31, u"setup_type"},                             //
        {"UPDATE registry_set SET id = -4", 31, u"registry_set"},                        //
        {"UPDATE feature_component SET component = 77", 31, u"feature_component, a row has a component"},
        {"UPDATE feature_component SET feature = 77", 31, u"feature_component, a row has a feature"},
        {"UPDATE feature_requirement SET required = 55", 31, u"feature_requirement, a row has a required feature"},
        {"UPDATE feature_requirement SET feature = 55", 31, u"feature_requirement, a row has a feature"},
        {"INSERT INTO setup_type_feature VALUES (1, 99)", 31, u"setup_type_feature, a row has a feature"},
        {"INSERT INTO setup_type_feature VALUES (99, 1)", 31, u"setup_type_feature, a row has a setup type"},
        {"INSERT INTO registry_set_component VALUES (1, 50, 99)", 31, u"registry_set_component, a row has a component"},
        {"INSERT INTO registry_set_component VALUES (99, 0, 1)", 31, u"registry_set_component, a row has a registry"},
        {"INSERT INTO volume VALUES (9, -1, 0, 0)", 31, u"volume, a row has a size below zero"},
        {"INSERT INTO volume VALUES (9, 0, 0, -1)", 31, u"volume, a row has a size below zero"},
        {"DELETE FROM media", 31, u"media has no row"},                        //
        {"UPDATE media SET media_id = x'00'", 31, u"16 bytes"},                //
        {"UPDATE media SET media_id = 5", 31, u"where bytes belong"},          //
        {"UPDATE media SET payload_key = x'0011'", 31, u"32 bytes"},           //
        {"DROP TABLE shortcut", 13, u"shortcut"},                              //
        {"ALTER TABLE component DROP COLUMN destination", 13, u"destination"}, //
        {"ALTER TABLE shortcut RENAME TO other; CREATE VIEW shortcut AS SELECT * FROM other", 13, u"shortcut"},
        {"DROP TABLE old_version; CREATE VIEW old_version AS WITH RECURSIVE n(position, text) AS "
         "(SELECT 0, 'x' UNION ALL SELECT position + 1, 'x' FROM n) SELECT * FROM n",
         13, u"old_version"},
        {"PRAGMA user_version = 2", 30, u"newer"},
        {"PRAGMA user_version = -1", 30, u"newer"},
        {"PRAGMA user_version = 0", 13, u"schema"},
        {"PRAGMA application_id = 0", 13, u"another program"},
        {"PRAGMA application_id = 1234", 13, u"another program"},
    };
    for (const fault& one : faults) {
        SCOPED_TRACE(one.sql);
        const std::string path = header();
        alter(path, one.sql);
        expect_error(path, one.number, one.told);
    }
}

TEST_F(mediaforge_header_check, deep_trees_have_a_limit)
{
    const auto chain = [&](int depth) {
        return make_header([&](media_writer& writer) {
            std::int64_t parent = 0;
            for (int i = 0; i < depth; ++i)
                parent = writer.add_feature(parent, authoring::make_row(formats::feature_columns, {}));
        });
    };
    EXPECT_TRUE(open(chain(1000)));
    expect_error(chain(1001), 31, u"deeper");
}

TEST_F(mediaforge_header_check, a_long_circle_is_found_quickly)
{
    const std::string path = make_header([](media_writer& writer) {
        for (int i = 0; i < 50000; ++i)
            writer.add_feature(0, authoring::make_row(formats::feature_columns, {}));
    });
    alter(path, "UPDATE feature SET parent = id % 50000 + 1, position = 0");
    const auto start = std::chrono::steady_clock::now();
    expect_error(path, 31, u"50000 rows");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

/// A fault that shows when the members are read.
struct member_fault {
    const char* sql;
    const char16_t* told;
    std::function<outcome(IDispatch* media)> read;
};

TEST_F(mediaforge_header_check, other_contradictions_fail_at_the_member)
{
    const auto feature = [](IDispatch* media) { return item(child(media, media::Features).get(), 1); };
    const auto component = [](IDispatch* media) { return item(child(media, media::Components).get(), 1); };
    const auto file = [](const media_member_row& member) {
        return [&member](IDispatch* media) { return call(file_of(media, 1, 1).get(), member); };
    };
    const auto file_count = [&](IDispatch* media) {
        return call(child(component(media).get(), media_component::Files).get(), media_file_list::Count);
    };
    const auto feature_member = [&](const media_member_row& member) {
        return [&member, feature](IDispatch* media) { return call(feature(media).get(), member); };
    };
    const auto feature_item = [&](const media_member_row& member) {
        return [&member, feature](IDispatch* media) {
            return call(child(feature(media).get(), member).get(), media_collection::Item, 1);
        };
    };
    const auto feature_count = [&](const media_member_row& member) {
        return [&member, feature](IDispatch* media) {
            return call(child(feature(media).get(), member).get(), media_collection::Count);
        };
    };
    const member_fault faults[] = {
        {"UPDATE component SET file_count = 4", u"files", file_count},
        {"UPDATE component SET file_count = 2", u"files", file_count},
        {"UPDATE component SET file_count = -1", u"files", file_count},
        {"UPDATE component SET file_count = 'many'", u"a text", file_count},
        {"UPDATE file SET position = 2147483647 WHERE position = 2", u"out of range", file_count},
        {"UPDATE file SET position = 99999999999 WHERE position = 2", u"out of range", file_count},
        {"UPDATE file SET size = -1", u"out of range", file(media_file::Size)},
        {"UPDATE file SET size = 'big'", u"a text", file(media_file::Size)},
        {"UPDATE file SET compressed_size = -9", u"out of range", file(media_file::CompressedSize)},
        {"UPDATE file SET compressed_size = 1.5", u"a real", file(media_file::CompressedSize)},
        {"UPDATE file SET date = 'today'", u"a text", file(media_file::Date)},
        {"UPDATE file SET date = 9e999", u"finite", file(media_file::Date)},
        {"UPDATE file SET md5 = x'00'", u"16 bytes", file(media_file::Md5Signature)},
        {"UPDATE file SET md5 = 'text'", u"a text", file(media_file::Md5Signature)},
        {"UPDATE file SET name = x'414243'", u"bytes", file(media_file::Name)},
        {"UPDATE file SET flags = 'F'", u"a text", file(media_file::Flags)},
        {"UPDATE feature SET name = x'00'", u"feature", feature_member(media_feature::Name)},
        {"UPDATE feature SET visible = 'yes'", u"feature", feature_member(media_feature::Visible)},
        {"UPDATE feature SET image_index = 'one'", u"feature", feature_member(media_feature::ImageIndex)},
        {"UPDATE feature_component SET component = 'Other'", u"a text",
         feature_item(media_feature::IncludedComponents)},
        {"UPDATE feature_component SET position = position + 10", u"not there",
         feature_item(media_feature::IncludedComponents)},
        {"UPDATE feature_component SET position = 'x' WHERE position = 1", u"a text",
         feature_count(media_feature::IncludedComponents)},
        {"UPDATE feature_component SET position = position - 5", u"out of range",
         feature_count(media_feature::IncludedComponents)},
    };
    for (const member_fault& one : faults) {
        SCOPED_TRACE(one.sql);
        const std::string path = header();
        alter(path, one.sql);
        const object media = open(path);
        ASSERT_TRUE(media);
        const outcome answer = one.read(media.get());
        EXPECT_EQ(answer.result, failure(31));
        EXPECT_TRUE(answer.tells(one.told)) << narrow(answer.description);
        // Everything else goes on.
        EXPECT_GE(walk_media(media.get()).failures, 1u);
    }
}

TEST_F(mediaforge_header_check, missing_single_rows_fail_at_their_members)
{
    const std::string path = header();
    alter(path, "DELETE FROM media_settings; DELETE FROM arp_info");
    const object media = open(path);
    const outcome name = call(child(media.get(), media::MediaSettings).get(), media_settings::ProductName);
    EXPECT_EQ(name.result, failure(31));
    EXPECT_TRUE(name.tells(u"media_settings"));
    EXPECT_EQ(call(child(media.get(), media::ArpInfo).get(), media_arp_info::ReadMe).result, failure(31));
}

TEST_F(mediaforge_header_check, sizes_beyond_31_bits_keep_their_low_half)
{
    const std::string path = header();
    alter(path, "UPDATE file SET size = 2147483648, compressed_size = 4294967301");
    const object file = file_of(open(path).get(), 1, 1);
    EXPECT_EQ(number(file.get(), media_file::Size), INT32_MIN);
    EXPECT_EQ(number(file.get(), media_file::CompressedSize), 5);
    alter(path, "UPDATE file SET size = 4294967295");
    EXPECT_EQ(number(file_of(open(path).get(), 1, 1).get(), media_file::Size), -1);
}

TEST_F(mediaforge_header_check, texts_that_are_no_utf8_are_shown_with_marks)
{
    const std::string path = header();
    alter(path, "UPDATE component SET name = CAST(x'41FF42C3' AS TEXT) WHERE id = 1;"
                "UPDATE component SET destination = CAST(x'410042' AS TEXT) WHERE id = 1;"
                "UPDATE component SET language = CAST(x'EDA080F09F9880C0AF' AS TEXT) WHERE id = 1");
    const object component = item(child(open(path).get(), media::Components).get(), 1);
    EXPECT_EQ(text(component.get(), media_component::Name), u"A\xFFFD"
                                                            u"B\xFFFD");
    EXPECT_EQ(text(component.get(), media_component::Destination), std::u16string(u"A\0B", 3));
    EXPECT_EQ(text(component.get(), media_component::Language), u"\xFFFD\xFFFD\xFFFD\xD83D\xDE00\xFFFD\xFFFD");
}

TEST_F(mediaforge_header_check, tables_without_keys_do_not_hang)
{
    const std::string path = header();
    alter(path, "CREATE TABLE copy AS SELECT * FROM file; DROP TABLE file; ALTER TABLE copy RENAME TO file;"
                "WITH RECURSIVE n(i) AS (SELECT 10 UNION ALL SELECT i + 1 FROM n WHERE i < 300000) "
                "INSERT INTO file SELECT component, i, name, size, compressed_size, date, version, md5, flags, volume, "
                "entry FROM n, (SELECT * FROM file LIMIT 1); UPDATE component SET file_count = 300001 WHERE id = 1");
    const auto start = std::chrono::steady_clock::now();
    // However it ends, it ends.
    const outcome answer = open_path(path);
    if (SUCCEEDED(answer.result))
        (void)walk_media(answer.as_object().get(), 3);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

TEST_F(mediaforge_header_check, random_damage_does_no_harm)
{
    const std::string path = header();
    const std::string whole = read_file(path);
    std::mt19937 random(20240511);
    std::vector<std::size_t> used;
    for (std::size_t i = 0; i < whole.size(); ++i)
        if (whole[i] != 0)
            used.push_back(i);
    unsigned refused = 0;
    unsigned failed = 0;
    for (int round = 0; round < 400; ++round) {
        std::string damaged = whole;
        const unsigned flips = 1 + random() % 4;
        for (unsigned i = 0; i < flips; ++i) {
            // Mostly where something stands, now and then anywhere or in the first hundred bytes.
            const unsigned choice = random() % 8;
            const std::size_t place = choice == 0   ? random() % damaged.size()
                                      : choice == 1 ? random() % 100
                                                    : used[random() % used.size()];
            damaged[place] = static_cast<char>(random());
        }
        write_file(path, damaged);
        const outcome answer = open_path(path);
        if (FAILED(answer.result)) {
            ++refused;
            EXPECT_GT(last_number(), 0);
            EXPECT_FALSE(answer.description.empty());
        } else {
            failed += walk_media(answer.as_object().get()).failures;
        }
    }
    EXPECT_GT(refused, 20u);
    EXPECT_GT(failed, 5u);
}

TEST_F(mediaforge_header_check, every_truncation_is_refused)
{
    const std::string path = header();
    const std::string whole = read_file(path);
    for (std::size_t size = 0; size < whole.size(); size += size < 128 ? 1 : 1021) {
        write_file(path, std::string_view(whole).substr(0, size));
        EXPECT_EQ(open_path(path).result, failure(13)) << size;
    }
    write_file(path, whole + std::string(5000, 'x'));
    EXPECT_TRUE(open(path)); // what stands behind the last page is nobody's
}

} // namespace
} // namespace cw::mediaforge_tests
