#include "tables/foxpro/row_snapshot.h"

#include <bit>
#include <string_view>

namespace tdefault::tables::foxpro {

void RowSnapshot::Add(const sql::Rows& rows) {
  added_.clear();
  for (std::size_t column = 0; column < columns_.size(); ++column) {
    try {
      cells_.push_back(Keep(rows, column, added_));
    } catch (const Error& error) {
      cells_.push_back({errors_.size(), 0, Form::kError});
      errors_.push_back(error);
    }
  }
  bytes_.emplace_back(added_);
}

void RowSnapshot::Replace(std::size_t row, std::size_t column, const Value& value) {
  cells_[row * columns_.size() + column] = Keep(value, bytes_[row]);
}

RowSnapshot::Cell RowSnapshot::Keep(const sql::Rows& rows, std::size_t column, std::string& bytes) {
  if (columns_[column].code_page) {
    if (const auto stored = rows.StoredText(column)) {
      const Cell cell{bytes.size(), static_cast<std::uint32_t>(stored->size()), Form::kStoredText};
      bytes += *stored;
      return cell;
    }
  }
  return Keep(rows.Read(column), bytes);
}

RowSnapshot::Cell RowSnapshot::Keep(const Value& value, std::string& bytes) {
  struct Visitor {
    RowSnapshot& snapshot;
    std::string& bytes;

    Cell operator()(const Null&) const { return {}; }
    Cell operator()(bool flag) const { return {flag ? 1U : 0U, 0, Form::kLogical}; }
    Cell operator()(std::int32_t number) const {
      return {static_cast<std::uint32_t>(number), 0, Form::kInteger};
    }
    Cell operator()(double number) const {
      return {std::bit_cast<std::uint64_t>(number), 0, Form::kNumber};
    }
    Cell operator()(const Currency& number) const {
      return {static_cast<std::uint64_t>(number.ten_thousandths), 0, Form::kCurrency};
    }
    Cell operator()(const std::wstring& text) const {
      const Cell cell{snapshot.texts_.size(), static_cast<std::uint32_t>(text.size()), Form::kText};
      snapshot.texts_ += text;
      return cell;
    }
    Cell operator()(const Date& date) const {
      return {static_cast<std::uint32_t>(date.julian_day), 0, Form::kDate};
    }
    Cell operator()(const DateTime& time) const {
      return {static_cast<std::uint32_t>(time.date.julian_day),
              static_cast<std::uint32_t>(time.milliseconds), Form::kDateTime};
    }
    Cell operator()(const Bytes& value) const {
      const Cell cell{bytes.size(), static_cast<std::uint32_t>(value.size()), Form::kBytes};
      bytes.append(value.begin(), value.end());
      return cell;
    }
  };
  return std::visit(Visitor{*this, bytes}, value);
}

Value RowSnapshot::Read(std::size_t row, std::size_t column) const {
  const Cell& cell = cells_[row * columns_.size() + column];
  const auto number = static_cast<std::int32_t>(static_cast<std::uint32_t>(cell.bits));
  switch (cell.form) {
    case Form::kNull:
      return Null{};
    case Form::kError:
      throw Error(errors_[cell.bits]);
    case Form::kLogical:
      return cell.bits != 0;
    case Form::kInteger:
      return number;
    case Form::kNumber:
      return std::bit_cast<double>(cell.bits);
    case Form::kCurrency:
      return Currency{static_cast<std::int64_t>(cell.bits)};
    case Form::kDate:
      return Date{number};
    case Form::kDateTime:
      return DateTime{Date{number}, static_cast<std::int32_t>(cell.length)};
    case Form::kBytes: {
      const auto first = bytes_[row].begin() + static_cast<std::ptrdiff_t>(cell.bits);
      return Bytes(first, first + static_cast<std::ptrdiff_t>(cell.length));
    }
    case Form::kStoredText:
      return columns_[column].code_page->Decode(
          std::string_view(bytes_[row]).substr(cell.bits, cell.length));
    case Form::kText:
      break;
  }
  return texts_.substr(cell.bits, cell.length);
}

}  // namespace tdefault::tables::foxpro
