// Automation dates: days since 1899-12-30 as a real, the fraction being the time of day.
#pragma once

#include "automation/types.h"

struct SYSTEMTIME {
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek; // 0 is Sunday
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};

extern "C" {

/// Splits a date, rounded to the nearest second; milliseconds come out as 0. The fraction of a date
/// before 1899-12-30 counts forward within its day, as everywhere in automation. Answers 1, or 0
/// with `*time` left alone for a value outside the years 100 to 9999.
CW_AUTOMATION_API int VariantTimeToSystemTime(DATE date, SYSTEMTIME* time) noexcept;
/// The reverse. Answers 1, or 0 for fields that make no date.
CW_AUTOMATION_API int SystemTimeToVariantTime(const SYSTEMTIME* time, DATE* date) noexcept;
}
