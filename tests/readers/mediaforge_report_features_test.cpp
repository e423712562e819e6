// Product, versions, settings and features in a report, and setup types, which show features too.
#include "mediaforge_report.h"

#include "formats/media_format.h"

#include <algorithm>

namespace cw::mediaforge_tests {
namespace {

using authoring::cell;
using authoring::make_row;
using authoring::typed_value;

class mediaforge_report_features : public report_test {
protected:
    static authoring::row named(std::string name)
    {
        return make_row(formats::feature_columns, {{u"Name", cell(std::move(name))}});
    }
    /// The last word of the line that begins with a label.
    static std::string value_of(const std::string& report, const std::string& label)
    {
        const std::size_t begin = report.find("  " + label + "  ");
        if (begin == std::string::npos)
            return "(no line)";
        const std::size_t value = report.find_first_not_of(' ', begin + label.size() + 2);
        return report.substr(value, report.find('\n', value) - value);
    }
};

TEST_F(mediaforge_report_features, versions_read_as_the_viewer_shows_them)
{
    struct expectation {
        std::int64_t format, high, low, binding;
        std::string format_text, engine_text, binding_text;
    };
    const expectation expectations[] = {
        {0x100600C, 0x00280002, 0x04090007, 1, "ver60", "40.2.1033.7", "Static"},
        {0x1007000, 0, 0, 0, "ver70", "(no line)", "Dynamic"},
        {0x1009500, -1, 0xFFFF, 2, "ver95", "-1.65535.0.65535", "Dynamic (2)"},
        {beyond_32_bits + 0x1009500, beyond_32_bits, beyond_32_bits, beyond_32_bits, "ver95", "(no line)", "Dynamic"},
        {beyond_32_bits, 0, 0x00010002, beyond_32_bits + 1, "(no line)", "0.0.1.2", "Static"},
        {0x2000005, 1, 2, 1, "5 (ANSI)", "0.1.0.2", "Static"},
        {0x4000009, 1, 2, 1, "9 (Unicode)", "0.1.0.2", "Static"},
        {0x1000000, 1, 2, 1, "-16777216 (ANSI)", "0.1.0.2", "Static"},
    };
    for (const expectation& each : expectations) {
        const std::string all = report_of([&](media_writer& writer) {
            writer.set_media(make_row(formats::media_columns, {{u"FormatVersion", each.format},
                                                               {u"EngineVersionHigh", each.high},
                                                               {u"EngineVersionLow", each.low},
                                                               {u"EngineBinding", each.binding}}));
        });
        EXPECT_EQ(value_of(all, "CAB Format Version"), each.format_text);
        EXPECT_EQ(value_of(all, "Engine Version"), each.engine_text);
        EXPECT_EQ(value_of(all, "Engine Binding"), each.binding_text);
    }
}

TEST_F(mediaforge_report_features, modes_have_names_and_others_their_numbers)
{
    struct expectation {
        std::int64_t mode;
        std::string maintenance, update;
    };
    const expectation expectations[] = {
        {1, "Standard", "Update - Full Media"},
        {2, "Cumulative", "Update Not Supported (2)"},
        {3, "3", "Update - Differential Media"},
        {4, "Multi-Instance", "Update Not Supported (4)"},
        {8, "No Uninstall or Maintenance", "Update Not Supported (8)"},
        {-5, "-5", "Update Not Supported (-5)"},
        {0, "(no line)", "Update Not Supported"},
        {beyond_32_bits, "(no line)", "Update Not Supported"},
        {beyond_32_bits + 1, "Standard", "Update - Full Media"},
    };
    for (const auto& [mode, maintenance, update] : expectations) {
        const std::string all = report_of([mode = mode](media_writer& writer) {
            writer.set_settings(
                make_row(formats::media_settings_columns, {{u"MaintenanceMode", mode}, {u"UpdateMode", mode}}));
        });
        EXPECT_EQ(value_of(all, "Maintenance"), maintenance);
        EXPECT_EQ(value_of(all, "Update Mode"), update);
    }
}

TEST_F(mediaforge_report_features, each_member_of_the_media_has_its_line)
{
    const auto filled = [](std::span<const formats::member_column> columns) {
        authoring::row members;
        for (const formats::member_column& column : columns)
            members.push_back(column.member.type == VT_BSTR ? cell(std::string(column.name)) : cell(std::int64_t{0}));
        return members;
    };
    const std::string all = report_of([&](media_writer& writer) {
        writer.set_media(filled(formats::media_columns));
        writer.set_settings(filled(formats::media_settings_columns));
        writer.set_arp_info(filled(formats::arp_info_columns));
        writer.add_old_version("first");
        writer.add_old_version("");
        writer.add_old_version("third");
    });
    EXPECT_EQ(section(all, "Product"), "  Product Name              product_name\n"
                                       "  Company Name              company_name\n"
                                       "  Product Version           product_version\n"
                                       "  Product GUID              product_guid\n");
    EXPECT_EQ(section(all, "Media Settings"), "  <TARGETDIR>               target_dir\n"
                                              "  Executable File           executable_file\n"
                                              "  Update Mode               Update Not Supported\n"
                                              "  Old Versions to Update    first\n\n"
                                              "                            third\n");
    EXPECT_EQ(section(all, "Add/Remove Programs"), "  Publisher/Product URL     publisher_url\n"
                                                   "  Support Contact           support_contact\n"
                                                   "  Support URL               support_url\n"
                                                   "  Support Phone Number      support_phone\n"
                                                   "  Read Me                   read_me\n"
                                                   "  Product Update URL        product_update_url\n"
                                                   "  Comments                  comments\n"
                                                   "  Display Icon              display_icon\n");
}

TEST_F(mediaforge_report_features, each_option_of_the_media_has_its_word)
{
    const std::pair<std::u16string_view, const char*> options[] = {{u"DisableChangeButton", "Disable Change Button"},
                                                                   {u"DisableRemoveButton", "Disable Remove Button"},
                                                                   {u"CombinedButtons", "Combined Buttons"}};
    for (const auto& [member, word] : options) {
        const std::string all = report_of([member = member](media_writer& writer) {
            writer.set_arp_info(make_row(formats::arp_info_columns, {{member, std::int64_t{1}}}));
        });
        EXPECT_EQ(section(all, "Add/Remove Programs"), "  Options                   " + std::string(word) + "\n");
    }
}

TEST_F(mediaforge_report_features, each_number_is_told_as_its_member_answers_it)
{
    const told_member members[] = {
        {u"FileNeed", 1, "    File Need                 Critical\n"},
        {u"FileNeed", 2, "    File Need                 Highly Recommended\n"},
        {u"FileNeed", 4, "    File Need                 Standard\n"},
        {u"FileNeed", 3, "    File Need                 3\n"},
        {u"FileNeed", beyond_32_bits + 2, "    File Need                 Highly Recommended\n"},
        {u"FileNeed", beyond_32_bits, ""},
        {u"ImageIndex", 7, "    Image Index               7\n"},
        {u"ImageIndex", 40000, "    Image Index               -25536\n"},
        {u"ImageIndex", 0x10000, ""},
        {u"Flags", 1, "    Flags                     0x00000001\n    Options                   Object Feature\n"},
        {u"Flags", 2, "    Flags                     0x00000002\n    Options                   Object Feature\n"},
        {u"Flags", -4, "    Flags                     0xFFFFFFFC\n"},
        {u"Flags", beyond_32_bits, ""},
        {u"DataAsFiles", 1, "    Options                   Data as files\n"},
        {u"DataAsFiles", beyond_32_bits, "    Options                   Data as files\n"},
        {u"Encryption", 1, "    Options                   Encryption\n"},
        {u"PasswordFlags", 1, "    Options                   Password Protected\n"},
        {u"PasswordFlags", 0x800, "    Other Password Flags      0x00000800\n"},
        {u"PasswordFlags", -1,
         "    Options                   Password Protected\n    Other Password Flags      0xFFFFFFFE\n"},
        {u"PasswordFlags", beyond_32_bits, ""},
        {u"Volatile", 1, "    Options                   Volatile\n"},
        {u"SplitBefore", 1, "    Options                   Split Before\n"},
        {u"SplitAfter", 1, "    Options                   Split After\n"},
        {u"SplitNotAllowed", 1, "    Options                   Split Not Allowed\n"},
        {u"SplitBeforeNotAllowed", 1, "    Options                   Split Before Not Allowed\n"},
    };
    const std::string path = make_header([&](media_writer& writer) {
        for (const told_member& each : members)
            writer.add_feature(0, make_row(formats::feature_columns, {{each.name, each.value}}));
    });
    std::string expected;
    for (const told_member& each : members)
        expected += "\n  Feature:\n    Visible                   No\n" + each.lines;
    const object media = open(path);
    EXPECT_EQ(section(report(media.get()), "Features"), expected);
    const object features = child(media.get(), media::Features);
    EXPECT_EQ(call(item(features.get(), 8).get(), media_feature::ImageIndex).value.iVal, -25536);
}

TEST_F(mediaforge_report_features, each_member_has_its_line)
{
    const std::string all = report_of([](media_writer& writer) {
        authoring::row members;
        for (const formats::member_column& column : formats::feature_columns)
            members.push_back(column.member.type == VT_BSTR ? cell(std::string(column.name)) : cell(std::int64_t{1}));
        const auto first = writer.add_feature(0, members);
        const auto second = writer.add_feature(0, named("Second"));
        writer.add_feature_requirement(first, second);
        writer.add_feature_requirement(first, first);
        writer.add_component(make_row(formats::component_columns, {{u"Name", "Unused"}}));
        writer.add_feature_component(first,
                                     writer.add_component(make_row(formats::component_columns, {{u"Name", "Used"}})));
        writer.add_feature_component(first, 1);
    });
    EXPECT_EQ(section(all, "Features"),
              "\n  Feature: name\n"
              "    Display Name              display_name\n"
              "    Description               description\n"
              "    Status Text               status_text\n"
              "    GUID                      guid\n"
              "    Object                    object_name\n"
              "    Object Version            object_version\n"
              "    Visible                   Yes\n"
              "    File Need                 Critical\n"
              "    CD-ROM Folder             cd_rom_folder\n"
              "    FTP Location              ftp_location\n"
              "    HTTP Location             http_location\n"
              "    Miscellaneous             miscellaneous\n"
              "    OnInstalling Function     on_installing\n"
              "    OnInstalled Function      on_installed\n"
              "    OnUninstalling Function   on_uninstalling\n"
              "    OnUninstalled Function    on_uninstalled\n"
              "    Image Index               1\n"
              "    Flags                     0x00000001\n"
              "    Options                   Object Feature, Data as files, Encryption, Password Protected, "
              "Volatile, Split Before, Split After, Split Not Allowed, Split Before Not "
              "Allowed\n"
              "    Required Features         Second\n"
              "                              name\n"
              "    Included Components       Used\n"
              "                              Unused\n\n"
              "  Feature: Second\n"
              "    Visible                   No\n");
}

TEST_F(mediaforge_report_features, properties_show_values_of_every_type)
{
    const std::string all = report_of([](media_writer& writer) {
        const auto feature = writer.add_feature(0, named("Object"));
        int number = 0;
        const auto add = [&](typed_value value) {
            writer.add_feature_property(feature, "P" + std::to_string(++number), value);
        };
        for (const auto& [type, value] :
             std::initializer_list<std::pair<VARTYPE, std::int64_t>>{{VT_I1, -5},
                                                                     {VT_UI1, 250},
                                                                     {VT_I2, -300},
                                                                     {VT_UI2, 65000},
                                                                     {VT_I4, -70000},
                                                                     {VT_UI4, 4000000000},
                                                                     {VT_INT, 7},
                                                                     {VT_UINT, 8},
                                                                     {VT_I8, INT64_MIN},
                                                                     {VT_UI8, -1},
                                                                     {VT_BOOL, -1},
                                                                     {VT_BOOL, 0},
                                                                     {VT_CY, 12345},
                                                                     {VT_CY, -10500},
                                                                     {VT_CY, 1},
                                                                     {VT_CY, INT64_MIN},
                                                                     {VT_CY, 30000},
                                                                     {VT_ERROR, -2147467259}})
            add({type, value, 0, {}});
        add({VT_R4, 0.1, 0, {}});
        add({VT_R8, -2.25, 0, {}});
        add({VT_DATE, 36925.5, 0, {}});
        add({VT_DATE, 1e9, 0, {}});
        add({VT_BSTR, std::string("Text Ω"), 0, {}});
        add({VT_BSTR, {}, 0, {}});
        add({VT_EMPTY, {}, 0, {}});
        add({VT_NULL, {}, 0, {}});
        add({VT_ARRAY | VT_I4, {}, -1, {{VT_I4, std::int64_t{10}, 0, {}}, {VT_I4, std::int64_t{20}, 0, {}}}});
        add({VT_ARRAY | VT_VARIANT, {}, 5, {{VT_BSTR, std::string("v"), 0, {}}, {VT_R8, 0.5, 0, {}}}});
        add({VT_ARRAY | VT_BSTR, {}, 0, {}});
    });
    const std::string values[] = {"-5",
                                  "250",
                                  "-300",
                                  "65000",
                                  "-70000",
                                  "4000000000",
                                  "7",
                                  "8",
                                  "-9223372036854775808",
                                  "18446744073709551615",
                                  "True",
                                  "False",
                                  "1.2345",
                                  "-1.05",
                                  "0.0001",
                                  "-922337203685477.5808",
                                  "3",
                                  "0x80004005",
                                  "0.1",
                                  "-2.25",
                                  "2001-02-03 12:00:00",
                                  "1e+09",
                                  "Text Ω",
                                  "",
                                  "(empty)",
                                  "(null)"};
    std::string expected = "\n  Feature: Object\n    Visible                   No\n    Properties\n";
    const auto line = [&](const std::string& name, const std::string& value) {
        expected += "      " + name + (value.empty() ? "" : std::string(24 - name.size(), ' ') + value) + "\n";
    };
    for (std::size_t i = 0; i < std::size(values); ++i)
        line("P" + std::to_string(i + 1), values[i]);
    line("P27(-1)", "10");
    line("P27(0)", "20");
    line("P28(5)", "v");
    line("P28(6)", "0.5");
    line("P29", "(none)");
    EXPECT_EQ(section(all, "Features"), expected);
}

TEST_F(mediaforge_report_features, bounds_of_arrays_are_kept)
{
    const auto failing = [&](std::int32_t lower) {
        return open(make_header([&](media_writer& writer) {
            const auto feature = writer.add_feature(0, named("Object"));
            writer.add_feature_property(
                feature, "P",
                {VT_ARRAY | VT_I4, {}, lower, {{VT_I4, std::int64_t{1}, 0, {}}, {VT_I4, std::int64_t{1}, 0, {}}}});
        }));
    };
    EXPECT_EQ(call(child(failing(INT32_MIN).get(), media::Report).get(), media_report::FirstPart).result, S_OK);
    expect_failure(failing(INT32_MAX).get(), media_report::FirstPart, u"feature_property");
}

TEST_F(mediaforge_report_features, stand_in_their_order_and_not_in_that_of_their_numbers)
{
    const std::string path = make_header([](media_writer& writer) {
        const auto f = writer.add_feature(0, named("f"));
        const auto a = writer.add_feature(0, named("a"));
        writer.add_feature(a, named("c"));
        writer.add_feature(a, named("d"));
        writer.add_feature(f, named("g"));
        writer.add_feature_requirement(f, a);
    });
    alter(path, "UPDATE feature SET position = -1 WHERE id = 2; UPDATE feature SET position = 1 WHERE id = 1;"
                "UPDATE feature SET position = 0 WHERE id = 2; UPDATE feature SET position = 9 WHERE id = 3;"
                "UPDATE feature SET position = 0 WHERE id = 4; UPDATE feature SET position = 1 WHERE id = 3");
    const auto block = [](std::size_t indent, const std::string& name) {
        return "\n" + std::string(indent, ' ') + "Feature: " + name + "\n" + std::string(indent + 2, ' ') +
               "Visible                   No\n";
    };
    EXPECT_EQ(section(report(open(path).get()), "Features"), block(2, "a") + block(4, "d") + block(4, "c") +
                                                                 block(2, "f") + "    Required Features         a\n" +
                                                                 block(4, "g"));
}

TEST_F(mediaforge_report_features, nest_as_deep_as_they_may_in_lines_that_stay_short)
{
    constexpr int levels = 1000;
    const std::string all = report_of([](media_writer& writer) {
        std::int64_t parent = 0;
        const auto type = writer.add_setup_type(make_row(formats::setup_type_columns, {{u"Name", "All"}}));
        for (int i = 1; i <= levels; ++i) {
            parent = writer.add_feature(parent, named("n" + std::to_string(i)));
            writer.add_setup_type_feature(type, parent);
        }
        writer.add_feature(0, named("beside"));
    });
    EXPECT_LT(all.size(), 200'000u);
    const std::string widest(32, ' ');
    EXPECT_NE(all.find("\n" + widest + "Feature: n16\n"), std::string::npos);
    EXPECT_NE(all.find("\n" + widest + "(level 17) Feature: n17\n"), std::string::npos);
    EXPECT_NE(all.find("\n" + widest + "(level 1000) Feature: n1000\n"), std::string::npos);
    EXPECT_NE(all.find("\n  Feature: beside\n"), std::string::npos);
    EXPECT_NE(section(all, "Setup Types").find("\n  " + widest + "(level 1000) n1000\n"), std::string::npos);
}

TEST_F(mediaforge_report_features, long_names_are_told_once)
{
    const std::string name(100'000, 'x');
    const std::string all = report_of([&](media_writer& writer) {
        const auto feature = writer.add_feature(0, named(name));
        const auto type = writer.add_setup_type(make_row(formats::setup_type_columns, {{u"Name", "All"}}));
        writer.add_setup_type_feature(type, feature);
        for (int i = 0; i < 100; ++i)
            writer.add_feature_requirement(feature, feature);
        const typed_value one{VT_I4, std::int64_t{1}, 0, {}};
        writer.add_feature_property(feature, name, one);
        writer.add_feature_property(feature, name, {VT_ARRAY | VT_I4, {}, 0, std::vector<typed_value>(100, one)});
    });
    EXPECT_NE(all.find("Feature: " + name + "\n"), std::string::npos);
    EXPECT_NE(
        all.find("\n      " + name + "  1\n      " + name + "(0)  1\n      " + std::string(260, 'x') + "…(1)  1\n"),
        std::string::npos);
    EXPECT_NE(all.find("Required Features         " + std::string(260, 'x') + "…\n"), std::string::npos);
    EXPECT_LT(all.size(), 450'000u);
}

TEST_F(mediaforge_report_features, setup_types_show_those_that_belong)
{
    constexpr std::int64_t f = 1, a = 2, b = 3, c = 4, d = 5, e = 6, g = 7;
    const std::vector<std::vector<std::int64_t>> types{{f, a, b, c, d, e, g}, {a, c, d, e}, {c, e, g}, {}, {a, b, d}};
    const std::string all = report_of([&](media_writer& writer) {
        const auto add = [&](std::int64_t parent, const char* name) { writer.add_feature(parent, named(name)); };
        add(0, "f");
        add(0, "a");
        add(a, "b");
        add(b, "c");
        add(b, "d");
        add(a, "e");
        add(f, "g");
        for (std::size_t i = 0; i < types.size(); ++i) {
            const auto type =
                writer.add_setup_type(make_row(formats::setup_type_columns, {{u"Name", "T" + std::to_string(i)}}));
            for (const std::int64_t feature : types[i])
                writer.add_setup_type_feature(type, feature);
        }
    });
    // "c" and "d" stand at the top of the second type, as what they hang below is not in it.
    EXPECT_EQ(section(all, "Setup Types"),
              "\n  Setup Type: T0\n    f\n      g\n    a\n      b\n        c\n        d\n      e\n"
              "\n  Setup Type: T1\n    a\n      e\n    c\n    d\n"
              "\n  Setup Type: T2\n    g\n    c\n    e\n"
              "\n  Setup Type: T3\n    (none)\n"
              "\n  Setup Type: T4\n    a\n      b\n        d\n");
}

TEST_F(mediaforge_report_features, setup_types_without_a_key_show_each_feature_once)
{
    const std::string path = make_header([&](media_writer& writer) {
        std::int64_t parent = 0;
        for (int i = 0; i < 60; ++i)
            parent = writer.add_feature(parent, named("n"));
        writer.add_setup_type(make_row(formats::setup_type_columns, {{u"Name", "All"}}));
    });
    alter(path, "DROP TABLE setup_type_feature; CREATE TABLE setup_type_feature (setup_type INTEGER, feature INTEGER);"
                "INSERT INTO setup_type_feature SELECT 1, id FROM feature;"
                "INSERT INTO setup_type_feature SELECT 1, id FROM feature");
    const std::string types = section(report(open(path).get()), "Setup Types");
    EXPECT_EQ(std::count(types.begin(), types.end(), '\n'), 2 + 60);
}

} // namespace
} // namespace cw::mediaforge_tests
