#include "tests/log/log_support.h"

#include "bridges/log_interface.h"

namespace cw {
namespace {

using namespace test_support;

class log_tree : public log_view_test {
protected:
    /// The nodes below the feature "Sub", whose types have one record each where `operations` names them.
    std::string groups_of(std::string_view types, std::string_view operations)
    {
        EXPECT_TRUE(open_feature(R"("operations": {)" + std::string(operations) + "}", types));
        const std::string tree = detailed_tree_of(frame());
        const std::string head = "log.clg (-; -)\n  Main (9; 1, 2)\n    Sub (9; 1, 2)\n";
        EXPECT_TRUE(tree.starts_with(head)) << tree;
        return tree.substr(std::min(tree.size(), head.size()));
    }
};

TEST_F(log_tree, main_feature_alone)
{
    program.open_log(R"({"types": ["OPTYPE_FILE"], "root": {"Name": "Main", "ID": "M",
        "operations": {"OPTYPE_FILE": [["C:\\", "a", false, false, false, false]]}}})");
    EXPECT_EQ(detailed_tree_of(frame()), "log.clg (-; -)\n  Main (9; 1, 2)\n");
    EXPECT_EQ(frame().NavNodes().size(), 1u);
    EXPECT_FALSE(frame().Tree().GetSelectedItem());
}

TEST_F(log_tree, main_feature_without_a_name_shows_its_id)
{
    program.open_log(R"({"root": {"ID": "APP_MAIN_LOG"}})");
    EXPECT_EQ(tree_of(frame()), "log.clg\n  APP_MAIN_LOG\n");
    program.open_log(R"({"root": {"Name": null, "ID": "X"}})");
    EXPECT_EQ(tree_of(frame()), "log.clg\n  X\n");
    program.open_log(R"({"root": {"Name": "N", "ID": "X"}})");
    EXPECT_EQ(tree_of(frame()), "log.clg\n  N\n");
    program.open_log(R"({"root": {}})");
    EXPECT_EQ(tree_of(frame()), "log.clg\n  \n");
}

TEST_F(log_tree, sub_feature_without_a_name_shows_nothing)
{
    program.open_log(R"({"root": {"Name": "Main", "features": [{"ID": "S1"}]}})");
    EXPECT_EQ(tree_of(frame()), "log.clg\n  Main\n    \n");
}

TEST_F(log_tree, main_feature_has_the_same_images_whatever_its_name)
{
    program.open_log(R"({"root": {"Name": "Desktop", "features": [{"Name": "Desktop"}, {"Name": "start menu"},
        {"Name": "<Data>"}]}})");
    EXPECT_EQ(detailed_tree_of(frame()), "log.clg (-; -)\n"
                                         "  Desktop (9; 1, 2)\n"
                                         "    Desktop (9; 14, 14)\n"
                                         "    start menu (9; 15, 15)\n"
                                         "    <Data> (9; 16, 16)\n");
}

TEST_F(log_tree, features_nest_behind_their_groups)
{
    program.open_log(R"({"types": ["OPTYPE_INI", "OPTYPE_FILE"], "root": {"Name": "Main", "features": [
        {"Name": "A", "operations": {"OPTYPE_FILE": [[]], "OPTYPE_INI": [[]]},
         "features": [{"Name": "A1", "features": [{"Name": "A11", "operations": {"OPTYPE_INI": [[]]}}]},
                      {"Name": "A2"}]},
        {"Name": "B", "features": [{"Name": "B1"}]}]}})");
    EXPECT_EQ(detailed_tree_of(frame()), "log.clg (-; -)\n"
                                         "  Main (9; 1, 2)\n"
                                         "    A (9; 1, 2)\n"
                                         "      INI File Operations (13; 3, 3)\n"
                                         "      File Operations (10; 3, 3)\n"
                                         "      A1 (9; 1, 2)\n"
                                         "        A11 (9; 1, 2)\n"
                                         "          INI File Operations (13; 3, 3)\n"
                                         "      A2 (9; 1, 2)\n"
                                         "    B (9; 1, 2)\n"
                                         "      B1 (9; 1, 2)\n");
}

TEST_F(log_tree, each_type_has_its_label_kind_and_images)
{
    const std::vector<std::pair<const char*, const char*>> groups{
        {"OPTYPE_FILE", "File Operations (10; 3, 3)"},
        {"OPTYPE_SHELL", "Explorer Shell Operations (14; 4, 4)"},
        {"OPTYPE_REGISTRY", "Registry Operations (12; 1, 2)"},
        {"OPTYPE_REGISTRY64", "Registry Operations (12; 1, 2)"},
        {"OPTYPE_PROGMAN", "Progman Operations (10; 3, 3)"},
        {"OPTYPE_INI", "INI File Operations (13; 3, 3)"},
        {"OPTYPE_FILEREG", "Self-Registration Operations (11; 1, 2)"},
        {"OPTYPE_DOTNET", ".NET Operations (16; 9, 9)"},
        {"OPTYPE_GENERAL", "OPTYPE_GENERAL (15; 0, 0)"},
        {"MY_TYPE", "MY_TYPE (15; 0, 0)"},
        {"OPTYPE_FILES", "OPTYPE_FILES (15; 0, 0)"},
        {"optype_file", "optype_file (15; 0, 0)"},
        {"Desktop", "Desktop (15; 14, 14)"},
    };
    for (const auto& [type, node] : groups) {
        const std::string quoted = '"' + std::string(type) + '"';
        EXPECT_EQ(groups_of(quoted, quoted + ": [[]]"), "      " + std::string(node) + "\n");
    }
}

TEST_F(log_tree, groups_stand_in_the_order_of_the_library)
{
    EXPECT_EQ(groups_of(R"("Z", "OPTYPE_SHELL", "OPTYPE_FILE", "A")",
                        R"("A": [[]], "OPTYPE_FILE": [[]], "OPTYPE_SHELL": [[]], "Z": [[]])"),
              "      Z (15; 0, 0)\n"
              "      Explorer Shell Operations (14; 4, 4)\n"
              "      File Operations (10; 3, 3)\n"
              "      A (15; 0, 0)\n");
}

TEST_F(log_tree, types_that_the_library_does_not_list_have_no_group)
{
    EXPECT_EQ(groups_of(R"("OPTYPE_FILE")", R"("OPTYPE_GENERAL": [["a", "b"]], "OPTYPE_FILE": [[]])"),
              "      File Operations (10; 3, 3)\n");
}

TEST_F(log_tree, registry_types_share_a_node_where_the_narrow_one_comes_first)
{
    const char* registry = "      Registry Operations (12; 1, 2)\n";
    const std::string twice = std::string(registry) + registry;
    const char* both = R"("OPTYPE_REGISTRY": [[]], "OPTYPE_REGISTRY64": [[]])";
    EXPECT_EQ(groups_of(R"("OPTYPE_REGISTRY", "OPTYPE_REGISTRY64")", both), registry);
    EXPECT_EQ(groups_of(R"("OPTYPE_REGISTRY64", "OPTYPE_REGISTRY")", both), twice);
    EXPECT_EQ(groups_of(R"("OPTYPE_REGISTRY", "OPTYPE_REGISTRY64")", R"("OPTYPE_REGISTRY64": [[]])"), registry);
    EXPECT_EQ(groups_of(R"("OPTYPE_REGISTRY64", "OPTYPE_REGISTRY")", R"("OPTYPE_REGISTRY": [[]])"), registry);
    // Listed twice, the wide side is shown once and the narrow one twice.
    EXPECT_EQ(groups_of(R"("OPTYPE_REGISTRY64", "OPTYPE_REGISTRY64")", R"("OPTYPE_REGISTRY64": [[]])"), registry);
    EXPECT_EQ(groups_of(R"("OPTYPE_REGISTRY", "OPTYPE_REGISTRY")", R"("OPTYPE_REGISTRY": [[]])"), twice);
}

TEST_F(log_tree, the_registry_node_is_remembered_for_one_feature_only)
{
    program.open_log(R"({"types": ["OPTYPE_REGISTRY", "OPTYPE_REGISTRY64"], "root": {"Name": "Main", "features": [
        {"Name": "A", "operations": {"OPTYPE_REGISTRY": [[]]}},
        {"Name": "B", "operations": {"OPTYPE_REGISTRY64": [[]]}}]}})");
    EXPECT_EQ(tree_of(frame()), "log.clg\n"
                                "  Main\n"
                                "    A\n"
                                "      Registry Operations\n"
                                "    B\n"
                                "      Registry Operations\n");
}

TEST_F(log_tree, empty_lists_give_no_group)
{
    EXPECT_EQ(groups_of(R"("OPTYPE_FILE", "OPTYPE_INI", "OPTYPE_SHELL")", R"("OPTYPE_FILE": [], "OPTYPE_INI": [[]])"),
              "      INI File Operations (13; 3, 3)\n");
    program.open_log(R"({"types": ["OPTYPE_FILE"], "root": {"Name": "Main", "features": [
        {"Name": "A", "operations": {"OPTYPE_FILE": []}, "features": [{"Name": "A1"}]}]}})");
    EXPECT_EQ(tree_of(frame()), "log.clg\n  Main\n    A\n      A1\n");
}

TEST_F(log_tree, any_negative_position_is_an_empty_list_and_no_other)
{
    EXPECT_EQ(groups_of(R"("A", "B", "C", "D")", R"("A": {"items": [[]], "First": -5}, "B": {"items": [], "First": 0},
        "C": {"items": [[]], "First": 7}, "D": {"items": [[]], "First": -2147483648})"),
              "      B (15; 0, 0)\n      C (15; 0, 0)\n");
}

TEST_F(log_tree, group_nodes_hold_the_feature)
{
    open_feature(R"("operations": {"OPTYPE_FILE": [[]]})");
    const NavNodeMap& nodes = frame().NavNodes();
    const HTREEITEM group = item_at(frame(), "log.clg/Main/Sub/File Operations");
    const HTREEITEM feature = item_at(frame(), "log.clg/Main/Sub");
    EXPECT_EQ(nodes.at(group).object, nodes.at(feature).object);
    EXPECT_FALSE(nodes.at(feature).object == nodes.at(item_at(frame(), "log.clg/Main")).object);
    EXPECT_TRUE(automation::query_interface<IFeatureLog>(nodes.at(group).object.get(), IID_IFeatureLog));
    EXPECT_EQ(nodes.at(item_at(frame(), "log.clg/Main")).object.get(), frame_access::root_feature_log(frame()).get());
}

TEST_F(log_tree, asks_the_library_in_its_order)
{
    (void)program.take_trace();
    open_feature(R"("operations": {"OPTYPE_FILE": [[]]})", R"("OPTYPE_FILE", "OPTYPE_INI")");
    lines trace = program.take_trace();
    // Whatever a library's opening says, the tree begins with the main feature's names.
    while (!trace.empty() && trace.front() != "IFeatureLog Name")
        trace.erase(trace.begin());
    EXPECT_EQ(trace, (lines{"IFeatureLog Name",
                            "IFeatureLog ID",
                            "IFeatureLog SubFeatures",
                            "IFeatureLogCollection Count",
                            "IFeatureLogCollection Item 1",
                            "IFeatureLog Name",
                            "ILogDocument OperationTypes",
                            "ILogDocument OperationTypes",
                            "IOperationTypeCollection Count",
                            "IOperationTypeCollection Item 1",
                            "IOperationType Name",
                            "IFeatureLog Operations",
                            "IOperationList First",
                            "ILogDocument OperationTypes",
                            "IOperationTypeCollection Count",
                            "IOperationTypeCollection Item 2",
                            "IOperationType Name",
                            "IFeatureLog Operations",
                            "IOperationList First",
                            "ILogDocument OperationTypes",
                            "IOperationTypeCollection Count",
                            "IFeatureLog SubFeatures",
                            "IFeatureLogCollection Count",
                            "IFeatureLogCollection Count"}));
}

TEST_F(log_tree, counts_anew_before_each_item)
{
    program.open_log(R"({"root": {"Name": "Main", "features": {"items": [{"Name": "A"}, {"Name": "B"}, {"Name": "C"}],
        "counts": [3, 2, 2]}}})");
    EXPECT_EQ(tree_of(frame()), "log.clg\n  Main\n    A\n    B\n");
    program.open_log(R"({"types": {"items": ["X", "Y"], "counts": [0]}, "root": {"Name": "Main", "features": [
        {"Name": "A", "operations": {"X": [[]], "Y": [[]]}}]}})");
    EXPECT_EQ(tree_of(frame()), "log.clg\n  Main\n    A\n");
}

TEST_F(log_tree, nests_deeper_than_a_call_stack)
{
    constexpr int depth = 20'000;
    std::string model = R"({"root": {"Name": "Main", "features": [)";
    for (int i = 0; i < depth; ++i)
        model += R"({"Name": "F", "features": [)";
    for (int i = 0; i < depth; ++i)
        model += "]}";
    model += "]}}";
    // Written as it is: the harness would have to take the text apart.
    EXPECT_TRUE(program.open(program.write(model, "deep.clg")));
    EXPECT_EQ(frame().Tree().GetItemCount(), static_cast<std::size_t>(depth) + 2);
}

TEST_F(log_tree, nothing_without_a_main_feature)
{
    program.open_log(R"({"root": {"Name": "Main"}, "root_error": "0x80004005"})");
    EXPECT_EQ(detailed_tree_of(frame()), "log.clg (-; -)\n");
    program.open_log(R"({"root": {"Name": "Main"}, "open_error": "0x80004005"})");
    EXPECT_EQ(detailed_tree_of(frame()), "log.clg (-; -)\n");
    (void)program.take_trace();
    frame().PopulateLogTree();
    EXPECT_EQ(program.take_trace(), lines{});
    EXPECT_EQ(detailed_tree_of(frame()), "log.clg (-; -)\n");
}

struct failing_member {
    const char* model;
    const char* code;
    const char* tree;
};

class log_tree_failure : public log_view_test, public testing::WithParamInterface<failing_member> {};

TEST_P(log_tree_failure, leaves_what_was_inserted)
{
    EXPECT_FALSE(program.open_log(GetParam().model));
    EXPECT_EQ(take_error_codes(), lines{GetParam().code});
    EXPECT_EQ(tree_of(frame()), GetParam().tree);
    // What follows the tree did not happen.
    EXPECT_TRUE(program.recent().empty());
}

INSTANTIATE_TEST_SUITE_P(
    members, log_tree_failure,
    testing::Values(
        failing_member{R"({"root": {"Name": {"fail": "0x80004005"}}})", "0x80004005", "log.clg\n"},
        failing_member{R"({"root": {"Name": "M", "ID": {"fail": "0x80004005"}}})", "0x80004005", "log.clg\n"},
        failing_member{R"({"root": {"Name": "M", "features": {"fail": "0x8007000E"}}})", "0x8007000E",
                       "log.clg\n  M\n"},
        failing_member{R"({"root": {"Name": "M", "features": null}})", "0x80004003", "log.clg\n  M\n"},
        failing_member{R"({"root": {"Name": "M", "features": [{"Name": "A"}, {"fail": "0x80004005"}]}})", "0x80004005",
                       "log.clg\n  M\n    A\n"},
        failing_member{R"({"root": {"Name": "M", "features": [{"Name": "A"}, null]}})", "0x80004003",
                       "log.clg\n  M\n    A\n"},
        failing_member{R"({"root": {"Name": "M", "features": [{"Name": {"fail": "0x80004005"}}]}})", "0x80004005",
                       "log.clg\n  M\n"},
        failing_member{R"({"root": {"Name": "M", "features": [{"Name": "A", "features": null}]}})", "0x80004003",
                       "log.clg\n  M\n    A\n"},
        failing_member{R"({"types": {"fail": "0x80004005"}, "root": {"Name": "M", "features": [{"Name": "A"}]}})",
                       "0x80004005", "log.clg\n  M\n    A\n"},
        failing_member{R"({"types": null, "root": {"Name": "M", "features": [{"Name": "A"}]}})", "0x80004003",
                       "log.clg\n  M\n    A\n"},
        failing_member{R"({"types": [null], "root": {"Name": "M", "features": [{"Name": "A"}]}})", "0x80004003",
                       "log.clg\n  M\n    A\n"},
        failing_member{R"({"types": [{"fail": "0x80004005"}], "root": {"Name": "M", "features": [{"Name": "A"}]}})",
                       "0x80004005", "log.clg\n  M\n    A\n"},
        failing_member{R"({"types": ["X", "Y"], "root": {"Name": "M", "features": [{"Name": "A",
                           "operations": {"X": [[]], "Y": {"fail": "0x80004005"}}}]}})",
                       "0x80004005", "log.clg\n  M\n    A\n      X\n"},
        failing_member{R"({"types": ["X"], "root": {"Name": "M", "features": [{"Name": "A",
                           "operations": {"X": {"items": [], "First": {"fail": "0x80004005"}}}}]}})",
                       "0x80004005", "log.clg\n  M\n    A\n"},
        failing_member{R"({"types": ["X"], "root": {"Name": "M", "features": [{"Name": "A",
                           "operations": {"X": null}}]}})",
                       "0x80004003", "log.clg\n  M\n    A\n"}));

} // namespace
} // namespace cw
