#include "tables/foxpro/criteria.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "tables/foxpro/field_values.h"

namespace tdefault::tables::foxpro {
namespace {

// Parentheses within parentheses; every level is a level of recursion while parsing.
constexpr std::size_t kDeepestCriteria = 100;
constexpr std::wstring_view kWildcards = L"*%";

bool IsNameCharacter(wchar_t character) {
  const wchar_t upper = ToUpper(character);
  return (upper >= L'A' && upper <= L'Z') || (upper >= L'0' && upper <= L'9') ||
         character == L'_' || static_cast<std::uint32_t>(character) >= 0x80;
}

bool IsWhite(wchar_t character) { return character == L' ' || character == L'\t'; }

// Behind the whole of text shorter than the place, a pattern's or value's blanks do not count.
std::wstring_view Significant(std::wstring_view text, bool fixed_width) {
  return fixed_width ? TrimTrailingBlanks(text) : text;
}

template <class Type>
int Order(const Type& left, const Type& right) {
  if (left < right) return -1;
  return right < left ? 1 : 0;
}

int OrderOfMoments(const DateTime& left, const DateTime& right) {
  const int days = Order(left.date.julian_day, right.date.julian_day);
  return days != 0 ? days : Order(left.milliseconds, right.milliseconds);
}

}  // namespace

class CriteriaParser {
 public:
  CriteriaParser(std::wstring_view purpose, std::wstring_view text,
                 const std::vector<Column>& columns)
      : purpose_(purpose), text_(text), columns_(columns) {}

  Criteria Parse(bool one_clause) {
    if (one_clause)
      ReadClause();
    else
      ReadGroup(0);
    SkipWhite();
    if (at_ != text_.size())
      Expected(one_clause ? L"the end, because Find takes one clause only" : L"AND, OR or the end");
    criteria_.FindEqualities(columns_);
    return std::move(criteria_);
  }

 private:
  using Operator = Criteria::Operator;
  using Clause = Criteria::Clause;
  using Connective = Criteria::Connective;
  using Match = Criteria::Match;

  // What stands behind the operator.
  struct Literal {
    enum class Form { kText, kMarked, kBare };
    Form form = Form::kBare;
    std::wstring text;
    std::size_t begin = 0;  // of the literal
    // Of each character of the text, so that one inside can be named.
    std::vector<std::size_t> places;
  };

  // --- Reading ------------------------------------------------------------------------------

  void SkipWhite() {
    while (at_ < text_.size() && IsWhite(text_[at_])) ++at_;
  }

  [[noreturn]] void Fail(std::size_t place, const std::wstring& reason) const {
    throw Error(error_number::kInvalidArguments, L"Recordset",
                L"Arguments are of the wrong type, are out of acceptable range, or are in conflict "
                L"with one another. (" +
                    std::wstring(purpose_) + L" criteria, character " + std::to_wstring(place + 1) +
                    L": " + reason + L")");
  }

  [[noreturn]] void Expected(const std::wstring& what) const {
    constexpr std::size_t kShown = 20;
    if (at_ == text_.size()) Fail(at_, L"expected " + what + L", but the criteria end here");
    std::wstring found(text_.substr(at_, kShown));
    if (text_.size() - at_ > kShown) found += L"...";
    Fail(at_, L"expected " + what + L", found \"" + found + L"\"");
  }

  // The word of name characters that stands here; empty when there is none.
  [[nodiscard]] std::wstring_view Word() const {
    std::size_t end = at_;
    while (end < text_.size() && IsNameCharacter(text_[end])) ++end;
    return text_.substr(at_, end - at_);
  }

  bool TakeWord(std::wstring_view word) {
    SkipWhite();
    if (!EqualIgnoringCase(Word(), word)) return false;
    at_ += word.size();
    return true;
  }

  bool Take(wchar_t character) {
    SkipWhite();
    if (at_ == text_.size() || text_[at_] != character) return false;
    ++at_;
    return true;
  }

  // Gives whether an OR joins what it read.
  bool ReadGroup(std::size_t depth) {
    bool joined_by_or = false;
    bool has_or_group = ReadOperand(depth);
    for (;;) {
      SkipWhite();
      const std::size_t place = at_;
      const bool conjunction = TakeWord(L"AND");
      if (!conjunction && !TakeWord(L"OR")) return joined_by_or || has_or_group;
      const bool right_is_or_group = ReadOperand(depth);
      has_or_group = has_or_group || right_is_or_group;
      if (conjunction && has_or_group)
        Fail(place,
             L"a group of clauses joined by OR cannot be joined to others by AND; write the AND "
             L"inside, as in (A = 1 AND B = 2) OR (A = 1 AND B = 3)");
      joined_by_or = joined_by_or || !conjunction;
      criteria_.steps_.emplace_back(conjunction ? Connective::kAnd : Connective::kOr);
    }
  }

  // Gives whether it is a group in parentheses that an OR joins.
  bool ReadOperand(std::size_t depth) {
    if (!Take(L'(')) {
      ReadClause();
      return false;
    }
    if (depth == kDeepestCriteria)
      Fail(at_ - 1, L"the criteria are nested more than " + std::to_wstring(kDeepestCriteria) +
                        L" levels deep");
    const bool joined_by_or = ReadGroup(depth + 1);
    if (!Take(L')')) Expected(L"AND, OR or )");
    return joined_by_or;
  }

  void ReadClause() {
    Clause clause;
    clause.column = ReadColumn();
    const Column& column = columns_[clause.column];
    clause.fixed_width = column.fixed_width;
    SkipWhite();
    const std::size_t place = at_;
    clause.operation = ReadOperator();
    const Literal literal = ReadLiteral();
    Bind(clause, column, literal, place);
    criteria_.steps_.emplace_back(std::move(clause));
  }

  std::size_t ReadColumn() {
    SkipWhite();
    const std::size_t place = at_;
    std::wstring_view name;
    if (at_ < text_.size() && text_[at_] == L'[') {
      const std::size_t close = text_.find(L']', at_);
      if (close == std::wstring_view::npos)
        Fail(at_, L"the column name that begins here has no closing ]");
      name = text_.substr(at_ + 1, close - at_ - 1);
      at_ = close + 1;
    } else {
      name = Word();
      if (name.empty()) Expected(L"the name of a column");
      at_ += name.size();
    }
    const auto found = std::find_if(columns_.begin(), columns_.end(), [&](const Column& column) {
      return EqualIgnoringCase(column.name, name);
    });
    if (found == columns_.end())
      Fail(place, L"there is no column \"" + std::wstring(name) + L"\" in the recordset");
    return static_cast<std::size_t>(found - columns_.begin());
  }

  Operator ReadOperator() {
    static constexpr std::array<std::pair<std::wstring_view, Operator>, 6> kSymbols = {
        {{L"<=", Operator::kLessOrEqual},
         {L">=", Operator::kGreaterOrEqual},
         {L"<>", Operator::kUnequal},
         {L"<", Operator::kLess},
         {L">", Operator::kGreater},
         {L"=", Operator::kEqual}}};
    if (TakeWord(L"LIKE")) return Operator::kLike;
    for (const auto& [symbol, operation] : kSymbols) {
      if (!text_.substr(at_).starts_with(symbol)) continue;
      at_ += symbol.size();
      return operation;
    }
    Expected(L"an operator: <, >, <=, >=, <>, = or LIKE");
  }

  Literal ReadLiteral() {
    SkipWhite();
    Literal literal;
    literal.begin = at_;
    if (at_ == text_.size()) Expected(kValues);
    if (text_[at_] == L'\'') {
      ReadText(literal);
    } else if (text_[at_] == L'#') {
      ReadMarked(literal);
    } else {
      while (at_ < text_.size() && !IsWhite(text_[at_]) && text_[at_] != L'(' && text_[at_] != L')')
        literal.text += text_[at_++];
      if (literal.text.empty()) Expected(kValues);
    }
    return literal;
  }

  void ReadText(Literal& literal) {
    literal.form = Literal::Form::kText;
    for (++at_; at_ < text_.size(); ++at_) {
      if (text_[at_] == L'\'') {
        if (at_ + 1 == text_.size() || text_[at_ + 1] != L'\'') {
          ++at_;
          return;
        }
        ++at_;
      }
      literal.text += text_[at_];
      literal.places.push_back(at_);
    }
    Fail(literal.begin, L"the text that begins here has no closing '");
  }

  // #3/7/2001#, and #'text'# for a text that keeps its apostrophes.
  void ReadMarked(Literal& literal) {
    literal.form = Literal::Form::kMarked;
    const bool quoted = at_ + 1 < text_.size() && text_[at_ + 1] == L'\'';
    const std::wstring_view closing = quoted ? L"'#" : L"#";
    const std::size_t end = text_.find(closing, at_ + (quoted ? 2 : 1));
    if (end == std::wstring_view::npos)
      Fail(literal.begin, L"the value that begins here has no closing #");
    const std::size_t after = end + closing.size();
    literal.text = text_.substr(at_ + 1, after - at_ - 2);
    for (std::size_t i = 0; i < literal.text.size(); ++i) literal.places.push_back(at_ + 1 + i);
    at_ = after;
  }

  // --- The value as the column's type -------------------------------------------------------

  void Bind(Clause& clause, const Column& column, const Literal& literal, std::size_t place) const {
    const bool text = column.kind == ColumnKind::kText || column.kind == ColumnKind::kMemo;
    if (clause.operation == Operator::kLike && !text)
      Fail(place, L"LIKE compares text, and column " + column.name + L" holds " +
                      std::wstring(Describe(column)));
    switch (column.kind) {
      case ColumnKind::kText:
      case ColumnKind::kMemo:
        return BindText(clause, literal);
      case ColumnKind::kNumber:
      case ColumnKind::kInteger:
      case ColumnKind::kCurrency:
        if (const auto number = ParseNumber(literal.text);
            number && literal.form != Literal::Form::kMarked) {
          clause.operand = *number;
          return;
        }
        return Unfit(column, literal, L"a number, as in 12.5");
      case ColumnKind::kLogical:
        if (clause.operation != Operator::kEqual && clause.operation != Operator::kUnequal)
          Fail(place, L"column " + column.name + L" holds True or False; compare it with = or <>");
        return BindLogical(clause, column, literal);
      case ColumnKind::kDate:
      case ColumnKind::kDateTime:
        return BindDay(clause, column, literal);
      case ColumnKind::kBinary:
        Fail(place, L"column " + column.name + L" holds bytes, which cannot be compared");
    }
  }

  [[noreturn]] void Unfit(const Column& column, const Literal& literal,
                          const std::wstring& what) const {
    Fail(literal.begin, L"column " + column.name + L" holds " + std::wstring(Describe(column)) +
                            L"; expected " + what + L", found \"" + literal.text + L"\"");
  }

  void BindLogical(Clause& clause, const Column& column, const Literal& literal) const {
    try {
      clause.operand = ToBoolean(Value(literal.text), L"Recordset");
    } catch (const Error&) {
      Unfit(column, literal, L"True or False");
    }
  }

  void BindDay(Clause& clause, const Column& column, const Literal& literal) const {
    const std::optional<Value> day =
        literal.form == Literal::Form::kBare ? std::nullopt : ParseDay(literal.text);
    if (!day) Unfit(column, literal, L"a day, as in #3/7/2001#");
    if (const auto* date = std::get_if<Date>(&*day))
      clause.operand = DateTime{*date, 0};
    else
      clause.operand = std::get<DateTime>(*day);
  }

  void BindText(Clause& clause, const Literal& literal) const {
    if (literal.form == Literal::Form::kBare && !ParseNumber(literal.text) &&
        !EqualIgnoringCase(literal.text, L"True") && !EqualIgnoringCase(literal.text, L"False"))
      FailAtValue(literal);
    std::wstring text = ToUpper(literal.text);
    if (clause.operation == Operator::kLike) text = ReadPattern(clause, literal, text);
    if (clause.match == Match::kWhole) text = Significant(text, clause.fixed_width);
    clause.operand = std::move(text);
  }

  [[noreturn]] void FailAtValue(const Literal& literal) const {
    Fail(literal.begin,
         L"expected " + std::wstring(kValues) + L", found \"" + literal.text + L"\"");
  }

  // The pattern without its wildcards, which say how it has to match.
  std::wstring ReadPattern(Clause& clause, const Literal& literal, std::wstring text) const {
    const auto is_wildcard = [](wchar_t character) {
      return kWildcards.find(character) != std::wstring_view::npos;
    };
    const bool behind = !text.empty() && is_wildcard(text.back());
    if (behind) text.pop_back();
    const bool in_front = behind && !text.empty() && is_wildcard(text.front());
    const auto inside = std::find_if(text.begin() + (in_front ? 1 : 0), text.end(), is_wildcard);
    if (inside != text.end())
      Fail(literal.places.empty() ? literal.begin
                                  : literal.places[static_cast<std::size_t>(inside - text.begin())],
           L"a wildcard stands at the end of the pattern, or at both ends");
    if (in_front) text.erase(0, 1);
    if (behind) clause.match = in_front ? Match::kInside : Match::kBeginning;
    return text;
  }

  static constexpr wchar_t kValues[] = L"a value: 'text', #date#, a number, True or False";

  std::wstring_view purpose_;
  std::wstring_view text_;
  const std::vector<Column>& columns_;
  std::size_t at_ = 0;
  Criteria criteria_;
};

Criteria Criteria::ParseFilter(std::wstring_view text, const std::vector<Column>& columns) {
  return CriteriaParser(L"Filter", text, columns).Parse(false);
}

Criteria Criteria::ParseFind(std::wstring_view text, const std::vector<Column>& columns) {
  return CriteriaParser(L"Find", text, columns).Parse(true);
}

bool Criteria::Accepts(const CriteriaRow& row) const {
  // Connectives bind to the left, so that a level of parentheses adds one outcome at most.
  std::array<bool, kDeepestCriteria + 2> outcomes{};
  std::size_t count = 0;
  for (const Step& step : steps_) {
    if (const auto* clause = std::get_if<Clause>(&step)) {
      outcomes[count++] = Meets(*clause, row);
      continue;
    }
    const bool right = outcomes[--count];
    bool& left = outcomes[count - 1];
    left = std::get<Connective>(step) == Connective::kAnd ? left && right : left || right;
  }
  return outcomes[0];
}

bool Criteria::Meets(const Clause& clause, const CriteriaRow& row) {
  Value value = row.Read(clause.column);
  if (IsNull(value)) return false;
  if (auto* text = std::get_if<std::wstring>(&value)) return MeetsText(clause, std::move(*text));
  int order = 0;
  if (const auto* number = std::get_if<double>(&clause.operand)) {
    order = Order(ToDouble(value, L"Recordset"), *number);
  } else if (const auto* flag = std::get_if<bool>(&clause.operand)) {
    order = Order(std::get<bool>(value), *flag);
  } else {
    const auto* date = std::get_if<Date>(&value);
    order = OrderOfMoments(date != nullptr ? DateTime{*date, 0} : std::get<DateTime>(value),
                           std::get<DateTime>(clause.operand));
  }
  return Holds(clause.operation, order);
}

bool Criteria::Holds(Operator operation, int order) {
  switch (operation) {
    case Operator::kLess:
      return order < 0;
    case Operator::kGreater:
      return order > 0;
    case Operator::kLessOrEqual:
      return order <= 0;
    case Operator::kGreaterOrEqual:
      return order >= 0;
    case Operator::kUnequal:
      return order != 0;
    case Operator::kEqual:
    case Operator::kLike:
      break;
  }
  return order == 0;
}

bool Criteria::MeetsText(const Clause& clause, std::wstring text) {
  const auto& operand = std::get<std::wstring>(clause.operand);
  if (clause.match == Match::kWhole)
    return Holds(clause.operation,
                 CompareIgnoringCase(Significant(text, clause.fixed_width), operand));
  std::transform(text.begin(), text.end(), text.begin(),
                 [](wchar_t character) { return ToUpper(character); });
  if (clause.match == Match::kBeginning) return text.starts_with(operand);
  return text.find(operand) != std::wstring::npos;
}

void Criteria::FindEqualities(const std::vector<Column>& columns) {
  std::vector<Equality> found;
  for (const Step& step : steps_) {
    if (const auto* connective = std::get_if<Connective>(&step)) {
      if (*connective == Connective::kOr) return;
      continue;
    }
    const auto& clause = std::get<Clause>(step);
    const auto* text = std::get_if<std::wstring>(&clause.operand);
    if (clause.operation != Operator::kEqual || text == nullptr) return;
    for (const Equality& other : found)
      if (other.column == clause.column) return;
    found.push_back({clause.column, KeyOf(*text, columns[clause.column])});
  }
  equalities_ = std::move(found);
}

std::wstring Criteria::KeyOf(std::wstring_view text, const Column& column) {
  return ToUpper(Significant(text, column.fixed_width));
}

}  // namespace tdefault::tables::foxpro
