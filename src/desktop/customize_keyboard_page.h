// The page of the customise dialog for keys. What is assigned holds at once.
#pragma once

#include "desktop/tool_choices.h"
#include "framework/command_bars.h"

#include <QLineEdit>
#include <QWidget>

#include <functional>
#include <optional>
#include <vector>

class QComboBox;
class QLabel;
class QListWidget;
class QPushButton;

namespace cw {

/// Shows the key that is pressed in it. The keys that lead out of it, and Return, are not taken.
class key_field final : public QLineEdit {
public:
    explicit key_field(QWidget* parent = nullptr);

    [[nodiscard]] const std::optional<key_message>& key() const noexcept { return m_key; }
    void forget();
    /// Called when another key is shown, and when Return is pressed.
    void set_changed_sink(std::function<void()> sink) { m_changed = std::move(sink); }
    void set_return_sink(std::function<void()> sink) { m_returned = std::move(sink); }

protected:
    bool event(QEvent* event) override;

private:
    std::optional<key_message> m_key;
    std::function<void()> m_changed;
    std::function<void()> m_returned;
};

class customize_keyboard_page final : public QWidget {
public:
    using filter = std::function<std::uint32_t(const key_message& key)>;

    /// `bars` is borrowed; `filtered_command` answers the command that a key runs before the
    /// accelerators see it, 0 for none.
    customize_keyboard_page(command_bars& bars, filter filtered_command, QWidget* parent = nullptr);

    void add_category(tool_category category);
    /// Shows what holds now.
    void refresh();

    [[nodiscard]] key_field& field() noexcept { return *m_field; }

private:
    void show_category();
    void show_keys();
    void look_at_key();
    void assign();
    void remove();
    void reset();
    [[nodiscard]] std::uint32_t chosen_command() const;
    [[nodiscard]] std::optional<key_message> chosen_key() const;

    command_bars& m_bars;
    filter m_filteredCommand;
    std::vector<tool_category> m_categories;
    std::vector<accelerator> m_keysShown;
    QComboBox* m_category;
    QListWidget* m_commands;
    QListWidget* m_keys;
    key_field* m_field;
    QLabel* m_note;
    QPushButton* m_assign;
    QPushButton* m_remove;
};

} // namespace cw
