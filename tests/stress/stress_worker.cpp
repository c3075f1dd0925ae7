#include "stress_worker.h"

#include <algorithm>
#include <exception>
#include <random>
#include <sstream>

#include "base/error.h"
#include "base/text.h"
#include "stress_rows.h"
#include "tables/table_access_choice.h"

namespace tdefault::tests {
namespace {

constexpr std::uint32_t kMostRows = 1500;
constexpr std::uint32_t kStatementsOfConnection = 40;
constexpr std::size_t kMostFailures = 20;
constexpr int kCountsInTurn = 10;

class Worker {
 public:
  Worker(platform::Platform& platform, const WorkOrder& order)
      : clock_(platform.clock),
        access_(tables::MakeTableAccess(platform)),
        order_(order),
        random_(order.seed) {}

  WorkReport Run() {
    const std::uint64_t end = clock_.Milliseconds() + std::uint64_t{order_.seconds} * 1000;
    for (std::uint32_t count = 0; clock_.Milliseconds() < end; ++count) {
      if (report_.failures.size() >= kMostFailures) break;
      if (count % kStatementsOfConnection == 0) Reconnect();
      Step();
    }
    Reconnect();
    for (const auto& [id, version] : report_.live) ReadOwn(id);
    connection_->Close();
    return std::move(report_);
  }

 private:
  void Reconnect() {
    if (connection_) connection_->Close();
    connection_ = Connect(*access_, order_.folder);
  }

  std::uint32_t Random(std::uint32_t below) {
    return static_cast<std::uint32_t>(random_() % below);
  }

  void Step() {
    const std::uint32_t choice = Random(100);
    if (report_.live.empty() || (choice < 35 && inserted_ < kMostRows)) return Insert();
    if (choice < 65) return Update();
    if (choice < 70) return Delete();
    if (choice < 85) return Count();
    const auto& [id, version] = Any();
    ReadOwn(id);
  }

  const std::pair<const std::wstring, std::uint32_t>& Any() {
    auto row = report_.live.begin();
    std::advance(row, Random(static_cast<std::uint32_t>(report_.live.size())));
    return *row;
  }

  // Whether the statement was acknowledged to have changed that many rows.
  bool Execute(const std::wstring& statement, std::int32_t rows = 1) {
    const std::uint64_t start = clock_.Milliseconds();
    bool done = false;
    try {
      static_cast<void>(connection_->Execute(statement));
      done = connection_->records_affected() == rows;
      if (!done) {
        Fail(statement + L" changed " + std::to_wstring(connection_->records_affected()) +
             L" rows");
      }
    } catch (const Error& error) {
      if (error.number() == error_number::kInUseByAnother) {
        ++report_.busy;
      } else {
        Fail(statement + L": " + error.description());
      }
    }
    const auto taken = static_cast<std::uint32_t>(clock_.Milliseconds() - start);
    report_.longest_milliseconds = std::max(report_.longest_milliseconds, taken);
    return done;
  }

  void Fail(const std::wstring& what) { report_.failures.push_back(what); }

  void Insert() {
    const std::wstring id = OwnId(order_.worker, inserted_++);
    if (!Execute(InsertStatement(id, 0))) return;
    report_.live[id] = 0;
    ++report_.inserts;
  }

  void Update() {
    const std::wstring id = Any().first;
    const std::uint32_t version = report_.live[id] + 1;
    if (!Execute(UpdateStatement(id, version))) return;
    report_.live[id] = version;
    ++report_.updates;
  }

  void Delete() {
    const std::wstring id = Any().first;
    if (!Execute(DeleteStatement(id))) return;
    report_.live.erase(id);
    report_.deleted.push_back(id);
    ++report_.deletes;
  }

  // Several times, so that the processes meet at the row.
  void Count() {
    if (Random(2) == 0) return CountAll();
    const std::wstring id = SharedId(static_cast<int>(Random(kSharedRows)));
    for (int time = 0; time < kCountsInTurn; ++time) {
      if (!Execute(CountStatement(id))) return;
      ++report_.counts[id];
      ++report_.updates;
    }
  }

  // Rows that stand together, which a statement changes under one lock where it can.
  void CountAll() {
    for (int time = 0; time < kCountsInTurn; ++time) {
      if (!Execute(CountAllStatement(), kSharedRows))
        return Fail(L"which of the shared rows were counted is no longer known");
      for (int number = 0; number < kSharedRows; ++number) ++report_.counts[SharedId(number)];
      report_.updates += kSharedRows;
    }
  }

  // A row that nobody else changes is as it was acknowledged, whatever others do meanwhile.
  void ReadOwn(const std::wstring& id) {
    try {
      const auto rows = connection_->Execute(L"SELECT * FROM STRESS WHERE ID = '" + id + L"'");
      ++report_.reads;
      std::wstring wrong =
          rows->eof() ? id + L" is not there" : WrongInRow(*rows, report_.live[id], false);
      if (wrong.empty()) {
        rows->MoveNext();
        if (!rows->eof()) wrong = id + L" is there twice";
      }
      if (!wrong.empty()) Fail(L"read: " + wrong);
    } catch (const Error& error) {
      Fail(L"reading " + id + L": " + error.description());
    }
  }

  platform::Clock& clock_;
  std::unique_ptr<tables::TableAccess> access_;
  WorkOrder order_;
  std::mt19937_64 random_;
  std::unique_ptr<tables::Connection> connection_;
  std::uint32_t inserted_ = 0;
  WorkReport report_;
};

}  // namespace

WorkReport Work(platform::Platform& platform, const WorkOrder& order) {
  Worker worker(platform, order);
  try {
    return worker.Run();
  } catch (const std::exception& error) {
    WorkReport report;
    report.failures.push_back(L"worker " + std::to_wstring(order.worker) + L" ended: " +
                              FromUtf8(error.what()));
    return report;
  }
}

std::string ToLines(const WorkReport& report) {
  std::ostringstream lines;
  for (const auto& [id, version] : report.live)
    lines << "live " << ToUtf8(id) << ' ' << version << '\n';
  for (const std::wstring& id : report.deleted) lines << "deleted " << ToUtf8(id) << '\n';
  for (const auto& [id, count] : report.counts)
    lines << "count " << ToUtf8(id) << ' ' << count << '\n';
  for (const std::wstring& what : report.failures) lines << "failure " << ToUtf8(what) << '\n';
  lines << "end " << report.inserts << ' ' << report.updates << ' ' << report.deletes << ' '
        << report.reads << ' ' << report.busy << ' ' << report.longest_milliseconds << '\n';
  return lines.str();
}

WorkReport FromLines(const std::string& lines) {
  WorkReport report;
  bool ended = false;
  std::istringstream input(lines);
  for (std::string line; std::getline(input, line);) {
    std::istringstream words(line);
    std::string kind;
    std::string id;
    words >> kind;
    if (kind == "live" && words >> id) {
      words >> report.live[FromUtf8(id)];
    } else if (kind == "deleted" && words >> id) {
      report.deleted.push_back(FromUtf8(id));
    } else if (kind == "count" && words >> id) {
      words >> report.counts[FromUtf8(id)];
    } else if (kind == "failure") {
      report.failures.push_back(FromUtf8(line.substr(kind.size())));
    } else if (kind == "end") {
      words >> report.inserts >> report.updates >> report.deletes >> report.reads >> report.busy >>
          report.longest_milliseconds;
      ended = !words.fail();
    }
  }
  if (!ended) report.failures.push_back(L"a worker did not come to its end");
  return report;
}

}  // namespace tdefault::tests
