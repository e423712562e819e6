#include "desktop/customize_dialog.h"

#include "app/menus.h"
#include "desktop/customize_commands_page.h"
#include "desktop/customize_keyboard_page.h"
#include "tests/desktop/desktop_support.h"

#include <QComboBox>
#include <QContextMenuEvent>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QTabWidget>
#include <QTest>
#include <QTreeWidget>
#include <QWheelEvent>
#include <QWindow>
#include <gtest/gtest.h>

namespace cw {
namespace {

using namespace test_support;

std::uint32_t no_command(const key_message&)
{
    return 0;
}

struct CustomizeDialog : testing::Test, program_bars {
    static QStringList tabs(const customize_dialog& dialog)
    {
        QStringList texts;
        const auto& widget = *dialog.findChild<QTabWidget*>();
        for (int index = 0; index < widget.count(); ++index)
            texts.append(widget.tabText(index));
        return texts;
    }
};

TEST_F(CustomizeDialog, HasThePageOfCommandsFromTheStart)
{
    customize_dialog dialog(bars, nullptr);
    EXPECT_EQ(dialog.windowTitle(), "Customize");
    EXPECT_EQ(tabs(dialog), QStringList{"Commands"});
    dialog.add_keyboard_page(no_command);
    dialog.add_options_page();
    EXPECT_EQ(tabs(dialog), (QStringList{"Commands", "Keyboard", "Options"}));
}

TEST_F(CustomizeDialog, FitsOnTheScreenAndClosesByEscapeAlone)
{
    customize_dialog dialog(bars, nullptr);
    const QSize room = dialog.screen()->availableGeometry().size();
    EXPECT_LE(dialog.width(), room.width());
    EXPECT_LE(dialog.height(), room.height());
    dialog.show();
    QTest::keyClick(&dialog, Qt::Key_Return);
    EXPECT_TRUE(dialog.isVisible()) << "Return is for what stands in it";
    QTest::keyClick(&dialog, Qt::Key_Escape);
    EXPECT_FALSE(dialog.isVisible());
    dialog.show();
    button_of(dialog, QStringLiteral("Close"))->click();
    EXPECT_FALSE(dialog.isVisible());
}

TEST_F(CustomizeDialog, KeysGoFromPageToPageWhereverTheFocusIs)
{
    customize_dialog dialog(bars, nullptr);
    dialog.add_keyboard_page(no_command);
    dialog.add_options_page();
    dialog.show();
    dialog.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    auto& pages = *dialog.findChild<QTabWidget*>();
    const auto press = [&](Qt::KeyboardModifiers held, int expected) {
        QTest::keyClick(dialog.windowHandle(), Qt::Key_Tab, held);
        EXPECT_EQ(pages.currentIndex(), expected);
    };
    press(Qt::ControlModifier, 1);
    // Combo boxes keep what they do not need.
    pages.currentWidget()->findChild<QComboBox*>()->setFocus();
    press(Qt::ControlModifier, 2);
    press(Qt::ControlModifier, 0);
    press(Qt::ControlModifier | Qt::ShiftModifier, 2);
}

TEST_F(CustomizeDialog, AllPagesShowAChange)
{
    customize_dialog dialog(bars, nullptr);
    dialog.refresh();
    for (tool_category& category : commands_by_popup(main_menu()))
        dialog.add_keyboard_page(no_command).add_category(std::move(category));
    dialog.add_options_page();
    bars.set_changed_sink([&] { dialog.refresh(); });
    bars.set_options({true, tool_button_text::none, false});
    ASSERT_TRUE(bars.set_tool_bars({{u"T", true, {tool_item::command(ID_FILE_OPEN)}}}));
    EXPECT_EQ(dialog.findChild<QTreeWidget*>()->topLevelItemCount(), 1);
    bool large = false;
    for (const QRadioButton* button : dialog.findChildren<QRadioButton*>())
        large = large || (button->isChecked() && button->text() == "&Large");
    EXPECT_TRUE(large);
}

TEST_F(CustomizeDialog, TheFramePutsItTogetherAndRunsIt)
{
    auto* dialog = new customize_dialog(bars, nullptr);
    const QPointer<customize_dialog> alive(dialog);
    int runs = 0;
    {
        qt_customize_sheet sheet(*dialog, no_command, [&](customize_dialog& shown) {
            ++runs;
            EXPECT_EQ(&shown, dialog);
        });
        sheet.add_keyboard_page(main_menu());
        sheet.add_options_page();
        sheet.add_categories(main_menu());
        sheet.insert_all_commands_category(u"All Commands", customize_sheet::last_place);
        sheet.insert_built_in_menus(main_menu(), u"Built-in Menus", customize_sheet::last_place);
        sheet.insert_new_menu_category(u"New Menu", 0);
        sheet.run_modal();
        EXPECT_EQ(tabs(*dialog), (QStringList{"Commands", "Keyboard", "Options"}));
        QStringList names;
        const auto lists = dialog->commands_page().findChildren<QListWidget*>();
        const auto found = std::find_if(lists.begin(), lists.end(),
                                        [](const QListWidget* list) { return list->accessibleName() == "Categories"; });
        ASSERT_NE(found, lists.end());
        for (int row = 0; row < (*found)->count(); ++row)
            names.append((*found)->item(row)->text());
        EXPECT_EQ(names, (QStringList{"New Menu", "File", "Search", "View", "Tools", "Help", "All Commands",
                                      "Built-in Menus"}));
        bool has_categories_of_keys = false;
        for (const QComboBox* box : dialog->findChildren<QComboBox*>())
            has_categories_of_keys = has_categories_of_keys || box->count() == 5;
        EXPECT_TRUE(has_categories_of_keys);
    }
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(alive, nullptr) << "the sheet ends the dialog";
}

TEST_F(CustomizeDialog, ADialogThatEndedWithItsWindowIsNotRun)
{
    auto window = std::make_unique<QWidget>();
    int runs = 0;
    qt_customize_sheet sheet(*new customize_dialog(bars, window.get()), no_command, [&](customize_dialog&) { ++runs; });
    window.reset();
    sheet.run_modal();
    EXPECT_EQ(runs, 0);
}

TEST_F(CustomizeDialog, TheWindowGetsNoInputMeanwhile)
{
    struct counting_widget : QWidget {
        void mousePressEvent(QMouseEvent*) override { ++count; }
        void keyPressEvent(QKeyEvent*) override { ++count; }
        void closeEvent(QCloseEvent* event) override
        {
            ++count;
            event->ignore();
        }
        void contextMenuEvent(QContextMenuEvent*) override { ++count; }
        void wheelEvent(QWheelEvent*) override { ++count; }
        int count = 0;
    } window;
    window.resize(200, 200);
    window.show();
    window.activateWindow();
    pump();
    QWidget dialog;
    dialog.show();
    const auto try_everything = [&] {
        QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, QPoint(50, 50));
        QTest::keyClick(window.windowHandle(), Qt::Key_A);
        const QPoint global = window.mapToGlobal(QPoint(50, 50));
        QContextMenuEvent menu(QContextMenuEvent::Keyboard, QPoint(50, 50), global);
        QCoreApplication::sendEvent(window.windowHandle(), &menu);
        QWheelEvent wheel(QPoint(50, 50), global, QPoint(), QPoint(0, 120), Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(window.windowHandle(), &wheel);
        QCloseEvent close;
        QCoreApplication::sendEvent(window.windowHandle(), &close);
        pump();
        return std::exchange(window.count, 0);
    };
    EXPECT_EQ(try_everything(), 5);
    window.activateWindow();
    pump();
    EXPECT_FALSE(dialog.isActiveWindow());
    {
        const input_guard guard(window, dialog);
        EXPECT_EQ(try_everything(), 0);
        EXPECT_TRUE(window.isVisible());
        EXPECT_TRUE(dialog.isActiveWindow()) << "a click on the window brings the dialog to the front";
        QTest::keyClick(dialog.windowHandle(), Qt::Key_A); // goes where it should
    }
    EXPECT_EQ(try_everything(), 5);
}

} // namespace
} // namespace cw
