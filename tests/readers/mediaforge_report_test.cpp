// The report of a media as a whole.
#include "mediaforge_cabinets.h"
#include "mediaforge_report.h"
#include "mediaforge_walk.h"

#include "authoring/build_media.h"
#include "formats/media_format.h"

#include <algorithm>
#include <clocale>

namespace cw::mediaforge_tests {
namespace {

class mediaforge_report : public report_test {};

TEST_F(mediaforge_report, of_the_sample_is_what_a_reader_sees)
{
    authoring::build_options options;
    const auto built =
        authoring::build_media(std::string(CW_TEST_SOURCE_DIR "/resources/samples/tour.json"), m_folder, options);
    const std::string expected = read_file(CW_TEST_SOURCE_DIR "/tests/readers/expected/tour_report.txt");
    ASSERT_FALSE(expected.empty());
    const std::string actual = report(open(built.header.string()).get());
    const auto [mine, theirs] = std::ranges::mismatch(actual, expected);
    const auto line = std::count(actual.begin(), mine, '\n') + 1;
    EXPECT_TRUE(actual == expected) << "from line " << line
                                    << " on: " << std::string(mine, std::find(mine, actual.end(), '\n'));
}

TEST_F(mediaforge_report, parts_follow_each_other_with_a_blank_line_between)
{
    const object media = open(make_header(fill_every_table));
    const std::string first = part(media.get(), media_report::FirstPart);
    const std::string second = part(media.get(), media_report::SecondPart);
    EXPECT_TRUE(first.starts_with("Cratewright Media Report\n========================\n\nProduct\n-------\n"));
    EXPECT_TRUE(first.ends_with("\n\n"));
    EXPECT_FALSE(first.ends_with("\n\n\n"));
    EXPECT_TRUE(second.starts_with("Components\n----------\n"));
    EXPECT_FALSE(second.ends_with("\n\n"));
}

TEST_F(mediaforge_report, of_a_media_that_holds_nothing_says_so)
{
    EXPECT_EQ(report_of([](media_writer&) {}),
              "Cratewright Media Report\n========================\n\n"
              "Product\n-------\n  (none)\n\n"
              "Versions\n--------\n  Engine Binding            Dynamic\n\n"
              "Media Settings\n--------------\n  Update Mode               Update Not Supported\n\n"
              "Add/Remove Programs\n-------------------\n  (none)\n\n"
              "Features\n--------\n  (none)\n\n"
              "Components\n----------\n  (none)\n\n"
              "Setup Types\n-----------\n  (none)\n\n"
              "Explorer Shell\n--------------\n  (none)\n\n"
              "Registry Entries\n----------------\n  (none)\n");
}

TEST_F(mediaforge_report, of_a_protected_media_is_that_of_a_clear_one)
{
    const std::string clear = report(open(make_header(fill_every_table, "clear")).get());
    EXPECT_EQ(report(open(make_header(fill_every_table, "sealed", "secret"), u"secret").get()), clear);
    EXPECT_NE(clear.find("Component: Other"), std::string::npos);
}

TEST_F(mediaforge_report, of_a_cabinet_without_a_header_tells_what_that_has)
{
    cabinet_plan plan;
    plan.folders = {packing::stored, packing::mszip};
    plan.files = {{"a.txt", "first", 0}, {"dir\\b.txt", "second!", 1}};
    write_file(path_of("Some Name.cab"), make_cabinet(plan));
    EXPECT_EQ(report(open(path_of("Some Name.cab")).get()),
              "Cratewright Media Report\n========================\n\n"
              "Product\n-------\n  Product Name              Some Name\n\n"
              "Versions\n--------\n  CAB Format Version        103 (Unicode)\n\n"
              "Media Settings\n--------------\n  (none)\n\n"
              "Add/Remove Programs\n-------------------\n  (none)\n\n"
              "Features\n--------\n\n"
              "  Feature: Some Name\n"
              "    Display Name              Some Name\n"
              "    Visible                   Yes\n"
              "    Included Components       Folder 1\n"
              "                              Folder 2\n\n"
              "Components\n----------\n\n"
              "  Component: Folder 1\n\n"
              "    Filename                                     Size  Date\n"
              "    a.txt                                           5  2001-02-03 04:05:06\n\n"
              "  Component: Folder 2\n"
              "    Options                   Compressed\n\n"
              "    Filename                                     Size  Date\n"
              "    dir\\b.txt                                       7  2001-02-03 04:05:06\n\n"
              "Setup Types\n-----------\n  (none)\n\n"
              "Explorer Shell\n--------------\n  (none)\n\n"
              "Registry Entries\n----------------\n  (none)\n");
}

TEST_F(mediaforge_report, forges_no_lines)
{
    const std::string evil = "a\r\n  Feature: b\tc\x7F\xC2\x85\xE2\x80\xA8\xE2\x80\xAE";
    std::string name = evil + std::string("\0", 1) + "end";
    const auto named = [&](std::span<const formats::member_column> columns) {
        return authoring::make_row(columns, {{u"Name", name}});
    };
    const std::string all = report_of([&](media_writer& writer) {
        writer.set_settings(authoring::make_row(formats::media_settings_columns, {{u"ProductName", name}}));
        writer.add_old_version(name);
        const auto feature = writer.add_feature(0, named(formats::feature_columns));
        writer.add_feature_requirement(feature, feature);
        const auto component = writer.add_component(named(formats::component_columns));
        writer.add_feature_component(feature, component);
        writer.add_feature_property(feature, name, {VT_BSTR, name, 0, {}});
        authoring::file_row file;
        file.name = name;
        file.version = name;
        writer.add_file(component, file);
        writer.add_setup_type_feature(writer.add_setup_type(named(formats::setup_type_columns)), feature);
        writer.add_shortcut(writer.add_shell_folder(0, named(formats::shell_folder_columns)),
                            named(formats::shortcut_columns));
        const auto set = writer.add_registry_set(named(formats::registry_set_columns));
        writer.add_registry_set_component(set, component);
        const auto key = writer.add_registry_key(
            set, 0, authoring::make_row(formats::registry_key_columns, {{u"Path", name}, {u"DefaultValue", name}}));
        writer.add_registry_value(key, {VT_BSTR, name, 0, {}}, named(formats::registry_value_columns));
    });
    const std::string shown = "a␍␊  Feature: b␉c␡␤␤\uFFFD␀end";
    std::size_t times = 0;
    for (std::size_t at = 0; (at = all.find(shown, at)) != std::string::npos; ++at)
        ++times;
    EXPECT_EQ(times, 20u) << all;
    for (const char32_t banned : {0x00u, 0x09u, 0x7Fu, 0x85u, 0x2028u, 0x202Eu})
        EXPECT_EQ(wide(all).find(static_cast<char16_t>(banned)), std::u16string::npos)
            << std::hex << static_cast<unsigned>(banned);
    EXPECT_EQ(all.find("\n  Feature: b"), std::string::npos);
}

TEST_F(mediaforge_report, does_not_depend_on_the_locale)
{
    const object media = open(make_header([](media_writer& writer) {
        const auto feature = writer.add_feature(0, authoring::make_row(formats::feature_columns, {}));
        writer.add_feature_property(feature, "Real", {VT_R8, 1234567.5, 0, {}});
        writer.add_feature_property(feature, "Date", {VT_DATE, 36925.5, 0, {}});
    }));
    const std::string before = report(media.get());
    EXPECT_NE(before.find("1234567.5\n"), std::string::npos);
    EXPECT_NE(before.find("2001-02-03 12:00:00\n"), std::string::npos);
    const std::string old = std::setlocale(LC_ALL, nullptr);
    for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8", "C.UTF-8"})
        if (std::setlocale(LC_ALL, name)) {
            EXPECT_EQ(report(media.get()), before) << name;
        }
    std::setlocale(LC_ALL, old.c_str());
}

TEST_F(mediaforge_report, leaves_walks_through_the_media_alone)
{
    const object media = open(make_header(fill_every_table));
    const object component = item(child(media.get(), media::Components).get(), 1);
    const object files = child(component.get(), media_component::Files);
    const object first = call(files.get(), media_file_list::Item, 1).as_object();
    const object second = call(files.get(), media_file_list::Item, 2).as_object();
    EXPECT_EQ(text(first.get(), media_file::Name), u"file0");
    const object asked = child(media.get(), media::Report);
    const std::u16string before = text(asked.get(), media_report::SecondPart);
    EXPECT_EQ(text(second.get(), media_file::Name), u"file1");
    EXPECT_EQ(text(first.get(), media_file::Name), u"file0");
    EXPECT_EQ(text(file_of(media.get(), 1, 3).get(), media_file::Name), u"file2");
    EXPECT_EQ(text(component.get(), media_component::Name), u"Component");
    // Asked in any order and as often as wanted.
    EXPECT_EQ(text(asked.get(), media_report::SecondPart), before);
    EXPECT_FALSE(text(asked.get(), media_report::FirstPart).empty());
    EXPECT_EQ(text(child(media.get(), media::Report).get(), media_report::SecondPart), before);
}

TEST_F(mediaforge_report, outlives_the_media_object)
{
    object asked = child(open(make_header(fill_every_table)).get(), media::Report);
    m_factory.reset();
    EXPECT_NE(text(asked.get(), media_report::FirstPart).find(u"Feature: Top"), std::u16string::npos);
}

TEST_F(mediaforge_report, of_rows_that_contradict_each_other_fails)
{
    struct damage {
        std::string sql;
        const media_member_row& which;
        std::u16string_view table;
    };
    const damage damages[] = {
        {"UPDATE media_settings SET product_name = x'00'", media_report::FirstPart, u"media_settings"},
        {"DELETE FROM media_settings", media_report::FirstPart, u"media_settings"},
        {"UPDATE media SET format_version = 'x'", media_report::FirstPart, u"media"},
        {"UPDATE old_version SET position = 1", media_report::FirstPart, u"old_version"},
        {"DELETE FROM arp_info", media_report::FirstPart, u"arp_info"},
        {"UPDATE feature SET visible = 'x' WHERE id = 2", media_report::FirstPart, u"feature"},
        {"UPDATE feature_requirement SET position = 3", media_report::FirstPart, u"feature_requirement"},
        {"UPDATE feature_component SET component = 'x' WHERE position = 1", media_report::FirstPart,
         u"feature_component"},
        {"UPDATE feature_property SET type = 1000 WHERE position = 0", media_report::FirstPart, u"feature_property"},
        {"UPDATE feature_property SET feature = 9", media_report::FirstPart, u"feature_property"},
        {"UPDATE feature_property_element SET type = 3", media_report::FirstPart, u"feature_property_element"},
        {"UPDATE feature_property_element SET property = 7", media_report::FirstPart, u"feature_property_element"},
        {"UPDATE component SET shared = 'x'", media_report::SecondPart, u"component"},
        {"UPDATE file SET size = -1", media_report::SecondPart, u"file"},
        {"UPDATE file SET md5 = x'0011'", media_report::SecondPart, u"file"},
        {"UPDATE file SET position = position + 10", media_report::SecondPart, u"file"},
        {"UPDATE file SET component = 17", media_report::SecondPart, u"file"},
        {"UPDATE file SET component = 0", media_report::SecondPart, u"file"},
        {"UPDATE component SET file_count = 2 WHERE id = 1", media_report::SecondPart, u"table file,"},
        {"UPDATE component SET file_count = 1 WHERE id = 2", media_report::SecondPart, u"table file,"},
        {"DELETE FROM file WHERE position = 2", media_report::SecondPart, u"table file,"},
        {"INSERT INTO setup_type_feature VALUES (1, 'all')", media_report::SecondPart, u"setup_type_feature"},
        {"UPDATE shortcut SET folder = 1", media_report::SecondPart, u""},
        {"UPDATE shortcut SET folder = 9", media_report::SecondPart, u"shortcut"},
        {"UPDATE registry_set_component SET component = x'01'", media_report::SecondPart, u"registry_set_component"},
        {"UPDATE registry_key SET hive = 5", media_report::SecondPart, u"registry_key"},
        {"UPDATE registry_key SET registry_set = 0", media_report::SecondPart, u"registry_key"},
        {"UPDATE registry_value SET registry_key = 8", media_report::SecondPart, u"registry_value"},
        {"UPDATE registry_value SET data = x'00'", media_report::SecondPart, u"registry_value"},
    };
    for (const damage& each : damages) {
        SCOPED_TRACE(each.sql);
        const std::string path = make_header(fill_every_table);
        alter(path, each.sql);
        const object media = open(path);
        if (each.table.empty()) // a row that is elsewhere now is no damage
            EXPECT_NE(report(media.get()).find("Shortcut: Shortcut"), std::string::npos);
        else
            expect_failure(media.get(), each.which, each.table);
        // The rest of the media is what it was.
        EXPECT_EQ(count(child(media.get(), media::Features).get()), 1);
    }
}

} // namespace
} // namespace cw::mediaforge_tests
