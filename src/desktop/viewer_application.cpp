#include "desktop/viewer_application.h"

#include "desktop/dialogs.h"
#include "desktop/icons.h"

#include <cstdio>
#include <exception>

namespace cw {

viewer_application::viewer_application(int& argument_count, char** arguments) : QApplication(argument_count, arguments)
{
    setOrganizationName(QStringLiteral("Cratewright"));
    setApplicationName(application_title());
    setApplicationVersion(QStringLiteral(CW_VERSION));
    setDesktopFileName(QStringLiteral("cwcabview"));
    setWindowIcon(application_icon());
    // The end of the frame's window ends the program, not that of a dialog that is the last on screen.
    setQuitOnLastWindowClosed(false);
}

bool viewer_application::notify(QObject* receiver, QEvent* event)
{
    try {
        return QApplication::notify(receiver, event);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "cwcabview: unhandled error: %s\n", error.what());
    } catch (...) {
        std::fputs("cwcabview: unhandled error\n", stderr);
    }
    return false;
}

} // namespace cw
