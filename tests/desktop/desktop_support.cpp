#include "tests/desktop/desktop_support.h"

#include "app/menus.h"
#include "bridges/activation.h"

#include <QApplication>
#include <QDragEnterEvent>
#include <QDragMoveEvent>
#include <QDropEvent>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QUrl>
#include <QWindow>

namespace cw::test_support {
namespace {

QAction* find_action(const QList<QAction*>& actions, const QString& text)
{
    for (QAction* action : actions)
        if (action->text().section(u'\t', 0, 0) == text)
            return action;
    return nullptr;
}

} // namespace

void pump()
{
    for (int round = 0; round < 3; ++round)
        QCoreApplication::processEvents();
}

QAction* menu_action(main_window& window, const QString& path)
{
    QList<QAction*> actions = window.menuBar()->actions();
    QAction* found = nullptr;
    for (const QString& text : path.split(u'/')) {
        found = find_action(actions, text);
        if (!found)
            return nullptr;
        if (QMenu* popup = found->menu()) {
            emit popup->aboutToShow();
            actions = popup->actions();
        }
    }
    return found;
}

QStringList popup_texts(main_window& window, const QString& popup)
{
    QStringList texts;
    for (const QAction* action : menu_action(window, popup)->menu()->actions())
        texts.append(action->isSeparator() ? QStringLiteral("---")
                     : action->menu()      ? QStringLiteral("> ") + action->text()
                                           : action->text());
    return texts;
}

void press(main_window& window, Qt::Key key, Qt::KeyboardModifiers held)
{
    QTest::keyClick(window.windowHandle(), key, held);
    pump();
}

bool drop(main_window& window, QPoint place, const std::vector<std::string>& paths, Qt::DropActions offered)
{
    QList<QUrl> urls;
    for (const std::string& path : paths)
        urls.append(QUrl::fromLocalFile(QString::fromStdString(path)));
    QMimeData data;
    data.setUrls(urls);
    QDragEnterEvent entering(place, offered, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(window.windowHandle(), &entering);
    if (!entering.isAccepted()) {
        QDragLeaveEvent leaving;
        QCoreApplication::sendEvent(window.windowHandle(), &leaving);
        return false;
    }
    QDropEvent dropping(place, offered, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(window.windowHandle(), &dropping);
    return dropping.isAccepted() && dropping.dropAction() != Qt::MoveAction;
}

void when_modal(std::function<void(QWidget& dialog)> answer)
{
    QTimer::singleShot(0, qApp, [answer = std::move(answer)] {
        QWidget* dialog = QApplication::activePopupWidget();
        if (!dialog)
            dialog = QApplication::activeModalWidget();
        if (!dialog)
            return when_modal(answer);
        const QPointer<QWidget> shown(dialog);
        answer(*dialog);
        if (shown)
            shown->close();
    });
}

void when_shown(const QString& title, std::function<void(QWidget& window)> answer)
{
    QTimer::singleShot(0, qApp, [title, answer = std::move(answer)] {
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (!window->isVisible() || window->windowTitle() != title)
                continue;
            const QPointer<QWidget> shown(window);
            answer(*window);
            if (shown)
                shown->close();
            return;
        }
        when_shown(title, answer);
    });
}

bool drop(QWidget& widget, const QPoint& point, const QMimeData& data)
{
    QDragEnterEvent enter(point, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    enter.setAccepted(false);
    QCoreApplication::sendEvent(&widget, &enter);
    if (!enter.isAccepted())
        return false;
    QDragMoveEvent over(point, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&widget, &over);
    QDropEvent event(point, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    event.setAccepted(false);
    QCoreApplication::sendEvent(&widget, &event);
    pump();
    return event.isAccepted();
}

QPushButton* button_of(QWidget& dialog, const QString& text)
{
    for (QPushButton* found : dialog.findChildren<QPushButton*>())
        if (found->text().remove(u'&') == text)
            return found;
    return nullptr;
}

program_bars::program_bars()
{
    bars.set_menu(main_menu());
    bars.set_default_accelerators(main_accelerators());
}

bool recording_frame::OnCreateClient()
{
    return Toolkit().create_splitter(1, 2, 0, 0) && Toolkit().create_tree_view(0, 0, 250, 100, tree) &&
           Toolkit().create_list_view(0, 1, 100, 100, list);
}

int recording_frame::OnCreate()
{
    if (CXTPFrameWnd::OnCreate() != 0 || !Toolkit().create_status_bar(0, 0))
        return -1;
    Toolkit().add_status_indicator(0, 0);
    SetMenu(u"Menu Bar", main_menu());
    SetAccelerators(main_accelerators());
    LoadCommandBars(u"CommandBars");
    Adopt(tree);
    Adopt(list);
    tree.add_style(0x37);
    list.add_style(5);
    list.set_extended_style(0x421);
    return 0;
}

void recording_frame::OnClose()
{
    ++close_count;
    CXTPFrameWnd::OnClose();
}

bool recording_frame::OnCmdMsg(std::uint32_t id, command_ui* ui)
{
    if (ui) {
        const auto state = enabled.find(id);
        ui->Enable(state == enabled.end() || state->second);
        if (const auto mark = checked.find(id); mark != checked.end())
            ui->SetCheck(mark->second);
        return true;
    }
    commands.push_back(id);
    if (on_command)
        on_command(id);
    return true;
}

void recording_frame::OnNotify(std::uint32_t, std::uint32_t code)
{
    notifications.push_back(code);
    if (on_notify)
        on_notify(code);
}

bool recording_frame::PreTranslateMessage(const key_message& key)
{
    keys.push_back(key.virtual_key);
    return false;
}

recording_window::recording_window()
{
    toolkit.attach(frame, nullptr);
    frame.SetUnhandledSink([this](std::u16string_view line) { unhandled.emplace_back(line); });
    frame.LoadFrame(IDR_MAINFRAME, 0);
    toolkit.show_window(5);
    window().resize(900, 600);
    window().activateWindow();
    pump();
}

recording_window::~recording_window()
{
    frame.Close();
    pump();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

program_window::program_window() : m_inUse(made()), m_application(*this)
{
    forget_loaded_libraries();
    libraries.add_fixture_media();
}

program_window::~program_window()
{
    if (m_application.MainWindow())
        frame().Close();
    pump();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    forget_loaded_libraries();
}

platform::services program_window::made()
{
    platform::services set = platform::current();
    set.libraries = &libraries;
    set.user = &settings;
    return set;
}

bool program_window::start(std::vector<std::u16string> given)
{
    m_arguments = std::move(given);
    const bool started = m_application.InitInstance();
    pump();
    return started;
}

bool program_window::open_features(std::string_view picture)
{
    folder.write("media.hdr", "{\"media\": {\"Features\": " + frame_harness::features_json(picture) + "}}");
    bool opened = false;
    frame().Guard([&] { opened = frame().OpenFile(string(folder.wide_file("media.hdr"))); });
    pump();
    return opened;
}

std::unique_ptr<CMainFrame> program_window::create_frame(CRecentFileList& list)
{
    std::unique_ptr<CMainFrame> made_frame = application_host::create_frame(list);
    window_toolkit.attach(*made_frame, &list);
    return made_frame;
}

} // namespace cw::test_support
