#include "app/main_frame.h"

#include "bridges/media_interface.h"
#include "platform/utf8.h"
#include "tests/support/frame_harness.h"
#include "tests/support/frame_pictures.h"
#include "tests/support/scripted_readers.h"

#include <gtest/gtest.h>

namespace cw {
namespace {

using namespace test_support;

using lines = std::vector<std::string>;

class feature_properties : public testing::Test {
protected:
    feature_properties()
    {
        program.start();
        frame_access::view_filter(program.frame()) = CString(u"Features");
    }
    CMainFrame& frame() { return program.frame(); }
    /// What the list shows for a feature with these members.
    lines rows_from(std::string_view members)
    {
        EXPECT_TRUE(program.open_media("\"Features\": [{" + std::string(members) + "}]"));
        const HTREEITEM item = frame().Tree().GetChildItem(frame().Tree().GetRootItem());
        (void)program.take_trace();
        frame().Tree().SelectItem(item);
        return rows_of(frame());
    }
    /// What it shows for one property of an object feature.
    lines property_rows_from(std::string_view value, std::string_view name = "P")
    {
        lines rows = rows_from(R"("Flags": 1, "ObjectProperties": [{"Name": ")" + std::string(name) +
                               "\", \"Value\": " + std::string(value) + "}]");
        EXPECT_GE(rows.size(), 3u);
        rows.erase(rows.begin(), rows.begin() + 3);
        return rows;
    }
    /// The same for a property whose value no text can describe.
    lines property_rows_of(const VARIANT& value)
    {
        const auto property = scripted_object::make([&](DISPID member, const VARIANT*, VARIANT& result) {
            if (member == media_feature_property::Value.id) {
                result = value;
                return S_OK;
            }
            result.bstrVal = SysAllocString(u"P");
            result.vt = VT_BSTR;
            return S_OK;
        });
        const auto properties = scripted_object::make([&](DISPID member, const VARIANT*, VARIANT& result) {
            if (member == media_collection::Item.id)
                return answer_object(result, property.get());
            result.lVal = 1;
            result.vt = VT_I4;
            return S_OK;
        });
        const auto feature = scripted_object::make(
            [&](DISPID member, const VARIANT*, VARIANT& result) {
                if (member == media_feature::ObjectProperties.id)
                    return answer_object(result, properties.get());
                result.lVal = 1;
                result.vt = VT_I4;
                return S_OK;
            },
            IID_IMediaFeature);
        frame().Tree().InsertItem(u"root", {}, {});
        const HTREEITEM item = frame().InsertNavNode({}, u"feature", {NODEKIND_FEATURE, feature});
        frame().Tree().SelectItem(item);
        lines rows = rows_of(frame());
        frame().Tree().SelectItem({});
        frame_access::nodes(frame()).clear();
        rows.erase(rows.begin(), rows.begin() + 3);
        return rows;
    }

    frame_harness program;
};

constexpr const char* standard_feature = R"(
    "Name": "Main", "Description": "What it is", "StatusText": "Copying", "DisplayName": "Main part",
    "Visible": true, "DataAsFiles": false, "FileNeed": 2, "Encryption": true, "CdRomFolder": "cd", "FtpLocation": "ftp",
    "HttpLocation": "http", "Miscellaneous": "misc", "RequiredFeatures": ["A", "B"],
    "IncludedComponents": ["Program", "<Support>"], "PasswordFlags": 3, "Guid": "{G}", "OnInstalling": "f1",
    "OnInstalled": "f2", "OnUninstalling": "f3", "OnUninstalled": "f4", "Volatile": true, "SplitBefore": false,
    "SplitAfter": true, "SplitNotAllowed": false, "SplitBeforeNotAllowed": true, "ImageIndex": -7)";

TEST_F(feature_properties, a_standard_feature_has_twenty_six_rows)
{
    EXPECT_EQ(rows_from(standard_feature), (lines{
                                               "Name | Main",
                                               "Description | What it is",
                                               "Status Text | Copying",
                                               "Display Name | Main part",
                                               "Visible | Yes",
                                               "Data as files | No",
                                               "File Need | Highly Recommended",
                                               "Encryption | Yes",
                                               "CD-ROM Folder | cd",
                                               "FTP Location | ftp",
                                               "HTTP Location | http",
                                               "Miscellaneous | misc",
                                               "Required Features | A, B",
                                               "Included Components | Program, <Support>",
                                               "Password Protected | Yes",
                                               "GUID | {G}",
                                               "OnInstalling Function | f1",
                                               "OnInstalled Function | f2",
                                               "OnUninstalling Function | f3",
                                               "OnUninstalled Function | f4",
                                               "Volatile | Yes",
                                               "Split Before | No",
                                               "Split After | Yes",
                                               "Split Not Allowed | No",
                                               "Split Before Not Allowed | Yes",
                                               "Image Index | -7",
                                           }));
    EXPECT_EQ(columns_of(frame()), "Property (150) | Value (400)");
}

TEST_F(feature_properties, absent_members_show_empty_no_and_zero)
{
    const lines rows = rows_from(R"("Name": null, "Guid": null)");
    ASSERT_EQ(rows.size(), 26u);
    EXPECT_EQ(rows[0], "Name | ");
    EXPECT_EQ(rows[4], "Visible | No");
    EXPECT_EQ(rows[6], "File Need | ");
    EXPECT_EQ(rows[12], "Required Features | ");
    EXPECT_EQ(rows[13], "Included Components | ");
    EXPECT_EQ(rows[14], "Password Protected | No");
    EXPECT_EQ(rows[15], "GUID | ");
    EXPECT_EQ(rows[25], "Image Index | 0");
}

TEST_F(feature_properties, the_password_row_shows_bit_zero)
{
    EXPECT_EQ(rows_from(R"("PasswordFlags": 1)")[14], "Password Protected | Yes");
    EXPECT_EQ(rows_from(R"("PasswordFlags": 2)")[14], "Password Protected | No");
    EXPECT_EQ(rows_from(R"("PasswordFlags": -1)")[14], "Password Protected | Yes");
}

TEST_F(feature_properties, the_image_index_has_sixteen_bits)
{
    EXPECT_EQ(rows_from(R"("ImageIndex": 32767)")[25], "Image Index | 32767");
    EXPECT_EQ(rows_from(R"("ImageIndex": -32768)")[25], "Image Index | -32768");
}

TEST_F(feature_properties, flags_decide_between_standard_and_object_rows)
{
    for (const int flags : {0, 4, 8, -4})
        EXPECT_EQ(rows_from("\"Flags\": " + std::to_string(flags)).size(), 26u) << flags;
    for (const int flags : {1, 2, 3, 5, -1})
        EXPECT_EQ(rows_from("\"Flags\": " + std::to_string(flags)).size(), 3u) << flags;
}

TEST_F(feature_properties, reads_only_what_it_shows_in_order)
{
    rows_from("");
    const lines trace = program.take_trace();
    ASSERT_GE(trace.size(), 4u);
    EXPECT_EQ(trace[0], "IMediaFeature Flags");
    EXPECT_EQ(trace[1], "IMediaFeature Name");
    EXPECT_EQ(trace[2], "IMediaFeature Description");
    EXPECT_EQ(trace.back(), "IMediaFeature ImageIndex");

    rows_from(R"("Flags": 2, "ObjectProperties": [{"Name": "P", "Value": 7}])");
    EXPECT_EQ(
        program.take_trace(),
        (lines{"IMediaFeature Flags", "IMediaFeature Guid", "IMediaFeature ObjectName", "IMediaFeature ObjectVersion",
               "IMediaFeature ObjectProperties", "IMediaCollection Count", "IMediaCollection Item 1",
               "IMediaFeatureProperty Value", "IMediaFeatureProperty Name", "IMediaCollection Count"}));
}

TEST_F(feature_properties, an_object_feature_has_three_rows_and_its_own)
{
    EXPECT_EQ(rows_from(R"("Flags": 3, "Guid": "{G}", "ObjectName": "Engine", "ObjectVersion": "1.2",
                           "ObjectProperties": [{"Name": "Speed", "Value": 7}, {"Name": "Path", "Value": "C:\\x"}])"),
              (lines{"GUID | {G}", "Object | Engine", "Object Version | 1.2", "Speed | 7", "Path | C:\\x"}));
    EXPECT_EQ(rows_from(R"("Flags": 1, "ObjectProperties": null)").size(), 3u);
    EXPECT_EQ(rows_from(R"("Flags": 1, "ObjectProperties": [])").size(), 3u);
    EXPECT_TRUE(program.take_unhandled().empty());
}

TEST_F(feature_properties, single_values_show_their_text)
{
    EXPECT_EQ(property_rows_from("7"), lines{"P | 7"});
    EXPECT_EQ(property_rows_from("-7"), lines{"P | -7"});
    EXPECT_EQ(property_rows_from("true"), lines{"P | True"});
    EXPECT_EQ(property_rows_from("false"), lines{"P | False"});
    EXPECT_EQ(property_rows_from("\"text\""), lines{"P | text"});
    EXPECT_EQ(property_rows_from("\"\""), lines{"P | "});
    EXPECT_EQ(property_rows_from(R"({"vt": "VT_BSTR", "value": null})"), lines{"P | "});
    EXPECT_EQ(property_rows_from(R"({"vt": "VT_R8", "value": 1.5})"), lines{"P | 1.5"});
    EXPECT_EQ(property_rows_from(R"({"vt": "VT_UI1", "value": 200})"), lines{"P | 200"});
    EXPECT_EQ(property_rows_from("null"), lines{"P | "});
}

TEST_F(feature_properties, a_value_without_a_text_shows_empty)
{
    EXPECT_EQ(property_rows_from(R"({"vt": "VT_NULL"})"), lines{"P | "});
    EXPECT_EQ(property_rows_from(R"({"vt": "VT_DISPATCH", "value": null})"), lines{"P | "});
    EXPECT_TRUE(program.take_unhandled().empty());
}

TEST_F(feature_properties, a_boolean_is_true_when_not_zero)
{
    VARIANT value{};
    value.vt = VT_BOOL;
    value.boolVal = 5;
    EXPECT_EQ(property_rows_of(value), lines{"P | True"});
}

TEST_F(feature_properties, an_array_has_a_row_for_each_element)
{
    EXPECT_EQ(property_rows_from(R"(["a", "b"])"), (lines{"P(0) | a", "P(1) | b"}));
    EXPECT_EQ(property_rows_from(R"({"vt": "VT_ARRAY|VT_I4", "value": [10, -2]})"), (lines{"P(0) | 10", "P(1) | -2"}));
    EXPECT_EQ(property_rows_from(R"({"vt": "VT_ARRAY|VT_BSTR", "lower": 1, "value": ["a", null, "c"]})"),
              (lines{"P(1) | a", "P(2) | ", "P(3) | c"}));
    EXPECT_EQ(property_rows_from(R"({"vt": "VT_ARRAY|VT_I4", "lower": -1, "value": [1, 2]})"),
              (lines{"P(-1) | 1", "P(0) | 2"}));
    EXPECT_EQ(property_rows_from(R"({"vt": "VT_ARRAY|VT_I4", "lower": 2147483646, "value": [1, 2]})"),
              (lines{"P(2147483646) | 1", "P(2147483647) | 2"}));
    EXPECT_EQ(property_rows_from(R"({"vt": "VT_ARRAY|VT_I4", "value": []})"), lines{});
}

TEST_F(feature_properties, an_element_type_without_a_rule_leaves_the_text)
{
    EXPECT_EQ(property_rows_from(R"({"vt": "VT_ARRAY|VT_R8", "value": [1.5, 2.5]})"), (lines{"P(0) | ", "P(1) | "}));
    EXPECT_EQ(property_rows_from(R"({"vt": "VT_ARRAY|VT_BOOL", "value": [true]})"), lines{"P(0) | "});
    EXPECT_EQ(property_rows_from(R"({"vt": "VT_ARRAY|VT_VARIANT", "value": [1, "a"]})"), (lines{"P(0) | ", "P(1) | "}));
}

TEST_F(feature_properties, an_array_begins_with_an_empty_text)
{
    EXPECT_EQ(rows_from(R"("Flags": 1, "ObjectProperties": [
                  {"Name": "A", "Value": ["x"]}, {"Name": "B", "Value": {"vt": "VT_ARRAY|VT_R8", "value": [1]}}])"),
              (lines{"GUID | ", "Object | ", "Object Version | ", "A(0) | x", "B(0) | "}));
}

TEST_F(feature_properties, rows_are_counted_on_over_arrays)
{
    EXPECT_EQ(rows_from(R"("Flags": 1, "ObjectProperties": [
                  {"Name": "A", "Value": [ "x", "y" ]}, {"Name": "Empty", "Value": []}, {"Name": "B", "Value": 1}])"),
              (lines{"GUID | ", "Object | ", "Object Version | ", "A(0) | x", "A(1) | y", "B | 1"}));
}

TEST_F(feature_properties, the_name_is_read_for_each_element)
{
    property_rows_from(R"(["a", "b"])");
    lines trace = program.take_trace();
    trace.erase(trace.begin(), trace.end() - 4);
    EXPECT_EQ(trace, (lines{"IMediaFeatureProperty Value", "IMediaFeatureProperty Name", "IMediaFeatureProperty Name",
                            "IMediaCollection Count"}));
}

TEST_F(feature_properties, an_array_of_two_dimensions_shows_its_first)
{
    EXPECT_EQ(property_rows_from(R"({"vt": "VT_ARRAY|VT_I4", "dims": 2, "lower": 3, "value": [1, 2]})"),
              (lines{"P(3) | 1", "P(4) | 2"}));
}

TEST_F(feature_properties, an_array_that_is_not_there_has_no_rows)
{
    EXPECT_EQ(property_rows_from(R"({"vt": "VT_ARRAY|VT_I4", "value": null})"), lines{});
}

TEST_F(feature_properties, an_array_by_reference_is_followed)
{
    const SAFEARRAYBOUND bound{2, 0};
    SAFEARRAY* array = SafeArrayCreate(VT_I4, 1, &bound);
    VARIANT value{};
    value.vt = VT_BYREF | VT_ARRAY | VT_I4;
    value.byref = &array;
    // Its type has no rule.
    EXPECT_EQ(property_rows_of(value), (lines{"P(0) | ", "P(1) | "}));
    value.byref = nullptr;
    EXPECT_EQ(property_rows_of(value), lines{});
    SafeArrayDestroy(array);
}

TEST_F(feature_properties, an_array_of_another_type_than_it_says_leaves_the_text)
{
    const SAFEARRAYBOUND bound{1, 0};
    for (const VARTYPE said : {VT_I4, VT_BSTR}) {
        VARIANT value{};
        value.parray = SafeArrayCreate(said == VT_I4 ? VT_VARIANT : VT_I8, 1, &bound);
        value.vt = static_cast<VARTYPE>(VT_ARRAY | said);
        // The call owns the value.
        EXPECT_EQ(property_rows_of(value), lines{"P(0) | "}) << said;
    }
}

TEST_F(feature_properties, a_value_that_cannot_be_copied_raises)
{
    VARIANT value{};
    value.vt = 0x0FFF;
    EXPECT_EQ(property_rows_of(value), lines{});
    const lines unhandled = program.take_unhandled();
    ASSERT_EQ(unhandled.size(), 1u);
    EXPECT_TRUE(unhandled[0].starts_with("cwcabview: unhandled error: 0x80020008")) << unhandled[0];
}

TEST_F(feature_properties, the_count_of_properties_is_read_anew)
{
    EXPECT_EQ(rows_from(R"("Flags": 1, "ObjectProperties": {"items": [
                  {"Name": "A", "Value": 1}, {"Name": "B", "Value": 2}, {"Name": "C", "Value": 3}],
                  "counts": [3, 3, 2]})")
                  .size(),
              5u);
}

TEST_F(feature_properties, an_object_without_the_interface_leaves_the_list)
{
    frame().Tree().InsertItem(u"root", {}, {});
    const auto stranger = scripted_object::make([](DISPID, const VARIANT*, VARIANT&) { return E_FAIL; });
    const HTREEITEM item = frame().InsertNavNode({}, u"stranger", {NODEKIND_FEATURE, stranger});
    put_marked_row(frame());
    frame().Tree().SelectItem(item);
    EXPECT_EQ(rows_of(frame()), lines{std::string(marked_row)});
    EXPECT_TRUE(program.take_unhandled().empty());
    // The same where there is no object at all.
    frame_access::nodes(frame())[item].object.reset();
    frame().ShowFeature(item);
    EXPECT_EQ(rows_of(frame()), lines{std::string(marked_row)});
    frame_access::nodes(frame()).clear();
}

TEST_F(feature_properties, rows_stand_as_far_as_they_came_before_an_error)
{
    // By their rows; the name is read by the tree before.
    const char* members[] = {
        nullptr,        "Description",   "StatusText",       "DisplayName",        "Visible",
        "DataAsFiles",  "FileNeed",      "Encryption",       "CdRomFolder",        "FtpLocation",
        "HttpLocation", "Miscellaneous", "RequiredFeatures", "IncludedComponents", "PasswordFlags",
        "Guid",         "OnInstalling",  "OnInstalled",      "OnUninstalling",     "OnUninstalled",
        "Volatile",     "SplitBefore",   "SplitAfter",       "SplitNotAllowed",    "SplitBeforeNotAllowed",
        "ImageIndex"};
    ASSERT_EQ(std::size(members), 26u);
    for (std::size_t row = 1; row < std::size(members); ++row) {
        EXPECT_EQ(rows_from(std::string("\"") + members[row] + R"(": {"fail": "0x80004005"})").size(), row)
            << members[row];
        EXPECT_EQ(program.take_unhandled().size(), 1u) << members[row];
    }
    EXPECT_EQ(rows_from(R"("Flags": {"fail": "0x80004005"})"), lines{});
    EXPECT_EQ(rows_from(R"("Flags": 1, "ObjectName": {"fail": "0x80004005"})").size(), 1u);
    EXPECT_EQ(rows_from(R"("Flags": 1, "ObjectProperties": {"fail": "0x80004005"})").size(), 3u);
    EXPECT_EQ(rows_from(R"("RequiredFeatures": null)").size(), 12u);
    EXPECT_EQ(program.take_unhandled().size(), 4u);
}

} // namespace
} // namespace cw
