#include "desktop/name_filters.h"

#include "desktop/qt_text.h"
#include "framework/file_filter.h"

namespace cw {

QStringList name_filters(std::u16string_view filter)
{
    QStringList filters;
    for (const file_filter& entry : parse_file_filter(filter)) {
        QStringList patterns;
        for (const std::u16string& pattern : entry.patterns)
            patterns.append(to_qt(pattern));
        const QString in_brackets = QStringLiteral(" (%1)").arg(patterns.join(u' '));
        QString label = to_qt(entry.label);
        if (label.endsWith(in_brackets))
            label.chop(in_brackets.size());
        filters.append(label + in_brackets);
    }
    return filters;
}

} // namespace cw
