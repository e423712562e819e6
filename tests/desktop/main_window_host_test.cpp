#include "desktop/main_window_host.h"

#include "app/menus.h"
#include "desktop/dialogs.h"
#include "desktop/qt_text.h"
#include "tests/desktop/desktop_support.h"

#include <QAction>
#include <QApplication>
#include <QThread>
#include <QTimer>
#include <QWindow>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sys/stat.h>

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

TEST(MainWindowHost, ShowsLongRecentPathsShortened)
{
    const temporary_folder folder;
    const std::string path = folder.file(std::string(100, 'd') + "/a.clg");
    main_window_host host({QString::fromStdString(path).toStdU16String()});
    QStringList recent;
    when_running(host,
                 [&](main_window& window) { recent = popup_texts(window, QStringLiteral("&File/&Recent Files")); });
    EXPECT_EQ(run_window(host), 0);
    EXPECT_EQ(recent.value(0), QString::fromStdString("&1 " + path.substr(0, 70) + ".../a.clg"));
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

/// What the person sees at the moment when a file begins to be opened, which is when the title changes.
class open_watcher final : public QObject {
public:
    open_watcher() { qApp->installEventFilter(this); }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        const auto* window = dynamic_cast<main_window*>(watched);
        if (!window || event->type() != QEvent::WindowTitleChange || window->windowTitle() == application_title())
            return false;
        ++opens;
        visible = window->isVisible() && window->windowHandle()->isExposed();
        const QCursor* cursor = QGuiApplication::overrideCursor();
        waiting = cursor && cursor->shape() == Qt::WaitCursor;
        return false;
    }

    int opens = 0;
    bool visible = false;
    bool waiting = false;
};

TEST(MainWindowHost, ShowsTheWindowBeforeTheFileOfTheCommandLineIsOpened)
{
    const temporary_folder folder;
    main_window_host host({folder.wide_file("a.clg")});
    open_watcher watcher;
    when_running(host, [&](main_window&) { EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr); });
    EXPECT_EQ(run_window(host), 0);
    EXPECT_EQ(watcher.opens, 1);
    EXPECT_TRUE(watcher.visible);
    EXPECT_TRUE(watcher.waiting);
}

TEST(MainWindowHost, OpensADroppedFile)
{
    const temporary_folder folder;
    main_window_host host({});
    open_watcher watcher;
    QString title;
    when_running(host, [&](main_window& window) {
        EXPECT_TRUE(drop(window, window.rect().center(), {folder.file("a.clg")}));
        EXPECT_EQ(watcher.opens, 0) << "only when the drop is over";
        pump();
        title = window.windowTitle();
    });
    EXPECT_EQ(run_window(host), 0);
    EXPECT_EQ(title, QString::fromStdString(folder.file("a.clg")));
    EXPECT_EQ(watcher.opens, 1);
    EXPECT_TRUE(watcher.waiting);
}

TEST(MainWindowHost, OpensNothingThatIsDroppedOnAClosingWindow)
{
    const temporary_folder folder;
    main_window_host host({});
    open_watcher watcher;
    when_running(host, [&](main_window& window) { EXPECT_TRUE(drop(window, {5, 5}, {folder.file("a.clg")})); });
    EXPECT_EQ(run_window(host), 0);
    EXPECT_EQ(watcher.opens, 0);
}

/// Settings in a folder of their own.
class settings_folder {
public:
    settings_folder() : m_before(qgetenv("XDG_CONFIG_HOME")) { qputenv("XDG_CONFIG_HOME", m_folder.path().c_str()); }
    ~settings_folder() { qputenv("XDG_CONFIG_HOME", m_before); }
    settings_folder(const settings_folder&) = delete;
    settings_folder& operator=(const settings_folder&) = delete;

    [[nodiscard]] const temporary_folder& folder() const { return m_folder; }
    void write(const std::string& bytes)
    {
        std::filesystem::create_directories(file().parent_path());
        std::ofstream(file(), std::ios::binary) << bytes;
    }
    [[nodiscard]] std::string read() const
    {
        std::ifstream stream(file(), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    [[nodiscard]] static std::filesystem::path file()
    {
        return settings_file(QStringLiteral("Cratewright")).toStdString();
    }

private:
    temporary_folder m_folder;
    QByteArray m_before;
};

/// Starts, turns Expert Mode around and closes; whether it was on at the start.
bool run_and_turn_expert_mode()
{
    main_window_host host({});
    bool was_on = false;
    when_running(host, [&](main_window&) {
        auto& frame = dynamic_cast<CMainFrame&>(*host.window_toolkit().frame());
        was_on = frame.ExpertMode();
        frame.OnExpertMode(ID_VIEW_EXPERT_MODE);
    });
    EXPECT_EQ(run_window(host), 0);
    return was_on;
}

TEST(MainWindowHost, KeepsSettingsUnderTheCompanysAndTheProgramsName)
{
    const settings_folder settings;
    EXPECT_EQ(settings_folder::file(),
              settings.folder().path() / "Cratewright" / "Cratewright Cabinet and Log File Viewer.conf");
    EXPECT_FALSE(run_and_turn_expert_mode());
    EXPECT_EQ(settings.read(), "[Settings]\nMode=1\n");
    EXPECT_TRUE(run_and_turn_expert_mode());
    EXPECT_EQ(settings.read(), "[Settings]\nMode=0\n");
}

TEST(MainWindowHost, LosesNothingOfSettingsThatItDoesNotKnow)
{
    settings_folder settings;
    settings.write("; mine\n[Other]\nKey=a, b\n[Settings]\nMode=many\nModel=5\n[Torn\nno line of settings\n");
    EXPECT_FALSE(run_and_turn_expert_mode());
    EXPECT_EQ(settings.read(), "; mine\n[Other]\nKey=a, b\n[Settings]\nMode=1\nModel=5\n[Torn\nno line of settings\n");
}

TEST(MainWindowHost, StartsAndEndsWithSettingsThatAreNoFile)
{
    settings_folder settings;
    std::filesystem::create_directories(settings_folder::file());
    EXPECT_FALSE(run_and_turn_expert_mode());
    EXPECT_TRUE(std::filesystem::is_empty(settings_folder::file()));
    std::filesystem::remove(settings_folder::file());
    ASSERT_EQ(mkfifo(settings_folder::file().c_str(), 0600), 0);
    EXPECT_FALSE(run_and_turn_expert_mode());
    EXPECT_TRUE(std::filesystem::is_fifo(settings_folder::file()));
}

TEST(MainWindowHost, StartsAndEndsWithSettingsThatMayNotBeWritten)
{
    settings_folder settings;
    settings.write("[Settings]\nMode=1\n");
    std::filesystem::permissions(settings_folder::file(), std::filesystem::perms::owner_read);
    EXPECT_TRUE(run_and_turn_expert_mode());
    EXPECT_EQ(settings.read(), "[Settings]\nMode=1\n");
}

TEST(MainWindowHost, TwoAtATimeKeepEachOthersEntries)
{
    settings_folder settings;
    main_window_host first({});
    main_window_host second({});
    first.set_registry_key(u"Cratewright");
    platform::user_settings& of_first = *platform::current().user;
    second.set_registry_key(u"Cratewright");
    platform::user_settings& of_second = *platform::current().user;
    of_first.write_number(u"Settings", u"Mode", 1);
    of_second.write_text(u"CommandBars", u"State", u"x");
    EXPECT_EQ(settings.read(), "[Settings]\nMode=1\n[CommandBars]\nState=x\n");
}

} // namespace
} // namespace cw
