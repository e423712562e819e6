// The label of a field: its mnemonic leads to the field, and its text names the field for those who
// do not see it. Used by the pages of the customise dialog.
#pragma once

#include <QLabel>
#include <QString>

namespace cw {

[[nodiscard]] inline QLabel* field_label(const QString& text, QWidget* field)
{
    auto* label = new QLabel(text);
    label->setBuddy(field);
    field->setAccessibleName(QString(text).remove(u'&').remove(u':'));
    return label;
}

} // namespace cw
