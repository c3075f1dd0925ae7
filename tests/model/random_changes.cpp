// Random statements and row edits on random tables of a simulated machine, compared step by step
// with a model in memory, and checked as a shop would check its tables:
//
//   random_changes STEPS [--seed N] [--keep FOLDER] [--verbose]
//
// Every table has a seed of its own, N, N + 1 and so on, until all tables together have seen that
// many steps. A failure prints the seed with what was done last. --keep leaves the files of every
// table in a folder, with the model's rows as tests/fixtures/dump_tables.py prints them and with
// the record numbers in the order of each tag.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "model/table_session.h"

namespace {

using namespace tdefault::tests::model;

struct Settings {
  std::uint64_t steps = 0;
  std::uint64_t seed = 1;
  std::filesystem::path keep;
  bool verbose = false;
};

Settings Parse(const std::vector<std::string>& words) {
  Settings settings;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (words[i] == "--verbose") {
      settings.verbose = true;
    } else if (words[i] == "--seed" && i + 1 < words.size()) {
      settings.seed = std::stoull(words[++i]);
    } else if (words[i] == "--keep" && i + 1 < words.size()) {
      settings.keep = words[++i];
    } else {
      settings.steps = std::stoull(words[i]);
    }
  }
  return settings;
}

void Keep(const TableSession& session, const std::filesystem::path& folder) {
  std::filesystem::create_directories(folder);
  for (const auto& [name, bytes] : session.Files())
    std::ofstream(folder / name, std::ios::binary) << bytes;
}

struct Totals {
  std::uint64_t steps = 0;
  std::uint64_t tables = 0;
  std::uint64_t refused = 0;
  std::uint64_t duplicates = 0;
};

// One table from its first row on.
void RunTable(std::uint64_t seed, std::uint64_t most_steps, const Settings& settings,
              Totals& totals) {
  TableSession session(seed);
  if (settings.verbose) std::cout << session.Describe();
  const std::uint64_t steps = std::min(most_steps, session.wanted_steps());
  try {
    for (std::uint64_t step = 0; step < steps; ++step) {
      session.RunStep();
      if (settings.verbose) std::cout << step + 1 << ": " << session.last_step() << "\n";
    }
    session.CheckAll();
  } catch (const std::exception& failure) {
    std::cout << session.Describe() << "after " << session.steps()
              << " steps: " << session.last_step() << "\n"
              << failure.what() << "\n"
              << "replay: random_changes " << steps << " --seed " << seed << " --verbose\n";
    if (!settings.keep.empty()) Keep(session, settings.keep);
    std::exit(1);
  }
  if (!settings.keep.empty()) Keep(session, settings.keep);
  totals.steps += steps;
  ++totals.tables;
  totals.refused += session.refused();
  totals.duplicates += session.duplicates();
}

}  // namespace

int main(int count, char** words) {
  const Settings settings = Parse({words + 1, words + count});
  Totals totals;
  while (totals.steps < settings.steps)
    RunTable(settings.seed + totals.tables, settings.steps - totals.steps, settings, totals);
  std::cout << totals.steps << " steps on " << totals.tables
            << " tables agree with the model; refused as they had to be: " << totals.refused
            << ", of these for a key twice: " << totals.duplicates << "\n";
  return totals.steps == 0 ? 1 : 0;
}
