// The window program.

#include "desktop/main_window_host.h"
#include "desktop/qt_text.h"
#include "desktop/screenshot.h"
#include "desktop/viewer_application.h"
#include "desktop/window_options.h"

#include <cstdio>
#include <string_view>

namespace {

constexpr int exit_failure = 1;
constexpr int exit_usage = 2;

cw::window_options options_of(int argument_count, char** arguments)
{
    return cw::parse_window_options({arguments + 1, arguments + argument_count});
}

bool has_platform(int argument_count, char** arguments)
{
    for (const char* name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
        if (!qEnvironmentVariableIsEmpty(name))
            return true;
    for (const std::string_view argument : std::span(arguments, static_cast<std::size_t>(argument_count)))
        if (argument == "-platform" || argument == "--platform")
            return true;
    return false;
}

/// The platform of pictures remarks on what it cannot do; nobody at the terminal wants to know.
void tell_errors_only(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    if (type == QtCriticalMsg || type == QtFatalMsg)
        std::fprintf(stderr, "cwcabview: %s\n", message.toUtf8().constData());
}

int run(int argument_count, char** arguments)
{
    // Help and version need no display, and a picture makes its own.
    const cw::window_options first_look = options_of(argument_count, arguments);
    if (first_look.show_help) {
        std::fputs(cw::window_help_text(), stdout);
        return 0;
    }
    if (first_look.show_version) {
        std::puts("cwcabview " CW_VERSION);
        return 0;
    }
    if (!first_look.picture_path.empty() && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        qInstallMessageHandler(tell_errors_only);
    }
    if (!has_platform(argument_count, arguments)) {
        std::fputs("cwcabview: there is no display to show the window on; --screenshot PICTURE needs none\n", stderr);
        return exit_failure;
    }

    // Takes the options out that Qt knows.
    cw::viewer_application application(argument_count, arguments);
    const cw::window_options options = options_of(argument_count, arguments);
    if (!options.error.empty()) {
        std::fprintf(stderr, "cwcabview: %s\nTry cwcabview --help\n", options.error.c_str());
        return exit_usage;
    }
    cw::main_window_host host(options.arguments);
    return options.picture_path.empty() ? cw::run_window(host)
                                        : cw::run_for_picture(host, cw::to_qt(options.picture_path));
}

} // namespace

int main(int argument_count, char** arguments)
{
    try {
        return run(argument_count, arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "cwcabview: %s\n", error.what());
    } catch (...) {
        std::fputs("cwcabview: unhandled error\n", stderr);
    }
    return exit_failure;
}
