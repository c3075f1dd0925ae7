// Collects what a table's check finds: all are counted, the first of each area are kept.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <utility>

#include "tables/foxpro/table_check.h"

namespace tdefault::tables::foxpro {

enum class CheckArea { kTable, kRows, kMemo, kIndex };

class CheckFindings {
 public:
  // `checked` outlives the findings.
  CheckFindings(CheckedTable& checked, std::size_t limit) : checked_(checked), limit_(limit) {}

  void Problem(CheckArea area, std::wstring text) {
    ++checked_.problems;
    Keep(area, FindingKind::kProblem, std::move(text));
  }
  void Warning(CheckArea area, std::wstring text) {
    ++checked_.warnings;
    Keep(area, FindingKind::kWarning, std::move(text));
  }
  void Unchecked(CheckArea area, std::wstring text) {
    ++checked_.unchecked;
    Keep(area, FindingKind::kUnchecked, std::move(text));
  }
  // What was thrown while an area was read.
  void Thrown(CheckArea area, const Error& error) {
    const bool refused = error.number() == error_number::kInUseByAnother ||
                         error.number() == error_number::kNoPermission;
    if (!refused) return Problem(area, error.description());
    Unchecked(area, error.description());
  }

  // Whether a further finding of the area would be kept.
  [[nodiscard]] bool HasRoom(CheckArea area) const {
    return kept_[static_cast<std::size_t>(area)] < limit_;
  }

 private:
  void Keep(CheckArea area, FindingKind kind, std::wstring text) {
    std::size_t& kept = kept_[static_cast<std::size_t>(area)];
    if (kept >= limit_) return;
    ++kept;
    checked_.findings.push_back({kind, std::move(text)});
  }

  CheckedTable& checked_;
  std::size_t limit_;
  std::array<std::size_t, 4> kept_{};
};

}  // namespace tdefault::tables::foxpro
