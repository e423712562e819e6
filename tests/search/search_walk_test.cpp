#include "automation/dual_object.h"
#include "automation/safearray.h"
#include "bridges/log_objects.h"
#include "tests/search/search_support.h"

namespace cw {
namespace {

using namespace test_support;

constexpr std::string_view all_types =
    R"("OPTYPE_FILE", "OPTYPE_SHELL", "OPTYPE_REGISTRY", "OPTYPE_REGISTRY64", "OPTYPE_PROGMAN", "OPTYPE_INI",
       "OPTYPE_FILEREG", "OPTYPE_DOTNET", "OPTYPE_GENERAL", "MY_TYPE")";

class search_walk : public search_test {
protected:
    /// Opens a log whose main feature has the one sub-feature "Sub" with these members.
    void open_sub(std::string_view members)
    {
        open(R"("properties": [["#", "#"]], "features": [{"Name": "Sub", )" + std::string(members) + "}]", all_types);
    }
    /// Opens one whose sub-feature has a single record of a type.
    void open_record(std::string_view type, std::string_view elements)
    {
        open_sub(R"("operations": {")" + std::string(type) + R"(": [[)" + std::string(elements) + "]]}");
    }
    /// Whether a search for `text` comes to anything below the main feature for these properties of one.
    bool finds_in_properties(std::string_view properties, std::u16string_view text)
    {
        open_sub(R"("properties": )" + std::string(properties));
        return find(text).starts_with("Main/Sub");
    }
};

// ---- labels ---------------------------------------------------------------------------------

TEST_F(search_walk, a_label_selects_the_item_and_no_row)
{
    open_sub(R"("properties": [["x", "SUB"]])");
    EXPECT_EQ(find(u"sub"), "Main/Sub tree");
    // The next search begins with the new list's first row.
    EXPECT_EQ(next(), "Main/Sub row 0 list");
}

TEST_F(search_walk, labels_of_groups_are_searched)
{
    open_record("OPTYPE_INI", R"("a")");
    EXPECT_EQ(find(u"ini file op"), "Main/Sub/INI File Operations tree");
}

TEST_F(search_walk, the_label_comes_before_properties_and_records)
{
    open_sub(R"("properties": [["Sub", "x"]], "operations": {"OPTYPE_GENERAL": [["sub"]]})");
    EXPECT_EQ(find(u"sub"), "Main/Sub tree");
}

TEST_F(search_walk, the_top_item_and_what_is_before_the_main_feature_is_never_reached)
{
    open_sub(R"("ID": "x")");
    EXPECT_EQ(find(u"log.clg"), "Main" + std::string(not_found));
    EXPECT_EQ(find(u"main"), "Main" + std::string(not_found));
}

// ---- properties -----------------------------------------------------------------------------

TEST_F(search_walk, names_and_values_of_properties_are_searched)
{
    constexpr std::string_view properties = R"([["Vendor", "Me & Co"], ["Size", 1234], ["On", true]])";
    EXPECT_TRUE(finds_in_properties(properties, u"VEND"));
    EXPECT_EQ(place(), "Main/Sub row 0 list");
    EXPECT_TRUE(finds_in_properties(properties, u"me & c"));
    EXPECT_EQ(place(), "Main/Sub row 0 list");
    EXPECT_TRUE(finds_in_properties(properties, u"23"));
    EXPECT_EQ(place(), "Main/Sub row 1 list");
    (void)place();
    open_sub(R"("properties": )" + std::string(properties));
    program.person.answer(question_kind::find, u"vendorx");
    frame().RunCommand(ID_SEARCH_FIND);
    EXPECT_EQ(place(), "Main" + std::string(not_found));
}

TEST_F(search_walk, states_match_whole_only)
{
    constexpr std::string_view absent = R"([["x", 0]])";
    EXPECT_TRUE(finds_in_properties(absent, u"NOT INSTALLED"));
    EXPECT_EQ(place(), "Main/Sub row 0 list");
    EXPECT_FALSE(finds_in_properties(absent, u"not inst"));
    EXPECT_FALSE(finds_in_properties(absent, u"installed"));

    constexpr std::string_view present = R"([["x", 2]])";
    EXPECT_TRUE(finds_in_properties(present, u"Installed"));
    EXPECT_EQ(place(), "Main/Sub row 0 list");
    EXPECT_FALSE(finds_in_properties(present, u"install"));
    EXPECT_FALSE(finds_in_properties(present, u"not installed"));
}

TEST_F(search_walk, states_are_told_by_the_low_bits_of_any_value)
{
    EXPECT_TRUE(finds_in_properties(R"([["x", 65536]])", u"not installed"));
    EXPECT_TRUE(finds_in_properties(R"([["x", 65538]])", u"installed"));
    EXPECT_TRUE(finds_in_properties(R"([["x", {"vt": "VT_I2", "value": 2}]])", u"installed"));
    EXPECT_TRUE(finds_in_properties(R"([["x", false]])", u"not installed"));
    EXPECT_FALSE(finds_in_properties(R"([["x", 1]])", u"installed"));
}

// The list says "Installed" where the value is 2; its own text is no less searched.
TEST_F(search_walk, a_value_is_searched_by_its_own_text_though_the_list_shows_another)
{
    EXPECT_TRUE(finds_in_properties(R"([["x", 2]])", u"2"));
    EXPECT_EQ(place(), "Main/Sub tree");
}

TEST_F(search_walk, no_properties_are_not_installed)
{
    EXPECT_TRUE(finds_in_properties("[]", u"NOT INSTALLED"));
    EXPECT_EQ(place(), "Main/Sub row 0 list");
    EXPECT_FALSE(finds_in_properties("[]", u"not inst"));
    EXPECT_FALSE(finds_in_properties("[]", u"state"));
    // The list of the main feature is scanned as it stands there, by parts of a cell.
    open(R"("ID": "x")");
    EXPECT_EQ(find(u"not inst"), "Main row 0 list");
}

TEST_F(search_walk, titles_count_with_the_elements_that_they_belong_to)
{
    constexpr std::string_view titles = R"(["T", {"array": ["One", "Two", "Three"]}])";
    const std::string alone = "[" + std::string(titles) + "]";
    EXPECT_FALSE(finds_in_properties(alone, u"one"));
    EXPECT_FALSE(finds_in_properties(alone, u"not installed"));
    const std::string with_values = "[" + std::string(titles) + R"(, ["V", {"array": ["first", "second"]}]])";
    EXPECT_TRUE(finds_in_properties(with_values, u"two"));
    EXPECT_EQ(place(), "Main/Sub row 1 list");
    EXPECT_TRUE(finds_in_properties(with_values, u"SECOND"));
    EXPECT_EQ(place(), "Main/Sub row 1 list");
    EXPECT_FALSE(finds_in_properties(with_values, u"three"));
    // Names of arrays are not shown, and not searched.
    EXPECT_FALSE(finds_in_properties(with_values, u"v"));
}

TEST_F(search_walk, elements_behind_the_last_title_end_the_command)
{
    constexpr std::string_view longer = R"([["T", {"array": ["One"]}], ["V", {"array": ["a", "b"]}]])";
    EXPECT_TRUE(finds_in_properties(longer, u"one"));
    EXPECT_EQ(program.take_unhandled().size(), 1u); // the list of the item ends in the same way
    constexpr std::string_view behind = R"([["T", {"array": ["One"]}], ["V", {"array": ["a", "zz"]}]])";
    EXPECT_FALSE(finds_in_properties(behind, u"zz"));
    EXPECT_EQ(program.take_unhandled(), lines{"cwcabview: unhandled error: invalid argument"});
    EXPECT_EQ(place(), "Main");
}

TEST_F(search_walk, groups_stop_at_the_properties_of_their_feature)
{
    open(R"("features": [{"Name": "Sub", "properties": [["Vendor", "word"]],
                          "operations": {"OPTYPE_FILE": [["word"]], "OPTYPE_INI": [["x"]]}},
                         {"Name": "Last word"}])",
         all_types);
    EXPECT_EQ(find(u"word"), "Main/Sub row 0 list");
    EXPECT_EQ(next(), "Main/Sub/File Operations row 0 list");
    // The list of a group need not hold what its feature matched by.
    EXPECT_EQ(next(), "Main/Sub/INI File Operations tree");
    EXPECT_EQ(next(), "Main/Last word tree");
    EXPECT_EQ(next(), "Main/Last word" + std::string(not_found));
}

TEST_F(search_walk, rows_of_properties_are_looked_at_in_two_columns_only)
{
    open_sub(R"("properties": [["Vendor", "needle"]],
                "operations": {"OPTYPE_FILE": [["p", "f", true, "needle", true, true]]})");
    EXPECT_EQ(find(u"needle"), "Main/Sub row 0 list");
    EXPECT_EQ(next(), "Main/Sub/File Operations tree");

    // The third column of a list that stands behind the two.
    open_sub(R"("properties": [["Vendor", "needle"]], "operations": {"OPTYPE_REGISTRY": [["k", "v", "needle", 2]]})");
    EXPECT_EQ(find(u"needle"), "Main/Sub row 0 list");
    EXPECT_EQ(next(), "Main/Sub/Registry Operations tree");
    EXPECT_EQ(next(), "Main/Sub/Registry Operations row 0 list");
}

// ---- records --------------------------------------------------------------------------------

TEST_F(search_walk, records_select_the_node_and_the_row)
{
    open_sub(R"("operations": {"OPTYPE_FILE": [["C:\\app", "a.exe"], ["C:\\app", "needle.exe"]]})");
    EXPECT_EQ(find(u"needle"), "Main/Sub/File Operations row 1 list");
    EXPECT_EQ(next(), "Main/Sub/File Operations row 1" + std::string(not_found));
}

TEST_F(search_walk, every_element_of_a_record_is_searched)
{
    open_record("OPTYPE_FILE", R"("a", "b", true, true, true, true, "behind all columns")");
    EXPECT_EQ(find(u"behind"), "Main/Sub/File Operations tree");
}

TEST_F(search_walk, elements_are_searched_as_rows_of_reports_show_them)
{
    open_record("OPTYPE_FILE", R"("p", "f", true, true, 5, 0)");
    EXPECT_EQ(find(u"false").substr(0, 24), "Main/Sub/File Operations");
    open_record("OPTYPE_FILE", R"("p", "f", 5, 5, -1, 5)");
    EXPECT_EQ(find(u"TRUE").substr(0, 24), "Main/Sub/File Operations");
    open_record("OPTYPE_FILE", R"("p", "f", 5, 5, 5, 77)");
    EXPECT_EQ(find(u"77").substr(0, 24), "Main/Sub/File Operations");
    EXPECT_EQ(find(u"0"), "Main" + std::string(not_found));
    // Whatever the type is: no text at all is false, and a number is looked at by its low 16 bits.
    open_record("OPTYPE_INI", R"("p", "s", {"vt": "VT_BSTR", "value": null})");
    EXPECT_EQ(find(u"false"), "Main/Sub/INI File Operations row 0 list");
    open_record("OPTYPE_INI", R"("p", "s", 131072)");
    EXPECT_EQ(find(u"false"), "Main/Sub/INI File Operations row 0 list");
    EXPECT_EQ(find(u"131072"), "Main" + std::string(not_found));
    open_record("OPTYPE_INI", R"("p", "s", 3)");
    EXPECT_EQ(find(u"true"), "Main" + std::string(not_found));
}

TEST_F(search_walk, a_search_for_false_comes_to_the_first_record_with_a_flag_of_zero)
{
    open_sub(
        R"("operations": {"OPTYPE_FILE": [["p", "a", true, true, true, true], ["p", "b", true, false, true, true]]})");
    EXPECT_EQ(find(u"false"), "Main/Sub/File Operations row 1 list");
}

struct searched_kind {
    std::string_view kind_type;     // the type that gives the node
    std::string_view label;         // of the node
    std::string_view searched_type; // whose records the node is searched by
};

TEST_F(search_walk, each_kind_has_its_records)
{
    for (const searched_kind& kind : std::to_array<searched_kind>({
             {"OPTYPE_FILE", "File Operations", "OPTYPE_FILE"},
             {"OPTYPE_SHELL", "Explorer Shell Operations", "OPTYPE_SHELL"},
             {"OPTYPE_INI", "INI File Operations", "OPTYPE_INI"},
             {"OPTYPE_DOTNET", ".NET Operations", "OPTYPE_DOTNET"},
             {"OPTYPE_REGISTRY", "Registry Operations", "OPTYPE_REGISTRY"},
         })) {
        open_record(kind.searched_type, R"("needle")");
        EXPECT_EQ(find(u"needle").substr(0, 9 + kind.label.size()), "Main/Sub/" + std::string(kind.label));
    }
}

TEST_F(search_walk, self_registrations_are_searched_in_the_registry)
{
    // The group of the registry stands behind that of the files' registration.
    ASSERT_TRUE(program.open_log(
        R"({"types": ["OPTYPE_FILEREG", "OPTYPE_REGISTRY"], "root": {"Name": "Main", "features": [{"Name": "Sub",
            "operations": {"OPTYPE_FILEREG": [["mine"]], "OPTYPE_REGISTRY": [["needle"]]}}]}})"));
    EXPECT_EQ(find(u"needle"), "Main/Sub/Self-Registration Operations tree");
    EXPECT_EQ(find(u"mine"), "Main" + std::string(not_found));
    // Its own records are reached through its list alone.
    select(frame(), "log.clg/Main/Sub/Self-Registration Operations");
    EXPECT_EQ(next(), "Main/Sub/Self-Registration Operations row 0 list");
}

TEST_F(search_walk, some_types_are_reached_through_lists_alone)
{
    open_record("OPTYPE_REGISTRY64", R"("needle")");
    EXPECT_EQ(find(u"needle"), "Main" + std::string(not_found));
    select(frame(), "log.clg/Main/Sub/Registry Operations");
    EXPECT_EQ(next(), "Main/Sub/Registry Operations row 0 list");

    open_record("OPTYPE_PROGMAN", R"("needle")");
    EXPECT_EQ(find(u"needle"), "Main" + std::string(not_found));

    // Hives are named in lists only.
    open_record("OPTYPE_REGISTRY", R"("a", "b", "c", 2)");
    EXPECT_EQ(find(u"HKEY_LOCAL_MACHINE"), "Main" + std::string(not_found));
    select(frame(), "log.clg/Main/Sub/Registry Operations");
    EXPECT_EQ(next(), "Main/Sub/Registry Operations row 0 list");
}

TEST_F(search_walk, a_record_that_its_list_does_not_show_gives_the_tree_the_focus)
{
    // The type is searched by the number, and shown by a word.
    open_record("OPTYPE_FILE", R"("p", "f", 12345, true, true, true)");
    EXPECT_EQ(find(u"12345"), "Main/Sub/File Operations tree");
}

TEST_F(search_walk, the_ninth_column_is_looked_at)
{
    open_sub(R"("operations": {"OPTYPE_REGISTRY": [["k", "v", "", 2, 1, 1, 1, "needle"]],
                               "OPTYPE_REGISTRY64": [["k", "v", "", 2, 1, 1, 1, "needle"]]})");
    EXPECT_EQ(find(u"needle"), "Main/Sub/Registry Operations row 0 list");
    frame().List().SelectRow(CListCtrl::no_row);
    EXPECT_EQ(next(), "Main/Sub/Registry Operations row 0 list");
}

TEST_F(search_walk, records_come_before_what_is_below)
{
    open(R"("features": [{"Name": "Sub", "operations": {"OPTYPE_GENERAL": [["needle"]], "OPTYPE_FILE": [["needle"]]},
                          "features": [{"Name": "needle"}]}])",
         all_types);
    EXPECT_EQ(find(u"needle"), "Main/Sub/OPTYPE_GENERAL row 0 list");
}

TEST_F(search_walk, a_null_list_of_operations_ends_the_command)
{
    open_sub(R"("operations": {"OPTYPE_GENERAL": [["x"]]})");
    ASSERT_TRUE(program.open_log(R"({"types": [], "root": {"Name": "Main", "features":
        [{"Name": "Sub", "operations": {"OPTYPE_GENERAL": null}}]}})"));
    EXPECT_EQ(find(u"needle"), "Main");
    EXPECT_EQ(take_error_codes(), lines{"0x80004003"});
}

TEST_F(search_walk, a_failing_library_ends_the_command_where_it_stands)
{
    open(R"("features": [{"Name": "One", "properties": [["A", {"fail": "0x80004005"}]]}, {"Name": "needle"}])");
    EXPECT_EQ(find(u"needle"), "Main");
    EXPECT_EQ(take_error_codes(), lines{"0x80004005"});
    // A match of the label comes before anything that fails, but its list fails when it is selected.
    EXPECT_EQ(find(u"one"), "Main/One");
    EXPECT_EQ(take_error_codes(), lines{"0x80004005"});
}

// ---- general records ------------------------------------------------------------------------

TEST_F(search_walk, general_records_select_the_node_that_shows_them)
{
    open_sub(R"("operations": {"OPTYPE_FILE": [["x"]], "OPTYPE_GENERAL": [["a"], ["needle"]]})");
    EXPECT_EQ(find(u"needle"), "Main/Sub/OPTYPE_GENERAL row 1 list");
    // That node is searched by the same records, and has no node of that name below it.
    EXPECT_EQ(next(), "Main/Sub/OPTYPE_GENERAL row 1" + std::string(not_found));
}

TEST_F(search_walk, general_records_of_the_main_feature_hold_the_search_fast)
{
    open(R"("features": [{"Name": "Sub", "operations": {"MY_TYPE": [["mine"]], "OPTYPE_GENERAL": [["needle"]]}},
                         {"Name": "needle"}])",
         R"("MY_TYPE")");
    // No node shows them: the selection stays, and every further search ends there.
    EXPECT_EQ(find(u"needle"), "Main tree");
    EXPECT_EQ(next(), "Main tree");
    EXPECT_EQ(next(), "Main tree");
}

TEST_F(search_walk, general_nodes_hold_the_search_fast_from_behind)
{
    open(R"("features": [{"Name": "Sub", "operations": {"MY_TYPE": [["x"]], "OPTYPE_GENERAL": [["needle"]]}},
                         {"Name": "Last"}])",
         R"("OPTYPE_GENERAL", "MY_TYPE")");
    EXPECT_EQ(find(u"needle"), "Main/Sub/OPTYPE_GENERAL row 0 list");
    // The node of the unknown type is searched by the general records, too: nothing moves, and the list
    // that stands there is the one that is looked at.
    EXPECT_EQ(next(), "Main/Sub/OPTYPE_GENERAL row 0 list");
    EXPECT_EQ(next(), "Main/Sub/OPTYPE_GENERAL row 0 list");
}

TEST_F(search_walk, the_node_of_general_records_is_told_by_its_exact_text)
{
    open(R"("features": [{"Name": "Sub", "operations": {"OPTYPE_GENERAL": [["needle"]]},
                          "features": [{"Name": "optype_general"}, {"Name": "OPTYPE_GENERAL"}]}])",
         R"("OPTYPE_FILE")");
    EXPECT_EQ(find(u"needle"), "Main/Sub/OPTYPE_GENERAL tree");
}

TEST_F(search_walk, the_first_node_of_that_text_is_taken)
{
    open(R"("features": [{"Name": "Sub", "operations": {"OPTYPE_GENERAL": [["needle"]]},
                          "features": [{"Name": "OPTYPE_GENERAL"}]}])",
         R"("OPTYPE_GENERAL")");
    EXPECT_EQ(find(u"needle"), "Main/Sub/OPTYPE_GENERAL row 0 list");
}

// ---- the road through the tree --------------------------------------------------------------

TEST_F(search_walk, goes_forward_through_all_levels)
{
    open(R"("features": [
        {"Name": "a1", "features": [{"Name": "b", "features": [{"Name": "a2"}, {"Name": "b"}]}, {"Name": "a3"}]},
        {"Name": "b", "features": [{"Name": "b", "features": [{"Name": "b"}, {"Name": "a4"}]}]},
        {"Name": "a5"}])");
    EXPECT_EQ(find(u"a1"), "Main/a1 tree");
    for (const std::string_view label : {"a2", "a3", "a4", "a5"}) {
        frame_access::find_text(frame()) = CString(std::u16string(label.begin(), label.end()));
        EXPECT_TRUE(next().ends_with("/" + std::string(label) + " tree")) << label;
    }
    EXPECT_EQ(next(), "Main/a5" + std::string(not_found));
    frame_access::find_text(frame()) = CString(u"a4");
    EXPECT_EQ(next(), "Main/a5" + std::string(not_found));
}

TEST_F(search_walk, climbs_to_the_main_feature_from_any_depth)
{
    open(R"("features": [{"Name": "a", "features": [{"Name": "a", "features": [{"Name": "a", "features": [
                {"Name": "a", "features": [{"Name": "deep"}]}]}]}]}, {"Name": "needle"}])");
    (void)find(u"deep");
    frame_access::find_text(frame()) = CString(u"needle");
    EXPECT_EQ(next(), "Main/needle tree");
}

TEST_F(search_walk, nothing_is_found_in_an_empty_label)
{
    open(R"("features": [{"ID": ""}, {"Name": "needle"}])");
    EXPECT_EQ(find(u"needle"), "Main/needle tree");
}

TEST_F(search_walk, a_match_in_the_last_row_goes_on_below_the_node)
{
    open(R"("features": [{"Name": "Sub", "properties": [["A", "x"], ["B", "word"]], "features": [{"Name": "word"}]}])");
    EXPECT_EQ(find(u"word"), "Main/Sub row 1 list");
    EXPECT_EQ(next(), "Main/Sub/word tree");
}

TEST_F(search_walk, features_can_be_nested_deeper_than_a_call_stack)
{
    constexpr int depth = 40'000;
    std::string model;
    for (int level = 0; level < depth; ++level)
        model += R"({"Name": "f", "features": [)";
    model += R"({"Name": "needle"})";
    for (int level = 0; level < depth; ++level)
        model += "]}";
    ASSERT_TRUE(program.open(program.write(R"({"root": )" + model + "}", "log.clg")));
    program.person.answer(question_kind::find, u"needle");
    frame().RunCommand(ID_SEARCH_FIND);
    EXPECT_EQ(frame().Tree().GetItemText(frame().Tree().GetSelectedItem()), u"needle");
    frame().RunCommand(ID_SEARCH_FIND_NEXT);
    EXPECT_EQ(frame().Tree().GetItemText(frame().Tree().GetSelectedItem()), u"needle");
    EXPECT_EQ(program.person.take_messages().size(), 1u);
}

TEST_F(search_walk, nothing_is_searched_below_what_is_no_feature)
{
    open_sub(R"("ID": "x")");
    frame().Tree().InsertItem(u"plain", {}, item_at(frame(), "log.clg/Main"));
    frame().Tree().InsertItem(u"needle", {}, item_at(frame(), "log.clg/Main/plain"));
    EXPECT_EQ(find(u"needle"), "Main" + std::string(not_found));
    EXPECT_EQ(find(u"plain"), "Main" + std::string(not_found));
    // Looking an item up enters it.
    const HTREEITEM plain = item_at(frame(), "log.clg/Main/plain");
    EXPECT_EQ(frame().NavNodes().count(plain), 1u);
    // Not even a feature, neither on the way nor from the item itself.
    frame().InsertNavNode(plain, u"needle", frame().NavNodes().at(item_at(frame(), "log.clg/Main/Sub")));
    EXPECT_EQ(find(u"needle"), "Main" + std::string(not_found));
    select(frame(), "log.clg/Main/plain");
    EXPECT_EQ(next(), "Main/plain" + std::string(not_found));
    EXPECT_FALSE(frame().SearchNode({}));
    EXPECT_FALSE(frame().SearchFollowingNodes({}));
}

// ---- what the library is asked --------------------------------------------------------------

TEST_F(search_walk, asks_in_the_order_of_its_tests)
{
    open_sub(R"("properties": [["A", "x"]], "operations": {"OPTYPE_GENERAL": [["y", "needle"], ["z"]]})");
    (void)program.take_trace();
    EXPECT_EQ(find(u"zz"), "Main" + std::string(not_found));
    const lines list_of_one_property{"IFeatureLog PropertyNames", "IFeatureLog PropertyNames",
                                     "IFeatureLog PropertyValue", "IFeatureLog PropertyNames",
                                     "IFeatureLog PropertyNames"};
    lines searched = list_of_one_property;
    searched.insert(searched.end(),
                    {"IFeatureLog Operations", "IOperationList First", "IOperationList Count", "IOperationList Next",
                     "IOperationList Count", "IOperationList Next", "IOperationList Count"});
    // The main feature, which gets selected, shows its list; a feature and its group are searched alike.
    lines expected = list_of_one_property;
    for (int node = 0; node < 2; ++node)
        expected.insert(expected.end(), searched.begin(), searched.end());
    EXPECT_EQ(program.take_trace(), expected);

    // The next one asks for everything again, but for the list that stands there.
    expected.erase(expected.begin(), expected.begin() + static_cast<std::ptrdiff_t>(list_of_one_property.size()));
    EXPECT_EQ(next(), "Main" + std::string(not_found));
    EXPECT_EQ(program.take_trace(), expected);
}

/// Three records in one array, at places that are the list's own business.
class held_records final : public automation::dual_object<held_records, IOperationList> {
public:
    static constexpr IID iid = IID_IOperationList;
    static constexpr std::u16string_view name = u"IOperationList";

    held_records()
    {
        array = SafeArrayCreateVector(VT_VARIANT, 0, 2);
        VARIANT* elements = nullptr;
        SafeArrayAccessData(array, reinterpret_cast<void**>(&elements));
        elements[0].vt = VT_I4;
        elements[0].lVal = 1;
        elements[1].vt = VT_I4;
        elements[1].lVal = 22;
        SafeArrayUnaccessData(array);
    }
    ~held_records() override
    {
        array->cLocks = 0;
        SafeArrayDestroy(array);
    }
    HRESULT Name(BSTR*) noexcept override { return E_NOTIMPL; }
    HRESULT Count(LONG* count) noexcept override
    {
        *count = 3;
        return S_OK;
    }
    HRESULT First(LONG, LONG* position) noexcept override
    {
        *position = first;
        return S_OK;
    }
    HRESULT Next(LONG* position, SAFEARRAY** record) noexcept override
    {
        if (*position != first && asked == 0)
            return E_UNEXPECTED;
        ++asked;
        ++*position;
        *record = array;
        return S_OK;
    }

    SAFEARRAY* array;
    LONG first = 0;
    int asked = 0;
};

TEST_F(search_walk, the_record_that_matched_stays_locked)
{
    open_sub(R"("ID": "x")");
    const auto records = automation::make_object<held_records>();
    (void)find(u"3");
    EXPECT_FALSE(frame().SearchOperationRecords(records.get()));
    EXPECT_EQ(records->asked, 3);
    EXPECT_EQ(records->array->cLocks, 0u);
    (void)find(u"22");
    EXPECT_TRUE(frame().SearchOperationRecords(records.get()));
    EXPECT_EQ(records->asked, 4);
    EXPECT_EQ(records->array->cLocks, 1u);
}

TEST_F(search_walk, the_count_says_how_many_records_there_are_wherever_the_first_is)
{
    open_sub(R"("ID": "x")");
    (void)find(u"22");
    for (const LONG first : {-1, 7}) {
        const auto records = automation::make_object<held_records>();
        records->first = first;
        EXPECT_TRUE(frame().SearchOperationRecords(records.get()));
    }
}

TEST_F(search_walk, an_element_without_text_matches_nothing)
{
    open_sub(R"("ID": "x")");
    const auto records = automation::make_object<held_records>();
    VARIANT* elements = nullptr;
    SafeArrayAccessData(records->array, reinterpret_cast<void**>(&elements));
    for (int i = 0; i < 2; ++i) {
        elements[i].vt = VT_BSTR;
        elements[i].bstrVal = SysAllocStringLen(u"", 0);
    }
    SafeArrayUnaccessData(records->array);
    // Before the first search there is no text, which would be in every other one.
    EXPECT_FALSE(frame().SearchOperationRecords(records.get()));
    EXPECT_EQ(records->asked, 3);
}

TEST_F(search_walk, the_names_of_properties_are_left_unlocked)
{
    open_sub(R"("properties": [["Vendor", "needle"], ["x", "y"]])");
    const automation::com_ptr<IFeatureLog> feature =
        feature_log_of(frame().NavNodes().at(item_at(frame(), "log.clg/Main/Sub")).object.get());
    SAFEARRAY* names = nullptr;
    ASSERT_EQ(feature->PropertyNames(&names), S_OK);
    EXPECT_EQ(find(u"needle"), "Main/Sub row 0 list");
    EXPECT_TRUE(frame().SearchFeatureProperties(feature.get()));
    EXPECT_EQ(names->cLocks, 0u);
    EXPECT_EQ(find(u"nothing"), "Main" + std::string(not_found));
    EXPECT_EQ(names->cLocks, 0u);
}

} // namespace
} // namespace cw
