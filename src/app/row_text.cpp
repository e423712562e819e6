#include "app/row_text.h"

namespace cw {

std::u16string row_text(const CListCtrl& list, std::span<const std::size_t> rows)
{
    std::u16string text;
    for (std::size_t place = 0; place < rows.size(); ++place) {
        if (place > 0)
            text += u"\r\n";
        for (std::size_t column = 0; column < list.GetColumnCount(); ++column) {
            if (column > 0)
                text += u'\t';
            text += list.GetItemText(rows[place], column);
        }
    }
    return text;
}

} // namespace cw
