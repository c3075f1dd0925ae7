#include "base/date_time.h"

#include <array>
#include <cwchar>

namespace tdefault {
namespace {

// The Julian day number of the day before 0001-01-01.
constexpr std::int32_t kJulianDayOfYearOne = 1721425;
constexpr std::int32_t kDaysIn400Years = 146097;

constexpr bool IsLeapYear(std::int32_t year) {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

constexpr std::int32_t DaysInMonth(std::int32_t year, std::int32_t month) {
  constexpr std::array<std::int32_t, 12> kDays = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeapYear(year) ? 29 : kDays[static_cast<std::size_t>(month - 1)];
}

constexpr std::int32_t DaysBeforeYear(std::int32_t year) {
  const std::int32_t past = year - 1;
  return past * 365 + past / 4 - past / 100 + past / 400;
}

}  // namespace

std::optional<Date> MakeDate(std::int32_t year, std::int32_t month, std::int32_t day) {
  if (year < 1 || year > 9999 || month < 1 || month > 12) return std::nullopt;
  if (day < 1 || day > DaysInMonth(year, month)) return std::nullopt;
  std::int32_t ordinal = DaysBeforeYear(year) + day;
  for (std::int32_t earlier = 1; earlier < month; ++earlier) ordinal += DaysInMonth(year, earlier);
  return Date{kJulianDayOfYearOne + ordinal};
}

CalendarDay ToCalendarDay(Date date) {
  const std::int32_t ordinal = date.julian_day - kJulianDayOfYearOne;
  // A close guess from the mean length of a year, then at most one step either way.
  auto year =
      static_cast<std::int32_t>((static_cast<std::int64_t>(ordinal) * 400) / kDaysIn400Years) + 1;
  while (year > 1 && DaysBeforeYear(year) >= ordinal) --year;
  while (DaysBeforeYear(year + 1) < ordinal) ++year;
  std::int32_t day = ordinal - DaysBeforeYear(year);
  std::int32_t month = 1;
  while (month < 12 && day > DaysInMonth(year, month)) day -= DaysInMonth(year, month++);
  return {year, month, day};
}

std::wstring ToText(Date date) {
  if (date.empty()) return {};
  const CalendarDay day = ToCalendarDay(date);
  std::array<wchar_t, 40> buffer{};
  std::swprintf(buffer.data(), buffer.size(), L"%04d-%02d-%02d", day.year, day.month, day.day);
  return buffer.data();
}

std::wstring ToText(DateTime date_time) {
  if (date_time.empty()) return {};
  const std::int32_t seconds = date_time.milliseconds / 1000;
  std::array<wchar_t, 40> buffer{};
  std::swprintf(buffer.data(), buffer.size(), L" %02d:%02d:%02d", seconds / 3600, seconds / 60 % 60,
                seconds % 60);
  return ToText(date_time.date) + buffer.data();
}

std::wstring ToMonthDayYear(Date date) {
  if (date.empty()) return {};
  const CalendarDay day = ToCalendarDay(date);
  std::array<wchar_t, 40> buffer{};
  std::swprintf(buffer.data(), buffer.size(), L"%02d-%02d-%04d", day.month, day.day, day.year);
  return buffer.data();
}

}  // namespace tdefault
