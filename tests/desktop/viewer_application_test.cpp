#include "desktop/viewer_application.h"

#include "tests/desktop/desktop_support.h"

#include <QEvent>
#include <gtest/gtest.h>

#include <stdexcept>

namespace cw {
namespace {

class throwing_object final : public QObject {
public:
    std::function<void()> work;
    bool event(QEvent* event) override
    {
        if (event->type() == QEvent::User)
            work();
        return QObject::event(event);
    }
};

TEST(ViewerApplication, AnExceptionEndsAtTheEventWithOneLine)
{
    throwing_object object;
    QEvent event(QEvent::User);
    testing::internal::CaptureStderr();
    object.work = [] { throw std::runtime_error("out of paper"); };
    EXPECT_FALSE(QCoreApplication::sendEvent(&object, &event));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "cwcabview: unhandled error: out of paper\n");

    testing::internal::CaptureStderr();
    object.work = [] { throw 5; };
    EXPECT_FALSE(QCoreApplication::sendEvent(&object, &event));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "cwcabview: unhandled error\n");
}

TEST(ViewerApplication, ACommandThatThrowsLeavesTheWindowAlive)
{
    test_support::recording_window shown;
    shown.frame.on_command = [](std::uint32_t) { throw std::runtime_error("out of paper"); };
    test_support::press(shown.window(), Qt::Key_F3);
    shown.frame.on_command = nullptr;
    ASSERT_EQ(shown.unhandled.size(), 1u);
    EXPECT_EQ(shown.unhandled[0].find(u'\n'), std::u16string::npos);
    EXPECT_TRUE(shown.window().isVisible());
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
    test_support::press(shown.window(), Qt::Key_F3);
    EXPECT_EQ(shown.frame.commands.size(), 2u) << "and it goes on working";
}

TEST(ViewerApplication, HasTheNamesThatDesktopAndSettingsKnow)
{
    EXPECT_EQ(QCoreApplication::organizationName(), "Cratewright");
    EXPECT_EQ(QCoreApplication::applicationName(), "Cratewright Cabinet and Log File Viewer");
    EXPECT_EQ(QGuiApplication::desktopFileName(), "cwcabview");
    EXPECT_FALSE(QApplication::windowIcon().isNull());
}

} // namespace
} // namespace cw
