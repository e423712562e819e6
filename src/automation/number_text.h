// Numbers as text and back. For the conversions of this library; not installed.
#pragma once

#include "automation/exact_number.h"
#include "automation/locale_forms.h"

#include <string>
#include <string_view>

namespace cw::automation::detail {

/// All digits, without grouping and without an exponent.
std::u16string text_of(const exact_number& number, const number_forms& forms);
/// At most 15 significant digits (7 for a float), with an exponent where the number is long.
std::u16string text_of(double number, const number_forms& forms);
std::u16string text_of(float number, const number_forms& forms);

/// Reads a number with optional space around it, a sign on either side or parentheses for a negative
/// one, digits with group separators, decimal places and an exponent. Null for anything else.
std::optional<exact_number> number_from_text(std::u16string_view text, const number_forms& forms) noexcept;

} // namespace cw::automation::detail
