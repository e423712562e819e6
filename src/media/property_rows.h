// Property rows as data: a presenter is a table of labels, each with the member that it shows and
// how, and one loop.
#pragma once

#include "app/main_frame.h"
#include "bridges/media_objects.h"

#include <cstdint>
#include <span>

namespace cw {

struct property_row {
    std::uint32_t label_id;
    void (*add)(CMainFrame& frame, std::size_t row, std::uint32_t label_id, IDispatch* object);
};

/// Adds the rows of a table for one object from a row on; answers the row behind them.
inline std::size_t add_property_rows(CMainFrame& frame, std::span<const property_row> rows, IDispatch* object,
                                     std::size_t first_row = 0)
{
    for (const property_row& row : rows)
        row.add(frame, first_row++, row.label_id, object);
    return first_row;
}

/// Text as it is.
template <const auto& Member>
void show_text(CMainFrame& frame, std::size_t row, std::uint32_t label_id, IDispatch* object)
{
    frame.AddPropertyRow(row, label_id, get(object, Member));
}

/// "Yes" for a value that is not zero.
template <const auto& Member>
void show_yes_no(CMainFrame& frame, std::size_t row, std::uint32_t label_id, IDispatch* object)
{
    frame.AddYesNoRow(row, label_id, get(object, Member) != 0);
}

/// "Yes" where bit `Bit` is set.
template <const auto& Member, int Bit>
void show_bit(CMainFrame& frame, std::size_t row, std::uint32_t label_id, IDispatch* object)
{
    frame.AddYesNoRow(row, label_id, ((static_cast<std::uint32_t>(get(object, Member)) >> Bit) & 1u) != 0);
}

/// A signed number in decimal.
template <const auto& Member>
void show_decimal(CMainFrame& frame, std::size_t row, std::uint32_t label_id, IDispatch* object)
{
    frame.AddPropertyRow(row, label_id, to_text(static_cast<std::int32_t>(get(object, Member))));
}

/// What a function makes of the member's value.
template <const auto& Member, auto Format>
void show_formatted(CMainFrame& frame, std::size_t row, std::uint32_t label_id, IDispatch* object)
{
    frame.AddPropertyRow(row, label_id, Format(get(object, Member)));
}

/// What a function makes of a collection.
template <const auto& Member, auto Join>
void show_joined(CMainFrame& frame, std::size_t row, std::uint32_t label_id, IDispatch* object)
{
    frame.AddPropertyRow(row, label_id, Join(get(object, Member).get()));
}

} // namespace cw
