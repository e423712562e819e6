#include "authoring/log_recorder.h"

#include "tests/authoring/authoring_support.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <chrono>
#include <csignal>
#include <limits>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using namespace cw;
using namespace cw::authoring;
using test::error_of;
using test::names_in;

typed_value text(std::string value)
{
    return {VT_BSTR, std::move(value), 0, {}};
}
typed_value flag(bool value)
{
    return {VT_BOOL, std::int64_t{value ? VARIANT_TRUE : VARIANT_FALSE}, 0, {}};
}
typed_value number(std::int64_t value, VARTYPE type = VT_I4)
{
    return {type, value, 0, {}};
}
typed_value real(double value, VARTYPE type = VT_R8)
{
    return {type, value, 0, {}};
}
typed_value texts(const std::vector<std::string>& items)
{
    typed_value array{VT_ARRAY | VT_BSTR, {}, 0, {}};
    for (const std::string& item : items)
        array.elements.push_back(text(item));
    return array;
}
using record = std::vector<typed_value>;
using rows = std::vector<std::string>;

class log_recorder_test : public testing::Test {
protected:
    void open() { recorder.emplace(path); }
    /// A log with a main feature "A".
    void open_with_main()
    {
        open();
        recorder->add_feature("A", "Main", {});
    }
    void close()
    {
        recorder->close();
        recorder.reset();
    }
    /// The answer of a query on the log, which is closed before.
    rows stored(const std::string& statement)
    {
        if (recorder)
            close();
        return test::query(path, statement);
    }
    std::string operation_error(const std::string& type, const record& elements)
    {
        return error_of([&] { recorder->add_operation(type, "A", elements); });
    }
    std::string property_error(const std::string& name, const typed_value& value)
    {
        return error_of([&] { recorder->set_property("A", name, value); });
    }
    /// Changes the closed log behind the recorder's back.
    void tamper(const std::string& statement)
    {
        sqlite3* database = nullptr;
        sqlite3_open(path.c_str(), &database);
        EXPECT_EQ(sqlite3_exec(database, statement.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
            << sqlite3_errmsg(database);
        sqlite3_close(database);
    }

    test::temporary_folder folder;
    fs::path path = folder / "a.clg";
    std::optional<log_recorder> recorder;
};

// ---- features ------------------------------------------------------------------------------------

TEST_F(log_recorder_test, features_stand_below_their_parents_in_order)
{
    open_with_main();
    recorder->add_feature("B", "Бета", "A");
    recorder->add_feature("C", "", "B");
    recorder->add_feature("D", std::nullopt, "A");
    EXPECT_EQ(stored("SELECT id, parent, position, name, identifier FROM feature ORDER BY id"),
              (rows{"1|0|0|Main|A", "2|1|0|Бета|B", "3|2|0||C", "4|1|1|null|D"}));
}

TEST_F(log_recorder_test, a_feature_that_is_told_again_takes_the_new_name)
{
    open_with_main();
    recorder->add_feature("B", "old", "A");
    recorder->add_feature("B", "new", "A");
    recorder->add_feature("A", "Other", {});
    close();
    open();
    recorder->add_feature("B", "newer", "A");
    EXPECT_EQ(stored("SELECT name FROM feature ORDER BY id"), (rows{"Other", "newer"}));
}

TEST_F(log_recorder_test, refuses_features_that_have_no_place)
{
    open();
    EXPECT_EQ(error_of([&] { recorder->add_feature("B", "b", "A"); }), "there is no feature \"A\"");
    EXPECT_EQ(error_of([&] { recorder->add_feature("", "b", {}); }), "the feature has no identifier");
    recorder->add_feature("A", "a", {});
    recorder->add_feature("B", "b", "A");
    EXPECT_EQ(error_of([&] { recorder->add_feature("C", "c", {}); }),
              "feature \"C\" has no parent, and there is a main feature already");
    EXPECT_EQ(error_of([&] { recorder->add_feature("B", "b", "B"); }), "feature \"B\" has another parent already");
    EXPECT_EQ(error_of([&] { recorder->add_feature("B", "b", {}); }), "feature \"B\" has another parent already");
    EXPECT_EQ(error_of([&] { recorder->add_feature("A", "a", "B"); }), "feature \"A\" has another parent already");
    recorder->add_feature("C", "c", "B");
    EXPECT_EQ(stored("SELECT COUNT(*) FROM feature"), rows{"3"});
}

TEST_F(log_recorder_test, features_nest_to_the_limit_and_no_further)
{
    open_with_main();
    std::string parent = "A";
    for (int level = 2; level <= formats::deepest_feature_level; ++level) {
        const std::string identifier = "L" + std::to_string(level);
        recorder->add_feature(identifier, "x", parent);
        parent = identifier;
    }
    EXPECT_EQ(error_of([&] { recorder->add_feature("deep", "x", parent); }),
              "feature \"deep\" would be nested deeper than 1000 levels");
    close();
    open();
    EXPECT_NE(error_of([&] { recorder->add_feature("deep", "x", parent); }).find("deeper"), std::string::npos);
    EXPECT_EQ(stored("SELECT COUNT(*) FROM feature"), rows{"1000"});
}

// ---- properties ----------------------------------------------------------------------------------

TEST_F(log_recorder_test, properties_keep_type_and_value)
{
    open_with_main();
    int index = 0;
    for (const typed_value& value :
         {number(2), text("x"), text(""), typed_value{VT_BSTR, {}, 0, {}}, flag(true), flag(false), real(1.5),
          real(2.0, VT_DATE), typed_value{}, typed_value{VT_NULL, {}, 0, {}}, number(-1, VT_UI8), number(15, VT_CY),
          number(-2147467259, VT_ERROR), number(255, VT_UI1)})
        recorder->set_property("A", "p" + std::to_string(index++), value);
    EXPECT_EQ(stored("SELECT type, value, typeof(value) FROM property WHERE feature = 1 ORDER BY position"),
              (rows{"3|2|integer", "8|x|text", "8||text", "8|null|null", "11|-1|integer", "11|0|integer", "5|1.5|real",
                    "7|2.0|real", "0|null|null", "1|null|null", "21|-1|integer", "6|15|integer",
                    "10|-2147467259|integer", "17|255|integer"}));
}

TEST_F(log_recorder_test, arrays_keep_their_texts)
{
    open_with_main();
    typed_value titles = texts({"one", "two", ""});
    titles.elements.push_back({VT_BSTR, {}, 0, {}});
    recorder->set_property("A", "Titles", titles);
    recorder->set_property("A", "None", texts({}));
    EXPECT_EQ(stored("SELECT position, name, type, value FROM property"),
              (rows{"0|Titles|8200|null", "1|None|8200|null"}));
    EXPECT_EQ(stored("SELECT * FROM property_element"), (rows{"1|0|0|one", "1|0|1|two", "1|0|2|", "1|0|3|null"}));
}

TEST_F(log_recorder_test, a_property_that_is_told_again_keeps_its_place)
{
    open_with_main();
    recorder->set_property("A", "x", texts({"1", "2"}));
    recorder->set_property("A", "y", number(1));
    recorder->set_property("A", "x", number(7));
    close();
    open();
    recorder->set_property("A", "y", texts({"3"}));
    recorder->set_property("A", "z", number(9));
    EXPECT_EQ(stored("SELECT name, type, value FROM property ORDER BY position"),
              (rows{"x|3|7", "y|8200|null", "z|3|9"}));
    EXPECT_EQ(stored("SELECT * FROM property_element"), rows{"1|1|0|3"});
}

TEST_F(log_recorder_test, no_values_are_more_than_their_titles)
{
    open_with_main();
    const std::string too_long = "an array of 3 values has only 2 titles";
    recorder->set_property("A", "a", number(1));
    recorder->set_property("A", "titles", texts({"1", "2"}));
    EXPECT_EQ(property_error("values", texts({"1", "2", "3"})), too_long);
    recorder->set_property("A", "values", texts({"1", "2"}));
    EXPECT_EQ(property_error("titles", texts({"1"})), "an array of 2 values has only 1 titles");
    EXPECT_EQ(property_error("a", texts({"1"})), "an array of 2 values has only 1 titles") << "it would be the first";
    recorder->set_property("A", "titles", texts({"1", "2", "3"}));
    recorder->set_property("A", "values", texts({"1", "2", "3"}));
    // With the titles gone the values are titles themselves.
    recorder->set_property("A", "titles", number(1));
    recorder->set_property("A", "values", texts({"1", "2", "3", "4"}));
    close();
    open();
    EXPECT_EQ(property_error("more", texts({"1", "2", "3", "4", "5"})), "an array of 5 values has only 4 titles");
    recorder->add_feature("B", "b", "A");
    recorder->set_property("B", "titles", texts({"1", "2", "3", "4", "5"}));
    EXPECT_EQ(stored("SELECT COUNT(*) FROM property WHERE feature = 1"), rows{"3"});
}

TEST_F(log_recorder_test, refuses_properties_that_cannot_be_stored)
{
    open_with_main();
    EXPECT_EQ(error_of([&] { recorder->set_property("X", "n", number(1)); }), "there is no feature \"X\"");
    typed_value from_one = texts({"a"});
    from_one.lower_bound = 1;
    const std::string no_texts = "value: the elements of an array are texts, from 0 on";
    EXPECT_EQ(property_error("n", from_one), no_texts);
    EXPECT_EQ(property_error("n", {VT_ARRAY | VT_I4, {}, 0, {number(1)}}), no_texts);
    EXPECT_EQ(property_error("n", {VT_ARRAY | VT_BSTR, {}, 0, {number(1)}}), "value, element 0: expected a text");
    EXPECT_EQ(property_error("n", number(256, VT_UI1)), "value: the value does not fit its type");
    EXPECT_EQ(property_error("n", number(1, VT_BOOL)), "value: the value does not fit its type");
    EXPECT_EQ(property_error("n", number(1, VT_R8)), "value: the value does not fit its type");
    EXPECT_EQ(property_error("n", real(std::numeric_limits<double>::quiet_NaN())),
              "value: the value does not fit its type");
    EXPECT_EQ(property_error("n", number(1, VT_EMPTY)), "value: the value does not fit its type");
    EXPECT_EQ(property_error("n", {VT_BSTR, 1.0, 0, {}}), "value: the value does not fit its type");
    EXPECT_EQ(property_error("n", number(1, VT_DISPATCH)), "value: no type that can be recorded");
    EXPECT_EQ(stored("SELECT COUNT(*) FROM property"), rows{"0"});
}

// ---- operations ----------------------------------------------------------------------------------

TEST_F(log_recorder_test, every_known_type_has_its_table)
{
    open_with_main();
    recorder->add_operation("OPTYPE_FILE", "A",
                            record{text("f"), text("n"), flag(true), flag(false), flag(true), flag(false)});
    recorder->add_operation("OPTYPE_SHELL", "A", record{text("f"), text("s"), flag(true), flag(false)});
    recorder->add_operation("OPTYPE_REGISTRY", "A",
                            record{text("k"), text("v"), text("r"), number(2), flag(true), flag(false), flag(true)});
    recorder->add_operation(
        "OPTYPE_REGISTRY64", "A",
        record{text("k"), text("v"), text("r"), number(6), flag(true), flag(false), flag(true), number(256)});
    recorder->add_operation("OPTYPE_PROGMAN", "A", record{text("g"), text("i"), text("c"), flag(true)});
    recorder->add_operation("OPTYPE_INI", "A",
                            record{text("p"), text("s"), text("k"), text("v"), flag(true), flag(false)});
    recorder->add_operation("OPTYPE_FILEREG", "A", record{text("f"), text("n"), flag(true)});
    recorder->add_operation("OPTYPE_DOTNET", "A", record{text("f"), text("n"), number(-1), flag(true), flag(false)});
    recorder->add_operation("OPTYPE_GENERAL", "A", record{text("o"), text("d")});
    EXPECT_EQ(stored("SELECT * FROM file_operation"), rows{"1|0|f|n|1|0|1|0"});
    EXPECT_EQ(stored("SELECT feature, group_concat(type, ' ') FROM operation_list"), rows{"1|1 2 3 4 5 6 7 8 9"});
    EXPECT_EQ(stored("SELECT * FROM shell_operation"), rows{"1|0|f|s|1|0"});
    EXPECT_EQ(stored("SELECT * FROM registry_operation"), rows{"1|0|k|v|r|2|1|0|1"});
    EXPECT_EQ(stored("SELECT * FROM registry64_operation"), rows{"1|0|k|v|r|6|1|0|1|256"});
    EXPECT_EQ(stored("SELECT * FROM progman_operation"), rows{"1|0|g|i|c|1"});
    EXPECT_EQ(stored("SELECT * FROM ini_operation"), rows{"1|0|p|s|k|v|1|0"});
    EXPECT_EQ(stored("SELECT * FROM self_registration_operation"), rows{"1|0|f|n|1"});
    EXPECT_EQ(stored("SELECT * FROM dotnet_operation"), rows{"1|0|f|n|-1|1|0"});
    EXPECT_EQ(stored("SELECT * FROM general_operation"), rows{"1|0|o|d"});
    EXPECT_EQ(stored("SELECT COUNT(*) FROM operation_type"), rows{"9"});
}

TEST_F(log_recorder_test, missing_elements_are_null_and_further_ones_are_kept)
{
    open_with_main();
    recorder->add_operation("OPTYPE_GENERAL", "A", record{});
    recorder->add_operation("OPTYPE_GENERAL", "A", record{typed_value{}, text("d")});
    recorder->add_operation("OPTYPE_GENERAL", "A",
                            record{text("o"), text("d"), text("more"), typed_value{}, real(1.5), number(3, VT_I2)});
    EXPECT_EQ(stored("SELECT position, operation, data FROM general_operation"),
              (rows{"0|null|null", "1|null|d", "2|o|d"}));
    EXPECT_EQ(stored("SELECT * FROM operation_element"),
              (rows{"9|1|2|0|8|more", "9|1|2|1|0|null", "9|1|2|2|5|1.5", "9|1|2|3|2|3"}));
}

TEST_F(log_recorder_test, elements_of_a_known_type_have_the_forms_of_its_columns)
{
    open_with_main();
    EXPECT_EQ(operation_error("OPTYPE_FILE", {number(1)}), "folder: expected a text");
    EXPECT_EQ(operation_error("OPTYPE_FILE", {text("f"), flag(true)}), "file_name: expected a text");
    EXPECT_EQ(operation_error("OPTYPE_FILE", {text("f"), text("n"), number(1)}), "shared: expected true or false");
    EXPECT_EQ(operation_error("OPTYPE_FILE", {text("f"), text("n"), text("x")}), "shared: expected true or false");
    const auto hive = [&](const typed_value& value) {
        return operation_error("OPTYPE_REGISTRY", {text("k"), text("v"), {}, value});
    };
    EXPECT_EQ(hive(text("2")), "hive: expected an integer");
    EXPECT_EQ(hive(real(2)), "hive: expected an integer");
    EXPECT_EQ(hive(flag(true)), "hive: expected an integer");
    EXPECT_EQ(hive(number(32768)), "hive: 32768 is not within -32768 to 32767");
    EXPECT_EQ(hive(number(-32769)), "hive: -32769 is not within -32768 to 32767");
    EXPECT_EQ(hive(number(32767)), "no error");
    EXPECT_EQ(hive(number(-32768)), "no error");
    const auto assembly = [&](std::int64_t value) {
        return operation_error("OPTYPE_DOTNET", {text("f"), text("n"), number(value)});
    };
    EXPECT_EQ(assembly(10000), "assembly_type: 10000 is not within -999 to 9999");
    EXPECT_EQ(assembly(-1000), "assembly_type: -1000 is not within -999 to 9999");
    EXPECT_EQ(assembly(9999), "no error");
    EXPECT_EQ(assembly(-999), "no error");
    EXPECT_EQ(stored("SELECT COUNT(*) FROM file_operation"), rows{"0"});
    EXPECT_EQ(stored("SELECT hive FROM registry_operation"), (rows{"32767", "-32768"}));
    EXPECT_EQ(stored("SELECT position, assembly_type FROM dotnet_operation"), (rows{"0|9999", "1|-999"}));
}

TEST_F(log_recorder_test, converted_texts_stay_what_they_are)
{
    open_with_main();
    const auto value_name = [&](const typed_value& value) {
        return operation_error("OPTYPE_REGISTRY", {text("k"), value});
    };
    for (const typed_value& value :
         {text("t"), number(5), number(5'000'000'000, VT_I8), real(2.5), flag(true), typed_value{}, number(7, VT_UI8)})
        EXPECT_EQ(value_name(value), "no error");
    EXPECT_EQ(value_name(number(-1, VT_UI8)), "value_name: the number does not fit 63 bits");
    EXPECT_EQ(value_name(real(1, VT_DATE)), "value_name: expected a text, a number, true or false");
    EXPECT_EQ(value_name(number(1, VT_CY)), "value_name: expected a text, a number, true or false");
    EXPECT_EQ(stored("SELECT value_name, typeof(value_name) FROM registry_operation"),
              (rows{"t|text", "5|integer", "5000000000|integer", "2.5|real", "-1|integer", "null|null", "7|integer"}));
}

TEST_F(log_recorder_test, unknown_types_take_whatever_there_is)
{
    open_with_main();
    recorder->add_feature("B", "b", "A");
    recorder->add_operation("MINE", "A", record{});
    recorder->add_operation("MINE", "A", record{text("x"), number(1), flag(true), typed_value{}, real(1, VT_DATE)});
    recorder->add_operation("тип", "B", record{text("y")});
    recorder->add_operation("MINE", "B", record{});
    EXPECT_EQ(operation_error("MINE", {texts({"a"})}), "element 0: no type that can be recorded");
    close();
    open();
    recorder->add_operation("MINE", "A", record{});
    EXPECT_EQ(stored("SELECT id, name FROM operation_type WHERE id > 9"), (rows{"10|MINE", "11|тип"}));
    EXPECT_EQ(stored("SELECT feature, type FROM operation_list WHERE type > 9"), (rows{"1|10", "2|10", "2|11"}));
    EXPECT_EQ(stored("SELECT type, feature, position FROM other_operation"),
              (rows{"10|1|0", "10|1|1", "10|1|2", "10|2|0", "11|2|0"}));
    EXPECT_EQ(stored("SELECT * FROM operation_element"), (rows{"10|1|1|0|8|x", "10|1|1|1|3|1", "10|1|1|2|11|-1",
                                                               "10|1|1|3|0|null", "10|1|1|4|7|1.0", "11|2|0|0|8|y"}));
}

TEST_F(log_recorder_test, a_type_has_a_name_of_sensible_length)
{
    open_with_main();
    std::string longest;
    for (int i = 0; i < 1000; ++i)
        longest += "ж";
    EXPECT_EQ(operation_error("", {}), "the operation type has no name");
    EXPECT_EQ(operation_error(longest + "x", {}), "operation type: the name is longer than 1000 characters");
    EXPECT_EQ(operation_error(longest, {}), "no error");
    // A type that nothing was recorded of leaves no trace.
    EXPECT_EQ(error_of([&] { recorder->add_operation("NEW", "X", record{}); }), "there is no feature \"X\"");
    EXPECT_EQ(operation_error("NEW", {texts({"a"})}), "element 0: no type that can be recorded");
    EXPECT_EQ(stored("SELECT COUNT(*) FROM operation_type"), rows{"10"});
}

TEST_F(log_recorder_test, positions_count_on_in_every_list_of_its_own)
{
    open_with_main();
    recorder->add_feature("B", "b", "A");
    for (int round = 0; round < 2; ++round) {
        for (const char* feature : {"A", "B", "A"}) {
            recorder->add_operation("OPTYPE_GENERAL", feature, record{text("g")});
            recorder->add_operation("OPTYPE_FILEREG", feature, record{text("f")});
        }
        close();
        open();
    }
    for (const char* table : {"general_operation", "self_registration_operation"})
        EXPECT_EQ(stored(std::string("SELECT feature, position FROM ") + table),
                  (rows{"1|0", "1|1", "1|2", "1|3", "2|0", "2|1"}));
}

TEST_F(log_recorder_test, positions_end_where_32_bits_do)
{
    open_with_main();
    close();
    tamper("INSERT INTO general_operation VALUES (1, 2147483645, 'o', 'd')");
    open();
    EXPECT_EQ(operation_error("OPTYPE_GENERAL", {}), "no error");
    EXPECT_EQ(operation_error("OPTYPE_GENERAL", {}), "there are too many operations of one type for one feature");
    EXPECT_EQ(stored("SELECT MAX(position) FROM general_operation"),
              rows{std::to_string(formats::largest_log_position)});
}

TEST_F(log_recorder_test, a_known_type_that_the_log_does_not_list_gets_its_own_table_all_the_same)
{
    open_with_main();
    recorder->add_operation("OPTYPE_GENERAL", "A", record{text("first")});
    close();
    tamper("DELETE FROM operation_type WHERE name = 'OPTYPE_GENERAL'; INSERT INTO operation_type VALUES (30, 'X')");
    open();
    recorder->add_operation("OPTYPE_GENERAL", "A", record{text("second")});
    EXPECT_EQ(stored("SELECT position, operation FROM general_operation"), (rows{"0|first", "1|second"}));
    EXPECT_EQ(stored("SELECT id FROM operation_type WHERE name = 'OPTYPE_GENERAL'"), rows{"31"});
}

// ---- texts ---------------------------------------------------------------------------------------

TEST_F(log_recorder_test, refuses_texts_that_are_no_utf8_and_names_them)
{
    open_with_main();
    const std::string bad = "a\xFF";
    const std::string reason = ": the text is not well-formed UTF-8";
    EXPECT_EQ(error_of([&] { recorder->add_feature(bad, "n", "A"); }), "feature" + reason);
    EXPECT_EQ(error_of([&] { recorder->add_feature("B", bad, "A"); }), "name" + reason);
    EXPECT_EQ(error_of([&] { recorder->add_feature("B", "n", bad); }), "feature" + reason);
    EXPECT_EQ(property_error(bad, number(1)), "property" + reason);
    EXPECT_EQ(property_error("n", text(bad)), "value" + reason);
    EXPECT_EQ(property_error("n", texts({"ok", bad})), "value, element 1" + reason);
    EXPECT_EQ(operation_error(bad, {}), "operation type" + reason);
    EXPECT_EQ(error_of([&] { recorder->add_operation("OPTYPE_FILE", bad, record{}); }), "feature" + reason);
    EXPECT_EQ(operation_error("OPTYPE_FILE", {text("f"), text(bad)}), "file_name" + reason);
    EXPECT_EQ(operation_error("MINE", {text("f"), text(bad)}), "element 1" + reason);
    EXPECT_EQ(operation_error("OPTYPE_GENERAL", {text("o"), text("d"), text(bad)}), "element 2" + reason);
    EXPECT_EQ(operation_error("OPTYPE_REGISTRY", {text("k"), text("\xED\xA0\x80")}), "value_name" + reason);
    EXPECT_EQ(stored("SELECT (SELECT COUNT(*) FROM feature), (SELECT COUNT(*) FROM property), "
                     "(SELECT COUNT(*) FROM file_operation), (SELECT COUNT(*) FROM general_operation), "
                     "(SELECT COUNT(*) FROM operation_type)"),
              rows{"1|0|0|0|9"});
}

TEST_F(log_recorder_test, error_texts_stay_short)
{
    open_with_main();
    std::string name;
    for (int i = 0; i < 10'000; ++i)
        name += "ж";
    const std::string reason = error_of([&] { recorder->add_operation("OPTYPE_FILE", name, record{}); });
    EXPECT_LT(reason.size(), 200u);
    EXPECT_TRUE(reason.ends_with("ж…\"")) << reason;
}

TEST_F(log_recorder_test, texts_may_hold_zeros)
{
    open_with_main();
    recorder->add_operation("OPTYPE_FILE", "A", record{text(std::string("a\0b", 3))});
    EXPECT_EQ(stored("SELECT hex(folder) FROM file_operation"), rows{"610062"});
}

// ---- keeping -------------------------------------------------------------------------------------

TEST_F(log_recorder_test, leaves_one_plain_file)
{
    open_with_main();
    recorder->commit();
    EXPECT_TRUE(fs::exists(path.string() + "-wal"));
    close();
    EXPECT_EQ(names_in(folder.path()), std::vector<std::string>{"a.clg"});
    EXPECT_EQ(test::query(path, "PRAGMA journal_mode"), rows{"delete"});
    EXPECT_EQ(test::query(path, "PRAGMA integrity_check"), rows{"ok"});
}

TEST_F(log_recorder_test, without_close_only_what_was_committed_stands)
{
    open_with_main();
    recorder->commit();
    recorder->add_feature("B", "b", "A");
    recorder.reset();
    EXPECT_EQ(stored("SELECT identifier FROM feature"), rows{"A"});
    EXPECT_EQ(names_in(folder.path()), std::vector<std::string>{"a.clg"});
}

TEST_F(log_recorder_test, a_closed_log_takes_no_more)
{
    open_with_main();
    recorder->close();
    EXPECT_NE(error_of([&] { recorder->add_feature("B", "b", "A"); }).find("closed"), std::string::npos);
    EXPECT_NE(property_error("n", number(1)).find("closed"), std::string::npos);
    EXPECT_NE(operation_error("OPTYPE_FILE", {}).find("closed"), std::string::npos);
    EXPECT_NE(error_of([&] { recorder->commit(); }).find("closed"), std::string::npos);
    EXPECT_NE(error_of([&] { recorder->close(); }).find("closed"), std::string::npos);
    log_recorder next(path);
    next.add_feature("B", "b", "A");
}

TEST_F(log_recorder_test, a_second_recorder_is_told_of_the_first_at_any_time)
{
    open_with_main();
    for (int step = 0; step < 2; ++step) {
        EXPECT_NE(error_of([&] { log_recorder second(path); }).find("being recorded by another program"),
                  std::string::npos);
        recorder->commit();
    }
    recorder->add_operation("OPTYPE_FILE", "A", record{text("f")});
    EXPECT_EQ(stored("SELECT COUNT(*) FROM file_operation"), rows{"1"});
}

TEST_F(log_recorder_test, goes_on_where_a_recorder_was_killed)
{
    const pid_t child = ::fork();
    if (child == 0) {
        log_recorder killed(path);
        killed.add_feature("A", "Main", {});
        killed.add_operation("OPTYPE_FILE", "A", record{text("committed")});
        killed.commit();
        killed.add_operation("OPTYPE_FILE", "A", record{text("lost")});
        ::kill(::getpid(), SIGKILL);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_TRUE(fs::exists(path.string() + "-wal"));
    open();
    recorder->add_operation("OPTYPE_FILE", "A", record{text("next")});
    EXPECT_EQ(stored("SELECT position, folder FROM file_operation"), (rows{"0|committed", "1|next"}));
    EXPECT_EQ(names_in(folder.path()), std::vector<std::string>{"a.clg"});
}

/// A reader that keeps looking at the log.
class long_look {
public:
    explicit long_look(const fs::path& path)
    {
        sqlite3_open_v2(path.c_str(), &m_database, SQLITE_OPEN_READONLY, nullptr);
        EXPECT_EQ(sqlite3_exec(m_database, "BEGIN; SELECT * FROM feature", nullptr, nullptr, nullptr), SQLITE_OK);
    }
    ~long_look() { sqlite3_close(m_database); }

private:
    sqlite3* m_database = nullptr;
};

TEST_F(log_recorder_test, a_reader_that_keeps_looking_is_no_error)
{
    open_with_main();
    recorder->commit();
    {
        const long_look reader(path);
        recorder->add_operation("OPTYPE_FILE", "A", record{text("f")});
        const auto start = std::chrono::steady_clock::now();
        close();
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    }
    // It is not the last to leave and so leaves the journal; everything is there.
    open();
    EXPECT_EQ(stored("SELECT folder FROM file_operation"), rows{"f"});
    EXPECT_EQ(names_in(folder.path()), std::vector<std::string>{"a.clg"});
}

TEST_F(log_recorder_test, a_reader_that_keeps_the_journal_from_being_chosen_is_no_error)
{
    open_with_main();
    close();
    {
        const long_look reader(path);
        open();
        recorder->add_operation("OPTYPE_FILE", "A", record{text("f")});
    }
    recorder->commit();
    EXPECT_EQ(stored("SELECT folder FROM file_operation"), rows{"f"});
    EXPECT_EQ(names_in(folder.path()), std::vector<std::string>{"a.clg"});
}

TEST_F(log_recorder_test, many_properties_and_types_cost_no_more_each)
{
    open_with_main();
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 20'000; ++i) {
        recorder->set_property("A", "p" + std::to_string(i), i % 2 != 0 ? texts({"x"}) : number(i));
        recorder->add_operation("T" + std::to_string(i), "A", record{});
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
    EXPECT_EQ(property_error("p3", texts({"x", "y"})), "an array of 2 values has only 1 titles");
    EXPECT_EQ(stored("SELECT (SELECT COUNT(*) FROM property), (SELECT COUNT(*) FROM operation_type)"),
              rows{"20000|20009"});
}

TEST_F(log_recorder_test, the_disk_being_full_takes_away_nothing_that_was_committed)
{
    open_with_main();
    recorder->add_operation("OPTYPE_FILE", "A", record{text("kept")});
    recorder->commit();
    const auto before = ::signal(SIGXFSZ, SIG_IGN);
    rlimit whole{};
    ::getrlimit(RLIMIT_FSIZE, &whole);
    rlimit small = whole;
    small.rlim_cur = fs::file_size(path.string() + "-wal") + 100;
    ::setrlimit(RLIMIT_FSIZE, &small);
    bool is_told = false;
    try {
        for (int i = 0; i < 3; ++i) {
            recorder->add_operation("OPTYPE_FILE", "A", record{text(std::string(100'000, 'x'))});
            recorder->add_operation("NEW", "A", record{text("x")});
            recorder->add_feature("B", "b", "A");
            recorder->commit();
        }
    } catch (const log_storage_error& failure) {
        is_told = std::string(failure.what()).find("the log cannot be written") != std::string::npos;
    }
    ::setrlimit(RLIMIT_FSIZE, &whole);
    ::signal(SIGXFSZ, before);
    EXPECT_TRUE(is_told);
    // With room again the recorder goes on, and counts on from what stands.
    recorder->add_feature("C", "c", "A");
    recorder->add_operation("NEWER", "A", record{text("y")});
    recorder->add_operation("OPTYPE_FILE", "A", record{text("next")});
    EXPECT_EQ(stored("SELECT identifier, position FROM feature ORDER BY id"), (rows{"A|0", "C|0"}));
    EXPECT_EQ(stored("SELECT position, folder FROM file_operation"), (rows{"0|kept", "1|next"}));
    EXPECT_EQ(stored("SELECT name FROM operation_type WHERE id > 9"), rows{"NEWER"});
    EXPECT_EQ(stored("PRAGMA integrity_check"), rows{"ok"});
}

TEST_F(log_recorder_test, another_writer_is_told_of_and_leads_to_no_gap)
{
    open_with_main();
    recorder->add_operation("OPTYPE_FILE", "A", record{text("first")});
    recorder->commit();
    tamper("INSERT INTO file_operation (feature, position) VALUES (1, 1)");
    EXPECT_NE(operation_error("OPTYPE_FILE", {text("x")}).find("another program has changed the log"),
              std::string::npos);
    EXPECT_EQ(stored("SELECT position FROM file_operation"), (rows{"0", "1"}));
}

// ---- files that are no good ----------------------------------------------------------------------

TEST_F(log_recorder_test, a_damaged_log_stays_as_it_is)
{
    for (const char* damage : {"DROP TABLE ini_operation", "ALTER TABLE file_operation RENAME COLUMN shared TO x",
                               "DROP TABLE feature", "INSERT INTO feature VALUES (9, 0, 1, 'x', 'second main')",
                               "INSERT INTO feature VALUES (9, 77, 0, 'x', 'no parent')",
                               "INSERT INTO feature VALUES (9, 1, 5, 'x', 'a gap')",
                               "INSERT INTO feature VALUES (9, 10, 0, 'x', 'child'), (10, 1, 0, 'x', 'parent')"}) {
        fs::remove(path);
        open_with_main();
        close();
        tamper(damage);
        const std::string before = test::read_file(path);
        EXPECT_NE(error_of([&] { log_recorder damaged(path); }).find("the log is damaged"), std::string::npos)
            << damage;
        EXPECT_TRUE(test::read_file(path) == before) << damage;
        EXPECT_EQ(names_in(folder.path()), std::vector<std::string>{"a.clg"});
    }
}

TEST_F(log_recorder_test, a_log_that_was_cut_off_is_damaged)
{
    open_with_main();
    close();
    const std::string whole = test::read_file(path);
    for (std::size_t size = 100; size < whole.size(); size += 1777) {
        test::write_file(path, whole.substr(0, size));
        EXPECT_NE(error_of([&] { log_recorder damaged(path); }).find("the log is damaged"), std::string::npos) << size;
        EXPECT_TRUE(test::read_file(path) == whole.substr(0, size)) << size;
    }
}

TEST_F(log_recorder_test, a_gap_among_properties_is_found_when_they_are_needed)
{
    open_with_main();
    close();
    tamper("INSERT INTO property VALUES (1, 3, 'x', 3, 1)");
    open();
    EXPECT_NE(property_error("n", number(1)).find("the log is damaged"), std::string::npos);
    EXPECT_EQ(operation_error("OPTYPE_FILE", {}), "no error");
}

// ---- speed ---------------------------------------------------------------------------------------

TEST_F(log_recorder_test, costs_little_more_than_the_rows_themselves)
{
    constexpr int count = 20'000;
    const record elements{
        text("C:\\Programs\\Some Folder"), text("a_file_name.txt"), flag(true), flag(false), flag(true), flag(false)};
    open_with_main();
    const auto timed = [](const std::function<void()>& work) {
        const auto start = std::chrono::steady_clock::now();
        work();
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    const double recorded = timed([&] {
        for (int i = 0; i < count; ++i)
            recorder->add_operation("OPTYPE_FILE", "A", elements);
        recorder->commit();
    });
    close();
    const double again = timed([&] {
        log_database plain(path.string());
        plain.start_recording();
        plain.begin();
        {
            log_statement insert(plain, "INSERT INTO file_operation VALUES (?, ?, ?, ?, ?, ?, ?, ?)");
            for (int i = 0; i < count; ++i)
                insert
                    .with(std::int64_t{2}, std::int64_t{i}, std::string_view("C:\\Programs\\Some Folder"),
                          std::string_view("a_file_name.txt"), std::int64_t{1}, std::int64_t{0}, std::int64_t{1},
                          std::int64_t{0})
                    .run();
        }
        plain.commit();
    });
    // Nothing is optimised in a build for tests: the bound only catches costs of another order.
    EXPECT_LT(recorded, again * 6) << recorded << " s against " << again << " s";
}

} // namespace
