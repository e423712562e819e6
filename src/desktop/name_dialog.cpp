#include "desktop/name_dialog.h"

#include "framework/command_bars.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace cw {
namespace {

constexpr int field_width_in_characters = 32;

} // namespace

name_dialog::name_dialog(const QString& title, const QString& initial, QStringList taken, QWidget* parent)
    : QDialog(parent), m_taken(std::move(taken)), m_field(new QLineEdit(initial, this)), m_note(new QLabel(this))
{
    setWindowTitle(title);
    m_field->setMaxLength(static_cast<int>(tool_limits::name_length));
    m_field->setMinimumWidth(fontMetrics().averageCharWidth() * field_width_in_characters);
    m_field->setAccessibleName(QStringLiteral("Name"));
    m_field->selectAll();
    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("&Name:"), m_field);
    m_note->setTextFormat(Qt::PlainText);
    form->addRow(QString(), m_note);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    m_ok = buttons->button(QDialogButtonBox::Ok);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_field, &QLineEdit::textChanged, this, [this] { look_at_name(); });
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    look_at_name();
    m_field->setFocus();
}

QString name_dialog::name() const
{
    QString visible;
    for (const QChar character : m_field->text())
        visible += character.category() == QChar::Other_Control ? QChar(u' ') : character;
    return visible.simplified();
}

void name_dialog::look_at_name()
{
    const bool is_taken = m_taken.contains(name());
    m_note->setText(is_taken ? QStringLiteral("There is one of that name.") : QString());
    m_field->setAccessibleDescription(m_note->text());
    m_ok->setEnabled(!is_taken && !name().isEmpty());
}

std::optional<QString> ask_for_name(const QString& title, const QString& initial, const QStringList& taken,
                                    QWidget* parent)
{
    name_dialog dialog(title, initial, taken, parent);
    return dialog.exec() == QDialog::Accepted ? std::optional(dialog.name()) : std::nullopt;
}

} // namespace cw
