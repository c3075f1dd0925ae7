// Makes the kinds of bound expressions. Operands have been checked by the binder as far as their
// types are known; what is known only with the values is checked during evaluation.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "base/value.h"
#include "tables/row_source.h"
#include "tables/sql/expression.h"
#include "tables/sql/functions.h"
#include "tables/sql/syntax.h"
#include "tables/sql/value_type.h"

namespace tdefault::tables::sql {

struct BoundStep {
  ArithmeticOperator operation;
  std::size_t position;
  BoundPointer operand;
};

// "Type mismatch" unless the argument is null or of the type that the letter stands for (see
// Function).
void CheckArgument(char letter, ValueType type, const Function& function, std::size_t position);

BoundPointer MakeConstant(Value value, std::size_t position);
BoundPointer MakeColumn(const RowSlot& slot, std::size_t index, const Column& column,
                        std::size_t position);
BoundPointer MakeNegation(BoundPointer operand, std::size_t position);
BoundPointer MakeArithmetic(ValueType type, BoundPointer first, std::vector<BoundStep> steps,
                            std::size_t position);
BoundPointer MakeCall(const Function& function, ValueType type, std::vector<BoundPointer> arguments,
                      const CallContext& context);
BoundPointer MakeScalarSelect(std::unique_ptr<Subselect> subselect, std::size_t position);

// Three-valued logic: an operand that is null leaves the result open (null) unless another one
// settles it. Operands behind the one that settles it are not evaluated.
BoundPointer MakeConnective(bool conjunction, std::vector<BoundPointer> operands,
                            std::size_t position);
BoundPointer MakeNot(BoundPointer operand, std::size_t position);
BoundPointer MakeComparison(ComparisonOperator operation, BoundPointer left, BoundPointer right,
                            const Collation& collation, std::size_t position);
BoundPointer MakeNullTest(BoundPointer operand, bool negated, std::size_t position);
BoundPointer MakeLike(BoundPointer operand, BoundPointer pattern, std::optional<wchar_t> escape,
                      bool negated, const Collation& collation, std::size_t position);
BoundPointer MakeBetween(BoundPointer operand, BoundPointer low, BoundPointer high, bool negated,
                         const Collation& collation, std::size_t position);
BoundPointer MakeInList(BoundPointer operand, std::vector<BoundPointer> values, bool negated,
                        const Collation& collation, std::size_t position);
BoundPointer MakeInSelect(BoundPointer operand, std::unique_ptr<Subselect> subselect, bool negated,
                          std::size_t position);
BoundPointer MakeExists(std::unique_ptr<Subselect> subselect, std::size_t position);

}  // namespace tdefault::tables::sql
