#include "desktop/dialogs.h"

#include "app/menus.h"
#include "desktop/icons.h"
#include "desktop/qt_text.h"
#include "foundation/resource_text.h"
#include "foundation/string.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

#include <limits>

namespace cw {
namespace {

constexpr int field_width_in_characters = 40;
constexpr int about_icon_size = 64;
constexpr int notice_width_in_characters = 56;

constexpr const char* legal_notice =
    "Copyright \u00A9 Cratewright. All rights reserved.\n\n"
    "This program only reads setup media and installation logs; it changes none of them. It comes without "
    "warranty of any kind.";

QLabel* plain_label(const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    return label;
}

int width_of_characters(const QWidget& widget, int count)
{
    return widget.fontMetrics().averageCharWidth() * count;
}

/// A field for one line that takes texts of any length; its own limit would cut what is pasted, and tell
/// nobody.
QLineEdit* text_field(const QString& text, QWidget* parent)
{
    auto* field = new QLineEdit(parent);
    field->setMaxLength(std::numeric_limits<int>::max());
    field->setText(text);
    field->setMinimumWidth(width_of_characters(*parent, field_width_in_characters));
    return field;
}

bool is_line_break(QChar character)
{
    return character == u'\n' || character == u'\r' || character == QChar::LineSeparator ||
           character == QChar::ParagraphSeparator;
}

/// A line that was copied as a whole brings its end along. Breaks between lines stay: cells of a log may
/// hold them, and are searched for the text as it stands.
QString without_outer_line_breaks(const QString& text)
{
    QStringView rest = text;
    while (!rest.isEmpty() && is_line_break(rest.front()))
        rest = rest.sliced(1);
    while (!rest.isEmpty() && is_line_break(rest.back()))
        rest.chop(1);
    return rest.toString();
}

QDialogButtonBox* button_box(QDialog* dialog, QDialogButtonBox::StandardButtons buttons)
{
    auto* box = new QDialogButtonBox(buttons, dialog);
    QObject::connect(box, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
    QObject::connect(box, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    return box;
}

/// A sign and a sentence side by side.
QLayout* refusal_line(const QString& refusal, QWidget* parent)
{
    auto* sign = new QLabel(parent);
    const int size = parent->style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, parent);
    sign->setPixmap(parent->style()->standardIcon(QStyle::SP_MessageBoxWarning, nullptr, parent).pixmap(size));
    QLabel* text = plain_label(refusal, parent);
    text->setObjectName(QStringLiteral("refusal"));
    text->setAccessibleName(refusal);
    text->setWordWrap(true);
    auto* line = new QHBoxLayout;
    line->addWidget(sign, 0, Qt::AlignTop);
    line->addWidget(text, 1);
    return line;
}

} // namespace

QString application_title()
{
    return to_qt(resource_text(AFX_IDS_APP_TITLE));
}

password_dialog::password_dialog(const QString& path, const QString& refusal, QWidget* parent)
    : QDialog(parent), m_field(text_field({}, this))
{
    setWindowTitle(QStringLiteral("Password"));
    auto* layout = new QVBoxLayout(this);

    QLabel* file =
        plain_label(QStringLiteral("\u201C%1\u201D is protected by a password.").arg(QFileInfo(path).fileName()), this);
    file->setWordWrap(true);
    file->setToolTip(path.toHtmlEscaped());
    layout->addWidget(file);
    if (!refusal.isEmpty())
        layout->addLayout(refusal_line(refusal, this));

    m_field->setEchoMode(QLineEdit::Password);
    m_field->setAccessibleName(QStringLiteral("Password"));
    m_field->setAccessibleDescription(refusal);
    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("&Password:"), m_field);
    auto* shown = new QCheckBox(QStringLiteral("&Show password"), this);
    connect(shown, &QCheckBox::toggled, m_field,
            [field = m_field](bool on) { field->setEchoMode(on ? QLineEdit::Normal : QLineEdit::Password); });
    form->addRow(QString(), shown);
    layout->addLayout(form);
    layout->addWidget(button_box(this, QDialogButtonBox::Ok | QDialogButtonBox::Cancel));
    layout->setSizeConstraint(QLayout::SetFixedSize);
    m_field->setFocus();
}

QString password_dialog::password() const
{
    return m_field->text();
}

find_dialog::find_dialog(const QString& initial_text, QWidget* parent)
    : QDialog(parent), m_field(text_field(initial_text, this))
{
    setWindowTitle(QStringLiteral("Find"));
    m_field->setAccessibleName(QStringLiteral("Find what"));
    m_field->selectAll();

    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("Find what:"), m_field);
    QDialogButtonBox* buttons = button_box(this, QDialogButtonBox::Cancel);
    auto* find_next = buttons->addButton(QStringLiteral("Find Next"), QDialogButtonBox::AcceptRole);
    find_next->setDefault(true);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    m_field->setFocus();
}

QString find_dialog::text() const
{
    return without_outer_line_breaks(m_field->text());
}

about_dialog::about_dialog(QWidget* parent) : QDialog(parent)
{
    const QString name = application_title();
    setWindowTitle(QStringLiteral("About %1").arg(name));

    auto* picture = new QLabel(this);
    picture->setPixmap(application_icon().pixmap(QSize(about_icon_size, about_icon_size), devicePixelRatioF()));
    picture->setAccessibleName(QStringLiteral("Program icon"));
    QLabel* title = plain_label(name, this);
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    QLabel* notice = plain_label(QString::fromUtf8(legal_notice), this);
    notice->setObjectName(QStringLiteral("notice"));
    notice->setWordWrap(true);
    notice->setMinimumWidth(width_of_characters(*this, notice_width_in_characters));

    auto* texts = new QVBoxLayout;
    texts->addWidget(title);
    texts->addSpacing(fontMetrics().height() / 2);
    texts->addWidget(notice);
    auto* top = new QHBoxLayout;
    top->setSpacing(fontMetrics().height());
    top->addWidget(picture, 0, Qt::AlignTop);
    top->addLayout(texts, 1);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addSpacing(fontMetrics().height() / 2);
    layout->addWidget(button_box(this, QDialogButtonBox::Ok));
    layout->setSizeConstraint(QLayout::SetFixedSize);
}

} // namespace cw
