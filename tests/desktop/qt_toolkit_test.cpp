#include "desktop/qt_toolkit.h"

#include "app/menus.h"
#include "desktop/qt_text.h"
#include "desktop/tool_drag.h"
#include "tests/desktop/desktop_support.h"

#include <QAction>
#include <QContextMenuEvent>
#include <QDragEnterEvent>
#include <QGuiApplication>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QPushButton>
#include <QTest>
#include <QToolBar>
#include <QWindow>
#include <gtest/gtest.h>

#include <stdexcept>

namespace cw {
namespace {

using namespace test_support;

TEST(QtToolkit, MakesTheWindowAsTheFrameAsks)
{
    program_window shown;
    ASSERT_TRUE(shown.start());
    main_window& window = shown.window();
    EXPECT_TRUE(window.isVisible());
    EXPECT_EQ(window.windowTitle(), "Cratewright Cabinet and Log File Viewer");
    EXPECT_FALSE(window.windowIcon().isNull());
    EXPECT_EQ(shown.window_toolkit.tree()->width(), 250);
    EXPECT_GT(shown.window_toolkit.list()->width(), 250);
    EXPECT_EQ(shown.window_toolkit.list()->model()->columnCount(), 2);
    EXPECT_EQ(shown.window_toolkit.list()->columnWidth(0), 150);
    EXPECT_EQ(shown.window_toolkit.list()->columnWidth(1), 400);
    EXPECT_EQ(window.status_text(0), QString());
}

TEST(QtToolkit, TitleAndStatusAreOneLine)
{
    recording_window shown;
    shown.toolkit.set_title(u"/work/a\nb\tc.clg");
    shown.toolkit.set_status_text(0, u"Opened media: a\nb.hdr");
    EXPECT_EQ(shown.window().windowTitle(), "/work/a b c.clg");
    EXPECT_EQ(shown.window().status_text(0), "Opened media: a b.hdr");
}

TEST(QtToolkit, PanesHaveAccessibleNames)
{
    recording_window shown;
    EXPECT_FALSE(shown.tree().accessibleName().isEmpty());
    EXPECT_FALSE(shown.list().accessibleName().isEmpty());
    EXPECT_NE(shown.tree().accessibleName(), shown.list().accessibleName());
}

TEST(QtToolkit, RefusesWhatItCannotMake)
{
    qt_toolkit toolkit;
    CTreeCtrl tree;
    CListCtrl list;
    EXPECT_FALSE(toolkit.create_splitter(1, 2, 0, 0)) << "there is no window";
    EXPECT_FALSE(toolkit.create_status_bar(0, 0));
    EXPECT_FALSE(toolkit.init_command_bars());
    EXPECT_FALSE(toolkit.set_menu(u"Menu Bar", main_menu()));
    ASSERT_TRUE(toolkit.create_window({}));
    EXPECT_FALSE(toolkit.create_splitter(2, 2, 0, 0));
    EXPECT_FALSE(toolkit.create_tree_view(0, 0, 250, 100, tree)) << "there is no splitter";
    EXPECT_FALSE(toolkit.create_list_view(0, 1, 100, 100, list));
    ASSERT_TRUE(toolkit.create_splitter(1, 2, 0, 0));
    EXPECT_TRUE(toolkit.create_tree_view(0, 0, 250, 100, tree));
    toolkit.destroy_splitter();
    EXPECT_FALSE(toolkit.create_list_view(0, 1, 100, 100, list));
    tree.InsertItem(u"item", {}, {}); // nobody listens any more
    toolkit.destroy_window();
    toolkit.destroy_window();
    pump();
}

TEST(QtToolkit, ShowsAnOpenMedia)
{
    program_window shown;
    ASSERT_TRUE(shown.start());
    ASSERT_TRUE(shown.open_features("Main\n  Help\nOther\n"));
    const QString path = to_qt(shown.folder.wide_file("media.hdr"));
    EXPECT_EQ(shown.window().windowTitle(), path);
    EXPECT_EQ(shown.window().status_text(0), QStringLiteral("Opened media: ") + path);
    tree_pane& tree = *shown.window_toolkit.tree();
    EXPECT_EQ(tree.model()->index(0, 0).data().toString(), "Features");
    EXPECT_FALSE(tree.selectionModel()->hasSelection());
    EXPECT_TRUE(tree.hasFocus());

    const QModelIndex main = tree.model()->index(0, 0, tree.model()->index(0, 0));
    tree.setCurrentIndex(main);
    list_pane& list = *shown.window_toolkit.list();
    EXPECT_EQ(list.model()->index(0, 0).data().toString(), "Name");
    EXPECT_EQ(list.model()->index(0, 1).data().toString(), "Main");
}

TEST(QtToolkit, MenuStatesFollowTheSession)
{
    program_window shown;
    ASSERT_TRUE(shown.start());
    const auto action = [&](const char* path) { return menu_action(shown.window(), QString::fromUtf8(path)); };
    EXPECT_FALSE(action("&View/&All")->isEnabled());
    EXPECT_FALSE(action("&View/&Expert Mode")->isEnabled());
    EXPECT_TRUE(action("&File/&Open")->isEnabled());
    EXPECT_TRUE(action("&File/E&xit")->isEnabled());
    EXPECT_TRUE(action("&Help/&About Cab and Log File Viewer...")->isEnabled());

    ASSERT_TRUE(shown.open_features("Main\n"));
    EXPECT_TRUE(action("&View/&All")->isEnabled());
    EXPECT_TRUE(action("&View/&All")->isChecked());
    EXPECT_FALSE(action("&View/&Features")->isChecked());
    EXPECT_FALSE(action("&View/&Expert Mode")->isChecked());
    action("&View/&Features")->trigger();
    EXPECT_TRUE(action("&View/&Features")->isChecked());
    EXPECT_FALSE(action("&View/&All")->isChecked());
    EXPECT_TRUE(shown.window_toolkit.tree()->isExpanded(shown.window_toolkit.tree()->model()->index(0, 0)));
    action("&View/&Expert Mode")->trigger();
    EXPECT_TRUE(action("&View/&Expert Mode")->isChecked());
}

TEST(QtToolkit, EveryAcceleratorReachesItsCommand)
{
    recording_window shown;
    shown.tree().setFocus();
    const struct {
        Qt::Key key;
        Qt::KeyboardModifiers held;
        std::uint32_t command;
    } keys[]{
        {Qt::Key_C, Qt::ControlModifier, 57634},
        {Qt::Key_Insert, Qt::ControlModifier, 57634},
        {Qt::Key_Delete, Qt::ShiftModifier, 57635},
        {Qt::Key_X, Qt::ControlModifier, 57635},
        {Qt::Key_V, Qt::ControlModifier, 57637},
        {Qt::Key_Insert, Qt::ShiftModifier, 57637},
        {Qt::Key_Backspace, Qt::AltModifier, 57643},
        {Qt::Key_Z, Qt::ControlModifier, 57643},
        {Qt::Key_F6, {}, 57680},
        {Qt::Key_F6, Qt::ShiftModifier, 57681},
        {Qt::Key_F3, {}, ID_SEARCH_FIND_NEXT},
        {Qt::Key_S, Qt::ControlModifier, ID_FILE_SAVE},
    };
    ASSERT_EQ(std::size(keys), main_accelerators().size());
    for (const auto& key : keys) {
        shown.frame.commands.clear();
        shown.frame.keys.clear();
        press(shown.window(), key.key, key.held);
        EXPECT_EQ(shown.frame.commands, std::vector{key.command}) << key.key;
        EXPECT_EQ(shown.frame.keys.size(), 1u) << "the message filter sees each key once";
    }
}

TEST(QtToolkit, CtrlOOpensThroughTheMessageFilter)
{
    program_window shown;
    ASSERT_TRUE(shown.start());
    press(shown.window(), Qt::Key_O, Qt::ControlModifier);
    EXPECT_EQ(shown.person.take_questions().size(), 1u);
    press(shown.window(), Qt::Key_Slash, Qt::ControlModifier | Qt::KeypadModifier);
    EXPECT_EQ(shown.person.take_questions().size(), 1u) << "the keypad's slash counts as well";
}

TEST(QtToolkit, TheFocusGoesBothWays)
{
    recording_window shown;
    shown.frame.SetFocus(shown.frame.list);
    EXPECT_TRUE(shown.list().hasFocus());
    shown.tree().setFocus();
    pump();
    EXPECT_EQ(shown.frame.GetFocus(), &shown.frame.tree);
    press(shown.window(), Qt::Key_Tab);
    EXPECT_TRUE(shown.list().hasFocus());
    EXPECT_EQ(shown.frame.GetFocus(), &shown.frame.list);
    press(shown.window(), Qt::Key_Tab, Qt::ShiftModifier);
    EXPECT_EQ(shown.frame.GetFocus(), &shown.frame.tree);
}

TEST(QtToolkit, WorkShowsTheWaitCursor)
{
    recording_window shown;
    const auto shape = [] {
        const QCursor* cursor = QGuiApplication::overrideCursor();
        return cursor ? cursor->shape() : Qt::ArrowCursor;
    };
    Qt::CursorShape during = Qt::ArrowCursor;
    shown.frame.on_command = [&](std::uint32_t) { during = shape(); };
    menu_action(shown.window(), QStringLiteral("&File/&Open"))->trigger();
    EXPECT_EQ(during, Qt::WaitCursor);
    EXPECT_EQ(shape(), Qt::ArrowCursor);
}

TEST(QtToolkit, ToolbarsFollowTheSession)
{
    program_window shown;
    ASSERT_TRUE(shown.start());
    ASSERT_TRUE(shown.frame().CommandBars().set_tool_bars(
        {{u"T", true, {tool_item::command(ID_VIEW_FEATURES), tool_item::command(ID_FILE_OPEN)}}}));
    const auto action = [&](int index) { return shown.window().findChild<QToolBar*>()->actions().at(index); };
    EXPECT_FALSE(action(0)->isEnabled());
    EXPECT_TRUE(action(1)->isEnabled());
    ASSERT_TRUE(shown.open_features("Main\n"));
    EXPECT_TRUE(action(0)->isEnabled());
    EXPECT_FALSE(action(0)->isChecked());
    action(0)->trigger();
    EXPECT_TRUE(action(0)->isChecked());
    EXPECT_EQ(shown.frame().ViewFilter(), u"Features");
}

TEST(QtToolkit, ToolbarsAndKeysAreThereAgain)
{
    platform::memory_user_settings settings;
    {
        program_window first;
        ASSERT_TRUE(first.start());
        ASSERT_TRUE(first.frame().CommandBars().set_tool_bars({{u"T", true, {tool_item::command(ID_APP_ABOUT)}}}));
        first.frame().CommandBars().assign_key({0x76}, ID_APP_ABOUT);
        first.window().close();
        settings = first.settings;
    }
    program_window second;
    second.settings = settings;
    ASSERT_TRUE(second.start());
    const auto* bar = second.window().findChild<QToolBar*>();
    ASSERT_NE(bar, nullptr);
    bar->actions().front()->trigger();
    EXPECT_EQ(second.person.about_count(), 1);
    press(second.window(), Qt::Key_F7);
    EXPECT_EQ(second.person.about_count(), 2);
}

TEST(QtToolkit, CustomizesFromTheMenuOfTheBars)
{
    program_window shown;
    ASSERT_TRUE(shown.start());
    bool window_was_blocked = false;
    const std::unique_ptr<QMimeData> drag = drag_of(tool_item::separator());
    shown.window().accept_files([](const std::u16string&) {});
    when_modal([&](QWidget& popup) {
        when_shown(QStringLiteral("Customize"), [&](QWidget& dialog) {
            press(shown.window(), Qt::Key_O, Qt::ControlModifier);
            window_was_blocked = shown.person.take_questions().empty();
            EXPECT_FALSE(drop(shown.window(), QPoint(50, 50), {"/work/tour.clg"}));
            button_of(dialog, QStringLiteral("Add \u2192"))->click();
            auto* bar = shown.window().findChild<QToolBar*>();
            ASSERT_NE(bar, nullptr) << "it is there at once";
            EXPECT_TRUE(bar->acceptDrops());
            const QPoint on_bar = bar->mapTo(&shown.window(), bar->rect().center());
            EXPECT_FALSE(drop(shown.window(), on_bar, {"/work/tour.clg"}));
            QDragEnterEvent own(on_bar, Qt::CopyAction, drag.get(), Qt::LeftButton, Qt::NoModifier);
            QCoreApplication::sendEvent(shown.window().windowHandle(), &own);
            EXPECT_TRUE(own.isAccepted()) << "toolbars take what the dialog hands out";
        });
        auto& menu = dynamic_cast<QMenu&>(popup);
        menu.setActiveAction(menu.actions().back());
        QTest::keyClick(&menu, Qt::Key_Return);
    });
    QMenuBar& menu_bar = *shown.window().menuBar();
    QContextMenuEvent event(QContextMenuEvent::Mouse, menu_bar.rect().center(),
                            menu_bar.mapToGlobal(menu_bar.rect().center()));
    QCoreApplication::sendEvent(&menu_bar, &event);
    EXPECT_TRUE(window_was_blocked);
    ASSERT_EQ(shown.frame().CommandBars().tool_bars().size(), 1u);
    pump();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(shown.window().findChild<QToolBar*>()->acceptDrops());
    press(shown.window(), Qt::Key_O, Qt::ControlModifier);
    EXPECT_EQ(shown.person.take_questions().size(), 1u) << "the window is a person's again";
    EXPECT_TRUE(drop(shown.window(), QPoint(50, 50), {"/work/tour.clg"}));
    pump();
}

TEST(QtToolkit, HasNoSheetWithoutAFrame)
{
    qt_toolkit toolkit;
    EXPECT_EQ(toolkit.make_customize_sheet(), nullptr);
    toolkit.load_command_bars(u"CommandBars");
    toolkit.save_command_bars(u"CommandBars");
}

TEST(QtToolkit, ExitAndTheWindowsCloseAreOne)
{
    recording_window by_close;
    by_close.window().close();
    EXPECT_EQ(by_close.frame.close_count, 1);
    EXPECT_EQ(by_close.toolkit.window(), nullptr);
    EXPECT_FALSE(by_close.frame.HasWindow());

    program_window by_menu;
    ASSERT_TRUE(by_menu.start());
    menu_action(by_menu.window(), QStringLiteral("&File/E&xit"))->trigger();
    EXPECT_EQ(by_menu.window_toolkit.window(), nullptr);
    EXPECT_FALSE(by_menu.frame().HasWindow());
}

TEST(QtToolkit, AnErrorInAnEntryLeavesTheWindow)
{
    recording_window shown;
    shown.frame.on_command = nullptr;
    shown.toolkit.enter([] { throw std::runtime_error("full"); });
    EXPECT_EQ(shown.unhandled.size(), 1u);
    EXPECT_TRUE(shown.window().isVisible());
}

TEST(QtToolkit, AboutIsACommand)
{
    program_window shown;
    ASSERT_TRUE(shown.start());
    menu_action(shown.window(), QStringLiteral("&Help/&About Cab and Log File Viewer..."))->trigger();
    EXPECT_EQ(shown.person.about_count(), 1);
}

} // namespace
} // namespace cw
