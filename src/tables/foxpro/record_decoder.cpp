#include "tables/foxpro/record_decoder.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <span>
#include <system_error>
#include <utility>

#include "tables/foxpro/table_format.h"

namespace tdefault::tables::foxpro {
namespace {

bool IsDigit(char character) { return character >= '0' && character <= '9'; }

// FoxPro pads with blanks; other programs leave zero bytes.
bool IsPadding(char character) { return character == ' ' || character == '\0'; }

std::string_view TrimPadding(std::string_view bytes) {
  while (!bytes.empty() && IsPadding(bytes.front())) bytes.remove_prefix(1);
  while (!bytes.empty() && IsPadding(bytes.back())) bytes.remove_suffix(1);
  return bytes;
}

std::span<const std::uint8_t> Unsigned(std::string_view bytes) {
  return {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
}

Bytes ToBytes(std::string_view bytes) { return {bytes.begin(), bytes.end()}; }

// Digits with at most one point and no exponent, up to 15 digits: whole number and power of ten are
// exact in a double, so their quotient is the nearest double. Absent for any other text.
std::optional<double> ParsePlainNumber(std::string_view digits) {
  constexpr std::size_t kExactDigits = 15;
  constexpr std::array<double, kExactDigits + 1> kPowers = {
      1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  if (digits.size() > kExactDigits + 1) return std::nullopt;
  std::int64_t whole = 0;
  std::size_t count = 0;
  std::size_t decimals = 0;
  bool point = false;
  for (const char character : digits) {
    if (IsDigit(character)) {
      whole = whole * 10 + (character - '0');
      ++count;
      if (point) ++decimals;
    } else if (character == '.' && !point) {
      point = true;
    } else {
      return std::nullopt;
    }
  }
  if (count == 0 || count > kExactDigits) return std::nullopt;
  return static_cast<double>(whole) / kPowers[decimals];
}

// Longer numbers, and those with the exponent that FoxPro writes when nothing else fits.
std::optional<double> ParseLongNumber(std::string_view digits) {
  const bool number = IsDigit(digits.front()) || (digits.size() > 1 && digits.front() == '.');
  if (!number) return std::nullopt;
  double value = 0;
  const char* const last = digits.data() + digits.size();
  const auto [end, failure] = std::from_chars(digits.data(), last, value);
  if (failure != std::errc() || end != last) return std::nullopt;
  return value;
}

std::optional<bool> ParseLogical(char stored) {
  switch (stored) {
    case 'T':
    case 't':
    case 'Y':
    case 'y':
      return true;
    case 'F':
    case 'f':
    case 'N':
    case 'n':
    case ' ':
    case '?':
    case '\0':
      return false;
    default:
      return std::nullopt;
  }
}

// FoxPro keeps whole seconds, computed through a fraction of a day: what it stores may be a
// millisecond off. The last millisecond of the last day stays, for want of a day behind it.
std::optional<DateTime> ParseStoredDateTime(std::string_view bytes) {
  DateTime stored{{static_cast<std::int32_t>(LittleEndian32(Unsigned(bytes), 0))},
                  static_cast<std::int32_t>(LittleEndian32(Unsigned(bytes), 4))};
  if (stored.date.empty() && stored.milliseconds == 0) return stored;
  if (stored.date < kFirstDay || stored.date > kLastDay) return std::nullopt;
  if (stored.milliseconds < 0 || stored.milliseconds >= kMillisecondsPerDay) return std::nullopt;
  const std::int32_t part = stored.milliseconds % kMillisecondsPerSecond;
  if (part == 1) --stored.milliseconds;
  if (part == kMillisecondsPerSecond - 1) ++stored.milliseconds;
  if (stored.milliseconds < kMillisecondsPerDay) return stored;
  if (stored.date == kLastDay) return DateTime{kLastDay, kMillisecondsPerDay - 1};
  return DateTime{{stored.date.julian_day + 1}, 0};
}

std::optional<double> ParseStoredDouble(std::string_view bytes) {
  const auto number = std::bit_cast<double>(LittleEndian64(Unsigned(bytes), 0));
  if (!std::isfinite(number)) return std::nullopt;
  return number;
}

// FoxPro fills a numeric column with asterisks where the number does not fit it.
bool IsOverflow(std::string_view bytes) {
  return bytes.find_first_not_of('*') == std::string_view::npos;
}

// The block number of a memo value; 0 when the column is empty.
std::optional<std::uint32_t> ParseMemoPointer(std::string_view bytes, bool digits) {
  if (!digits) return LittleEndian32(Unsigned(bytes), 0);
  bytes = TrimPadding(bytes);
  std::uint32_t block = 0;
  if (bytes.empty()) return block;
  const char* const last = bytes.data() + bytes.size();
  const auto [end, failure] = std::from_chars(bytes.data(), last, block);
  if (failure != std::errc() || end != last) return std::nullopt;
  return block;
}

// The value, or the error that the bytes are none.
template <class T>
Value Stored(std::optional<T> value, const ValuePlace& place, const wchar_t* what) {
  if (!value) throw DamagedValue(place, std::wstring(L"the stored bytes are no ") + what);
  return *std::move(value);
}

}  // namespace

std::optional<double> ParseStoredNumber(std::string_view text) {
  text = TrimPadding(text);
  if (text.empty()) return 0.0;
  const bool negative = text.front() == '-';
  if (negative || text.front() == '+') text.remove_prefix(1);
  if (text.empty()) return std::nullopt;
  std::optional<double> number = ParsePlainNumber(text);
  if (!number) number = ParseLongNumber(text);
  if (number && negative && *number != 0.0) return -*number;
  return number;
}

std::optional<Date> ParseStoredDate(std::string_view text) {
  const char first = text.empty() ? ' ' : text.front();
  if (IsPadding(first) || first == '0') {
    const bool blank = std::all_of(text.begin(), text.end(), [](char character) {
      return IsPadding(character) || character == '0';
    });
    if (blank) return Date{};
  }
  constexpr std::size_t kDigits = 8;
  if (text.size() != kDigits || !std::all_of(text.begin(), text.end(), IsDigit))
    return std::nullopt;
  const auto number = [text](std::size_t from, std::size_t count) {
    std::int32_t value = 0;
    for (std::size_t i = from; i < from + count; ++i) value = value * 10 + (text[i] - '0');
    return value;
  };
  return MakeDate(number(0, 4), number(4, 2), number(6, 2));
}

RecordDecoder::RecordDecoder(const TableLayout& layout, const TableIdentity& table, MemoFile* memo)
    : layout_(layout), table_(table), memo_(memo) {}

bool RecordDecoder::Flag(const std::uint8_t* record, std::size_t bit) const {
  const std::uint8_t byte = record[layout_.null_flags_offset + bit / 8];
  return (byte >> (bit % 8) & 1U) != 0;
}

std::string_view RecordDecoder::VariableLength(std::string_view bytes,
                                               const ValuePlace& place) const {
  const auto length = static_cast<std::size_t>(static_cast<unsigned char>(bytes.back()));
  if (length >= bytes.size()) {
    throw DamagedValue(
        place, L"the stored length " + std::to_wstring(length) + L" is more than the column holds");
  }
  return bytes.substr(0, length);
}

std::uint32_t RecordDecoder::MemoBlock(std::size_t column, const std::uint8_t* record,
                                       std::uint32_t record_number) const {
  const StoredColumn& stored = layout_.columns[column];
  if (stored.null_bit && Flag(record, *stored.null_bit)) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(record + stored.offset),
                               static_cast<std::size_t>(stored.column.length));
  const auto block = ParseMemoPointer(bytes, layout_.memo_pointers_are_digits);
  if (block) return *block;
  throw DamagedValue({table_, record_number, stored.column.name},
                     L"the stored bytes are no block number of a memo file");
}

std::string_view RecordDecoder::MemoData(std::uint32_t block, const ValuePlace& place) const {
  if (block == 0) return {};
  if (memo_ == nullptr) {
    throw RefusedValue(place, L"the value stands in a memo file of dBASE (.dbt), which is not read",
                       L"Copy the table to a new table with FoxPro and use that one.");
  }
  return memo_->Read(block, place);
}

std::optional<std::string_view> RecordDecoder::StoredText(std::size_t column,
                                                          const std::uint8_t* record,
                                                          std::uint32_t record_number) const {
  const StoredColumn& stored = layout_.columns[column];
  if (stored.null_bit && Flag(record, *stored.null_bit)) return std::nullopt;
  if (stored.column.kind == ColumnKind::kMemo) {
    const ValuePlace place{table_, record_number, stored.column.name};
    return MemoData(MemoBlock(column, record, record_number), place);
  }
  if (!stored.column.fixed_width || stored.column.kind != ColumnKind::kText) return std::nullopt;
  return std::string_view(reinterpret_cast<const char*>(record + stored.offset),
                          static_cast<std::size_t>(stored.column.length));
}

Value RecordDecoder::Decode(std::size_t column, const std::uint8_t* record,
                            std::uint32_t record_number) const {
  const StoredColumn& stored = layout_.columns[column];
  if (stored.null_bit && Flag(record, *stored.null_bit)) return Null{};
  const ValuePlace place{table_, record_number, stored.column.name};
  std::string_view bytes(reinterpret_cast<const char*>(record + stored.offset),
                         static_cast<std::size_t>(stored.column.length));
  if (stored.length_bit && Flag(record, *stored.length_bit)) bytes = VariableLength(bytes, place);
  switch (stored.column.type) {
    case 'N':
    case 'F':
      if (IsOverflow(bytes)) return Null{};
      return Stored(ParseStoredNumber(bytes), place, L"number");
    case 'L':
      return Stored(ParseLogical(bytes.front()), place, L"logical value");
    case 'D':
      return Stored(ParseStoredDate(bytes), place, L"date");
    case 'T':
      return Stored(ParseStoredDateTime(bytes), place, L"date and time");
    case 'I':
      return static_cast<std::int32_t>(LittleEndian32(Unsigned(bytes), 0));
    case 'B':
      return Stored(ParseStoredDouble(bytes), place, L"number");
    case 'Y':
      return Currency{static_cast<std::int64_t>(LittleEndian64(Unsigned(bytes), 0))};
    case 'M':
    case 'G':
    case 'P':
    case 'W':
      bytes = MemoData(MemoBlock(column, record, record_number), place);
      if (stored.column.kind == ColumnKind::kBinary) return ToBytes(bytes);
      return layout_.code_page.Decode(bytes);
    case 'Q':
      return ToBytes(bytes);
    default:
      return layout_.code_page.Decode(bytes);
  }
}

}  // namespace tdefault::tables::foxpro
