#include "tables/foxpro/row_snapshot.h"

#include <bit>
#include <string_view>

#include "base/text.h"

namespace tdefault::tables::foxpro {

void RowSnapshot::Add(const sql::Rows& rows) {
  for (std::size_t column = 0; column < columns_.size(); ++column) {
    try {
      cells_.push_back(Keep(rows.Read(column), columns_[column]));
    } catch (const Error& error) {
      cells_.push_back({errors_.size(), 0, Form::kError});
      errors_.push_back(error);
    }
  }
  ++size_;
}

void RowSnapshot::Replace(std::size_t row, std::size_t column, const Value& value) {
  cells_[row * columns_.size() + column] = Keep(value, columns_[column]);
}

RowSnapshot::Cell RowSnapshot::KeepText(std::wstring_view text) {
  const Cell cell{texts_.size(), static_cast<std::uint32_t>(text.size()), Form::kText};
  texts_ += text;
  return cell;
}

RowSnapshot::Cell RowSnapshot::Keep(const Value& value, const Column& column) {
  struct Visitor {
    RowSnapshot& snapshot;
    const Column& column;

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
      const bool padded =
          column.fixed_width && text.size() == static_cast<std::size_t>(column.length);
      return snapshot.KeepText(padded ? TrimTrailingBlanks(text) : std::wstring_view(text));
    }
    Cell operator()(const Date& date) const {
      return {static_cast<std::uint32_t>(date.julian_day), 0, Form::kDate};
    }
    Cell operator()(const DateTime& time) const {
      return {static_cast<std::uint32_t>(time.date.julian_day),
              static_cast<std::uint32_t>(time.milliseconds), Form::kDateTime};
    }
    Cell operator()(const Bytes& bytes) const {
      const Cell cell{snapshot.bytes_.size(), static_cast<std::uint32_t>(bytes.size()),
                      Form::kBytes};
      snapshot.bytes_.insert(snapshot.bytes_.end(), bytes.begin(), bytes.end());
      return cell;
    }
  };
  return std::visit(Visitor{*this, column}, value);
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
      const auto first = bytes_.begin() + static_cast<std::ptrdiff_t>(cell.bits);
      return Bytes(first, first + static_cast<std::ptrdiff_t>(cell.length));
    }
    case Form::kText:
      break;
  }
  const Column& described = columns_[column];
  const auto width = static_cast<std::size_t>(described.length);
  std::wstring text;
  if (described.fixed_width && cell.length < width) text.reserve(width);
  text.assign(texts_, cell.bits, cell.length);
  if (described.fixed_width && cell.length < width) text.resize(width, L' ');
  return text;
}

}  // namespace tdefault::tables::foxpro
