#include "desktop/main_window_host.h"

#include "desktop/busy_cursor.h"
#include "desktop/dialogs.h"
#include "desktop/qt_text.h"
#include "foundation/string.h"

#include <QApplication>
#include <QFile>
#include <QStandardPaths>

#include <cstdio>

namespace cw {
namespace {

platform::services with(platform::thread_waits& waits)
{
    platform::services set = platform::current();
    set.waits = &waits;
    return set;
}

} // namespace

main_window_host::main_window_host(std::vector<std::u16string> arguments)
    : m_arguments(std::move(arguments)), m_withWaits(with(m_waits))
{
}

// The platform has no counterpart of the next four: Qt brings all of it up with the application.

void main_window_host::enable_control_container(void*) {}

bool main_window_host::ole_init()
{
    return true;
}

bool main_window_host::init_common_controls(std::uint32_t, std::uint32_t)
{
    return true;
}

bool main_window_host::base_init_instance()
{
    return true;
}

void main_window_host::set_registry_key(std::u16string_view company)
{
    m_installed.reset();
    m_settings.emplace(QFile::encodeName(settings_file(to_qt(company))).toStdString());
    platform::services with_settings = platform::current();
    with_settings.user = &*m_settings;
    m_installed.emplace(with_settings);
}

std::unique_ptr<CMainFrame> main_window_host::create_frame(CRecentFileList& recent_files)
{
    std::unique_ptr<CMainFrame> frame = application_host::create_frame(recent_files);
    if (frame)
        m_toolkit.attach(*frame, &recent_files);
    return frame;
}

void main_window_host::accept_dropped_files(CMainFrame& frame)
{
    m_toolkit.window()->accept_files([this, &frame](const std::u16string& path) {
        // A file that is dropped while the window closes comes too late.
        if (m_toolkit.frame())
            m_toolkit.enter([&] { frame.OpenFile(string(path)); });
    });
}

QString settings_file(const QString& company)
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    return QStringLiteral("%1/%2/%3.conf").arg(folder, company, application_title());
}

int run_window(main_window_host& host)
{
    CCwCabVu3App app(host);
    {
        // A file of the command line is opened within.
        const busy_cursor busy;
        if (!app.InitInstance())
            return 1;
    }
    if (!app.MainWindow()->HasWindow()) {
        std::fputs("cwcabview: the window could not be made\n", stderr);
        return 1;
    }
    host.accept_dropped_files(*app.MainWindow());
    // Not at once: the entry that closed the window has still to end.
    host.window_toolkit().set_destroyed_sink([] {
        QMetaObject::invokeMethod(
            qApp, [] { QCoreApplication::exit(); }, Qt::QueuedConnection);
    });
    QApplication::exec();
    return app.ExitInstance();
}

} // namespace cw
