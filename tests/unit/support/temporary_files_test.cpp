#include "support/temporary_files.h"

#include <doctest/doctest.h>

#include <string>

#include "platform/simulation/simulation.h"
#include "unit/readable.h"

using namespace tdefault;
using platform::simulation::Simulation;
using testing::ErrorOf;

namespace {

const std::wstring kIni = L"C:\\DATA\\TOVOGBL.INI";

}  // namespace

TEST_CASE("a safety copy stands in the file's own folder under a name of its own") {
  Simulation machine;
  machine.PutFile(kIni, "[S]\r\nk=v\r\n");
  const std::wstring copy = support::MakeTempCopy(machine.platform(), kIni);
  CHECK(copy.substr(0, 11) == L"C:\\DATA\\tov");
  CHECK(machine.Contents(copy) == machine.Contents(kIni));
  CHECK(support::MakeTempCopy(machine.platform(), kIni) != copy);
  CHECK(machine.Contents(kIni) == "[S]\r\nk=v\r\n");
}

TEST_CASE("a safety copy of a read-only file can be written") {
  Simulation machine;
  machine.PutFile(kIni, "x");
  machine.SetReadOnly(kIni);
  const std::wstring copy = support::MakeTempCopy(machine.platform(), kIni);
  CHECK_FALSE(machine.IsReadOnly(copy));
  CHECK(machine.IsReadOnly(kIni));
}

TEST_CASE("without a unique name there is no safety copy") {
  Simulation machine;
  machine.PutFile(kIni, "x");
  machine.FailNext("CreateUnique", platform::system_code::kAccessDenied);
  CHECK(support::MakeTempCopy(machine.platform(), kIni).empty());
  CHECK(support::MakeTempCopy(machine.platform(), L"C:\\NONE\\A.INI").empty());
  CHECK(support::MakeTempCopy(machine.platform(), L"TOVO.INI").empty());
  CHECK(machine.ListFolder(L"C:\\DATA").size() == 1);
}

TEST_CASE("a safety copy of a file that is not there is error 53 and leaves nothing") {
  Simulation machine;
  machine.AddFolder(L"C:\\DATA");
  const auto error =
      ErrorOf([&] { static_cast<void>(support::MakeTempCopy(machine.platform(), kIni)); });
  REQUIRE(error);
  CHECK(error->number() == 53);
  CHECK(error->source() == L"MakeTempCopy");
  CHECK(error->description() ==
        L"The file 'C:\\DATA\\TOVOGBL.INI' could not be copied to 'C:\\DATA\\tov0001.tmp': The "
        L"system "
        L"cannot find the file specified.");
  CHECK(machine.ListFolder(L"C:\\DATA").empty());
}

TEST_CASE("a safety copy that breaks off is removed and its cause told by number") {
  struct Row {
    std::uint32_t code;
    std::int32_t number;
  };
  for (const Row& row :
       {Row{2, 53}, Row{3, 76}, Row{5, 70}, Row{32, 70}, Row{33, 70}, Row{112, 61}, Row{87, 75}}) {
    CAPTURE(row.code);
    Simulation machine;
    machine.PutFile(kIni, "content");
    machine.FailNext("Copy", row.code);
    CHECK(testing::NumberOf([&] {
            static_cast<void>(support::MakeTempCopy(machine.platform(), kIni));
          }) == row.number);
    CHECK(machine.ListFolder(L"C:\\DATA") == std::vector<std::wstring>{L"TOVOGBL.INI"});
  }
}

TEST_CASE("clearing the copy's read-only mark is tried twice") {
  Simulation machine;
  machine.PutFile(kIni, "content");
  machine.FailNext("ClearReadOnly", platform::system_code::kSharingViolation);
  CHECK_FALSE(support::MakeTempCopy(machine.platform(), kIni).empty());
  CHECK(machine.pauses().size() == 1);
}

TEST_CASE("an incomplete copy that cannot be removed is named") {
  Simulation machine;
  machine.PutFile(kIni, "content");
  machine.FailFrom(2, platform::system_code::kDiskFull);
  const auto error =
      ErrorOf([&] { static_cast<void>(support::MakeTempCopy(machine.platform(), kIni)); });
  REQUIRE(error);
  CHECK(error->number() == 61);
  CHECK(error->description().find(L"The incomplete copy 'C:\\DATA\\tov0001.tmp' is left") !=
        std::wstring::npos);
}

TEST_CASE("a scratch file is made in the user's temporary folder with its prefix") {
  Simulation machine;
  const std::wstring path = support::TempFileName(machine.platform().files, L"ini");
  CHECK(path.substr(0, 23) == L"C:\\Users\\Terry\\Temp\\ini");
  CHECK(machine.Contents(path) == "");
}

TEST_CASE("a scratch file that cannot be made has an empty name") {
  Simulation machine;
  auto& files = machine.platform().files;
  machine.FailNext("CreateUnique", platform::system_code::kDiskFull);
  CHECK(support::TempFileName(files, L"ini").empty());
  machine.FailNext("TemporaryFolder", platform::system_code::kAccessDenied);
  CHECK(support::TempFileName(files, L"ini").empty());
  machine.SetVariable(L"TMP", L"C:\\" + std::wstring(260, L't'));
  CHECK(support::TempFileName(files, L"ini").empty());
}

TEST_CASE("a temporary folder of 260 characters or more is refused with the system's code") {
  Simulation machine;
  machine.SetVariable(L"TMP", L"C:\\" + std::wstring(256, L't'));
  CHECK(testing::NumberOf(
            [&] { static_cast<void>(support::GetTempFile(machine.platform(), L"ini")); }) == 206);
}

TEST_CASE("a scratch file that must be made raises the system's code with its text") {
  Simulation machine;
  CHECK_FALSE(support::GetTempFile(machine.platform(), L"ini").empty());
  machine.FailNext("CreateUnique", platform::system_code::kDiskFull);
  const auto error =
      ErrorOf([&] { static_cast<void>(support::GetTempFile(machine.platform(), L"ini")); });
  REQUIRE(error);
  CHECK(error->number() == 112);
  CHECK(error->source() == L"GetTempFile");
  CHECK(error->description() == L"There is not enough space on the disk.");
  machine.FailNext("TemporaryFolder", platform::system_code::kAccessDenied);
  CHECK(testing::NumberOf(
            [&] { static_cast<void>(support::GetTempFile(machine.platform(), L"ini")); }) == 5);
}

TEST_CASE("a file that is held for a moment is removed at the second attempt") {
  Simulation machine;
  machine.PutFile(kIni, "x");
  machine.FailNext("Remove", platform::system_code::kSharingViolation);
  CHECK(support::RemoveWithRetry(machine.platform(), kIni).ok());
  CHECK_FALSE(machine.Exists(kIni));
  REQUIRE(machine.pauses().size() == 1);
  CHECK(machine.pauses()[0].milliseconds == 100);
  CHECK_FALSE(support::RemoveWithRetry(machine.platform(), kIni).ok());
}
