#include "desktop/tool_lists.h"

#include "app/menus.h"
#include "desktop/tool_drag.h"
#include "tests/desktop/desktop_support.h"

#include <QMimeData>
#include <gtest/gtest.h>

namespace cw {
namespace {

using namespace test_support;

/// What a drag of a line of a list would carry.
std::unique_ptr<QMimeData> drag_of_line(const QAbstractItemView& list, const QModelIndex& line)
{
    return std::unique_ptr<QMimeData>(list.model()->mimeData({line}));
}

struct ToolTree : testing::Test {
    ToolTree()
    {
        tool_item menu = tool_item::menu(u"Mine");
        menu.contents = {tool_item::command(ID_FILE_SAVE), tool_item::separator()};
        items = {tool_item::command(ID_FILE_OPEN), menu, tool_item::separator()};
        tree.show_items(items, main_menu());
        tree.set_drop_sink(
            [this](const tool_place& place, const tool_item& item) { dropped.emplace_back(place, item); });
        tree.set_move_sink([this](const tool_place& from, const tool_place& to) { moved.emplace_back(from, to); });
        tree.resize(300, 300);
        tree.show();
        pump();
    }
    QRect line(int index, int child = -1)
    {
        QTreeWidgetItem* item = tree.topLevelItem(index);
        return tree.visualItemRect(child < 0 ? item : item->child(child));
    }
    /// Where a command lands that is dropped at a point.
    tool_place landing(const QPoint& point)
    {
        dropped.clear();
        EXPECT_TRUE(drop(*tree.viewport(), point, *drag_of(tool_item::command(ID_TOOLS_REPORT))));
        EXPECT_EQ(dropped.size(), 1u);
        return dropped.empty() ? tool_place{99, {}} : dropped.front().first;
    }

    std::vector<tool_item> items;
    tool_tree tree;
    std::vector<std::pair<tool_place, tool_item>> dropped;
    std::vector<std::pair<tool_place, tool_place>> moved;
};

TEST_F(ToolTree, ShowsMenusWithTheirContents)
{
    ASSERT_EQ(tree.topLevelItemCount(), 3);
    EXPECT_EQ(tree.topLevelItem(0)->text(0), "Open");
    EXPECT_FALSE(tree.topLevelItem(0)->icon(0).isNull());
    EXPECT_EQ(tree.topLevelItem(1)->text(0), "Mine");
    EXPECT_TRUE(tree.topLevelItem(1)->isExpanded());
    ASSERT_EQ(tree.topLevelItem(1)->childCount(), 2);
    EXPECT_EQ(tree.topLevelItem(1)->child(0)->text(0), "Save");
    EXPECT_EQ(tree.topLevelItem(2)->text(0), "Separator");
    EXPECT_TRUE(tree.rootIsDecorated());
    tree.show_items({}, main_menu());
    EXPECT_EQ(tree.topLevelItemCount(), 0);
    EXPECT_FALSE(tree.rootIsDecorated()) << "nothing to open";
}

TEST_F(ToolTree, APlaceCanBeChosen)
{
    tree.show_items(items, main_menu());
    EXPECT_EQ(tree.chosen(), std::nullopt);
    for (const tool_place& place : {tool_place{0, {}}, tool_place{1, {}}, tool_place{1, 1}, tool_place{2, {}}}) {
        tree.choose(place);
        EXPECT_EQ(tree.chosen(), place);
    }
    tree.choose({9, {}});
    EXPECT_EQ(tree.chosen(), std::nullopt);
}

TEST_F(ToolTree, ANewThingLandsWhereItIsDropped)
{
    EXPECT_EQ(landing(line(0).topLeft() + QPoint(30, 1)), (tool_place{0, {}}));
    EXPECT_EQ(landing(line(0).bottomLeft() + QPoint(30, 0)), (tool_place{1, {}}));
    EXPECT_EQ(landing(line(1).topLeft() + QPoint(30, 1)), (tool_place{1, {}}));
    EXPECT_EQ(landing(line(1).center()), (tool_place{1, 2})) << "into the menu";
    EXPECT_EQ(landing(line(1).bottomLeft() + QPoint(30, 0)), (tool_place{1, 0})) << "before what is in the menu";
    EXPECT_EQ(landing(line(1, 0).topLeft() + QPoint(30, 1)), (tool_place{1, 0}));
    EXPECT_EQ(landing(line(1, 1).bottomLeft() + QPoint(30, 0)), (tool_place{1, 2}));
    EXPECT_EQ(landing(line(2).bottomLeft() + QPoint(30, 0)), (tool_place{3, {}}));
    EXPECT_EQ(landing(QPoint(30, 250)), (tool_place{3, {}})) << "below everything";
    EXPECT_EQ(dropped.front().second, tool_item::command(ID_TOOLS_REPORT));
    EXPECT_TRUE(moved.empty());
}

TEST_F(ToolTree, WhatStandsThereMoves)
{
    const auto data = drag_of_line(tree, tree.model()->index(0, 0, tree.model()->index(1, 0)));
    EXPECT_EQ(dragged_place(*data), (tool_place{1, 0}));
    EXPECT_EQ(tree.model()->mimeTypes(), data->formats());
    EXPECT_TRUE(drop(*tree.viewport(), line(0).topLeft() + QPoint(30, 1), *data));
    ASSERT_EQ(moved.size(), 1u);
    EXPECT_EQ(moved[0], (std::pair<tool_place, tool_place>({1, 0}, {0, {}})));
    EXPECT_TRUE(dropped.empty());
}

TEST_F(ToolTree, NothingElseIsTaken)
{
    QMimeData text;
    text.setText(QStringLiteral("text"));
    EXPECT_FALSE(drop(*tree.viewport(), line(0).center(), text));
    EXPECT_TRUE(dropped.empty());
    EXPECT_TRUE(moved.empty());
}

TEST(ToolChoiceList, ADragCarriesTheChoice)
{
    tool_choice_list list;
    EXPECT_EQ(list.chosen(), nullptr);
    list.show_choices({{QStringLiteral("Open"), tool_item::command(ID_FILE_OPEN)},
                       {QStringLiteral("Mine"), tool_item::menu(u"Mine")}});
    ASSERT_EQ(list.count(), 2);
    ASSERT_NE(list.chosen(), nullptr) << "the first is chosen";
    EXPECT_EQ(list.chosen()->item, tool_item::command(ID_FILE_OPEN));
    EXPECT_FALSE(list.item(0)->icon().isNull());
    EXPECT_EQ(dragged_item(*drag_of_line(list, list.model()->index(1, 0))), tool_item::menu(u"Mine"));
    list.show_choices({});
    EXPECT_EQ(list.chosen(), nullptr);
}

} // namespace
} // namespace cw
