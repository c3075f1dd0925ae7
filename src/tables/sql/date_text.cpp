#include "tables/sql/date_text.h"

#include <array>
#include <cstddef>
#include <cstdint>

#include "base/date_time.h"
#include "base/text.h"

namespace tdefault::tables::sql {
namespace {

struct Number {
  std::int32_t value = 0;
  std::size_t digits = 0;
};

// Reads the parts of a date from left to right.
class Reader {
 public:
  explicit Reader(std::wstring_view text) : text_(text) {}

  [[nodiscard]] bool AtEnd() const { return text_.empty(); }

  void SkipBlanks() {
    while (!text_.empty() && text_.front() == L' ') text_.remove_prefix(1);
  }

  bool Take(wchar_t character) {
    if (text_.empty() || ToUpper(text_.front()) != character) return false;
    text_.remove_prefix(1);
    return true;
  }

  bool TakeSeparator() { return Take(L'-') || Take(L'/') || Take(L'.'); }

  // One to four digits.
  std::optional<Number> TakeNumber() {
    Number number;
    while (number.digits < 4 && !text_.empty() && text_.front() >= L'0' && text_.front() <= L'9') {
      number.value = number.value * 10 + static_cast<std::int32_t>(text_.front() - L'0');
      ++number.digits;
      text_.remove_prefix(1);
    }
    if (number.digits == 0) return std::nullopt;
    return number;
  }

 private:
  std::wstring_view text_;
};

bool IsEmptyDate(std::wstring_view text) {
  return text.find_first_not_of(L" -/.:^") == std::wstring_view::npos;
}

std::optional<Date> ReadDate(Reader& reader) {
  const bool year_first = reader.Take(L'^');
  std::array<Number, 3> parts;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    reader.SkipBlanks();
    if (i > 0 && !reader.TakeSeparator()) return std::nullopt;
    reader.SkipBlanks();
    const std::optional<Number> number = reader.TakeNumber();
    if (!number) return std::nullopt;
    parts[i] = *number;
  }
  const Number year = year_first ? parts[0] : parts[2];
  const Number month = year_first ? parts[1] : parts[0];
  const Number day = year_first ? parts[2] : parts[1];
  if (year.digits != 4 || month.digits > 2 || day.digits > 2) return std::nullopt;
  return MakeDate(year.value, month.value, day.value).value_or(Date{});
}

// The milliseconds since midnight.
std::optional<std::int32_t> ReadTime(Reader& reader) {
  std::array<std::int32_t, 3> parts{};
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (i > 0 && !reader.Take(L':')) {
      if (i == 1) return std::nullopt;
      break;
    }
    const std::optional<Number> number = reader.TakeNumber();
    if (!number || number->digits > 2) return std::nullopt;
    parts[i] = number->value;
  }
  reader.SkipBlanks();
  const bool afternoon = reader.Take(L'P');
  if (afternoon || reader.Take(L'A')) {
    reader.Take(L'M');
    if (parts[0] < 1 || parts[0] > 12) return std::nullopt;
    parts[0] = parts[0] % 12 + (afternoon ? 12 : 0);
  }
  if (parts[0] > 23 || parts[1] > 59 || parts[2] > 59) return std::nullopt;
  return ((parts[0] * 60 + parts[1]) * 60 + parts[2]) * 1000;
}

}  // namespace

std::optional<Value> ParseDateText(std::wstring_view text) {
  if (IsEmptyDate(text)) return Value(Date{});
  Reader reader(text);
  reader.SkipBlanks();
  const std::optional<Date> date = ReadDate(reader);
  if (!date) return std::nullopt;
  reader.SkipBlanks();
  if (reader.AtEnd()) return Value(*date);
  reader.Take(L',');
  reader.SkipBlanks();
  const std::optional<std::int32_t> time = ReadTime(reader);
  reader.SkipBlanks();
  if (!time || !reader.AtEnd()) return std::nullopt;
  if (date->empty()) return Value(DateTime{});
  return Value(DateTime{*date, *time});
}

}  // namespace tdefault::tables::sql
