// Dates and times as text and back. For the conversions of this library; not installed.
#pragma once

#include "automation/date.h"
#include "automation/locale_forms.h"

#include <optional>
#include <string>
#include <string_view>

namespace cw::automation::detail {

/// The date in its short form, and the time after it unless it is midnight; on day 0 the time alone.
/// Null for a date outside the years 100 to 9999.
std::optional<std::u16string> text_of_date(DATE date, const date_forms& forms);

/// Reads the form that `text_of_date` writes, with any of the usual separators and the time in 12 or
/// 24 hours, and ISO 8601 ("2001-02-03 00:04:05", also with "T"). Null for anything else.
std::optional<DATE> date_from_text(std::u16string_view text, const date_forms& forms);

} // namespace cw::automation::detail
