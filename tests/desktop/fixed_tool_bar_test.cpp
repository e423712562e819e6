#include "desktop/fixed_tool_bar.h"

#include "tests/desktop/desktop_support.h"

#include <QImage>
#include <QToolButton>
#include <gtest/gtest.h>

namespace cw {
namespace {

/// The colour of an icon where it covers most.
QColor colour_of(const QIcon& icon)
{
    const QImage image = icon.pixmap(64, 64).toImage();
    QColor strongest(0, 0, 0, 0);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixelColor(x, y).alpha() > strongest.alpha())
                strongest = image.pixelColor(x, y);
    return strongest;
}

TEST(FixedToolBar, StaysWhereItIsAndHasItsName)
{
    const fixed_tool_bar bar(QStringLiteral("Tools"));
    EXPECT_FALSE(bar.isMovable());
    EXPECT_FALSE(bar.isFloatable());
    EXPECT_EQ(bar.windowTitle(), "Tools");
    EXPECT_EQ(bar.accessibleName(), "Tools");
}

TEST(FixedToolBar, TheWayToWhatDoesNotFitIsSeenInEveryPalette)
{
    fixed_tool_bar bar(QStringLiteral("Tools"));
    const auto* button = bar.findChild<QToolButton*>(QStringLiteral("qt_toolbar_ext_button"));
    ASSERT_NE(button, nullptr);
    EXPECT_EQ(button->accessibleName(), "More of Tools");
    for (const QColor text : {QColor(250, 240, 230), QColor(10, 20, 30)}) {
        QPalette palette = bar.palette();
        palette.setColor(QPalette::ButtonText, text);
        bar.setPalette(palette);
        const QColor shown = colour_of(button->icon());
        ASSERT_GT(shown.alpha(), 100);
        EXPECT_NEAR(shown.red(), text.red(), 4);
        EXPECT_NEAR(shown.green(), text.green(), 4);
        EXPECT_NEAR(shown.blue(), text.blue(), 4);
    }
}

} // namespace
} // namespace cw
