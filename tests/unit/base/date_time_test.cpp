#include "base/date_time.h"

#include <doctest/doctest.h>

using namespace tdefault;

TEST_CASE("a date is its Julian day number") {
  CHECK(MakeDate(2001, 3, 7)->julian_day == 2451976);
  CHECK(MakeDate(1, 1, 1)->julian_day == 1721426);
  CHECK(MakeDate(1899, 12, 30)->julian_day == 2415019);
}

TEST_CASE("numbers that are no day make no date") {
  CHECK_FALSE(MakeDate(2001, 2, 29));
  CHECK_FALSE(MakeDate(1900, 2, 29));
  CHECK(MakeDate(2000, 2, 29));
  CHECK_FALSE(MakeDate(2001, 13, 1));
  CHECK_FALSE(MakeDate(2001, 0, 1));
  CHECK_FALSE(MakeDate(2001, 1, 0));
  CHECK_FALSE(MakeDate(0, 1, 1));
  CHECK_FALSE(MakeDate(10000, 1, 1));
}

TEST_CASE("every day of the calendar converts there and back") {
  std::int32_t expected = MakeDate(1, 1, 1)->julian_day;
  for (std::int32_t year = 1; year <= 9999; year += year < 1890 || year > 2110 ? 97 : 1) {
    expected = MakeDate(year, 1, 1)->julian_day;
    for (std::int32_t month = 1; month <= 12; ++month) {
      for (std::int32_t day = 1; day <= 31; ++day) {
        const std::optional<Date> date = MakeDate(year, month, day);
        if (!date) continue;
        REQUIRE(date->julian_day == expected++);
        REQUIRE(ToCalendarDay(*date) == CalendarDay{year, month, day});
      }
    }
  }
}

TEST_CASE("dates and times show as text, the empty date as nothing") {
  CHECK(ToText(*MakeDate(2001, 3, 7)) == L"2001-03-07");
  CHECK(ToText(Date{}).empty());
  CHECK(ToText(DateTime{*MakeDate(2001, 3, 7), 3723004}) == L"2001-03-07 01:02:03");
  CHECK(ToText(DateTime{}).empty());
}

TEST_CASE("a day as the suite writes it has two digits for month and day and four for the year") {
  CHECK(ToMonthDayYear(*MakeDate(2001, 3, 7)) == L"03-07-2001");
  CHECK(ToMonthDayYear(*MakeDate(1999, 12, 31)) == L"12-31-1999");
  CHECK(ToMonthDayYear(*MakeDate(87, 1, 1)) == L"01-01-0087");
  CHECK(ToMonthDayYear(Date{}).empty());
}
