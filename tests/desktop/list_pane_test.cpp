#include "app/sort_order.h"
#include "desktop/cell_delegate.h"
#include "tests/desktop/desktop_support.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

namespace cw {
namespace {

using namespace test_support;

/// Counts how often cells are asked for.
class counting_delegate final : public QStyledItemDelegate {
public:
    void paint(QPainter*, const QStyleOptionViewItem&, const QModelIndex&) const override { ++painted; }
    QSize sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const override
    {
        ++measured;
        return {10, 10};
    }
    mutable int painted = 0;
    mutable int measured = 0;
};

struct ListPane : testing::Test {
    recording_window shown;
    CListCtrl& list = shown.frame.list;
    list_pane& pane = shown.list();

    void change(const std::function<void()>& work) { shown.frame.Guard(work); }
    void fill(std::initializer_list<std::u16string_view> texts)
    {
        change([&] {
            list.InsertColumn(0, u"Name", 120);
            list.InsertColumn(1, u"Data", 300);
            for (const std::u16string_view text : texts)
                list.InsertItem(list.GetItemCount(), text);
        });
    }
    QPoint place(int row) { return pane.visualRect(pane.model()->index(row, 0)).center(); }
    void right_click(const QPoint& position)
    {
        QContextMenuEvent event(QContextMenuEvent::Mouse, position, pane.viewport()->mapToGlobal(position));
        QCoreApplication::sendEvent(pane.viewport(), &event);
    }
    /// The frame sorts by first cells, and turns the direction around as the program's does.
    void sort_on_header_click()
    {
        shown.frame.on_notify = [this](std::uint32_t) {
            list.SortItems(
                [&](std::size_t a, std::size_t b) { return list.GetItemText(a, 0).compare(list.GetItemText(b, 0)); });
            current_sort_order().descending = !current_sort_order().descending;
        };
    }
    void click_header(int column)
    {
        QHeaderView* header = pane.horizontalHeader();
        const QPoint middle(header->sectionViewportPosition(column) + header->sectionSize(column) / 2,
                            header->height() / 2);
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, middle);
    }
};

TEST_F(ListPane, ShowsRowsAndColumnsAtTheirWidths)
{
    fill({u"one", u"two"});
    EXPECT_EQ(pane.model()->rowCount(), 2);
    EXPECT_EQ(pane.columnWidth(0), 120);
    EXPECT_EQ(pane.columnWidth(1), 300);
    change([&] {
        list.DeleteColumn(0);
        list.InsertColumn(0, u"Wide", 550);
    });
    EXPECT_EQ(pane.columnWidth(0), 550);
}

TEST_F(ListPane, CatchesUpByItselfWithoutAnEntry)
{
    fill({u"one"});
    list.InsertItem(1, u"two");
    EXPECT_EQ(pane.model()->rowCount(), 0) << "half a change is not shown";
    pump();
    EXPECT_EQ(pane.model()->rowCount(), 2);
}

TEST_F(ListPane, AClickSelectsTheRowInTheControl)
{
    fill({u"one", u"two"});
    QTest::mouseClick(pane.viewport(), Qt::LeftButton, {}, place(1));
    EXPECT_EQ(list.GetSelectedRow(), 1u);
    EXPECT_TRUE(pane.selectionModel()->isRowSelected(1));
    // Beside the rows the selection goes.
    QTest::mouseClick(pane.viewport(), Qt::LeftButton, {}, QPoint(20, pane.viewport()->height() - 5));
    EXPECT_EQ(list.GetSelectedRow(), CListCtrl::no_row);
    EXPECT_FALSE(pane.selectionModel()->hasSelection());
}

TEST_F(ListPane, TheProgramsSelectionIsShown)
{
    fill({u"one", u"two"});
    change([&] { list.SelectRow(1); });
    EXPECT_TRUE(pane.selectionModel()->isRowSelected(1));
    change([&] { list.SelectRow(CListCtrl::no_row); });
    EXPECT_FALSE(pane.selectionModel()->hasSelection());
}

TEST_F(ListPane, ASelectedRowIsBroughtIntoView)
{
    change([&] {
        list.InsertColumn(0, u"Name", 100);
        for (std::size_t row = 0; row < 1000; ++row)
            list.InsertItem(row, u"row");
        list.SelectRow(900);
    });
    EXPECT_TRUE(pane.viewport()->rect().contains(place(900)));
}

TEST_F(ListPane, KeysMoveBetweenRows)
{
    fill({u"one", u"two", u"three"});
    pane.setFocus(Qt::TabFocusReason);
    EXPECT_EQ(list.GetSelectedRow(), CListCtrl::no_row) << "the focus alone selects nothing";
    press(shown.window(), Qt::Key_Down);
    EXPECT_EQ(list.GetSelectedRow(), 0u);
    press(shown.window(), Qt::Key_End);
    EXPECT_EQ(list.GetSelectedRow(), 2u);
    press(shown.window(), Qt::Key_Up, Qt::ControlModifier);
    EXPECT_EQ(list.GetSelectedRow(), 1u);
    press(shown.window(), Qt::Key_Right);
    EXPECT_EQ(list.GetSelectedRow(), 1u);
    press(shown.window(), Qt::Key_Home);
    EXPECT_EQ(list.GetSelectedRow(), 0u);
}

TEST_F(ListPane, SidewaysKeysScroll)
{
    change([&] {
        list.InsertColumn(0, u"Wide", 3000);
        list.InsertItem(0, u"row");
    });
    pane.setFocus();
    pump();
    press(shown.window(), Qt::Key_Right);
    EXPECT_GT(pane.horizontalScrollBar()->value(), 0);
    press(shown.window(), Qt::Key_Left);
    EXPECT_EQ(pane.horizontalScrollBar()->value(), 0);
}

TEST_F(ListPane, AHeaderClickArrivesWithItsColumn)
{
    fill({u"b", u"a"});
    click_header(1);
    EXPECT_EQ(shown.frame.notifications, std::vector{HDN_ITEMCLICKW});
    EXPECT_EQ(list.GetClickedColumn(), 1u);
}

TEST_F(ListPane, ASortKeepsWidthsPlaceAndRecord)
{
    change([&] {
        list.InsertColumn(0, u"Name", 500);
        list.InsertColumn(1, u"Data", 900);
        for (std::size_t row = 0; row < 500; ++row)
            list.InsertItem(row, row % 2 == 0 ? u"b" : u"a");
        list.SelectRow(0);
    });
    pane.setColumnWidth(0, 77);
    pane.verticalScrollBar()->setValue(40);
    pane.horizontalScrollBar()->setValue(30);
    shown.frame.on_notify = [&](std::uint32_t) {
        list.SortItems(
            [&](std::size_t a, std::size_t b) { return list.GetItemText(a, 0).compare(list.GetItemText(b, 0)); });
    };
    click_header(0);
    EXPECT_EQ(pane.columnWidth(0), 77);
    EXPECT_EQ(pane.columnWidth(1), 900);
    EXPECT_EQ(pane.verticalScrollBar()->value(), 40);
    EXPECT_EQ(pane.horizontalScrollBar()->value(), 30);
    EXPECT_EQ(list.GetSelectedRow(), 250u) << "the first b";
    EXPECT_TRUE(pane.selectionModel()->isRowSelected(250));
    EXPECT_EQ(pane.model()->index(0, 0).data().toString(), "a");
}

TEST_F(ListPane, ARightClickSelectsFirst)
{
    fill({u"one", u"two"});
    std::vector<std::size_t> selected_then;
    shown.frame.on_notify = [&](std::uint32_t) { selected_then.push_back(list.GetSelectedRow()); };
    right_click(place(1));
    EXPECT_EQ(shown.frame.notifications, std::vector{NM_RCLICK});
    right_click(QPoint(20, pane.viewport()->height() - 5));
    EXPECT_EQ(selected_then, (std::vector<std::size_t>{1, CListCtrl::no_row}));
}

TEST_F(ListPane, TheMenuKeyKeepsTheRowAndTellsItsPlace)
{
    fill({u"one", u"two"});
    change([&] { list.SelectRow(1); });
    std::optional<QPoint> position;
    shown.frame.on_notify = [&](std::uint32_t) { position = pane.keyboard_menu_position(); };
    QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(0, 0), pane.mapToGlobal(QPoint(0, 0)));
    QCoreApplication::sendEvent(pane.viewport(), &event);
    EXPECT_EQ(shown.frame.notifications, std::vector{NM_RCLICK});
    EXPECT_EQ(list.GetSelectedRow(), 1u);
    ASSERT_TRUE(position);
    const QRect row = pane.visualRect(pane.model()->index(1, 0));
    EXPECT_EQ(*position, pane.viewport()->mapToGlobal(row.bottomLeft() + QPoint(0, 1)));
    EXPECT_FALSE(pane.keyboard_menu_position());
}

TEST_F(ListPane, ShiftF10IsTheMenuKeyToo)
{
    fill({u"one", u"two"});
    pane.setFocus();
    press(shown.window(), Qt::Key_Down);
    std::optional<QPoint> position;
    shown.frame.on_notify = [&](std::uint32_t) { position = pane.keyboard_menu_position(); };
    press(shown.window(), Qt::Key_F10, Qt::ShiftModifier);
    EXPECT_EQ(shown.frame.notifications, std::vector{NM_RCLICK});
    EXPECT_TRUE(position);
    press(shown.window(), Qt::Key_F10);
    EXPECT_EQ(shown.frame.notifications.size(), 1u);
}

TEST_F(ListPane, AMenuByKeyBringsItsRowIntoViewAndLeavesTheColumnsAlone)
{
    change([&] {
        list.InsertColumn(0, u"Wide", 3000);
        for (std::size_t row = 0; row < 500; ++row)
            list.InsertItem(row, u"row");
        list.SelectRow(400);
    });
    pane.verticalScrollBar()->setValue(0);
    pane.horizontalScrollBar()->setValue(200);
    std::optional<QPoint> position;
    shown.frame.on_notify = [&](std::uint32_t) { position = pane.keyboard_menu_position(); };
    pane.setFocus();
    press(shown.window(), Qt::Key_F10, Qt::ShiftModifier);
    ASSERT_TRUE(position);
    EXPECT_EQ(pane.horizontalScrollBar()->value(), 200);
    EXPECT_EQ(pane.viewport()->mapFromGlobal(*position).x(), 0);
    const QRect row = pane.visualRect(pane.model()->index(400, 0));
    EXPECT_GE(row.top(), 0);
    EXPECT_LE(row.bottom(), pane.viewport()->height());
}

TEST_F(ListPane, TheArrowTellsTheLastSortAndGoesWithTheRows)
{
    current_sort_order() = {};
    fill({u"b", u"a"});
    sort_on_header_click();
    const QHeaderView* header = pane.horizontalHeader();
    EXPECT_FALSE(header->isSortIndicatorShown());
    click_header(0);
    EXPECT_TRUE(header->isSortIndicatorShown());
    EXPECT_EQ(header->sortIndicatorSection(), 0);
    EXPECT_EQ(header->sortIndicatorOrder(), Qt::AscendingOrder);
    // The direction turns with every click, whatever column it is on.
    click_header(1);
    EXPECT_EQ(header->sortIndicatorSection(), 1);
    EXPECT_EQ(header->sortIndicatorOrder(), Qt::DescendingOrder);
    click_header(1);
    EXPECT_EQ(header->sortIndicatorOrder(), Qt::AscendingOrder);
    change([&] { list.SelectRow(1); });
    EXPECT_TRUE(header->isSortIndicatorShown()) << "the rows are still sorted";
    change([&] {
        list.DeleteAllItems();
        list.InsertItem(0, u"c");
    });
    EXPECT_FALSE(header->isSortIndicatorShown());
    current_sort_order() = {};
}

TEST_F(ListPane, NoArrowWhereNothingWasSorted)
{
    current_sort_order() = {};
    fill({u"b", u"a"});
    click_header(0);
    EXPECT_FALSE(pane.horizontalHeader()->isSortIndicatorShown()) << "nobody sorted";
    change([&] { list.DeleteAllItems(); });
    sort_on_header_click();
    click_header(0);
    EXPECT_FALSE(pane.horizontalHeader()->isSortIndicatorShown()) << "no rows";
    current_sort_order() = {};
}

TEST_F(ListPane, CtrlAndADigitClickAHeader)
{
    fill({u"b", u"a"});
    pane.setFocus();
    press(shown.window(), Qt::Key_2, Qt::ControlModifier);
    EXPECT_EQ(list.GetClickedColumn(), 1u);
    press(shown.window(), Qt::Key_1, Qt::ControlModifier | Qt::KeypadModifier);
    EXPECT_EQ(list.GetClickedColumn(), 0u);
    press(shown.window(), Qt::Key_2, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(list.GetClickedColumn(), 1u) << "digits that take Shift";
    const std::size_t clicks = shown.frame.notifications.size();
    EXPECT_EQ(clicks, 3u);
    press(shown.window(), Qt::Key_3, Qt::ControlModifier);
    press(shown.window(), Qt::Key_0, Qt::ControlModifier);
    press(shown.window(), Qt::Key_1);
    press(shown.window(), Qt::Key_1, Qt::ControlModifier | Qt::AltModifier);
    EXPECT_EQ(shown.frame.notifications.size(), clicks) << "no such column, or no such key";
}

TEST_F(ListPane, ASpacerTakesNoRoomBeforeTheText)
{
    fill({u"one"});
    const image_list spacer{1, 1, 0};
    const image_list strip{16, 16, 22};
    const auto left_of_text = [&] {
        QImage picture = pane.viewport()->grab(pane.visualRect(pane.model()->index(0, 0))).toImage();
        for (int x = 0; x < picture.width(); ++x)
            for (int y = 1; y < picture.height() - 2; ++y)
                if (picture.pixelColor(x, y) != picture.pixelColor(picture.width() - 10, 1))
                    return x;
        return -1;
    };
    const int without_images = left_of_text();
    list.SetSmallImages(&spacer);
    EXPECT_NEAR(left_of_text(), without_images, 1);
    change([&] {
        list.DeleteAllItems();
        list.InsertItem(0, u"one", 5);
    });
    EXPECT_NEAR(left_of_text(), without_images, 1) << "an index means nothing to the spacer";
    EXPECT_FALSE(pane.model()->index(0, 0).data(Qt::DecorationRole).isValid());
    list.SetSmallImages(&strip);
    EXPECT_TRUE(pane.model()->index(0, 0).data(Qt::DecorationRole).isValid());
    list.SetSmallImages(nullptr);
}

TEST_F(ListPane, StyleBitsRule)
{
    const auto* delegate = static_cast<const cell_delegate*>(pane.itemDelegate());
    EXPECT_TRUE(delegate->shows_grid());
    EXPECT_EQ(pane.selectionBehavior(), QAbstractItemView::SelectRows);
    EXPECT_EQ(pane.selectionMode(), QAbstractItemView::SingleSelection);
    list.set_extended_style(0);
    EXPECT_FALSE(delegate->shows_grid());
    EXPECT_EQ(pane.selectionBehavior(), QAbstractItemView::SelectItems);
}

TEST_F(ListPane, AMillionRowsCostWhatIsShown)
{
    constexpr std::size_t count = 1'000'000;
    counting_delegate counter;
    QAbstractItemDelegate* before = pane.itemDelegate();
    pane.setItemDelegate(&counter);
    change([&] {
        list.InsertColumn(0, u"Name", 100);
        for (std::size_t row = 0; row < count; ++row)
            list.InsertItem(row, u"row");
    });
    EXPECT_EQ(counter.painted + counter.measured, 0) << "setting up asks for no cell";
    EXPECT_EQ(pane.model()->rowCount(), static_cast<int>(count));

    constexpr int stops = 50;
    QScrollBar* bar = pane.verticalScrollBar();
    for (int stop = 0; stop <= stops; ++stop) {
        bar->setValue(static_cast<int>(static_cast<double>(bar->maximum()) * stop / stops));
        pane.viewport()->repaint();
    }
    const int rows_in_view = pane.viewport()->height() / pane.rowHeight(0) + 2;
    EXPECT_GT(counter.painted, stops);
    EXPECT_LE(counter.painted, (stops + 2) * rows_in_view * 2);
    EXPECT_EQ(counter.measured, 0) << "rows are of one height";
    EXPECT_EQ(pane.rowAt(pane.viewport()->height() - 2), static_cast<int>(count) - 1) << "scrolled to the end";
    pane.setItemDelegate(before);
}

TEST_F(ListPane, RowsFollowTheFont)
{
    fill({u"one"});
    QFont large = pane.font();
    large.setPointSize(large.pointSize() * 3);
    pane.setFont(large);
    pump();
    EXPECT_GE(pane.rowHeight(0), QFontMetrics(large).height());
}

TEST_F(ListPane, LetsGoOfTheControl)
{
    fill({u"one"});
    pane.detach();
    pane.detach();
    EXPECT_EQ(pane.model(), nullptr);
    list.InsertItem(0, u"nobody listens");
    right_click(QPoint(5, 5));
    EXPECT_TRUE(shown.frame.notifications.empty());
    pane.catch_up();
}

} // namespace
} // namespace cw
