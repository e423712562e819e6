#include "tests/log/log_support.h"

#include "foundation/string_table.h"

#include <algorithm>

namespace cw {
namespace {

/// A table in which the two truth words are translated.
int translated_words(std::uint32_t id, char16_t* target, int room_in_code_units) noexcept
{
    const std::u16string_view word = id == 155 ? u"wahr" : id == 156 ? u"falsch" : u"";
    if (word.empty())
        return load_string(id, target, room_in_code_units);
    target[word.copy(target, static_cast<std::size_t>(room_in_code_units) - 1)] = 0;
    return static_cast<int>(word.size());
}

using namespace test_support;

class operation_rows : public log_view_test {
protected:
    /// The rows of a group whose type has these records.
    lines rows_from(std::string_view type, std::string_view group, std::string_view records)
    {
        const std::string quoted = '"' + std::string(type) + '"';
        EXPECT_TRUE(open_feature(R"("operations": {)" + quoted + ": " + std::string(records) + "}", quoted));
        return rows_at("Main/Sub/" + std::string(group));
    }
    lines file_rows(std::string_view records) { return rows_from("OPTYPE_FILE", "File Operations", records); }
    lines registry_rows(std::string_view records)
    {
        return rows_from("OPTYPE_REGISTRY", "Registry Operations", records);
    }
    lines registry64_rows(std::string_view records)
    {
        return rows_from("OPTYPE_REGISTRY64", "Registry Operations", records);
    }
    lines dotnet_rows(std::string_view records) { return rows_from("OPTYPE_DOTNET", ".NET Operations", records); }
};

TEST_F(operation_rows, files_and_directories)
{
    EXPECT_EQ(file_rows(R"([["C:\\app", "a.exe", true, false, true, false],
                            ["C:\\app", "b.dll", false, false, false, true],
                            ["C:\\app", "", true, true, true, true],
                            ["C:\\app", "sub", false, true, false, false]])"),
              (lines{"C:\\app | a.exe | True | False | True | False | -",
                     "C:\\app | b.dll | False | False | False | True | -", "C:\\app |  | True | True | - | - | True",
                     "C:\\app | sub | False | True | - | - | False"}));
    EXPECT_EQ(
        columns_of(frame()),
        "Path (300) | Filename (120) | Shared (80) | Directory (80) | Potentially Locked (120) | Permanent (80) | "
        "Created Directory (120)");
}

TEST_F(operation_rows, one_directory)
{
    EXPECT_EQ(file_rows(R"([["C:\\", "d", false, true, true, true]])"),
              (lines{"C:\\ | d | False | True | - | - | True"}));
}

TEST_F(operation_rows, self_registrations)
{
    EXPECT_EQ(rows_from("OPTYPE_FILEREG", "Self-Registration Operations",
                        R"([["C:\\app", "a.ocx", true], ["C:\\app", "b.ocx", false]])"),
              (lines{"C:\\app | a.ocx | True", "C:\\app | b.ocx | False"}));
    EXPECT_EQ(columns_of(frame()), "Path (400) | Filename (120) | Shared (80)");
}

TEST_F(operation_rows, registry_values_and_keys)
{
    EXPECT_EQ(registry_rows(R"([["Software\\A", "Version", "host", 2, true, true, false],
                                ["Software\\A", "Path", "", 1, false, false, true],
                                ["Software\\A", "", "", 0, true, false, false],
                                ["Software\\B", null, null, 5, false, true, true]])"),
              (lines{"Software\\A | Version | host | HKEY_LOCAL_MACHINE | True |  | True | False | ",
                     "Software\\A | Path |  | HKEY_CURRENT_USER | False |  | False | True | ",
                     "Software\\A |  |  | HKEY_CLASSES_ROOT |  | True | False | False | ",
                     "Software\\B |  |  | HKEY_CURRENT_CONFIG |  | False | True | True | "}));
    EXPECT_EQ(columns_of(frame()),
              "Key (550) | Value Name (120) | Remote Name (100) | Hive (160) | Permanent (120) | Created Key (80) | "
              "Remote (80) | Shared (80) | Flags (60)");
}

TEST_F(operation_rows, hives)
{
    const std::vector<std::pair<int, const char*>> hives{{0, "HKEY_CLASSES_ROOT"},
                                                         {1, "HKEY_CURRENT_USER"},
                                                         {2, "HKEY_LOCAL_MACHINE"},
                                                         {3, ""},
                                                         {4, "HKEY_PERFORMANCE_DATA"},
                                                         {5, "HKEY_CURRENT_CONFIG"},
                                                         {6, "HKEY_DYN_DATA"},
                                                         {7, ""},
                                                         {-1, ""},
                                                         {32767, ""},
                                                         {-32768, ""},
                                                         {65538, "HKEY_LOCAL_MACHINE"}};
    for (const auto& [code, name] : hives)
        EXPECT_EQ(registry_rows(R"([["K", "V", "", )" + std::to_string(code) + ", false, false, false]]"),
                  lines{"K | V |  | " + std::string(name) + " | False |  | False | False | "})
            << code;
}

TEST_F(operation_rows, value_names_are_converted)
{
    EXPECT_EQ(registry_rows(R"([["K", 7, "", 1, true, false, false], ["K", true, "", 1, true, false, false],
                                ["K", {"vt": "VT_R8", "value": 1.5}, "", 1, true, false, false],
                                ["K", {"vt": "VT_NULL"}, "", 1, true, false, false],
                                ["K", {"vt": "VT_BSTR", "value": null}, "", 1, true, false, false]])"),
              (lines{"K | 7 |  | HKEY_CURRENT_USER | True |  | False | False | ",
                     "K | -1 |  | HKEY_CURRENT_USER | True |  | False | False | ",
                     "K | 1.5 |  | HKEY_CURRENT_USER | True |  | False | False | ",
                     "K |  |  | HKEY_CURRENT_USER |  | True | False | False | ",
                     "K |  |  | HKEY_CURRENT_USER |  | True | False | False | "}));
}

TEST_F(operation_rows, flags_of_the_wide_side_alone)
{
    EXPECT_EQ(registry64_rows(R"([["K", "V", "r", 1, true, true, true, 256], ["K", "V", "", 1, true, true, true, "x"],
                                  ["K", "", "", 1, false, true, true, null]])"),
              (lines{"K | V | r | HKEY_CURRENT_USER | True |  | True | True | 256",
                     "K | V |  | HKEY_CURRENT_USER | True |  | True | True | x",
                     "K |  |  | HKEY_CURRENT_USER |  | False | True | True | "}));
    EXPECT_EQ(registry_rows(R"([["K", "V", "", 1, true, true, true, 256]])"),
              (lines{"K | V |  | HKEY_CURRENT_USER | True |  | True | True | "}));
}

TEST_F(operation_rows, the_wide_side_stands_above_the_narrow_one)
{
    const char* operations = R"("operations": {
        "OPTYPE_REGISTRY": [["n1", "", "", 3, true, true, true], ["n2", "", "", 3, true, true, true],
                            ["n3", "", "", 3, true, true, true]],
        "OPTYPE_REGISTRY64": [["w1", "", "", 3, true, true, true, 1], ["w2", "", "", 3, true, true, true, 2]]})";
    const lines expected{
        "w1 |  |  |  |  | True | True | True | 1", "w2 |  |  |  |  | True | True | True | 2",
        "n1 |  |  |  |  | True | True | True | ",  "n2 |  |  |  |  | True | True | True | ",
        "n3 |  |  |  |  | True | True | True | ",
    };
    open_feature(operations, R"("OPTYPE_REGISTRY", "OPTYPE_REGISTRY64")");
    EXPECT_EQ(rows_at("Main/Sub/Registry Operations"), expected);
    // Two nodes where the library lists them the other way round, and both show both.
    open_feature(operations, R"("OPTYPE_REGISTRY64", "OPTYPE_REGISTRY")");
    const HTREEITEM feature = item_at(frame(), "log.clg/Main/Sub");
    for (HTREEITEM node = frame().Tree().GetChildItem(feature); node; node = frame().Tree().GetNextSiblingItem(node)) {
        frame().Tree().SelectItem(node);
        EXPECT_EQ(rows_of(frame()), expected);
    }
    EXPECT_EQ(frame().Tree().GetChildCount(feature), 2u);
}

TEST_F(operation_rows, a_registry_list_that_fails_or_is_not_there_is_empty)
{
    for (const char* broken : {R"({"fail": "0x80004005"})", "null"}) {
        for (const bool wide : {false, true}) {
            // The tree needs both lists, so the model changes behind it.
            open_feature(R"("operations": {"OPTYPE_REGISTRY": [["n", "", "", 3, true, true, true]],
                                           "OPTYPE_REGISTRY64": [["w", "", "", 3, true, true, true, 1]]})",
                         R"("OPTYPE_REGISTRY", "OPTYPE_REGISTRY64")");
            const HTREEITEM node = item_at(frame(), "log.clg/Main/Sub/Registry Operations");
            const std::string whole_type = wide ? "OPTYPE_REGISTRY" : "OPTYPE_REGISTRY64";
            const std::string broken_type = wide ? "OPTYPE_REGISTRY64" : "OPTYPE_REGISTRY";
            frame_harness other;
            other.start();
            other.open_log(R"({"root": {"Name": "M", "operations": {")" + whole_type +
                           R"~(": [["k", "", "", 3, true, true, true, 1]], ")~" + broken_type + "\": " + broken +
                           "}}}");
            frame_access::nodes(frame())[node].object = frame_access::root_feature_log(other.frame());
            frame().Tree().SelectItem(node);
            EXPECT_EQ(rows_of(frame()), lines{"k |  |  |  |  | True | True | True | " + std::string(wide ? "" : "1")});
        }
    }
}

TEST_F(operation_rows, the_wide_side_is_told_by_its_whole_name_in_any_case)
{
    open_feature(
        R"("operations": {"OPTYPE_REGISTRY": [[]], "optype_Registry64": [["a", "", "", 3, true, true, true, 1]],
        "OPTYPE_REGISTRY6": [["b", "", "", 3, true, true, true, 2]],
        "OPTYPE_REGISTRY640": [["c", "", "", 3, true, true, true, 3]]})",
        R"("OPTYPE_REGISTRY")");
    const HTREEITEM node = item_at(frame(), "log.clg/Main/Sub/Registry Operations");
    frame().SetListColumns(NODEKIND_LOG_REGISTRY);
    for (const char16_t* type : {u"optype_Registry64", u"OPTYPE_REGISTRY6", u"OPTYPE_REGISTRY640"})
        frame().ShowRegistryOperations(type, node);
    EXPECT_EQ(rows_of(frame()), (lines{"c |  |  |  |  | True | True | True | ", "b |  |  |  |  | True | True | True | ",
                                       "a |  |  |  |  | True | True | True | 1"}));
}

TEST_F(operation_rows, truth_words_of_files_are_not_translated_and_others_are)
{
    set_string_loader(&translated_words);
    EXPECT_EQ(file_rows(R"([["p", "f", true, false, true, false], ["p", "d", false, true, true, true]])"),
              (lines{"p | f | True | False | True | False | -", "p | d | False | True | - | - | True"}));
    EXPECT_EQ(rows_from("OPTYPE_FILEREG", "Self-Registration Operations", R"([["p", "f", true], ["p", "g", false]])"),
              (lines{"p | f | True", "p | g | False"}));
    EXPECT_EQ(registry_rows(R"([["k", "v", "", 3, true, false, true], ["k", "", "", 3, false, true, false]])"),
              (lines{"k | v |  |  | wahr |  | falsch | wahr | ", "k |  |  |  |  | falsch | wahr | falsch | "}));
    EXPECT_EQ(registry64_rows(R"([["k", "v", "", 3, true, false, true, 1]])"),
              lines{"k | v |  |  | wahr |  | falsch | wahr | 1"});
    EXPECT_EQ(rows_from("OPTYPE_INI", "INI File Operations", R"([["p", "s", "k", "v", true, false]])"),
              lines{"p | s | k | v | wahr | falsch"});
    EXPECT_EQ(rows_from("OPTYPE_SHELL", "Explorer Shell Operations", R"([["f", "s", true, false]])"),
              lines{"f | s | wahr | falsch"});
    EXPECT_EQ(dotnet_rows(R"([["p", "f", 1, true, false]])"), lines{"p | f | 1 | wahr | falsch"});
    set_string_loader(nullptr);
}

TEST_F(operation_rows, elements_count_from_the_first_whatever_the_lower_bound_is)
{
    EXPECT_EQ(rows_from("OPTYPE_FILEREG", "Self-Registration Operations",
                        R"([{"vt": "VT_ARRAY|VT_VARIANT", "lower": 5, "value": ["p", "f", true]},
                            {"vt": "VT_ARRAY|VT_VARIANT", "lower": -1, "value": ["q", "g", false]}])"),
              (lines{"p | f | True", "q | g | False"}));
}

TEST_F(operation_rows, rows_so_far_stay_where_the_count_fails)
{
    EXPECT_EQ(file_rows(R"({"items": [["a"], ["b"]], "counts": [2, {"fail": "0x80004005"}]})"),
              lines{"a |  | False | False | False | False | -"});
    EXPECT_EQ(take_error_codes(), lines{"0x80004005"});
}

TEST_F(operation_rows, a_name_that_cannot_be_allocated_is_never_silent)
{
    open_feature(R"("operations": {"OPTYPE_REGISTRY": [["k", "", "", 3, true, true, true]]})", R"("OPTYPE_REGISTRY")");
    const HTREEITEM node = item_at(frame(), "log.clg/Main/Sub/Registry Operations");
    frame().SetListColumns(NODEKIND_LOG_REGISTRY);
    scripted_text_memory memory;
    platform::services set = platform::current();
    set.memory = &memory;
    const platform::scoped_services in_use(set);
    memory.fail_after = 1;
    frame().Guard([&] { frame().ShowRegistryOperations(log_operation_type::registry, node); });
    EXPECT_EQ(take_error_codes(), lines{"0x8007000E"});
    EXPECT_EQ(rows_of(frame()), lines{});
}

TEST_F(operation_rows, ini_files)
{
    EXPECT_EQ(rows_from("OPTYPE_INI", "INI File Operations",
                        R"([["C:\\a.ini", "S", "k", "v", true, false], ["C:\\b.ini", "", "", "", false, true]])"),
              (lines{"C:\\a.ini | S | k | v | True | False", "C:\\b.ini |  |  |  | False | True"}));
    EXPECT_EQ(columns_of(frame()), "Path (600) | Section (120) | Key (80) | Value (80) | Added Section (120) | "
                                   "Created File (80)");
}

TEST_F(operation_rows, shell_objects)
{
    EXPECT_EQ(rows_from("OPTYPE_SHELL", "Explorer Shell Operations",
                        R"([["Programs", "Tour", true, false], ["Programs", "", false, true]])"),
              (lines{"Programs | Tour | True | False", "Programs |  | False | True"}));
    EXPECT_EQ(columns_of(frame()), "Folder Name (400) | Shortcut (120) | Permanent (80) | Created Directory (120)");
}

TEST_F(operation_rows, general_operations)
{
    EXPECT_EQ(rows_from("OPTYPE_GENERAL", "OPTYPE_GENERAL", R"([["Reboot", "1"], ["Kill", null]])"),
              (lines{"Reboot | 1", "Kill | "}));
    EXPECT_EQ(columns_of(frame()), "Operation (200) | Data (120)");
}

TEST_F(operation_rows, dotnet_assemblies)
{
    EXPECT_EQ(dotnet_rows(R"([["C:\\a", "x.dll", 1, true, false], ["C:\\a", "y.dll", -1, false, true],
                              ["C:\\a", "z.dll", 9999, false, false], ["C:\\a", "z.dll", -999, false, false],
                              ["C:\\a", "z.dll", 65536, false, false], ["C:\\a", "z.dll", 65535, false, false]])"),
              (lines{"C:\\a | x.dll | 1 | True | False", "C:\\a | y.dll | -1 | False | True",
                     "C:\\a | z.dll | 9999 | False | False", "C:\\a | z.dll | -999 | False | False",
                     "C:\\a | z.dll | 0 | False | False", "C:\\a | z.dll | -1 | False | False"}));
    EXPECT_EQ(columns_of(frame()),
              "Path (300) | Filename (120) | Assembly Type (120) | Shared (80) | Com Interop (120)");
}

TEST_F(operation_rows, an_assembly_type_without_room_is_an_invalid_parameter)
{
    scripted_runtime runtime;
    platform::services set = platform::current();
    set.runtime = &runtime;
    const platform::scoped_services in_use(set);
    EXPECT_EQ(
        dotnet_rows(R"([["p", "f", 10000, true, true], ["p", "f", -1000, true, true], ["p", "f", 5, true, true]])"),
        (lines{"p | f |  | True | True", "p | f |  | True | True", "p | f | 5 | True | True"}));
    EXPECT_EQ(runtime.invalid_parameters, 2);
}

TEST_F(operation_rows, an_assembly_type_without_room_ends_the_process)
{
    GTEST_FLAG_SET(death_test_style, "fast");
    EXPECT_DEATH(dotnet_rows(R"([["p", "f", 12345, true, true]])"), "invalid parameter");
}

TEST_F(operation_rows, program_groups_show_the_files)
{
    open_feature(R"("operations": {"OPTYPE_PROGMAN": [["Group", "Item"]],
                                   "OPTYPE_FILE": [["C:\\app", "a.exe", true, false, true, false]]})",
                 R"("OPTYPE_FILE", "OPTYPE_PROGMAN")");
    const lines files = rows_at("Main/Sub/File Operations");
    EXPECT_EQ(files, lines{"C:\\app | a.exe | True | False | True | False | -"});
    EXPECT_EQ(rows_at("Main/Sub/Progman Operations"), files);
    EXPECT_EQ(frame().List().GetColumnCount(), 7u);
    // Without files there are none to show.
    EXPECT_EQ(rows_from("OPTYPE_PROGMAN", "Progman Operations", R"([["Group", "Item"]])"), lines{});
    EXPECT_EQ(frame().List().GetColumnCount(), 7u);
}

TEST_F(operation_rows, unknown_types_show_the_general_operations)
{
    open_feature(R"("operations": {"MY_TYPE": [["mine", "x"]], "OPTYPE_GENERAL": [["general", "y"]]})", R"("MY_TYPE")");
    EXPECT_EQ(rows_at("Main/Sub/MY_TYPE"), lines{"general | y"});
    EXPECT_EQ(rows_from("MY_TYPE", "MY_TYPE", R"([["mine", "x"]])"), lines{});
    EXPECT_EQ(columns_of(frame()), "Operation (200) | Data (120)");
}

TEST_F(operation_rows, a_null_text_is_empty)
{
    EXPECT_EQ(file_rows(R"([[{"vt": "VT_BSTR", "value": null}, null, false, false, false, false]])"),
              lines{" |  | False | False | False | False | -"});
}

TEST_F(operation_rows, an_element_that_is_no_text_has_none)
{
    EXPECT_EQ(file_rows(R"([[5, {"vt": "VT_R8", "value": 1.5}, false, false, false, false]])"),
              lines{" |  | False | False | False | False | -"});
}

TEST_F(operation_rows, a_flag_is_the_low_half_of_the_value_whatever_its_type)
{
    EXPECT_EQ(rows_from("OPTYPE_FILEREG", "Self-Registration Operations",
                        R"([["p", "1", 1], ["p", "-1", -1], ["p", "0", 0], ["p", "65536", 65536], ["p", "65537", 65537],
                            ["p", "real", {"vt": "VT_R8", "value": 1.0}], ["p", "null", null],
                            ["p", "text", {"vt": "VT_BSTR", "value": null}]])"),
              (lines{"p | 1 | True", "p | -1 | True", "p | 0 | False", "p | 65536 | False", "p | 65537 | True",
                     "p | real | False", "p | null | False", "p | text | False"}));
}

TEST_F(operation_rows, surplus_elements_are_not_shown_and_missing_ones_are_zero)
{
    EXPECT_EQ(file_rows(R"([["p", "f", true, false, true, true, "more", 7], ["p"], []])"),
              (lines{"p | f | True | False | True | True | -", "p |  | False | False | False | False | -",
                     " |  | False | False | False | False | -"}));
    EXPECT_EQ(registry_rows("[[]]"), lines{" |  |  | HKEY_CLASSES_ROOT |  | False | False | False | "});
    EXPECT_EQ(registry64_rows("[[]]"), lines{" |  |  | HKEY_CLASSES_ROOT |  | False | False | False | "});
    EXPECT_EQ(dotnet_rows("[[]]"), lines{" |  | 0 | False | False"});
}

TEST_F(operation_rows, asks_the_library_in_its_order)
{
    open_feature(R"("operations": {"OPTYPE_FILE": [[], []]})");
    select_in_log("Main/Sub/File Operations");
    EXPECT_EQ(program.take_trace(),
              (lines{"IFeatureLog Operations", "IOperationList First", "IOperationList Count", "IOperationList Next",
                     "IOperationList Count", "IOperationList Next", "IOperationList Count"}));
}

TEST_F(operation_rows, nothing_is_kept)
{
    open_feature(R"("operations": {"OPTYPE_FILE": [["p", "f", true, false, true, true]]})");
    const lines rows = rows_at("Main/Sub/File Operations");
    select_in_log("Main");
    EXPECT_EQ(rows_at("Main/Sub/File Operations"), rows);
    EXPECT_EQ(program.take_trace().size(), 5u);
}

TEST_F(operation_rows, counts_anew_before_each_record)
{
    EXPECT_EQ(file_rows(R"({"items": [["a"], ["b"], ["c"]], "counts": [3, 2, 2]})"),
              (lines{"a |  | False | False | False | False | -", "b |  | False | False | False | False | -"}));
}

TEST_F(operation_rows, the_list_stands_until_the_operations_are_there)
{
    open_feature(R"("properties": [["P", "text"]], "operations": {"OPTYPE_FILE": [[]]})");
    const HTREEITEM node = item_at(frame(), "log.clg/Main/Sub/File Operations");
    frame_harness other;
    other.start();
    other.open_log(R"({"root": {"Name": "M", "operations": {"OPTYPE_FILE": {"fail": "0x80004005"}}}})");
    const lines before = rows_at("Main/Sub");
    frame_access::nodes(frame())[node].object = frame_access::root_feature_log(other.frame());
    frame().Guard([&] { frame().Tree().SelectItem(node); });
    EXPECT_EQ(take_error_codes(), lines{"0x80004005"});
    EXPECT_EQ(rows_of(frame()), before);
    EXPECT_EQ(before, lines{"P | text"});
    // A list that is null fails when it is read, the columns being there.
    other.open_log(R"({"root": {"Name": "M", "operations": {"OPTYPE_FILE": null}}})");
    frame_access::nodes(frame())[node].object = frame_access::root_feature_log(other.frame());
    frame().Tree().SelectItem({});
    frame().Guard([&] { frame().Tree().SelectItem(node); });
    EXPECT_EQ(take_error_codes(), lines{"0x80004003"});
    EXPECT_EQ(frame().List().GetColumnCount(), 7u);
    EXPECT_EQ(rows_of(frame()), lines{});
}

TEST_F(operation_rows, rows_so_far_stay_where_a_record_fails)
{
    EXPECT_EQ(file_rows(R"([["a"], {"fail": "0x80004005"}, ["c"]])"),
              lines{"a |  | False | False | False | False | -"});
    EXPECT_EQ(take_error_codes(), lines{"0x80004005"});
    EXPECT_EQ(registry_rows(R"([["a"], {"fail": "0x80004005"}])").size(), 1u);
    EXPECT_EQ(take_error_codes(), lines{"0x80004005"});
    EXPECT_EQ(file_rows(R"([["a"], null])"), lines{"a |  | False | False | False | False | -"});
    EXPECT_EQ(take_error_codes(), lines{"0x80004003"});
}

TEST_F(operation_rows, a_node_of_another_library_has_no_operations)
{
    open_feature(R"("operations": {"OPTYPE_FILE": [[]]})");
    const HTREEITEM node = item_at(frame(), "log.clg/Main/Sub/File Operations");
    put_marked_row(frame());
    frame_access::nodes(frame())[node].object = automation::com_ptr<IDispatch>(frame_access::log_loader(frame()).get());
    frame().Guard([&] { frame().Tree().SelectItem(node); });
    EXPECT_EQ(take_error_codes(), lines{"0x80004003"});
    EXPECT_EQ(rows_of(frame()), lines{std::string(marked_row)});
}

} // namespace
} // namespace cw
