// The functions that expressions may call.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <variant>

#include "base/code_page.h"
#include "base/value.h"
#include "tables/row_source.h"
#include "tables/sql/abbreviation.h"

namespace tdefault::tables::sql {

// IIF and NVL evaluate only the arguments that they need, and DELETED reads the row, so the
// evaluator carries them out itself. UPPER, LOWER and LEFT can be carried out on stored bytes.
enum class FunctionKind { kPlain, kIif, kNvl, kDeleted, kUpper, kLower, kLeft };

// What DELETED() gives is a logical column of this name, where the rows have one.
inline constexpr std::wstring_view kDeletionMarkColumn = L"DELETED()";

struct CallContext {
  std::size_t position;  // in the statement, for errors
  CodePage code_page;    // of the text: of the table it comes from, else of the statement's table
};

struct Function {
  std::wstring_view name;  // upper case
  // One letter per argument, 'T' text, 'N' number, 'L' logical, 'D' date or date and time, 'A'
  // anything; the last ones may be left out down to `fewest_arguments`.
  std::string_view arguments;
  std::size_t fewest_arguments;
  char result;        // a letter as above, 'A' when it depends on the arguments
  bool accepts_null;  // otherwise a null argument makes the result null
  // Computes the result from values of the right types. Throws StatementError at the position.
  Value (*evaluate)(std::span<const Value> arguments, const CallContext& context);
  FunctionKind kind = FunctionKind::kPlain;
};

// By its full or abbreviated name, any case.
[[nodiscard]] std::variant<NoMatch, AmbiguousMatch, const Function*> FindFunction(
    std::wstring_view name);

// What UPPER (kUpper) or LOWER (kLower) makes of each byte of text in the page.
[[nodiscard]] ByteReplacement FoldBytes(FunctionKind kind, const CodePage& page);

// The count of characters that a number asks for: fractions cut off, negative ones 0.
[[nodiscard]] std::size_t CharacterCount(const Value& value);

// Text longer than this is refused rather than built.
inline constexpr std::size_t kLongestText = 16'777'184;

}  // namespace tdefault::tables::sql
