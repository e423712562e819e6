// What the pages of the customise dialog share: labels of fields, and the question before something
// is lost.
#pragma once

#include <QLabel>
#include <QMessageBox>
#include <QString>

namespace cw {

/// The label of a field: its mnemonic leads to the field, and its text names the field for those who do
/// not see it.
[[nodiscard]] inline QLabel* field_label(const QString& text, QWidget* field)
{
    auto* label = new QLabel(text);
    label->setBuddy(field);
    field->setAccessibleName(QString(text).remove(u'&').remove(u':'));
    return label;
}

/// Whether the person says yes; no is what a hasty Return means.
[[nodiscard]] inline bool confirmed(QWidget& page, const QString& question)
{
    QMessageBox box(QMessageBox::Question, page.window()->windowTitle(), question, QMessageBox::Yes | QMessageBox::No,
                    &page);
    box.setTextFormat(Qt::PlainText);
    box.setDefaultButton(QMessageBox::No);
    return box.exec() == QMessageBox::Yes;
}

} // namespace cw
