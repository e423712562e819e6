// Texts on their way between the program's UTF-16 and the window's text type.
#pragma once

#include <QString>

#include <string>
#include <string_view>

namespace cw {

[[nodiscard]] inline QString to_qt(std::u16string_view text)
{
    return QString(reinterpret_cast<const QChar*>(text.data()), static_cast<qsizetype>(text.size()));
}

[[nodiscard]] inline std::u16string from_qt(const QString& text)
{
    return text.toStdU16String();
}

} // namespace cw
