#include "tests/media/media_support.h"

#include "bridges/media_interface.h"
#include "platform/utf8.h"
#include "tests/support/scripted_readers.h"

#include <optional>

namespace cw {
namespace {

using namespace test_support;

constexpr const char* set_columns = "Name (120) | Data (300)";
constexpr const char* key_columns = "Name (120) | Data (300) | Uninstall (100)";
constexpr const char* key_path = "Registry Entries/S/HKEY_CLASSES_ROOT/K";

class registry_properties : public media_view_test {
protected:
    registry_properties() : media_view_test(u"RegistrySets") {}
    /// What the list shows for a set called "S" with these further members.
    lines set_rows(std::string members)
    {
        if (!members.empty())
            members.insert(0, ", ");
        program.open_media(R"("RegistrySets": [{"Name": "S")" + members + "}]");
        (void)program.take_trace();
        select(frame(), "Registry Entries/S");
        return rows_of(frame());
    }
    /// The same for a key called "K".
    lines key_rows(std::string members)
    {
        if (!members.empty())
            members.insert(0, ", ");
        EXPECT_TRUE(program.open_media(R"("RegistrySets": [{"Name": "S", "ClassesRootKeys": [{"Path": "K")" + members +
                                       "}]}]"));
        (void)program.take_trace();
        select(frame(), key_path);
        return rows_of(frame());
    }
    /// The one row of a value called "V" with these further members.
    std::string value_row(std::string members)
    {
        if (!members.empty())
            members.insert(0, ", ");
        const lines rows = key_rows(R"("Values": [{"Name": "V")" + members + "}]");
        return rows.size() == 2 ? rows[1] : "not one row";
    }
    std::string row_of_data(const std::string& data, int value_type = 1)
    {
        return value_row("\"Data\": " + data + ", \"ValueType\": " + std::to_string(value_type));
    }
    std::optional<int> image_of_type(const std::string& value_type)
    {
        EXPECT_EQ(value_row("\"Data\": \"x\", \"ValueType\": " + value_type), "V | x | No");
        return frame().List().GetItemImage(1);
    }
};

TEST_F(registry_properties, a_set_has_one_row_of_its_components)
{
    EXPECT_EQ(set_rows(R"("Components": ["Program", "Help"])"), lines{"Component(s) | Program, Help"});
    EXPECT_EQ(columns_of(frame()), set_columns);
    EXPECT_EQ(program.take_trace(),
              (lines{"IMediaRegistrySet Components", "IMediaCollection Count", "IMediaCollection Item 1",
                     "IMediaComponent Name", "IMediaCollection Count", "IMediaCollection Item 2",
                     "IMediaComponent Name", "IMediaCollection Count"}));
    EXPECT_EQ(set_rows(R"("Components": ["Program"])"), lines{"Component(s) | Program"});
    EXPECT_EQ(set_rows(""), lines{"Component(s) | "});
    EXPECT_EQ(set_rows(R"("Components": ["", "b", null])"), lines{});
    EXPECT_EQ(take_error_codes(), lines{"0x80004003"});
    EXPECT_EQ(set_rows(R"("Components": ["", "b", ""])"), lines{"Component(s) | , b, "});
    EXPECT_EQ(set_rows(R"("Components": {"items": ["a", "b", "c"], "counts": [3, 3, 2]})"),
              lines{"Component(s) | a, b"});
}

TEST_F(registry_properties, a_sets_row_has_no_icon)
{
    set_rows("");
    EXPECT_EQ(frame().List().GetSmallImages(), &frame().SpacerImages());
    EXPECT_FALSE(frame().List().GetItemImage(0).has_value());
}

TEST_F(registry_properties, the_icons_go_only_when_a_sets_components_are_read)
{
    EXPECT_EQ(set_rows(R"("Components": {"fail": "0x8000ABCD"})"), lines{});
    EXPECT_EQ(take_error_codes(), lines{"0x8000ABCD"});
    EXPECT_EQ(columns_of(frame()), set_columns);
    EXPECT_EQ(frame().List().GetSmallImages(), &frame().TreeImages());
    EXPECT_EQ(set_rows(R"("Components": null)"), lines{});
    EXPECT_EQ(take_error_codes(), lines{"0x80004003"});
}

TEST_F(registry_properties, a_key_always_has_its_default_value)
{
    EXPECT_EQ(key_rows(""), lines{"(Default) |  | "});
    EXPECT_EQ(columns_of(frame()), key_columns);
    EXPECT_EQ(frame().List().GetItemImage(0), 21);
    EXPECT_EQ(frame().List().GetSmallImages(), &frame().TreeImages());
    EXPECT_EQ(key_rows(R"("DefaultValue": "text", "Values": [])"), lines{"(Default) | text | "});
    EXPECT_EQ(key_rows(R"("DefaultValue": null)"), lines{"(Default) |  | "});
}

TEST_F(registry_properties, a_keys_values_stand_behind_it_in_the_librarys_order)
{
    EXPECT_EQ(key_rows(R"("DefaultValue": "d", "Values": [
                  {"Name": "z", "Data": "one", "ValueType": 1, "Uninstall": true},
                  {"Name": "a", "Data": 2, "ValueType": 4, "Uninstall": false},
                  {"Name": "z", "Data": "00410000", "ValueType": 7}])"),
              (lines{"(Default) | d | ", "z | one | Yes", "a | 2 | No", "z | A  | No"}));
    EXPECT_EQ(frame().List().GetItemImage(1), 21);
    EXPECT_EQ(frame().List().GetItemImage(2), 20);
    EXPECT_EQ(frame().List().GetItemImage(3), 17);
}

TEST_F(registry_properties, a_key_is_read_in_order)
{
    key_rows(R"("Values": [{"Name": "a"}, {"Name": "b"}])");
    EXPECT_EQ(program.take_trace(), (lines{
                                        "IMediaRegistryKey Values",
                                        "IMediaRegistryKey DefaultValue",
                                        "IMediaCollection Count",
                                        "IMediaCollection Item 1",
                                        "IMediaRegistryValue Name",
                                        "IMediaRegistryValue Data",
                                        "IMediaRegistryValue Uninstall",
                                        "IMediaRegistryValue ValueType",
                                        "IMediaCollection Count",
                                        "IMediaCollection Item 2",
                                        "IMediaRegistryValue Name",
                                        "IMediaRegistryValue Data",
                                        "IMediaRegistryValue Uninstall",
                                        "IMediaRegistryValue ValueType",
                                        "IMediaCollection Count",
                                    }));
}

TEST_F(registry_properties, the_count_of_values_is_read_anew)
{
    EXPECT_EQ(key_rows(R"("Values": {"items": [{"Name": "a"}, {"Name": "b"}, {"Name": "c"}], "counts": [3, 3, 2]})"),
              (lines{"(Default) |  | ", "a |  | No", "b |  | No"}));
    EXPECT_EQ(key_rows(R"("Values": {"items": [{"Name": "a"}, {"Name": "b"}, {"Name": "c"}], "counts": [1, 2, 2]})"),
              (lines{"(Default) |  | ", "a |  | No", "b |  | No"}));
}

TEST_F(registry_properties, data_of_any_type_shows_its_text)
{
    EXPECT_EQ(row_of_data("\"text\""), "V | text | No");
    EXPECT_EQ(row_of_data("-7"), "V | -7 | No");
    // Unlike a feature's properties, which have words for it.
    EXPECT_EQ(row_of_data("true"), "V | -1 | No");
    EXPECT_EQ(row_of_data("false"), "V | 0 | No");
    EXPECT_EQ(row_of_data(R"({"vt": "VT_R8", "value": 1.5})"), "V | 1.5 | No");
    EXPECT_EQ(row_of_data(R"({"vt": "VT_UI1", "value": 200})"), "V | 200 | No");
    EXPECT_EQ(row_of_data(R"({"vt": "VT_BSTR", "value": null})"), "V |  | No");
    EXPECT_EQ(row_of_data("null"), "V |  | No");
    EXPECT_EQ(value_row(""), "V |  | No");
}

TEST_F(registry_properties, data_without_a_text_shows_empty)
{
    for (const char* data : {R"({"vt": "VT_NULL"})", R"({"vt": "VT_DISPATCH", "value": null})", R"(["a", "b"])",
                             R"({"vt": "VT_ARRAY|VT_UI1", "value": [1, 2]})"})
        EXPECT_EQ(row_of_data(data), "V |  | No") << data;
    EXPECT_EQ(take_error_codes(), lines{});
}

TEST_F(registry_properties, data_is_decoded_for_the_many_strings_type_alone)
{
    EXPECT_EQ(row_of_data("\"0041004200000000\"", 7), "V | AB   | No");
    EXPECT_EQ(row_of_data("\"00410000004200430000\"", 7), "V | A BC  | No");
    EXPECT_EQ(row_of_data("\"004100\"", 7), "V | A | No");
    EXPECT_EQ(row_of_data("\"004\"", 7), "V |  | No");
    for (const int type : {0, 1, 2, 3, 4, 5, 6, 8, -7})
        EXPECT_EQ(row_of_data("\"00410042\"", type), "V | 00410042 | No") << type;
    // Whatever its type, it is text by then.
    EXPECT_EQ(row_of_data("1234", 7), "V | \xE1\x88\xB4 | No");
    EXPECT_EQ(row_of_data("null", 7), "V |  | No");
}

TEST_F(registry_properties, the_image_tells_the_value_type)
{
    EXPECT_EQ(image_of_type("2"), 18);
    EXPECT_EQ(image_of_type("3"), 19);
    EXPECT_EQ(image_of_type("4"), 20);
    for (const char* other : {"0", "1", "5", "6", "8", "11", "-1", "2147483647"})
        EXPECT_EQ(image_of_type(other), 21) << other;
    EXPECT_EQ(value_row(R"("ValueType": 7)"), "V |  | No");
    EXPECT_EQ(frame().List().GetItemImage(1), 17);
}

TEST_F(registry_properties, an_error_leaves_the_rows_so_far)
{
    struct failing_key {
        const char* members;
        lines rows;
        const char* code;
    };
    const lines first{"(Default) | d | ", "a | x | Yes"};
    for (const failing_key& key : {
             failing_key{R"("DefaultValue": "d", "Values": {"fail": "0x8000ABCD"})", {}, "0x8000ABCD"},
             {R"("DefaultValue": {"fail": "0x8000ABCD"})", {}, "0x8000ABCD"},
             {R"("DefaultValue": "d", "Values": null)", {"(Default) | d | "}, "0x80004003"},
             {R"("DefaultValue": "d", "Values": [{"Name": "a", "Data": "x", "Uninstall": true}, null])", first,
              "0x80004003"},
             {R"("DefaultValue": "d", "Values": [{"Name": "a", "Data": "x", "Uninstall": true},
                                                 {"Data": {"fail": "0x8000ABCD"}}])",
              first, "0x8000ABCD"},
             {R"("DefaultValue": "d", "Values": [{"Name": "a", "Data": "x", "Uninstall": true},
                                                 {"ValueType": {"fail": "0x8000ABCD"}}])",
              first, "0x8000ABCD"},
         }) {
        EXPECT_EQ(key_rows(key.members), key.rows) << key.members;
        EXPECT_EQ(take_error_codes(), lines{key.code}) << key.members;
        EXPECT_EQ(columns_of(frame()), key_columns) << key.members;
    }
}

TEST_F(registry_properties, icons_go_with_the_next_selection)
{
    key_rows("");
    EXPECT_EQ(frame().List().GetSmallImages(), &frame().TreeImages());
    select(frame(), "Registry Entries/S/HKEY_CLASSES_ROOT");
    EXPECT_EQ(frame().List().GetSmallImages(), &frame().SpacerImages());
    select(frame(), key_path);
    EXPECT_EQ(frame().List().GetSmallImages(), &frame().TreeImages());
    select(frame(), "Registry Entries/S");
    EXPECT_EQ(frame().List().GetSmallImages(), &frame().SpacerImages());
}

TEST_F(registry_properties, an_object_that_is_neither_empties_the_list_and_keeps_the_columns)
{
    const auto stranger = scripted_object::make([](DISPID, const VARIANT*, VARIANT&) { return E_FAIL; });
    key_rows("");
    const HTREEITEM item = frame().InsertNavNode({}, u"stranger", {NODEKIND_REGISTRY_KEY, stranger});
    put_marked_row(frame());
    frame().Tree().SelectItem(item);
    EXPECT_EQ(rows_of(frame()), lines{});
    EXPECT_EQ(columns_of(frame()), key_columns);
    EXPECT_EQ(frame().List().GetSmallImages(), &frame().TreeImages());
    EXPECT_EQ(take_error_codes(), lines{});
    frame_access::nodes(frame()).clear();
}

TEST_F(registry_properties, a_dead_item_only_empties_the_list)
{
    // Its node is still there, object and all.
    EXPECT_TRUE(
        program.open_media(R"("RegistrySets": [{"Name": "S", "ClassesRootKeys": [{"Path": "K"}, {"Path": "K"}]}])"));
    select(frame(), key_path);
    (void)program.take_trace();
    for (const auto& [item, node] : frame().NavNodes()) {
        if (frame().Tree().IsLive(item))
            continue;
        ASSERT_TRUE(node.object);
        put_marked_row(frame());
        frame().ShowRegistryNode(item);
        EXPECT_EQ(rows_of(frame()), lines{});
    }
    EXPECT_EQ(program.take_trace(), lines{});
}

TEST_F(registry_properties, the_set_is_asked_for_first_and_wins)
{
    const auto components = scripted_object::make([](DISPID, const VARIANT*, VARIANT& result) {
        result.vt = VT_I4;
        result.lVal = 0;
        return S_OK;
    });
    const auto object = scripted_object::make(
        [&](DISPID, const VARIANT*, VARIANT& result) { return answer_object(result, components.get()); });
    object->is_everything = true;
    key_rows("");
    const HTREEITEM item = frame().InsertNavNode({}, u"both", {NODEKIND_REGISTRY_KEY, object});
    object->asked.clear();
    frame().Tree().SelectItem(item);
    EXPECT_EQ(rows_of(frame()), lines{"Component(s) | "});
    ASSERT_GE(object->asked.size(), 2u);
    EXPECT_EQ(object->asked[0], IID_IMediaRegistrySet);
    EXPECT_EQ(object->asked[1], IID_IMediaRegistryKey);
    frame_access::nodes(frame()).clear();
}

} // namespace
} // namespace cw
