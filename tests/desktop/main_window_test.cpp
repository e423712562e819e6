#include "desktop/main_window.h"

#include "tests/desktop/desktop_support.h"

#include <QContextMenuEvent>
#include <QDialog>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QScreen>
#include <QSplitter>
#include <QStatusBar>
#include <QTest>
#include <QToolBar>
#include <QWindow>
#include <gtest/gtest.h>

namespace cw {
namespace {

using namespace test_support;

struct MainWindow : testing::Test {
    MainWindow() { window.add_status_pane(); }

    int close_count = 0;
    int bars_menus = 0;
    std::vector<std::uint32_t> keys;
    bool takes_keys = false;
    std::vector<QWidget*> focused;
    main_window window{{.close_wanted = [this] { ++close_count; },
                        .key_pressed =
                            [this](const key_message& key) {
                                keys.push_back(key.virtual_key);
                                return takes_keys;
                            },
                        .focus_moved = [this](QWidget* widget) { focused.push_back(widget); },
                        .bars_menu_wanted = [this](const QPoint&) { ++bars_menus; }}};
};

TEST_F(MainWindow, AKeyIsSeenOnceBeforeTheFocusedWidget)
{
    auto* field = new QLineEdit;
    window.setCentralWidget(field);
    window.show();
    window.activateWindow();
    field->setFocus();
    press(window, Qt::Key_X);
    EXPECT_EQ(keys, std::vector<std::uint32_t>{'X'});
    EXPECT_EQ(field->text(), "x");
    takes_keys = true;
    press(window, Qt::Key_Y);
    EXPECT_EQ(field->text(), "x") << "an accelerator goes no further";
    EXPECT_EQ(keys.size(), 2u);
}

TEST_F(MainWindow, KeysOfADialogAreNotSeen)
{
    window.show();
    QDialog dialog(&window);
    QLineEdit field(&dialog);
    dialog.show();
    dialog.activateWindow();
    field.setFocus();
    QTest::keyClick(dialog.windowHandle(), Qt::Key_C, Qt::ControlModifier);
    pump();
    EXPECT_TRUE(keys.empty());
}

TEST_F(MainWindow, KeysOfAnOpenMenuAreNotSeen)
{
    window.show();
    window.activateWindow();
    QMenu menu(&window);
    menu.addAction(QStringLiteral("Do"));
    menu.popup(window.mapToGlobal(QPoint(10, 10)));
    pump();
    press(window, Qt::Key_F3);
    EXPECT_TRUE(keys.empty());
    menu.close();
    press(window, Qt::Key_F3);
    EXPECT_EQ(keys, std::vector<std::uint32_t>{0x72});
}

TEST_F(MainWindow, AsksForTheMenuOfItsBars)
{
    auto* field = new QWidget;
    window.setCentralWidget(field);
    window.menuBar()->addMenu(QStringLiteral("&File"));
    QToolBar* bar = window.addToolBar(QStringLiteral("Bar"));
    bar->addAction(QStringLiteral("Do"));
    window.show();
    window.activateWindow();
    pump();
    const auto right_click = [this](QWidget& on) {
        const QPoint place = on.rect().center();
        QContextMenuEvent event(QContextMenuEvent::Mouse, place, on.mapToGlobal(place));
        QCoreApplication::sendEvent(&on, &event);
        return std::exchange(bars_menus, 0);
    };
    EXPECT_EQ(right_click(*window.menuBar()), 1);
    EXPECT_EQ(right_click(*bar), 1);
    EXPECT_EQ(right_click(*bar->widgetForAction(bar->actions().front())), 1);
    EXPECT_EQ(right_click(*field), 0);

    field->setFocusPolicy(Qt::StrongFocus);
    field->setFocus();
    press(window, Qt::Key_F10, Qt::ShiftModifier);
    EXPECT_EQ(std::exchange(bars_menus, 0), 0) << "the menu bar does not have the focus";
    window.menuBar()->setFocusPolicy(Qt::StrongFocus);
    window.menuBar()->setFocus();
    press(window, Qt::Key_F10, Qt::ShiftModifier);
    EXPECT_EQ(std::exchange(bars_menus, 0), 1);
    QContextMenuEvent by_key(QContextMenuEvent::Keyboard, QPoint(1, 1), QPoint(1, 1));
    QCoreApplication::sendEvent(window.menuBar(), &by_key);
    EXPECT_EQ(std::exchange(bars_menus, 0), 1);
}

TEST_F(MainWindow, ACloseIsAWishOnly)
{
    window.show();
    window.close();
    EXPECT_EQ(close_count, 1);
    EXPECT_TRUE(window.isVisible());
}

TEST_F(MainWindow, TellsWhereTheFocusGoesWithinIt)
{
    auto* field = new QLineEdit;
    window.setCentralWidget(field);
    window.show();
    window.activateWindow();
    field->setFocus();
    pump();
    ASSERT_FALSE(focused.empty());
    EXPECT_EQ(focused.back(), field);

    const std::size_t before = focused.size();
    QLineEdit elsewhere;
    elsewhere.show();
    elsewhere.activateWindow();
    elsewhere.setFocus();
    pump();
    EXPECT_EQ(focused.size(), before) << "a dialog's focus is not the frame's";
}

TEST_F(MainWindow, PanesShareTheSplitter)
{
    window.make_splitter();
    auto* first = new QWidget;
    auto* second = new QWidget;
    window.add_pane(*first, 0, 250);
    window.add_pane(*second, 1, 100);
    window.resize(1000, 400);
    window.show();
    pump();
    EXPECT_EQ(first->width(), 250);
    EXPECT_GT(second->width(), 700) << "takes what remains";
    window.resize(800, 400);
    pump();
    EXPECT_EQ(first->width(), 250);
    window.remove_splitter();
    EXPECT_EQ(window.centralWidget(), nullptr);
}

TEST_F(MainWindow, FitsOnTheScreen)
{
    const QSize room = window.screen()->availableGeometry().size();
    EXPECT_LE(window.width(), room.width());
    EXPECT_LE(window.height(), room.height());
    EXPECT_GE(window.width(), std::min(1100, room.width() * 9 / 10));
}

TEST_F(MainWindow, ALongStatusTextDoesNotWidenTheWindow)
{
    window.show();
    const int narrowest = window.minimumSizeHint().width();
    const QString text = QString(5000, u'x');
    window.set_status_text(0, text);
    pump();
    EXPECT_EQ(window.minimumSizeHint().width(), narrowest);
    EXPECT_EQ(window.status_text(0), text);
    window.set_status_text(1, text);
    EXPECT_EQ(window.status_text(1), QString()) << "there is no such pane";
    EXPECT_FALSE(window.grab().isNull());
}

struct DropOnWindow : testing::Test {
    DropOnWindow()
    {
        shown.window().accept_files([this](const std::u16string& path) { opened.push_back(path); });
        pump();
    }
    /// The middle of a widget, in the window.
    QPoint middle(const QWidget& widget) { return widget.mapTo(&shown.window(), widget.rect().center()); }

    temporary_folder folder;
    recording_window shown;
    std::vector<std::u16string> opened;
};

TEST_F(DropOnWindow, IsTakenOverEveryPartOfIt)
{
    std::vector<std::u16string> expected;
    for (const QWidget* part : std::initializer_list<const QWidget*>{
             &shown.tree(), shown.tree().viewport(), &shown.list(), shown.list().viewport(),
             shown.list().horizontalHeader(), shown.window().menuBar(), shown.window().statusBar(), &shown.window()}) {
        EXPECT_TRUE(drop(shown.window(), middle(*part), {folder.file("any.txt")})) << part->metaObject()->className();
        expected.push_back(folder.wide_file("any.txt"));
        pump();
    }
    EXPECT_EQ(opened, expected);
}

TEST_F(DropOnWindow, BringsTheWindowToTheFront)
{
    QWidget source;
    source.show();
    source.activateWindow();
    pump();
    ASSERT_FALSE(shown.window().isActiveWindow());
    EXPECT_TRUE(drop(shown.window(), {9, 9}, {folder.file("a.hdr")}));
    pump();
    EXPECT_TRUE(shown.window().isActiveWindow());
}

TEST_F(DropOnWindow, OfSeveralFilesIsTheFirst)
{
    EXPECT_TRUE(drop(shown.window(), {9, 9}, {folder.file("a.hdr"), folder.file("b.cab"), folder.file("c.clg")}));
    pump();
    EXPECT_EQ(opened, std::vector{folder.wide_file("a.hdr")});
}

TEST_F(DropOnWindow, OfAFolderOrOfNothingIsRefused)
{
    EXPECT_FALSE(drop(shown.window(), {9, 9}, {folder.path()}));
    EXPECT_FALSE(drop(shown.window(), {9, 9}, {}));
    pump();
    EXPECT_TRUE(opened.empty());
}

TEST_F(DropOnWindow, MovesNothingAway)
{
    EXPECT_TRUE(drop(shown.window(), {9, 9}, {folder.file("a.hdr")}, Qt::MoveAction | Qt::LinkAction));
    EXPECT_FALSE(drop(shown.window(), {9, 9}, {folder.file("b.hdr")}, Qt::MoveAction));
    pump();
    EXPECT_EQ(opened, std::vector{folder.wide_file("a.hdr")});
}

TEST_F(DropOnWindow, IsRefusedWhileADialogOrAMenuIsOpen)
{
    QDialog dialog(&shown.window());
    dialog.setModal(true);
    dialog.show();
    EXPECT_FALSE(drop(shown.window(), {9, 9}, {folder.file("a.hdr")}));
    dialog.hide();

    QMenu menu(&shown.window());
    menu.popup({});
    EXPECT_FALSE(drop(shown.window(), {9, 9}, {folder.file("a.hdr")}));
    menu.hide();

    EXPECT_TRUE(drop(shown.window(), {9, 9}, {folder.file("a.hdr")}));
    dialog.show();
    pump();
    EXPECT_TRUE(opened.empty()) << "the dialog came before the file could be opened";
}

TEST_F(MainWindow, TakesNoDropsUntilSomebodyOpensThem)
{
    window.show();
    pump();
    EXPECT_FALSE(drop(window, {9, 9}, {"/a.hdr"}));
}

} // namespace
} // namespace cw
