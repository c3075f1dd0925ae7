#include "model/expression.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace tdefault::tests::model {
namespace {

double NumberOf(const Value& value) {
  if (const auto* whole = std::get_if<std::int32_t>(&value)) return *whole;
  if (const auto* money = std::get_if<Currency>(&value))
    return static_cast<double>(money->ten_thousandths) / 10000.0;
  return std::get<double>(value);
}

bool IsNumber(const Value& value) {
  return std::holds_alternative<std::int32_t>(value) || std::holds_alternative<double>(value) ||
         std::holds_alternative<Currency>(value);
}

wchar_t Upper(wchar_t character) {
  if (character >= L'a' && character <= L'z') return static_cast<wchar_t>(character - 32);
  const bool accented = character >= 0xE0 && character <= 0xFE && character != 0xF7;
  return accented ? static_cast<wchar_t>(character - 32) : character;
}

std::wstring Upper(std::wstring text) {
  std::transform(text.begin(), text.end(), text.begin(), [](wchar_t c) { return Upper(c); });
  return text;
}

int Sign(bool less, bool greater) { return less ? -1 : (greater ? 1 : 0); }

int CompareText(const std::wstring& left, const std::wstring& right, bool folds) {
  for (std::size_t i = 0; i < std::max(left.size(), right.size()); ++i) {
    wchar_t a = i < left.size() ? left[i] : L' ';
    wchar_t b = i < right.size() ? right[i] : L' ';
    if (folds) {
      a = Upper(a);
      b = Upper(b);
    }
    if (a != b) return a < b ? -1 : 1;
  }
  return 0;
}

Value Truth(const Expression& expression, const Row& row, bool folds) {
  const bool conjunction = expression.what == Operator::kAnd;
  bool unknown = false;
  for (const ExpressionPointer& part : expression.parts) {
    const Value value = Evaluate(*part, row, folds);
    if (IsNull(value)) {
      unknown = true;
    } else if (std::get<bool>(value) != conjunction) {
      return !conjunction;
    }
  }
  if (unknown) return Null{};
  return conjunction;
}

Value Comparison(const Expression& expression, const Row& row, bool folds) {
  const Value left = Evaluate(*expression.parts[0], row, folds);
  const Value right = Evaluate(*expression.parts[1], row, folds);
  if (IsNull(left) || IsNull(right)) return Null{};
  const int order = Compare(left, right, folds);
  switch (expression.what) {
    case Operator::kEqual:
      return order == 0;
    case Operator::kUnequal:
      return order != 0;
    case Operator::kLess:
      return order < 0;
    case Operator::kLessOrEqual:
      return order <= 0;
    case Operator::kGreater:
      return order > 0;
    default:
      return order >= 0;
  }
}

Value Sum(const Value& left, const Value& right) {
  if (const auto* text = std::get_if<std::wstring>(&left))
    return *text + std::get<std::wstring>(right);
  if (const auto* date = std::get_if<Date>(&left)) {
    if (date->empty()) return *date;
    return Date{date->julian_day + static_cast<std::int32_t>(NumberOf(right))};
  }
  return NumberOf(left) + NumberOf(right);
}

std::wstring Str(double number, int width) {
  std::array<char, 64> digits{};
  std::snprintf(digits.data(), digits.size(), "%*.0f", width, number);
  return Widened(digits.data());
}

std::wstring Dtos(Date date) {
  if (date.empty()) return std::wstring(8, L' ');
  const CalendarDay day = ToCalendarDay(date);
  std::array<char, 64> digits{};
  std::snprintf(digits.data(), digits.size(), "%04d%02d%02d", day.year, day.month, day.day);
  return Widened(digits.data());
}

bool IsBlank(const Value& value) {
  if (const auto* text = std::get_if<std::wstring>(&value))
    return text->find_first_not_of(L" \t\r\n") == std::wstring::npos;
  if (const auto* date = std::get_if<Date>(&value)) return date->empty();
  if (const auto* moment = std::get_if<DateTime>(&value)) return moment->empty();
  if (const auto* truth = std::get_if<bool>(&value)) return !*truth;
  return NumberOf(value) == 0;
}

Value OfOne(const Expression& expression, const Value& value) {
  switch (expression.what) {
    case Operator::kIsNull:
      return IsNull(value);
    case Operator::kIsNotNull:
      return !IsNull(value);
    case Operator::kEmpty:
      return !IsNull(value) && IsBlank(value);
    default:
      break;
  }
  if (IsNull(value)) return value;
  switch (expression.what) {
    case Operator::kNot:
      return !std::get<bool>(value);
    case Operator::kUpper:
      return Upper(std::get<std::wstring>(value));
    case Operator::kLeft:
      return std::get<std::wstring>(value).substr(0, static_cast<std::size_t>(expression.count));
    case Operator::kStr:
      return Str(NumberOf(value), expression.count);
    default:
      return Dtos(std::get<Date>(value));
  }
}

std::wstring Quoted(const std::wstring& text, wchar_t mark) {
  std::wstring quoted(1, mark);
  for (const wchar_t character : text) {
    if (character == mark) quoted += mark;
    quoted += character;
  }
  return quoted + mark;
}

// Characters that a literal cannot show are joined to it as CHR(n).
std::wstring QuotedStatement(const std::wstring& text) {
  std::wstring joined;
  std::wstring run;
  const auto add = [&joined](const std::wstring& part) {
    joined += (joined.empty() ? L"" : L" + ") + part;
  };
  for (const wchar_t character : text) {
    if (character >= L' ') {
      run += character;
      continue;
    }
    if (!run.empty()) add(Quoted(run, L'\''));
    run.clear();
    add(L"CHR(" + std::to_wstring(static_cast<int>(character)) + L")");
  }
  if (!run.empty() || joined.empty()) add(Quoted(run, L'\''));
  return joined;
}

std::wstring DateText(const CalendarDay& day) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02d-%02d", day.year, day.month, day.day);
  return Widened(text.data());
}

std::wstring TimeText(std::int32_t milliseconds) {
  const std::int32_t seconds = milliseconds / 1000;
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%02d:%02d:%02d", seconds / 3600, seconds / 60 % 60,
                seconds % 60);
  return Widened(text.data());
}

std::wstring NumberText(double number) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.17g", number);
  for (int digits = 1; digits < 17; ++digits) {
    std::array<char, 64> shorter{};
    std::snprintf(shorter.data(), shorter.size(), "%.*g", digits, number);
    if (std::strtod(shorter.data(), nullptr) != number) continue;
    text = shorter;
    break;
  }
  return Widened(text.data());
}

std::wstring MoneyText(Currency money) {
  std::array<char, 64> text{};
  const std::int64_t amount = money.ten_thousandths;
  const std::int64_t size = amount < 0 ? -amount : amount;
  std::snprintf(text.data(), text.size(), "%s%lld.%04lld", amount < 0 ? "-" : "",
                static_cast<long long>(size / 10000), static_cast<long long>(size % 10000));
  return Widened(text.data());
}

const wchar_t* Sign(Operator what) {
  switch (what) {
    case Operator::kEqual:
      return L"=";
    case Operator::kUnequal:
      return L"<>";
    case Operator::kLess:
      return L"<";
    case Operator::kLessOrEqual:
      return L"<=";
    case Operator::kGreater:
      return L">";
    case Operator::kGreaterOrEqual:
      return L">=";
    default:
      return L"+";
  }
}

// Writes an expression, with parentheses around everything that is joined.
class Writer {
 public:
  Writer(const std::vector<std::string>& columns, Spelling spelling)
      : columns_(columns), tag_(spelling == Spelling::kTag) {}

  [[nodiscard]] std::wstring Text(const Expression& expression, bool outermost) const {
    switch (expression.what) {
      case Operator::kColumn:
        return Name(expression.column);
      case Operator::kLiteral:
        if (!expression.text.empty()) return Widened(expression.text);
        return LiteralText(expression.literal, tag_ ? Spelling::kTag : Spelling::kStatement);
      case Operator::kAnd:
        return Joined(expression, tag_ ? L".AND." : L" AND ", outermost);
      case Operator::kOr:
        return Joined(expression, tag_ ? L".OR." : L" OR ", outermost);
      case Operator::kNot:
        return (tag_ ? L".NOT." : L"NOT ") + Text(*expression.parts[0], false);
      case Operator::kIsNull:
        return Text(*expression.parts[0], false) + L" IS NULL";
      case Operator::kIsNotNull:
        return Text(*expression.parts[0], false) + L" IS NOT NULL";
      case Operator::kUpper:
        return Call(L"UPPER", expression);
      case Operator::kLeft:
        return Call(L"LEFT", expression);
      case Operator::kStr:
        return Call(L"STR", expression);
      case Operator::kDtos:
        return Call(L"DTOS", expression);
      case Operator::kEmpty:
        return Call(L"EMPTY", expression);
      case Operator::kDeleted:
        return L"DELETED()";
      default:
        return Joined(expression, Spaced(Sign(expression.what)), outermost);
    }
  }

 private:
  [[nodiscard]] std::wstring Spaced(const std::wstring& sign) const {
    return tag_ ? sign : L" " + sign + L" ";
  }

  [[nodiscard]] std::wstring Name(std::size_t column) const {
    std::string name = columns_[column];
    if (tag_) {
      std::transform(name.begin(), name.end(), name.begin(),
                     [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    }
    return Widened(name);
  }

  [[nodiscard]] std::wstring Joined(const Expression& expression, const std::wstring& sign,
                                    bool outermost) const {
    std::wstring text;
    for (const ExpressionPointer& part : expression.parts)
      text += (text.empty() ? L"" : sign) + Text(*part, false);
    return outermost ? text : L"(" + text + L")";
  }

  [[nodiscard]] std::wstring Call(const std::wstring& name, const Expression& expression) const {
    std::wstring text = name + L"(" + Text(*expression.parts[0], true);
    if (expression.count != 0) text += L"," + std::to_wstring(expression.count);
    return text + L")";
  }

  const std::vector<std::string>& columns_;
  bool tag_;
};

}  // namespace

ExpressionPointer ColumnOf(std::size_t column) {
  return std::make_shared<Expression>(Expression{.what = Operator::kColumn, .column = column});
}

ExpressionPointer Literal(Value value, std::string text) {
  return std::make_shared<Expression>(
      Expression{.what = Operator::kLiteral, .literal = std::move(value), .text = std::move(text)});
}

ExpressionPointer Of(Operator what, std::vector<ExpressionPointer> parts, int count) {
  return std::make_shared<Expression>(
      Expression{.what = what, .count = count, .parts = std::move(parts)});
}

int Compare(const Value& left, const Value& right, bool folds) {
  if (const auto* text = std::get_if<std::wstring>(&left))
    return CompareText(*text, std::get<std::wstring>(right), folds);
  if (IsNumber(left)) {
    const double a = NumberOf(left);
    const double b = NumberOf(right);
    return Sign(a<b, a> b);
  }
  if (left.index() != right.index()) throw std::logic_error("the model compares unlike values");
  if (const auto* date = std::get_if<Date>(&left))
    return Sign(*date<std::get<Date>(right), *date> std::get<Date>(right));
  if (const auto* moment = std::get_if<DateTime>(&left))
    return Sign(*moment<std::get<DateTime>(right), *moment> std::get<DateTime>(right));
  const bool a = std::get<bool>(left);
  const bool b = std::get<bool>(right);
  return Sign(!a && b, a && !b);
}

Value Evaluate(const Expression& expression, const Row& row, bool folds) {
  switch (expression.what) {
    case Operator::kColumn:
      return row.values[expression.column];
    case Operator::kLiteral:
      return expression.literal;
    case Operator::kDeleted:
      return row.deleted;
    case Operator::kAnd:
    case Operator::kOr:
      return Truth(expression, row, folds);
    case Operator::kPlus: {
      const Value left = Evaluate(*expression.parts[0], row, folds);
      const Value right = Evaluate(*expression.parts[1], row, folds);
      if (IsNull(left) || IsNull(right)) return Null{};
      return Sum(left, right);
    }
    case Operator::kEqual:
    case Operator::kUnequal:
    case Operator::kLess:
    case Operator::kLessOrEqual:
    case Operator::kGreater:
    case Operator::kGreaterOrEqual:
      return Comparison(expression, row, folds);
    default:
      return OfOne(expression, Evaluate(*expression.parts[0], row, folds));
  }
}

bool IsTrue(const Value& value) { return !IsNull(value) && std::get<bool>(value); }

std::wstring Widened(const std::string& bytes) {
  std::wstring text;
  for (const char byte : bytes)
    text.push_back(static_cast<wchar_t>(static_cast<unsigned char>(byte)));
  return text;
}

std::wstring ToText(const Expression& expression, const std::vector<std::string>& columns,
                    Spelling spelling) {
  return Writer(columns, spelling).Text(expression, true);
}

std::wstring LiteralText(const Value& value, Spelling spelling) {
  if (IsNull(value)) return L"NULL";
  if (const auto* text = std::get_if<std::wstring>(&value))
    return spelling == Spelling::kTag ? Quoted(*text, L'"') : QuotedStatement(*text);
  if (const auto* truth = std::get_if<bool>(&value)) return *truth ? L".T." : L".F.";
  if (const auto* whole = std::get_if<std::int32_t>(&value)) return std::to_wstring(*whole);
  if (const auto* number = std::get_if<double>(&value)) return NumberText(*number);
  if (const auto* money = std::get_if<Currency>(&value)) return MoneyText(*money);
  if (const auto* date = std::get_if<Date>(&value))
    return date->empty() ? L"{}" : L"{^" + DateText(ToCalendarDay(*date)) + L"}";
  if (const auto* moment = std::get_if<DateTime>(&value)) {
    if (moment->empty()) return L"{}";
    return L"{^" + DateText(ToCalendarDay(moment->date)) + L" " + TimeText(moment->milliseconds) +
           L"}";
  }
  throw std::logic_error("bytes have no literal");
}

}  // namespace tdefault::tests::model
