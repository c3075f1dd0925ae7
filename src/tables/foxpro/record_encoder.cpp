#include "tables/foxpro/record_encoder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>
#include <string_view>
#include <system_error>

#include "tables/foxpro/change_errors.h"
#include "tables/foxpro/record_decoder.h"
#include "tables/foxpro/table_format.h"

namespace tdefault::tables::foxpro {
namespace {

constexpr double kLargestInteger = 2147483647;
constexpr std::size_t kCurrencyDecimals = 4;
// More digits than the widest column holds.
constexpr std::int32_t kMostDigits = 40;

// A decimal number: 0.DIGITS times ten to the power of `point`.
struct Decimal {
  bool negative = false;
  std::string digits;
  std::int32_t point = 0;
};

// The shortest decimal number that reads back as this one: what a user typed, not the binary
// fraction closest to it, is what rounding starts from. REQUIRES: the number is finite.
Decimal ToDecimal(double number) {
  Decimal decimal;
  std::array<char, 32> buffer{};
  const auto [end, failure] = std::to_chars(buffer.data(), buffer.data() + buffer.size(),
                                            std::abs(number), std::chars_format::scientific);
  if (failure != std::errc()) return decimal;
  const std::string_view text(buffer.data(), static_cast<std::size_t>(end - buffer.data()));
  const std::size_t mark = text.find('e');
  for (const char character : text.substr(0, mark))
    if (character != '.') decimal.digits += character;
  std::string_view exponent = text.substr(mark + 1);
  if (exponent.front() == '+') exponent.remove_prefix(1);
  std::from_chars(exponent.data(), exponent.data() + exponent.size(), decimal.point);
  ++decimal.point;
  decimal.negative = std::signbit(number);
  return decimal;
}

Decimal ToDecimal(Currency amount) {
  const std::string text = std::to_string(amount.ten_thousandths);
  const bool negative = text.front() == '-';
  std::string digits = text.substr(negative ? 1 : 0);
  const auto point =
      static_cast<std::int32_t>(digits.size()) - static_cast<std::int32_t>(kCurrencyDecimals);
  return {negative, std::move(digits), point};
}

// The digits of the number times ten to the power of `decimals`, rounded to a whole number, halves
// away from zero; "0" for zero. Absent for numbers of more than kMostDigits digits.
std::optional<std::string> Rounded(const Decimal& number, std::size_t decimals) {
  const std::int32_t kept = number.point + static_cast<std::int32_t>(decimals);
  if (kept > kMostDigits) return std::nullopt;
  if (kept < 0) return "0";
  std::string digits = number.digits.substr(0, static_cast<std::size_t>(kept));
  digits.resize(static_cast<std::size_t>(kept), '0');
  const bool up = static_cast<std::size_t>(kept) < number.digits.size() &&
                  number.digits[static_cast<std::size_t>(kept)] >= '5';
  if (up) {
    std::size_t place = digits.size();
    while (place > 0 && digits[place - 1] == '9') digits[--place] = '0';
    if (place > 0) {
      ++digits[place - 1];
    } else {
      digits.insert(digits.begin(), '1');
    }
  }
  const std::size_t first = digits.find_first_not_of('0');
  if (first == std::string::npos) return "0";
  return digits.substr(first);
}

std::optional<std::string> Format(const Decimal& number, std::size_t width, std::size_t decimals) {
  for (std::size_t kept = decimals + 1; kept-- > 0;) {
    std::optional<std::string> text = Rounded(number, kept);
    if (!text) return std::nullopt;
    const std::string sign = number.negative && *text != "0" ? "-" : "";
    if (kept > 0) {
      if (text->size() <= kept) text->insert(0, kept + 1 - text->size(), '0');
      text->insert(text->size() - kept, 1, '.');
      const bool too_wide = sign.size() + text->size() == width + 1;
      if (too_wide && text->front() == '0') text->erase(0, 1);
    }
    if (sign.size() + text->size() <= width) return sign + *text;
  }
  return std::nullopt;
}

// Absent for a value that is no number.
std::optional<Decimal> ToDecimal(const Value& value) {
  if (const auto* whole = std::get_if<std::int32_t>(&value))
    return ToDecimal(static_cast<double>(*whole));
  if (const auto* number = std::get_if<double>(&value)) return ToDecimal(*number);
  if (const auto* amount = std::get_if<Currency>(&value)) return ToDecimal(*amount);
  return std::nullopt;
}

double ToDouble(const Value& value) {
  if (const auto* whole = std::get_if<std::int32_t>(&value)) return *whole;
  if (const auto* amount = std::get_if<Currency>(&value))
    return static_cast<double>(amount->ten_thousandths) / 10000;
  return std::get<double>(value);
}

// Absent when the number has too many digits.
std::optional<std::int64_t> RoundedInteger(const Decimal& number, std::size_t decimals) {
  const auto digits = Rounded(number, decimals);
  if (!digits) return std::nullopt;
  const std::string text = (number.negative ? "-" : "") + *digits;
  std::int64_t whole = 0;
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), whole);
  if (failure != std::errc()) return std::nullopt;
  return whole;
}

bool IsStorable(Date day) { return day.empty() || (day >= kFirstDay && day <= kLastDay); }

// Visual FoxPro keeps whole seconds.
DateTime ToWholeSeconds(DateTime moment) {
  if (moment.empty()) return {};
  const std::int32_t seconds =
      (moment.milliseconds + kMillisecondsPerSecond / 2) / kMillisecondsPerSecond;
  moment.milliseconds = seconds * kMillisecondsPerSecond;
  if (moment.milliseconds < kMillisecondsPerDay) return moment;
  if (moment.date == kLastDay) return {kLastDay, kMillisecondsPerDay - kMillisecondsPerSecond};
  return {{moment.date.julian_day + 1}, 0};
}

void PutText(std::string_view text, std::uint8_t* cell) {
  std::copy(text.begin(), text.end(), cell);
}

// Right-aligned in `width` bytes.
void PutAligned(std::string_view text, std::size_t width, std::uint8_t* cell) {
  std::fill_n(cell, width - text.size(), std::uint8_t{' '});
  PutText(text, cell + (width - text.size()));
}

std::string DateDigits(Date day) {
  if (day.empty()) return std::string(8, ' ');
  const CalendarDay calendar = ToCalendarDay(day);
  const std::int32_t number = (calendar.year * 100 + calendar.month) * 100 + calendar.day;
  const std::string digits = std::to_string(number);
  return std::string(8 - digits.size(), '0') + digits;
}

std::wstring Hexadecimal(wchar_t character) {
  constexpr std::wstring_view kDigits = L"0123456789ABCDEF";
  std::wstring text;
  for (auto code = static_cast<std::uint32_t>(character); code != 0 || text.size() < 4; code >>= 4U)
    text.insert(text.begin(), kDigits[code & 15U]);
  return text;
}

std::size_t Length(const StoredColumn& stored) {
  return static_cast<std::size_t>(stored.column.length);
}

}  // namespace

std::optional<std::string> FormatStoredNumber(double number, std::size_t width,
                                              std::size_t decimals) {
  if (!std::isfinite(number)) return std::nullopt;
  return Format(ToDecimal(number), width, decimals);
}

RecordEncoder::RecordEncoder(const TableLayout& layout, const TableIdentity& table)
    : layout_(layout), table_(table) {}

Error RecordEncoder::DoesNotFit(const StoredColumn& stored, const Value& value,
                                const std::wstring& reason) const {
  return ValueDoesNotFit(table_, stored.column.name, value, reason);
}

Error RecordEncoder::Mismatch(const StoredColumn& stored, const Value& value) const {
  return DataTypeMismatch(table_, stored.column, value);
}

Value RecordEncoder::Stored(std::size_t column, const Value& value) const {
  const StoredColumn& stored = layout_.columns[column];
  if (stored.automatic) throw AutomaticColumn(table_, stored.column.name);
  if (IsNull(value)) {
    if (!stored.null_bit) throw NullRefused(table_, stored.column.name);
    return value;
  }
  switch (stored.column.kind) {
    case ColumnKind::kText:
    case ColumnKind::kMemo:
      return StoredText(stored, value);
    case ColumnKind::kNumber:
    case ColumnKind::kInteger:
    case ColumnKind::kCurrency:
      return StoredNumber(stored, value);
    case ColumnKind::kLogical:
      if (!std::holds_alternative<bool>(value)) throw Mismatch(stored, value);
      return value;
    case ColumnKind::kDate:
    case ColumnKind::kDateTime:
      return StoredMoment(stored, value);
    case ColumnKind::kBinary:
      return StoredBytes(stored, value);
  }
  throw Mismatch(stored, value);
}

Value RecordEncoder::StoredText(const StoredColumn& stored, const Value& value) const {
  const auto* text = std::get_if<std::wstring>(&value);
  if (text == nullptr) throw Mismatch(stored, value);
  std::wstring kept = *text;
  if (stored.column.kind == ColumnKind::kText && kept.size() > Length(stored))
    kept.resize(Length(stored));
  for (const wchar_t character : kept) {
    if (static_cast<std::uint32_t>(character) < 0x80) continue;
    if (layout_.code_page.Encode(character)) continue;
    throw DoesNotFit(stored, value,
                     L"the table's code page " + std::to_wstring(layout_.code_page.number()) +
                         L" has no character U+" + Hexadecimal(character) + L" (" +
                         std::wstring(1, character) + L")");
  }
  if (stored.column.fixed_width) kept.resize(Length(stored), L' ');
  return kept;
}

Value RecordEncoder::StoredNumber(const StoredColumn& stored, const Value& value) const {
  if (!std::holds_alternative<std::int32_t>(value) && !std::holds_alternative<double>(value) &&
      !std::holds_alternative<Currency>(value))
    throw Mismatch(stored, value);
  if (!std::isfinite(ToDouble(value))) throw DoesNotFit(stored, value, L"it is no finite number");
  switch (stored.column.type) {
    case 'B':
      return ToDouble(value);
    case 'I': {
      const auto whole = RoundedInteger(*ToDecimal(value), 0);
      if (!whole || std::abs(static_cast<double>(*whole)) > kLargestInteger)
        throw DoesNotFit(stored, value, L"the column takes -2147483647 to 2147483647");
      return static_cast<std::int32_t>(*whole);
    }
    case 'Y': {
      const auto amount = RoundedInteger(*ToDecimal(value), kCurrencyDecimals);
      if (!amount) {
        throw DoesNotFit(stored, value,
                         L"the column takes -922337203685477.5808 to 922337203685477.5807");
      }
      return Currency{*amount};
    }
    default: {
      const auto text = Format(*ToDecimal(value), Length(stored),
                               static_cast<std::size_t>(stored.column.decimals));
      if (!text) {
        throw DoesNotFit(stored, value,
                         L"the column has room for " + std::to_wstring(Length(stored)) +
                             L" characters, sign included");
      }
      return *ParseStoredNumber(*text);
    }
  }
}

Value RecordEncoder::StoredMoment(const StoredColumn& stored, const Value& value) const {
  DateTime moment;
  if (const auto* day = std::get_if<Date>(&value)) {
    moment.date = *day;
  } else if (const auto* whole = std::get_if<DateTime>(&value)) {
    moment = *whole;
  } else {
    throw Mismatch(stored, value);
  }
  const bool time_of_day = moment.milliseconds >= 0 && moment.milliseconds < kMillisecondsPerDay;
  if (!IsStorable(moment.date) || !time_of_day)
    throw DoesNotFit(stored, value, L"the column takes days of the years 1 to 9999");
  if (stored.column.kind == ColumnKind::kDate) return moment.date;
  return ToWholeSeconds(moment);
}

Value RecordEncoder::StoredBytes(const StoredColumn& stored, const Value& value) const {
  const auto* bytes = std::get_if<Bytes>(&value);
  if (bytes == nullptr) throw Mismatch(stored, value);
  if (stored.length_bit && bytes->size() > Length(stored)) {
    throw DoesNotFit(stored, value,
                     L"the column has room for " + std::to_wstring(Length(stored)) + L" bytes");
  }
  return value;
}

void RecordEncoder::PutUngiven(std::uint8_t* record) const {
  std::fill_n(record, layout_.record_length, std::uint8_t{0});
  *record = record_mark::kLive;
  for (const StoredColumn& stored : layout_.columns) {
    PutBlank(stored, record);
    if (stored.null_bit && !stored.automatic) SetFlag(record, *stored.null_bit, true);
  }
}

void RecordEncoder::PutBlank(const StoredColumn& stored, std::uint8_t* record) const {
  std::uint8_t filling = 0;
  switch (stored.column.type) {
    case 'C':
    case 'N':
    case 'F':
    case 'L':
    case 'D':
      filling = ' ';
      break;
    case 'M':
    case 'G':
    case 'P':
    case 'W':
      if (layout_.memo_pointers_are_digits) filling = ' ';
      break;
    default:
      break;
  }
  std::fill_n(record + stored.offset, Length(stored), filling);
  if (stored.length_bit) SetFlag(record, *stored.length_bit, true);
}

void RecordEncoder::Put(std::size_t column, const Value& stored, std::uint8_t* record) const {
  const StoredColumn& place = layout_.columns[column];
  if (place.null_bit) SetFlag(record, *place.null_bit, IsNull(stored));
  if (IsNull(stored)) return PutBlank(place, record);
  std::uint8_t* const cell = record + place.offset;
  const std::span<std::uint8_t> bytes(cell, Length(place));
  switch (place.column.type) {
    case 'C':
      return PutText(Encode(std::get<std::wstring>(stored)), cell);
    case 'V':
      return PutVariable(place, Encode(std::get<std::wstring>(stored)), record);
    case 'Q': {
      const Bytes& content = std::get<Bytes>(stored);
      return PutVariable(place, {content.begin(), content.end()}, record);
    }
    case 'N':
    case 'F': {
      const auto text = FormatStoredNumber(std::get<double>(stored), Length(place),
                                           static_cast<std::size_t>(place.column.decimals));
      return PutAligned(*text, Length(place), cell);
    }
    case 'L':
      *cell = std::get<bool>(stored) ? 'T' : 'F';
      return;
    case 'D':
      return PutText(DateDigits(std::get<Date>(stored)), cell);
    case 'T': {
      const DateTime& moment = std::get<DateTime>(stored);
      PutLittleEndian32(bytes, 0, static_cast<std::uint32_t>(moment.date.julian_day));
      return PutLittleEndian32(bytes, 4, static_cast<std::uint32_t>(moment.milliseconds));
    }
    case 'I':
      return PutLittleEndian32(bytes, 0,
                               static_cast<std::uint32_t>(std::get<std::int32_t>(stored)));
    case 'B':
      return PutLittleEndian64(bytes, 0, std::bit_cast<std::uint64_t>(std::get<double>(stored)));
    case 'Y':
      return PutLittleEndian64(
          bytes, 0, static_cast<std::uint64_t>(std::get<Currency>(stored).ten_thousandths));
    default:
      return;
  }
}

void RecordEncoder::PutVariable(const StoredColumn& stored, const std::string& bytes,
                                std::uint8_t* record) const {
  const std::size_t length = Length(stored);
  std::uint8_t* const cell = record + stored.offset;
  std::fill_n(cell, length, std::uint8_t{0});
  PutText(bytes, cell);
  const bool shorter = bytes.size() < length;
  if (shorter) cell[length - 1] = static_cast<std::uint8_t>(bytes.size());
  SetFlag(record, *stored.length_bit, shorter);
}

void RecordEncoder::SetFlag(std::uint8_t* record, std::size_t bit, bool value) const {
  std::uint8_t& byte = record[layout_.null_flags_offset + bit / 8];
  const auto mask = static_cast<std::uint8_t>(1U << (bit % 8));
  byte = static_cast<std::uint8_t>(value ? byte | mask : byte & ~mask);
}

std::string RecordEncoder::Encode(const std::wstring& text) const {
  return layout_.code_page.Encode(text);
}

bool RecordEncoder::IsMemo(std::size_t column) const {
  return IsMemoType(layout_.columns[column].column.type);
}

std::string RecordEncoder::MemoBytes(const Value& stored) const {
  if (const auto* text = std::get_if<std::wstring>(&stored)) return Encode(*text);
  const Bytes& bytes = std::get<Bytes>(stored);
  return {bytes.begin(), bytes.end()};
}

void RecordEncoder::PutMemoBlock(std::size_t column, std::uint32_t block,
                                 std::uint8_t* record) const {
  const StoredColumn& stored = layout_.columns[column];
  if (stored.null_bit) SetFlag(record, *stored.null_bit, false);
  std::uint8_t* const cell = record + stored.offset;
  if (!layout_.memo_pointers_are_digits) return PutLittleEndian32({cell, Length(stored)}, 0, block);
  PutAligned(block == 0 ? "" : std::to_string(block), Length(stored), cell);
}

}  // namespace tdefault::tables::foxpro
