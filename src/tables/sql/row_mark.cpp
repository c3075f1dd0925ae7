#include "tables/sql/row_mark.h"

#include <algorithm>
#include <bit>
#include <utility>
#include <variant>

#include "base/value.h"

namespace tdefault::tables::sql {
namespace {

// FNV-1a over numbers instead of bytes.
class Hash {
 public:
  void Add(std::uint64_t number) {
    constexpr std::uint64_t kPrime = 1099511628211U;
    hash_ = (hash_ ^ number) * kPrime;
    hash_ ^= hash_ >> 32U;  // Multiplication alone carries no bit downwards.
  }

  void operator()(const Null&) { Add(0); }
  void operator()(bool flag) { Add(flag ? 1 : 0); }
  void operator()(std::int32_t number) { Add(static_cast<std::uint32_t>(number)); }
  void operator()(double number) { Add(std::bit_cast<std::uint64_t>(number)); }
  void operator()(const Currency& number) {
    Add(static_cast<std::uint64_t>(number.ten_thousandths));
  }
  void operator()(const Date& date) { (*this)(date.julian_day); }
  void operator()(const DateTime& time) {
    (*this)(time.date);
    (*this)(time.milliseconds);
  }
  void operator()(const std::wstring& text) {
    Add(text.size());
    for (const wchar_t character : text) Add(static_cast<std::uint32_t>(character));
  }
  void operator()(const Bytes& bytes) {
    Add(bytes.size());
    for (const std::uint8_t byte : bytes) Add(byte);
  }

  [[nodiscard]] std::uint64_t value() const { return hash_; }

 private:
  std::uint64_t hash_ = 14695981039346656037U;
};

}  // namespace

RowMarker::RowMarker(std::vector<std::size_t> columns) : columns_(std::move(columns)) {
  std::sort(columns_.begin(), columns_.end());
  columns_.erase(std::unique(columns_.begin(), columns_.end()), columns_.end());
}

RowMark RowMarker::Mark(const RowCursor& row) const {
  Hash hash;
  for (const std::size_t column : columns_) {
    const Value value = row.Read(column);
    hash.Add(value.index());
    std::visit([&hash](const auto& held) { hash(held); }, value);
  }
  return {row.record_number(), hash.value()};
}

}  // namespace tdefault::tables::sql
