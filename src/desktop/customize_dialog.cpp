#include "desktop/customize_dialog.h"

#include "desktop/customize_commands_page.h"
#include "desktop/customize_keyboard_page.h"
#include "desktop/customize_options_page.h"
#include "desktop/qt_text.h"
#include "desktop/tool_drag.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDialogButtonBox>
#include <QDropEvent>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QTabWidget>
#include <QVBoxLayout>
#include <QWindow>

#include <utility>

namespace cw {
namespace {

constexpr int width_in_characters = 128;
constexpr int height_in_lines = 34;
constexpr int share_of_screen_in_percent = 90;

} // namespace

input_guard::input_guard(QWidget& window, QWidget& dialog) : m_window(&window), m_dialog(dialog)
{
    qApp->installEventFilter(this);
}

bool input_guard::eventFilter(QObject* watched, QEvent* event)
{
    // All that a person does comes to the native window first.
    if (!m_window || watched != m_window->windowHandle())
        return false;
    switch (event->type()) {
    case QEvent::MouseButtonPress:
        m_dialog.raise();
        m_dialog.activateWindow();
        return true;
    case QEvent::Close:
        event->ignore();
        return true;
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::Drop:
        // Toolbars take what the dialog hands out; files have to wait.
        if (dragged_item(*static_cast<QDropEvent*>(event)->mimeData()))
            return false;
        event->ignore();
        return true;
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::Wheel:
    case QEvent::ContextMenu:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::ShortcutOverride:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
        return true;
    default:
        return false;
    }
}

customize_dialog::customize_dialog(command_bars& bars, QWidget* parent)
    : QDialog(parent), m_bars(bars), m_tabs(new QTabWidget), m_commandsPage(new customize_commands_page(bars))
{
    setWindowTitle(QStringLiteral("Customize"));
    m_tabs->setAccessibleName(windowTitle());
    m_tabs->addTab(m_commandsPage, QStringLiteral("Commands"));
    // The tabs answer these keys themselves, but some fields keep them.
    for (const auto& [keys, step] : {std::pair{QKeySequence::NextChild, 1}, std::pair{QKeySequence::PreviousChild, -1}})
        connect(new QShortcut(keys, this), &QShortcut::activated, m_tabs, [tabs = m_tabs, step] {
            tabs->setCurrentIndex((tabs->currentIndex() + step + tabs->count()) % tabs->count());
        });
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    QPushButton* close = buttons->button(QDialogButtonBox::Close);
    // Return is for the lists and fields.
    close->setAutoDefault(false);
    // Black in styles that have one, whatever the palette.
    close->setIcon({});
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_tabs, 1);
    layout->addWidget(buttons);
    const QSize comfortable(fontMetrics().averageCharWidth() * width_in_characters,
                            fontMetrics().lineSpacing() * height_in_lines);
    const QSize largest = screen()->availableGeometry().size() * share_of_screen_in_percent / 100;
    resize(sizeHint().expandedTo(comfortable).boundedTo(largest));
}

customize_keyboard_page&
customize_dialog::add_keyboard_page(std::function<std::uint32_t(const key_message& key)> filtered_command)
{
    m_keyboardPage = new customize_keyboard_page(m_bars, std::move(filtered_command));
    m_tabs->addTab(m_keyboardPage, QStringLiteral("Keyboard"));
    return *m_keyboardPage;
}

void customize_dialog::add_options_page()
{
    m_optionsPage = new customize_options_page(m_bars);
    m_tabs->addTab(m_optionsPage, QStringLiteral("Options"));
}

void customize_dialog::refresh()
{
    m_commandsPage->refresh();
    if (m_keyboardPage)
        m_keyboardPage->refresh();
    if (m_optionsPage)
        m_optionsPage->refresh();
}

qt_customize_sheet::qt_customize_sheet(customize_dialog& dialog,
                                       std::function<std::uint32_t(const key_message& key)> filtered_command,
                                       std::function<void(customize_dialog& dialog)> run)
    : m_dialog(&dialog), m_filteredCommand(std::move(filtered_command)), m_run(std::move(run))
{
}

qt_customize_sheet::~qt_customize_sheet()
{
    delete m_dialog;
}

void qt_customize_sheet::add_keyboard_page(std::span<const menu_item> menu)
{
    customize_keyboard_page& page = m_dialog->add_keyboard_page(m_filteredCommand);
    for (tool_category& category : commands_by_popup(menu))
        page.add_category(std::move(category));
}

void qt_customize_sheet::add_options_page()
{
    m_dialog->add_options_page();
}

void qt_customize_sheet::add_categories(std::span<const menu_item> menu)
{
    m_menu = menu;
    for (tool_category& category : commands_by_popup(menu))
        m_dialog->commands_page().insert_category(std::move(category), last_place);
}

void qt_customize_sheet::insert_all_commands_category(std::u16string_view name, int place)
{
    m_dialog->commands_page().insert_category(all_commands(m_menu, to_qt(name)), place);
}

void qt_customize_sheet::insert_built_in_menus(std::span<const menu_item> menu, std::u16string_view name, int place)
{
    m_dialog->commands_page().insert_category(all_popups(menu, to_qt(name)), place);
}

void qt_customize_sheet::insert_new_menu_category(std::u16string_view name, int place)
{
    m_dialog->commands_page().insert_category(empty_menu(to_qt(name)), place);
}

void qt_customize_sheet::run_modal()
{
    if (m_dialog)
        m_run(*m_dialog);
}

} // namespace cw
