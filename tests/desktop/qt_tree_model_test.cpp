#include "desktop/qt_tree_model.h"

#include "desktop/icons.h"

#include <QAbstractItemModelTester>
#include <QIcon>
#include <QSignalSpy>
#include <gtest/gtest.h>

#include <random>

namespace cw {
namespace {

/// Marks changes of structure as the pane does.
struct marking_observer final : tree_observer {
    explicit marking_observer(qt_tree_model& shown) : model(shown) {}
    void tree_structure_changing() override { model.begin_change(); }
    void tree_selection_changed() override {}
    void tree_item_expanded(HTREEITEM, bool) override {}
    void tree_item_wanted_visible(HTREEITEM) override {}
    void tree_style_changed() override {}
    qt_tree_model& model;
};

struct QtTreeModel : testing::Test {
    QtTreeModel() { tree.SetObserver(&observer); }
    QString text(const QModelIndex& index) const { return model.data(index, Qt::DisplayRole).toString(); }

    CTreeCtrl tree;
    qt_tree_model model{tree};
    marking_observer observer{model};
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::Fatal};
};

TEST_F(QtTreeModel, ShowsItemsByRowAndParent)
{
    const HTREEITEM root = tree.InsertItem(u"root", {}, {});
    const HTREEITEM first = tree.InsertItem(u"first", {}, root);
    const HTREEITEM second = tree.InsertItem(u"second", {}, root);
    model.end_change();

    EXPECT_EQ(model.rowCount(), 1);
    EXPECT_EQ(model.columnCount(), 1);
    const QModelIndex root_index = model.index(0, 0);
    EXPECT_EQ(text(root_index), "root");
    EXPECT_EQ(model.rowCount(root_index), 2);
    EXPECT_EQ(text(model.index(1, 0, root_index)), "second");
    EXPECT_EQ(model.parent(model.index(1, 0, root_index)), root_index);
    EXPECT_EQ(model.index_of(first), model.index(0, 0, root_index));
    EXPECT_EQ(qt_tree_model::item_of(model.index_of(second)), second);
    EXPECT_FALSE(model.parent(root_index).isValid());
    EXPECT_TRUE(model.hasChildren(root_index));
    EXPECT_FALSE(model.hasChildren(model.index_of(first)));
    EXPECT_FALSE(model.index(2, 0, root_index).isValid());
    EXPECT_FALSE(model.index(0, 1, root_index).isValid());
    EXPECT_FALSE(model.index_of({}).isValid());
}

TEST_F(QtTreeModel, ADeletedItemHasNoIndexAndNoTexts)
{
    const HTREEITEM root = tree.InsertItem(u"root", {}, {});
    model.end_change();
    const QModelIndex stale = model.index_of(root);
    tree.DeleteItem(root);
    model.end_change();
    EXPECT_FALSE(model.index_of(root).isValid());
    EXPECT_FALSE(model.data(stale, Qt::DisplayRole).isValid());
}

TEST_F(QtTreeModel, ManyChangesAreOneReset)
{
    QSignalSpy begun(&model, &QAbstractItemModel::modelAboutToBeReset);
    QSignalSpy ended(&model, &QAbstractItemModel::modelReset);
    for (int item = 0; item < 1000; ++item)
        tree.InsertItem(u"item", {}, {});
    EXPECT_EQ(begun.count(), 1);
    EXPECT_EQ(ended.count(), 0);
    EXPECT_TRUE(model.is_changing());
    EXPECT_EQ(model.rowCount(), 0) << "half a change is not shown";
    EXPECT_FALSE(model.hasChildren());
    model.end_change();
    EXPECT_EQ(ended.count(), 1);
    EXPECT_EQ(model.rowCount(), 1000);
    model.end_change();
    EXPECT_EQ(ended.count(), 1) << "nothing had begun";
}

TEST_F(QtTreeModel, PicturesDependOnTheSelection)
{
    const HTREEITEM plain = tree.InsertItem(u"plain", tree_item_images{1, 2}, {});
    const HTREEITEM without = tree.InsertItem(u"without", {}, {});
    model.end_change();
    const auto picture = [&](HTREEITEM item) {
        return qvariant_cast<QIcon>(model.data(model.index_of(item), Qt::DecorationRole)).cacheKey();
    };
    EXPECT_EQ(picture(plain), tree_icon(1).cacheKey());
    EXPECT_EQ(picture(without), tree_icon(0).cacheKey()) << "no image is the first image";

    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    tree.SelectItem(plain);
    model.selection_moved({}, plain);
    EXPECT_EQ(picture(plain), tree_icon(2).cacheKey());
    EXPECT_EQ(changed.count(), 1);
    tree.SelectItem(without);
    model.selection_moved(plain, without);
    EXPECT_EQ(changed.count(), 3);
    EXPECT_EQ(picture(plain), tree_icon(1).cacheKey());
}

TEST_F(QtTreeModel, SurvivesThousandsOfRandomChanges)
{
    std::mt19937 random(7);
    std::vector<HTREEITEM> items{{}};
    const auto any = [&] { return items[random() % items.size()]; };
    for (int round = 0; round < 400; ++round) {
        for (int change = 0; change < 10; ++change) {
            const HTREEITEM item = any();
            switch (random() % 8) {
            case 0:
                tree.DeleteItem(item);
                break;
            case 1:
                tree.SortChildren(item);
                break;
            default:
                if (tree.GetItemCount() > 300)
                    tree.DeleteItem(tree.GetRootItem());
                if (const HTREEITEM added = tree.InsertItem(std::u16string(1 + random() % 3, u'a'), {}, item))
                    items.push_back(added);
            }
        }
        model.end_change(); // the tester walks the whole model at each reset
        ASSERT_EQ(model.rowCount(), static_cast<int>(tree.GetChildCount({})));
    }
    tree.DeleteAllItems();
    model.end_change();
    EXPECT_EQ(model.rowCount(), 0);
}

} // namespace
} // namespace cw
