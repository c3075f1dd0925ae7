#include "model/random_step.h"

#include <algorithm>
#include <optional>

namespace tdefault::tests::model {
namespace {

bool IsBinary(char type) { return type == 'Q' || type == 'W' || type == 'G' || type == 'P'; }

class StepMaker {
 public:
  StepMaker(Random& random, const RandomTable& made)
      : random_(random), table_(made.table), habits_(made.habits) {}

  Step Make() {
    const std::size_t rows = table_.rows().size();
    const bool grows = rows < habits_.wanted_rows;
    const std::size_t kind = random_.Below(100);
    if (rows == 0 || kind < (grows ? 60U : 12U)) return Insert();
    if (kind < 70) return Update();
    if (kind < 75) return Delete();
    if (kind < 83) return Select();
    return Edit();
  }

 private:
  [[nodiscard]] const ColumnSpec& Spec(std::size_t column) const {
    return table_.spec().columns[column];
  }
  [[nodiscard]] std::size_t Count() const { return table_.spec().columns.size(); }
  [[nodiscard]] std::wstring Name(std::size_t column) const {
    return Widened(table_.names()[column]);
  }
  [[nodiscard]] std::wstring Text(const ExpressionPointer& expression) const {
    return ToText(*expression, table_.names(), Spelling::kStatement);
  }

  // Columns that may be given values: not the automatic ones, and bytes have no literal.
  [[nodiscard]] std::vector<std::size_t> Settable(bool with_bytes) const {
    std::vector<std::size_t> columns;
    for (std::size_t i = 0; i < Count(); ++i)
      if (Spec(i).number_step == 0 && (with_bytes || !IsBinary(Spec(i).type))) columns.push_back(i);
    return columns;
  }

  std::vector<std::size_t> SomeOf(std::vector<std::size_t> columns, std::size_t most) {
    for (std::size_t i = columns.size(); i > 1; --i)
      std::swap(columns[i - 1], columns[random_.Below(i)]);
    columns.resize(std::min(columns.size(), random_.Below(most) + 1));
    return columns;
  }

  ExpressionPointer Constant(std::size_t column) {
    if (Spec(column).nullable && random_.OneIn(6)) return Literal(Null{});
    return Literal(RandomValue(random_, Spec(column), habits_));
  }

  // One value in a few rows is refused: too wide, a null, of another type.
  ExpressionPointer Refused(std::size_t column) {
    const ColumnSpec& spec = Spec(column);
    const bool digits = spec.type == 'N' || spec.type == 'F';
    switch (random_.Below(3)) {
      case 0:
        if (digits) return Literal(1e15 * (random_.OneIn(2) ? 1 : -1));
        if (spec.type == 'I') return Literal(2147483648.0);
        [[fallthrough]];
      case 1:
        if (!spec.nullable) return Literal(Null{});
        [[fallthrough]];
      default:
        if (spec.type == 'L') return Literal(std::wstring(L"T"));
        return Literal(true);
    }
  }

  std::wstring Where(const ExpressionPointer& condition) const {
    return condition ? L" WHERE " + Text(condition) : std::wstring();
  }

  Step Insert() {
    Step step{.kind = StepKind::kInsert};
    const std::vector<std::size_t> settable = Settable(false);
    const bool all = settable.size() == Count() && random_.OneIn(3);
    const bool most = !random_.OneIn(4);
    std::vector<std::size_t> columns = all || most ? settable : SomeOf(settable, settable.size());
    std::wstring names;
    std::wstring values;
    const bool bad = random_.OneIn(30);
    for (const std::size_t column : columns) {
      const bool refused = bad && column == columns.back();
      step.values.push_back({column, refused ? Refused(column) : Constant(column)});
      names += (names.empty() ? L"" : L", ") + Name(column);
      values += (values.empty() ? L"" : L", ") + Text(step.values.back().value);
    }
    step.statement = L"INSERT INTO T " + (all ? std::wstring() : L"(" + names + L") ") +
                     L"VALUES (" + values + L")";
    return step;
  }

  ExpressionPointer Computed(std::size_t column) {
    const ColumnSpec& spec = Spec(column);
    const ExpressionPointer own = ColumnOf(column);
    switch (spec.type) {
      case 'N':
      case 'F':
      case 'I':
      case 'B':
        return Of(Operator::kPlus,
                  {own, Literal(static_cast<std::int32_t>(random_.Between(-3, 9)))});
      case 'D':
        return Of(Operator::kPlus,
                  {own, Literal(static_cast<std::int32_t>(random_.Between(-40, 40)))});
      case 'L':
        return Of(Operator::kNot, {own});
      case 'C':
        return Of(Operator::kUpper, {own});
      case 'V':
        return Of(Operator::kLeft, {own}, static_cast<int>(random_.Between(1, 20)));
      case 'M':
        if (random_.OneIn(3)) return Of(Operator::kLeft, {own}, 40);
        return Of(Operator::kPlus, {own, Literal(RandomValue(random_, Spec(column), habits_))});
      default:
        return Constant(column);
    }
  }

  Step Update() {
    Step step{.kind = StepKind::kUpdate};
    std::wstring sets;
    const bool bad = random_.OneIn(25);
    const std::vector<std::size_t> columns = SomeOf(Settable(false), 4);
    for (const std::size_t column : columns) {
      ExpressionPointer value = random_.OneIn(3) ? Computed(column) : Constant(column);
      if (bad && column == columns.front()) value = Refused(column);
      sets += (sets.empty() ? L"" : L", ") + Name(column) + L" = " + Text(value);
      step.values.push_back({column, std::move(value)});
    }
    step.condition = ChangeCondition();
    step.statement = L"UPDATE T SET " + sets + Where(step.condition);
    return step;
  }

  Step Delete() {
    Step step{.kind = StepKind::kDelete};
    step.condition = Of(Operator::kAnd, {Condition(), SomeColumn(true)});
    step.statement = L"DELETE FROM T" + Where(step.condition);
    return step;
  }

  Step Select() {
    Step step{.kind = StepKind::kSelect};
    if (!random_.OneIn(5)) step.condition = Condition();
    step.statement = L"SELECT * FROM T" + Where(step.condition);
    return step;
  }

  Step Edit() {
    Step step{.kind = StepKind::kEdit};
    if (random_.OneIn(2)) step.condition = Condition();
    step.statement = L"SELECT * FROM T" + Where(step.condition);
    step.position = random_.Below(std::min<std::size_t>(table_.rows().size(), 50) + 1);
    step.cancelled = random_.OneIn(12);
    for (const std::size_t column : SomeOf(Settable(true), 3))
      step.values.push_back({column, Constant(column)});
    return step;
  }

  // Rows of a large table are changed in small numbers mostly.
  ExpressionPointer ChangeCondition() {
    if (random_.OneIn(table_.rows().size() > 200 ? 200 : 12)) return nullptr;
    if (table_.rows().size() > 200) return Of(Operator::kAnd, {SomeColumn(true), SomeColumn(true)});
    return Condition();
  }

  ExpressionPointer Condition() {
    ExpressionPointer condition = SomeColumn(false);
    while (random_.OneIn(3)) {
      ExpressionPointer other = SomeColumn(false);
      condition = Of(random_.OneIn(2) ? Operator::kAnd : Operator::kOr, {condition, other});
    }
    if (random_.OneIn(6)) condition = Of(Operator::kNot, {condition});
    return condition;
  }

  // What some row holds, without its padding.
  Value KnownValue(std::size_t column) {
    const Row& row = table_.rows()[random_.Below(table_.rows().size())];
    Value value = row.values[column];
    if (auto* text = std::get_if<std::wstring>(&value)) {
      const std::size_t end = text->find_last_not_of(L' ');
      text->resize(end == std::wstring::npos ? 0 : end + 1);
      if (text->size() > 300) text->clear();
    }
    if (IsNull(value)) return RandomValue(random_, Spec(column), habits_);
    return value;
  }

  ExpressionPointer SomeColumn(bool equal) {
    const std::size_t column = random_.Below(Count());
    const ExpressionPointer own = ColumnOf(column);
    const char type = Spec(column).type;
    if (IsBinary(type) || (Spec(column).nullable && random_.OneIn(6)))
      return Of(random_.OneIn(2) ? Operator::kIsNull : Operator::kIsNotNull, {own});
    if (type == 'L') return random_.OneIn(2) ? own : Of(Operator::kNot, {own});
    const Value value =
        random_.OneIn(4) ? RandomValue(random_, Spec(column), habits_) : KnownValue(column);
    const std::vector<Operator> comparisons = {Operator::kEqual,   Operator::kUnequal,
                                               Operator::kLess,    Operator::kLessOrEqual,
                                               Operator::kGreater, Operator::kGreaterOrEqual};
    return Of(equal ? Operator::kEqual : random_.Of(comparisons), {own, Literal(value)});
  }

  Random& random_;
  const ModelTable& table_;
  const TableHabits& habits_;
};

}  // namespace

Step MakeStep(Random& random, const RandomTable& made) { return StepMaker(random, made).Make(); }

Outcome Apply(const Step& step, ModelTable& table) {
  switch (step.kind) {
    case StepKind::kInsert:
      return table.Insert(step.values);
    case StepKind::kUpdate:
      return table.Update(step.values, step.condition);
    case StepKind::kDelete:
      return table.Delete(step.condition);
    case StepKind::kEdit: {
      const std::vector<std::size_t> rows = table.Matching(step.condition);
      if (step.cancelled || step.position >= rows.size()) return {};
      return table.UpdateRows(step.values, {&rows[step.position], 1});
    }
    case StepKind::kSelect:
      break;
  }
  return {.affected = -1};
}

}  // namespace tdefault::tests::model
