#include "authoring/log_lines.h"

#include "tests/authoring/authoring_support.h"

#include <gtest/gtest.h>

namespace {

using namespace cw;
using namespace cw::authoring;
using test::error_of;
using rows = std::vector<std::string>;

class log_lines_test : public testing::Test {
protected:
    log_lines_test() { take(R"({"feature": "A", "name": "Main"})"); }

    void take(const std::string& line) { lines.take(line); }
    std::string failure(const std::string& line)
    {
        return error_of([&] { lines.take(line); });
    }
    rows stored(const std::string& statement)
    {
        recorder.commit();
        recorder.close();
        return test::query(folder / "a.clg", statement);
    }

    test::temporary_folder folder;
    log_recorder recorder{folder / "a.clg"};
    log_lines lines{recorder};
};

TEST_F(log_lines_test, tells_features)
{
    take(R"({"feature": "B", "name": "Бета", "parent": "A"})");
    take(R"( { "parent" : "B", "name" : null, "feature" : "C" } )");
    EXPECT_EQ(stored("SELECT parent, name, identifier FROM feature"), (rows{"0|Main|A", "1|Бета|B", "2|null|C"}));
}

TEST_F(log_lines_test, tells_properties)
{
    take(R"({"property": "State", "feature": "A", "value": 2})");
    take(R"({"property": "", "feature": "A", "value": "text"})");
    take(R"({"property": "Scale", "feature": "A", "value": {"vt": "VT_R8", "value": 1.5}})");
    take(R"({"property": "Day", "feature": "A", "value": {"vt": "VT_DATE", "value": "2001-02-03T00:00:00"}})");
    take(R"({"property": "On", "feature": "A", "value": true})");
    take(R"({"property": "None", "feature": "A", "value": null})");
    take(R"({"property": "Titles", "feature": "A", "value": {"array": ["a", null]}})");
    take(R"({"property": "Values", "feature": "A", "value": {"vt": "VT_ARRAY|VT_BSTR", "value": ["b"]}})");
    EXPECT_EQ(stored("SELECT name, type, value FROM property"),
              (rows{"State|3|2", "|8|text", "Scale|5|1.5", "Day|7|36925.0", "On|11|-1", "None|0|null",
                    "Titles|8200|null", "Values|8200|null"}));
}

TEST_F(log_lines_test, tells_operations_by_the_names_of_their_columns)
{
    take(R"({"operation": "OPTYPE_FILE", "feature": "A", "folder": "C:\\x", "file_name": "a.exe", "shared": true})");
    take(R"({"operation": "OPTYPE_REGISTRY", "feature": "A", "hive": 2, "key": "K", "value_name": 5})");
    take(R"({"operation": "OPTYPE_GENERAL", "feature": "A"})");
    EXPECT_EQ(stored("SELECT * FROM file_operation"), rows{"1|0|C:\\x|a.exe|1|null|null|null"});
    EXPECT_EQ(test::query(folder / "a.clg", "SELECT key, value_name, hive FROM registry_operation"), rows{"K|5|2"});
    EXPECT_EQ(test::query(folder / "a.clg", "SELECT operation FROM general_operation"), rows{"null"});
}

TEST_F(log_lines_test, every_column_can_be_named)
{
    for (const formats::operation_table& table : formats::operation_tables) {
        std::string line =
            R"({"operation": ")" + std::string(table.type.begin(), table.type.end()) + R"(", "feature": "A")";
        for (const formats::record_column& column : table.columns)
            line += ", \"" + std::string(column.name == "operation" ? "action" : column.name) + "\": " +
                    (column.element.form == log_element_form::flag     ? "true"
                     : column.element.form == log_element_form::number ? "7"
                                                                       : "\"x\"");
        take(line + "}");
    }
    recorder.close();
    for (const formats::operation_table& table : formats::operation_tables) {
        std::string expected = "1|0";
        for (const formats::record_column& column : table.columns)
            expected += column.element.form == log_element_form::flag     ? "|1"
                        : column.element.form == log_element_form::number ? "|7"
                                                                          : "|x";
        EXPECT_EQ(test::query(folder / "a.clg", "SELECT * FROM " + std::string(table.name)), rows{expected});
    }
}

TEST_F(log_lines_test, tells_operations_as_records)
{
    take(R"({"operation": "OPTYPE_GENERAL", "feature": "A", "record": ["o", "d", 7, {"vt": "VT_R8", "value": 0.5}]})");
    take(R"({"operation": "MINE", "feature": "A", "record": []})");
    take(R"({"operation": "MINE", "feature": "A", "record": [null, {"vt": "VT_BSTR", "value": null}, true]})");
    EXPECT_EQ(stored("SELECT * FROM operation_element"),
              (rows{"9|1|0|0|3|7", "9|1|0|1|5|0.5", "10|1|1|0|0|null", "10|1|1|1|8|null", "10|1|1|2|11|-1"}));
}

TEST_F(log_lines_test, counts_what_it_was_told)
{
    take(R"({"feature": "A", "name": "again"})");
    take(R"({"property": "State", "feature": "A", "value": 2})");
    take(R"({"operation": "MINE", "feature": "A", "record": []})");
    (void)failure(R"({"operation": "MINE", "feature": "X", "record": []})");
    EXPECT_EQ(lines.told().features, 2u);
    EXPECT_EQ(lines.told().properties, 1u);
    EXPECT_EQ(lines.told().operations, 1u);
}

TEST_F(log_lines_test, says_in_one_line_what_is_wrong)
{
    const std::vector<std::pair<std::string, std::string>> wrong = {
        {"", "column 1: not valid JSON"},
        {"{", "column 2: not valid JSON"},
        {R"({"feature": "B"} x)", "column 18: not valid JSON"},
        {"{\"feature\": \"B\xFF\"}", "column 15: not valid JSON"},
        {"[]", "expected an object, not a list"},
        {"7", "expected an object, not a number"},
        {"{}", "it tells of no feature, property or operation"},
        {R"({"name": "x"})", "it tells of no feature, property or operation"},
        {R"({"feature": "B"})", "name is missing"},
        {R"({"feature": "B", "name": "b", "x": 1})", "x: unknown key"},
        {R"({"feature": "B", "name": "b", "name": "b"})", "name: the key stands twice"},
        {R"({"feature": 1, "name": "b"})", "feature: expected a text, not a number"},
        {R"({"feature": "B", "name": 1})", "name: expected a text, not a number"},
        {R"({"feature": "B", "name": "b", "parent": null})", "parent: expected a text, not null"},
        {R"({"feature": "B", "name": "b"})", "feature \"B\" has no parent, and there is a main feature already"},
        {R"({"property": "P", "feature": "A"})", "value is missing"},
        {R"({"property": "P", "value": 1})", "feature is missing"},
        {R"({"property": "P", "feature": "A", "value": 1, "x": 1})", "x: unknown key"},
        {R"({"property": 1, "feature": "A", "value": 1})", "property: expected a text, not a number"},
        {R"({"property": "P", "feature": "A", "value": 1.5})", "value: expected an integer, not a fraction"},
        {R"({"property": "P", "feature": "A", "value": ["a"]})", R"(value: a list is written {"array": […]})"},
        {R"({"property": "P", "feature": "A", "value": {"array": "a"}})", "value.array: expected a list"},
        {R"({"property": "P", "feature": "A", "value": {"array": [1]}})",
         "value.array[0]: expected a text, not a number"},
        {R"({"property": "P", "feature": "A", "value": {"array": [], "x": 1}})", "value.x: unknown key"},
        {R"({"property": "P", "feature": "A", "value": {"vt": "VT_X", "value": 1}})",
         "value.vt: no type that can be stored: VT_X"},
        {R"({"property": "P", "feature": "A", "value": {"vt": "VT_ARRAY|VT_I4", "value": [1]}})",
         "value: the elements of an array are texts, from 0 on"},
        {R"({"operation": "OPTYPE_FILE", "folder": "x"})", "feature is missing"},
        {R"({"operation": 1, "feature": "A"})", "operation: expected a text, not a number"},
        {R"({"operation": "OPTYPE_FILE", "feature": "A", "data": "x"})", "data: unknown key"},
        {R"({"operation": "OPTYPE_FILE", "feature": "A", "folder": 1})", "folder: expected a text"},
        {R"({"operation": "OPTYPE_FILE", "feature": "A", "folder": ["x"]})", "folder: an array cannot be an element"},
        {R"({"operation": "OPTYPE_FILE", "feature": "A", "folder": "x", "record": []})", "folder: unknown key"},
        {R"({"operation": "OPTYPE_FILE", "feature": "A", "record": "x"})", "record: expected a list"},
        {R"({"operation": "OPTYPE_FILE", "feature": "A", "record": [{"vt": "VT_ARRAY|VT_I4", "value": []}]})",
         "record[0]: an array cannot be an element"},
        {R"({"operation": "MINE", "feature": "A"})", "record is missing"},
        {R"({"operation": "MINE", "feature": "A", "folder": "x"})", "record is missing"},
        {R"({"operation": "MINE", "feature": "A", "record": [[1]]})", "record[0]: an array cannot be an element"},
        {R"({"operation": "", "feature": "A", "record": []})", "the operation type has no name"},
        {R"({"operation": "MINE", "feature": "A", "record": [1e999]})", "record[0]: a number is out of range"},
    };
    for (const auto& [line, reason] : wrong)
        EXPECT_EQ(failure(line), reason) << line;
    EXPECT_EQ(failure(std::string(100'000, '[')), "nested deeper than 1000 levels");
    EXPECT_EQ(stored("SELECT (SELECT COUNT(*) FROM feature), (SELECT COUNT(*) FROM property), "
                     "(SELECT COUNT(*) FROM file_operation), (SELECT COUNT(*) FROM operation_type)"),
              rows{"1|0|0|9"});
}

} // namespace
