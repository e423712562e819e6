#include "desktop/qt_services.h"

#include "desktop/dialogs.h"
#include "desktop/help_window.h"
#include "desktop/name_filters.h"
#include "desktop/plain_file_name.h"
#include "desktop/qt_text.h"
#include "desktop/qt_toolkit.h"

#include <QClipboard>
#include <QCursor>
#include <QDesktopServices>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMenu>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QUrl>

namespace cw {

qt_services::qt_services(qt_toolkit& toolkit) noexcept : m_toolkit(toolkit) {}

qt_services::~qt_services() = default;

QWidget* qt_services::parent() const
{
    return m_toolkit.window();
}

void qt_services::prepare_file_dialog(QFileDialog& dialog) const
{
    dialog.setOption(QFileDialog::DontUseNativeDialog, !m_nativeDialogs);
    if (!m_lastFolder.isEmpty() && QFileInfo(m_lastFolder).isDir())
        dialog.setDirectory(m_lastFolder);
}

QString qt_services::run_file_dialog(QFileDialog& dialog)
{
    const question_scope asking(m_toolkit);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return {};
    const QString path = dialog.selectedFiles().front();
    m_lastFolder = QFileInfo(path).absolutePath();
    return path;
}

std::optional<std::u16string> qt_services::choose_file_to_open(const open_question& question)
{
    if (m_unattended)
        return std::nullopt;
    QFileDialog dialog(parent(), QStringLiteral("Open"));
    prepare_file_dialog(dialog);
    dialog.setFileMode(QFileDialog::ExistingFile);
    dialog.setNameFilters(name_filters(question.filter));
    const QString path = run_file_dialog(dialog);
    return path.isEmpty() ? std::nullopt : std::optional(from_qt(path));
}

std::optional<save_answer> qt_services::choose_file_to_save(const save_question& question)
{
    if (m_unattended)
        return std::nullopt;
    QFileDialog dialog(parent(), QStringLiteral("Save As"));
    prepare_file_dialog(dialog);
    dialog.setLabelText(QFileDialog::LookIn, QStringLiteral("Save in:"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setOption(QFileDialog::DontConfirmOverwrite, !question.overwrite_prompt);
    const QStringList filters = name_filters(question.filter);
    if (!filters.isEmpty())
        dialog.setNameFilters(filters);
    dialog.setDefaultSuffix(to_qt(question.default_extension));
    dialog.selectFile(plain_file_name(to_qt(question.proposed_name)));
    const QString path = run_file_dialog(dialog);
    if (path.isEmpty())
        return std::nullopt;
    const QFileInfo file(path);
    return save_answer{from_qt(file.absolutePath()), from_qt(file.fileName()), from_qt(file.absoluteFilePath())};
}

std::optional<std::u16string> qt_services::ask_password(const password_question& question)
{
    if (m_unattended) {
        m_unattended(QStringLiteral("%1: a password is needed to open it").arg(to_qt(question.path)));
        return std::nullopt;
    }
    const question_scope asking(m_toolkit);
    password_dialog dialog(to_qt(question.path), to_qt(question.refusal), parent());
    return dialog.exec() == QDialog::Accepted ? std::optional(from_qt(dialog.password())) : std::nullopt;
}

std::optional<std::u16string> qt_services::ask_find_text(const find_question& question)
{
    if (m_unattended)
        return std::nullopt;
    const question_scope asking(m_toolkit);
    find_dialog dialog(to_qt(question.initial_text), parent());
    return dialog.exec() == QDialog::Accepted ? std::optional(from_qt(dialog.text())) : std::nullopt;
}

void qt_services::show_message(std::u16string_view text, message_icon icon)
{
    if (m_unattended)
        return m_unattended(to_qt(text));
    const question_scope asking(m_toolkit);
    // A message that asks for no sign gets the class library's own.
    QMessageBox box(icon == message_icon::error ? QMessageBox::Critical : QMessageBox::Warning, application_title(),
                    to_qt(text), QMessageBox::Ok, parent());
    box.setTextFormat(Qt::PlainText);
    // What went wrong is often wanted elsewhere, in a search or in a letter. The last flag makes the
    // text a stop of the Tab key, but not the first.
    box.setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard |
                                Qt::LinksAccessibleByKeyboard);
    box.button(QMessageBox::Ok)->setFocus();
    box.exec();
}

void qt_services::show_about()
{
    if (m_unattended)
        return;
    const question_scope asking(m_toolkit);
    about_dialog(parent()).exec();
}

void qt_services::show_context_menu(std::span<const menu_item> items)
{
    if (m_unattended)
        return;
    // The command runs when the menu has gone: what it throws must not pass through the menu's loop.
    std::uint32_t chosen = 0;
    {
        const question_scope asking(m_toolkit);
        frame_menus menus({[this](std::uint32_t id) { return m_toolkit.command_state(id); },
                           [&chosen](std::uint32_t id) { chosen = id; }});
        // The window that owns it may be closed from outside while it is open.
        const QPointer<QMenu> menu = new QMenu(parent());
        menus.fill(*menu, items);
        const list_pane* list = m_toolkit.list();
        const std::optional<QPoint> from_keyboard = list ? list->keyboard_menu_position() : std::nullopt;
        // Who came by a key goes on by keys.
        if (from_keyboard)
            menu->setActiveAction(menu->actions().value(0));
        menu->exec(from_keyboard.value_or(QCursor::pos()));
        delete menu;
    }
    if (chosen != 0)
        m_toolkit.run_command(chosen);
}

void qt_services::put_on_clipboard(std::u16string_view text)
{
    QGuiApplication::clipboard()->setText(to_qt(text));
}

void qt_services::open_with_desktop(std::u16string_view path)
{
    // Nothing would be the current folder to some desktops.
    if (path.empty())
        return;
    QDesktopServices::openUrl(QUrl::fromLocalFile(to_qt(path)));
}

void qt_services::show_help(std::u16string_view topic_path)
{
    if (m_unattended)
        return;
    if (!m_help) {
        m_help = std::make_unique<help_window>();
        if (parent())
            QObject::connect(parent(), &QObject::destroyed, m_help.get(), &QWidget::close);
    }
    m_help->show_topic(to_qt(topic_path));
}

} // namespace cw
