#include "desktop/qt_user_settings.h"

#include "desktop/qt_text.h"

namespace cw {
namespace {

QString key_of(std::u16string_view section, std::u16string_view entry)
{
    return to_qt(section) + u'/' + to_qt(entry);
}

} // namespace

qt_user_settings::qt_user_settings(const QString& company, const QString& application)
    : m_settings(company, application)
{
    // Entries that an administrator has put in the system's settings are not the user's own.
    m_settings.setFallbacksEnabled(false);
}

int qt_user_settings::read_number(std::u16string_view section, std::u16string_view entry, int default_value)
{
    bool is_number = false;
    const int value = m_settings.value(key_of(section, entry)).toInt(&is_number);
    return is_number ? value : default_value;
}

void qt_user_settings::write_number(std::u16string_view section, std::u16string_view entry, int value)
{
    m_settings.setValue(key_of(section, entry), value);
}

std::u16string qt_user_settings::read_text(std::u16string_view section, std::u16string_view entry,
                                           std::u16string_view default_value)
{
    const QVariant value = m_settings.value(key_of(section, entry));
    // A text with a comma that somebody typed into the file reads as a list.
    if (value.typeId() == QMetaType::QStringList)
        return from_qt(value.toStringList().join(QStringLiteral(", ")));
    return value.isValid() ? from_qt(value.toString()) : std::u16string(default_value);
}

void qt_user_settings::write_text(std::u16string_view section, std::u16string_view entry, std::u16string_view value)
{
    m_settings.setValue(key_of(section, entry), to_qt(value));
}

void qt_user_settings::remove(std::u16string_view section, std::u16string_view entry)
{
    m_settings.remove(key_of(section, entry));
}

} // namespace cw
