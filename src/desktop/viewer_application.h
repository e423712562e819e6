// The Qt application: names for settings and desktop, and the last wall that no exception passes.
#pragma once

#include <QApplication>

namespace cw {

class viewer_application final : public QApplication {
public:
    viewer_application(int& argument_count, char** arguments);

    /// An exception that reached an event's end becomes one line on standard error; the program goes
    /// on.
    bool notify(QObject* receiver, QEvent* event) override;
};

} // namespace cw
