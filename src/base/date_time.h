// Dates and times as the tables store them. An empty date is a value of its own (the FoxPro
// "{ / / }"), different from null.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>

namespace tdefault {

// A day of the proleptic Gregorian calendar by its Julian day number; 0 is the empty date.
struct Date {
  std::int32_t julian_day = 0;

  [[nodiscard]] bool empty() const noexcept { return julian_day == 0; }
  // The check takes the zero that the compiler writes into `a < b` for a null pointer.
  friend auto operator<=>(const Date&, const Date&) = default;  // NOLINT(modernize-use-nullptr)
};

// The days that have a calendar day: 0001-01-01 and 9999-12-31.
inline constexpr Date kFirstDay = {1721426};
inline constexpr Date kLastDay = {5373484};

struct CalendarDay {
  std::int32_t year = 0;   // 1 to 9999
  std::int32_t month = 0;  // 1 to 12
  std::int32_t day = 0;    // 1 to 31
  friend auto operator<=>(const CalendarDay&, const CalendarDay&) = default;
};

// Absent when the three numbers are not a day of the years 1 to 9999.
[[nodiscard]] std::optional<Date> MakeDate(std::int32_t year, std::int32_t month, std::int32_t day);

// The day of a date that is not empty.
[[nodiscard]] CalendarDay ToCalendarDay(Date date);

inline constexpr std::int32_t kMillisecondsPerSecond = 1000;
inline constexpr std::int32_t kMillisecondsPerDay = 86'400 * kMillisecondsPerSecond;

// A day and the milliseconds since its midnight, 0 to 86,399,999.
struct DateTime {
  Date date;
  std::int32_t milliseconds = 0;

  [[nodiscard]] bool empty() const noexcept { return date.empty(); }
  friend auto operator<=>(const DateTime&, const DateTime&) = default;
};

// "YYYY-MM-DD" and "YYYY-MM-DD HH:MM:SS"; empty text for the empty date.
[[nodiscard]] std::wstring ToText(Date date);
[[nodiscard]] std::wstring ToText(DateTime date_time);

// "MM-DD-YYYY", as the suite writes days into its tables and files; empty text for the empty date.
[[nodiscard]] std::wstring ToMonthDayYear(Date date);

}  // namespace tdefault
