#include "desktop/qt_toolkit.h"

#include "app/menus.h"
#include "desktop/customize_dialog.h"
#include "desktop/qt_text.h"
#include "foundation/resource_text.h"
#include "foundation/string.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QMenuBar>
#include <QWindow>

namespace cw {
namespace {

constexpr int SW_HIDE = 0;
// The longest wait for the window system to show the window before a file is opened in it.
constexpr int first_show_timeout_ms = 100;

} // namespace

question_scope::question_scope(qt_toolkit& toolkit)
{
    if (toolkit.frame())
        m_loop.emplace(*toolkit.frame());
}

qt_toolkit::qt_toolkit()
    : m_menus({[this](std::uint32_t id) { return command_state(id); }, [this](std::uint32_t id) { run_command(id); }})
{
}

qt_toolkit::~qt_toolkit()
{
    delete m_window;
}

void qt_toolkit::attach(CXTPFrameWnd& frame, const CRecentFileList* recent_files)
{
    m_frame = &frame;
    m_menus.set_recent_files(recent_files);
    frame.SetIdleSink([this] { catch_up(); });
}

void qt_toolkit::catch_up()
{
    if (m_tree)
        m_tree->catch_up();
    if (m_list)
        m_list->catch_up();
    if (m_toolBars)
        m_toolBars->refresh_states();
}

void qt_toolkit::enter(const std::function<void()>& work)
{
    const busy_cursor busy;
    if (m_frame)
        m_frame->Guard(work);
}

command_ui qt_toolkit::command_state(std::uint32_t id)
{
    return m_frame ? m_frame->UpdateCommand(id) : command_ui(id);
}

void qt_toolkit::run_command(std::uint32_t id)
{
    const busy_cursor busy;
    if (m_frame)
        m_frame->RunCommand(id);
}

bool qt_toolkit::create_window(const frame_create_parameters&)
{
    m_window = new main_window({
        .close_wanted =
            [this] {
                const busy_cursor busy;
                if (m_frame)
                    m_frame->Close();
            },
        .key_pressed =
            [this](const key_message& key) {
                const busy_cursor busy;
                return m_frame && m_frame->KeyDown(key);
            },
        .focus_moved = [this](QWidget* widget) { focus_moved(widget); },
        .bars_menu_wanted =
            [this](const QPoint& place) {
                if (m_frame)
                    run_bars_menu(m_frame->CommandBars(), place, *m_window, [this] { run_command(ID_CUSTOMIZE); });
            },
    });
    m_toolBars.emplace(*m_window, m_menus);
    set_title(resource_text(AFX_IDS_APP_TITLE));
    return true;
}

void qt_toolkit::destroy_window()
{
    if (!m_window)
        return;
    // The window may be what is calling, by one of its menus or its close event: it dies later, while
    // frame and controls may die at once.
    detach_panes();
    m_toolBars.reset();
    if (m_frame)
        m_frame->CommandBars().set_changed_sink(nullptr);
    m_frame = nullptr;
    m_window->hide();
    m_window->deleteLater();
    m_window = nullptr;
    if (m_destroyed)
        m_destroyed();
}

void qt_toolkit::set_title(std::u16string_view title)
{
    if (m_window)
        m_window->setWindowTitle(one_line_of(to_qt(title)));
}

void qt_toolkit::show_window(int show_command)
{
    if (m_window)
        m_window->setVisible(show_command != SW_HIDE);
}

void qt_toolkit::update_window()
{
    // What comes next may take long: the window is to be seen before it.
    const QDeadlineTimer deadline(first_show_timeout_ms);
    do
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    while (m_window && m_window->isVisible() && !m_window->windowHandle()->isExposed() && !deadline.hasExpired());
    if (m_window)
        m_window->repaint();
}

void qt_toolkit::set_focus(control_window& control)
{
    if (&control == m_treeControl && m_tree)
        m_tree->setFocus(Qt::OtherFocusReason);
    else if (&control == m_listControl && m_list)
        m_list->setFocus(Qt::OtherFocusReason);
}

void qt_toolkit::focus_moved(QWidget* widget)
{
    if (!m_frame)
        return;
    const bool in_tree = m_tree && (widget == m_tree || m_tree->isAncestorOf(widget));
    const bool in_list = m_list && (widget == m_list || m_list->isAncestorOf(widget));
    m_frame->FocusMoved(in_tree ? m_treeControl : in_list ? m_listControl : nullptr);
}

bool qt_toolkit::create_splitter(int rows, int columns, std::uint32_t, std::uint32_t)
{
    constexpr int known_rows = 1;
    constexpr int known_columns = 2;
    if (!m_window || rows != known_rows || columns != known_columns)
        return false;
    m_window->make_splitter();
    m_hasSplitter = true;
    return true;
}

bool qt_toolkit::create_tree_view(int, int column, int width, int, CTreeCtrl& tree)
{
    if (!m_hasSplitter)
        return false;
    m_tree = new tree_pane(tree, [this](const std::function<void()>& work) { enter(work); });
    m_treeControl = &tree;
    m_window->add_pane(*m_tree, column, width);
    return true;
}

bool qt_toolkit::create_list_view(int, int column, int width, int, CListCtrl& list)
{
    if (!m_hasSplitter)
        return false;
    m_list = new list_pane(list, [this](const std::function<void()>& work) { enter(work); });
    m_listControl = &list;
    m_window->add_pane(*m_list, column, width);
    return true;
}

void qt_toolkit::destroy_splitter()
{
    detach_panes();
    if (m_window && m_hasSplitter)
        m_window->remove_splitter();
    m_hasSplitter = false;
}

void qt_toolkit::detach_panes()
{
    if (m_tree)
        m_tree->detach();
    if (m_list)
        m_list->detach();
    m_treeControl = nullptr;
    m_listControl = nullptr;
}

bool qt_toolkit::create_status_bar(std::uint32_t, std::uint32_t)
{
    if (!m_window)
        return false;
    m_window->make_status_bar();
    return true;
}

void qt_toolkit::add_status_indicator(std::uint32_t, int)
{
    if (m_window)
        m_window->add_status_pane();
}

void qt_toolkit::set_status_text(int pane, std::u16string_view text)
{
    if (m_window)
        m_window->set_status_text(pane, one_line_of(to_qt(text)));
}

bool qt_toolkit::init_command_bars()
{
    return m_window != nullptr;
}

bool qt_toolkit::set_menu(std::u16string_view title, std::span<const menu_item> menu)
{
    if (!m_window)
        return false;
    m_window->menuBar()->setAccessibleName(to_qt(title));
    m_menus.fill(*m_window->menuBar(), menu);
    return true;
}

void qt_toolkit::set_theme(int)
{
    // The desktop's own style and palette are used.
}

void qt_toolkit::set_accelerators(std::span<const accelerator> table)
{
    m_menus.set_accelerators(table);
}

void qt_toolkit::load_command_bars(std::u16string_view)
{
    if (!m_frame || !m_window)
        return;
    m_frame->CommandBars().set_changed_sink([this] { show_command_bars(); });
    show_command_bars();
}

void qt_toolkit::save_command_bars(std::u16string_view)
{
    // The frame keeps what it has; the window adds nothing to that.
}

void qt_toolkit::show_command_bars()
{
    command_bars& bars = m_frame->CommandBars();
    m_menus.set_accelerators(bars.accelerators());
    m_menus.set_icons_shown(bars.options().menu_icons);
    m_toolBars->show(bars);
    if (m_customizing)
        m_customizing->refresh();
}

std::unique_ptr<customize_sheet> qt_toolkit::make_customize_sheet()
{
    if (!m_frame || !m_window)
        return nullptr;
    return std::make_unique<qt_customize_sheet>(
        *new customize_dialog(m_frame->CommandBars(), m_window),
        [this](const key_message& key) { return m_frame ? m_frame->FilteredCommand(key) : 0; },
        [this](customize_dialog& dialog) { run_customize_dialog(dialog); });
}

void qt_toolkit::run_customize_dialog(customize_dialog& dialog)
{
    const question_scope asking(*this);
    const input_guard guard(*m_window, dialog);
    m_customizing = &dialog;
    m_toolBars->set_accepts_drops(true);
    QEventLoop loop;
    QObject::connect(&dialog, &QDialog::finished, &loop, &QEventLoop::quit);
    QObject::connect(&dialog, &QObject::destroyed, &loop, &QEventLoop::quit);
    dialog.show();
    loop.exec();
    m_customizing = nullptr;
    if (m_toolBars)
        m_toolBars->set_accepts_drops(false);
}

} // namespace cw
