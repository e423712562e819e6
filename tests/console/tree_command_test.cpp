#include "tests/console/console_support.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>

namespace cw {
namespace {

using namespace console_tests;
using nlohmann::json;

constexpr const char* sample_model = R"({"media": {
    "Features": [{"Name": "Main", "SubFeatures": [{"Name": "Help"}]}, {"Name": "<Support>"}, {"Name": "Desktop"}],
    "Components": [{"Name": "Tools"}, {"Name": "Program"}, {"Name": "<Engine>"}]}})";

class tree_command : public console_test {
protected:
    /// The printed roots as JSON.
    json roots_of(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), "tree");
        arguments.push_back("--json");
        const outcome ran = run_program(arguments);
        EXPECT_EQ(ran.status, 0) << ran.error;
        EXPECT_TRUE(is_one_line(ran.out));
        return json::parse(ran.out);
    }
};

TEST_F(tree_command, prints_the_tree_that_the_window_would_show)
{
    const outcome ran = run_program({"tree", write(sample_model), "--view", "Features"});
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.out, "Features\n"
                       "  Main\n"
                       "    Help\n"
                       "  Desktop\n");
    EXPECT_EQ(ran.error, "");
}

TEST_F(tree_command, tells_a_reader_that_answers_nothing_from_one_that_is_not_there)
{
    const outcome ran = run_program({"tree", write(R"({"media": null})")});
    EXPECT_EQ(ran.status, 1);
    EXPECT_NE(ran.error.find("the reader gave neither a media nor an error"), std::string::npos) << ran.error;
}

TEST_F(tree_command, names_itself_and_no_other_program_in_errors)
{
    const outcome ran = run_program({"tree", write(R"({"media": {"Features": {"fail": "0x80004005"}}})")});
    EXPECT_EQ(ran.status, 1);
    EXPECT_TRUE(ran.error.starts_with("cwcab: ")) << ran.error;
    EXPECT_NE(ran.error.find(": 0x80004005"), std::string::npos) << ran.error;
    EXPECT_EQ(ran.error.find("cwcabview"), std::string::npos) << ran.error;
}

TEST_F(tree_command, wants_the_name_of_a_file)
{
    const outcome ran = run_program({"tree", ""});
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.error, "cwcab: the name of the file is empty\n");
}

TEST_F(tree_command, shows_all_subjects_unless_told_otherwise)
{
    const outcome ran = run_program({"tree", write(sample_model)});
    EXPECT_EQ(ran.status, 0);
    EXPECT_TRUE(ran.out.starts_with("Features\n"
                                    "  Main\n"
                                    "    Help\n"
                                    "  Desktop\n"
                                    "Components\n"
                                    "  Program\n"
                                    "    Files\n"
                                    "  Tools\n"
                                    "    Files\n"))
        << ran.out;
    EXPECT_EQ(run_program({"tree", write(sample_model), "--view", "All"}).out, ran.out);
}

TEST_F(tree_command, shows_internal_groups_to_experts)
{
    EXPECT_EQ(run_program({"tree", write(sample_model), "--expert", "--view", "Features"}).out,
              "Features\n  Main\n    Help\n  <Support>\n  Desktop\n");
    EXPECT_EQ(run_program({"tree", write(sample_model), "--expert", "--view", "Components"}).out,
              "Components\n  <Engine>\n    Files\n  Program\n    Files\n  Tools\n    Files\n");
}

TEST_F(tree_command, prints_nodes_as_json)
{
    const json roots = roots_of({write(sample_model), "--view", "Features"});
    EXPECT_EQ(roots, json::parse(R"([
        {"text": "Features", "kind": null, "images": [11, 11], "expanded": true, "children": [
            {"text": "Main", "kind": 0, "images": [1, 2], "expanded": false, "children": [
                {"text": "Help", "kind": 0, "images": [1, 2], "expanded": false, "children": []}]},
            {"text": "Desktop", "kind": 0, "images": [14, 14], "expanded": false, "children": []}]}])"));
}

TEST_F(tree_command, prints_roots_collapsed_in_the_view_of_all)
{
    for (const json& root : roots_of({write(sample_model)}))
        EXPECT_EQ(root["expanded"], false) << root["text"];
}

TEST_F(tree_command, takes_a_relative_path)
{
    write(sample_model, "media.hdr");
    const std::string directory = folder.path().native();
    EXPECT_EQ(run_program({"tree", "media.hdr", "--view", "Features"}, directory).status, 0);
    EXPECT_EQ(run_program({"tree", "./media.hdr", "--view", "Features"}, directory).status, 0);
}

TEST_F(tree_command, goes_through_links_as_the_system_does)
{
    std::filesystem::create_directories(folder.path() / "far/away");
    std::filesystem::create_directory_symlink(folder.path() / "far/away", folder.path() / "link");
    folder.write("far/media.hdr", sample_model);
    EXPECT_EQ(run_program({"tree", "link/../media.hdr"}, folder.path().native()).status, 0);
}

TEST_F(tree_command, tells_a_numbered_error_in_one_line)
{
    const std::string path = write(R"({"open_error": {"Number": 7, "Description": "no such volume",
                                       "SystemText": "file not found"}, "media": {}})");
    const outcome ran = run_program({"tree", path});
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out, "");
    EXPECT_EQ(ran.error, "cwcab: " + path +
                             ": Error 7 while attempting to open media. Error: no such volume (system "
                             "error 'file not found')\n");
    EXPECT_EQ(run_program({"tree", path, "--json"}).out, "");
}

TEST_F(tree_command, tells_a_file_that_is_not_there)
{
    const outcome ran = run_program({"tree", folder.file("absent.hdr")});
    EXPECT_EQ(ran.status, 1);
    EXPECT_TRUE(is_one_line(ran.error)) << ran.error;
    EXPECT_NE(ran.error.find("Error 2 while attempting to open media"), std::string::npos) << ran.error;
}

TEST_F(tree_command, tells_that_a_password_is_needed)
{
    const outcome ran = run_program({"tree", write(R"({"password": "p", "media": {}})")});
    EXPECT_EQ(ran.status, 1);
    EXPECT_NE(ran.error.find(": a password is needed to open it"), std::string::npos) << ran.error;
    EXPECT_EQ(ran.out, "");
}

TEST_F(tree_command, prints_as_far_as_it_came_and_tells_the_error)
{
    const std::string path = write(R"({"media": {"Features": [{"Name": "A"}, {"fail": "0x80004005"}]}})");
    const outcome ran = run_program({"tree", path});
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out, "Features\n  A\n");
    EXPECT_TRUE(is_one_line(ran.error)) << ran.error;
    EXPECT_NE(ran.error.find("0x80004005"), std::string::npos) << ran.error;
    EXPECT_EQ(json::parse(run_program({"tree", path, "--json"}).out)[0]["children"].size(), 1u);
}

TEST_F(tree_command, tells_an_error_that_only_another_view_meets)
{
    const std::string path = write(R"({"media": {"Features": [{"Name": "A"}, {"Name": "<Support>",
                                       "SubFeatures": {"fail": "0x80004005"}}]}})");
    EXPECT_EQ(run_program({"tree", path}).status, 0);
    const outcome ran = run_program({"tree", path, "--expert"});
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out, "Features\n  A\n  <Support>\n");
}

TEST_F(tree_command, tells_of_a_log_that_cannot_be_read)
{
    const std::string path = write("no log", "setup.clg");
    const outcome ran = run_program({"tree", path});
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out, "setup.clg\n");
    EXPECT_TRUE(is_one_line(ran.error)) << ran.error;
    const outcome printed = run_program({"tree", path, "--json"});
    EXPECT_EQ(printed.out, R"([{"text":"setup.clg","kind":null,"images":null,"expanded":false,"children":[]}])"
                           "\n");
    // Views mean nothing to a log.
    EXPECT_EQ(run_program({"tree", path, "--view", "Components", "--expert"}).out, "setup.clg\n");
}

TEST_F(tree_command, prints_a_log)
{
    const std::string path = write(R"({"types": ["OPTYPE_INI"], "root": {"Name": "Main", "features": [
        {"Name": "A", "operations": {"OPTYPE_INI": [[]]}}]}})",
                                   "setup.clg");
    EXPECT_EQ(run_program({"tree", path}).out, "setup.clg\n  Main\n    A\n      INI File Operations\n");
    const json printed = json::parse(run_program({"tree", path, "--json"}).out);
    EXPECT_EQ(printed[0]["kind"], nullptr);
    EXPECT_EQ(printed[0]["children"][0]["children"][0]["children"][0],
              json::parse(R"({"text": "INI File Operations", "kind": 13, "images": [3, 3], "expanded": false,
                              "children": []})"));
}

TEST_F(tree_command, tells_the_words_of_the_logs_reader)
{
    const outcome ran = run_program({"tree", write("no log", "setup.clg")}, {}, {}, real_program);
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out, "setup.clg\n");
    EXPECT_NE(ran.error.find("is not an installation log"), std::string::npos) << ran.error;
    EXPECT_TRUE(is_one_line(ran.error)) << ran.error;
}

TEST_F(tree_command, refuses_wrong_usage)
{
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"tree"},
                                                      {"tree", "a.hdr", "--view", "Everything"},
                                                      {"tree", "a.hdr", "--view", "features"},
                                                      {"tree", "a.hdr", "--view"},
                                                      {"tree", "a.hdr", "b.hdr"},
                                                      {"tree", "a.hdr", "--unknown"}}) {
        const outcome ran = run_program(arguments);
        EXPECT_EQ(ran.status, 2) << arguments.back();
        EXPECT_EQ(ran.out, "") << arguments.back();
        EXPECT_TRUE(is_one_line(ran.error)) << ran.error;
        EXPECT_TRUE(ran.error.starts_with("cwcab: ")) << ran.error;
    }
}

TEST_F(tree_command, prints_deep_trees)
{
    const auto model_of = [](int depth) {
        std::string model = R"({"media": {"Features": )";
        for (int level = 0; level < depth; ++level)
            model += R"([{"Name": "f", "SubFeatures": )";
        model += "[]";
        for (int level = 0; level < depth; ++level)
            model += "}]";
        return model + "}}";
    };
    const outcome as_json = run_program({"tree", write(model_of(50'000)), "--view", "Features", "--json"});
    EXPECT_EQ(as_json.status, 0) << as_json.error;
    EXPECT_EQ(std::ranges::count(as_json.out, '{'), 50'001);
    EXPECT_EQ(std::ranges::count(as_json.out, '}'), 50'001);
    EXPECT_TRUE(as_json.out.ends_with("]}]\n"));

    const outcome as_text = run_program({"tree", write(model_of(1'000)), "--view", "Features"});
    EXPECT_EQ(as_text.status, 0) << as_text.error;
    EXPECT_TRUE(as_text.out.ends_with("\n" + std::string(2'000, ' ') + "f\n"));
}

TEST_F(tree_command, keeps_names_from_steering_the_terminal)
{
    const std::string path = write(R"({"media": {"Features": [{"Name": "a\u001b[31mb\nc\u0000d\u009b\u202e"}]}})");
    const outcome as_text = run_program({"tree", path, "--view", "Features"});
    EXPECT_EQ(as_text.status, 0) << as_text.error;
    EXPECT_EQ(std::ranges::count(as_text.out, '\n'), 2);
    EXPECT_EQ(as_text.out.find('\x1b'), std::string::npos);
    EXPECT_NE(as_text.out.find("a\uFFFD[31mb\uFFFDc"), std::string::npos) << as_text.out;
    EXPECT_EQ(as_text.out.find("\u202e"), std::string::npos);

    const json roots = roots_of({path, "--view", "Features"});
    const auto name = roots[0]["children"][0]["text"].get<std::string>();
    EXPECT_TRUE(name.starts_with("a\x1b[31mb\nc")) << name;
}

TEST_F(tree_command, keeps_paths_from_steering_the_terminal)
{
    const outcome ran = run_program({"tree", folder.file("a\x1b[31m\nb.hdr")});
    EXPECT_EQ(ran.status, 1);
    EXPECT_TRUE(is_one_line(ran.error)) << ran.error;
    EXPECT_EQ(ran.error.find('\x1b'), std::string::npos);
}

TEST_F(tree_command, replaces_half_a_character)
{
    // A byte that is no text stands in the name as half a character.
    const std::string path = write("no log", "a\xff.clg");
    EXPECT_EQ(run_program({"tree", path}).out, "a\uFFFD.clg\n");
    EXPECT_EQ(json::parse(run_program({"tree", path, "--json"}).out)[0]["text"], "a\uFFFD.clg");
}

TEST_F(tree_command, tells_that_its_output_cannot_be_written)
{
    for (const char* form : {"--expert", "--json"}) {
        const outcome ran = run_program({"tree", write(sample_model), form}, {}, "/dev/full");
        EXPECT_EQ(ran.status, 1) << form;
        EXPECT_EQ(ran.error, "cwcab: standard output cannot be written\n") << form;
    }
}

} // namespace
} // namespace cw
