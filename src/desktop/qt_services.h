// The window's answers to the questions of the logic: dialogs, message boxes, clipboard, desktop.
#pragma once

#include "framework/frame_services.h"

#include <QString>

#include <functional>
#include <memory>

class QFileDialog;
class QWidget;

namespace cw {

class help_window;
class qt_toolkit;

class qt_services final : public frame_services {
public:
    /// `toolkit` is borrowed: its window owns the dialogs, its menus run the commands.
    explicit qt_services(qt_toolkit& toolkit) noexcept;
    ~qt_services() override;

    /// With nobody at the screen every question is refused, and messages go to `sink` instead.
    void set_unattended(std::function<void(const QString& message)> sink) { m_unattended = std::move(sink); }
    /// Off: the file dialogs are Qt's own, whatever the desktop offers.
    void use_native_dialogs(bool native) noexcept { m_nativeDialogs = native; }
    /// The folder that the next file dialog opens in.
    [[nodiscard]] const QString& last_folder() const noexcept { return m_lastFolder; }
    /// Null before Help was first shown.
    [[nodiscard]] help_window* help() const noexcept { return m_help.get(); }

    std::optional<std::u16string> choose_file_to_open(const open_question& question) override;
    std::optional<save_answer> choose_file_to_save(const save_question& question) override;
    std::optional<std::u16string> ask_password(const password_question& question) override;
    std::optional<std::u16string> ask_find_text(const find_question& question) override;
    void show_message(std::u16string_view text, message_icon icon) override;
    void show_about() override;
    void show_context_menu(std::span<const menu_item> items) override;
    void put_on_clipboard(std::u16string_view text) override;
    void open_with_desktop(std::u16string_view path) override;
    void show_help(std::u16string_view topic_path) override;

private:
    [[nodiscard]] QWidget* parent() const;
    void prepare_file_dialog(QFileDialog& dialog) const;
    /// The chosen path; empty where the person refuses.
    QString run_file_dialog(QFileDialog& dialog);

    qt_toolkit& m_toolkit;
    std::function<void(const QString&)> m_unattended;
    bool m_nativeDialogs = true;
    QString m_lastFolder;
    /// A window beside the frame's, not before it: it goes when that goes.
    std::unique_ptr<help_window> m_help;
};

} // namespace cw
