#include "tests/search/search_support.h"

namespace cw {
namespace {

using namespace test_support;

constexpr std::uint32_t VK_F3 = 0x72;

/// What a view of the list is told, and which control has the focus by then.
class list_watch final : public list_observer {
public:
    explicit list_watch(CMainFrame& frame) : m_frame(frame) { frame.List().SetObserver(this); }
    ~list_watch() { m_frame.List().SetObserver(nullptr); }
    list_watch(const list_watch&) = delete;
    list_watch& operator=(const list_watch&) = delete;

    void list_changing() override {}
    void list_selection_changed() override { note("row " + std::to_string(m_frame.List().GetSelectedRow())); }
    void list_row_wanted_visible(std::size_t row) override { note("visible " + std::to_string(row)); }
    void list_images_changed() override {}
    void list_style_changed() override {}

    lines told;

private:
    void note(const std::string& what)
    {
        told.push_back(what + (m_frame.GetFocus() == &m_frame.List() ? " with focus" : ""));
    }
    CMainFrame& m_frame;
};

// Three properties of the main feature hold "word", and the label of a feature.
constexpr const char* words = R"("properties": [["A", "word 0"], ["B", "x"], ["C", "Word 2"], ["D", "x"]],
                                 "features": [{"Name": "Words"}, {"Name": "Other"}])";

class find_commands : public search_test {
protected:
    bool enabled(std::uint32_t id) { return frame().UpdateCommand(id).enabled().value(); }
    std::u16string find_text() { return std::u16string(frame_access::find_text(frame()).view()); }
    HTREEITEM anchor() { return frame_access::find_anchor(frame()); }
    void select_below(std::string_view path) { select(frame(), "log.clg/" + std::string(path)); }
};

TEST_F(find_commands, find_is_there_for_logs_alone)
{
    EXPECT_FALSE(enabled(ID_SEARCH_FIND));
    EXPECT_FALSE(frame().RunCommand(ID_SEARCH_FIND));
    program.open_media("");
    EXPECT_FALSE(enabled(ID_SEARCH_FIND));
    open(words);
    EXPECT_TRUE(enabled(ID_SEARCH_FIND));
    program.open_media("");
    EXPECT_FALSE(enabled(ID_SEARCH_FIND));
    EXPECT_TRUE(program.person.take_questions().empty());
}

TEST_F(find_commands, find_is_there_for_a_log_that_could_not_be_read)
{
    program.open_log(R"({"open_error": "0x80004005"})");
    EXPECT_TRUE(enabled(ID_SEARCH_FIND));
    // Nothing stands below the top item, and nothing gets selected.
    EXPECT_EQ(find(u"log.clg"), std::string(not_found));
    select(frame(), "log.clg");
    EXPECT_EQ(find(u"log.clg"), std::string(not_found));
    EXPECT_FALSE(frame().Tree().GetSelectedItem());
}

TEST_F(find_commands, find_next_needs_a_text)
{
    open(words);
    EXPECT_FALSE(enabled(ID_SEARCH_FIND_NEXT));
    EXPECT_EQ(find(u"word"), "Main row 0 list");
    EXPECT_TRUE(enabled(ID_SEARCH_FIND_NEXT));
    // Every open takes the text away, that of a log as that of a media.
    open(words);
    EXPECT_EQ(find_text(), u"");
    EXPECT_FALSE(enabled(ID_SEARCH_FIND_NEXT));
    (void)find(u"word");
    program.open_media("");
    EXPECT_FALSE(enabled(ID_SEARCH_FIND_NEXT));
}

TEST_F(find_commands, find_starts_at_the_main_feature_whatever_is_selected)
{
    open(words);
    select_below("Main/Other");
    EXPECT_EQ(find(u"word"), "Main row 0 list");
    EXPECT_EQ(anchor(), item_at(frame(), "log.clg/Main"));
}

TEST_F(find_commands, find_goes_on_behind_the_selected_row_of_the_main_feature)
{
    open(words);
    select_below("Main");
    frame().List().SelectRow(0);
    EXPECT_EQ(find(u"word"), "Main row 2 list");
    // Selecting what is selected leaves the list as it is.
    EXPECT_EQ(find(u"word"), "Main/Words tree");
    EXPECT_EQ(find(u"word"), "Main row 0 list");
}

TEST_F(find_commands, cancel_keeps_text_and_selection)
{
    open(words);
    (void)find(u"word");
    program.person.answer(question_kind::find, std::nullopt);
    frame().RunCommand(ID_SEARCH_FIND);
    EXPECT_EQ(place(), "Main row 0 list");
    EXPECT_EQ(find_text(), u"word");
    EXPECT_EQ(next(), "Main row 2 list");
}

TEST_F(find_commands, the_earlier_text_is_not_offered_again)
{
    open(words);
    (void)find(u"word");
    (void)program.person.take_questions();
    (void)find(u"other");
    const auto questions = program.person.take_questions();
    ASSERT_EQ(questions.size(), 1u);
    EXPECT_EQ(questions[0].text, u"");
}

TEST_F(find_commands, an_empty_text_selects_the_main_feature_and_ends_the_search)
{
    open(words);
    (void)find(u"word");
    select_below("Main/Other");
    EXPECT_EQ(find(u""), "Main");
    EXPECT_FALSE(enabled(ID_SEARCH_FIND_NEXT));
    EXPECT_FALSE(frame().RunCommand(ID_SEARCH_FIND_NEXT));
}

TEST_F(find_commands, goes_from_row_to_row_and_then_into_the_tree)
{
    open(words);
    EXPECT_EQ(find(u"WORD"), "Main row 0 list");
    EXPECT_EQ(next(), "Main row 2 list");
    EXPECT_EQ(next(), "Main/Words tree");
    // The message comes again and again, and everything stays.
    EXPECT_EQ(next(), "Main/Words" + std::string(not_found));
    EXPECT_EQ(next(), "Main/Words" + std::string(not_found));
}

TEST_F(find_commands, the_message_has_no_sign)
{
    open(words);
    program.person.answer(question_kind::find, u"nowhere");
    frame().RunCommand(ID_SEARCH_FIND);
    EXPECT_EQ(program.person.take_messages(),
              (std::vector<scripted_frame_services::shown_message>{{u"Search item not found", message_icon::none}}));
}

TEST_F(find_commands, a_column_behind_the_first_matches_as_well)
{
    open(R"("properties": [["A", "one"], ["B", "two"], ["two", "C"]])");
    EXPECT_EQ(find(u"two"), "Main row 1 list");
    EXPECT_EQ(next(), "Main row 2 list");
}

TEST_F(find_commands, the_last_column_is_looked_at)
{
    open(R"("features": [{"Name": "Sub", "operations": {"OPTYPE_DOTNET": [["f", "a", 1, false, false],
                                                                         ["f", "b", 1, false, true]]}}])",
         R"("OPTYPE_DOTNET")");
    EXPECT_EQ(find(u"true"), "Main/Sub/.NET Operations row 1 list");
    EXPECT_EQ(rows_of(frame()), (lines{"f | a | 1 | False | False", "f | b | 1 | False | True"}));
}

TEST_F(find_commands, the_row_is_brought_into_view_and_selected_before_it_has_the_focus)
{
    open(R"("properties": [["A", "x"], ["B", "word"]],
            "features": [{"Name": "Sub", "properties": [["C", "x"], ["D", "x"], ["E", "word"]],
                          "operations": {"OPTYPE_FILE": [["x"], ["word"]]}}])");
    select_below("Main");
    list_watch watch(frame());
    EXPECT_EQ(find(u"word"), "Main row 1 list");
    EXPECT_EQ(watch.told, (lines{"visible 1", "row 1"}));
    const auto told_by_next = [&] {
        watch.told.clear();
        (void)next();
        // The list that is filled anew loses its row first.
        std::erase(watch.told, "row " + std::to_string(CListCtrl::no_row));
        return watch.told;
    };
    EXPECT_EQ(told_by_next(), (lines{"visible 2", "row 2"}));
    EXPECT_EQ(told_by_next(), (lines{"visible 1", "row 1"}));
}

// Without a selection the search goes on from where it last came to.
TEST_F(find_commands, the_anchor_stands_in_for_a_missing_selection)
{
    open(R"("features": [{"Name": "one"}, {"Name": "Two"}, {"Name": "one again"}])");
    EXPECT_EQ(find(u"one"), "Main/one tree");
    // A match below the current node leaves the anchor at the main feature.
    EXPECT_EQ(anchor(), item_at(frame(), "log.clg/Main"));
    EXPECT_EQ(next(), "Main/one again tree");
    EXPECT_EQ(anchor(), item_at(frame(), "log.clg/Main/one again"));
    frame().Tree().SelectItem({});
    EXPECT_EQ(next(), "" + std::string(not_found));
    EXPECT_EQ(anchor(), item_at(frame(), "log.clg/Main/one again"));

    EXPECT_EQ(find(u"one"), "Main/one tree");
    frame().Tree().SelectItem({});
    EXPECT_EQ(next(), "Main/one tree");
}

TEST_F(find_commands, a_row_leaves_the_anchor_where_it_is)
{
    open(R"("features": [{"Name": "a"}, {"Name": "b", "properties": [["word", "x"]]}])");
    (void)find(u"Main");
    const HTREEITEM before = anchor();
    select_below("Main/b");
    EXPECT_EQ(find_text(), u"main");
    frame_access::find_text(frame()) = CString(u"word");
    EXPECT_EQ(next(), "Main/b row 0 list");
    EXPECT_EQ(anchor(), before);
}

TEST_F(find_commands, the_top_item_has_nothing_to_go_on_to)
{
    open(words);
    (void)find(u"word");
    select(frame(), "log.clg");
    EXPECT_EQ(next(), "" + std::string(not_found));
    EXPECT_EQ(frame().NavNodes().count(item_at(frame(), "log.clg")), 0u);
}

TEST_F(find_commands, capitals_are_gone_after_the_first_walk)
{
    open(words);
    EXPECT_EQ(find(u"Word"), "Main row 0 list");
    EXPECT_EQ(find_text(), u"Word");
    (void)next();
    (void)next();
    EXPECT_EQ(find_text(), u"word");
}

TEST_F(find_commands, f3_goes_on_twice_by_filter_and_by_accelerator)
{
    open(R"("properties": [["A", "word"], ["B", "word"], ["C", "word"], ["D", "word"]])");
    frame().KeyDown({.virtual_key = VK_F3});
    EXPECT_EQ(place(), "");
    EXPECT_EQ(find(u"word"), "Main row 0 list");
    EXPECT_TRUE(frame().KeyDown({.virtual_key = VK_F3}));
    EXPECT_EQ(place(), "Main row 2 list");
    // With another key held the filter alone takes it.
    EXPECT_FALSE(frame().KeyDown({.virtual_key = VK_F3, .shift = true}));
    EXPECT_EQ(place(), "Main row 3 list");
}

TEST_F(find_commands, a_text_of_a_million_letters_is_searched_for)
{
    open(words);
    EXPECT_EQ(find(std::u16string(1'000'000, u'W')), "Main" + std::string(not_found));
    EXPECT_EQ(find_text().size(), 1'000'000u);
}

TEST_F(find_commands, texts_are_searched_for_by_their_code_units)
{
    open(R"("features": [{"Name": "\ud83d\ude00"}, {"Name": "x"}])");
    EXPECT_EQ(find(u"\xDE00"), "Main/\xF0\x9F\x98\x80 tree");
    EXPECT_EQ(find(u"\xDE01"), "Main" + std::string(not_found));
    // A zero is a letter like any other.
    EXPECT_EQ(find(std::u16string(u"x\0y", 3)), "Main" + std::string(not_found));
}

// A record that matches without moving the selection is left locked each time.
TEST_F(find_commands, a_record_that_holds_the_search_fast_can_be_found_without_end)
{
    open(R"("features": [{"Name": "Sub", "operations": {"OPTYPE_GENERAL": [["needle"]], "MY_TYPE": [["x"]]}}])",
         R"("MY_TYPE")");
    ASSERT_EQ(find(u"needle"), "Main tree");
    constexpr int more_than_an_array_counts_locks = 70'000;
    for (int i = 0; i < more_than_an_array_counts_locks; ++i)
        frame().RunCommand(ID_SEARCH_FIND_NEXT);
    EXPECT_EQ(place(), "Main tree");
    EXPECT_EQ(program.take_unhandled(), lines{});
}

} // namespace
} // namespace cw
