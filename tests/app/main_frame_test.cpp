#include "app/main_frame.h"

#include "app/menus.h"
#include "tests/support/frame_harness.h"
#include "tests/support/frame_pictures.h"
#include "tests/support/scripted_readers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace cw {
namespace {

using namespace test_support;

using calls = std::vector<std::u16string>;
using lines = std::vector<std::string>;

constexpr std::u16string_view title = u"Cratewright Cabinet and Log File Viewer";

std::u16string decimal(std::uint32_t value)
{
    const std::string digits = std::to_string(value);
    return {digits.begin(), digits.end()};
}

/// The calls that make the window, in order, up to the first showing.
calls creation_calls()
{
    return {u"create_window 128 " + decimal(0xCF0000) + u" XTPMainFrame 8 128",
            u"create_splitter 1 2 " + decimal(0x50000000) + u" 59648",
            u"create_tree_view 0 0 250 100",
            u"create_list_view 0 1 100 100",
            u"set_title " + std::u16string(title),
            u"create_status_bar " + decimal(0x56008200) + u" 59393",
            u"add_status_indicator 0 0",
            u"init_command_bars",
            u"set_menu Menu Bar",
            u"set_theme 16",
            u"set_accelerators 12",
            u"load_command_bars CommandBars"};
}

std::u16string_view operation_of(std::u16string_view call)
{
    return call.substr(0, call.find(u' '));
}

TEST(main_frame, is_made_in_its_fixed_order)
{
    frame_harness program;
    program.start();
    calls expected = creation_calls();
    expected.insert(expected.end(), {u"show_window 5", u"update_window"});
    EXPECT_EQ(program.toolkit_calls.calls(), expected);
}

TEST(main_frame, asks_for_a_class_of_its_own_without_the_title_style)
{
    frame_harness program;
    program.start();
    const frame_create_parameters& made = program.toolkit_calls.parameters();
    EXPECT_EQ(made.resource_id, 128u);
    EXPECT_EQ(made.style, 0xCF0000u);
    EXPECT_EQ(made.class_name, u"XTPMainFrame");
    EXPECT_EQ(made.class_style, 8u);
    EXPECT_EQ(made.icon_id, 128u);
}

TEST(main_frame, hands_menu_and_accelerators_to_the_toolkit)
{
    frame_harness program;
    program.start();
    EXPECT_EQ(program.toolkit_calls.menu().data(), main_menu().data());
    EXPECT_EQ(program.toolkit_calls.accelerators().data(), main_accelerators().data());
}

TEST(main_frame, sets_its_controls_up)
{
    frame_harness program;
    program.start();
    CTreeCtrl& tree = program.frame().Tree();
    CListCtrl& list = program.frame().List();
    EXPECT_EQ(tree.control_id(), 59648u);
    EXPECT_EQ(list.control_id(), 59728u);
    EXPECT_EQ(tree.style(), 0x37u);
    EXPECT_EQ(tree.extended_style(), 0u);
    EXPECT_EQ(list.style(), 5u);
    EXPECT_EQ(list.extended_style(), 0x421u);
    ASSERT_EQ(tree.GetImages(), &program.frame().TreeImages());
    EXPECT_EQ(tree.GetImages()->width, 16);
    EXPECT_EQ(tree.GetImages()->height, 16);
    EXPECT_EQ(tree.GetImages()->image_count, 22);
    ASSERT_EQ(list.GetNormalImages(), &program.frame().SpacerImages());
    EXPECT_EQ(list.GetNormalImages()->width, 1);
    EXPECT_EQ(list.GetNormalImages()->height, 1);
    EXPECT_EQ(list.GetNormalImages()->image_count, 0);
    EXPECT_EQ(list.GetSmallImages(), nullptr);
}

TEST(main_frame, has_two_bordered_controls_that_never_get_a_window)
{
    frame_harness program;
    ASSERT_TRUE(program.start());
    const CStatic& border_static = frame_access::border_static(program.frame());
    const CEdit& border_edit = frame_access::border_edit(program.frame());
    EXPECT_FALSE(border_static.HasWindow());
    EXPECT_FALSE(border_edit.HasWindow());
    EXPECT_LT(static_cast<const void*>(&border_static), static_cast<const void*>(&border_edit));
    EXPECT_LT(static_cast<const void*>(&border_edit),
              static_cast<const void*>(&frame_access::log_loader(program.frame())));
}

TEST(main_frame, begins_with_its_first_values)
{
    frame_harness program;
    program.start();
    CMainFrame& frame = program.frame();
    EXPECT_FALSE(frame.ExpertMode());
    EXPECT_EQ(frame.ViewFilter(), u"All");
    EXPECT_EQ(columns_of(frame), "Property (150) | Value (400)");
    EXPECT_EQ(rows_of(frame), lines{});
    EXPECT_EQ(frame.GetTitle(), title);
    EXPECT_EQ(frame.GetStatusText(), u"");
    EXPECT_FALSE(frame.HasMedia());
    EXPECT_FALSE(frame.HasLog());
    EXPECT_FALSE(frame.HasLogLoader());
    EXPECT_TRUE(frame.NavNodes().empty());
    // No focus is passed on to a pane.
    EXPECT_EQ(program.toolkit_calls.focus(), nullptr);
}

TEST(main_frame, has_no_window_where_a_step_of_its_creation_fails)
{
    const calls all = creation_calls();
    for (const std::u16string_view failing : {u"create_splitter", u"create_tree_view", u"create_list_view",
                                              u"create_status_bar", u"init_command_bars", u"set_menu"}) {
        frame_harness program;
        program.toolkit_calls.fail(failing);
        EXPECT_TRUE(program.start());

        // The failing step is the last, but for what takes the window away.
        const auto last =
            std::ranges::find_if(all, [&](const std::u16string& call) { return operation_of(call) == failing; });
        calls expected(all.begin(), last + 1);
        if (failing == u"create_tree_view" || failing == u"create_list_view")
            expected.push_back(u"destroy_splitter");
        expected.insert(expected.end(), {u"destroy_window", u"show_window 5", u"update_window"});
        EXPECT_EQ(program.toolkit_calls.calls(), expected);
        EXPECT_FALSE(program.frame().HasWindow());
    }
}

TEST(main_frame, is_of_use_without_a_window)
{
    frame_harness program;
    program.toolkit_calls.fail(u"create_status_bar");
    program.start();
    program.toolkit_calls.forget_calls();
    EXPECT_TRUE(program.open_features("Main\n  Help\n"));
    EXPECT_TRUE(program.frame().RunCommand(ID_VIEW_FEATURES));
    EXPECT_EQ(tree_of(program.frame()), "Features\n  Main\n    Help\n");
    program.frame().Close();
    EXPECT_TRUE(program.toolkit_calls.calls().empty());
    EXPECT_TRUE(program.take_unhandled().empty());
}

TEST(main_frame, reads_expert_mode_from_the_settings)
{
    for (const int stored : {1, 7, -1}) {
        frame_harness program;
        program.settings.write_number(u"Settings", u"Mode", stored);
        program.start();
        EXPECT_TRUE(program.frame().ExpertMode()) << stored;
    }
    frame_harness program;
    program.settings.write_number(u"Settings", u"Mode", 0);
    program.start();
    EXPECT_FALSE(program.frame().ExpertMode());
}

TEST(main_frame, writes_expert_mode_as_zero_or_one)
{
    frame_harness program;
    program.settings.write_number(u"Settings", u"Mode", 7);
    program.start();
    program.frame().Close();
    EXPECT_EQ(program.settings.read_text(u"Settings", u"Mode", u""), u"1");

    frame_harness another;
    another.start();
    another.frame().Close();
    EXPECT_EQ(another.settings.read_text(u"Settings", u"Mode", u""), u"0");
}

/// Writes down what happens when the frame closes, each from where it happens.
struct closing_observer final : forwarding_file_system, platform::user_settings {
    explicit closing_observer(frame_harness& harness) : program(harness)
    {
        platform::services set = platform::current();
        set.files = this;
        set.user = this;
        in_use.emplace(set);
    }
    void note_toolkit_calls()
    {
        for (const std::u16string& call : program.toolkit_calls.calls())
            events.push_back(call);
        program.toolkit_calls.forget_calls();
    }

    bool delete_file(const char16_t* path) noexcept override
    {
        note_toolkit_calls();
        events.push_back(u"delete_file " + std::u16string(path));
        return real.delete_file(path);
    }
    int read_number(std::u16string_view, std::u16string_view, int default_value) override { return default_value; }
    void write_number(std::u16string_view section, std::u16string_view entry, int value) override
    {
        note_toolkit_calls();
        events.push_back(u"write " + std::u16string(section) + u" " + std::u16string(entry) + u" " +
                         decimal(static_cast<std::uint32_t>(value)));
    }
    std::u16string read_text(std::u16string_view, std::u16string_view, std::u16string_view) override { return {}; }
    void write_text(std::u16string_view, std::u16string_view, std::u16string_view) override {}
    void remove(std::u16string_view, std::u16string_view) override {}

    frame_harness& program;
    calls events;
    std::optional<platform::scoped_services> in_use;
};

TEST(main_frame, closes_in_its_fixed_order)
{
    frame_harness program;
    program.start();
    const std::u16string report = program.folder.wide_file("report.txt");
    program.folder.write("report.txt", "text");
    frame_access::report_path(program.frame()) = string(report);
    program.toolkit_calls.forget_calls();
    closing_observer observer(program);
    program.frame().Close();
    observer.note_toolkit_calls();
    EXPECT_EQ(observer.events, (calls{u"delete_file " + report, u"save_command_bars CommandBars",
                                      u"write Settings Mode 0", u"destroy_window"}));
    EXPECT_FALSE(std::filesystem::exists(program.folder.file("report.txt")));
    EXPECT_FALSE(program.frame().HasWindow());
}

TEST(main_frame, closes_without_a_report)
{
    frame_harness program;
    program.start();
    program.toolkit_calls.forget_calls();
    closing_observer observer(program);
    program.frame().Close();
    observer.note_toolkit_calls();
    EXPECT_EQ(observer.events, (calls{u"save_command_bars CommandBars", u"write Settings Mode 0", u"destroy_window"}));
    // A second time there is no window to close.
    program.frame().Close();
    observer.note_toolkit_calls();
    EXPECT_EQ(observer.events.size(), 3u);
}

TEST(main_frame, closes_where_the_report_cannot_be_deleted)
{
    frame_harness program;
    program.start();
    frame_access::report_path(program.frame()) = string(program.folder.wide_file("gone.txt"));
    program.frame().Close();
    EXPECT_FALSE(program.frame().HasWindow());
    EXPECT_EQ(program.settings.read_text(u"Settings", u"Mode", u""), u"0");
    EXPECT_TRUE(program.take_unhandled().empty());
    EXPECT_TRUE(program.person.take_messages().empty());
}

TEST(main_frame, releases_what_it_holds_in_the_reverse_order_of_its_members)
{
    lines released;
    scripted_log_library log;
    frame_harness program;
    program.libraries.add("LogKit.dll", &scripted_log_library::entry_point);
    program.start();
    program.open(u"/log/a.clg");
    log.on_release = [&](std::string_view name) { released.emplace_back(name); };

    const auto fails = [](DISPID, const VARIANT*, VARIANT&) { return E_FAIL; };
    const auto hold = [&](automation::com_ptr<IDispatch>& member, const char* name) {
        const auto object = scripted_object::make(fails);
        member = object;
        object->on_release = [&released, name] { released.emplace_back(name); };
        return object.get();
    };
    hold(frame_access::media(program.frame()), "media");
    hold(frame_access::media_factory(program.frame()), "factory");
    frame_access::nodes(program.frame()).clear();
    hold(frame_access::nodes(program.frame())[program.frame().Tree().GetRootItem()].object, "node");
    released.clear();
    program.frame().Close();
    program.application().ExitInstance();
    EXPECT_EQ(released, (lines{"node", "media", "factory", "feature", "document", "loader"}));
    EXPECT_EQ(scripted_object::alive, 0);
    EXPECT_EQ(log.alive, 0);
}

TEST(main_frame, runs_only_commands_that_it_has)
{
    frame_harness program;
    program.start();
    for (const std::uint32_t id : {0u, 57600u, 57602u, 57615u, 57632u, 32771u, 32800u, 32802u}) {
        EXPECT_FALSE(program.frame().UpdateCommand(id).enabled().value_or(true)) << id;
        EXPECT_FALSE(program.frame().RunCommand(id)) << id;
    }
    EXPECT_TRUE(program.frame().UpdateCommand(ID_FILE_OPEN).enabled().value());
    for (std::uint32_t id = ID_FILE_MRU_FIRST; id <= ID_FILE_MRU_LAST; ++id)
        EXPECT_TRUE(program.frame().UpdateCommand(id).enabled().value()) << id;
    EXPECT_TRUE(program.person.take_questions().empty());
}

TEST(main_frame, hears_of_a_selection_by_the_trees_control_id)
{
    frame_harness program;
    program.start();
    CMainFrame& frame = program.frame();
    const HTREEITEM item = frame.Tree().InsertItem(u"item", {}, {});
    frame.Tree().set_control_id(1);
    put_marked_row(frame);
    frame.Tree().SelectItem(item);
    EXPECT_EQ(rows_of(frame), lines{std::string(marked_row)});

    frame.Tree().SelectItem({});
    frame.Tree().set_control_id(59648);
    frame.Tree().SelectItem(item);
    EXPECT_EQ(rows_of(frame), lines{});
}

int open_questions_after(frame_harness& program, const key_message& key)
{
    EXPECT_FALSE(program.frame().KeyDown(key));
    int count = 0;
    for (const auto& question : program.person.take_questions())
        count += question.kind == question_kind::open;
    return count;
}

TEST(main_frame, opens_a_file_on_ctrl_o)
{
    frame_harness program;
    program.start();
    EXPECT_EQ(open_questions_after(program, {.virtual_key = 0x4F, .control = true}), 1);
    // Bit 5 is not looked at, so the numeric keypad's slash opens as well.
    EXPECT_EQ(open_questions_after(program, {.virtual_key = 0x6F, .control = true}), 1);
    // Shift and Alt are not tested.
    EXPECT_EQ(open_questions_after(program, {.virtual_key = 0x4F, .control = true, .shift = true, .alt = true}), 1);
}

TEST(main_frame, opens_no_file_on_other_keys)
{
    frame_harness program;
    program.start();
    EXPECT_EQ(open_questions_after(program, {.virtual_key = 0x4F}), 0);
    EXPECT_EQ(open_questions_after(program, {.virtual_key = 0x6F}), 0);
    EXPECT_EQ(open_questions_after(program, {.virtual_key = 0x4F, .shift = true, .alt = true}), 0);
    for (const std::uint32_t key : {0x0Fu, 0x2Fu, 0x4Eu, 0x50u, 0x5Fu, 0x8Fu, 0xCFu, 0x14Fu})
        EXPECT_EQ(open_questions_after(program, {.virtual_key = key, .control = true}), 0) << key;
}

TEST(main_frame, finds_next_on_f3)
{
    frame_harness program;
    program.start();
    program.open_log(R"({"root": {"Name": "Main"}})");
    program.person.answer(question_kind::find, u"nowhere");
    program.frame().RunCommand(ID_SEARCH_FIND);
    (void)program.person.take_messages();
    // How often a key went on with a search that ends at once: by the filter, and again by its accelerator
    // if it has one.
    const auto searched = [&](const key_message& key) {
        program.frame().KeyDown(key);
        return program.person.take_messages().size();
    };
    EXPECT_EQ(searched({.virtual_key = 0x72}), 2u);
    EXPECT_EQ(searched({.virtual_key = 0x72, .control = true}), 1u);
    EXPECT_EQ(searched({.virtual_key = 0x72, .shift = true, .alt = true}), 1u);
    // A whole key code: no other differs from it by a bit alone.
    EXPECT_EQ(searched({.virtual_key = 0x52}), 0u);
    EXPECT_EQ(searched({.virtual_key = 0x71}), 0u);
}

TEST(main_frame, saves_on_ctrl_s_and_on_ctrl_f4)
{
    frame_harness program;
    program.start();
    // How often a key asked where to save: by the filter, and again by its accelerator if it has one.
    const auto asked = [&](const key_message& key) {
        program.frame().KeyDown(key);
        return program.person.take_questions().size();
    };
    EXPECT_EQ(asked({.virtual_key = 0x53, .control = true}), 2u);
    EXPECT_EQ(asked({.virtual_key = 0x73, .control = true}), 1u);
    EXPECT_EQ(asked({.virtual_key = 0x53, .control = true, .shift = true, .alt = true}), 1u);
    EXPECT_EQ(asked({.virtual_key = 0x53}), 0u);
    EXPECT_EQ(asked({.virtual_key = 0x73}), 0u);
    EXPECT_EQ(asked({.virtual_key = 0x33, .control = true}), 0u);
}

TEST(main_frame, an_accelerator_runs_behind_the_filter)
{
    frame_harness program;
    program.start();
    std::vector<std::string> seen;
    program.frame().SetNextTarget([&](std::uint32_t id, command_ui* ui) {
        seen.push_back(std::to_string(id) + (ui ? " state" : " run"));
        return true;
    });
    EXPECT_TRUE(program.frame().KeyDown({.virtual_key = 0x75}));
    EXPECT_EQ(seen, (lines{"57680 state", "57680 run"}));
    seen.clear();
    EXPECT_TRUE(program.frame().KeyDown({.virtual_key = 0x75, .shift = true}));
    EXPECT_EQ(seen, (lines{"57681 state", "57681 run"}));
    seen.clear();
    EXPECT_FALSE(program.frame().KeyDown({.virtual_key = 0x75, .control = true}));
    EXPECT_EQ(seen, lines{});

    // The filter asks nobody; the accelerator runs what is enabled.
    program.open_log(R"({"root": {"Name": "Main"}})");
    frame_access::find_text(program.frame()) = CString(u"nowhere");
    EXPECT_TRUE(program.frame().KeyDown({.virtual_key = 0x72}));
    EXPECT_EQ(program.person.take_messages().size(), 2u);
    // With Shift it is no accelerator any more.
    EXPECT_FALSE(program.frame().KeyDown({.virtual_key = 0x72, .shift = true}));
    EXPECT_EQ(program.person.take_messages().size(), 1u);
    frame_access::find_text(program.frame()).Empty();
    EXPECT_FALSE(program.frame().KeyDown({.virtual_key = 0x72, .control = true}));
    EXPECT_TRUE(program.person.take_messages().empty());
}

} // namespace
} // namespace cw
