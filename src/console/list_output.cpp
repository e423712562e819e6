#include "console/list_output.h"

#include "console/safe_text.h"

#include <nlohmann/json.hpp>
#include <unicode/uchar.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

namespace cw::console {
namespace {

using json = nlohmann::ordered_json;

constexpr std::string_view column_gap = "  ";
/// A longer text sticks out of its column: one endless name would pad every other row to its length.
constexpr std::size_t widest_column = 200;

std::size_t width_of(UChar32 character) noexcept
{
    // Shown as a sign of its own.
    if (character <= 0xFFFF && steers_terminal(static_cast<char16_t>(character)))
        return 1;
    constexpr std::uint32_t takes_no_room = U_GC_MN_MASK | U_GC_ME_MASK | U_GC_CF_MASK;
    if ((U_GET_GC_MASK(character) & takes_no_room) != 0)
        return 0;
    const int width = u_getIntPropertyValue(character, UCHAR_EAST_ASIAN_WIDTH);
    return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

/// Writes one line of the table; `text_of(column)` gives its cells.
template <class TextOf>
void print_line(std::ostream& out, const std::vector<std::size_t>& widths, TextOf text_of)
{
    std::string line;
    for (std::size_t column = 0; column < widths.size(); ++column) {
        const std::u16string_view text = text_of(column);
        line += terminal_text(text);
        // The last column is as long as it is.
        if (column + 1 < widths.size()) {
            const std::size_t width = display_width(text);
            line.append(std::max(widths[column], width) - width, ' ').append(column_gap);
        }
    }
    line.erase(line.find_last_not_of(' ') + 1);
    out << line << '\n';
}

} // namespace

std::size_t display_width(std::u16string_view text) noexcept
{
    std::size_t width = 0;
    for (std::size_t at = 0; at < text.size();) {
        UChar32 character = 0;
        U16_NEXT(text.data(), at, text.size(), character);
        width += width_of(character);
    }
    return width;
}

void print_list(std::ostream& out, const CListCtrl& list)
{
    if (list.GetColumnCount() == 0)
        return;
    std::vector<std::size_t> widths(list.GetColumnCount());
    for (std::size_t column = 0; column < widths.size(); ++column) {
        widths[column] = display_width(list.GetColumn(column).label);
        for (std::size_t row = 0; row < list.GetItemCount(); ++row)
            widths[column] = std::max(widths[column], display_width(list.GetItemText(row, column)));
        widths[column] = std::min(widths[column], widest_column);
    }
    print_line(out, widths, [&](std::size_t column) { return std::u16string_view(list.GetColumn(column).label); });
    for (std::size_t row = 0; row < list.GetItemCount(); ++row)
        print_line(out, widths, [&](std::size_t column) { return list.GetItemText(row, column); });
}

void write_list_fields(std::ostream& out, const CListCtrl& list)
{
    json columns = json::array();
    for (std::size_t column = 0; column < list.GetColumnCount(); ++column) {
        const list_column& shown = list.GetColumn(column);
        columns.push_back({{"label", json_text(shown.label)}, {"width", shown.width_in_pixels}});
    }
    // Row by row: a long list takes no second time its memory.
    out << "\"columns\":" << columns.dump() << ",\"rows\":[";
    for (std::size_t row = 0; row < list.GetItemCount(); ++row) {
        json cells = json::array();
        for (std::size_t column = 0; column < list.GetColumnCount(); ++column)
            cells.push_back(json_text(list.GetItemText(row, column)));
        const auto image = list.GetItemImage(row);
        const json shown{{"cells", std::move(cells)}, {"image", image ? json(*image) : json(nullptr)}};
        out << (row == 0 ? "" : ",") << shown.dump();
    }
    out << ']';
}

} // namespace cw::console
