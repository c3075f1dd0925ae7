// Any text as the criteria of Filter and Find: it ends with rows that meet it, or with an error
// that names a place in the text. A criterion made of equalities has to find the same rows by its
// keys as row by row.
//
// The input: the criteria in UTF-8.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "base/error.h"
#include "base/text.h"
#include "sql/memory_tables.h"
#include "tables/foxpro/criteria.h"

namespace {

using namespace tdefault;
using tables::Column;
using tables::foxpro::Criteria;
using tests::MakeColumn;

constexpr std::size_t kLongest = 20000;

void Require(bool condition) {
  if (!condition) std::abort();
}

class Row final : public tables::foxpro::CriteriaRow {
 public:
  explicit Row(std::vector<Value> values) : values_(std::move(values)) {}
  [[nodiscard]] Value Read(std::size_t column) const override { return values_.at(column); }

 private:
  std::vector<Value> values_;
};

std::vector<Row> MakeRows() {
  std::vector<Row> rows;
  rows.emplace_back(std::vector<Value>{1, std::wstring(L"abc   "), 1.5, true, Date{2451976},
                                       DateTime{Date{2451976}, 1000}, std::wstring(L"memo"),
                                       Bytes{1}, Currency{12345}, std::wstring(L"x ")});
  rows.emplace_back(std::vector<Value>{-2, std::wstring(L"'O''*  "), -2.0, false, Date{},
                                       DateTime{}, std::wstring(L"*%#"), Bytes{}, Currency{-1},
                                       std::wstring()});
  rows.emplace_back(std::vector<Value>(10, Null{}));
  return rows;
}

std::vector<Column> MakeColumns() {
  return {MakeColumn(L"I", 'I'),       MakeColumn(L"C", 'C', 6), MakeColumn(L"N", 'N', 6, 2),
          MakeColumn(L"L", 'L'),       MakeColumn(L"D", 'D'),    MakeColumn(L"S", 'T'),
          MakeColumn(L"Like", 'M'),    MakeColumn(L"G", 'G'),    MakeColumn(L"Y", 'Y'),
          MakeColumn(L"Two W", 'V', 9)};
}

bool MeetsByKeys(const std::vector<Criteria::Equality>& equalities, const Row& row,
                 const std::vector<Column>& columns) {
  for (const Criteria::Equality& equality : equalities) {
    const Value value = row.Read(equality.column);
    const auto* text = std::get_if<std::wstring>(&value);
    if (text == nullptr || Criteria::KeyOf(*text, columns[equality.column]) != equality.key)
      return false;
  }
  return true;
}

void CheckError(const Error& error, std::wstring_view purpose, std::size_t length) {
  Require(error.number() == error_number::kInvalidArguments);
  const std::wstring beginning = std::wstring(purpose) + L" criteria, character ";
  const std::size_t place = error.description().find(beginning);
  Require(place != std::wstring::npos);
  const std::size_t position = std::stoul(error.description().substr(place + beginning.size()));
  Require(position >= 1 && position <= length + 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kLongest) return 0;
  static const std::vector<Column> columns = MakeColumns();
  static const std::vector<Row> rows = MakeRows();
  const std::wstring text = FromUtf8(std::string(data, data + size));
  try {
    const Criteria filter = Criteria::ParseFilter(text, columns);
    for (const Row& row : rows) {
      const bool meets = filter.Accepts(row);
      if (filter.equalities()) Require(meets == MeetsByKeys(*filter.equalities(), row, columns));
    }
  } catch (const Error& error) {
    CheckError(error, L"Filter", text.size());
  }
  try {
    const Criteria find = Criteria::ParseFind(text, columns);
    const Criteria filter = Criteria::ParseFilter(text, columns);
    for (const Row& row : rows) Require(find.Accepts(row) == filter.Accepts(row));
  } catch (const Error& error) {
    CheckError(error, L"Find", text.size());
  }
  return 0;
}
