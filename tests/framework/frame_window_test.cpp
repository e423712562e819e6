#include "framework/frame_window.h"

#include "foundation/exceptions.h"
#include "framework/control_window.h"
#include "framework/headless_toolkit.h"
#include "framework/scripted_services.h"
#include "framework/tree_control.h"
#include "platform/memory_user_settings.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <stdexcept>

namespace cw {
namespace {

using names = std::vector<std::string>;

constexpr std::uint32_t VK_F3 = 0x72;
constexpr std::uint32_t VK_S = 0x53;
constexpr std::uint32_t known_command = 100;
constexpr std::uint32_t key_command = 101;
constexpr std::uint32_t tree_id = 59648;

class sample_frame final : public CXTPFrameWnd {
public:
    using CXTPFrameWnd::Adopt;
    using CXTPFrameWnd::CXTPFrameWnd;
    using CXTPFrameWnd::LoadCommandBars;
    using CXTPFrameWnd::SaveCommandBars;
    using CXTPFrameWnd::SetAccelerators;
    using CXTPFrameWnd::SetMenu;

    names steps;
    std::optional<bool> enabled;
    std::function<void()> handler = [] {};
    std::function<void()> update = [] {};
    std::function<void()> on_notify = [] {};
    std::function<void()> on_create = [] {};
    std::function<void()> on_close = [] {};
    std::function<bool()> filter = [] { return false; };
    bool allow_window = true;
    bool allow_client = true;

private:
    bool PreCreateWindow(frame_create_parameters& parameters) override
    {
        steps.push_back("PreCreateWindow");
        parameters.class_name = u"Class";
        parameters.style &= ~1u;
        return allow_window && CXTPFrameWnd::PreCreateWindow(parameters);
    }
    bool OnCreateClient() override
    {
        steps.push_back("OnCreateClient");
        return allow_client && CXTPFrameWnd::OnCreateClient();
    }
    int OnCreate() override
    {
        steps.push_back("OnCreate");
        on_create();
        return CXTPFrameWnd::OnCreate();
    }
    void OnClose() override
    {
        steps.push_back("OnClose");
        on_close();
        CXTPFrameWnd::OnClose();
    }
    bool OnCmdMsg(std::uint32_t id, command_ui* ui) override
    {
        if (id != known_command && id != key_command)
            return false;
        if (ui) {
            update();
            if (enabled)
                ui->Enable(*enabled);
            ui->SetCheck();
            return true;
        }
        steps.push_back("command " + std::to_string(id));
        handler();
        return true;
    }
    void OnNotify(std::uint32_t control_id, std::uint32_t code) override
    {
        steps.push_back("notify " + std::to_string(control_id) + " " + std::to_string(static_cast<std::int32_t>(code)));
        on_notify();
    }
    bool PreTranslateMessage(const key_message& key) override
    {
        steps.push_back("key " + std::to_string(key.virtual_key));
        return filter() || CXTPFrameWnd::PreTranslateMessage(key);
    }
};

class frame_window : public testing::Test {
protected:
    void SetUp() override
    {
        frame.SetUnhandledSink([this](std::u16string_view line) { unhandled.emplace_back(line); });
        frame.SetIdleSink([this] { frame.steps.push_back("idle"); });
    }
    [[nodiscard]] names take() { return std::exchange(frame.steps, {}); }

    headless_toolkit toolkit;
    scripted_frame_services services;
    sample_frame frame{toolkit, services};
    std::vector<std::u16string> unhandled;
};

TEST_F(frame_window, is_made_in_order)
{
    EXPECT_FALSE(frame.HasWindow());
    EXPECT_TRUE(frame.LoadFrame(128, 7));
    EXPECT_TRUE(frame.HasWindow());
    EXPECT_EQ(take(), (names{"PreCreateWindow", "OnCreate", "OnCreateClient"}));
    EXPECT_EQ(toolkit.calls(), std::vector<std::u16string>{u"create_window 128 6 Class 0 0"});
    EXPECT_EQ(&frame.Toolkit(), &toolkit);
    EXPECT_EQ(&frame.Services(), &services);
}

TEST_F(frame_window, is_not_made_where_a_step_refuses)
{
    frame.allow_window = false;
    EXPECT_FALSE(frame.LoadFrame(128, 7));
    EXPECT_EQ(take(), names{"PreCreateWindow"});
    EXPECT_TRUE(toolkit.calls().empty());

    frame.allow_window = true;
    frame.allow_client = false;
    EXPECT_FALSE(frame.LoadFrame(128, 7));
    EXPECT_FALSE(frame.HasWindow());
    EXPECT_EQ(toolkit.calls(), (std::vector<std::u16string>{u"create_window 128 6 Class 0 0", u"destroy_window"}));

    toolkit.forget_calls();
    toolkit.fail(u"create_window");
    EXPECT_FALSE(frame.LoadFrame(128, 7));
    EXPECT_FALSE(frame.HasWindow());
    EXPECT_EQ(toolkit.calls(), std::vector<std::u16string>{u"create_window 128 6 Class 0 0"});
}

TEST_F(frame_window, leaves_no_half_made_window_behind_an_exception)
{
    frame.on_create = [] { throw std::runtime_error("no"); };
    EXPECT_THROW(frame.LoadFrame(128, 7), std::runtime_error);
    EXPECT_FALSE(frame.HasWindow());
    EXPECT_FALSE(toolkit.has_window());
}

TEST_F(frame_window, runs_enabled_commands_only)
{
    EXPECT_TRUE(frame.RunCommand(known_command));
    EXPECT_EQ(take(), (names{"command 100", "idle"}));
    frame.enabled = true;
    EXPECT_TRUE(frame.RunCommand(known_command));
    EXPECT_EQ(take(), (names{"command 100", "idle"}));
    frame.enabled = false;
    EXPECT_FALSE(frame.RunCommand(known_command));
    EXPECT_EQ(take(), names{"idle"});
    EXPECT_FALSE(frame.RunCommand(5));
    EXPECT_EQ(take(), names{"idle"});
}

TEST_F(frame_window, tells_the_state_of_commands)
{
    EXPECT_EQ(frame.UpdateCommand(known_command).enabled(), std::nullopt);
    EXPECT_EQ(frame.UpdateCommand(known_command).checked(), true);
    frame.enabled = false;
    EXPECT_EQ(frame.UpdateCommand(known_command).enabled(), false);
    EXPECT_EQ(frame.UpdateCommand(5).enabled(), false);
    EXPECT_EQ(frame.UpdateCommand(5).checked(), std::nullopt);
    EXPECT_EQ(frame.UpdateCommand(5).id(), 5u);
}

TEST_F(frame_window, ends_an_exception_with_one_line)
{
    frame.handler = [] { throw std::runtime_error("two\nlines"); };
    EXPECT_FALSE(frame.RunCommand(known_command));
    EXPECT_EQ(unhandled, std::vector<std::u16string>{u"cwcabview: unhandled error: two lines"});
    EXPECT_EQ(take(), (names{"command 100", "idle"}));

    unhandled.clear();
    frame.handler = [] { throw _com_error(E_FAIL, nullptr); };
    EXPECT_FALSE(frame.RunCommand(known_command));
    ASSERT_EQ(unhandled.size(), 1u);
    EXPECT_TRUE(unhandled[0].starts_with(u"cwcabview: unhandled error: 0x80004005")) << unhandled[0].size();

    frame.update = [] { throw 5; };
    (void)frame.UpdateCommand(known_command);
    frame.Guard([] { throw std::bad_alloc(); });
    EXPECT_EQ(unhandled.size(), 3u);
    frame.handler = frame.update = [] {};
    EXPECT_TRUE(frame.RunCommand(known_command));
}

TEST_F(frame_window, writes_the_line_to_standard_error_by_default)
{
    sample_frame plain(toolkit, services);
    testing::internal::CaptureStderr();
    plain.Guard([] { throw std::runtime_error("why"); });
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "cwcabview: unhandled error: why\n");
}

TEST_F(frame_window, ends_the_whole_command_where_a_notification_within_it_throws)
{
    CTreeCtrl tree;
    tree.set_control_id(tree_id);
    frame.Adopt(tree);
    const HTREEITEM item = tree.InsertItem(u"a", {}, {});
    frame.on_notify = [] { throw std::runtime_error("presenter"); };
    frame.handler = [&] {
        tree.SelectItem(item);
        frame.steps.push_back("behind the selection");
    };
    EXPECT_FALSE(frame.RunCommand(known_command));
    EXPECT_EQ(take(), (names{"command 100", "notify 59648 -451", "idle"}));
    EXPECT_EQ(unhandled.size(), 1u);
    EXPECT_EQ(tree.GetSelectedItem(), item);

    // A person's selection is an entry of its own.
    tree.SelectItem({});
    frame.steps.push_back("behind the selection");
    EXPECT_EQ(take(), (names{"notify 59648 -451", "idle", "behind the selection"}));
    EXPECT_EQ(unhandled.size(), 2u);
}

TEST_F(frame_window, calls_idle_once_for_an_entry_with_others_within)
{
    frame.handler = [&] { (void)frame.UpdateCommand(known_command); };
    EXPECT_TRUE(frame.RunCommand(known_command));
    EXPECT_EQ(take(), (names{"command 100", "idle"}));
}

TEST_F(frame_window, lets_idle_ask_for_command_states_and_survives_its_exceptions)
{
    int calls = 0;
    frame.SetIdleSink([&] {
        ++calls;
        (void)frame.UpdateCommand(known_command);
        throw std::runtime_error("view");
    });
    frame.RunCommand(known_command);
    frame.RunCommand(known_command);
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(unhandled.size(), 2u);
    frame.SetIdleSink(nullptr);
    EXPECT_TRUE(frame.RunCommand(known_command));
}

TEST_F(frame_window, passes_no_exception_through_a_nested_event_loop)
{
    bool came_back = false;
    frame.handler = [&] {
        {
            const CXTPFrameWnd::NestedLoop loop(frame);
            frame.Guard([] { throw std::runtime_error("within the loop"); });
            came_back = true;
        }
        frame.Guard([] { throw std::runtime_error("within the command"); });
        came_back = false;
    };
    EXPECT_FALSE(frame.RunCommand(known_command));
    EXPECT_TRUE(came_back);
    EXPECT_EQ(unhandled, (std::vector<std::u16string>{u"cwcabview: unhandled error: within the loop",
                                                      u"cwcabview: unhandled error: within the command"}));
}

constexpr std::array<accelerator, 2> keys{
    {{VK_F3, false, false, false, known_command}, {VK_S, true, false, false, key_command}}};

TEST_F(frame_window, filters_a_key_and_then_looks_at_the_accelerators)
{
    frame.SetAccelerators(keys);
    EXPECT_EQ(toolkit.accelerators().size(), 2u);
    EXPECT_TRUE(frame.KeyDown({VK_F3}));
    EXPECT_EQ(take(), (names{"key 114", "command 100", "idle"}));
    // A key that the filter acts on and that stands in the table runs twice.
    frame.filter = [&] {
        frame.steps.push_back("filtered");
        return false;
    };
    EXPECT_TRUE(frame.KeyDown({VK_S, true}));
    EXPECT_EQ(take(), (names{"key 83", "filtered", "command 101", "idle"}));
    frame.filter = [] { return true; };
    EXPECT_FALSE(frame.KeyDown({VK_S, true}));
    EXPECT_EQ(take(), (names{"key 83", "idle"}));
}

TEST_F(frame_window, matches_accelerators_with_their_modifiers)
{
    frame.SetAccelerators(keys);
    EXPECT_FALSE(frame.KeyDown({VK_S}));
    EXPECT_FALSE(frame.KeyDown({VK_S, true, true}));
    EXPECT_FALSE(frame.KeyDown({VK_S, true, false, true}));
    EXPECT_FALSE(frame.KeyDown({VK_F3, true}));
    EXPECT_FALSE(frame.KeyDown({0x41}));
    frame.enabled = false;
    EXPECT_TRUE(frame.KeyDown({VK_F3}));
    for (const std::string& step : take())
        EXPECT_FALSE(step.starts_with("command")) << step;
}

TEST_F(frame_window, answers_keys_as_the_person_wants_them)
{
    frame.SetAccelerators(keys);
    frame.CommandBars().assign_key({VK_S, true}, known_command);
    frame.CommandBars().remove_key({VK_F3});
    EXPECT_TRUE(frame.KeyDown({VK_S, true}));
    EXPECT_FALSE(frame.KeyDown({VK_F3}));
    EXPECT_EQ(take(), (names{"key 83", "command 100", "idle", "key 114", "idle"}));
    EXPECT_EQ(frame.FilteredCommand({VK_F3}), 0u) << "no filter of its own";
}

constexpr std::array<menu_item, 1> commands_popup{{{u"Known", known_command}}};
constexpr std::array<menu_item, 1> menu{{{u"&Commands", 0, false, commands_popup}}};

TEST_F(frame_window, keeps_the_command_bars_in_the_users_settings)
{
    platform::memory_user_settings settings;
    platform::services set = platform::current();
    set.user = &settings;
    const platform::scoped_services in_use(set);

    EXPECT_TRUE(frame.SetMenu(u"Bar", menu));
    frame.SetAccelerators(keys);
    frame.LoadCommandBars(u"Bars");
    frame.CommandBars().assign_key({VK_S, true, true}, known_command);
    frame.SaveCommandBars(u"Bars");
    EXPECT_EQ(toolkit.calls(), (std::vector<std::u16string>{u"set_menu Bar", u"set_accelerators 2",
                                                            u"load_command_bars Bars", u"save_command_bars Bars"}));
    EXPECT_EQ(toolkit.menu().data(), menu.data());

    sample_frame next(toolkit, services);
    EXPECT_TRUE(next.SetMenu(u"Bar", menu));
    next.SetAccelerators(keys);
    EXPECT_FALSE(next.KeyDown({VK_S, true, true}));
    next.LoadCommandBars(u"Bars");
    EXPECT_TRUE(next.KeyDown({VK_S, true, true}));

    toolkit.fail(u"set_menu");
    EXPECT_FALSE(next.SetMenu(u"Bar", menu));
}

/// Tells how many calls the toolkit has got when the settings are read and changed.
struct observed_settings final : platform::user_settings {
    explicit observed_settings(const headless_toolkit& observed) : toolkit(observed) {}
    int read_number(std::u16string_view, std::u16string_view, int default_value) override { return default_value; }
    void write_number(std::u16string_view, std::u16string_view, int) override {}
    std::u16string read_text(std::u16string_view, std::u16string_view, std::u16string_view default_value) override
    {
        note("read");
        return std::u16string(default_value);
    }
    void write_text(std::u16string_view, std::u16string_view, std::u16string_view) override { note("write"); }
    void remove(std::u16string_view, std::u16string_view) override { note("remove"); }
    void note(const std::string& what) { events.push_back(what + " " + std::to_string(toolkit.calls().size())); }

    const headless_toolkit& toolkit;
    names events;
};

TEST_F(frame_window, the_toolkit_comes_behind_what_is_read_and_before_what_is_kept)
{
    observed_settings settings(toolkit);
    platform::services set = platform::current();
    set.user = &settings;
    const platform::scoped_services in_use(set);
    frame.LoadCommandBars(u"Bars");
    frame.CommandBars().reset();
    frame.SaveCommandBars(u"Bars");
    EXPECT_EQ(settings.events, (names{"read 0", "remove 2"}));
    EXPECT_EQ(toolkit.calls().size(), 2u);
}

TEST_F(frame_window, ends_a_key_where_its_filter_throws)
{
    frame.SetAccelerators(keys);
    frame.filter = []() -> bool { throw std::runtime_error("filter"); };
    EXPECT_FALSE(frame.KeyDown({VK_F3}));
    EXPECT_EQ(take(), (names{"key 114", "idle"}));
    EXPECT_EQ(unhandled.size(), 1u);
}

TEST_F(frame_window, closes_and_destroys_the_window)
{
    frame.Close();
    EXPECT_EQ(take(), names{});
    frame.LoadFrame(128, 7);
    CTreeCtrl tree;
    frame.SetFocus(tree);
    (void)take();
    frame.Close();
    EXPECT_EQ(take(), (names{"OnClose", "idle"}));
    EXPECT_FALSE(frame.HasWindow());
    EXPECT_FALSE(toolkit.has_window());
    EXPECT_EQ(frame.GetFocus(), nullptr);
}

TEST_F(frame_window, stays_open_where_closing_throws)
{
    frame.LoadFrame(128, 7);
    frame.on_close = [] { throw std::runtime_error("disk"); };
    frame.Close();
    EXPECT_TRUE(frame.HasWindow());
    EXPECT_EQ(unhandled.size(), 1u);
}

TEST_F(frame_window, keeps_title_status_and_focus_and_hands_them_on)
{
    frame.LoadFrame(128, 7);
    CTreeCtrl tree;
    frame.SetTitle(u"C:\\a.hdr");
    frame.SetStatusText(0, u"Opened media: C:\\a.hdr");
    frame.SetStatusText(1, u"other pane");
    frame.SetFocus(tree);
    EXPECT_EQ(frame.GetTitle(), u"C:\\a.hdr");
    EXPECT_EQ(frame.GetStatusText(), u"Opened media: C:\\a.hdr");
    EXPECT_EQ(frame.GetFocus(), &tree);
    EXPECT_EQ(toolkit.title(), u"C:\\a.hdr");
    EXPECT_EQ(toolkit.status_text(0), u"Opened media: C:\\a.hdr");
    EXPECT_EQ(toolkit.status_text(1), u"other pane");
    EXPECT_EQ(toolkit.focus(), &tree);
    frame.FocusMoved(nullptr);
    EXPECT_EQ(frame.GetFocus(), nullptr);
    EXPECT_EQ(toolkit.focus(), &tree);
}

TEST_F(frame_window, keeps_title_status_and_focus_without_a_window)
{
    frame.SetTitle(u"t");
    frame.SetStatusText(0, u"s");
    EXPECT_EQ(frame.GetTitle(), u"t");
    EXPECT_EQ(frame.GetStatusText(), u"s");
    CTreeCtrl tree;
    frame.SetFocus(tree);
    EXPECT_EQ(frame.GetFocus(), &tree);
    EXPECT_TRUE(toolkit.calls().empty());
}

} // namespace
} // namespace cw
