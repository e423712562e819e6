#include "desktop/plain_file_name.h"

#include <algorithm>

namespace cw {
namespace {

constexpr qsizetype longest_name_in_bytes = 255;
constexpr QChar substitute(u'_');

bool is_unsafe(QChar character)
{
    // The dialog takes quotation marks for those around several names.
    return character.category() == QChar::Other_Control || character == u'"';
}

} // namespace

QString plain_file_name(const QString& name)
{
    const qsizetype last_separator = std::max(name.lastIndexOf(u'\\'), name.lastIndexOf(u'/'));
    QString plain = name.mid(last_separator + 1);
    if (plain == u"." || plain == u"..")
        return {};
    std::replace_if(plain.begin(), plain.end(), is_unsafe, substitute);
    // The dialog would expand it to somebody's home.
    if (plain.startsWith(u'~'))
        plain.front() = substitute;
    plain.truncate(longest_name_in_bytes);
    while (plain.toUtf8().size() > longest_name_in_bytes || (!plain.isEmpty() && plain.back().isHighSurrogate()))
        plain.chop(1);
    return plain;
}

} // namespace cw
