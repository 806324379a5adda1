// The date test on text and the date serial number: does a field read as a
// date in the user's locale, and which day (and time) is it?
#pragma once

#include <cstdint>
#include <string_view>

namespace tessarix::detail {

// The order of day, month and year in the locale's short date.
enum class DateOrder : std::uint8_t { MonthDayYear, DayMonthYear, YearMonthDay };

// The short date order of a named POSIX locale ("" for the user's default),
// taken from the order of the day, month and year fields of its date format.
// False (and MonthDayYear) when the locale does not exist here.
bool ReadLocaleDateOrder(const char* locale_name, DateOrder& order);

// The order in force: read once from the user's default locale, unless set.
DateOrder CurrentDateOrder();
// A host or a test may set it explicitly (the load never overwrites it).
void SetDateOrder(DateOrder order);

// Days since 30 December 1899 of a valid civil date (year 100 .. 9999).
double DateSerial(int year, unsigned month, unsigned day);

// Reads a date, with blanks around it:
//   * three numbers joined by `date_separator` in `order`, e.g. 12/31/99 or
//     31.12.1999; a year of one or two digits is windowed, 00-29 to 2000-2029
//     and 30-99 to 1930-1999;
//   * the ISO form yyyy-mm-dd, whatever the locale;
//   * either one optionally followed by a time of day, after blanks (or "T"
//     for ISO): h:mm or h:mm:ss, the separator ":" or `time_separator`, and an
//     optional AM/PM (any case).
// The value is the date serial number: days since 30 December 1899, the time
// as the fraction of a day (before that day the fraction counts away from
// zero, as the platform's dates do: 29 December 1899 06:00 is -1.25).
// False for anything else, also for a day that does not exist (02/30/2001).
bool ParseLocaleDate(std::string_view text, double& serial, std::string_view date_separator,
                     std::string_view time_separator, DateOrder order);

// With the separators of CurrentSeparators() and CurrentDateOrder().
bool ParseLocaleDate(std::string_view text, double& serial);

}  // namespace tessarix::detail
