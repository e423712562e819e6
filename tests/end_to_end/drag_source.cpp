// A window to drag files from, as a file manager offers them: everything in it drags the files that the
// command line names. Standard output tells what came of each drag.

#include <QApplication>
#include <QDrag>
#include <QMimeData>
#include <QMouseEvent>
#include <QUrl>
#include <QWidget>

#include <cstdio>

namespace {

class drag_source final : public QWidget {
public:
    explicit drag_source(const QStringList& paths)
    {
        for (const QString& path : paths)
            m_urls.append(QUrl::fromLocalFile(path));
        setWindowTitle(QStringLiteral("drag source"));
        setFixedSize(100, 60);
    }

protected:
    void mouseMoveEvent(QMouseEvent*) override
    {
        auto* offered = new QMimeData;
        offered->setUrls(m_urls);
        auto* drag = new QDrag(this);
        drag->setMimeData(offered);
        const Qt::DropAction action = drag->exec(Qt::CopyAction | Qt::MoveAction, Qt::MoveAction);
        std::puts(action == Qt::CopyAction ? "copied" : action == Qt::MoveAction ? "moved" : "refused");
        std::fflush(stdout);
    }

private:
    QList<QUrl> m_urls;
};

} // namespace

int main(int argument_count, char** arguments)
{
    QApplication application(argument_count, arguments);
    drag_source source(QCoreApplication::arguments().mid(1));
    source.show();
    return QApplication::exec();
}
