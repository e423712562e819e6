#include "desktop/tool_drag.h"

#include <QMimeData>
#include <gtest/gtest.h>

namespace cw {
namespace {

TEST(ToolDrag, CarriesAThing)
{
    tool_item menu = tool_item::menu(u"Mine");
    menu.contents.push_back(tool_item::command(5));
    const auto data = drag_of(menu);
    EXPECT_EQ(dragged_item(*data), menu);
    EXPECT_EQ(dragged_place(*data), std::nullopt);
    EXPECT_EQ(data->formats().size(), 1) << "window systems carry nothing without a format";
}

TEST(ToolDrag, CarriesAPlace)
{
    const auto data = drag_from({3, 1});
    EXPECT_EQ(dragged_place(*data), (tool_place{3, 1}));
    EXPECT_EQ(dragged_item(*data), std::nullopt);
    EXPECT_EQ(data->formats(), drag_of({})->formats());
}

TEST(ToolDrag, IsNothingOfAnybodyElse)
{
    QMimeData text;
    text.setText(QStringLiteral("32780"));
    EXPECT_EQ(dragged_item(text), std::nullopt);
    EXPECT_EQ(dragged_place(text), std::nullopt);
    // Not even under the same name.
    QMimeData forged;
    forged.setData(drag_of({})->formats().front(), "tool");
    EXPECT_EQ(dragged_item(forged), std::nullopt);
}

} // namespace
} // namespace cw
