#include "model/dump.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <vector>

namespace tdefault::tests::model {
namespace {

std::string Escaped(const std::wstring& text) {
  std::string escaped;
  for (const wchar_t character : text) {
    if (character >= L' ' && character <= L'~' && character != L'\\') {
      escaped.push_back(static_cast<char>(character));
      continue;
    }
    std::array<char, 16> code{};
    std::snprintf(code.data(), code.size(), "\\u%04X", static_cast<unsigned>(character));
    escaped += code.data();
  }
  return escaped;
}

std::string Digits(const char* pattern, int first, int second, int third) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), pattern, first, second, third);
  return text.data();
}

std::string ShowDay(Date date) {
  if (date.empty()) return "empty";
  const CalendarDay day = ToCalendarDay(date);
  return Digits("%04d-%02d-%02d", day.year, day.month, day.day);
}

std::string ShowBytes(const Bytes& bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) text += Digits("%02x", byte, 0, 0);
  return text.empty() ? "none" : text;
}

std::string ShowNumber(double number) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%016llx",
                static_cast<unsigned long long>(std::bit_cast<std::uint64_t>(number)));
  return text.data();
}

}  // namespace

std::string Show(const Value& value) {
  if (IsNull(value)) return "null";
  if (const auto* truth = std::get_if<bool>(&value))
    return *truth ? "logical true" : "logical false";
  if (const auto* whole = std::get_if<std::int32_t>(&value))
    return "integer " + std::to_string(*whole);
  if (const auto* number = std::get_if<double>(&value)) return "number " + ShowNumber(*number);
  if (const auto* money = std::get_if<Currency>(&value))
    return "currency " + std::to_string(money->ten_thousandths);
  if (const auto* text = std::get_if<std::wstring>(&value)) return "text " + Escaped(*text) + "|";
  if (const auto* date = std::get_if<Date>(&value)) return "date " + ShowDay(*date);
  if (const auto* moment = std::get_if<DateTime>(&value)) {
    if (moment->empty()) return "time empty";
    const int seconds = moment->milliseconds / 1000;
    return "time " + ShowDay(moment->date) +
           Digits(" %02d:%02d:%02d", seconds / 3600, seconds / 60 % 60, seconds % 60);
  }
  return "bytes " + ShowBytes(std::get<Bytes>(value));
}

std::string DumpRows(const std::string& name, const ModelTable& table) {
  std::string lines;
  for (std::size_t i = 0; i < table.rows().size(); ++i) {
    const Row& row = table.rows()[i];
    if (row.deleted) continue;
    for (std::size_t column = 0; column < row.values.size(); ++column) {
      lines += name + " " + std::to_string(i + 1) + " " + table.names()[column] + " " +
               Show(row.values[column]) + "\n";
    }
  }
  return lines;
}

std::string DumpOrder(const ModelTable& table) {
  std::string lines;
  for (const ModelTag& tag : table.tags()) {
    if (tag.spec.unique || tag.spec.general) continue;
    std::vector<std::pair<Value, std::size_t>> keys;
    for (std::size_t i = 0; i < table.rows().size(); ++i) {
      const Row& row = table.rows()[i];
      if (tag.condition && !IsTrue(Evaluate(*tag.condition, row, false))) continue;
      keys.emplace_back(Evaluate(*tag.key, row, false), i + 1);
    }
    std::stable_sort(keys.begin(), keys.end(), [](const auto& left, const auto& right) {
      if (IsNull(left.first) || IsNull(right.first))
        return IsNull(left.first) && !IsNull(right.first);
      return Compare(left.first, right.first, false) < 0;
    });
    lines += tag.spec.name;
    for (const auto& [key, record] : keys) lines += " " + std::to_string(record);
    lines += "\n";
  }
  return lines;
}

}  // namespace tdefault::tests::model
