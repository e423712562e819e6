#include "desktop/screenshot.h"

#include "desktop/main_window_host.h"

#include <QApplication>
#include <QPixmap>

#include <cstdio>

namespace cw {
namespace {

constexpr QSize picture_size(1100, 700);

void tell(const QString& message)
{
    std::fprintf(stderr, "cwcabview: %s\n", message.toUtf8().constData());
}

} // namespace

void arrange_for_picture(CMainFrame& frame)
{
    frame.Guard([&frame] {
        CTreeCtrl& tree = frame.Tree();
        const HTREEITEM root = tree.GetRootItem();
        tree.Expand(root);
        for (HTREEITEM item = tree.GetChildItem(root); item; item = tree.GetNextSiblingItem(item))
            tree.Expand(item);
        if (const HTREEITEM first = tree.GetChildItem(root))
            tree.SelectItem(first);
    });
}

int run_for_picture(main_window_host& host, const QString& picture_path)
{
    bool failed = false;
    host.window_services().set_unattended([&failed](const QString& message) {
        failed = true;
        tell(message);
    });
    CCwCabVu3App app(host);
    main_window* window = app.InitInstance() ? host.window_toolkit().window() : nullptr;
    if (!window) {
        tell(QStringLiteral("the window could not be made"));
        return 1;
    }
    CMainFrame& frame = *app.MainWindow();
    window->resize(picture_size);
    window->activateWindow();
    arrange_for_picture(frame);
    QCoreApplication::processEvents();
    if (!window->grab().save(picture_path)) {
        tell(QStringLiteral("the picture cannot be written: %1").arg(picture_path));
        failed = true;
    }
    frame.Close();
    // Without `ExitInstance`: a picture leaves the person's list of recent files alone.
    return failed ? 1 : 0;
}

} // namespace cw
