#include "tests/desktop/desktop_support.h"

#include <QAbstractItemModelTester>
#include <QHelpEvent>
#include <QImage>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QToolTip>
#include <gtest/gtest.h>

namespace cw {
namespace {

using namespace test_support;

struct TreePane : testing::Test {
    recording_window shown;
    CTreeCtrl& tree = shown.frame.tree;
    tree_pane& pane = shown.tree();

    QModelIndex at(HTREEITEM item) { return pane.model_of_tree().index_of(item); }
    /// A change by the program, seen when it has been dealt with.
    void change(const std::function<void()>& work) { shown.frame.Guard(work); }
    HTREEITEM add(std::u16string_view text, HTREEITEM parent = {})
    {
        HTREEITEM item;
        change([&] { item = tree.InsertItem(text, tree_item_images{1, 2}, parent); });
        return item;
    }
};

TEST_F(TreePane, ShowsWhatTheFrameBuiltWhenTheEntryEnds)
{
    QSignalSpy reset(&pane.model_of_tree(), &QAbstractItemModel::modelReset);
    change([&] {
        for (int item = 0; item < 100; ++item)
            tree.InsertItem(u"item", {}, {});
        EXPECT_EQ(reset.count(), 0);
    });
    EXPECT_EQ(reset.count(), 1);
    EXPECT_EQ(pane.model()->rowCount(), 100);
}

TEST_F(TreePane, CatchesUpByItselfWithoutAnEntry)
{
    tree.InsertItem(u"item", {}, {});
    EXPECT_EQ(pane.model()->rowCount(), 0);
    pump();
    EXPECT_EQ(pane.model()->rowCount(), 1);
}

TEST_F(TreePane, AClickSelectsInTheControlAndNotifies)
{
    add(u"first");
    const HTREEITEM second = add(u"second");
    QTest::mouseClick(pane.viewport(), Qt::LeftButton, {}, pane.visualRect(at(second)).center());
    EXPECT_EQ(tree.GetSelectedItem(), second);
    EXPECT_EQ(shown.frame.notifications, std::vector{TVN_SELCHANGEDW});
}

TEST_F(TreePane, CtrlDoesNotTakeTheSelectionAway)
{
    const HTREEITEM item = add(u"item");
    const QPoint place = pane.visualRect(at(item)).center();
    QTest::mouseClick(pane.viewport(), Qt::LeftButton, {}, place);
    QTest::mouseClick(pane.viewport(), Qt::LeftButton, Qt::ControlModifier, place);
    EXPECT_EQ(tree.GetSelectedItem(), item);
    EXPECT_TRUE(pane.selectionModel()->isSelected(at(item)));
}

TEST_F(TreePane, TheProgramsSelectionIsShownWithoutAnEcho)
{
    const HTREEITEM item = add(u"item");
    change([&] { tree.SelectItem(item); });
    EXPECT_TRUE(pane.selectionModel()->isSelected(at(item)));
    EXPECT_EQ(pane.currentIndex(), at(item));
    change([&] { tree.SelectItem({}); });
    EXPECT_FALSE(pane.selectionModel()->hasSelection());
    EXPECT_EQ(shown.frame.notifications.size(), 2u) << "one for each change by the program, none from the view";
}

TEST_F(TreePane, TheSelectionOutlivesAChangeOfStructure)
{
    const HTREEITEM item = add(u"item");
    change([&] { tree.SelectItem(item); });
    change([&] {
        tree.InsertItem(u"Another", {}, {});
        tree.SortChildren({});
    });
    EXPECT_EQ(pane.currentIndex(), at(item));
    EXPECT_EQ(pane.currentIndex().row(), 1);
    EXPECT_EQ(shown.frame.notifications.size(), 1u);
    change([&] { tree.DeleteAllItems(); });
    EXPECT_FALSE(pane.selectionModel()->hasSelection());
    EXPECT_EQ(shown.frame.notifications.size(), 1u) << "deleting notifies nobody";
}

TEST_F(TreePane, ThePersonsExpansionGoesIntoTheControl)
{
    const HTREEITEM root = add(u"root");
    add(u"child", root);
    change([&] { tree.SelectItem(root); });
    pane.setFocus();
    press(shown.window(), Qt::Key_Right);
    EXPECT_TRUE(tree.IsExpanded(root));
    press(shown.window(), Qt::Key_Left);
    EXPECT_FALSE(tree.IsExpanded(root));
}

TEST_F(TreePane, ExpansionComesBackFromTheControl)
{
    const HTREEITEM root = add(u"root");
    const HTREEITEM child = add(u"child", root);
    const HTREEITEM grandchild = add(u"grandchild", child);
    add(u"leaf", grandchild);
    change([&] {
        tree.Expand(root);
        tree.Expand(grandchild); // below a collapsed one
    });
    EXPECT_TRUE(pane.isExpanded(at(root)));
    EXPECT_FALSE(pane.isExpanded(at(child)));
    add(u"another root"); // a reset
    EXPECT_TRUE(pane.isExpanded(at(root)));
    EXPECT_FALSE(pane.isExpanded(at(child)));
    pane.expand(at(child));
    EXPECT_TRUE(tree.IsExpanded(child));
    EXPECT_TRUE(pane.isExpanded(at(grandchild))) << "kept by the control while out of view";
    change([&] { tree.Expand(root, false); });
    EXPECT_FALSE(pane.isExpanded(at(root)));
}

TEST_F(TreePane, AWantedItemComesIntoView)
{
    HTREEITEM last;
    change([&] {
        const HTREEITEM root = tree.InsertItem(u"root", {}, {});
        for (int item = 0; item < 500; ++item)
            last = tree.InsertItem(u"item", {}, root);
        tree.EnsureVisible(last);
    });
    EXPECT_TRUE(pane.viewport()->rect().intersects(pane.visualRect(at(last))));
    EXPECT_GT(pane.verticalScrollBar()->value(), 0);
    change([&] { tree.EnsureVisible(tree.GetRootItem()); });
    EXPECT_EQ(pane.verticalScrollBar()->value(), 0);
}

TEST_F(TreePane, ASelectionByTheProgramIsBroughtIntoView)
{
    const HTREEITEM root = add(u"root");
    const HTREEITEM child = add(u"child", root);
    change([&] { tree.SelectItem(child); });
    EXPECT_TRUE(pane.isExpanded(at(root)));
    EXPECT_TRUE(tree.IsExpanded(root));
    EXPECT_EQ(pane.currentIndex(), at(child));
}

TEST_F(TreePane, TheFocusAloneSelectsNothing)
{
    const HTREEITEM first = add(u"first");
    add(u"second");
    shown.list().setFocus();
    pane.setFocus(Qt::TabFocusReason);
    pump();
    EXPECT_EQ(tree.GetSelectedItem(), HTREEITEM{});
    EXPECT_TRUE(shown.frame.notifications.empty());
    press(shown.window(), Qt::Key_Down);
    EXPECT_EQ(tree.GetSelectedItem(), first);
}

TEST_F(TreePane, AMillionItemsOpenAtOnce)
{
    constexpr int count = 1'000'000;
    change([&] {
        const HTREEITEM root = tree.InsertItem(u"root", {}, {});
        for (int item = 0; item < count; ++item)
            tree.InsertItem(u"item", {}, root);
        tree.Expand(root);
    });
    pane.scrollToBottom();
    const QImage picture = pane.grab().toImage();
    EXPECT_FALSE(picture.isNull());
    EXPECT_EQ(pane.indexAt(QPoint(60, pane.viewport()->height() / 2)).parent(), pane.model()->index(0, 0));
}

TEST_F(TreePane, StyleBitsRule)
{
    EXPECT_TRUE(pane.rootIsDecorated());
    EXPECT_TRUE(pane.itemsExpandable());
    EXPECT_FALSE(pane.dragEnabled());
    recording_window other;
    CTreeCtrl bare;
    tree_pane plain(bare, [](const std::function<void()>& work) { work(); });
    EXPECT_FALSE(plain.rootIsDecorated());
    bare.add_style(0x4);
    EXPECT_TRUE(plain.rootIsDecorated());
    plain.detach();
}

TEST_F(TreePane, LinesAreDrawnWhereTheStyleHasThem)
{
    const auto picture_with = [](std::uint32_t style) {
        CTreeCtrl items;
        tree_pane view(items, [](const std::function<void()>& work) { work(); });
        items.add_style(style);
        const HTREEITEM root = items.InsertItem(u"root", {}, {});
        items.InsertItem(u"child", {}, root);
        items.InsertItem(u"child", {}, root);
        items.Expand(root);
        view.catch_up();
        view.resize(200, 100);
        QImage picture = view.grab().toImage();
        view.detach();
        return picture;
    };
    EXPECT_NE(picture_with(0x7), picture_with(0x5));
}

TEST_F(TreePane, LetsGoOfTheControl)
{
    add(u"item");
    pane.detach();
    pane.detach();
    EXPECT_EQ(pane.model(), nullptr);
    tree.InsertItem(u"another", {}, {}); // nobody listens
    pane.catch_up();
    pump();
}

/// The tool tip over an item; empty without one.
QString tip_over(tree_pane& pane, const QModelIndex& index)
{
    QToolTip::hideText();
    const QPoint place = pane.visualRect(index).center();
    QHelpEvent event(QEvent::ToolTip, place, pane.viewport()->mapToGlobal(place));
    QCoreApplication::sendEvent(pane.viewport(), &event);
    const QString tip = QToolTip::isVisible() ? QToolTip::text() : QString();
    QToolTip::hideText();
    return tip;
}

TEST_F(TreePane, TipsShowTextsThatAreCut)
{
    const HTREEITEM root = add(u"root");
    const HTREEITEM item = add(u"<Support>", root);
    const HTREEITEM long_item = add(u"<a text that is longer than the pane is wide, even by far>", root);
    change([&] { tree.Expand(root, true); });
    EXPECT_EQ(tip_over(pane, at(root)), QString());
    EXPECT_EQ(tip_over(pane, at(item)), QString());
    EXPECT_TRUE(
        tip_over(pane, at(long_item)).contains("&lt;a text that is longer than the pane is wide, even by far&gt;"));
    pane.setFixedWidth(60);
    pump();
    EXPECT_TRUE(tip_over(pane, at(item)).contains("&lt;Support&gt;"));
}

} // namespace
} // namespace cw
