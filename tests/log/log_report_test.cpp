#include "tests/log/log_support.h"

#include "platform/last_error.h"
#include "platform/utf8.h"
#include "tests/support/scripted_readers.h"

#include <cstring>
#include <filesystem>

namespace cw {
namespace {

using namespace test_support;

/// The bytes of a report as lines; each ends in CR LF, the last one too.
lines lines_of(const std::string& bytes)
{
    EXPECT_EQ(bytes.size() % 2, 0u);
    std::u16string text(bytes.size() / 2, u'\0');
    std::memcpy(text.data(), bytes.data(), text.size() * 2);
    lines result;
    std::size_t from = 0;
    for (std::size_t end = 0; (end = text.find(u"\r\n", from)) != text.npos; from = end + 2)
        result.push_back(platform::to_utf8(std::u16string_view(text).substr(from, end - from)));
    EXPECT_EQ(from, text.size()) << "a line without an end";
    return result;
}

/// What happens to the open files, and how they fail.
struct observed_files final : forwarding_open_files_in_use {
    platform::file_handle create_file(const char16_t* path, std::uint32_t access, std::uint32_t share_mode,
                                      const void* security, std::uint32_t disposition, std::uint32_t flags,
                                      platform::file_handle file_template) noexcept override
    {
        calls.push_back("create " + std::to_string(access) + " " + std::to_string(share_mode) + " " +
                        std::to_string(disposition) + " " + std::to_string(flags) +
                        (security || file_template ? " more" : ""));
        if (creation_fails)
            return platform::invalid_file_handle;
        return forwarding_open_files::create_file(path, access, share_mode, security, disposition, flags,
                                                  file_template);
    }
    bool write(platform::file_handle file, const void* bytes, std::uint32_t size_in_bytes,
               std::uint32_t* written_in_bytes) noexcept override
    {
        calls.push_back("write " + std::to_string(size_in_bytes));
        if (++writes == failing_write) {
            platform::set_last_error(platform::error_disk_full);
            return false;
        }
        return forwarding_open_files::write(file, bytes, size_in_bytes, written_in_bytes);
    }
    bool close(platform::file_handle file) noexcept override
    {
        calls.push_back(file == platform::invalid_file_handle ? "close nothing" : "close");
        return forwarding_open_files::close(file);
    }

    lines calls;
    bool creation_fails = false;
    int failing_write = 0;
    int writes = 0;
};

class log_report : public log_view_test {
protected:
    std::u16string target() const { return program.folder.wide_file("report.txt"); }
    void write_report()
    {
        frame().Guard([&] { frame().WriteLogReport(string(target())); });
    }
    std::string written() const { return program.folder.read("report.txt"); }
    /// The report of what is open.
    lines report()
    {
        write_report();
        return lines_of(written());
    }
    /// The report of a log that is this model.
    lines report_of(std::string_view model)
    {
        EXPECT_TRUE(program.open_log(model));
        (void)program.take_trace();
        return report();
    }
    /// Its lines behind "Feature Properties" and the property of a main feature that has these operations.
    lines operations(std::string_view types, std::string_view operations)
    {
        const lines all = report_of(R"({"types": [)" + std::string(types) +
                                    R"(], "root": {"Name": "M", "operations": {)" + std::string(operations) + "}}}");
        constexpr std::size_t head = 10;
        EXPECT_GE(all.size(), head);
        return {all.begin() + std::min(head, all.size()), all.end()};
    }
    /// How an element of one more file operation reads.
    std::string element(std::string_view value)
    {
        const lines rows = operations(R"("OPTYPE_FILE")", R"("OPTYPE_FILE": [["a", )" + std::string(value) + "]]");
        return rows.size() == 3 ? rows[2] : "";
    }
    /// The lines of a feature's properties below the heading.
    lines properties(std::string_view given)
    {
        const lines all = report_of(R"({"root": {"Name": "M", "properties": )" + std::string(given) + "}}");
        constexpr std::size_t head = 9;
        EXPECT_GE(all.size(), head);
        return {all.begin() + std::min(head, all.size()), all.end()};
    }
};

constexpr const char* worked_example = R"({"types": ["OPTYPE_FILE"], "root": {"Name": "Main", "ID": "M1",
    "operations": {"OPTYPE_FILE": [["C:\\app", "a.exe", false, false, false, true]]},
    "features": [{"Name": "Sub", "ID": "S1", "properties": [["Note", "hello"]]}]}})";

lines worked_report(const std::string& path)
{
    return {"Cratewright Log File Report",
            path,
            "",
            "Main Feature Log",
            "",
            "Feature Name: Main",
            "Feature ID: M1",
            "Parent Feature: ",
            "Sub Features ",
            "S1",
            "Feature Properties",
            "State:Not Installed",
            "",
            "Main File Operations",
            "C:\\app, a.exe, False, False, False, True",
            "",
            "Feature Name: Sub",
            "Feature ID: S1",
            "Parent Feature: Main",
            "Feature Properties",
            "Note:hello"};
}

TEST_F(log_report, tells_a_whole_log)
{
    EXPECT_EQ(report_of(worked_example), worked_report(program.folder.file("log.clg")));
}

TEST_F(log_report, is_sixteen_bit_text_without_a_mark)
{
    EXPECT_TRUE(program.open_log(R"({"root": {"Name": "\u00c4\ud83d\ude00"}})"));
    write_report();
    const std::string bytes = written();
    EXPECT_EQ(bytes.substr(0, 8), std::string("C\0r\0a\0t\0", 8));
    EXPECT_EQ(bytes.substr(bytes.size() - 4), std::string("\r\0\n\0", 4));
    EXPECT_NE(bytes.find(std::string("\xC4\0\x3D\xD8\x00\xDE\r\0\n\0", 10)), bytes.npos);
    EXPECT_EQ(bytes.find(std::string("\0\0", 2)), bytes.npos) << "no terminator";
}

TEST_F(log_report, of_a_feature_without_anything_is_short)
{
    EXPECT_EQ(
        report_of(R"({"root": {"Name": "M", "ID": "1"}})"),
        (lines{"Cratewright Log File Report", program.folder.file("log.clg"), "", "Main Feature Log", "",
               "Feature Name: M", "Feature ID: 1", "Parent Feature: ", "Feature Properties", "State:Not Installed"}));
}

TEST_F(log_report, lists_sub_features_by_identifier_and_then_in_full)
{
    const lines all = report_of(R"({"root": {"Name": "M", "features": [
        {"Name": "A", "ID": "a", "features": [{"Name": "AA", "ID": "aa"}]}, {"Name": "B", "ID": "b"}]}})");
    EXPECT_EQ(lines(all.begin() + 4, all.end()), (lines{"",
                                                        "Feature Name: M",
                                                        "Feature ID: ",
                                                        "Parent Feature: ",
                                                        "Sub Features ",
                                                        "a",
                                                        "b",
                                                        "Feature Properties",
                                                        "State:Not Installed", //
                                                        "",
                                                        "Feature Name: A",
                                                        "Feature ID: a",
                                                        "Parent Feature: M",
                                                        "Sub Features ",
                                                        "aa",
                                                        "Feature Properties",
                                                        "State:Not Installed", //
                                                        "",
                                                        "Feature Name: AA",
                                                        "Feature ID: aa",
                                                        "Parent Feature: A",
                                                        "Feature Properties",
                                                        "State:Not Installed", //
                                                        "",
                                                        "Feature Name: B",
                                                        "Feature ID: b",
                                                        "Parent Feature: M",
                                                        "Feature Properties",
                                                        "State:Not Installed"}));
}

TEST_F(log_report, goes_as_deep_as_the_features)
{
    constexpr int depth = 300;
    std::string model;
    for (int level = 0; level < depth; ++level)
        model += R"({"Name": "F", "ID": "I", "features": [)";
    model += R"({"Name": "Last"})";
    for (int level = 0; level < depth; ++level)
        model += "]}";
    const lines all = report_of(R"({"root": )" + model + "}");
    EXPECT_EQ(std::count(all.begin(), all.end(), "Feature Name: F"), depth);
    EXPECT_EQ(std::count(all.begin(), all.end(), "Feature Name: Last"), 1);
    EXPECT_EQ(std::count(all.begin(), all.end(), "Parent Feature: F"), depth);
}

TEST_F(log_report, joins_property_names_and_values_without_a_blank)
{
    EXPECT_EQ(
        properties(R"([["Note", "hello"], ["State", 2], ["Zero", 0], ["One", 1], ["Empty", ""], ["Off", false]])"),
        (lines{"Note:hello", "State:Installed", "Zero:Not Installed", "One:1", "Empty:", "Off:Not Installed"}));
    EXPECT_EQ(properties(R"([["Text", {"vt": "VT_BSTR", "value": null}]])"), lines{"Text:Not Installed"});
}

TEST_F(log_report, joins_titles_and_elements_with_a_blank)
{
    EXPECT_EQ(properties(R"([["A", "1 "], ["Titles", {"array": ["Vendor", "Size"]}], ["V", {"array": ["Me", "5"]}],
                             ["B", "2 "], ["W", {"array": ["You"]}]])"),
              (lines{"A:1 ", "Vendor Me", "Size 5", "B:2 ", "Vendor You"}));
    // The titles alone are no line, and are a property all the same.
    EXPECT_EQ(properties(R"([["Titles", {"array": ["Vendor"]}]])"), lines{});
    EXPECT_EQ(properties("[]"), lines{"State:Not Installed"});
}

TEST_F(log_report, refuses_more_elements_than_titles)
{
    EXPECT_TRUE(program.open_log(
        R"({"root": {"Name": "M", "properties": [["T", {"array": ["One"]}], ["V", {"array": ["a", "b"]}]]}})"));
    EXPECT_EQ(report(), (lines{"Cratewright Log File Report", program.folder.file("log.clg"), "", "Main Feature Log"}));
    EXPECT_EQ(program.take_unhandled(), lines{"cwcabview: unhandled error: invalid argument"});
}

TEST_F(log_report, heads_each_type_by_its_group)
{
    EXPECT_EQ(operations(R"("OPTYPE_DOTNET", "OPTYPE_FILE", "OPTYPE_SHELL", "OPTYPE_REGISTRY", "OPTYPE_PROGMAN",
                            "OPTYPE_INI", "OPTYPE_FILEREG", "OPTYPE_GENERAL", "MY_TYPE", "EMPTY")",
                         R"("OPTYPE_FILE": [["f"]], "OPTYPE_SHELL": [["s"]], "OPTYPE_REGISTRY": [["r"]],
                            "OPTYPE_PROGMAN": [["p"]], "OPTYPE_INI": [["i"]], "OPTYPE_FILEREG": [["fr"]],
                            "OPTYPE_DOTNET": [["d"]], "OPTYPE_GENERAL": [["g"]], "MY_TYPE": [["m1"], ["m2"]])"),
              (lines{"",   "M .NET Operations",
                     "d", //
                     "",   "M File Operations",
                     "f", //
                     "",   "M Explorer Shell Operations",
                     "s", //
                     "",   "M Registry Operations",
                     "r", //
                     "",   "M Progman Operations",
                     "p", //
                     "",   "M INI File Operations",
                     "i", //
                     "",   "M Self-Registration Operations",
                     "fr", //
                     "",   "M OPTYPE_GENERAL",
                     "g", //
                     "",   "M MY_TYPE",
                     "m1", "m2"}));
}

TEST_F(log_report, prints_all_elements_of_a_record)
{
    EXPECT_EQ(operations(R"("OPTYPE_FILE")", R"("OPTYPE_FILE": [["a", "", "c", 7, "e", "f", "g", "h"], [], ["x"]])"),
              (lines{"", "M File Operations", "a, , c, 7, e, f, g, h", "", "x"}));
}

TEST_F(log_report, takes_whatever_has_no_or_all_low_bits_for_a_truth_value)
{
    EXPECT_EQ(element("true"), "a, True");
    EXPECT_EQ(element("false"), "a, False");
    EXPECT_EQ(element("0"), "a, False");
    EXPECT_EQ(element("-1"), "a, True");
    EXPECT_EQ(element("65535"), "a, True");
    EXPECT_EQ(element("65536"), "a, False");
    EXPECT_EQ(element("1"), "a, 1");
    EXPECT_EQ(element("-2"), "a, -2");
    EXPECT_EQ(element("null"), "a, False");
    EXPECT_EQ(element(R"({"vt": "VT_BSTR", "value": null})"), "a, False");
    EXPECT_EQ(element(R"({"vt": "VT_R8", "value": 1.5})"), "a, False");
    EXPECT_EQ(element(R"({"vt": "VT_R8", "value": 0.1})"), "a, 0.1");
    EXPECT_EQ(element(R"("0")"), "a, 0");
    EXPECT_EQ(element(R"("")"), "a, ");
}

TEST_F(log_report, names_registry_hives)
{
    const auto hive = [&](std::string_view type, std::string_view code) {
        const std::string name(type);
        const lines rows = operations("\"" + name + "\"",
                                      "\"" + name + R"(": [["k", "v", "", )" + std::string(code) + R"(, 0, 0, 0]])");
        return rows.size() == 3 ? rows[2] : "";
    };
    EXPECT_EQ(hive("OPTYPE_REGISTRY", "0"), "k, v, , HKEY_CLASSES_ROOT, False, False, False");
    EXPECT_EQ(hive("OPTYPE_REGISTRY", "1"), "k, v, , HKEY_CURRENT_USER, False, False, False");
    EXPECT_EQ(hive("OPTYPE_REGISTRY", "2"), "k, v, , HKEY_LOCAL_MACHINE, False, False, False");
    EXPECT_EQ(hive("OPTYPE_REGISTRY", "3"), "k, v, , 3, False, False, False");
    EXPECT_EQ(hive("OPTYPE_REGISTRY", "4"), "k, v, , HKEY_PERFORMANCE_DATA, False, False, False");
    EXPECT_EQ(hive("OPTYPE_REGISTRY", "5"), "k, v, , HKEY_CURRENT_CONFIG, False, False, False");
    EXPECT_EQ(hive("OPTYPE_REGISTRY", "6"), "k, v, , HKEY_DYN_DATA, False, False, False");
    EXPECT_EQ(hive("OPTYPE_REGISTRY", "7"), "k, v, , 7, False, False, False");
    EXPECT_EQ(hive("OPTYPE_REGISTRY", "-1"), "k, v, , True, False, False, False");
    EXPECT_EQ(hive("OPTYPE_REGISTRY", "-5"), "k, v, , -5, False, False, False");
    // In other lists the same element is like any other.
    EXPECT_EQ(hive("OPTYPE_INI", "1"), "k, v, , 1, False, False, False");
    EXPECT_EQ(hive("OPTYPE_INI", "0"), "k, v, , False, False, False, False");
}

TEST_F(log_report, knows_no_columns_of_assemblies)
{
    EXPECT_EQ(operations(R"("OPTYPE_DOTNET")", R"("OPTYPE_DOTNET": [["C:\\a", "b.dll", 0, false, true]])"),
              (lines{"", "M .NET Operations", "C:\\a, b.dll, False, False, True"}));
}

constexpr const char* both_sides = R"("OPTYPE_REGISTRY": [["narrow", "v", "", 2, 0, 0, 0]],
                                      "OPTYPE_REGISTRY64": [["wide", "v", "", 0, 0, 0, 0, 256]])";
const lines both_rows{"", "M Registry Operations", "narrow, v, , HKEY_LOCAL_MACHINE, False, False, False",
                      "wide, v, , HKEY_CLASSES_ROOT, False, False, False, 256"};

TEST_F(log_report, puts_the_wide_side_of_the_registry_behind_the_narrow_one)
{
    EXPECT_EQ(operations(R"("OPTYPE_REGISTRY", "OPTYPE_REGISTRY64")", both_sides), both_rows);
    EXPECT_EQ(operations(R"("OPTYPE_REGISTRY64", "OPTYPE_REGISTRY")", both_sides), both_rows);
    // Also where the log does not list the type.
    EXPECT_EQ(operations(R"("OPTYPE_REGISTRY")", both_sides), both_rows);
}

TEST_F(log_report, leaves_out_the_wide_side_without_a_narrow_one)
{
    EXPECT_EQ(operations(R"("OPTYPE_REGISTRY64")", both_sides), lines{});
    EXPECT_EQ(operations(R"("OPTYPE_REGISTRY", "OPTYPE_REGISTRY64")",
                         R"("OPTYPE_REGISTRY64": [["wide", "v", "", 0, 0, 0, 0, 256]])"),
              lines{});
}

TEST_F(log_report, does_without_a_wide_side_that_cannot_be_told)
{
    const lines narrow_alone(both_rows.begin(), both_rows.end() - 1);
    constexpr const char* narrow = R"("OPTYPE_REGISTRY": [["narrow", "v", "", 2, 0, 0, 0]], "OPTYPE_REGISTRY64": )";
    EXPECT_EQ(operations(R"("OPTYPE_REGISTRY")", narrow + std::string(R"({"fail": "0x80004005"})")), narrow_alone);
    EXPECT_EQ(operations(R"("OPTYPE_REGISTRY")", narrow + std::string("null")), narrow_alone);
}

TEST_F(log_report, asks_for_the_wide_side_where_it_is_listed_all_the_same)
{
    (void)report_of(R"({"types": ["OPTYPE_REGISTRY", "OPTYPE_REGISTRY64"], "root": {"Name": "Main", "operations": {
        "OPTYPE_REGISTRY": [["narrow"]], "OPTYPE_REGISTRY64": [["wide"]]}}})");
    const lines asked = program.take_trace();
    const auto begin = std::find(asked.begin(), asked.end(), "IOperationTypeCollection Item 1");
    ASSERT_NE(begin, asked.end());
    const lines rows{"IOperationList Name", "IOperationList First", "IOperationList Count", "IOperationList Next",
                     "IOperationList Count"};
    lines expected{"IOperationTypeCollection Item 1", "IOperationType Name", "IFeatureLog Operations",
                   "IOperationList First", "IFeatureLog Name"};
    expected.insert(expected.end(), rows.begin(), rows.end());
    expected.emplace_back("IFeatureLog Operations");
    expected.insert(expected.end(), rows.begin(), rows.end());
    for (const char* line : {"ILogDocument OperationTypes", "IOperationTypeCollection Count",
                             "IOperationTypeCollection Item 2", "IOperationType Name", "IFeatureLog Operations",
                             "IOperationList First", "ILogDocument OperationTypes", "IOperationTypeCollection Count",
                             "IFeatureLog Name", "IFeatureLog SubFeatures", "IFeatureLogCollection Count"})
        expected.emplace_back(line);
    EXPECT_EQ(lines(begin, asked.end()), expected);
}

TEST_F(log_report, raises_where_a_listed_wide_side_cannot_be_told)
{
    program.open_log(R"({"types": ["OPTYPE_REGISTRY", "OPTYPE_REGISTRY64"], "root": {"Name": "Main", "operations": {
        "OPTYPE_REGISTRY": [["narrow"]], "OPTYPE_REGISTRY64": {"fail": "0x80004005"}}}})");
    EXPECT_EQ(report().size(), 4u);
    EXPECT_EQ(take_error_codes(), lines{"0x80004005"});
}

TEST_F(log_report, counts_features_anew_after_each_section)
{
    (void)report_of(R"({"root": {"Name": "Main", "features": [{"Name": "A"}, {"Name": "B"}]}})");
    const lines asked = program.take_trace();
    // Behind the section of the last feature: its own features, and then once more those of the main one.
    ASSERT_GE(asked.size(), 4u);
    EXPECT_EQ(lines(asked.end() - 4, asked.end()),
              (lines{"IFeatureLog Name", "IFeatureLog SubFeatures", "IFeatureLogCollection Count",
                     "IFeatureLogCollection Count"}));
}

TEST_F(log_report, tells_states_by_the_low_half_of_a_property)
{
    EXPECT_EQ(properties(R"([["A", 65538], ["B", 65536], ["C", {"vt": "VT_R8", "value": 1.0}], ["D", 65537]])"),
              (lines{"A:Installed", "B:Not Installed", "C:Not Installed", "D:65537"}));
}

TEST_F(log_report, takes_the_next_array_for_titles_where_the_first_is_empty)
{
    EXPECT_EQ(properties(R"([["E", {"array": []}], ["T", {"array": ["One"]}], ["V", {"array": ["1"]}]])"),
              lines{"One 1"});
}

TEST_F(log_report, asks_the_library_in_a_fixed_order)
{
    (void)report_of(R"({"types": ["OPTYPE_FILE"], "root": {"Name": "Main", "properties": [["P", "1 "]],
                        "operations": {"OPTYPE_FILE": [["a"]]}, "features": [{"Name": "Sub"}]}})");
    lines expected{
        "IFeatureLog Name",
        "IFeatureLog ID",
        "IFeatureLog SubFeatures",
        "IFeatureLogCollection Count",
        "IFeatureLog SubFeatures",
        "IFeatureLogCollection Count",
        "IFeatureLog SubFeatures",
        "IFeatureLogCollection Item 1",
        "IFeatureLog ID",
        "IFeatureLog SubFeatures",
        "IFeatureLogCollection Count",
        "IFeatureLog PropertyNames",
        "IFeatureLog PropertyNames",
        "IFeatureLog PropertyValue",
        "IFeatureLog PropertyNames",
        "IFeatureLog PropertyNames",
        "ILogDocument OperationTypes",
        "ILogDocument OperationTypes",
        "IOperationTypeCollection Count",
        "IOperationTypeCollection Item 1",
        "IOperationType Name",
        "IFeatureLog Operations",
        "IOperationList First",
        "IFeatureLog Name",
        "IOperationList Name",
        "IOperationList First",
        "IOperationList Count",
        "IOperationList Next",
        "IOperationList Count",
        "ILogDocument OperationTypes",
        "IOperationTypeCollection Count",
        "IFeatureLog Name",
        "IFeatureLog SubFeatures",
        "IFeatureLogCollection Count",
        "IFeatureLogCollection Item 1",
    };
    lines asked = program.take_trace();
    asked.resize(std::min(asked.size(), expected.size()));
    EXPECT_EQ(asked, expected);
}

TEST_F(log_report, asks_a_custom_feature_for_the_identifier_of_its_parent)
{
    const lines all = report_of(
        R"({"root": {"Name": "Main", "ID": "APP_MAIN_LOG", "features": [{"Name": "Custom"}, {"Name": "custom"}]}})");
    EXPECT_EQ(std::count(all.begin(), all.end(), "Feature Name: Custom"), 1);
    EXPECT_EQ(std::count(all.begin(), all.end(), "Parent Feature: Main"), 2);
    const lines asked = program.take_trace();
    EXPECT_EQ(std::count(asked.begin(), asked.end(), "IFeatureLog Parent"), 1);
    const auto at = std::find(asked.begin(), asked.end(), "IFeatureLog Parent");
    ASSERT_NE(at, asked.end());
    EXPECT_EQ(lines(at - 1, at + 3),
              (lines{"IFeatureLog Name", "IFeatureLog Parent", "IFeatureLog ID", "IFeatureLog ID"}));
    program.open_log(
        R"({"root": {"Name": "Main", "features": [{"Name": "Custom", "Parent": {"fail": "0x80004005"}}]}})");
    EXPECT_EQ(report().back(), "State:Not Installed");
    EXPECT_EQ(take_error_codes(), lines{"0x80004005"});
    // At the top there is no parent to ask.
    (void)report_of(R"({"root": {"Name": "Custom"}})");
    EXPECT_TRUE(program.take_unhandled().empty());
}

TEST_F(log_report, writes_a_section_at_a_time)
{
    EXPECT_TRUE(program.open_log(worked_example));
    observed_files files;
    write_report();
    const std::size_t heading =
        2 * (std::string("Cratewright Log File Report").size() + 2 + program.folder.file("log.clg").size() + 2 + 2 +
             std::string("Main Feature Log").size() + 2);
    const std::string all = written();
    const std::string begin_of_sub("F\0e\0a\0t\0u\0r\0e\0 \0N\0a\0m\0e\0:\0 \0S\0u\0b\0", 34);
    const std::size_t sub = all.find(begin_of_sub) - 4;
    EXPECT_EQ(files.calls,
              (lines{"create 1073741824 0 2 128", "write " + std::to_string(heading),
                     "write " + std::to_string(sub - heading), "write " + std::to_string(all.size() - sub), "close"}));
}

TEST_F(log_report, replaces_what_is_there)
{
    program.folder.write("report.txt", std::string(100000, 'x'));
    EXPECT_EQ(report_of(worked_example), worked_report(program.folder.file("log.clg")));
}

TEST_F(log_report, does_nothing_where_nothing_was_opened)
{
    program.folder.write("report.txt", "before");
    observed_files files;
    write_report();
    EXPECT_EQ(files.calls, lines{});
    EXPECT_EQ(written(), "before");
}

TEST_F(log_report, goes_on_silently_without_a_file)
{
    EXPECT_TRUE(program.open_log(worked_example));
    observed_files files;
    files.creation_fails = true;
    write_report();
    EXPECT_FALSE(std::filesystem::exists(program.folder.file("report.txt")));
    EXPECT_EQ(files.writes, 3);
    EXPECT_EQ(files.calls.back(), "close nothing");
}

TEST_F(log_report, goes_on_silently_where_writing_fails)
{
    for (int failing = 1; failing <= 3; ++failing) {
        EXPECT_TRUE(program.open_log(worked_example));
        observed_files files;
        files.failing_write = failing;
        write_report();
        EXPECT_EQ(files.writes, 3);
        EXPECT_EQ(files.calls.back(), "close");
        const lines there = lines_of(written());
        const lines all = worked_report(program.folder.file("log.clg"));
        const std::size_t missing = std::array<std::size_t, 3>{4, 11, 6}[static_cast<std::size_t>(failing - 1)];
        EXPECT_EQ(there.size(), all.size() - missing);
    }
}

TEST_F(log_report, keeps_whole_sections_where_the_library_fails)
{
    const lines all = report_of(R"({"root": {"Name": "Main", "features": [
        {"Name": "Good"}, {"Name": "Bad", "ID": {"fail": "0x80004005"}}, {"Name": "Late"}]}})");
    // The main feature's own section lists the identifiers.
    EXPECT_EQ(all.size(), 4u);
    EXPECT_EQ(take_error_codes(), lines{"0x80004005"});

    const lines more = report_of(R"({"root": {"Name": "Main", "features": [
        {"Name": "Good"}, {"Name": "Bad", "properties": {"fail": "0x80004005"}}, {"Name": "Late"}]}})");
    EXPECT_EQ(std::count(more.begin(), more.end(), "Feature Name: Good"), 1);
    EXPECT_EQ(std::count(more.begin(), more.end(), "Feature Name: Bad"), 0);
    EXPECT_EQ(std::count(more.begin(), more.end(), "Feature Name: Late"), 0);
    EXPECT_EQ(more.back(), "State:Not Installed");
    EXPECT_EQ(take_error_codes(), lines{"0x80004005"});
}

TEST_F(log_report, leaves_its_file_open_where_the_library_fails)
{
    EXPECT_TRUE(program.open_log(R"({"root": {"Name": "Main", "properties": {"fail": "0x80004005"}}})"));
    observed_files files;
    write_report();
    EXPECT_EQ(take_error_codes(), lines{"0x80004005"});
    EXPECT_EQ(files.calls.size(), 2u);
    EXPECT_TRUE(files.calls.back().starts_with("write ")) << files.calls.back();
}

TEST_F(log_report, raises_for_members_that_are_missing)
{
    for (const char* model :
         {R"({"root": {"Name": "M", "features": [null]}})", R"({"root": {"Name": "M", "features": null}})",
          R"({"types": null, "root": {"Name": "M"}})",
          R"({"types": ["A"], "root": {"Name": "M", "operations": {"A": null}}})"}) {
        // Some of them have no tree either; the log is open all the same.
        program.open_log(model);
        (void)take_error_codes();
        EXPECT_EQ(report().size(), 4u) << model;
        EXPECT_EQ(take_error_codes(), lines{"0x80004003"}) << model;
    }
}

TEST_F(log_report, of_a_log_that_could_not_be_read_raises)
{
    EXPECT_TRUE(program.open_log(R"({"root_error": "0x80004005"})"));
    EXPECT_EQ(report().size(), 4u);
    EXPECT_EQ(take_error_codes(), lines{"0x80004003"});
}

TEST_F(log_report, leaves_tree_and_list_alone)
{
    EXPECT_TRUE(program.open_log(worked_example));
    select_in_log("Main/Sub");
    const lines before = rows_of(frame());
    const auto selected = frame().Tree().GetSelectedItem();
    (void)report();
    EXPECT_EQ(rows_of(frame()), before);
    EXPECT_EQ(frame().Tree().GetSelectedItem(), selected);
}

} // namespace
} // namespace cw
