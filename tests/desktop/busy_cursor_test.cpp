#include "desktop/busy_cursor.h"

#include <QCursor>
#include <QGuiApplication>
#include <gtest/gtest.h>

namespace cw {
namespace {

bool is_waiting()
{
    const QCursor* cursor = QGuiApplication::overrideCursor();
    return cursor && cursor->shape() == Qt::WaitCursor;
}

TEST(BusyCursor, IsSetOnceForNestedWork)
{
    EXPECT_FALSE(is_waiting());
    {
        const busy_cursor outer;
        EXPECT_TRUE(is_waiting());
        {
            const busy_cursor inner;
            EXPECT_TRUE(is_waiting());
        }
        EXPECT_TRUE(is_waiting());
    }
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

TEST(BusyCursor, IsTakenAwayForAQuestion)
{
    const busy_cursor busy;
    {
        const busy_pause pause;
        EXPECT_FALSE(is_waiting());
        {
            const busy_cursor work_of_the_question;
            EXPECT_TRUE(is_waiting());
        }
        EXPECT_FALSE(is_waiting());
    }
    EXPECT_TRUE(is_waiting());
}

TEST(BusyCursor, APauseWithoutWorkChangesNothing)
{
    const busy_pause pause;
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

} // namespace
} // namespace cw
