#include "app/main_frame.h"

#include "app/menus.h"
#include "bridges/activation.h"
#include "foundation/exceptions.h"
#include "platform/utf8.h"
#include "tests/support/frame_harness.h"
#include "tests/support/frame_pictures.h"
#include "tests/support/scripted_readers.h"

#include <gtest/gtest.h>

namespace cw {
namespace {

using namespace test_support;

using lines = std::vector<std::string>;
using paths = std::vector<std::u16string>;

class session : public testing::Test {
protected:
    session()
    {
        program.start();
        // One subject, so that a test's picture and trace are those of the open alone.
        frame_access::view_filter(program.frame()) = CString(u"Features");
    }
    CMainFrame& frame() { return program.frame(); }
    std::u16string write_main() { return program.write(R"({"media": {"Features": [{"Name": "Main"}]}})", "main.hdr"); }

    frame_harness program;
};

constexpr const char* main_tree = "Features\n  Main\n";

// ---- a media that opens ----------------------------------------------------------------------

TEST_F(session, an_open_media_shows_title_status_and_tree)
{
    const std::u16string path = write_main();
    EXPECT_TRUE(program.open(path));
    EXPECT_EQ(frame().GetTitle(), path);
    EXPECT_EQ(program.toolkit_calls.title(), path);
    EXPECT_EQ(program.toolkit_calls.status_text(0), u"Opened media: " + path);
    EXPECT_EQ(program.recent(), paths{path});
    EXPECT_EQ(tree_of(frame()), main_tree);
    EXPECT_EQ(frame().OpenPath(), std::u16string_view(path));
    EXPECT_TRUE(frame().HasMedia());
    EXPECT_FALSE(frame().HasLog());
    EXPECT_FALSE(frame().HasLogLoader());
    EXPECT_TRUE(program.person.take_messages().empty());
    EXPECT_TRUE(program.person.take_questions().empty());
}

TEST_F(session, an_open_media_is_read_by_the_root_builders)
{
    program.open_features("Main\n  Help\n");
    EXPECT_EQ(program.take_trace(),
              (lines{"IMediaFactory OpenMedia", "IMedia Features", "IMediaCollection Count", "IMediaCollection Item 1",
                     "IMediaFeature Name", "IMediaFeature SubFeatures", "IMediaCollection Count",
                     "IMediaCollection Item 1", "IMediaFeature Name", "IMediaFeature SubFeatures",
                     "IMediaCollection Count", "IMediaCollection Count", "IMediaCollection Count"}));
}

TEST_F(session, title_comes_before_the_open_and_status_before_the_tree)
{
    const std::u16string path = write_main();
    program.toolkit_calls.forget_calls();
    program.open(path);
    EXPECT_EQ(program.toolkit_calls.calls(),
              (paths{u"set_title " + path, u"set_status_text 0 Opened media: " + path, u"set_focus 59648"}));
}

TEST_F(session, opening_the_same_media_again_gives_a_fresh_tree)
{
    const std::u16string path = write_main();
    program.open(path);
    const HTREEITEM before = item_at(frame(), "Features/Main");
    IDispatch* const media = frame_access::media(frame()).get();
    const auto held = frame_access::media(frame());
    EXPECT_TRUE(program.open(path));
    EXPECT_NE(frame_access::media(frame()).get(), media);
    EXPECT_EQ(tree_of(frame()), main_tree);
    EXPECT_NE(item_at(frame(), "Features/Main"), before);
    EXPECT_EQ(program.recent(), paths{path});
}

TEST_F(session, the_librarys_object_serves_all_opens)
{
    program.open(write_main());
    IDispatch* const factory = frame_access::media_factory(frame()).get();
    ASSERT_NE(factory, nullptr);
    // Where it was found is not looked at again.
    program.libraries.remove("MediaForge40.dll");
    EXPECT_TRUE(program.open_features("Other\n"));
    EXPECT_EQ(frame_access::media_factory(frame()).get(), factory);
    program.open(u"/log.clg");
    EXPECT_EQ(frame_access::media_factory(frame()).get(), factory);
    EXPECT_TRUE(program.open(write_main()));
    EXPECT_EQ(frame_access::media_factory(frame()).get(), factory);
}

TEST_F(session, an_error_in_a_builder_leaves_what_was_done_so_far)
{
    const std::u16string path =
        program.write(R"({"media": {"Features": [{"Name": "A"}, {"Name": {"fail": "0x80004005"}}, {"Name": "C"}]}})");
    EXPECT_FALSE(program.open(path));
    const lines unhandled = program.take_unhandled();
    ASSERT_EQ(unhandled.size(), 1u);
    EXPECT_TRUE(unhandled[0].starts_with("cwcabview: unhandled error: 0x80004005")) << unhandled[0];
    EXPECT_EQ(tree_of(frame()), "Features\n  A\n");
    EXPECT_EQ(frame().GetStatusText(), u"Opened media: " + path);
    EXPECT_EQ(program.recent(), paths{path});
    EXPECT_TRUE(frame().HasMedia());
    EXPECT_TRUE(program.open(write_main()));
    EXPECT_EQ(tree_of(frame()), main_tree);
}

TEST_F(session, opening_media_while_one_is_set_clears_the_frame_first)
{
    program.open(write_main());
    const auto factory = frame_access::media_factory(frame());
    put_marked_row(frame());
    EXPECT_EQ(frame().OpenMedia(string(program.folder.wide_file("absent.hdr")), string()), 2);
    EXPECT_FALSE(frame().HasMedia());
    EXPECT_NE(frame_access::media_factory(frame()), factory);
    EXPECT_TRUE(frame().NavNodes().empty());
    EXPECT_EQ(tree_of(frame()), "");
    EXPECT_EQ(rows_of(frame()), lines{});
}

TEST_F(session, opening_media_directly_answers_the_result)
{
    EXPECT_EQ(frame().OpenMedia(string(write_main()), string()), 0);
    EXPECT_TRUE(frame().HasMedia());
    const string locked(program.write(R"({"password": "p", "media": {}})", "locked.hdr"));
    EXPECT_EQ(frame().OpenMedia(locked, string()), 142);
    EXPECT_FALSE(frame().HasMedia());
    EXPECT_EQ(frame().OpenMedia(locked, string(u"wrong")), 142);
    EXPECT_EQ(frame().OpenMedia(locked, string(u"p")), 0);
    EXPECT_TRUE(frame().HasMedia());
}

// ---- giving up the session before ------------------------------------------------------------

TEST_F(session, the_old_session_is_given_up_in_order_each_pointer_null_first)
{
    scripted_log_library log;
    program.libraries.add("LogKit.dll", &scripted_log_library::entry_point);
    program.open(u"/log/a.clg");
    lines events;
    {
        const auto media = scripted_object::make([](DISPID, const VARIANT*, VARIANT&) { return E_FAIL; });
        frame_access::media(frame()) = media;
        const auto note = [&](std::string_view name, bool is_null) {
            events.push_back(std::string(name) + (is_null ? " null" : " set"));
        };
        media->on_release = [&] { note("media", !frame().HasMedia()); };
        log.on_release = [&](std::string_view name) {
            note(name, name == "loader"     ? !frame_access::log_loader(frame())
                       : name == "document" ? !frame_access::log_document(frame())
                                            : !frame_access::root_feature_log(frame()));
        };
        program.open(program.folder.wide_file("absent.hdr"));
        media->on_release = nullptr;
        log.on_release = nullptr;
    }
    // The last is the reference that is kept for the time of the call.
    EXPECT_EQ(events, (lines{"media null", "loader null", "document null", "feature null", "media null"}));
    EXPECT_EQ(scripted_object::alive, 0);
    // The main feature, by its node: the tree of a log stays until something else opens.
    EXPECT_EQ(log.alive, 1);
    frame_access::nodes(frame()).clear();
    EXPECT_EQ(log.alive, 0);
}

TEST_F(session, the_library_is_called_when_the_old_session_is_gone)
{
    program.open(write_main());
    put_marked_row(frame());
    frame_access::find_text(frame()) = CString(u"sought");
    const std::u16string path = u"C:\\new.hdr";
    bool called = false;
    const auto factory = scripted_object::make(
        [&](DISPID member, const VARIANT* argument, VARIANT& result) {
            if (member != media_factory::OpenMedia.id)
                return E_FAIL;
            called = true;
            EXPECT_EQ(std::u16string_view(argument->bstrVal), path);
            EXPECT_EQ(frame().GetTitle(), path);
            EXPECT_EQ(frame().OpenPath(), std::u16string_view(path));
            EXPECT_TRUE(frame_access::find_text(frame()).IsEmpty());
            EXPECT_FALSE(frame().HasMedia());
            // Tree, list and nodes stay until the open has worked.
            EXPECT_EQ(tree_of(frame()), main_tree);
            EXPECT_EQ(rows_of(frame()), lines{std::string(marked_row)});
            EXPECT_FALSE(frame().NavNodes().empty());
            return answer_object(result, nullptr);
        },
        IID_IMediaFactory);
    frame_access::media_factory(frame()) = factory;
    EXPECT_FALSE(program.open(path));
    EXPECT_TRUE(called);
}

TEST_F(session, nodes_of_earlier_trees_stay_until_a_log_is_opened)
{
    program.open(write_main());
    const HTREEITEM old_item = item_at(frame(), "Features/Main");
    const std::size_t count = frame().NavNodes().size();
    program.open_features("Other\n");
    EXPECT_EQ(frame().NavNodes().size(), count + 1);
    EXPECT_TRUE(frame().NavNodes().contains(old_item));
    program.open(u"/log.clg");
    EXPECT_TRUE(frame().NavNodes().empty());
}

// ---- media that does not open ----------------------------------------------------------------

constexpr const char* refused_model =
    R"({"open_error": {"Number": 7, "Description": "no such volume", "SystemText": "file not found"}, "media": {}})";

TEST_F(session, a_numbered_error_is_told_and_ends_the_session)
{
    const std::u16string good = write_main();
    program.open(good);
    put_marked_row(frame());
    const std::u16string path = program.write(refused_model, "bad.hdr");
    EXPECT_FALSE(program.open(path));
    EXPECT_EQ(program.person.take_messages(),
              (std::vector<scripted_frame_services::shown_message>{
                  {u"Error 7 while attempting to open media. Error: no such volume (system error 'file not found')",
                   message_icon::error}}));
    EXPECT_FALSE(frame().HasMedia());
    EXPECT_EQ(tree_of(frame()), main_tree);
    EXPECT_EQ(rows_of(frame()), lines{std::string(marked_row)});
    EXPECT_EQ(frame().GetTitle(), path);
    EXPECT_EQ(frame().OpenPath(), std::u16string_view(path));
    EXPECT_EQ(frame().GetStatusText(), u"Opened media: " + good);
    EXPECT_EQ(program.recent(), paths{good});
    EXPECT_TRUE(program.take_unhandled().empty());
    EXPECT_TRUE(program.person.take_questions().empty());
}

TEST_F(session, a_numbered_error_is_read_from_the_last_error)
{
    const std::u16string trace = program.folder.wide_file("trace.txt");
    program.open(program.write(R"({"trace": ")" + platform::to_utf8(trace) +
                               R"(", "open_error": {"Number": -3, "Description": null}, "media": {}})"));
    EXPECT_EQ(program.take_trace(), (lines{"IMediaFactory OpenMedia", "IMediaFactory LastError", "IMediaError Number",
                                           "IMediaFactory LastError", "IMediaError Number", "IMediaError Description",
                                           "IMediaError SystemText"}));
    const auto messages = program.person.take_messages();
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].text, u"Error -3 while attempting to open media. Error:  (system error '')");
}

TEST_F(session, a_dead_tree_stays_of_use_where_it_needs_no_media)
{
    frame_access::view_filter(frame()) = CString(u"All");
    program.open_media(R"("Features": [{"Name": "Main"}], "Components": [{"Name": "Program"}])");
    program.open(program.write(refused_model, "bad.hdr"));
    select(frame(), "Features/Main");
    EXPECT_EQ(rows_of(frame()).size(), 26u);
    EXPECT_TRUE(program.take_unhandled().empty());
    select(frame(), "Components/Program");
    ASSERT_EQ(program.take_unhandled().size(), 1u);
    EXPECT_FALSE(frame().RunCommand(ID_VIEW_ALL));
}

TEST_F(session, a_failed_open_that_says_number_zero_is_silent)
{
    program.open(write_main());
    const auto media = frame_access::media(frame());
    EXPECT_FALSE(program.open(program.write(R"({"open_error": {}, "media": {}})", "zero.hdr")));
    EXPECT_TRUE(program.person.take_messages().empty());
    EXPECT_EQ(frame_access::media(frame()), media);
}

TEST_F(session, an_open_without_a_media_restores_the_one_before)
{
    program.open(write_main());
    const auto media = frame_access::media(frame());
    frame_access::media_factory(frame()) = scripted_object::make(
        [](DISPID, const VARIANT*, VARIANT& result) { return answer_object(result, nullptr); }, IID_IMediaFactory);
    EXPECT_FALSE(program.open(u"/null.hdr"));
    EXPECT_EQ(frame_access::media(frame()), media);
    EXPECT_TRUE(program.person.take_messages().empty());
    EXPECT_TRUE(program.take_unhandled().empty());
}

TEST_F(session, an_error_that_cannot_be_read_is_unhandled)
{
    program.open(write_main());
    frame_access::media_factory(frame()) =
        scripted_object::make([](DISPID, const VARIANT*, VARIANT&) { return E_ABORT; }, IID_IMediaFactory);
    EXPECT_FALSE(program.open(u"/broken.hdr"));
    EXPECT_EQ(program.take_unhandled().size(), 1u);
    EXPECT_FALSE(frame().HasMedia());
    frame_access::media_factory(frame()).reset();
    EXPECT_TRUE(program.open(write_main()));
}

TEST_F(session, without_a_library_nothing_happens_but_the_title)
{
    program.libraries.remove("MediaForge40.dll");
    const std::u16string path = write_main();
    EXPECT_FALSE(program.open(path));
    EXPECT_EQ(frame().GetTitle(), path);
    EXPECT_TRUE(program.person.take_messages().empty());
    EXPECT_TRUE(program.person.take_questions().empty());
    EXPECT_TRUE(program.take_unhandled().empty());
    EXPECT_EQ(frame().GetStatusText(), u"");
    EXPECT_EQ(tree_of(frame()), "");
    EXPECT_TRUE(program.recent().empty());
    EXPECT_EQ(frame_access::media_factory(frame()).get(), nullptr);
    EXPECT_LT(frame().OpenMedia(string(path), string()), 0);
}

TEST_F(session, without_a_library_the_media_before_is_restored)
{
    program.open(write_main());
    const auto media = frame_access::media(frame());
    frame_access::media_factory(frame()).reset();
    forget_loaded_libraries();
    program.libraries.remove("MediaForge40.dll");
    EXPECT_FALSE(program.open(u"/other.hdr"));
    EXPECT_EQ(frame_access::media(frame()), media);
    EXPECT_EQ(tree_of(frame()), main_tree);
    EXPECT_TRUE(frame().RunCommand(ID_VIEW_COMPONENTS));
    EXPECT_EQ(tree_of(frame()), "Components\n");
}

TEST_F(session, a_library_without_the_factory_is_silent)
{
    program.libraries.remove("MediaForge40.dll");
    const scripted_media_library library(scripted_object::make([](DISPID, const VARIANT*, VARIANT&) { return S_OK; }));
    program.libraries.add("MediaForge40.dll", &scripted_media_library::entry_point);
    EXPECT_FALSE(program.open(u"/a.hdr"));
    EXPECT_EQ(frame_access::media_factory(frame()).get(), nullptr);
    EXPECT_TRUE(program.person.take_messages().empty());
}

TEST_F(session, every_allocation_may_fail_and_the_frame_goes_on)
{
    const std::u16string path = write_main();
    program.open(path);
    for (int failing = 1; failing <= 40; ++failing) {
        {
            scripted_text_memory memory;
            platform::services set = platform::current();
            set.memory = &memory;
            const platform::scoped_services in_use(set);
            memory.fail_after = failing;
            program.open(path);
        }
        EXPECT_TRUE(program.open(path)) << failing;
        EXPECT_EQ(tree_of(frame()), main_tree) << failing;
    }
}

// ---- passwords -------------------------------------------------------------------------------

class protected_session : public session {
protected:
    protected_session()
    {
        good = write_main();
        program.open(good);
        path = program.write(R"({"password": "secret", "media": {"Features": [{"Name": "Locked"}]}})", "locked.hdr");
    }
    void answer(std::optional<std::u16string> password)
    {
        program.person.answer(question_kind::password, std::move(password));
    }

    std::u16string good;
    std::u16string path;
};

TEST_F(protected_session, opens_with_the_right_password)
{
    answer(u"secret");
    EXPECT_TRUE(program.open(path));
    EXPECT_EQ(tree_of(frame()), "Features\n  Locked\n");
    EXPECT_EQ(frame().GetStatusText(), u"Opened media: " + path);
    EXPECT_EQ(program.recent(), (paths{path, good}));
    const auto questions = program.person.take_questions();
    ASSERT_EQ(questions.size(), 1u);
    EXPECT_EQ(questions[0].text, path);
    EXPECT_EQ(questions[0].refusal, u"");
    EXPECT_TRUE(program.person.take_messages().empty());
}

TEST_F(protected_session, asks_until_the_password_is_right)
{
    for (const char16_t* password : {u"a", u"", u"SECRET", u"secret", u"never asked for"})
        answer(password);
    EXPECT_TRUE(program.open(path));
    const auto questions = program.person.take_questions();
    ASSERT_EQ(questions.size(), 4u);
    EXPECT_EQ(questions[0].refusal, u"");
    for (std::size_t showing = 1; showing < 4; ++showing)
        EXPECT_EQ(questions[showing].refusal, u"The password is not correct. Please try again.");
}

TEST_F(protected_session, keeps_the_media_before_where_the_prompt_is_given_up)
{
    const auto media = frame_access::media(frame());
    for (const bool after_a_try : {false, true}) {
        if (after_a_try)
            answer(u"wrong");
        answer({});
        EXPECT_FALSE(program.open(path));
        EXPECT_EQ(frame_access::media(frame()), media);
        EXPECT_EQ(tree_of(frame()), main_tree);
        EXPECT_EQ(frame().GetTitle(), path);
        EXPECT_EQ(frame().GetStatusText(), u"Opened media: " + good);
        EXPECT_EQ(program.recent(), paths{good});
        EXPECT_TRUE(program.person.take_messages().empty());
    }
    // The old tree is of use again.
    EXPECT_TRUE(frame().RunCommand(ID_VIEW_FEATURES));
    EXPECT_EQ(tree_of(frame()), main_tree);
}

TEST_F(protected_session, asks_on_whatever_a_later_try_comes_to)
{
    int opens = 0;
    const auto error = scripted_object::make([&](DISPID, const VARIANT*, VARIANT& result) {
        result.lVal = opens == 1 ? 142 : 7;
        result.vt = VT_I4;
        return S_OK;
    });
    frame_access::media_factory(frame()) = scripted_object::make(
        [&](DISPID member, const VARIANT*, VARIANT& result) {
            if (member == media_factory::LastError.id)
                return answer_object(result, error.get());
            ++opens;
            return E_FAIL;
        },
        IID_IMediaFactory);
    answer(u"one");
    answer(u"two");
    EXPECT_FALSE(program.open(path));
    EXPECT_EQ(opens, 3);
    EXPECT_EQ(program.person.take_questions().size(), 3u);
    EXPECT_TRUE(program.person.take_messages().empty());
}

// ---- the commands ----------------------------------------------------------------------------

TEST_F(session, file_open_asks_with_the_programs_filter)
{
    const std::u16string path = write_main();
    program.person.answer(question_kind::open, path);
    EXPECT_TRUE(frame().RunCommand(ID_FILE_OPEN));
    EXPECT_EQ(tree_of(frame()), main_tree);
    EXPECT_EQ(frame().GetTitle(), path);
    const auto questions = program.person.take_questions();
    ASSERT_EQ(questions.size(), 1u);
    EXPECT_EQ(questions[0].filter,
              u"All Supported Types|*.hdr; *.cab; *.clg|Cratewright Header Files (*.hdr)|*.hdr|Cratewright CAB Files "
              u"(*.cab)|*.cab|Cratewright Log Files (*.clg)|*.clg||");
}

TEST_F(session, a_cancelled_file_open_touches_nothing)
{
    const std::u16string path = write_main();
    program.open(path);
    const auto media = frame_access::media(frame());
    program.toolkit_calls.forget_calls();
    EXPECT_TRUE(frame().RunCommand(ID_FILE_OPEN));
    EXPECT_TRUE(program.toolkit_calls.calls().empty());
    EXPECT_EQ(frame_access::media(frame()), media);
    EXPECT_EQ(frame().OpenPath(), std::u16string_view(path));
}

TEST_F(session, a_recent_entry_opens_and_comes_first)
{
    const std::u16string first = program.write(R"({"media": {"Features": [{"Name": "First"}]}})", "first.hdr");
    const std::u16string second = write_main();
    program.open(first);
    program.open(second);
    EXPECT_TRUE(frame().RunCommand(ID_FILE_MRU_FIRST + 1));
    EXPECT_EQ(tree_of(frame()), "Features\n  First\n");
    EXPECT_EQ(program.recent(), (paths{first, second}));
}

TEST_F(session, a_recent_media_that_fails_disappears)
{
    const std::u16string first = write_main();
    const std::u16string gone = program.write(refused_model, "gone.hdr");
    program.application().RecentFiles()->Add(gone);
    program.open(first);
    EXPECT_TRUE(frame().RunCommand(ID_FILE_MRU_FIRST + 1));
    EXPECT_EQ(program.person.take_messages().size(), 1u);
    EXPECT_EQ(program.recent(), paths{first});
}

TEST_F(session, a_recent_log_that_fails_stays)
{
    program.application().RecentFiles()->Add(u"/gone/a.clg");
    EXPECT_TRUE(frame().RunCommand(ID_FILE_MRU_FIRST));
    EXPECT_EQ(program.recent(), paths{u"/gone/a.clg"});
}

TEST_F(session, a_recent_index_beyond_the_list_raises)
{
    EXPECT_THROW(frame().OnOpenRecentFile(ID_FILE_MRU_FIRST - 1), invalid_argument_exception);
    EXPECT_THROW(frame().OnOpenRecentFile(0), invalid_argument_exception);
    EXPECT_THROW(frame().OnOpenRecentFile(ID_FILE_MRU_LAST + 1), invalid_argument_exception);
    EXPECT_EQ(frame().GetTitle(), u"Cratewright Cabinet and Log File Viewer");
    EXPECT_NO_THROW(frame().OnOpenRecentFile(ID_FILE_MRU_LAST));
    EXPECT_EQ(frame().GetTitle(), u"");
}

TEST_F(session, an_error_while_a_recent_entry_is_opened_keeps_the_entry)
{
    const std::u16string path = program.write(R"({"media": {"Features": {"fail": "0x80004005"}}})", "fails.hdr");
    program.application().RecentFiles()->Add(path);
    frame().RunCommand(ID_FILE_MRU_FIRST);
    EXPECT_EQ(program.take_unhandled().size(), 1u);
    EXPECT_EQ(program.recent(), paths{path});
}

} // namespace
} // namespace cw
