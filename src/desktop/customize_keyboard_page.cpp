#include "desktop/customize_keyboard_page.h"

#include "desktop/customize_parts.h"
#include "desktop/icons.h"
#include "desktop/shortcut_notes.h"
#include "desktop/virtual_keys.h"

#include <QComboBox>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace cw {
namespace {

constexpr int note_height_in_lines = 5;
constexpr int list_width_in_characters = 30;
constexpr int key_list_height_in_lines = 5;

/// Keys that a field must not hold back: those that lead on to the next one, and out of the dialog.
bool leads_out(const QKeyEvent& event)
{
    const bool held = (event.modifiers() & (Qt::ControlModifier | Qt::AltModifier)) != 0;
    return !held && (event.key() == Qt::Key_Tab || event.key() == Qt::Key_Backtab || event.key() == Qt::Key_Escape);
}

bool is_return(const QKeyEvent& event)
{
    const bool held = (event.modifiers() & ~Qt::KeypadModifier) != 0;
    return !held && (event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter);
}

QString text_of(const key_message& key)
{
    return accelerator_text({key.virtual_key, key.control, key.shift, key.alt, 0});
}

} // namespace

key_field::key_field(QWidget* parent) : QLineEdit(parent)
{
    setReadOnly(true);
    setContextMenuPolicy(Qt::NoContextMenu);
    setPlaceholderText(QStringLiteral("Press a key here"));
    // No input method: the key is wanted, not the text that it makes.
    setAttribute(Qt::WA_InputMethodEnabled, false);
}

void key_field::forget()
{
    m_key.reset();
    clear();
    if (m_changed)
        m_changed();
}

bool key_field::event(QEvent* event)
{
    if (event->type() != QEvent::KeyPress && event->type() != QEvent::ShortcutOverride)
        return QLineEdit::event(event);
    auto& pressed = *static_cast<QKeyEvent*>(event);
    if (leads_out(pressed))
        return QLineEdit::event(event);
    event->accept();
    if (event->type() == QEvent::ShortcutOverride)
        return true;
    if (is_return(pressed)) {
        if (m_returned)
            m_returned();
        return true;
    }
    const std::optional<key_message> key = key_message_of(pressed);
    if (!key || text_of(*key).isEmpty())
        return true;
    m_key = key;
    setText(text_of(*key));
    if (m_changed)
        m_changed();
    return true;
}

customize_keyboard_page::customize_keyboard_page(command_bars& bars, filter filtered_command, QWidget* parent)
    : QWidget(parent), m_bars(bars), m_filteredCommand(std::move(filtered_command)), m_category(new QComboBox),
      m_commands(new QListWidget), m_keys(new QListWidget), m_field(new key_field), m_note(new QLabel),
      m_assign(new QPushButton(QStringLiteral("&Assign"))), m_remove(new QPushButton(QStringLiteral("Remo&ve")))
{
    auto* reset_button = new QPushButton(QStringLiteral("&Reset All..."));
    reset_button->setToolTip(QStringLiteral("All keys as the program brings them"));
    for (QPushButton* button : {m_assign, m_remove, reset_button})
        button->setAutoDefault(false);
    const int line = fontMetrics().lineSpacing();
    m_commands->setMinimumWidth(fontMetrics().averageCharWidth() * list_width_in_characters);
    m_commands->setIconSize(QSize(tree_icon_size, tree_icon_size));
    m_commands->setSpacing(1);
    m_keys->setMaximumHeight(line * key_list_height_in_lines + 2 * m_keys->frameWidth());
    m_note->setTextFormat(Qt::PlainText);
    m_note->setWordWrap(true);
    m_note->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    // As much room as the longest note takes, so that nothing moves from key to key.
    m_note->setMinimumHeight(line * note_height_in_lines);

    auto* left = new QVBoxLayout;
    left->addWidget(field_label(QStringLiteral("Cate&gory:"), m_category));
    left->addWidget(m_category);
    left->addWidget(field_label(QStringLiteral("C&ommands:"), m_commands));
    left->addWidget(m_commands, 1);

    auto* right = new QGridLayout;
    right->setColumnStretch(0, 1);
    right->addWidget(field_label(QStringLiteral("Current &keys:"), m_keys), 0, 0);
    right->addWidget(m_keys, 1, 0);
    right->addWidget(m_remove, 1, 1, Qt::AlignTop);
    right->addWidget(field_label(QStringLiteral("Press &new shortcut key:"), m_field), 2, 0);
    right->addWidget(m_field, 3, 0);
    right->addWidget(m_assign, 3, 1);
    right->addWidget(m_note, 4, 0, 1, 2);
    right->setRowStretch(5, 1);
    right->addWidget(reset_button, 6, 1);

    auto* layout = new QHBoxLayout(this);
    layout->setSpacing(2 * layout->spacing());
    layout->addLayout(left, 1);
    layout->addLayout(right, 1);

    connect(m_category, &QComboBox::currentIndexChanged, this, [this] { show_category(); });
    connect(m_commands, &QListWidget::currentRowChanged, this, [this] { show_keys(); });
    connect(m_keys, &QListWidget::currentRowChanged, this, [this] { m_remove->setEnabled(chosen_key().has_value()); });
    connect(m_assign, &QPushButton::clicked, this, [this] { assign(); });
    connect(m_remove, &QPushButton::clicked, this, [this] { remove(); });
    connect(reset_button, &QPushButton::clicked, this, [this] { reset(); });
    m_field->set_changed_sink([this] { look_at_key(); });
    m_field->set_return_sink([this] { m_assign->click(); });
    refresh();
}

void customize_keyboard_page::add_category(tool_category category)
{
    const QString name = category.name;
    m_categories.push_back(std::move(category));
    m_category->addItem(name);
}

void customize_keyboard_page::refresh()
{
    show_keys();
    look_at_key();
}

void customize_keyboard_page::show_category()
{
    {
        const QSignalBlocker quiet(m_commands);
        m_commands->clear();
        if (m_category->currentIndex() >= 0)
            for (const tool_choice& choice : m_categories[static_cast<std::size_t>(m_category->currentIndex())].choices)
                m_commands->addItem(new QListWidgetItem(command_icon(choice.item.command_id), choice.text));
        m_commands->setCurrentRow(0);
    }
    show_keys();
}

std::uint32_t customize_keyboard_page::chosen_command() const
{
    if (m_category->currentIndex() < 0 || m_commands->currentRow() < 0)
        return 0;
    const tool_category& category = m_categories[static_cast<std::size_t>(m_category->currentIndex())];
    return category.choices[static_cast<std::size_t>(m_commands->currentRow())].item.command_id;
}

void customize_keyboard_page::show_keys()
{
    const std::uint32_t command = chosen_command();
    m_keysShown.clear();
    m_keys->clear();
    for (const accelerator& entry : m_bars.accelerators())
        if (command != 0 && entry.command_id == command)
            m_keysShown.push_back(entry);
    for (const accelerator& entry : m_keysShown)
        m_keys->addItem(accelerator_text(entry));
    // Behind those that can be taken away.
    for (const accelerator& entry : fixed_keys())
        if (entry.command_id == command && m_bars.command_of(key_of(entry)) != command)
            m_keys->addItem(QStringLiteral("%1 (always)").arg(accelerator_text(entry)));
    m_keys->setCurrentRow(0);
    m_remove->setEnabled(chosen_key().has_value());
    look_at_key();
}

std::optional<key_message> customize_keyboard_page::chosen_key() const
{
    const int row = m_keys->currentRow();
    if (row < 0 || row >= static_cast<int>(m_keysShown.size()))
        return std::nullopt;
    return key_of(m_keysShown[static_cast<std::size_t>(row)]);
}

void customize_keyboard_page::look_at_key()
{
    const std::optional<key_message>& key = m_field->key();
    shortcut_note note{.assignable = false, .text = {}};
    if (key) {
        note = note_on_key(*key, m_bars.menu(), m_filteredCommand);
        const std::uint32_t command = m_bars.command_of(*key);
        if (note.assignable) {
            const std::uint32_t owner = command != 0 ? command : m_filteredCommand(*key);
            const QString name = owner != 0 ? command_name(m_bars.menu(), owner) : QStringLiteral("no command");
            note.text = QStringLiteral("Currently assigned to: %1").arg(name) +
                        (note.text.isEmpty() ? QString() : QStringLiteral("\n\n") + note.text);
        }
        note.assignable = note.assignable && chosen_command() != 0 && command != chosen_command();
    }
    m_note->setText(note.text);
    m_note->setAccessibleName(note.text);
    m_field->setAccessibleDescription(note.text);
    m_assign->setEnabled(note.assignable);
}

void customize_keyboard_page::assign()
{
    const std::optional<key_message> key = m_field->key();
    const std::uint32_t command = chosen_command();
    if (!key || command == 0)
        return;
    m_field->forget();
    m_bars.assign_key(*key, command);
    refresh();
    m_field->setFocus();
}

void customize_keyboard_page::remove()
{
    const std::optional<key_message> key = chosen_key();
    if (!key)
        return;
    m_bars.remove_key(*key);
    refresh();
    if (!m_remove->isEnabled())
        m_keys->setFocus();
}

void customize_keyboard_page::reset()
{
    if (!confirmed(*this, QStringLiteral("Go back to the keys that the program brings? Your own are lost.")))
        return;
    m_bars.reset_keys();
    refresh();
}

} // namespace cw
