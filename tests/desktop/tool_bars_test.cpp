#include "desktop/tool_bars.h"

#include "app/menus.h"
#include "desktop/tool_drag.h"
#include "tests/desktop/desktop_support.h"

#include <QAction>
#include <QMainWindow>
#include <QMenu>
#include <QMimeData>
#include <QTest>
#include <QToolButton>
#include <gtest/gtest.h>

namespace cw {
namespace {

using namespace test_support;

struct ToolBars : testing::Test, program_bars {
    ToolBars()
    {
        menus.set_accelerators(bars.accelerators());
        window.resize(800, 300);
        window.show();
    }
    void show(std::vector<tool_item> items)
    {
        ASSERT_TRUE(bars.set_tool_bars({{u"Main", true, std::move(items)}}));
        views.show(bars);
        pump();
    }
    [[nodiscard]] tool_bar_view& view() { return *views.views().front(); }
    [[nodiscard]] QAction& action(int index) { return *view().actions().at(index); }
    [[nodiscard]] QToolButton& button(int index)
    {
        return *qobject_cast<QToolButton*>(view().widgetForAction(&action(index)));
    }

    QMainWindow window;
    std::vector<std::uint32_t> ran;
    bool enabled = true;
    bool checked = false;
    frame_menus menus{{[this](std::uint32_t id) {
                           command_ui state(id);
                           state.Enable(enabled);
                           if (id == ID_VIEW_ALL)
                               state.SetCheck(checked);
                           return state;
                       },
                       [this](std::uint32_t id) { ran.push_back(id); }}};
    tool_bar_views views{window, menus};
};

TEST_F(ToolBars, ThereAreNoneUntilSomebodyMakesOne)
{
    views.show(bars);
    EXPECT_TRUE(views.views().empty());
    EXPECT_TRUE(window.findChildren<QToolBar*>().empty());
}

TEST_F(ToolBars, AButtonRunsItsCommand)
{
    show({tool_item::command(ID_FILE_SAVE), tool_item::separator(), tool_item::command(ID_TOOLS_REPORT)});
    ASSERT_EQ(view().actions().size(), 3);
    EXPECT_EQ(view().accessibleName(), "Main");
    EXPECT_TRUE(view().isVisible());
    EXPECT_TRUE(action(1).isSeparator());
    button(0).click();
    button(2).click();
    EXPECT_EQ(ran, (std::vector{ID_FILE_SAVE, ID_TOOLS_REPORT}));
    EXPECT_FALSE(button(0).icon().isNull());
    EXPECT_EQ(button(0).text(), "Save");
    EXPECT_EQ(button(0).toolTip(), "Save (Ctrl+S)");
    EXPECT_EQ(button(2).toolTip(), "Report");
    EXPECT_EQ(button(0).focusPolicy(), Qt::NoFocus) << "Tab goes from pane to pane";
}

TEST_F(ToolBars, StatesAreThoseOfTheCommands)
{
    show({tool_item::command(ID_VIEW_ALL), tool_item::command(ID_FILE_OPEN)});
    EXPECT_TRUE(button(0).isEnabled());
    EXPECT_TRUE(action(0).isCheckable());
    EXPECT_FALSE(action(0).isChecked());
    EXPECT_FALSE(action(1).isCheckable());
    enabled = false;
    checked = true;
    views.refresh_states();
    EXPECT_FALSE(button(1).isEnabled());
    EXPECT_TRUE(action(0).isChecked());
}

TEST_F(ToolBars, KeysOfToolTipsFollow)
{
    show({tool_item::command(ID_TOOLS_REPORT)});
    bars.assign_key({0x76}, ID_TOOLS_REPORT);
    menus.set_accelerators(bars.accelerators());
    views.show(bars);
    EXPECT_EQ(button(0).toolTip(), "Report (F7)");
}

TEST_F(ToolBars, APopupOfTheProgramDropsDown)
{
    show({tool_item::popup(u"&Tools"), tool_item::popup(u"&Gone")});
    ASSERT_EQ(view().actions().size(), 1);
    EXPECT_EQ(button(0).text(), "Tools");
    EXPECT_EQ(button(0).popupMode(), QToolButton::InstantPopup);
    QMenu* menu = action(0).menu();
    ASSERT_NE(menu, nullptr);
    enabled = false;
    emit menu->aboutToShow();
    ASSERT_EQ(menu->actions().size(), 2);
    EXPECT_FALSE(menu->actions().at(1)->isEnabled());
    enabled = true;
    emit menu->aboutToShow();
    menu->actions().at(1)->trigger();
    EXPECT_EQ(ran, std::vector{ID_TOOLS_REPORT});
}

TEST_F(ToolBars, AMenuOfOnesOwnDropsDown)
{
    tool_item own = tool_item::menu(u"A & <b>B");
    own.contents = {tool_item::command(ID_FILE_SAVE), tool_item::separator(), tool_item::command(ID_HELP_TOPIC)};
    show({own});
    EXPECT_EQ(button(0).text(), "A && <b>B") << "no mnemonic";
    EXPECT_EQ(button(0).toolTip().replace(QChar::Nbsp, u' '), "<p>A &amp; &lt;b&gt;B</p>") << "no markup";
    QMenu* menu = action(0).menu();
    ASSERT_NE(menu, nullptr);
    emit menu->aboutToShow();
    ASSERT_EQ(menu->actions().size(), 3);
    EXPECT_EQ(menu->actions().at(0)->text(), "Save\tCtrl+S");
    EXPECT_TRUE(menu->actions().at(1)->isSeparator());
    menu->actions().at(2)->trigger();
    EXPECT_EQ(ran, std::vector{ID_HELP_TOPIC});
    // The old menu outlives the change that replaces it, and may still be asked.
    ASSERT_TRUE(bars.set_tool_bars({}));
    views.show(bars);
    emit menu->aboutToShow();
    EXPECT_EQ(menu->actions().at(0)->text(), "Save\tCtrl+S");
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(window.findChildren<QToolBar*>().empty());
}

TEST_F(ToolBars, OptionsChangeTheLooks)
{
    show({tool_item::command(ID_FILE_SAVE), tool_item::popup(u"&Tools")});
    EXPECT_EQ(view().iconSize(), QSize(16, 16));
    EXPECT_EQ(button(0).toolButtonStyle(), Qt::ToolButtonIconOnly);
    const struct {
        tool_button_text text;
        Qt::ToolButtonStyle style;
    } cases[]{{tool_button_text::beside, Qt::ToolButtonTextBesideIcon},
              {tool_button_text::under, Qt::ToolButtonTextUnderIcon},
              {tool_button_text::none, Qt::ToolButtonIconOnly}};
    for (const auto& test : cases) {
        bars.set_options({true, test.text, false});
        views.show(bars);
        EXPECT_EQ(view().iconSize(), QSize(32, 32));
        EXPECT_EQ(button(0).toolButtonStyle(), test.style);
        EXPECT_EQ(button(1).toolButtonStyle(), Qt::ToolButtonTextOnly) << "a menu has no picture";
    }
}

TEST_F(ToolBars, AHiddenToolbarIsNotSeen)
{
    ASSERT_TRUE(bars.set_tool_bars({{u"A", false, {tool_item::command(ID_FILE_SAVE)}}, {u"B", true, {}}}));
    views.show(bars);
    ASSERT_EQ(views.views().size(), 2u);
    EXPECT_FALSE(views.views()[0]->isVisible());
    EXPECT_TRUE(views.views()[1]->isVisible());
}

TEST_F(ToolBars, WhatDidNotChangeStays)
{
    show({tool_item::command(ID_FILE_SAVE)});
    const tool_bar_view* before = &view();
    bars.remove_key({0x72});
    views.show(bars);
    EXPECT_EQ(&view(), before);
}

TEST_F(ToolBars, ThingsAreDraggedOntoThem)
{
    bars.set_changed_sink([this] { views.show(bars); });
    show({tool_item::command(ID_FILE_OPEN), tool_item::command(ID_FILE_SAVE)});
    EXPECT_FALSE(view().acceptDrops());
    views.set_accepts_drops(true);
    EXPECT_TRUE(view().acceptDrops());

    const auto ids = [this] {
        std::vector<std::uint32_t> all;
        for (const tool_item& item : bars.tool_bars()[0].items)
            all.push_back(item.command_id);
        return all;
    };
    const auto drag = [this](int x, const QMimeData& data) {
        return drop(view(), QPoint(x, view().height() / 2), data);
    };
    const auto before_the_middle = view().actionGeometry(&action(1)).center().x() - 2;
    EXPECT_TRUE(drag(before_the_middle, *drag_of(tool_item::command(ID_TOOLS_REPORT))));
    EXPECT_EQ(ids(), (std::vector{ID_FILE_OPEN, ID_TOOLS_REPORT, ID_FILE_SAVE}));
    EXPECT_TRUE(view().acceptDrops()) << "the new one too";
    EXPECT_TRUE(drag(0, *drag_of(tool_item::command(ID_APP_EXIT))));
    EXPECT_TRUE(drag(700, *drag_of(tool_item::command(ID_HELP_TOPIC))));
    EXPECT_EQ(ids(), (std::vector{ID_APP_EXIT, ID_FILE_OPEN, ID_TOOLS_REPORT, ID_FILE_SAVE, ID_HELP_TOPIC}));
    QMimeData text;
    text.setText(QStringLiteral("text"));
    EXPECT_FALSE(drag(0, text));
    EXPECT_FALSE(drag(0, *drag_from({0, {}}))) << "that moves within the dialog alone";
    EXPECT_EQ(ids().size(), 5u);
    bars.set_changed_sink(nullptr);
}

TEST_F(ToolBars, WhatDoesNotFitInARowBeginsAnother)
{
    std::vector<tool_bar> made;
    for (const char16_t* name : {u"A", u"B", u"C", u"D"})
        made.push_back({name, true, {tool_item::popup(u"&Recent Files"), tool_item::popup(u"&View")}});
    made[1].shown = false;
    ASSERT_TRUE(bars.set_tool_bars(made));
    views.show(bars);
    pump();
    const auto rows = [this] {
        std::vector<bool> begins;
        for (tool_bar_view* view : views.views())
            begins.push_back(window.toolBarBreak(view));
        return begins;
    };
    EXPECT_EQ(rows(), std::vector<bool>(4));
    const int width = views.views().front()->sizeHint().width();
    window.resize(2 * width + 1, 300);
    pump();
    EXPECT_EQ(rows(), (std::vector{false, false, false, true})) << "what is hidden takes no room";
    // As narrow as a row lets it be, and only then narrower, as under a person's hand.
    const auto narrow = [&] {
        for (int step = 0; step < 3; ++step) {
            window.resize(width + 1, 300);
            pump();
        }
    };
    narrow();
    EXPECT_EQ(rows(), (std::vector{false, false, true, true}));
    EXPECT_LE(window.width(), width + 1) << "toolbars do not hold the window open";
    EXPECT_LT(views.views()[2]->y(), views.views()[3]->y());
    window.resize(800, 300);
    pump();
    EXPECT_EQ(rows(), std::vector<bool>(4));
    narrow();
    made[1].shown = true;
    ASSERT_TRUE(bars.set_tool_bars(made));
    views.show(bars);
    pump();
    EXPECT_EQ(rows(), (std::vector{false, true, true, true}));
    EXPECT_EQ(window.width(), width + 1) << "new ones do not widen the window";
    window.resize(2 * width + 1, 300);
    pump();
    EXPECT_EQ(rows(), (std::vector{false, false, true, false})) << "each row begins anew";
    narrow();
    made[1].shown = false;
    made.pop_back();
    ASSERT_TRUE(bars.set_tool_bars(made));
    views.show(bars);
    EXPECT_EQ(rows(), (std::vector{false, false, true})) << "new ones are put in rows at once";
}

TEST_F(ToolBars, TheMenuTellsWhichAreShown)
{
    ASSERT_TRUE(bars.set_tool_bars({{u"A & B", true, {}}, {u"C", false, {}}}));
    int customised = 0;
    const auto run = [&](int wanted) {
        QStringList texts;
        when_modal([&](QWidget& popup) {
            auto& menu = dynamic_cast<QMenu&>(popup);
            for (const QAction* entry : menu.actions())
                texts.append(entry->isSeparator() ? QStringLiteral("---")
                                                  : (entry->isChecked() ? "x " : "") + entry->text());
            if (wanted >= 0)
                menu.setActiveAction(menu.actions().at(wanted));
            QTest::keyClick(&menu, wanted >= 0 ? Qt::Key_Return : Qt::Key_Escape);
        });
        run_bars_menu(bars, QPoint(10, 10), window, [&] { ++customised; });
        return texts;
    };
    EXPECT_EQ(run(-1), (QStringList{"x A && B", "C", "---", "&Customize..."}));
    EXPECT_TRUE(bars.tool_bars()[0].shown);
    run(0);
    EXPECT_FALSE(bars.tool_bars()[0].shown);
    run(1);
    EXPECT_TRUE(bars.tool_bars()[1].shown);
    EXPECT_EQ(customised, 0);
    EXPECT_EQ(run(3), (QStringList{"A && B", "x C", "---", "&Customize..."}));
    EXPECT_EQ(customised, 1);
    ASSERT_TRUE(bars.set_tool_bars({}));
    EXPECT_EQ(run(0), QStringList{"&Customize..."});
    EXPECT_EQ(customised, 2);
    EXPECT_TRUE(window.findChildren<QMenu*>().empty()) << "none is left behind";
}

TEST_F(ToolBars, TheMenuEndsWithItsWindow)
{
    auto closing = std::make_unique<QWidget>();
    closing->show();
    int customised = 0;
    when_modal([&](QWidget&) { closing.reset(); });
    run_bars_menu(bars, QPoint(10, 10), *closing, [&] { ++customised; });
    EXPECT_EQ(closing, nullptr);
    EXPECT_EQ(customised, 0);
}

} // namespace
} // namespace cw
