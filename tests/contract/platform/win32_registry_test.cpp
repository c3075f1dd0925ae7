// Numbers and texts of the system's own registry.
#include <doctest/doctest.h>
#include <windows.h>

#include <string>

#include "platform/win32/win32_platform.h"
#include "support/registry.h"

using namespace tdefault;

namespace {

constexpr std::uint32_t kUser = platform::registry_root::kCurrentUser;

// A key of its own, gone behind the test.
class Registry {
 public:
  ~Registry() { RegDeleteTreeW(HKEY_CURRENT_USER, key.c_str()); }

  const std::wstring key =
      L"Software\\TovoDefaultsTest\\Round trip " + std::to_wstring(GetCurrentProcessId());

 private:
  platform::win32::Win32Platform machine_;

 public:
  support::clsUseReg service{machine_.platform().registry, machine_.platform().session};
};

}  // namespace

TEST_CASE_FIXTURE(Registry, "numbers make the round trip through the system's registry") {
  CHECK(service.ReadRegNumber(kUser, key, L"Count", 7) == 0);
  CHECK(service.SaveRegNumber(kUser, key, L"Count", -5) == 0);
  CHECK(service.ReadRegNumber(kUser, key, L"count", 7) == -5);
  CHECK(service.ReadRegNumber(kUser, key, L"Missing", 7) == 7);
  CHECK(service.SaveRegText(kUser, key, L"Text", L"12") == 0);
  CHECK(service.ReadRegNumber(kUser, key, L"Text", 7) == 0);
}

TEST_CASE_FIXTURE(Registry, "texts make the round trip through the system's registry") {
  CHECK(service.ReadRegText(kUser, key, L"Name", L"none") == L"none");
  CHECK(service.SaveRegText(kUser, key, L"Name", L"Caf\u00E9 one") == 0);
  CHECK(service.ReadRegText(kUser, key, L"Name", L"none") == L"Caf\u00E9 one");
  CHECK(service.ReadRegText(kUser, key, L"Missing", L"none") == L"none");
  CHECK(service.SaveRegText(kUser, key, L"Empty", L"") == 0);
  CHECK(service.ReadRegText(kUser, key, L"Empty", L"none") == L"none");
  CHECK(service.SaveRegText(kUser, key, L"Long", std::wstring(254, L'x')) == 0);
  CHECK(service.ReadRegText(kUser, key, L"Long", L"none") == std::wstring(254, L'x'));
  CHECK(service.SaveRegText(kUser, key, L"Long", std::wstring(255, L'x')) == 0);
  CHECK(service.ReadRegText(kUser, key, L"Long", L"none") == L"Function error");
}

TEST_CASE_FIXTURE(Registry, "a key with sub-keys stays in the system's registry") {
  CHECK(service.SaveRegNumber(kUser, key + L"\\Upper\\Lower", L"Count", 1) == 0);
  CHECK(service.DeleteRegKey(kUser, key, L"Upper") != 0);
  CHECK(service.ReadRegNumber(kUser, key + L"\\Upper\\Lower", L"Count", 7) == 1);
  CHECK(service.DeleteRegKey(kUser, key + L"\\Upper", L"Lower") == 0);
  CHECK(service.DeleteRegKey(kUser, key, L"Upper") == 0);
  CHECK(service.ListRegKeys(kUser, key).empty());
}
