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

/// A text for a place of one line: control characters and line breaks, which would be drawn as boxes or
/// mean something to the place, are blanks.
[[nodiscard]] inline QString one_line_of(QString text)
{
    for (QChar& character : text)
        if (const QChar::Category category = character.category(); category == QChar::Other_Control ||
                                                                   category == QChar::Separator_Line ||
                                                                   category == QChar::Separator_Paragraph)
            character = u' ';
    return text;
}

} // namespace cw
