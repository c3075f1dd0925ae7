// One random table, changed through a connection of the embedded engine and in the model alike.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "model/random.h"
#include "model/random_step.h"
#include "model/random_table.h"
#include "platform/simulation/simulation.h"
#include "tables/foxpro/embedded_table_access.h"

namespace tdefault::tests::model {

// Everything throws std::runtime_error saying what differs.
class TableSession {
 public:
  explicit TableSession(std::uint64_t seed);

  void RunStep();
  // Every row, deleted ones included, and the whole check of memo and index against the rows.
  void CheckAll();

  [[nodiscard]] std::uint64_t wanted_steps() const { return wanted_steps_; }
  [[nodiscard]] std::uint64_t steps() const { return steps_; }
  [[nodiscard]] std::uint64_t refused() const { return refused_; }
  [[nodiscard]] std::uint64_t duplicates() const { return duplicates_; }
  [[nodiscard]] std::string last_step() const;
  [[nodiscard]] std::string Describe() const;

  // The files of the table, named by its seed, with the model's rows (NAME.rows) and the order of
  // each tag (NAME.order).
  [[nodiscard]] std::vector<std::pair<std::string, std::string>> Files() const;

 private:
  void Connect();
  // What the engine reports for the step.
  Outcome Perform(const Step& step);
  Outcome PerformEdit(const Step& step);
  void CompareRows(bool with_deleted, const ExpressionPointer& condition,
                   const std::wstring& query);
  void CompareMarks();
  void CheckFiles();
  void TakeNumbers();
  [[nodiscard]] std::vector<std::vector<Value>> Read(const std::wstring& query, bool with_deleted);

  std::uint64_t seed_;
  Random random_;
  RandomTable made_;
  platform::simulation::Simulation machine_;
  tables::foxpro::EmbeddedTableAccess access_;
  std::unique_ptr<tables::Connection> connection_;
  std::uint64_t wanted_steps_ = 0;
  std::uint64_t steps_ = 0;
  std::uint64_t refused_ = 0;     // steps that had to end with an error
  std::uint64_t duplicates_ = 0;  // of those, because of a key that is there already
  Step last_;
};

}  // namespace tdefault::tests::model
