#include "bench/empty_window.h"

#include <QMainWindow>
#include <QMenuBar>
#include <QSplitter>
#include <QStandardItemModel>
#include <QStatusBar>
#include <QTreeView>

namespace cw::bench {

std::unique_ptr<QMainWindow> make_empty_window()
{
    auto window = std::make_unique<QMainWindow>();
    auto* splitter = new QSplitter(window.get());
    for (int pane = 0; pane < 2; ++pane) {
        auto* view = new QTreeView(splitter);
        view->setModel(new QStandardItemModel(0, pane + 1, view));
        splitter->addWidget(view);
    }
    window->setCentralWidget(splitter);
    window->menuBar()->addMenu(QStringLiteral("&File"));
    window->statusBar();
    window->resize(1100, 700);
    return window;
}

} // namespace cw::bench
