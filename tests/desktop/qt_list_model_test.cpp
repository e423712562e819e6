#include "desktop/qt_list_model.h"

#include "desktop/icons.h"

#include <QAbstractItemModelTester>
#include <QIcon>
#include <QSignalSpy>
#include <gtest/gtest.h>

#include <random>

namespace cw {
namespace {

struct marking_observer final : list_observer {
    explicit marking_observer(qt_list_model& shown) : model(shown) {}
    void list_changing() override { model.begin_change(); }
    void list_selection_changed() override {}
    void list_row_wanted_visible(std::size_t) override {}
    void list_images_changed() override {}
    void list_style_changed() override {}
    qt_list_model& model;
};

struct QtListModel : testing::Test {
    QtListModel() { list.SetObserver(&observer); }
    QString text(int row, int column) const { return model.data(model.index(row, column), Qt::DisplayRole).toString(); }

    CListCtrl list;
    qt_list_model model{list};
    marking_observer observer{model};
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::Fatal};
};

TEST_F(QtListModel, ShowsCellsAndColumnLabels)
{
    list.InsertColumn(0, u"Property", 150);
    list.InsertColumn(1, u"Value", 400);
    list.InsertItem(0, u"Name");
    list.SetItemText(0, 1, u"Gr\u00FC\u00DFe \U0001F600");
    model.end_change();

    EXPECT_EQ(model.rowCount(), 1);
    EXPECT_EQ(model.columnCount(), 2);
    EXPECT_EQ(text(0, 0), "Name");
    EXPECT_EQ(text(0, 1), QString::fromUtf8("Grüße 😀"));
    EXPECT_EQ(model.headerData(1, Qt::Horizontal, Qt::DisplayRole).toString(), "Value");
    EXPECT_EQ(model.headerData(1, Qt::Horizontal, Qt::AccessibleTextRole).toString(), "Value");
    EXPECT_EQ(model.headerData(1, Qt::Horizontal, Qt::ToolTipRole).toString(),
              QString::fromUtf8("Sort by “Value” (Ctrl+2)"));
    EXPECT_EQ(model.headerData(0, Qt::Horizontal, Qt::AccessibleDescriptionRole).toString(),
              QString::fromUtf8("Sort by “Property” (Ctrl+1)"));
    EXPECT_FALSE(model.headerData(2, Qt::Horizontal, Qt::DisplayRole).isValid());
    EXPECT_FALSE(model.headerData(0, Qt::Vertical, Qt::DisplayRole).isValid());
    EXPECT_EQ(model.rowCount(model.index(0, 0)), 0);
    EXPECT_EQ(model.columnCount(model.index(0, 0)), 0);
}

TEST_F(QtListModel, OnlyTheFirstNineColumnsHaveAKey)
{
    for (std::size_t column = 0; column < 10; ++column)
        list.InsertColumn(column, u"Data", 10);
    model.end_change();
    EXPECT_TRUE(model.headerData(8, Qt::Horizontal, Qt::ToolTipRole).toString().endsWith("(Ctrl+9)"));
    EXPECT_FALSE(model.headerData(9, Qt::Horizontal, Qt::ToolTipRole).toString().contains("Ctrl"));
}

TEST_F(QtListModel, ManyChangesAreOneReset)
{
    QSignalSpy begun(&model, &QAbstractItemModel::modelAboutToBeReset);
    QSignalSpy ended(&model, &QAbstractItemModel::modelReset);
    list.InsertColumn(0, u"Name", 100);
    for (std::size_t row = 0; row < 1000; ++row)
        list.InsertItem(row, u"row");
    EXPECT_EQ(begun.count(), 1);
    EXPECT_EQ(ended.count(), 0);
    EXPECT_EQ(model.rowCount(), 0) << "half a change is not shown";
    EXPECT_EQ(model.columnCount(), 0);
    model.end_change();
    EXPECT_EQ(ended.count(), 1);
    EXPECT_EQ(model.rowCount(), 1000);
    model.end_change();
    EXPECT_EQ(ended.count(), 1);
}

TEST_F(QtListModel, RowsShowPicturesOnlyOfAListThatHasThem)
{
    list.InsertColumn(0, u"Name", 100);
    list.InsertColumn(1, u"Data", 100);
    list.InsertItem(0, u"with", 21);
    list.InsertItem(1, u"without");
    model.end_change();
    const auto picture = [&](int row, int column) { return model.data(model.index(row, column), Qt::DecorationRole); };

    EXPECT_FALSE(picture(0, 0).isValid()) << "no image list is set";
    const image_list spacer{1, 1, 0};
    list.SetSmallImages(&spacer);
    EXPECT_FALSE(picture(0, 0).isValid());
    const image_list strip{16, 16, 22};
    list.SetSmallImages(&strip);
    EXPECT_EQ(qvariant_cast<QIcon>(picture(0, 0)).cacheKey(), tree_icon(21).cacheKey());
    EXPECT_FALSE(picture(0, 1).isValid()) << "the first column alone has pictures";
    EXPECT_FALSE(picture(1, 0).isValid());
}

TEST_F(QtListModel, SurvivesThousandsOfRandomChanges)
{
    std::mt19937 random(11);
    for (int round = 0; round < 400; ++round) {
        for (int change = 0; change < 10; ++change) {
            const std::size_t row = random() % (list.GetItemCount() + 1);
            switch (random() % 12) {
            case 0:
                list.DeleteAllItems();
                break;
            case 1:
                list.DeleteColumn(random() % 4);
                break;
            case 2:
            case 3:
                if (list.GetColumnCount() < 9)
                    list.InsertColumn(random() % (list.GetColumnCount() + 1), u"column", 100);
                break;
            case 4:
                list.SortItems([&](std::size_t a, std::size_t b) {
                    return list.GetItemText(a, 0).compare(list.GetItemText(b, 0));
                });
                break;
            case 5:
                list.SetItemText(row, random() % 9, u"cell");
                break;
            default:
                list.InsertItem(row, std::u16string(random() % 5, u'x'));
            }
        }
        model.end_change(); // the tester walks the whole model at each reset
        ASSERT_EQ(model.rowCount(), static_cast<int>(list.GetItemCount()));
        ASSERT_EQ(model.columnCount(), static_cast<int>(list.GetColumnCount()));
    }
}

} // namespace
} // namespace cw
