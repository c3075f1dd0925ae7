// The criteria of a recordset's Filter and Find: clauses FIELD OPERATOR VALUE, for Filter joined by
// AND and OR. docs/recordsets.md has the grammar.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/value.h"
#include "tables/row_source.h"

namespace tdefault::tables::foxpro {

// The row that criteria are applied to.
class CriteriaRow {
 public:
  virtual ~CriteriaRow() = default;
  [[nodiscard]] virtual Value Read(std::size_t column) const = 0;
};

// Text compares without regard to case; of columns of fixed width the blanks at the end do not
// count. A null meets no clause. AND and OR bind alike and are carried out from left to right.
class Criteria {
 public:
  // Throws kInvalidArguments with a text that begins with `purpose` ("Filter", "Find"), the
  // character's position from 1, what was found there and what is expected.
  [[nodiscard]] static Criteria ParseFilter(std::wstring_view text,
                                            const std::vector<Column>& columns);
  // One clause only.
  [[nodiscard]] static Criteria ParseFind(std::wstring_view text,
                                          const std::vector<Column>& columns);

  // Throws what reading the row throws.
  [[nodiscard]] bool Accepts(const CriteriaRow& row) const;

  // A text column that has to equal a value.
  struct Equality {
    std::size_t column;
    std::wstring key;  // KeyOf a value that equals it
  };
  // Absent when the criteria are anything but such clauses, for different columns, joined by AND.
  [[nodiscard]] const std::optional<std::vector<Equality>>& equalities() const {
    return equalities_;
  }

  // The same for texts of the column that compare equal, and only for those.
  [[nodiscard]] static std::wstring KeyOf(std::wstring_view text, const Column& column);

 private:
  friend class CriteriaParser;

  enum class Operator { kLess, kGreater, kLessOrEqual, kGreaterOrEqual, kEqual, kUnequal, kLike };
  enum class Match { kWhole, kBeginning, kInside };

  struct Clause {
    std::size_t column = 0;
    bool fixed_width = false;
    Operator operation = Operator::kEqual;
    Match match = Match::kWhole;  // of LIKE
    // Upper-case text, a number (for currency too), a logical value or a moment.
    std::variant<std::wstring, double, bool, DateTime> operand;
  };
  // The clauses and connectives in postfix order.
  enum class Connective { kAnd, kOr };
  using Step = std::variant<Clause, Connective>;

  [[nodiscard]] static bool Meets(const Clause& clause, const CriteriaRow& row);
  [[nodiscard]] static bool Holds(Operator operation, int order);
  [[nodiscard]] static bool MeetsText(const Clause& clause, std::wstring text);
  void FindEqualities(const std::vector<Column>& columns);

  std::vector<Step> steps_;
  std::optional<std::vector<Equality>> equalities_;
};

}  // namespace tdefault::tables::foxpro
