// The window with a media in it compared with an empty window of the same two views: time to the
// first paint, and memory. Each figure comes from a process of its own, since only the first window
// of a process pays for fonts, styles and libraries.

#include "bench/big_media.h"
#include "bench/empty_window.h"
#include "desktop/main_window_host.h"
#include "desktop/viewer_application.h"

#include <QElapsedTimer>
#include <QMainWindow>
#include <QProcess>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace {

using namespace cw;

constexpr int repetitions = 7;
constexpr double first_paint_at_most = 2.0;
constexpr double memory_at_most_in_mib = 150;

struct figures {
    double milliseconds = 0;
    double mib = 0;
};

double resident_mib()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("VmRSS:"))
            return std::stod(line.substr(6)) / 1024;
    return 0;
}

/// Notes when a widget was painted for the first time.
class paint_watch final : public QObject {
public:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint)
            m_painted = true;
        return QObject::eventFilter(watched, event);
    }
    void wait()
    {
        while (!m_painted)
            QApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
        QApplication::processEvents();
    }

private:
    bool m_painted = false;
};

/// Runs in a process of its own: `empty`, or the path of a media.
int measure(int argument_count, char** arguments, const std::string& what)
{
    QElapsedTimer timer;
    timer.start();
    viewer_application application(argument_count, arguments);
    paint_watch watch;
    application.installEventFilter(&watch);
    std::unique_ptr<QMainWindow> empty;
    std::unique_ptr<main_window_host> host;
    std::unique_ptr<CCwCabVu3App> viewer;
    if (what == "empty") {
        empty = bench::make_empty_window();
        empty->show();
    } else {
        host = std::make_unique<main_window_host>(std::vector{QString::fromStdString(what).toStdU16String()});
        viewer = std::make_unique<CCwCabVu3App>(*host);
        viewer->InitInstance();
        if (!viewer->MainWindow()->HasMedia()) {
            std::fprintf(stderr, "%s does not open\n", what.c_str());
            return 1;
        }
    }
    watch.wait();
    std::printf("%.3f %.3f\n", static_cast<double>(timer.nsecsElapsed()) / 1e6, resident_mib());
    if (viewer)
        viewer->MainWindow()->Close();
    return 0;
}

/// Medians over several processes.
figures figures_of(const QString& program, const std::string& what)
{
    std::vector<double> times;
    std::vector<double> sizes;
    for (int i = 0; i < repetitions; ++i) {
        QProcess process;
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(program, {QStringLiteral("--measure"), QString::fromStdString(what)});
        process.waitForFinished(-1);
        const QList<QByteArray> words = process.readAllStandardOutput().simplified().split(' ');
        if (words.size() != 2)
            return {};
        times.push_back(words[0].toDouble());
        sizes.push_back(words[1].toDouble());
    }
    std::sort(times.begin(), times.end());
    std::sort(sizes.begin(), sizes.end());
    return {times[times.size() / 2], sizes[sizes.size() / 2]};
}

void tell(const char* what, double value, const char* unit, double at_most)
{
    std::printf("%-64s %8.2f%s  (at most %.1f)%s\n", what, value, unit, at_most,
                value <= at_most ? "" : "  <-- broken");
}

} // namespace

int main(int argument_count, char** arguments)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    if (argument_count == 3 && std::string(arguments[1]) == "--measure")
        return measure(argument_count, arguments, arguments[2]);

    const std::string big = bench::make_big_media(CW_BENCH_DATA_DIR, {}).string();
    const QString self = QString::fromLocal8Bit(arguments[0]);
    const figures empty = figures_of(self, "empty");
    const figures sample = figures_of(self, CW_BENCH_SAMPLE);
    const figures million = figures_of(self, big);
    std::printf("empty window:     first paint after %7.1f ms, %6.1f MiB\n", empty.milliseconds, empty.mib);
    std::printf("sample media:     first paint after %7.1f ms, %6.1f MiB\n", sample.milliseconds, sample.mib);
    std::printf("1,000,000 files:  first paint after %7.1f ms, %6.1f MiB\n", million.milliseconds, million.mib);
    if (empty.milliseconds <= 0 || sample.milliseconds <= 0 || million.milliseconds <= 0)
        return 1;
    tell("first paint with the sample media / of the empty window", sample.milliseconds / empty.milliseconds, "",
         first_paint_at_most);
    tell("memory with 1,000,000 files above the empty window", million.mib - empty.mib, " MiB", memory_at_most_in_mib);
    return 0;
}
