#include "support/ini_values.h"

#include <doctest/doctest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/simulation/simulation.h"
#include "unit/readable.h"

using namespace tdefault;
using platform::simulation::Simulation;

namespace {

const std::wstring kFile = L"C:\\Data\\TOVO.INI";

struct Entry {
  std::wstring section;
  std::wstring key;
  std::wstring value;
  friend bool operator==(const Entry&, const Entry&) = default;
};

// Records what is written; a chosen write fails.
class RecordingProfileFiles final : public platform::ProfileFiles {
 public:
  std::wstring ReadEntry(const std::wstring& section, const std::wstring& key,
                         const std::wstring& fallback, std::uint32_t capacity,
                         const std::wstring& file) override {
    read = {section, key, fallback};
    read_capacity = capacity;
    read_file = file;
    return answer;
  }
  std::wstring ReadSection(const std::wstring& /*section*/, std::uint32_t /*capacity*/,
                           const std::wstring& /*file*/) override {
    return {};
  }
  std::int32_t WriteEntry(const std::wstring& section, const std::optional<std::wstring>& key,
                          const std::optional<std::wstring>& value,
                          const std::wstring& file) override {
    written.push_back({section, *key, *value});
    files.push_back(file);
    return written.size() == failing_write ? 0 : result;
  }

  Entry read;
  std::uint32_t read_capacity = 0;
  std::wstring read_file;
  std::wstring answer;
  std::vector<Entry> written;
  std::vector<std::wstring> files;
  std::size_t failing_write = 0;
  std::int32_t result = 1;
};

}  // namespace

TEST_CASE("a missing key without a default reads Not found") {
  Simulation machine;
  machine.PutFile(kFile, "[S]\r\nk=v\r\n");
  auto& profile_files = machine.platform().profile_files;
  CHECK(support::ReadIniValue(profile_files, L"S", L"other", kFile) == L"Not found");
  CHECK(support::ReadIniValue(profile_files, L"S", L"k", L"C:\\Data\\NONE.INI") == L"Not found");
  CHECK(support::ReadIniValue(profile_files, L"S", L"k", kFile) == L"v");
}

TEST_CASE("a text default replaces a missing key, a number does not") {
  Simulation machine;
  machine.PutFile(kFile, "[S]\r\n");
  auto& profile_files = machine.platform().profile_files;
  const auto read = [&](const Value& fallback) {
    return support::ReadIniValue(profile_files, L"S", L"k", kFile, fallback);
  };
  CHECK(read(std::wstring(L"0")) == L"0");
  CHECK(read(std::wstring()).empty());
  CHECK(read(0) == L"Not found");
  CHECK(read(0.0) == L"Not found");
  CHECK(read(Null()) == L"Not found");
  CHECK(read(true) == L"Not found");
}

TEST_CASE("a stored value of not found in any letter case counts as missing") {
  Simulation machine;
  machine.PutFile(kFile, "[S]\r\nk=nOT fOUND\r\n");
  auto& profile_files = machine.platform().profile_files;
  CHECK(support::ReadIniValue(profile_files, L"S", L"k", kFile, Value(std::wstring(L"d"))) == L"d");
  CHECK(support::ReadIniValue(profile_files, L"S", L"k", kFile) == L"nOT fOUND");
}

TEST_CASE("an empty value is a value") {
  Simulation machine;
  machine.PutFile(kFile, "[S]\r\nk=\r\n");
  CHECK(support::ReadIniValue(machine.platform().profile_files, L"S", L"k", kFile,
                              Value(std::wstring(L"d")))
            .empty());
}

TEST_CASE("a value is read into 2555 characters") {
  RecordingProfileFiles profile_files;
  profile_files.answer = L"v";
  CHECK(support::ReadIniValue(profile_files, L"S", L"k", kFile, Value(std::wstring(L"d"))) == L"v");
  CHECK(profile_files.read == Entry{L"S", L"k", L"Not found"});
  CHECK(profile_files.read_capacity == 2555);
  CHECK(profile_files.read_file == kFile);

  Simulation machine;
  machine.PutFile(kFile, "[S]\r\nk=" + std::string(3000, 'x') + "\r\n");
  CHECK(support::ReadIniValue(machine.platform().profile_files, L"S", L"k", kFile) ==
        std::wstring(2554, L'x'));
}

TEST_CASE("a file without a name holds nothing") {
  Simulation machine;
  machine.PutFile(L"C:\\Windows\\WIN.INI", "[S]\r\nk=v\r\n");
  auto& profile_files = machine.platform().profile_files;
  CHECK(support::ReadIniValue(profile_files, L"S", L"k", L"") == L"Not found");
  CHECK(support::ReadIniValue(profile_files, L"S", L"k", L"", Value(std::wstring(L"d"))) == L"d");
}

TEST_CASE("writing a value returns the system's own result") {
  RecordingProfileFiles profile_files;
  profile_files.result = 7;
  CHECK(support::WriteIniValue(profile_files, L"S", L"k", L"v", kFile) == 7);
  CHECK(profile_files.written == std::vector<Entry>{{L"S", L"k", L"v"}});
  CHECK(profile_files.files == std::vector<std::wstring>{kFile});
  profile_files.failing_write = 2;
  CHECK(support::WriteIniValue(profile_files, L"S", L"k", L"v", kFile) == 0);
}

TEST_CASE("the company number is the location when it is numeric") {
  struct Row {
    const char* stored;
    const wchar_t* number;
  };
  const std::vector<Row> rows = {{"3", L"3"},     {"12.5", L"12.5"}, {"-1", L"-1"},
                                 {"1e2", L"1e2"}, {"&H10", L"&H10"}, {"three", L""},
                                 {"", L""},       {"3a", L""},       {"1,000", L"1,000"}};
  for (const Row& row : rows) {
    CAPTURE(row.stored);
    Simulation machine;
    machine.PutFile(kFile, std::string("[Companyname]\r\nLocation=") + row.stored + "\r\n");
    CHECK(support::GetCompanyNumber(machine.platform().profile_files, kFile) == row.number);
  }
  Simulation machine;
  CHECK(support::GetCompanyNumber(machine.platform().profile_files, kFile).empty());
}

TEST_CASE("a report font is written as seven keys in their order") {
  RecordingProfileFiles profile_files;
  CHECK(support::SaveReportFont(profile_files, L"Arial|10|0|1|0|-1|255", kFile));
  CHECK(profile_files.written == std::vector<Entry>{{L"Windows", L"ReportFont", L"Arial"},
                                                    {L"Windows", L"ReportFontSize", L"10"},
                                                    {L"Windows", L"ReportFontItalic", L"0"},
                                                    {L"Windows", L"ReportFontUnderline", L"1"},
                                                    {L"Windows", L"ReportFontStrikeThru", L"0"},
                                                    {L"Windows", L"ReportFontBold", L"-1"},
                                                    {L"Windows", L"ReportFontColor", L"255"}});
  CHECK(profile_files.files == std::vector<std::wstring>(7, kFile));
}

TEST_CASE("parts of a report font beyond the seventh are ignored") {
  RecordingProfileFiles profile_files;
  CHECK(support::SaveReportFont(profile_files, L"a|b|c|d|e|f|g|h|i", kFile));
  REQUIRE(profile_files.written.size() == 7);
  CHECK(profile_files.written[6].value == L"g");
}

TEST_CASE("empty parts of a report font are written") {
  RecordingProfileFiles profile_files;
  CHECK(support::SaveReportFont(profile_files, L"||||||", kFile));
  REQUIRE(profile_files.written.size() == 7);
  CHECK(profile_files.written[0].value.empty());
}

TEST_CASE("a report font of fewer than seven parts writes nothing and succeeds") {
  for (const std::wstring value : {L"a|b|c|d|e|f", L"Arial", L"", L"Not found"}) {
    CAPTURE(value);
    RecordingProfileFiles profile_files;
    CHECK(support::SaveReportFont(profile_files, value, kFile));
    CHECK(profile_files.written.empty());
  }
}

TEST_CASE("a report font fails when any of its writes fails, and the others are written") {
  for (std::size_t failing = 1; failing <= 7; ++failing) {
    CAPTURE(failing);
    RecordingProfileFiles profile_files;
    profile_files.failing_write = failing;
    CHECK_FALSE(support::SaveReportFont(profile_files, L"a|b|c|d|e|f|g", kFile));
    CHECK(profile_files.written.size() == 7);
  }
}

TEST_CASE("an invoice style is written in upper case as three keys in their order") {
  RecordingProfileFiles profile_files;
  CHECK(support::SaveInvoiceStyle(profile_files, L"a", kFile));
  CHECK(profile_files.written == std::vector<Entry>{{L"InvoiceControl", L"InvoiceStyle", L"A"},
                                                    {L"InvoiceControl", L"DedInvoiceStyle", L"AD"},
                                                    {L"InvoiceControl", L"FaxReport", L"A"}});
  CHECK(profile_files.files == std::vector<std::wstring>(3, kFile));
}

TEST_CASE("an invoice style fails when any of its writes fails") {
  for (std::size_t failing = 1; failing <= 3; ++failing) {
    CAPTURE(failing);
    RecordingProfileFiles profile_files;
    profile_files.failing_write = failing;
    CHECK_FALSE(support::SaveInvoiceStyle(profile_files, L"a", kFile));
    CHECK(profile_files.written.size() == 3);
  }
}
