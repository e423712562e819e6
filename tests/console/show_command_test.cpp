#include "tests/console/console_support.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace cw {
namespace {

using namespace console_tests;
using nlohmann::json;

constexpr const char* sample_model = R"({"media": {
    "Features": [{"Name": "Main", "SubFeatures": [{"Name": "Help", "Description": "How to"}]}, {"Name": "<Support>"}],
    "Components": [{"Name": "Program", "Files": [{"Name": "a.txt", "Size": 5}, {"Name": "中文.txt", "Size": 100}]}],
    "RegistrySets": [{"Name": "Set", "UsersKeys": [{"Path": "Key", "Values": [{"Name": "One", "ValueType": 4,
        "Data": 7}]}]}],
    "MediaSettings": {"ProductName": "Tour"}}})";

class show_command : public console_test {
protected:
    outcome show(std::vector<std::string> options)
    {
        options.insert(options.begin(), {"show", write(sample_model)});
        return run_program(options);
    }
    json shown(std::vector<std::string> options)
    {
        options.push_back("--json");
        const outcome ran = show(options);
        EXPECT_EQ(ran.status, 0) << ran.error;
        EXPECT_TRUE(is_one_line(ran.out)) << ran.out;
        return json::parse(ran.out);
    }
};

TEST_F(show_command, prints_the_list_of_an_item)
{
    const outcome ran = show({"--at", "1/0/0"});
    EXPECT_EQ(ran.status, 0) << ran.error;
    EXPECT_EQ(ran.error, "");
    const std::string first = ran.out.substr(0, ran.out.find('\n'));
    EXPECT_EQ(first, "Filename  Size  Compressed Size  Date                    Version  MD5 Signature  Flags");
    EXPECT_NE(ran.out.find("\na.txt     5     0 "), std::string::npos) << ran.out;
    EXPECT_NE(ran.out.find("\n中文.txt  100   0 "), std::string::npos) << ran.out;
}

TEST_F(show_command, prints_the_list_of_a_log)
{
    const std::string path = write(R"({"types": ["OPTYPE_SHELL"], "root": {"Name": "Main", "features": [
        {"Name": "A", "operations": {"OPTYPE_SHELL": [["Programs", "Tour", true, false]]}}]}})",
                                   "setup.clg");
    const outcome ran = run_program({"show", path, "--at", "0/0/0/0", "--json"});
    EXPECT_EQ(ran.status, 0) << ran.error;
    const json list = json::parse(ran.out);
    EXPECT_EQ(list["columns"][0], json({{"label", "Folder Name"}, {"width", 400}}));
    EXPECT_EQ(list["rows"], json::parse(R"([{"cells": ["Programs", "Tour", "True", "False"], "image": null}])"));
}

TEST_F(show_command, json_is_an_object_of_columns_and_rows)
{
    EXPECT_EQ(shown({"--at", "4/0/3/0"}), json::parse(R"~({
        "columns": [{"label": "Name", "width": 120}, {"label": "Data", "width": 300}, {"label": "Uninstall", "width": 100}],
        "rows": [{"cells": ["(Default)", "", ""], "image": 21}, {"cells": ["One", "7", "No"], "image": 20}]
})~"));
}

TEST_F(show_command, chooses_view_and_expert_mode_first)
{
    EXPECT_EQ(shown({"--view", "Features", "--at", "0/0/0"})["rows"][1]["cells"],
              (json::array({"Description", "How to"})));
    EXPECT_EQ(shown({"--view", "Features", "--expert", "--at", "0/1"})["rows"][0]["cells"],
              (json::array({"Name", "<Support>"})));
    EXPECT_EQ(show({"--view", "Features", "--at", "0/1"}).status, 1);
}

TEST_F(show_command, without_a_place_prints_what_stands_in_the_list)
{
    // The media's settings are shown by the building of their root.
    EXPECT_EQ(shown({})["rows"][0]["cells"], (json::array({"Product Name", "Tour"})));
    EXPECT_EQ(shown({"--view", "Features"})["rows"], json::array());
}

TEST_F(show_command, of_a_root_is_an_empty_list)
{
    const outcome ran = show({"--at", "0"});
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.out, "Property  Value\n");
}

TEST_F(show_command, tells_of_a_place_that_is_not_there)
{
    const outcome ran = show({"--at", "0/5"});
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out, "");
    EXPECT_NE(ran.error.find("no item at 0/5"), std::string::npos) << ran.error;
    EXPECT_TRUE(is_one_line(ran.error));
}

TEST_F(show_command, refuses_a_place_that_is_none)
{
    for (const char* place : {"a", "0/", "-1", "0\\1", "1 "}) {
        const outcome ran = show({"--at", place});
        EXPECT_EQ(ran.status, 2) << place;
        EXPECT_EQ(ran.out, "");
        EXPECT_TRUE(is_one_line(ran.error)) << ran.error;
    }
}

TEST_F(show_command, prints_what_a_failing_presenter_left)
{
    const std::string file =
        write(R"({"media": {"Features": [{"Name": "Main", "StatusText": {"fail": "0x80070005"}}]}})");
    const outcome ran = run_program({"show", file, "--at", "0/0"});
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out, "Property     Value\nName         Main\nDescription\n");
    EXPECT_NE(ran.error.find("0x80070005"), std::string::npos) << ran.error;
}

TEST_F(show_command, tells_why_a_file_does_not_open)
{
    const outcome ran = run_program({"show", folder.file("missing.hdr"), "--at", "0"}, {}, {}, real_program);
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out, "");
    EXPECT_NE(ran.error.find("missing.hdr"), std::string::npos);
    EXPECT_TRUE(is_one_line(ran.error)) << ran.error;
}

TEST_F(show_command, takes_the_password_from_a_file)
{
    const std::string file = write(R"({"password": "secret", "media": {"Features": [{"Name": "Main"}]}})");
    EXPECT_EQ(run_program({"show", file}).status, 1);
    const outcome ran = run_program({"show", file, "--at", "0/0", "--password-file", folder.write("word", "secret\n")});
    EXPECT_EQ(ran.status, 0) << ran.error;
    EXPECT_NE(ran.out.find("Main"), std::string::npos);
}

} // namespace
} // namespace cw
