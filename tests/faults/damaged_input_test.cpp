// Start-up on tables and INI files that were cut short, emptied or overwritten: an error that names
// the table, or what is whole is loaded; never a crash, never a handle left open, never a file
// changed.
#include <doctest/doctest.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "base/error.h"
#include "integration/sample_shop.h"

using namespace tdefault;
using testing::ErrorOf;
using testing::kShopFolder;
using testing::kShopGlobalIni;
using testing::kShopLocalIni;
using testing::SampleBytes;
using testing::SampleShop;

namespace {

const std::wstring kTable = kShopFolder + L"\\defaults.dbf";
const std::wstring kMemo = kShopFolder + L"\\defaults.fpt";
const std::wstring kLayouts = kShopFolder + L"\\reports.dbf";
const std::wstring kLayoutMemo = kShopFolder + L"\\reports.fpt";

std::string LowerAscii(std::string text) {
  for (char& character : text)
    if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
  return text;
}

// Starts up with these bytes in a file and says what came of it; absent when it loaded.
std::optional<Error> StartWith(const std::wstring& file, const std::string& bytes) {
  SampleShop shop;
  // Values are not what this is about, and reading them is most of the time.
  shop.machine.PutFile(kShopLocalIni, "");
  shop.machine.PutFile(kShopGlobalIni, "");
  shop.options.SetDataPath(kShopFolder);
  shop.machine.PutFile(file, bytes);
  const std::optional<Error> error = ErrorOf([&] { return shop.options.Initialize(); });
  CHECK(shop.machine.open_handles() == 0);
  CHECK(shop.machine.Contents(file) == bytes);
  CHECK(shop.options.elements().size() <= 166);
  return error;
}

// What a file that is whole, but has other content than it should, is refused for: bytes that
// damage has changed into a well-formed table of other columns or values.
bool IsOtherContent(const Error& error, const std::wstring& reason) {
  switch (error.number()) {
    case error_number::kOverflow:
      return reason == L"Overflow";
    case error_number::kTypeMismatch:
      return reason == L"Type mismatch";
    case error_number::kInvalidUseOfNull:
      return reason == L"Invalid use of Null";
    case error_number::kKeyAlreadyInUse:
      return reason == L"This key is already associated with an element of this collection";
    case error_number::kNoSuchItem:
      return reason.find(L"Item cannot be found in the collection") == 0;
    default:
      return false;
  }
}

// The engine's own text, behind "Table DEFAULTS, file ...: ", has to name the damaged file, and say
// what is wrong with it and what to do.
bool NamesFileAndReason(const std::wstring& reason) {
  for (const std::wstring& file : {kTable, kMemo}) {
    const std::wstring start = ToLower(L"Table DEFAULTS, file " + file + L": ");
    if (ToLower(reason).find(start) != 0) continue;
    const std::wstring what = reason.substr(start.size());
    return what.size() > 40 && what.back() == L'.' && what.find(L". ") != std::wstring::npos;
  }
  return false;
}

void CheckTold(const Error& error) {
  CAPTURE(error.description());
  CAPTURE(error.number());
  if (error.source() == L"Reports:Class_Initialize") {
    CHECK(error.number() == error_number::kTableDamaged);
    CHECK(error.description() == L"Reports initialization, 'InitRepCollection' failed.");
    return;
  }
  CHECK(error.source() == L"InitOptCollection");
  const std::wstring start = L"InitOptCollection routine, line ";
  REQUIRE(error.description().find(start) == 0);
  const std::size_t end = error.description().find(L"; ");
  REQUIRE(end != std::wstring::npos);
  const std::wstring reason = error.description().substr(end + 2);
  if (error.number() == error_number::kTableDamaged) {
    CHECK(NamesFileAndReason(reason));
  } else {
    CHECK(IsOtherContent(error, reason));
  }
}

// The entries ("section|key" in lower case) that damage has left: those in front of a cut, in
// sections of which no byte was struck.
std::set<std::string> EntriesLeft(const std::string& whole, const std::string& damaged) {
  std::set<std::string> left;
  std::set<std::string> of_section;
  std::string section;
  bool struck = false;
  const auto end_section = [&] {
    if (!struck) left.merge(of_section);
    of_section.clear();
    struck = false;
  };
  for (std::size_t start = 0; start < whole.size();) {
    const std::size_t end = std::min(whole.find('\n', start), whole.size() - 1) + 1;
    // A line that is cut counts as one that is gone.
    if (end > damaged.size()) break;
    const std::string line = whole.substr(start, end - start);
    if (line[0] == '[') {
      end_section();
      section = line.substr(1, line.find(']') - 1);
    }
    if (damaged.compare(start, line.size(), line) != 0) struck = true;
    if (line[0] != ';' && line.find('=') != std::string::npos)
      of_section.insert(LowerAscii(section + "|" + line.substr(0, line.find('='))));
    start = end;
  }
  end_section();
  return left;
}

// Every option whose entry is left has the value that it has in the intact shop. Gives their
// number.
std::size_t CheckValues(const SampleShop& shop, const SampleShop& intact, const std::wstring& ini,
                        const std::set<std::string>& left) {
  std::size_t compared = 0;
  for (std::size_t i = 0; i < intact.options.elements().size(); ++i) {
    const records::INIOption& expected = *intact.options.elements()[i];
    const records::INIOption& option = *shop.options.elements().at(i);
    CHECK(option.ID() == expected.ID());
    const bool is_damaged_file = option.LocalINI() == (ini == kShopLocalIni);
    // Without the site's number a key of each site is another key.
    if (option.Key() != expected.Key()) continue;
    const std::string entry = LowerAscii(ToUtf8(option.Section() + L"|" + option.Key()));
    if (is_damaged_file && left.count(entry) == 0) continue;
    CAPTURE(entry);
    CHECK(option.CurrentValue() == expected.CurrentValue());
    if (is_damaged_file) ++compared;
  }
  return compared;
}

// Lengths all over a file: every one near its start, then ever fewer, and those near its end.
std::vector<std::size_t> Lengths(std::size_t size) {
  std::vector<std::size_t> lengths;
  for (std::size_t length = 0; length < size; length += length < 64 ? 3 : length < 1024 ? 37 : 3001)
    lengths.push_back(length);
  for (std::size_t less = 1; less < 4 && less < size; ++less) lengths.push_back(size - less);
  return lengths;
}

}  // namespace

TEST_CASE("a definition table of no bytes is an error that names file and reason") {
  const auto error = StartWith(kTable, "");
  REQUIRE(error);
  CheckTold(*error);
  CHECK(error->number() == error_number::kTableDamaged);
  CHECK(ToLower(error->description()).find(ToLower(kTable)) != std::wstring::npos);
}

TEST_CASE("a memo file of no bytes is an error that names file and reason") {
  const auto error = StartWith(kMemo, "");
  REQUIRE(error);
  CheckTold(*error);
  CHECK(error->number() == error_number::kTableDamaged);
  CHECK(ToLower(error->description()).find(ToLower(kMemo)) != std::wstring::npos);
}

TEST_CASE("a definition table cut short anywhere is told, or whole but for its end mark") {
  const std::string whole = SampleBytes("data/defaults.dbf");
  for (const std::size_t length : Lengths(whole.size())) {
    CAPTURE(length);
    const auto error = StartWith(kTable, whole.substr(0, length));
    if (error) CheckTold(*error);
    if (length + 1 < whole.size()) CHECK(error.has_value());
  }
}

TEST_CASE("a memo file cut short anywhere is told, or what is read of it is whole") {
  const std::string whole = SampleBytes("data/defaults.fpt");
  std::size_t told = 0;
  for (const std::size_t length : Lengths(whole.size())) {
    CAPTURE(length);
    const auto error = StartWith(kMemo, whole.substr(0, length));
    if (!error) continue;
    CheckTold(*error);
    ++told;
  }
  CHECK(told > 10);
}

TEST_CASE("random bytes in the definition table are told or load, and end nothing") {
  const std::string whole = SampleBytes("data/defaults.dbf");
  for (std::uint32_t seed = 1; seed <= 120; ++seed) {
    CAPTURE(seed);
    std::mt19937 random(seed);
    std::string bytes = whole;
    // Half of the runs strike the header, where a byte does most harm.
    const std::size_t reach = seed % 2 == 0 ? 780 : bytes.size();
    for (std::uint32_t i = 0; i <= seed % 8; ++i)
      bytes[random() % reach] = static_cast<char>(random() & 0xFFU);
    if (const auto error = StartWith(kTable, bytes)) CheckTold(*error);
  }
}

TEST_CASE("random bytes in the memo file are told or load, and end nothing") {
  const std::string whole = SampleBytes("data/defaults.fpt");
  for (std::uint32_t seed = 1; seed <= 60; ++seed) {
    CAPTURE(seed);
    std::mt19937 random(seed);
    std::string bytes = whole;
    for (std::uint32_t i = 0; i < 40; ++i)
      bytes[random() % bytes.size()] = static_cast<char>(random() & 0xFFU);
    if (const auto error = StartWith(kMemo, bytes)) CheckTold(*error);
  }
}

TEST_CASE("files of random bytes only are told") {
  for (std::uint32_t seed = 1; seed <= 20; ++seed) {
    CAPTURE(seed);
    std::mt19937 random(seed);
    std::string bytes(random() % 4096, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random() & 0xFFU);
    const auto error = StartWith(kTable, bytes);
    REQUIRE(error);
    CheckTold(*error);
  }
}

TEST_CASE("a damaged layouts table is told as the failure of the reports") {
  for (const std::size_t length : {0, 31, 100, 300}) {
    const auto error = StartWith(kLayouts, SampleBytes("data/reports.dbf").substr(0, length));
    REQUIRE(error);
    CheckTold(*error);
    CHECK(error->number() == error_number::kTableDamaged);
  }
  const auto error = StartWith(kLayoutMemo, "");
  REQUIRE(error);
  CheckTold(*error);
}

TEST_CASE("damaged INI files load what they still hold") {
  SampleShop intact;
  REQUIRE(intact.options.Initialize());
  for (const std::wstring& ini : {kShopLocalIni, kShopGlobalIni}) {
    std::size_t compared = 0;
    const std::string whole =
        SampleBytes(ini == kShopLocalIni ? "workstation/TOVO.INI" : "data/TOVOGBL.INI");
    for (std::uint32_t seed = 0; seed <= 12; ++seed) {
      CAPTURE(seed);
      std::mt19937 random(seed);
      std::string bytes = whole.substr(0, random() % whole.size());
      if (seed == 0) bytes.clear();
      for (std::uint32_t i = 0; i < seed && !bytes.empty(); ++i)
        bytes[random() % bytes.size()] = static_cast<char>(random() & 0xFFU);
      SampleShop shop;
      shop.options.SetDataPath(kShopFolder);
      shop.machine.PutFile(ini, bytes);
      CHECK(shop.options.Initialize());
      CHECK(shop.options.Count() == 164);
      CHECK(shop.machine.Contents(ini) == bytes);
      compared += CheckValues(shop, intact, ini, EntriesLeft(whole, bytes));
    }
    CHECK(compared > 100);
  }
}

TEST_CASE("a local INI file that no longer names the data folder is told in a message box") {
  SampleShop shop;
  shop.machine.PutFile(kShopLocalIni, std::string(500, '\0'));
  shop.machine.Answer(platform::MessageAnswer::kNo);
  CHECK_FALSE(shop.options.Initialize());
  CHECK(shop.machine.shown_boxes().size() == 1);
}
