#include "desktop/frame_menus.h"

#include "app/menus.h"
#include "desktop/qt_text.h"
#include "tests/desktop/desktop_support.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <gtest/gtest.h>

namespace cw {
namespace {

using namespace test_support;

/// The items of a menu that differ from the table's; the popup of recent files is filled at run time.
void compare(const QList<QAction*>& actions, std::span<const menu_item> table)
{
    ASSERT_EQ(static_cast<std::size_t>(actions.size()), table.size());
    for (std::size_t index = 0; index < table.size(); ++index) {
        const QAction* action = actions[static_cast<qsizetype>(index)];
        const menu_item& item = table[index];
        EXPECT_EQ(action->isSeparator(), item.is_separator());
        if (item.is_separator())
            continue;
        EXPECT_EQ(action->text().section(u'\t', 0, 0), to_qt(item.text));
        EXPECT_EQ(action->menu() != nullptr, item.is_popup());
        EXPECT_EQ(action->data().toUInt(), item.id);
        if (item.is_popup())
            compare(action->menu()->actions(), item.popup);
    }
}

TEST(FrameMenus, TheBarHoldsTheWholeTable)
{
    recording_window shown;
    compare(shown.window().menuBar()->actions(), main_menu());
    EXPECT_EQ(shown.window().menuBar()->accessibleName(), "Menu Bar");
    EXPECT_EQ(popup_texts(shown.window(), QStringLiteral("&File")),
              (QStringList{"&Open\tCtrl+O", "&Save\tCtrl+S", "---", "> &Recent Files", "---", "E&xit"}));
    EXPECT_EQ(popup_texts(shown.window(), QStringLiteral("&Search")), (QStringList{"Find", "Find Next\tF3"}));
}

TEST(FrameMenus, ViewItemsAreDisabledUntilTheirHandlersSaySomethingElse)
{
    qt_toolkit toolkit;
    ASSERT_TRUE(toolkit.create_window({}));
    ASSERT_TRUE(toolkit.set_menu(u"Menu Bar", main_menu()));
    const QMenu* view = toolkit.window()->menuBar()->actions().at(2)->menu();
    EXPECT_FALSE(view->actions().at(0)->isEnabled());
    EXPECT_FALSE(view->actions().at(6)->isEnabled());
    EXPECT_TRUE(view->actions().at(8)->isEnabled()) << "Expert Mode is not marked in the resource";
}

TEST(FrameMenus, StatesAreAskedForWhenAPopupOpens)
{
    recording_window shown;
    shown.frame.enabled[ID_VIEW_FEATURES] = false;
    shown.frame.checked[ID_VIEW_ALL] = true;
    EXPECT_TRUE(menu_action(shown.window(), QStringLiteral("&View/&All"))->isChecked());
    EXPECT_FALSE(menu_action(shown.window(), QStringLiteral("&View/&Features"))->isEnabled());
    EXPECT_FALSE(menu_action(shown.window(), QStringLiteral("&View/&Components"))->isCheckable());

    shown.frame.enabled[ID_VIEW_FEATURES] = true;
    shown.frame.checked[ID_VIEW_ALL] = false;
    EXPECT_FALSE(menu_action(shown.window(), QStringLiteral("&View/&All"))->isChecked());
    EXPECT_TRUE(menu_action(shown.window(), QStringLiteral("&View/&Features"))->isEnabled());
}

TEST(FrameMenus, WhatIsOpenDecidesWhichViewsThereAre)
{
    program_window shown;
    ASSERT_TRUE(shown.start());
    const auto states = [&] {
        QStringList told;
        for (const QAction* action : menu_action(shown.window(), QStringLiteral("&View"))->menu()->actions())
            if (!action->isSeparator())
                told.append(action->text().remove(u'&') + (action->isEnabled() ? "" : " -") +
                            (action->isChecked() ? " x" : ""));
        return told.join(u'\n');
    };
    EXPECT_EQ(states(), "All - x\nFeatures -\nComponents -\nSetup Types -\nShell Objects -\nRegistry Sets -\n"
                        "Media Settings -\nExpert Mode -");
    ASSERT_TRUE(shown.open_features("One"));
    menu_action(shown.window(), QStringLiteral("&View/&Registry Sets"))->trigger();
    menu_action(shown.window(), QStringLiteral("&View/&Expert Mode"))->trigger();
    EXPECT_EQ(states(), "All\nFeatures\nComponents\nSetup Types\nShell Objects\nRegistry Sets x\nMedia Settings\n"
                        "Expert Mode x");
}

TEST(FrameMenus, ExtractFileIsEnabledOnARowOfFilesAlone)
{
    program_window shown;
    ASSERT_TRUE(shown.start());
    const auto enabled = [&] {
        return menu_action(shown.window(), QStringLiteral("&Tools/&Extract File"))->isEnabled();
    };
    EXPECT_FALSE(enabled());
    shown.folder.write("files.hdr", R"({"media": {"Components": [{"Name": "C", "Files": [{"Name": "a.txt"}]}]}})");
    CMainFrame& frame = shown.frame();
    frame.Guard([&] { frame.OpenFile(string(shown.folder.wide_file("files.hdr"))); });
    pump();
    CTreeCtrl& tree = frame.Tree();
    const HTREEITEM component = tree.GetChildItem(tree.GetNextSiblingItem(tree.GetRootItem()));
    ASSERT_TRUE(component);
    frame.Guard([&] { tree.SelectItem(component); });
    frame.Guard([&] { frame.List().SelectRow(0); });
    EXPECT_FALSE(enabled()) << "a row of properties";
    frame.Guard([&] { tree.SelectItem(tree.GetChildItem(component)); });
    EXPECT_FALSE(enabled()) << "no row is selected";
    frame.Guard([&] { frame.List().SelectRow(0); });
    EXPECT_TRUE(enabled());
}

TEST(FrameMenus, AnItemRunsItsCommand)
{
    recording_window shown;
    menu_action(shown.window(), QStringLiteral("&Tools/&Report"))->trigger();
    menu_action(shown.window(), QStringLiteral("&Help/&About Cab and Log File Viewer..."))->trigger();
    EXPECT_EQ(shown.frame.commands, (std::vector{ID_TOOLS_REPORT, ID_APP_ABOUT}));
}

TEST(FrameMenus, KeysAreThoseThatHoldNow)
{
    recording_window shown;
    command_bars& bars = shown.frame.CommandBars();
    bars.assign_key({0x76}, ID_TOOLS_REPORT);
    bars.remove_key({'S', true});
    bars.assign_key({0x72}, ID_SEARCH_FIND);
    EXPECT_EQ(popup_texts(shown.window(), QStringLiteral("&Tools")), (QStringList{"&Extract File", "&Report\tF7"}));
    EXPECT_EQ(popup_texts(shown.window(), QStringLiteral("&Search")), (QStringList{"Find\tF3", "Find Next\tF3"}))
        << "the message filter goes on running it";
    EXPECT_EQ(popup_texts(shown.window(), QStringLiteral("&File"))[1], "&Save\tCtrl+S");
    bars.reset_keys();
    EXPECT_EQ(popup_texts(shown.window(), QStringLiteral("&Tools")), (QStringList{"&Extract File", "&Report"}));
}

TEST(FrameMenus, IconsAreShownWhereTheyAreWanted)
{
    recording_window shown;
    const auto has_icon = [&] { return !menu_action(shown.window(), QStringLiteral("&File/&Open"))->icon().isNull(); };
    EXPECT_FALSE(has_icon());
    shown.frame.CommandBars().set_options({false, tool_button_text::none, true});
    EXPECT_TRUE(has_icon());
    shown.frame.CommandBars().set_options({});
    EXPECT_FALSE(has_icon());
}

TEST(FrameMenus, RecentFilesHaveAPlaceholderWhileThereAreNone)
{
    program_window shown;
    ASSERT_TRUE(shown.start());
    EXPECT_EQ(popup_texts(shown.window(), QStringLiteral("&File/&Recent Files")), QStringList{"Recent File"});
    EXPECT_FALSE(menu_action(shown.window(), QStringLiteral("&File/&Recent Files/Recent File"))->isEnabled());
}

TEST(FrameMenus, RecentFilesAreNumberedAndOpenTheirEntry)
{
    program_window shown;
    ASSERT_TRUE(shown.start());
    for (int file = 12; file >= 1; --file)
        shown.recent_files().Add(from_qt(QStringLiteral("/m/%1 a&b.clg").arg(file)));
    const QStringList texts = popup_texts(shown.window(), QStringLiteral("&File/&Recent Files"));
    ASSERT_EQ(texts.size(), 12);
    EXPECT_EQ(texts[0], "&1 /m/1 a&&b.clg");
    EXPECT_EQ(texts[9], "1&0 /m/10 a&&b.clg");
    EXPECT_EQ(texts[10], "11 /m/11 a&&b.clg");

    QMenu* popup = menu_action(shown.window(), QStringLiteral("&File/&Recent Files"))->menu();
    EXPECT_EQ(popup->actions().at(2)->data().toUInt(), ID_FILE_MRU_FIRST + 2);
    popup->actions().at(2)->trigger();
    EXPECT_EQ(shown.window().windowTitle(), "/m/3 a&b.clg");
    EXPECT_EQ(popup_texts(shown.window(), QStringLiteral("&File/&Recent Files"))[0], "&1 /m/3 a&&b.clg");
}

TEST(RecentFileLabel, NumbersTheFirstTenWithAMnemonic)
{
    EXPECT_EQ(recent_file_label(0, u"/a"), "&1 /a");
    EXPECT_EQ(recent_file_label(9, u"/a"), "1&0 /a");
    EXPECT_EQ(recent_file_label(15, u"/a & b"), "16 /a && b");
}

TEST(RecentFileLabel, IsOneLineWithoutAKey)
{
    EXPECT_EQ(recent_file_label(0, u"/a\nb\r\tc\x1B\x85\u2028d"), "&1 /a b  c   d");
    const std::u16string_view halves = u"/\xD800\u00FC\xDCFF";
    EXPECT_EQ(recent_file_label(0, halves), QStringLiteral("&1 ") + to_qt(halves));
}

} // namespace
} // namespace cw
