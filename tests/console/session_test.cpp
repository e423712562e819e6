#include "console/session.h"

#include "app/sort_order.h"
#include "bridges/activation.h"
#include "tests/support/frame_harness.h"
#include "tests/support/scripted_readers.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <sstream>

namespace cw::console {
namespace {

using namespace test_support;
using nlohmann::json;

constexpr const char* sample_model = R"({"media": {
    "Features": [{"Name": "Main", "SubFeatures": [{"Name": "Help"}]}, {"Name": "x<Support>"}],
    "Components": [{"Name": "Program", "Files": [
        {"Name": "b.txt", "Size": 9, "content": "hello"}, {"Name": "a.txt", "Size": 10, "content": {"fail": "0x80004005"}}]}],
    "RegistrySets": [{"Name": "Set", "UsersKeys": [{"Path": "Key"}]}],
    "MediaSettings": {"ProductName": "Tour"}}})";

/// A session over the fixture reader, line by line.
class session_lines : public testing::Test {
protected:
    session_lines()
    {
        libraries.add_fixture_media();
        current_sort_order() = {};
    }
    ~session_lines() override
    {
        forget_loaded_libraries();
        current_sort_order() = {};
    }
    platform::services made()
    {
        forget_loaded_libraries();
        platform::services set = platform::current();
        set.libraries = &libraries;
        set.user = &settings;
        return set;
    }
    /// What a line is answered with, as it stands.
    std::string answers(std::string_view line)
    {
        out.str("");
        driven.take(line);
        return out.str();
    }
    json ask(std::string_view line)
    {
        const std::string text = answers(line);
        EXPECT_EQ(text.find('\n'), text.size() - 1) << text;
        EXPECT_TRUE(text.starts_with("{\"ok\":")) << text;
        return json::parse(text);
    }
    void expect_ok(std::string_view line) { EXPECT_EQ(ask(line), json({{"ok", true}})) << line; }
    /// The error of a line that cannot be done.
    std::string refused(std::string_view line)
    {
        const json answer = ask(line);
        EXPECT_EQ(answer["ok"], false) << line;
        EXPECT_EQ(answer.size(), 2u);
        return answer["error"];
    }
    std::string write(std::string_view model = sample_model, std::string_view name = "media.hdr")
    {
        return folder.write(name, model);
    }
    void open(std::string_view model = sample_model)
    {
        EXPECT_EQ(ask("open " + write(model)), json({{"ok", true}, {"result", true}}));
    }
    std::string first_cells()
    {
        const json listed = ask("list");
        std::string joined;
        for (const json& row : listed["rows"])
            joined += row["cells"][0].get<std::string>() + " ";
        return joined;
    }

    temporary_folder folder;
    library_folder libraries{folder};
    platform::memory_user_settings settings;
    scripted_log_library log;
    platform::scoped_services in_use{made()};
    headless_application viewer;
    std::ostringstream out;
    session driven{viewer, out, session::form::json};
};

TEST_F(session_lines, blank_lines_and_remarks_have_no_answer)
{
    for (const char* line : {"", " ", "\t ", "# open /x", "#"})
        EXPECT_EQ(answers(line), "") << line;
    EXPECT_NE(answers(" # no remark"), "");
}

TEST_F(session_lines, unknown_commands_are_refused)
{
    EXPECT_EQ(refused("dance"), "no command \"dance\"");
    EXPECT_EQ(refused("Tree"), "no command \"Tree\"");
    EXPECT_EQ(refused("treee 1"), "no command \"treee\"");
    EXPECT_EQ(refused(std::string_view("tree\0x", 6)), "the line holds a zero");
    // Whatever the line holds, the answer is text.
    EXPECT_EQ(refused("\xFF\xFE"), "no command \"\uFFFD\uFFFD\"");
    EXPECT_EQ(refused("a\x1B\"b"), "no command \"a\x1B\"b\"");
}

TEST_F(session_lines, commands_have_what_they_take)
{
    for (const char* line : {"open", "select", "row", "header", "command", "enabled", "key", "answer", "open "})
        EXPECT_NE(refused(line).find("takes more"), std::string::npos) << line;
    for (const char* line : {"tree 1", "list all", "state now", "close it"})
        EXPECT_NE(refused(line).find("takes nothing"), std::string::npos) << line;
    EXPECT_FALSE(driven.is_closed());
    expect_ok("select   none  ");
}

TEST_F(session_lines, open_tells_what_the_open_returned)
{
    open();
    EXPECT_EQ(ask("state")["title"], folder.file("media.hdr"));
    const std::string failing =
        write(R"({"open_error": {"Number": 7, "Description": "no volume", "SystemText": "gone"}, "media": {}})",
              "failing.hdr");
    EXPECT_EQ(ask("open " + failing), json({{"ok", true}, {"result", false}}));
    const json state = ask("state");
    EXPECT_EQ(state["title"], failing);
    EXPECT_EQ(
        state["messages"],
        json::parse(R"~([{"text": "Error 7 while attempting to open media. Error: no volume (system error 'gone')",
                               "icon": "error"
}])~"));
    // A log opens always.
    EXPECT_EQ(ask("open " + folder.file("none.clg")), json({{"ok", true}, {"result", true}}));
}

TEST_F(session_lines, open_takes_the_rest_of_the_line)
{
    EXPECT_EQ(ask("open " + write(sample_model, "two words .hdr"))["result"], true);
    EXPECT_EQ(ask("state")["title"], folder.file("two words .hdr"));
}

TEST_F(session_lines, open_makes_relative_paths_absolute)
{
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    write();
    EXPECT_EQ(ask("open media.hdr")["result"], true);
    EXPECT_EQ(ask("state")["title"], (std::filesystem::current_path() / "media.hdr").string());
    // A backslash path is none of this system's.
    ask("open C:\\logs\\setup.clg");
    EXPECT_EQ(ask("state")["title"], "C:\\logs\\setup.clg");
    EXPECT_EQ(ask("tree")["tree"][0]["text"], "setup.clg");
    ask("open logs\\a.clg");
    EXPECT_EQ(ask("state")["title"], "logs\\a.clg");
    EXPECT_EQ(ask("tree")["tree"][0]["text"], "a.clg");
    // A slash in front makes it a path of this system, whatever follows.
    ask("open /var/logs\\a.clg");
    EXPECT_EQ(ask("tree")["tree"][0]["text"], "logs\\a.clg");
    ask("open \\\\server\\share\\a.clg");
    EXPECT_EQ(ask("state")["title"], "\\\\server\\share\\a.clg");
    std::filesystem::current_path(before);
}

TEST_F(session_lines, tree_is_the_array_of_roots)
{
    EXPECT_EQ(ask("tree"), json({{"ok", true}, {"tree", json::array()}}));
    open();
    expect_ok("command 32772");
    EXPECT_EQ(ask("tree"), json::parse(R"({"ok": true, "tree": [{"text": "Features", "kind": null, "images": [11, 11],
        "expanded": true, "children": [{"text": "Main", "kind": 0, "images": [1, 2], "expanded": false, "children": [
        {"text": "Help", "kind": 0, "images": [1, 2], "expanded": false, "children": []}]}]}]})"));
}

TEST_F(session_lines, select_sends_its_notification)
{
    open();
    expect_ok("select 1/0/0");
    EXPECT_EQ(first_cells(), "b.txt a.txt ");
    json state = ask("state");
    EXPECT_EQ(state["selection"], "1/0/0");
    // It neither expands the ancestors nor moves the focus.
    EXPECT_EQ(state["focus"], "tree");
    EXPECT_EQ(ask("tree")["tree"][1]["expanded"], false);
    expect_ok("select none");
    EXPECT_EQ(first_cells(), "");
    EXPECT_EQ(ask("state")["selection"], nullptr);
    EXPECT_EQ(refused("select 9"), "no item at 9");
    EXPECT_EQ(refused("select 0/0/0/0"), "no item at 0/0/0/0");
    EXPECT_NE(refused("select 0/x").find("no path"), std::string::npos);
    EXPECT_NE(refused("select None").find("no path"), std::string::npos);
}

TEST_F(session_lines, list_holds_columns_rows_and_the_selected_row)
{
    EXPECT_EQ(ask("list"), json::parse(R"({"ok": true, "columns": [{"label": "Property", "width": 150},
        {"label": "Value", "width": 400}], "rows": [], "row": null})"));
    open();
    expect_ok("select 4/0/3/0");
    expect_ok("row 0");
    EXPECT_EQ(ask("list"), json::parse(R"~({"ok": true, "columns": [{"label": "Name", "width": 120},
        {"label": "Data", "width": 300}, {"label": "Uninstall", "width": 100}],
        "rows": [{"cells": ["(Default)", "", ""], "image": 21
}], "row": 0
})~"));
}

TEST_F(session_lines, row_selects_one_or_none)
{
    open();
    expect_ok("select 1/0/0");
    expect_ok("row 1");
    EXPECT_EQ(ask("state")["row"], 1);
    EXPECT_EQ(refused("row 2"), "no row 2");
    EXPECT_EQ(refused("row -1"), "\"-1\" is no number");
    EXPECT_EQ(refused("row 1x"), "\"1x\" is no number");
    EXPECT_EQ(ask("state")["row"], 1);
    expect_ok("row none");
    EXPECT_EQ(ask("state")["row"], nullptr);
    EXPECT_EQ(ask("state")["focus"], "tree");
}

TEST_F(session_lines, header_sorts_and_the_selected_row_stays_the_same_record)
{
    open();
    expect_ok("select 1/0/0");
    expect_ok("row 0");
    expect_ok("header 0");
    EXPECT_EQ(first_cells(), "a.txt b.txt ");
    EXPECT_EQ(ask("list")["row"], 1);
    expect_ok("header 0");
    EXPECT_EQ(first_cells(), "b.txt a.txt ");
    EXPECT_EQ(refused("header 7"), "no column 7");
    EXPECT_EQ(refused("header a"), "\"a\" is no number");
}

TEST_F(session_lines, commands_run_where_they_are_enabled)
{
    EXPECT_EQ(refused("command 32772"), "disabled");
    EXPECT_EQ(refused("command 1"), "disabled");
    EXPECT_EQ(refused("command"), "\"command\" takes more");
    EXPECT_EQ(refused("command x"), "\"x\" is no number");
    EXPECT_EQ(refused("command 99999999999"), "\"99999999999\" is no number");
    open();
    expect_ok("command 0x8004");
    EXPECT_EQ(ask("tree")["tree"].size(), 1u);
    // A recent file's place that is empty: the handler raises nothing that is caught.
    EXPECT_EQ(refused("command 32779"), "disabled");
}

TEST_F(session_lines, enabled_tells_state_and_check_mark)
{
    EXPECT_EQ(ask("enabled 32801"), json({{"ok", true}, {"enabled", false}, {"checked", true}}));
    EXPECT_EQ(ask("enabled 32778"), json({{"ok", true}, {"enabled", false}, {"checked", nullptr}}));
    EXPECT_EQ(ask("enabled 1"), json({{"ok", true}, {"enabled", false}, {"checked", nullptr}}));
    open();
    EXPECT_EQ(ask("enabled 32778"), json({{"ok", true}, {"enabled", true}, {"checked", false}}));
    EXPECT_EQ(ask("enabled 32803"), json({{"ok", true}, {"enabled", true}, {"checked", nullptr}}));
    EXPECT_EQ(ask("enabled 32773"), json({{"ok", true}, {"enabled", true}, {"checked", false}}));
}

TEST_F(session_lines, keys_go_through_filter_and_accelerators)
{
    expect_ok("key 79 ctrl");
    EXPECT_EQ(ask("state")["questions"].size(), 1u);
    expect_ok("key 0x6F ctrl");
    EXPECT_EQ(ask("state")["questions"].size(), 1u);
    expect_ok("key 79");
    EXPECT_EQ(ask("state")["questions"].size(), 0u);
    EXPECT_NE(refused("key 79 shift").find("only ctrl"), std::string::npos);
    EXPECT_NE(refused("key O").find("no number"), std::string::npos);

    // A key that stands in both runs its command twice.
    expect_ok("key 83 ctrl");
    EXPECT_EQ(ask("state")["questions"].size(), 2u);
}

TEST_F(session_lines, searches_a_log)
{
    libraries.add_fixture_logs();
    const std::string file =
        write(R"({"root": {"Name": "Main", "properties": [["A", "word"], ["B", "x"], ["C", "WORD"]],
                                               "features": [{"Name": "Words"}]}})",
              "a.clg");
    ask("open " + file);
    EXPECT_EQ(ask("command 32785"), json({{"ok", false}, {"error", "disabled"}}));
    expect_ok("answer find Word");
    expect_ok("command 32784");
    json state = ask("state");
    EXPECT_EQ(state["selection"], "0/0");
    EXPECT_EQ(state["row"], 0);
    EXPECT_EQ(state["focus"], "list");
    EXPECT_EQ(state["questions"], json::array({{{"kind", "find"}, {"name", ""}, {"filter", ""}}}));
    // Filter and accelerator both take the key.
    expect_ok("key 0x72");
    state = ask("state");
    EXPECT_EQ(state["selection"], "0/0/0");
    EXPECT_EQ(state["row"], nullptr);
    EXPECT_EQ(state["focus"], "tree");
    EXPECT_EQ(state["messages"], json::array());
    expect_ok("command 32785");
    state = ask("state");
    EXPECT_EQ(state["messages"], json::array({{{"text", "Search item not found"}, {"icon", "none"}}}));
}

TEST_F(session_lines, answers_wait_for_questions_of_their_kind)
{
    const std::string file = write();
    expect_ok("answer open " + file);
    expect_ok("command 57601");
    json state = ask("state");
    EXPECT_EQ(state["title"], file);
    EXPECT_EQ(state["questions"], json::parse(R"~([{"kind": "open", "name": "", "filter":
        "All Supported Types|*.hdr; *.cab; *.clg|Cratewright Header Files (*.hdr)|*.hdr|Cratewright CAB Files (*.cab)|*.cab|Cratewright Log Files (*.clg)|*.clg||"}])~"));
    // A question without a reply is cancelled.
    expect_ok("command 57601");
    EXPECT_EQ(ask("state")["title"], file);

    expect_ok("select 1/0/0");
    expect_ok("row 0");
    expect_ok("answer save cancel");
    expect_ok("answer save " + folder.file("out file"));
    expect_ok("command 32779");
    EXPECT_FALSE(std::filesystem::exists(folder.file("out file")));
    expect_ok("command 32779");
    EXPECT_EQ(folder.read("out file"), "hello");
    EXPECT_EQ(ask("state")["questions"], json::parse(R"([{"kind": "save", "name": "b.txt", "filter": ""},
                                                         {"kind": "save", "name": "b.txt", "filter": ""}])"));
}

TEST_F(session_lines, passwords_are_answers_too)
{
    const std::string file = write(R"({"password": "two words", "media": {}})");
    EXPECT_EQ(ask("open " + file)["result"], false);
    EXPECT_EQ(ask("state")["questions"], json::parse(R"([{"kind": "password", "name": "", "filter": ""}])"));
    expect_ok("answer password wrong");
    expect_ok("answer password two words");
    EXPECT_EQ(ask("open " + file)["result"], true);
    EXPECT_EQ(ask("state")["questions"].size(), 2u);
}

TEST_F(session_lines, an_equals_sign_marks_a_text)
{
    for (const auto& [line, text] :
         std::initializer_list<std::pair<const char*, const char16_t*>>{{"answer find =cancel", u"cancel"},
                                                                        {"answer find ==", u"="},
                                                                        {"answer find = blank", u" blank"},
                                                                        {"answer find plain text ", u"plain text "},
                                                                        {"answer find =", u""},
                                                                        {"answer find", u""},
                                                                        {"answer find cancel it", u"cancel it"},
                                                                        {"answer find Grüße", u"Grüße"}}) {
        expect_ok(line);
        EXPECT_EQ(viewer.person().ask_find_text({}), text) << line;
    }
    expect_ok("answer find cancel");
    EXPECT_EQ(viewer.person().ask_find_text({}), std::nullopt);
    EXPECT_EQ(refused("answer colour red"), "\"colour\" is no kind of question");
    EXPECT_EQ(refused("answer Open x"), "\"Open\" is no kind of question");
    EXPECT_EQ(refused("answer find \xFF"), "the text is not UTF-8");
    expect_ok("answer save /tmp/\xFF");
    EXPECT_EQ(viewer.person().choose_file_to_save({})->file_name, std::u16string(1, char16_t{0xDCFF}));
}

TEST_F(session_lines, a_reply_that_is_a_relative_path_is_made_absolute)
{
    expect_ok("answer save below/report.txt");
    const auto reply = viewer.person().choose_file_to_save({});
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->path, std::filesystem::absolute("below/report.txt").u16string());
    expect_ok("answer open C:\\media.hdr");
    EXPECT_EQ(viewer.person().choose_file_to_open({}), u"C:\\media.hdr");
    EXPECT_EQ(refused("answer save"), "the name of the file is empty");
}

TEST_F(session_lines, reports_and_saves)
{
    files_of_test temporary{folder};
    platform::services set = platform::current();
    set.files = &temporary;
    const platform::scoped_services with_temporary_files(set);

    expect_ok("command 57603"); // asks also with nothing open
    EXPECT_EQ(refused("command 32780"), "disabled");
    open(R"({"media": {"Report": {"FirstPart": "a", "SecondPart": "b"}}})");
    expect_ok("command 32780");
    json state = ask("state");
    ASSERT_EQ(state["opened"].size(), 1u);
    const std::string path = state["opened"][0];
    EXPECT_TRUE(path.starts_with(folder.file("temp/_cw"))) << path;
    EXPECT_TRUE(path.ends_with(".txt")) << path;
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(state["questions"], json::parse(R"([{"kind": "save", "name": "LogReport",
                                                   "filter": "Text Files (*.txt)|*.txt||"}])"));
    // The key asks twice; each time the media's report is opened as well.
    expect_ok("answer save " + folder.file("one.txt"));
    expect_ok("answer save " + folder.file("two.txt"));
    expect_ok("key 83 ctrl");
    state = ask("state");
    EXPECT_EQ(state["questions"].size(), 2u);
    EXPECT_EQ(state["opened"], json({folder.file("one.txt"), folder.file("two.txt")}));
    EXPECT_EQ(folder.read("two.txt"), std::string("\xFF\xFE\x61\0\x62\0", 6));
    expect_ok("close");
    EXPECT_FALSE(std::filesystem::exists(folder.file("two.txt")));
    EXPECT_TRUE(std::filesystem::exists(folder.file("one.txt")));
}

TEST_F(session_lines, state_tells_everything_in_its_order)
{
    EXPECT_EQ(answers("state"),
              "{\"ok\":true,\"title\":\"Cratewright Cabinet and Log File Viewer\",\"status\":\"\",\"focus\":null,"
              "\"selection\":null,\"row\":null,\"list_images\":null,\"clipboard\":null,\"messages\":[],\"opened\":[],"
              "\"questions\":[],\"recent\":[]}\n");
    open();
    const std::string file = folder.file("media.hdr");
    expect_ok("select 4/0/3/0");
    expect_ok("row 0");
    expect_ok("command 32803");
    EXPECT_EQ(ask("state"), json({{"ok", true},
                                  {"title", file},
                                  {"status", "Opened media: " + file},
                                  {"focus", "tree"},
                                  {"selection", "4/0/3/0"},
                                  {"row", 0},
                                  {"list_images", "tree"},
                                  {"clipboard", "(Default)\t\t"},
                                  {"messages", json::array()},
                                  {"opened", json::array()},
                                  {"questions", json::array()},
                                  {"recent", json::array({{{"path", file}, {"display", file}}})}}));
    expect_ok("select 0/0");
    EXPECT_EQ(ask("state")["list_images"], "spacer");
    viewer.frame().FocusMoved(&viewer.frame().List());
    EXPECT_EQ(ask("state")["focus"], "list");
}

TEST_F(session_lines, state_holds_what_came_since_the_last)
{
    open();
    expect_ok("select 1/0/0");
    expect_ok("row 1");
    expect_ok("answer save " + folder.file("out"));
    expect_ok("command 32779");
    viewer.person().open_with_desktop(u"/tmp/report.txt");
    const json state = ask("state");
    EXPECT_EQ(state["messages"], json::parse(R"([{"icon": "none", "text":
        "An error occurred extracting the file. Please verify all setup cab files are present in the source folder."}])"));
    EXPECT_EQ(state["opened"], json::parse(R"(["/tmp/report.txt"])"));
    EXPECT_EQ(state["questions"].size(), 1u);
    const json next = ask("state");
    for (const char* field : {"messages", "opened", "questions"})
        EXPECT_EQ(next[field], json::array()) << field;
}

TEST_F(session_lines, recent_files_stand_most_recent_first)
{
    const std::string first = write(sample_model, "first.hdr");
    const std::string second = write(sample_model, "second.hdr");
    ask("open " + first);
    ask("open " + second);
    const json recent = ask("state")["recent"];
    ASSERT_EQ(recent.size(), 2u);
    EXPECT_EQ(recent[0]["path"], second);
    EXPECT_EQ(recent[1]["path"], first);
    expect_ok("command 57617");
    EXPECT_EQ(ask("state")["title"], first);
    EXPECT_EQ(ask("state")["recent"][0]["path"], first);
}

TEST_F(session_lines, recent_files_are_displayed_as_the_menu_shows_them)
{
    std::filesystem::create_directory(folder.path() / std::string(90, 'd'));
    const std::string path = write(sample_model, std::string(90, 'd') + "/tour.hdr");
    ask("open " + path);
    const json recent = ask("state")["recent"];
    ASSERT_EQ(recent.size(), 1u);
    EXPECT_EQ(recent[0]["path"], path);
    EXPECT_EQ(recent[0]["display"], path.substr(0, 79 - std::string(".../tour.hdr").size()) + ".../tour.hdr");
}

TEST_F(session_lines, errors_that_nothing_catches_are_told)
{
    EXPECT_EQ(
        ask("open " + write(R"({"media": {"Features": [{"Name": "A"}], "Components": {"fail": "0x80070005"}}})"))["ok"],
        false);
    EXPECT_TRUE(refused("command 32773").starts_with("unhandled: 0x80070005"));
    // What was done so far stands, and the session goes on.
    EXPECT_EQ(ask("tree")["tree"][0]["text"], "Components");
    expect_ok("command 32772");
    EXPECT_EQ(ask("tree")["tree"][0]["children"][0]["text"], "A");

    open(R"({"media": {"Features": [{"Name": "A", "StatusText": {"fail": "0x80004005"}}]}})");
    EXPECT_TRUE(refused("select 0/0").starts_with("unhandled: 0x80004005"));
    EXPECT_EQ(first_cells(), "Name Description ");
    EXPECT_EQ(ask("state")["selection"], "0/0");
}

TEST_F(session_lines, close_ends_it)
{
    expect_ok("close");
    EXPECT_TRUE(driven.is_closed());
    EXPECT_FALSE(viewer.frame().HasWindow());
}

TEST_F(session_lines, exit_closes_the_window_and_the_session_goes_on)
{
    open();
    expect_ok("command 57665");
    EXPECT_FALSE(viewer.frame().HasWindow());
    EXPECT_FALSE(driven.is_closed());
    EXPECT_EQ(ask("state")["title"], folder.file("media.hdr"));
    EXPECT_EQ(ask("tree")["tree"].size(), 6u);
    expect_ok("command 57665");
    expect_ok("close");
    EXPECT_TRUE(driven.is_closed());
}

TEST_F(session_lines, a_log_opens_without_a_tree_of_its_own_features)
{
    libraries.add("LogKit.dll", &scripted_log_library::entry_point);
    EXPECT_EQ(ask("open /logs/setup.clg")["result"], true);
    EXPECT_EQ(ask("tree")["tree"][0]["text"], "setup.clg");
    EXPECT_EQ(ask("enabled 32772")["enabled"], false);
    EXPECT_EQ(ask("enabled 32803")["enabled"], true);
}

TEST_F(session_lines, a_log_is_driven_as_a_media_is)
{
    libraries.add_fixture_logs();
    const std::string path = write(R"({"types": ["OPTYPE_FILE", "OPTYPE_REGISTRY64", "MY_TYPE"],
        "root": {"Name": "Main", "properties": [["State", 2], ["Titles", {"array": ["Vendor"]}],
                                                ["Values", {"array": ["Me"]}]],
            "features": [{"Name": "Desktop", "operations": {
                "OPTYPE_FILE": [["b", "1", true, false, false, false], ["a", "2", false, true, false, true]],
                "OPTYPE_REGISTRY64": [["k", 7, "", 1, true, false, false, 256]], "MY_TYPE": [["x"]],
                "OPTYPE_GENERAL": [["op", {"vt": "VT_BSTR", "value": null}], {"fail": "0x80004005"}]}}]}})",
                                   "setup.clg");
    EXPECT_EQ(ask("open " + path), json({{"ok", true}, {"result", true}}));
    EXPECT_EQ(answers("tree"),
              R"~({"ok":true,"tree":[{"text":"setup.clg","kind":null,"images":null,"expanded":false,"children":[)~"
              R"~({"text":"Main","kind":9,"images":[1,2],"expanded":false,"children":[)~"
              R"~({"text":"Desktop","kind":9,"images":[14,14],"expanded":false,"children":[)~"
              R"~({"text":"File Operations","kind":10,"images":[3,3],"expanded":false,"children":[]},)~"
              R"~({"text":"Registry Operations","kind":12,"images":[1,2],"expanded":false,"children":[]},)~"
              R"~({"text":"MY_TYPE","kind":15,"images":[0,0],"expanded":false,"children":[]}]}]}]}]})~"
              "\n");
    expect_ok("select 0/0");
    EXPECT_EQ(answers("list"),
              R"~({"ok":true,"columns":[{"label":"Property","width":150},{"label":"Value","width":400}],)~"
              R"~("rows":[{"cells":["Vendor","Me"],"image":null},)~"
              R"~({"cells":["State","Installed"],"image":null}],"row":null})~"
              "\n");
    expect_ok("select 0/0/0/0");
    EXPECT_EQ(first_cells(), "b a ");
    expect_ok("header 0");
    EXPECT_EQ(first_cells(), "a b ");
    expect_ok("row 0");
    EXPECT_EQ(ask("enabled 32803")["enabled"], true);
    expect_ok("command 32803");
    const json state = ask("state");
    EXPECT_EQ(state["clipboard"], "a\t2\tFalse\tTrue\t-\t-\tTrue");
    EXPECT_EQ(state["selection"], "0/0/0/0");
    EXPECT_EQ(state["list_images"], "spacer");
    EXPECT_EQ(state["status"], "");
    EXPECT_EQ(state["recent"][0]["path"], path);
    EXPECT_EQ(ask("enabled 32772")["enabled"], false);
    expect_ok("select 0/0/0/1");
    EXPECT_EQ(ask("list")["rows"][0]["cells"],
              json({"k", "7", "", "HKEY_CURRENT_USER", "True", "", "False", "False", "256"}));
    // What was done before the error still stands.
    EXPECT_TRUE(refused("select 0/0/0/2").starts_with("unhandled: 0x80004005"));
    EXPECT_EQ(ask("list")["rows"], json::parse(R"([{"cells": ["op", ""], "image": null}])"));
    EXPECT_EQ(ask("state")["selection"], "0/0/0/2");
}

TEST_F(session_lines, a_log_whose_tree_fails_half_way_keeps_that_half)
{
    libraries.add_fixture_logs();
    const std::string path = write(
        R"({"root": {"Name": "Main", "features": [{"Name": "A"}, {"Name": {"fail": "0x8007000E"}}]}})", "setup.clg");
    EXPECT_TRUE(refused("open " + path).starts_with("unhandled: 0x8007000E"));
    const json tree = ask("tree")["tree"];
    EXPECT_EQ(tree[0]["children"][0]["children"].size(), 1u);
    EXPECT_EQ(tree[0]["children"][0]["children"][0]["text"], "A");
}

/// The same in words.
class session_words : public session_lines {
protected:
    std::string say(std::string_view line)
    {
        out.str("");
        words.take(line);
        return out.str();
    }
    session words{viewer, out, session::form::text};
};

TEST_F(session_words, are_for_people)
{
    EXPECT_EQ(say("open " + write()), "result: true\n");
    EXPECT_EQ(say("command 32772"), "ok\n");
    EXPECT_EQ(say("tree"), "Features\n  Main\n    Help\n");
    EXPECT_EQ(say("list"), "Property  Value\n");
    EXPECT_EQ(say("enabled 32772"), "enabled: true\nchecked: true\n");
    EXPECT_EQ(say("select 4"), "error: no item at 4\n");
    EXPECT_EQ(say("dance \x1B"), "error: no command \"dance\"\n");
    EXPECT_EQ(say("\x1B[2J"), "error: no command \"\uFFFD[2J\"\n");
    EXPECT_EQ(say("# remark"), "");
    const std::string state = say("state");
    EXPECT_NE(state.find("\nfocus: tree\nselection: null\n"), std::string::npos) << state;
}

} // namespace
} // namespace cw::console
