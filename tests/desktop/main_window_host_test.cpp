#include "desktop/main_window_host.h"

#include "desktop/qt_text.h"
#include "tests/desktop/desktop_support.h"

#include <QAction>
#include <QApplication>
#include <QThread>
#include <QTimer>
#include <gtest/gtest.h>

namespace cw {
namespace {

using namespace test_support;

/// Does something with the window as soon as the event loop runs, then chooses Exit.
void when_running(main_window_host& host, std::function<void(main_window&)> work)
{
    QTimer::singleShot(0, qApp, [&host, work = std::move(work)] {
        // The start-up lets events happen as well.
        if (QThread::currentThread()->loopLevel() == 0)
            return when_running(host, work);
        work(*host.window_toolkit().window());
        menu_action(*host.window_toolkit().window(), QStringLiteral("&File/E&xit"))->trigger();
    });
}

TEST(MainWindowHost, RunsUntilTheWindowIsClosedAndKeepsTheSettings)
{
    const temporary_folder folder;
    const QString log = QString::fromStdString(folder.file("a.clg"));
    {
        main_window_host host({from_qt(log)});
        QString title;
        when_running(host, [&](main_window& window) {
            title = window.windowTitle();
            EXPECT_TRUE(window.isVisible());
        });
        EXPECT_EQ(run_window(host), 0);
        EXPECT_EQ(title, log);
        EXPECT_EQ(host.window_toolkit().window(), nullptr);
    }
    // The recent list was written by the first run and is read by the second.
    main_window_host host({});
    QStringList recent;
    when_running(host, [&](main_window& window) {
        EXPECT_EQ(window.windowTitle(), "Cratewright Cabinet and Log File Viewer");
        recent = popup_texts(window, QStringLiteral("&File/&Recent Files"));
    });
    EXPECT_EQ(run_window(host), 0);
    ASSERT_FALSE(recent.isEmpty());
    EXPECT_EQ(recent.front(), QStringLiteral("&1 ") + log);
}

TEST(MainWindowHost, PutsTheSettingsBackThatWereInUse)
{
    platform::user_settings* before = platform::current().user;
    {
        main_window_host host({});
        host.set_registry_key(u"Cratewright");
        EXPECT_NE(platform::current().user, before);
        platform::current().user->write_number(u"Test", u"Number", 5);
        host.set_registry_key(u"Cratewright");
        EXPECT_EQ(platform::current().user->read_number(u"Test", u"Number", 0), 5);
        platform::current().user->remove(u"Test", u"Number");
    }
    EXPECT_EQ(platform::current().user, before);
}

TEST(MainWindowHost, BringsUpEverythingThatIsAskedFor)
{
    main_window_host host({u"a", u"b"});
    host.enable_control_container(nullptr);
    EXPECT_TRUE(host.ole_init());
    EXPECT_TRUE(host.init_common_controls(8, 255));
    EXPECT_TRUE(host.base_init_instance());
    EXPECT_EQ(host.arguments().size(), 2u);
    EXPECT_EQ(&host.toolkit(), &host.window_toolkit());
    EXPECT_EQ(&host.services(), &host.window_services());
}

} // namespace
} // namespace cw
