// INI files rewritten, and definitions deleted, with every platform call failing in turn, failing
// from there on, and ending the process, and with every table call failing. Whatever strikes, the
// file is there with its old or with all of its new content.
#include <doctest/doctest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "integration/definition_shop.h"
#include "platform/simulation/call_log.h"

using namespace tdefault;
using platform::simulation::ProcessEnded;
using testing::DefinitionShop;
using testing::kShopFolder;
using testing::kShopGlobalIni;
using testing::kShopLocalIni;
using testing::SampleShop;

namespace {

constexpr std::array<std::uint32_t, 3> kCodes = {platform::system_code::kAccessDenied,
                                                 platform::system_code::kSharingViolation,
                                                 platform::system_code::kDiskFull};

const std::string kBefore =
    ";about a\r\n[S]\r\na=1\r\n;about b\r\nb=2\r\nc=3\r\n\r\n[T]\r\n;about b\r\nd=4\r\n";

struct Table {
  std::string rows;
  std::string memos;
};

// The definitions of the file's keys, made once.
const Table& Definitions() {
  static const Table kTable = [] {
    DefinitionShop shop;
    for (const wchar_t* key : {L"a", L"b", L"c"})
      shop.Define(key, false, L"S", key, std::wstring(L"about ") + key);
    shop.Define(L"d", false, L"T", L"d", L"about d");
    return Table{shop.Content(kShopFolder + L"\\defaults.dbf"),
                 shop.Content(kShopFolder + L"\\defaults.fpt")};
  }();
  return kTable;
}

// A shop with that table, and the file.
class Struck : public SampleShop {
 public:
  Struck() {
    machine.PutFile(kShopLocalIni,
                    "[Defaults]\r\nDataPath=C:\\SHOP\\DATA\r\n[Companyname]\r\nLocation=3\r\n");
    machine.PutFile(kShopGlobalIni, kBefore);
    machine.PutFile(kShopFolder + L"\\defaults.dbf", Definitions().rows);
    machine.PutFile(kShopFolder + L"\\defaults.fpt", Definitions().memos);
    first_call = machine.call_count() + 1;
  }

  // What the global file holds, without the user's name: the display name,
  // the log-on name where the version is not known, or none.
  [[nodiscard]] std::string Content() const {
    std::string text = machine.Contents(kShopGlobalIni).value_or("(missing)");
    for (const char* name : {"Terry Owne", "terry"}) {
      const std::size_t start = text.find(name);
      if (start != std::string::npos) text.erase(start, std::string(name).size());
    }
    return text;
  }

  // The temporary files of the machine.
  [[nodiscard]] std::vector<std::wstring> Leftovers() const {
    std::vector<std::wstring> found;
    for (const std::wstring& path : machine.AllFiles())
      if (path.find(L".tmp") != std::wstring::npos) found.push_back(path);
    return found;
  }

  // Whether one of them holds the old content.
  [[nodiscard]] bool OldStandsBeside() const {
    const auto leftovers = Leftovers();
    return std::any_of(leftovers.begin(), leftovers.end(),
                       [&](const std::wstring& path) { return machine.Contents(path) == kBefore; });
  }

  std::size_t first_call = 0;
};

using Operation = std::function<bool(catalogue::Options&)>;

struct Undertaking {
  const char* name;
  Operation run;
  // What the file may hold, from the old content to the new one.
  std::vector<std::string> states;
};

// What an operation makes of the file when nothing strikes.
std::string Outcome(const Operation& run) {
  Struck shop;
  CHECK(run(shop.options));
  CHECK(shop.Leftovers().empty());
  return shop.Content();
}

Undertaking Rewriting(const char* name, const Operation& run) {
  const std::string after = Outcome(run);
  REQUIRE(after != kBefore);
  return {name, run, {kBefore, after}};
}

const std::vector<Undertaking>& Rewritings() {
  using catalogue::Options;
  static const std::vector<Undertaking> kAll = {
      Rewriting("CommentFile", [](Options& o) { return o.CommentFile(kShopGlobalIni); }),
      Rewriting("ClearIniComments", [](Options& o) { return o.ClearIniComments(kShopGlobalIni); }),
      Rewriting("RemoveIniComment",
                [](Options& o) { return o.RemoveIniComment(kShopGlobalIni, L"about b"); }),
      Rewriting("CommentINIKey", [](Options& o) { return o.CommentINIKey(L"b"); })};
  return kAll;
}

const std::vector<Undertaking>& Deletions() {
  using catalogue::Options;
  static const std::vector<Undertaking> kAll = [] {
    const Operation one = [](Options& o) { return o.DeleteOption(L"b"); };
    const Operation last = [](Options& o) { return o.DeleteOption(L"d"); };
    Struck shop;
    shop.machine.platform().profile_files.WriteEntry(L"S", L"b", std::nullopt, kShopGlobalIni);
    return std::vector<Undertaking>{
        {"DeleteOption of one key", one, {kBefore, shop.Content(), Outcome(one)}},
        {"DeleteOption of the last key", last, {kBefore, Outcome(last)}}};
  }();
  return kAll;
}

std::size_t CallsOf(const Undertaking& undertaking) {
  Struck shop;
  CHECK(undertaking.run(shop.options));
  return shop.machine.call_count() + 1 - shop.first_call;
}

// How many calls a deletion makes before it turns to the file; the catalogue is loaded then.
std::size_t CallsBeforeFile(const Undertaking& undertaking) {
  Struck shop;
  CHECK(undertaking.run(shop.options));
  const auto& calls = shop.machine.calls();
  std::size_t call = shop.first_call - 1;
  while (calls.at(call).operation != "ReadSection") ++call;
  // The file is opened before its section is read.
  CHECK(calls.at(call - 1).operation == "Open");
  return call - shop.first_call;
}

bool Holds(const std::vector<std::string>& states, const std::string& content) {
  return std::find(states.begin(), states.end(), content) != states.end();
}

// Absent when the process ended.
std::optional<bool> Run(const Undertaking& undertaking, Struck& shop) {
  try {
    return undertaking.run(shop.options);
  } catch (const ProcessEnded&) {
    return std::nullopt;
  }
}

// The IDs of the table's rows after a restart.
std::size_t RowsOf(Struck& shop) {
  shop.machine.Restart();
  const auto connection = support::OpenConnection(
      shop.tables, kShopFolder, tables::CursorLocation::kClient, tables::ConnectMode::kRead);
  const auto recordset = connection->Execute(L"SELECT Id FROM DEFAULTS");
  return static_cast<std::size_t>(recordset->record_count());
}

// A deletion that did not come to the table has not come to the file.
void CheckOrder(Struck& shop) {
  const std::size_t rows = RowsOf(shop);
  CHECK((rows == 4 || rows == 3));
  if (rows == 4) CHECK(shop.Content() == kBefore);
}

}  // namespace

TEST_CASE("a rewriting in which one call fails leaves the file old or new and nothing beside") {
  // A failure adds calls: retries, and what takes the temporary file away.
  constexpr std::size_t kUndoing = 4;
  for (const Undertaking& undertaking : Rewritings()) {
    const std::size_t calls = CallsOf(undertaking) + kUndoing;
    std::size_t failed = 0;
    for (std::size_t call = 0; call < calls; ++call)
      for (const std::uint32_t code : kCodes) {
        CAPTURE(undertaking.name);
        CAPTURE(call);
        CAPTURE(code);
        Struck shop;
        shop.machine.TearWrites();
        shop.machine.FailCall(shop.first_call + call, code);
        const std::optional<bool> done = Run(undertaking, shop);
        CHECK(shop.Content() == undertaking.states[*done ? 1 : 0]);
        CHECK(shop.Leftovers().empty());
        CHECK(shop.machine.open_handles() == 0);
        CHECK(shop.tables.calls.open_connections == 0);
        if (!*done) ++failed;
      }
    CHECK(failed > 10);
  }
}

TEST_CASE("a rewriting in which every call fails from some point on leaves the file old or new") {
  for (const Undertaking& undertaking : Rewritings()) {
    const std::size_t calls = CallsOf(undertaking);
    for (std::size_t call = 0; call < calls; ++call)
      for (const std::uint32_t code : kCodes) {
        CAPTURE(undertaking.name);
        CAPTURE(call);
        CAPTURE(code);
        Struck shop;
        shop.machine.TearWrites();
        shop.machine.FailFrom(shop.first_call + call, code);
        const std::optional<bool> done = Run(undertaking, shop);
        CHECK(shop.Content() == undertaking.states[*done ? 1 : 0]);
        CHECK(shop.machine.open_handles() == 0);
      }
  }
}

TEST_CASE("a process that ends in the middle of a rewriting leaves the file old or new") {
  for (const Undertaking& undertaking : Rewritings()) {
    const std::size_t calls = CallsOf(undertaking);
    std::set<std::string> seen;
    for (std::size_t call = 0; call < calls; ++call) {
      CAPTURE(undertaking.name);
      CAPTURE(call);
      Struck shop;
      shop.machine.TearWrites();
      shop.machine.EndProcessAt(shop.first_call + call);
      static_cast<void>(Run(undertaking, shop));
      CHECK(Holds(undertaking.states, shop.Content()));
      seen.insert(shop.Content());
      // The next process does what this one did not.
      shop.machine.Restart();
      CHECK(undertaking.run(shop.options));
    }
    // Replacing the file is the last call.
    CHECK(seen == std::set<std::string>{kBefore});
  }
}

TEST_CASE("a rewriting in which a table call fails leaves the file as it was and nothing open") {
  const Undertaking& commenting = Rewritings()[0];
  const Undertaking& disabling = Rewritings()[3];
  for (const Undertaking* undertaking : {&commenting, &disabling})
    for (std::size_t call = 1;; ++call) {
      CAPTURE(undertaking->name);
      CAPTURE(call);
      Struck shop;
      shop.tables.calls.failing = call;
      const bool done = undertaking->run(shop.options);
      CHECK(shop.Content() == undertaking->states[done ? 1 : 0]);
      CHECK(shop.Leftovers().empty());
      CHECK(shop.machine.open_handles() == 0);
      CHECK(shop.tables.calls.open_connections == 0);
      CHECK(shop.tables.calls.open_recordsets == 0);
      CHECK(done == (shop.tables.calls.count < call));
      if (done) break;
    }
}

TEST_CASE("a deletion in which one call fails leaves a whole file and nothing beside") {
  constexpr std::size_t kUndoing = 8;
  for (const Undertaking& undertaking : Deletions()) {
    const std::size_t calls = CallsOf(undertaking) + kUndoing;
    const std::size_t loaded = CallsBeforeFile(undertaking);
    for (std::size_t call = 0; call < calls; ++call) {
      CAPTURE(undertaking.name);
      CAPTURE(call);
      Struck shop;
      shop.machine.TearWrites();
      shop.machine.FailCall(shop.first_call + call, kCodes[call % kCodes.size()]);
      const std::optional<bool> done = Run(undertaking, shop);
      // What strikes the file does not make a failure of the deletion.
      if (call >= loaded) CHECK(*done);
      CHECK(Holds(undertaking.states, shop.Content()));
      CHECK(shop.Leftovers().empty());
      CHECK(shop.machine.open_handles() == 0);
      CHECK(shop.tables.calls.open_connections == 0);
      CheckOrder(shop);
    }
  }
}

TEST_CASE("a deletion in which every call fails from some point on loses nothing") {
  for (const Undertaking& undertaking : Deletions()) {
    const std::size_t calls = CallsOf(undertaking);
    const std::size_t loaded = CallsBeforeFile(undertaking);
    for (std::size_t call = 0; call < calls; ++call) {
      CAPTURE(undertaking.name);
      CAPTURE(call);
      Struck shop;
      shop.machine.TearWrites();
      shop.machine.FailFrom(shop.first_call + call, platform::system_code::kDiskFull);
      const std::optional<bool> done = Run(undertaking, shop);
      if (call >= loaded) CHECK(*done);
      CHECK((Holds(undertaking.states, shop.Content()) || shop.OldStandsBeside()));
      CHECK(shop.machine.open_handles() == 0);
      CheckOrder(shop);
    }
  }
}

TEST_CASE("a process that ends in the middle of a deletion loses nothing") {
  for (const Undertaking& undertaking : Deletions())
    for (const bool tears : {false, true}) {
      const std::size_t calls = CallsOf(undertaking);
      std::size_t torn = 0;
      for (std::size_t call = 0; call < calls; ++call) {
        CAPTURE(undertaking.name);
        CAPTURE(tears);
        CAPTURE(call);
        Struck shop;
        if (tears) shop.machine.TearWrites();
        shop.machine.EndProcessAt(shop.first_call + call);
        static_cast<void>(Run(undertaking, shop));
        if (!Holds(undertaking.states, shop.Content())) {
          ++torn;
          CHECK(shop.OldStandsBeside());
        }
        CheckOrder(shop);
      }
      CHECK(torn == (tears ? 1 : 0));
    }
}
