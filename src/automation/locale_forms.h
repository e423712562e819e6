// How numbers, dates and times are written in a locale. For the conversions to and from text of this
// library; not installed.
#pragma once

#include "automation/types.h"

#include <array>
#include <string>

namespace cw::automation::detail {

struct number_forms {
    char16_t decimal = u'.';
    char16_t group = u',';
};

/// Patterns are letters and literals as ICU writes them: "M/d/yyyy", "h:mm:ss a".
struct date_forms {
    std::u16string date = u"M/d/yyyy";
    std::u16string time = u"h:mm:ss a";
    std::u16string morning = u"AM";
    std::u16string afternoon = u"PM";
    // Empty where the date pattern has no month names.
    std::array<std::u16string, 12> months{};
};

/// The forms of `locale`: 0, 0x0400 and 0x0800 mean the user's, which the environment tells (LC_ALL,
/// then LC_NUMERIC or LC_TIME, then LANG). The neutral forms for 0x007F, 0x0409, "C" and for locales
/// that are not known. The reference stays valid. Throws std::bad_alloc.
const number_forms& number_forms_of(LCID locale);
const date_forms& date_forms_of(LCID locale);

/// Spaces of any width become the plain one, as people type it.
char16_t plain_space(char16_t c) noexcept;

} // namespace cw::automation::detail
