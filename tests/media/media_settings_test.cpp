#include "tests/media/media_support.h"

#include "bridges/media_interface.h"
#include "tests/support/scripted_readers.h"

#include <algorithm>

namespace cw {
namespace {

using namespace test_support;

constexpr const char* property_columns = "Property (150) | Value (400)";
constexpr int version_70 = 0x1007000;
constexpr int version_95 = 0x1009500;

class media_settings_view : public media_view_test {
protected:
    media_settings_view() : media_view_test(u"MediaSettings") {}
    /// What the list shows as soon as a media with these members is open.
    lines rows_from(const std::string& members)
    {
        program.open_media(members);
        return rows_of(frame());
    }
    /// One row for one member of the media, or of its settings.
    std::string row_of_media(std::size_t row, const std::string& member) { return rows_from(member).at(row); }
    std::string row_of_settings(std::size_t row, const std::string& members)
    {
        return rows_from("\"MediaSettings\": {" + members + "}").at(row);
    }
    /// The rows that a version has.
    std::size_t row_count(int version) { return rows_from("\"FormatVersion\": " + std::to_string(version)).size(); }
    std::string version_row(int version) { return row_of_media(4, "\"FormatVersion\": " + std::to_string(version)); }
    /// The row of a full update with these old versions.
    std::string old_versions_row(const std::string& old_versions)
    {
        return row_of_settings(9, R"("UpdateMode": 1, "OldVersionCount": 1, "OldVersions": )" + old_versions);
    }
    /// Expects that the row is not there, that those before it are, and what the error is.
    void expect_old_versions_fail(const std::string& old_versions, const char* code)
    {
        const lines rows = rows_from(R"("FormatVersion": 16815360, "MediaSettings": {"UpdateMode": 3,
                                        "OldVersionCount": 2, "OldVersions": )" +
                                     old_versions + "}");
        EXPECT_EQ(rows.size(), 9u) << old_versions;
        EXPECT_EQ(rows.back(), "Update Mode | Update - Differential Media") << old_versions;
        EXPECT_EQ(take_error_codes(), lines{code}) << old_versions;
    }
};

constexpr const char* whole_media = R"(
    "ProductGuid": "{G}", "FormatVersion": 16815360, "EngineVersionHigh": 655361, "EngineVersionLow": 131075,
    "EngineBinding": 1,
    "MediaSettings": {"ProductName": "Tour", "CompanyName": "Vendor", "ProductVersion": "1.2", "MaintenanceMode": 4,
                      "UpdateMode": 1, "OldVersionCount": 2, "OldVersions": ["1.0", "1.1"], "TargetDir": "C:\\app",
                      "ExecutableFile": "a.exe"},
    "ArpInfo": {"PublisherUrl": "p", "SupportContact": "c", "SupportUrl": "s", "SupportPhone": "1", "ReadMe": "r",
                "ProductUpdateUrl": "u", "Comments": "k", "DisplayIcon": "i", "DisableChangeButton": true,
                "DisableRemoveButton": false, "CombinedButtons": true})";
const lines whole_rows{
    "Product Name | Tour",
    "Company Name | Vendor",
    "Product Version | 1.2",
    "Product GUID | {G}",
    "CAB Format Version | ver95",
    "Engine Version | 10.1.2.3",
    "Engine Binding | Static",
    "Maintenance | Multi-Instance",
    "Update Mode | Update - Full Media",
    "Old Versions to Update | 1.0; 1.1",
    "<TARGETDIR> | C:\\app",
    "Executable File | a.exe",
    "ARP Publisher/Product URL | p",
    "ARP Support Contact | c",
    "ARP Support URL | s",
    "ARP Support Phone Number | 1",
    "ARP Read Me | r",
    "ARP Product Update URL | u",
    "ARP Comments | k",
    "ARP Display Icon | i",
    "ARP Disable Change Button | Yes",
    "ARP Disable Remove Button | No",
    "ARP Combined Buttons | Yes",
};

TEST_F(media_settings_view, is_one_root_with_a_node)
{
    EXPECT_TRUE(program.open_media(""));
    EXPECT_EQ(detailed_tree_of(frame()), "Media Settings (8; 1, 2)\n");
    EXPECT_TRUE(frame().NavNodes().at(frame().Tree().GetRootItem()).object);
}

TEST_F(media_settings_view, has_twenty_three_rows_as_soon_as_it_is_built)
{
    EXPECT_EQ(rows_from(whole_media), whole_rows);
    EXPECT_EQ(columns_of(frame()), property_columns);
    EXPECT_FALSE(frame().Tree().GetSelectedItem());
}

TEST_F(media_settings_view, fills_the_list_of_the_full_view_too)
{
    frame_access::view_filter(frame()) = CString(u"All");
    EXPECT_EQ(rows_from(whole_media), whole_rows);
    EXPECT_EQ(roots_of(frame()),
              (lines{"Features", "Components", "Setup Types", "Explorer Shell", "Registry Entries", "Media Settings"}));
    // Whatever was selected before.
    select(frame(), "Setup Types");
    EXPECT_EQ(rows_of(frame()), lines{});
    frame().RebuildTree();
    EXPECT_EQ(rows_of(frame()), whole_rows);
}

TEST_F(media_settings_view, shows_its_rows_again_when_it_is_selected)
{
    rows_from(whole_media);
    put_marked_row(frame());
    select(frame(), "Media Settings");
    EXPECT_EQ(rows_of(frame()), whole_rows);
    EXPECT_EQ(frame().List().GetSmallImages(), &frame().SpacerImages());
    frame().Tree().SelectItem({});
    EXPECT_EQ(rows_of(frame()), lines{});
    frame().List().InsertColumn(0, u"other", 10);
    select(frame(), "Media Settings");
    EXPECT_EQ(rows_of(frame()), whole_rows);
    EXPECT_EQ(columns_of(frame()), property_columns);
}

TEST_F(media_settings_view, reads_in_order_and_the_format_version_anew)
{
    const lines expected{
        "IMedia MediaSettings",
        "IMediaSettings ProductName",
        "IMediaSettings CompanyName",
        "IMediaSettings ProductVersion",
        "IMedia ProductGuid",
        "IMedia FormatVersion",
        "IMedia EngineVersionHigh",
        "IMedia EngineVersionLow",
        "IMedia EngineBinding",
        "IMediaSettings MaintenanceMode",
        "IMediaSettings UpdateMode",
        "IMediaSettings UpdateMode",
        "IMediaSettings OldVersionCount",
        "IMediaSettings OldVersions",
        "IMedia FormatVersion",
        "IMedia ArpInfo",
        "IMediaSettings TargetDir",
        "IMediaSettings ExecutableFile",
        "IMediaArpInfo PublisherUrl",
        "IMediaArpInfo SupportContact",
        "IMediaArpInfo SupportUrl",
        "IMediaArpInfo SupportPhone",
        "IMediaArpInfo ReadMe",
        "IMediaArpInfo ProductUpdateUrl",
        "IMediaArpInfo Comments",
        "IMediaArpInfo DisplayIcon",
        "IMediaArpInfo DisableChangeButton",
        "IMediaArpInfo DisableRemoveButton",
        "IMediaArpInfo CombinedButtons",
    };
    EXPECT_EQ(trace_of_opening(whole_media), expected);
    // The node has its object; the rows are read again.
    EXPECT_EQ(trace_of_selecting("Media Settings"), lines(expected.begin() + 1, expected.end()));
}

TEST_F(media_settings_view, reads_no_more_of_a_media_of_an_early_format)
{
    lines trace = trace_of_opening("\"FormatVersion\": " + std::to_string(version_70));
    ASSERT_GE(trace.size(), 2u);
    EXPECT_EQ(trace.back(), "IMedia FormatVersion");
    EXPECT_EQ(trace[trace.size() - 2], "IMediaSettings UpdateMode");
}

TEST_F(media_settings_view, early_formats_have_ten_rows_and_later_ones_all)
{
    EXPECT_EQ(row_count(0x100600C), 10u);
    EXPECT_EQ(row_count(version_70), 10u);
    EXPECT_EQ(row_count(version_70 + 1), 23u);
    EXPECT_EQ(row_count(version_95), 23u);
    EXPECT_EQ(row_count(0x2000005), 23u);
    EXPECT_EQ(row_count(0x4000009), 23u);
    EXPECT_EQ(row_count(0x1000000), 10u);
    EXPECT_EQ(row_count(0), 10u);
    EXPECT_EQ(row_count(INT32_MAX), 23u);
    // Compared with its sign.
    EXPECT_EQ(row_count(-1), 10u);
    EXPECT_EQ(row_count(INT32_MIN), 10u);
}

TEST_F(media_settings_view, the_ten_rows_are_the_first_ten)
{
    std::string members = whole_media;
    members.replace(members.find("16815360"), 8, std::to_string(version_70));
    lines expected(whole_rows.begin(), whole_rows.begin() + 10);
    expected[4] = "CAB Format Version | ver70";
    EXPECT_EQ(rows_from(members), expected);
}

TEST_F(media_settings_view, format_versions_have_names_or_numbers)
{
    EXPECT_EQ(version_row(0x100600C), "CAB Format Version | ver60");
    EXPECT_EQ(version_row(version_70), "CAB Format Version | ver70");
    EXPECT_EQ(version_row(version_95), "CAB Format Version | ver95");
    EXPECT_EQ(version_row(0x2000005), "CAB Format Version | 5 (ANSI)");
    EXPECT_EQ(version_row(0x4000009), "CAB Format Version | 9 (Unicode)");
    EXPECT_EQ(version_row(0x1000000), "CAB Format Version | -16777216 (ANSI)");
}

TEST_F(media_settings_view, the_engine_version_has_four_numbers)
{
    const auto shown = [&](int high, int low) {
        return row_of_media(5, "\"EngineVersionHigh\": " + std::to_string(high) +
                                   ", \"EngineVersionLow\": " + std::to_string(low));
    };
    EXPECT_EQ(shown(0x000A0001, 0x00020003), "Engine Version | 10.1.2.3");
    EXPECT_EQ(shown(0, 0), "Engine Version | 0.0.0.0");
    EXPECT_EQ(shown(-1, -1), "Engine Version | -1.65535.-1.65535");
    EXPECT_EQ(shown(INT32_MIN, 0x7FFF8000), "Engine Version | -32768.0.32767.32768");
}

TEST_F(media_settings_view, the_binding_is_static_or_dynamic)
{
    EXPECT_EQ(row_of_media(6, R"("EngineBinding": 1)"), "Engine Binding | Static");
    for (const int other : {0, 2, -1})
        EXPECT_EQ(row_of_media(6, "\"EngineBinding\": " + std::to_string(other)), "Engine Binding | Dynamic") << other;
}

TEST_F(media_settings_view, maintenance_has_four_modes)
{
    const auto shown = [&](int mode) { return row_of_settings(7, "\"MaintenanceMode\": " + std::to_string(mode)); };
    EXPECT_EQ(shown(1), "Maintenance | Standard");
    EXPECT_EQ(shown(2), "Maintenance | Cumulative");
    EXPECT_EQ(shown(4), "Maintenance | Multi-Instance");
    EXPECT_EQ(shown(8), "Maintenance | No Uninstall or Maintenance");
    for (const int other : {0, 3, 5, 16, -1})
        EXPECT_EQ(shown(other), "Maintenance | ") << other;
}

TEST_F(media_settings_view, two_update_modes_have_old_versions)
{
    constexpr const char* old = R"(, "OldVersionCount": 1, "OldVersions": ["1.0"])";
    const auto shown = [&](int mode) {
        lines rows = rows_from(R"("MediaSettings": {"UpdateMode": )" + std::to_string(mode) + old + "}");
        return rows.at(8) + "; " + rows.at(9);
    };
    EXPECT_EQ(shown(1), "Update Mode | Update - Full Media; Old Versions to Update | 1.0");
    EXPECT_EQ(shown(3), "Update Mode | Update - Differential Media; Old Versions to Update | 1.0");
    for (const int other : {0, 2, 4, -1})
        EXPECT_EQ(shown(other), "Update Mode | Update Not Supported; Old Versions to Update | ") << other;
}

TEST_F(media_settings_view, old_versions_are_read_only_where_they_are_wanted)
{
    const auto reads = [&](const std::string& members, std::string_view member) {
        const lines trace =
            trace_of_opening(R"("MediaSettings": {"OldVersions": {"fail": "0x8000ABCD"}, )" + members + "}");
        return std::ranges::count(trace, "IMediaSettings " + std::string(member));
    };
    for (const char* mode : {R"("UpdateMode": 2, "OldVersionCount": 1)", R"("OldVersionCount": 1)"}) {
        EXPECT_EQ(reads(mode, "OldVersionCount"), 0) << mode;
        EXPECT_EQ(reads(mode, "OldVersions"), 0) << mode;
    }
    for (const char* count :
         {R"("UpdateMode": 1, "OldVersionCount": 0)", R"("UpdateMode": 3, "OldVersionCount": -1)"}) {
        EXPECT_EQ(reads(count, "OldVersionCount"), 1) << count;
        EXPECT_EQ(reads(count, "OldVersions"), 0) << count;
        EXPECT_EQ(rows_of(frame()).at(9), "Old Versions to Update | ") << count;
    }
    EXPECT_EQ(take_error_codes(), lines{});
    EXPECT_EQ(reads(R"("UpdateMode": 1, "OldVersionCount": 1)", "OldVersions"), 1);
    EXPECT_EQ(take_error_codes(), lines{"0x8000ABCD"});
}

TEST_F(media_settings_view, old_versions_are_joined_with_semicolons)
{
    EXPECT_EQ(old_versions_row(R"(["1.0", "1.1"])"), "Old Versions to Update | 1.0; 1.1");
    EXPECT_EQ(old_versions_row(R"(["1.0"])"), "Old Versions to Update | 1.0");
    EXPECT_EQ(old_versions_row("[]"), "Old Versions to Update | ");
    EXPECT_EQ(old_versions_row(R"({"vt": "VT_ARRAY|VT_BSTR", "lower": 5, "value": ["a", "b", "c"]})"),
              "Old Versions to Update | a; b; c");
    EXPECT_EQ(old_versions_row(R"({"vt": "VT_ARRAY|VT_BSTR", "lower": -1, "value": ["a", "b"]})"),
              "Old Versions to Update | a; b");
    // While there is no text there is nothing to divide; behind one there is.
    EXPECT_EQ(old_versions_row(R"(["", "1.1", "", "1.2"])"), "Old Versions to Update | 1.1; ; 1.2");
    EXPECT_EQ(old_versions_row(R"({"vt": "VT_ARRAY|VT_BSTR", "value": [null, null, "a", null]})"),
              "Old Versions to Update | a; ");
}

TEST_F(media_settings_view, old_versions_that_are_no_array_of_one_dimension_end_it)
{
    for (const char* value : {"\"1.0\"", "7", "null", R"({"vt": "VT_ARRAY|VT_BSTR", "value": null})",
                              R"({"vt": "VT_ARRAY|VT_BSTR", "dims": 2, "value": ["a", "b"]})"})
        expect_old_versions_fail(value, "0x80070057");
}

TEST_F(media_settings_view, old_versions_that_are_no_texts_end_it)
{
    expect_old_versions_fail(R"({"vt": "VT_ARRAY|VT_I4", "value": [1, 2]})", "0x80020005");
    expect_old_versions_fail(R"({"vt": "VT_ARRAY|VT_VARIANT", "value": ["a", "b"]})", "0x80020005");
    expect_old_versions_fail(R"({"fail": "0x8000ABCD"})", "0x8000ABCD");
}

TEST_F(media_settings_view, without_a_settings_object_it_has_no_rows)
{
    program.open_media(R"("MediaSettings": null)");
    EXPECT_EQ(take_error_codes(), lines{"0x80004003"});
    EXPECT_EQ(detailed_tree_of(frame()), "Media Settings (8; 1, 2)\n");
    EXPECT_EQ(columns_of(frame()), property_columns);
    EXPECT_EQ(rows_of(frame()), lines{});
    // Its node has no object, and shows as every such node does.
    put_marked_row(frame());
    select(frame(), "Media Settings");
    EXPECT_EQ(rows_of(frame()), lines{});
    EXPECT_EQ(take_error_codes(), lines{});
}

TEST_F(media_settings_view, where_the_settings_cannot_be_read_the_root_has_no_node)
{
    program.open_media(R"("MediaSettings": {"fail": "0x8000ABCD"})");
    EXPECT_EQ(take_error_codes(), lines{"0x8000ABCD"});
    EXPECT_EQ(detailed_tree_of(frame()), "Media Settings (-; 1, 2)\n");
    EXPECT_EQ(rows_of(frame()), lines{});
}

TEST_F(media_settings_view, an_object_without_the_interface_is_as_none)
{
    rows_from(whole_media);
    const auto stranger = scripted_object::make([](DISPID, const VARIANT*, VARIANT&) { return S_OK; });
    frame_access::nodes(frame())[frame().Tree().GetRootItem()].object = stranger;
    put_marked_row(frame());
    select(frame(), "Media Settings");
    EXPECT_EQ(take_error_codes(), lines{"0x80004003"});
    EXPECT_EQ(rows_of(frame()), lines{});
    frame_access::nodes(frame()).clear();
}

TEST_F(media_settings_view, without_arp_info_the_two_rows_before_it_stand)
{
    const std::string later = "\"FormatVersion\": " + std::to_string(version_95);
    lines rows = rows_from(later + R"(, "ArpInfo": null)");
    EXPECT_EQ(take_error_codes(), lines{"0x80004003"});
    EXPECT_EQ(rows.size(), 12u);
    EXPECT_EQ(rows.back(), "Executable File | ");
    // It is read before them.
    rows = rows_from(later + R"(, "ArpInfo": {"fail": "0x8000ABCD"})");
    EXPECT_EQ(take_error_codes(), lines{"0x8000ABCD"});
    EXPECT_EQ(rows.size(), 10u);
    // And not at all where nothing is shown of it.
    rows = rows_from("\"FormatVersion\": " + std::to_string(version_70) + R"(, "ArpInfo": {"fail": "0x8000ABCD"})");
    EXPECT_EQ(take_error_codes(), lines{});
    EXPECT_EQ(rows.size(), 10u);
}

TEST_F(media_settings_view, an_error_leaves_the_rows_so_far)
{
    EXPECT_EQ(rows_from(R"("EngineVersionLow": {"fail": "0x8000ABCD"})").size(), 5u);
    EXPECT_EQ(take_error_codes(), lines{"0x8000ABCD"});
    EXPECT_EQ(rows_from("\"FormatVersion\": " + std::to_string(version_95) +
                        R"(, "ArpInfo": {"DisableRemoveButton": {"fail": "0x8000ABCD"}})")
                  .back(),
              "ARP Disable Change Button | No");
    EXPECT_EQ(take_error_codes(), lines{"0x8000ABCD"});
}

TEST_F(media_settings_view, each_button_row_is_its_own_members)
{
    const char* members[] = {"DisableChangeButton", "DisableRemoveButton", "CombinedButtons"};
    for (std::size_t set = 0; set < std::size(members); ++set) {
        const lines rows = rows_from("\"FormatVersion\": " + std::to_string(version_95) + R"(, "ArpInfo": {")" +
                                     members[set] + "\": true}");
        ASSERT_EQ(rows.size(), 23u);
        for (std::size_t row = 0; row < std::size(members); ++row)
            EXPECT_EQ(rows[20 + row].ends_with("Yes"), row == set) << rows[20 + row];
    }
}

TEST_F(media_settings_view, passes_zero_for_the_product)
{
    std::vector<LONG> arguments;
    const auto media = scripted_object::make([&](DISPID member, const VARIANT* argument, VARIANT& result) {
        if (member == media::MediaSettings.id)
            return answer_object(result, nullptr);
        if (member != media::ProductGuid.id || !argument || argument->vt != VT_I4)
            return E_FAIL;
        arguments.push_back(argument->lVal);
        return S_OK;
    });
    rows_from("");
    const automation::com_ptr<IDispatch> real = std::exchange(frame_access::media(frame()), media);
    frame().Guard([&] { frame().ShowMediaSettings(frame().Tree().GetRootItem()); });
    frame_access::media(frame()) = real;
    EXPECT_EQ(arguments, std::vector<LONG>{0});
    EXPECT_EQ(rows_of(frame()).size(), 4u);
    EXPECT_EQ(take_error_codes(), lines{"0x80004005"});
}

TEST_F(media_settings_view, builds_nothing_without_a_media)
{
    put_marked_row(frame());
    frame().BuildMediaSettingsNode();
    EXPECT_EQ(tree_of(frame()), "");
    EXPECT_EQ(rows_of(frame()), lines{std::string(marked_row)});
}

} // namespace
} // namespace cw
