#include "support/locations.h"

#include <doctest/doctest.h>

#include <string>

#include "platform/simulation/simulation.h"
#include "unit/readable.h"

using namespace tdefault;
using platform::simulation::Simulation;
using support::LocationState;

TEST_CASE("the local INI name is the override or else TOVO.INI") {
  LocationState location;
  CHECK(support::LocalIniName(location) == L"TOVO.INI");
  location.local_ini_name = L"X";
  CHECK(support::LocalIniName(location) == L"X");
}

TEST_CASE("a data path loses one trailing backslash when set and one when read") {
  Simulation machine;
  LocationState location;
  support::SetDataPath(location, L"C:\\DATA\\");
  CHECK(location.data_path == L"C:\\DATA");
  CHECK(support::GetDataPath(machine.platform(), location) == L"C:\\DATA");
  support::SetDataPath(location, L"C:\\DATA\\\\");
  CHECK(location.data_path == L"C:\\DATA\\");
  CHECK(support::GetDataPath(machine.platform(), location) == L"C:\\DATA");
  support::SetDataPath(location, L"C:\\DATA\\\\\\");
  CHECK(support::GetDataPath(machine.platform(), location) == L"C:\\DATA\\");
}

TEST_CASE("a data path is stored with its blanks and read without them") {
  Simulation machine;
  LocationState location;
  support::SetDataPath(location, L"  C:\\DATA  ");
  CHECK(location.data_path == L"  C:\\DATA  ");
  CHECK(support::GetDataPath(machine.platform(), location) == L"C:\\DATA");
  // The backslash is not the last character when it is set, but it is when it is read.
  support::SetDataPath(location, L" C:\\DATA\\ ");
  CHECK(support::GetDataPath(machine.platform(), location) == L"C:\\DATA");
}

TEST_CASE("without an override the data path comes from the local INI file in the Windows folder") {
  Simulation machine;
  LocationState location;
  machine.PutFile(L"C:\\Windows\\TOVO.INI", "[Defaults]\r\nDataPath=C:\\SHOP\\\r\n");
  machine.PutFile(L"C:\\Work\\TOVO.INI", "[Defaults]\r\nDataPath=C:\\WRONG\r\n");
  CHECK(support::GetDataPath(machine.platform(), location) == L"C:\\SHOP");
  location.local_ini_name = L"C:\\Work\\TOVO.INI";
  CHECK(support::GetDataPath(machine.platform(), location) == L"C:\\WRONG");
  support::SetDataPath(location, L"C:\\SET");
  CHECK(support::GetDataPath(machine.platform(), location) == L"C:\\SET");
  support::SetDataPath(location, L"");
  CHECK(support::GetDataPath(machine.platform(), location) == L"C:\\WRONG");
}

TEST_CASE("a data path read from the INI file is not trimmed") {
  Simulation machine;
  const LocationState location;
  machine.PutFile(L"C:\\Windows\\TOVO.INI", "[Defaults]\r\nDataPath=\" C:\\SHOP \"\r\n");
  CHECK(support::GetDataPath(machine.platform(), location) == L" C:\\SHOP ");
}

TEST_CASE("a data path that nobody has set is empty") {
  Simulation machine;
  CHECK(support::GetDataPath(machine.platform(), LocationState()).empty());
}

TEST_CASE("a data path from the INI file has at most 259 characters") {
  Simulation machine;
  machine.PutFile(L"C:\\Windows\\TOVO.INI",
                  "[Defaults]\r\nDataPath=" + std::string(300, 'p') + "\r\n");
  CHECK(support::GetDataPath(machine.platform(), LocationState()) == std::wstring(259, L'p'));
}

TEST_CASE("GLOBAL in any letter case is the global INI file of the data folder, there or not") {
  Simulation machine;
  LocationState location;
  support::SetDataPath(location, L"C:\\DATA");
  for (const std::wstring name : {L"GLOBAL", L"global", L"gLoBaL"})
    CHECK(support::GetIniPath(machine.platform(), location, name) == L"C:\\DATA\\TOVOGBL.INI");
}

TEST_CASE("an INI name with a backslash is its own path") {
  Simulation machine;
  CHECK(support::GetIniPath(machine.platform(), LocationState(), L"X:\\none\\a.ini") ==
        L"X:\\none\\a.ini");
  CHECK(support::GetIniPath(machine.platform(), LocationState(), L"sub\\a.ini") == L"sub\\a.ini");
}

TEST_CASE("a bare INI name is found by the system's file search, or is empty") {
  Simulation machine;
  const LocationState location;
  CHECK(support::GetIniPath(machine.platform(), location, L"TOVO.INI").empty());
  machine.PutFile(L"C:\\Work\\TOVO.INI", "");
  CHECK(support::GetIniPath(machine.platform(), location, L"tovo.ini") == L"C:\\Work\\tovo.ini");
  machine.RemoveFile(L"C:\\Work\\TOVO.INI");
  machine.PutFile(L"C:\\Windows\\TOVO.INI", "");
  CHECK(support::GetIniPath(machine.platform(), location, L"TOVO.INI") == L"C:\\Windows\\TOVO.INI");
}

TEST_CASE("an INI file that the search cannot give is empty") {
  Simulation machine;
  machine.PutFile(L"C:\\Work\\TOVO.INI", "");
  machine.FailNext("Locate", platform::system_code::kFileNotFound);
  CHECK(support::GetIniPath(machine.platform(), LocationState(), L"TOVO.INI").empty());
}
