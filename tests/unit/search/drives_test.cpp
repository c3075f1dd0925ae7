// The drives that the search offers, and the network paths behind them.
#include "search/drives.h"

#include <doctest/doctest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/error.h"
#include "platform/simulation/simulation.h"
#include "unit/readable.h"

using namespace tdefault;
using platform::DriveKind;
using platform::simulation::Simulation;
using search::EligibleDrives;
using search::LetterToUNC;

namespace {

constexpr wchar_t kNotFound[] = L"Drive Letter Not Found";

// Each row as one text.
std::vector<std::wstring> Rows(Simulation& machine) {
  std::vector<std::wstring> rows;
  for (const search::DriveRow& row : EligibleDrives(machine.platform().drives)) {
    rows.push_back(row.drive + L" | " + row.image + L" | " + row.description);
  }
  return rows;
}

using Texts = std::vector<std::wstring>;

// Connections whose reading raises an error, counted while they are open.
class BrokenDrives final : public platform::Drives {
 public:
  std::vector<std::wstring> Roots() override { return {L"N:\\"}; }
  DriveKind KindOf(const std::wstring& /*root*/) override { return DriveKind::kRemote; }
  platform::SystemResult<std::unique_ptr<platform::ConnectionEnumeration>> ConnectedResources()
      override {
    return std::unique_ptr<platform::ConnectionEnumeration>(std::make_unique<Broken>(open));
  }

  int open = 0;

 private:
  class Broken final : public platform::ConnectionEnumeration {
   public:
    explicit Broken(int& open) : open_(open) { ++open_; }
    ~Broken() override { --open_; }
    platform::SystemResult<std::vector<platform::NetworkConnection>> Read(
        std::uint32_t /*count*/, std::uint32_t /*buffer_bytes*/) override {
      throw Error(7, L"provider", L"Out of memory");
    }

   private:
    int& open_;
  };
};

// What is asked of one enumeration.
class AskedDrives final : public platform::Drives {
 public:
  std::vector<std::wstring> Roots() override { return {}; }
  DriveKind KindOf(const std::wstring& /*root*/) override { return DriveKind::kUnknown; }
  platform::SystemResult<std::unique_ptr<platform::ConnectionEnumeration>> ConnectedResources()
      override {
    return std::unique_ptr<platform::ConnectionEnumeration>(std::make_unique<Asked>(readings));
  }

  Texts readings;

 private:
  class Asked final : public platform::ConnectionEnumeration {
   public:
    explicit Asked(Texts& readings) : readings_(readings) {}
    platform::SystemResult<std::vector<platform::NetworkConnection>> Read(
        std::uint32_t count, std::uint32_t buffer_bytes) override {
      readings_.push_back(std::to_wstring(count) + L", " + std::to_wstring(buffer_bytes));
      return std::vector<platform::NetworkConnection>{{L"A:", L"\\\\server\\a"}};
    }

   private:
    Texts& readings_;
  };
};

}  // namespace

TEST_CASE("a machine with only a fixed drive yields one row") {
  Simulation machine;
  CHECK(Rows(machine) == Texts{L"C:\\ | HARDDRIVE | Local hard drive C:\\"});
}

TEST_CASE("a network drive shows the path that it is connected to") {
  Simulation machine;
  machine.SetDrive(L"N:\\", DriveKind::kRemote);
  machine.AddConnection(L"N:", L"\\\\server\\shop");
  CHECK(Rows(machine) == Texts{L"C:\\ | HARDDRIVE | Local hard drive C:\\",
                               L"N:\\ | NETWORK | Networked drive \\\\server\\shop"});
}

TEST_CASE("a mapped drive that is remembered but not connected reads Drive Letter Not Found") {
  Simulation machine;
  machine.SetDrive(L"N:\\", DriveKind::kRemote);
  machine.AddConnection(L"M:", L"\\\\server\\other");
  CHECK(Rows(machine).back() == L"N:\\ | NETWORK | Networked drive Drive Letter Not Found");
}

TEST_CASE("drives of every other kind are not offered, and the order is the system's") {
  Simulation machine;
  machine.SetDrive(L"A:\\", DriveKind::kRemovable);
  machine.SetDrive(L"D:\\", DriveKind::kOptical);
  machine.SetDrive(L"E:\\", DriveKind::kRamDisk);
  machine.SetDrive(L"F:\\", DriveKind::kUnknown);
  machine.SetDrive(L"B:\\", DriveKind::kRemote);
  machine.SetDrive(L"Z:\\", DriveKind::kFixed);
  CHECK(Rows(machine) == Texts{L"B:\\ | NETWORK | Networked drive Drive Letter Not Found",
                               L"C:\\ | HARDDRIVE | Local hard drive C:\\",
                               L"Z:\\ | HARDDRIVE | Local hard drive Z:\\"});
}

TEST_CASE("a drive letter is found with or without its backslash and in any letter case") {
  Simulation machine;
  machine.AddConnection(L"N:", L"\\\\server\\shop");
  for (const wchar_t* drive : {L"N:", L"N:\\", L"n:", L"n:\\"}) {
    CHECK(LetterToUNC(machine.platform().drives, drive) == L"\\\\server\\shop");
  }
  for (const wchar_t* drive : {L"N", L"M:\\", L"NN:", L"N:\\\\"}) {
    CHECK(LetterToUNC(machine.platform().drives, drive) == kNotFound);
  }
}

TEST_CASE("of several connections of a letter the last one counts") {
  Simulation machine;
  machine.AddConnection(L"N:", L"\\\\server\\first");
  machine.AddConnection(L"n:", L"\\\\server\\last");
  machine.AddConnection(L"O:", L"\\\\server\\other");
  CHECK(LetterToUNC(machine.platform().drives, L"N:") == L"\\\\server\\last");
}

TEST_CASE("a connection without a drive letter is nobody's path") {
  Simulation machine;
  machine.AddConnection(L"", L"\\\\server\\nameless");
  CHECK(LetterToUNC(machine.platform().drives, L"N:") == kNotFound);
  CHECK(LetterToUNC(machine.platform().drives, L"") == kNotFound);
  CHECK(LetterToUNC(machine.platform().drives, L"\\") == kNotFound);
}

TEST_CASE("one reading of 1024 connections in 32768 bytes is asked for") {
  AskedDrives drives;
  CHECK(LetterToUNC(drives, L"N:") == kNotFound);
  CHECK(drives.readings == Texts{L"1024, 32768"});
}

TEST_CASE("a connection behind the first 1024 is not found") {
  Simulation machine;
  for (int i = 0; i < 1023; ++i) machine.AddConnection(L"", L"\\\\server\\" + std::to_wstring(i));
  machine.AddConnection(L"N:", L"\\\\server\\shop");
  machine.AddConnection(L"O:", L"\\\\server\\beyond");
  CHECK(LetterToUNC(machine.platform().drives, L"N:") == L"\\\\server\\shop");
  CHECK(LetterToUNC(machine.platform().drives, L"O:") == kNotFound);
}

TEST_CASE("with any drive call failing the rows are those that the others give") {
  const auto prepared = [](Simulation& machine) {
    machine.SetDrive(L"N:\\", DriveKind::kRemote);
    machine.AddConnection(L"N:", L"\\\\server\\shop");
  };
  const std::wstring local = L"C:\\ | HARDDRIVE | Local hard drive C:\\";
  const std::wstring found = L"N:\\ | NETWORK | Networked drive \\\\server\\shop";
  const std::wstring not_found = L"N:\\ | NETWORK | Networked drive Drive Letter Not Found";
  // Roots, the kind of C:, the kind of N:, opening the connections, reading them, nothing.
  const std::vector<Texts> expected = {
      {}, {found}, {local}, {local, not_found}, {local, not_found}, {local, found}};
  for (std::size_t call = 1; call <= expected.size(); ++call) {
    Simulation machine;
    prepared(machine);
    machine.FailCall(call, 1222);
    CHECK(Rows(machine) == expected[call - 1]);
    CHECK(machine.open_handles() == 0);
    CHECK(machine.call_count() <= 5);
  }
}

TEST_CASE("an error while connections are read closes them and is passed on with the drive") {
  BrokenDrives drives;
  const auto error = testing::ErrorOf([&] { return LetterToUNC(drives, L"N:\\"); });
  REQUIRE(error);
  CHECK(error->number() == 7);
  CHECK(error->source() == L"provider:LetterToUNC");
  CHECK(error->description() == L"Out of memory: reading the network path of drive N:");
  CHECK(drives.open == 0);
  CHECK(testing::NumberOf([&] { return EligibleDrives(drives).size(); }) == 7);
}
