#include "desktop/icons.h"

#include "app/menus.h"

#include <QImage>
#include <QPixmap>
#include <gtest/gtest.h>

#include <set>

namespace cw {
namespace {

int visible_pixels(const QImage& picture)
{
    int count = 0;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            count += qAlpha(picture.pixel(x, y)) > 0 ? 1 : 0;
    return count;
}

QImage drawn(const QIcon& icon, qreal scale = 1, QIcon::Mode mode = QIcon::Normal)
{
    return icon.pixmap(QSize(tree_icon_size, tree_icon_size), scale, mode).toImage();
}

TEST(Icons, EveryIndexHasAPictureOfItsOwn)
{
    std::set<std::string> names;
    std::vector<QImage> pictures;
    for (int index = 0; index < tree_icon_count; ++index) {
        const QImage picture = drawn(tree_icon(index));
        EXPECT_EQ(picture.size(), QSize(tree_icon_size, tree_icon_size)) << index;
        EXPECT_GT(visible_pixels(picture), 40) << tree_icon_name(index);
        EXPECT_TRUE(names.insert(tree_icon_name(index)).second) << tree_icon_name(index);
        for (const QImage& other : pictures)
            EXPECT_NE(picture, other) << tree_icon_name(index);
        pictures.push_back(picture);
    }
}

TEST(Icons, AreDrawnAtTheScaleOfTheScreen)
{
    for (const qreal scale : {1.0, 1.5, 2.0}) {
        const QImage picture = drawn(tree_icon(3), scale);
        EXPECT_EQ(picture.width(), static_cast<int>(tree_icon_size * scale));
    }
}

TEST(Icons, AreNotTintedInASelectedRow)
{
    EXPECT_EQ(drawn(tree_icon(1), 1, QIcon::Selected), drawn(tree_icon(1)));
}

TEST(Icons, StandOutOnLightAndDark)
{
    // Some part of every picture is far from white, and some part far from black.
    for (int index = 0; index < tree_icon_count; ++index) {
        const QImage picture = drawn(tree_icon(index));
        int far_from_white = 0;
        int far_from_black = 0;
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; x < picture.width(); ++x) {
                const QColor colour = picture.pixelColor(x, y);
                if (colour.alpha() < 200)
                    continue;
                far_from_white += colour.lightness() < 190 ? 1 : 0;
                far_from_black += colour.lightness() > 90 ? 1 : 0;
            }
        EXPECT_GT(far_from_white, 20) << tree_icon_name(index);
        EXPECT_GT(far_from_black, 20) << tree_icon_name(index);
    }
}

TEST(Icons, EveryCommandOfTheMenuHasAPictureOfItsOwn)
{
    std::vector<QImage> pictures;
    for (const menu_item& popup : main_menu())
        for (const menu_item& item : popup.popup) {
            if (item.id == 0)
                continue;
            const QImage picture = drawn(command_icon(item.id));
            EXPECT_GT(visible_pixels(picture), 40) << item.id;
            int far_from_white = 0;
            int far_from_black = 0;
            for (int y = 0; y < picture.height(); ++y)
                for (int x = 0; x < picture.width(); ++x) {
                    const QColor colour = picture.pixelColor(x, y);
                    far_from_white += colour.alpha() >= 200 && colour.lightness() < 190 ? 1 : 0;
                    far_from_black += colour.alpha() >= 200 && colour.lightness() > 90 ? 1 : 0;
                }
            EXPECT_GT(far_from_white, 20) << item.id;
            EXPECT_GT(far_from_black, 20) << item.id;
            for (const QImage& other : pictures)
                EXPECT_NE(picture, other) << item.id;
            pictures.push_back(picture);
        }
    EXPECT_EQ(pictures.size(), 17u);
    EXPECT_TRUE(command_icon(0).isNull());
    EXPECT_TRUE(command_icon(ID_FILE_MRU_FIRST).isNull());
}

TEST(Icons, AnUnknownIndexIsEmpty)
{
    EXPECT_TRUE(tree_icon(-1).isNull());
    EXPECT_TRUE(tree_icon(tree_icon_count).isNull());
}

TEST(Icons, TheApplicationHasOne)
{
    EXPECT_GT(visible_pixels(application_icon().pixmap(64, 64).toImage()), 1000);
}

} // namespace
} // namespace cw
