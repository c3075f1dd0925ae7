#include "tovocfg/key_check.h"

#include <doctest/doctest.h>

#include "platform/simulation/simulation.h"

using namespace tovocfg;
using tdefault::platform::FileAccess;
using tdefault::platform::FileShare;
using tdefault::platform::simulation::Simulation;

namespace {

constexpr wchar_t kFile[] = L"C:\\Shop\\TOVO.INI";

KeyState Look(Simulation& machine, const wchar_t* key) {
  return LookForKey(machine.platform(), kFile, L"S", key);
}

}  // namespace

TEST_CASE("a key is looked for in its section, whatever its value") {
  Simulation machine;
  machine.PutFile(kFile, "[S]\r\na=a\r\nb=b\r\nempty=\r\nlong=123456789\r\n;c=1\r\n[T]\r\nt=1\r\n");
  for (const wchar_t* key : {L"a", L"b", L"B", L"empty", L"long"})
    CHECK(Look(machine, key) == KeyState::kPresent);
  for (const wchar_t* key : {L"c", L"t", L"none"}) CHECK(Look(machine, key) == KeyState::kAbsent);
  CHECK(machine.open_handles() == 0);
}

TEST_CASE("a file that is not there holds no key") {
  Simulation machine;
  CHECK(Look(machine, L"a") == KeyState::kAbsent);
  machine.AddFolder(L"C:\\Shop");
  CHECK(Look(machine, L"a") == KeyState::kAbsent);
}

TEST_CASE("a file that cannot be read may hold the key") {
  Simulation machine;
  machine.PutFile(kFile, "[S]\r\na=1\r\n");
  auto held = machine.HoldOpen(kFile, FileShare::kNone);
  CHECK(Look(machine, L"none") == KeyState::kUnreadable);
  held.Release();
  const auto polite = machine.HoldOpen(kFile, FileShare::kRead, FileAccess::kReadWrite);
  CHECK(Look(machine, L"none") == KeyState::kAbsent);
  CHECK(Look(machine, L"a") == KeyState::kPresent);
}
