// The search against a literal one: random logs, random commands, and after each of them both viewers
// must show the same.
#include "app/menus.h"
#include "app/sort_order.h"
#include "platform/utf8.h"
#include "tests/search/literal_search.h"
#include "tests/search/random_logs.h"
#include "tests/support/frame_harness.h"
#include "tests/support/frame_pictures.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>

namespace cw {
namespace {

using namespace test_support;
using nlohmann::json;

// ---- the literal search itself ------------------------------------------------------------------

constexpr std::u16string_view log_name = u"log.clg";
constexpr const char* not_found_text = "Search item not found";

/// A literal viewer with a log, asked for where it stands.
class literal_viewer {
public:
    explicit literal_viewer(std::string_view model) : m_model(json::parse(model)) { m_viewer.open(m_model, log_name); }

    std::string find(std::u16string_view text)
    {
        m_viewer.find(std::u16string(text));
        return place();
    }
    std::string next()
    {
        m_viewer.find_next();
        return place();
    }
    literal_search& viewer() { return m_viewer; }
    /// "0/0 row 1 list", and the message or the failure of the last command.
    std::string place() const
    {
        const viewer_picture seen = m_viewer.picture();
        std::string text = seen.selection.value_or("none");
        if (seen.row)
            text += " row " + std::to_string(*seen.row);
        if (!seen.focus.empty())
            text += ' ' + seen.focus;
        for (const std::u16string& message : seen.messages)
            text += " - " + platform::to_utf8(message);
        return seen.failed ? text + " failed" : text;
    }

private:
    json m_model;
    literal_search m_viewer;
};

TEST(literal_search_cases, tree_has_groups_before_features_and_none_for_the_main_feature)
{
    literal_viewer log(R"({"types": ["OPTYPE_REGISTRY64", "OPTYPE_REGISTRY", "OPTYPE_GENERAL", "X", "OPTYPE_FILE"],
        "root": {"ID": "M", "operations": {"OPTYPE_FILE": [[]]}, "features": [
            {"Name": "A", "features": [{"Name": "A1"}], "operations": {
                "OPTYPE_GENERAL": [[]], "X": [[]], "OPTYPE_REGISTRY": [[]], "OPTYPE_REGISTRY64": [[]]}},
            {"ID": "B"}]}})");
    EXPECT_EQ(log.viewer().tree(), "log.clg\n"
                                   "  M\n"
                                   "    A\n"
                                   "      Registry Operations\n"
                                   "      Registry Operations\n"
                                   "      OPTYPE_GENERAL\n"
                                   "      X\n"
                                   "      A1\n"
                                   "    \n");
}

TEST(literal_search_cases, false_is_the_first_record_with_a_zero_flag)
{
    literal_viewer log(R"({"types": ["OPTYPE_FILE"], "root": {"Name": "M", "properties": [["p", "q"]], "features": [
        {"Name": "S", "properties": [["p", "q"]], "operations": {"OPTYPE_FILE": [
            ["a", "b", true, true, true, true], ["c", "d", true, true, true, 65536]]}}]}})");
    EXPECT_EQ(log.find(u"false"), "0/0/0/0 row 1 list");
    EXPECT_EQ(log.next(), "0/0/0/0 row 1 list - Search item not found");
}

TEST(literal_search_cases, the_state_of_a_feature_matches_whole_alone)
{
    constexpr const char* model = R"({"root": {"Name": "M", "properties": [["p", "q"]], "features": [
        {"Name": "S"}, {"Name": "T", "properties": [["p", 65538]]}]}})";
    literal_viewer log(model);
    EXPECT_EQ(log.find(u"NOT INSTALLED"), "0/0/0 row 0 list");
    EXPECT_EQ(log.find(u"not inst"), std::string("0/0 list - ") + not_found_text);
    EXPECT_EQ(log.find(u"Installed"), "0/0/1 row 0 list");
    literal_viewer other(model);
    EXPECT_EQ(other.find(u"not inst"), std::string("0/0 - ") + not_found_text);
    // The number itself is a text too, which the list does not show.
    EXPECT_EQ(other.find(u"65538"), "0/0/1 tree");
}

TEST(literal_search_cases, from_the_top_item_nothing_is_found)
{
    literal_viewer log(R"({"root": {"Name": "M", "features": [{"Name": "Word"}]}})");
    EXPECT_EQ(log.find(u"word"), "0/0/0 tree");
    log.viewer().select({{0}});
    EXPECT_EQ(log.next(), std::string("0 tree - ") + not_found_text);
    log.viewer().select({});
    EXPECT_EQ(log.next(), "0/0/0 tree");
}

TEST(literal_search_cases, a_label_then_its_list_then_what_is_below)
{
    literal_viewer log(R"({"root": {"Name": "M", "properties": [["word", "1"], ["x", "WORD"], ["y", "z"]], "features": [
        {"Name": "A Word", "properties": [["word", "1"]], "features": [{"Name": "word"}]}]}})");
    EXPECT_EQ(log.find(u"Word"), "0/0 row 0 list");
    EXPECT_EQ(log.next(), "0/0 row 1 list");
    EXPECT_EQ(log.next(), "0/0/0 tree");
    EXPECT_EQ(log.next(), "0/0/0 row 0 list");
    EXPECT_EQ(log.next(), "0/0/0/0 tree");
    EXPECT_EQ(log.next(), std::string("0/0/0/0 tree - ") + not_found_text);
    // The dialog starts over at the main feature, whose row is no longer selected.
    EXPECT_EQ(log.find(u"word"), "0/0 row 0 list");
    EXPECT_EQ(log.find(u"word"), "0/0 row 1 list");
    log.viewer().find(std::nullopt);
    EXPECT_EQ(log.place(), "0/0 row 1 list");
    EXPECT_EQ(log.find(u""), "0/0 row 1 list");
    EXPECT_EQ(log.next(), "0/0 row 1 list");
}

TEST(literal_search_cases, groups_have_the_properties_of_their_feature)
{
    literal_viewer log(R"({"types": ["OPTYPE_FILE", "OPTYPE_INI"], "root": {"Name": "M", "features": [
        {"Name": "S", "properties": [["p", "word"]], "operations": {
            "OPTYPE_FILE": [["x", "y", 1, 1, 1, 1]], "OPTYPE_INI": [["x", "word"]]}}]}})");
    EXPECT_EQ(log.find(u"word"), "0/0/0 row 0 list");
    EXPECT_EQ(log.next(), "0/0/0/0 tree");
    EXPECT_EQ(log.next(), "0/0/0/1 row 0 list");
}

TEST(literal_search_cases, general_records_select_their_node_or_nothing)
{
    literal_viewer log(R"({"types": ["OPTYPE_GENERAL"], "root": {"Name": "M", "features": [
        {"Name": "S", "operations": {"OPTYPE_GENERAL": [["x", "y"], ["Reboot", "1"]]}}]}})");
    EXPECT_EQ(log.find(u"reboot"), "0/0/0/0 row 1 list");
    // The node's own list is the one that it came from: the search does not move on.
    literal_viewer unlisted(R"({"types": ["X"], "root": {"Name": "M", "properties": [["reboot", "1"]], "features": [
        {"Name": "S", "operations": {"OPTYPE_GENERAL": [["Reboot", "1"]], "X": [[]]}}, {"Name": "Reboot"}]}})");
    EXPECT_EQ(unlisted.find(u"reboot"), "0/0 row 0 list");
    EXPECT_EQ(unlisted.next(), "0/0 row 0 list");
    EXPECT_EQ(unlisted.next(), "0/0 row 0 list");
}

TEST(literal_search_cases, self_registrations_are_searched_as_registry_records)
{
    literal_viewer log(R"({"types": ["OPTYPE_FILEREG"], "root": {"Name": "M", "features": [
        {"Name": "S", "operations": {"OPTYPE_FILEREG": [["own", "word", 1]],
                                     "OPTYPE_REGISTRY": [["key", "name", "", 2, 1, 1, 1]]}}]}})");
    EXPECT_EQ(log.find(u"key"), "0/0/0/0 tree");
    EXPECT_EQ(log.find(u"own"), std::string("0/0 tree - ") + not_found_text);
    EXPECT_EQ(log.find(u"HKEY_LOCAL_MACHINE"), std::string("0/0 tree - ") + not_found_text);
}

TEST(literal_search_cases, a_failure_leaves_what_was_selected)
{
    literal_viewer log(R"({"root": {"Name": "M", "properties": [["t", {"array": ["a"]}], ["v", {"array": ["b", "c"]}]],
        "features": [{"Name": "S", "properties": {"fail": "0x80004005"}}, {"Name": "word"}]}})");
    // The main feature's list fails behind its first row, before anything is searched.
    EXPECT_EQ(log.find(u"word"), "0/0 failed");
    EXPECT_EQ(log.viewer().picture().rows.size(), 1u);
    EXPECT_EQ(log.next(), "0/0 failed");
    log.viewer().select({{0, 0, 0}});
    EXPECT_EQ(log.place(), "0/0/0 failed");
    EXPECT_EQ(log.next(), "0/0/1 tree");
}

// ---- both viewers -------------------------------------------------------------------------------

viewer_picture picture_of(frame_harness& program)
{
    CMainFrame& frame = program.frame();
    const CTreeCtrl& tree = frame.Tree();
    const CListCtrl& list = frame.List();
    viewer_picture seen;
    seen.focus = frame.GetFocus() == &tree ? "tree" : frame.GetFocus() == &list ? "list" : "";
    for (HTREEITEM item = tree.GetSelectedItem(); item; item = tree.GetParentItem(item))
        seen.selection = std::to_string(tree.GetRow(item)) + (seen.selection ? "/" + *seen.selection : "");
    if (list.GetSelectedRow() != CListCtrl::no_row)
        seen.row = list.GetSelectedRow();
    for (std::size_t column = 0; column < list.GetColumnCount(); ++column)
        seen.columns.push_back(list.GetColumn(column).label);
    for (std::size_t row = 0; row < list.GetItemCount(); ++row) {
        seen.rows.emplace_back();
        for (std::size_t column = 0; column < list.GetColumnCount(); ++column)
            seen.rows.back().emplace_back(list.GetItemText(row, column));
    }
    for (const auto& message : program.person.take_messages()) {
        EXPECT_EQ(message.icon, message_icon::none);
        seen.messages.push_back(message.text);
    }
    seen.failed = !program.take_unhandled().empty();
    return seen;
}

HTREEITEM item_of(const CTreeCtrl& tree, const std::vector<std::size_t>& places)
{
    HTREEITEM item;
    for (const std::size_t place : places)
        item = tree.GetChildAt(item, place);
    return item;
}

std::string text_of(const std::vector<std::size_t>& places)
{
    std::string text;
    for (const std::size_t place : places)
        text += (text.empty() ? "" : "/") + std::to_string(place);
    return text;
}

/// A program and its literal counterpart, and what was done with both.
class both_viewers {
public:
    explicit both_viewers(std::uint32_t seed) : m_random(seed)
    {
        order() = {};
        m_program.start();
        m_literal = literal_search(picture_of(m_program));
        open();
    }
    ~both_viewers() { order() = {}; }

    [[nodiscard]] bool same() const noexcept { return m_same; }
    /// Does one thing to both.
    void step()
    {
        switch (m_random.below(20)) {
        case 0:
        case 1:
        case 2:
            find(m_random.search_text());
            break;
        case 3:
            cancel_find();
            break;
        case 4:
        case 5:
            select();
            break;
        case 6:
        case 7:
            select_row();
            break;
        case 8:
            click_header();
            break;
        case 9:
            m_random.one_in(3) ? open() : command(ID_VIEW_ALL);
            break;
        case 10:
            press_find_next();
            break;
        default:
            command(ID_SEARCH_FIND_NEXT);
            break;
        }
    }
    [[nodiscard]] std::string story() const { return m_story.str(); }
    /// How often a command of the search ended in each way.
    [[nodiscard]] const std::map<std::string, int>& outcomes() const { return m_outcomes; }

private:
    /// It belongs to the process: each log begins with a new one.
    static sort_order& order() { return current_sort_order(); }

    void open()
    {
        m_model = m_random.model();
        m_story << "open " << m_model.dump() << '\n';
        m_program.open(m_program.write(m_model.dump(), "log.clg"));
        m_literal.open(m_model, log_name);
        compare();
        if (m_literal.tree() != tree_of(m_program.frame())) {
            m_same = false;
            m_story << "expected tree\n" << m_literal.tree() << "tree\n" << tree_of(m_program.frame());
        }
    }
    void find(const std::string& text)
    {
        m_story << "answer find =" << text << "\ncommand " << ID_SEARCH_FIND << '\n';
        const std::u16string wide = platform::from_utf8(text);
        m_program.person.answer(question_kind::find, wide);
        m_program.frame().RunCommand(ID_SEARCH_FIND);
        m_literal.find(wide);
        compare_search();
    }
    void cancel_find()
    {
        m_story << "answer find cancel\ncommand " << ID_SEARCH_FIND << '\n';
        m_program.person.answer(question_kind::find, std::nullopt);
        m_program.frame().RunCommand(ID_SEARCH_FIND);
        m_literal.find(std::nullopt);
        compare();
    }
    void press_find_next()
    {
        constexpr std::uint32_t virtual_key_f3 = 0x72;
        m_story << "key " << virtual_key_f3 << '\n';
        m_program.frame().KeyDown({.virtual_key = virtual_key_f3});
        m_literal.find_next_key();
        compare_search();
    }
    void command(std::uint32_t id)
    {
        m_story << "command " << id << '\n';
        m_program.frame().RunCommand(id);
        if (id == ID_SEARCH_FIND_NEXT) {
            m_literal.find_next();
            compare_search();
        } else {
            m_literal.do_nothing();
            compare();
        }
    }
    void select()
    {
        const auto all = m_literal.all_places();
        if (m_random.one_in(8)) {
            m_story << "select none\n";
            m_program.frame().Guard([&] { m_program.frame().Tree().SelectItem({}); });
            m_literal.select({});
        } else {
            const auto& places = all[m_random.below(all.size())];
            m_story << "select " << text_of(places) << '\n';
            CTreeCtrl& tree = m_program.frame().Tree();
            m_program.frame().Guard([&] { tree.SelectItem(item_of(tree, places)); });
            m_literal.select(places);
        }
        compare();
    }
    void select_row()
    {
        CListCtrl& list = m_program.frame().List();
        if (list.GetItemCount() == 0 || m_random.one_in(8)) {
            m_story << "row none\n";
            list.SelectRow(CListCtrl::no_row);
            m_literal.select_row({});
        } else {
            const std::size_t row = m_random.below(list.GetItemCount());
            m_story << "row " << row << '\n';
            list.SelectRow(row);
            m_literal.select_row(row);
        }
        compare();
    }
    void click_header()
    {
        CListCtrl& list = m_program.frame().List();
        if (list.GetColumnCount() == 0)
            return;
        const std::size_t column = m_random.below(list.GetColumnCount());
        m_story << "header " << column << '\n';
        list.ClickHeader(column);
        m_literal.click_header(column);
        compare();
    }
    void compare_search()
    {
        const viewer_picture before = m_last;
        compare();
        const std::string way = m_last.failed                          ? "failed"
                                : !m_last.messages.empty()             ? "not found"
                                : m_last.selection != before.selection ? (m_last.row ? "item and row" : "item")
                                : m_last.row != before.row             ? "row"
                                                                       : "stays";
        ++m_outcomes[way];
    }
    void compare()
    {
        m_last = picture_of(m_program);
        const viewer_picture expected = m_literal.picture();
        if (m_last == expected)
            return;
        m_same = false;
        m_story << "expected " << expected << "seen " << m_last;
    }

    random_log m_random;
    frame_harness m_program;
    literal_search m_literal;
    json m_model;
    viewer_picture m_last;
    bool m_same = true;
    std::ostringstream m_story;
    std::map<std::string, int> m_outcomes;
};

TEST(random_search, shows_what_a_literal_search_shows)
{
    constexpr std::uint32_t logs = 500;
    constexpr int steps = 40;
    std::map<std::string, int> outcomes;
    for (std::uint32_t seed = 0; seed < logs; ++seed) {
        both_viewers both(seed);
        for (int i = 0; i < steps && both.same(); ++i)
            both.step();
        ASSERT_TRUE(both.same()) << "seed " << seed << '\n' << both.story();
        for (const auto& [way, count] : both.outcomes())
            outcomes[way] += count;
    }
    // Every way for a search to end was gone often.
    for (const char* way : {"failed", "not found", "item and row", "item", "row", "stays"})
        EXPECT_GT(outcomes[way], 100) << way;
}

} // namespace
} // namespace cw
