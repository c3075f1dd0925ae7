// What every run of a table's fuzz targets has to keep, whatever the bytes of the files.
#pragma once

#include <cstdint>

#include "base/error.h"
#include "platform/simulation/simulation.h"

namespace tdefault::fuzz {

// Ends the program, which is a finding, unless the condition holds.
void Require(bool condition);

// The files of one table, T in the folder C:\Data.
inline constexpr wchar_t kTable[] = L"C:\\Data\\T.dbf";
inline constexpr wchar_t kMemo[] = L"C:\\Data\\T.fpt";
inline constexpr wchar_t kIndex[] = L"C:\\Data\\T.cdx";

// Reads every value through a statement: values of the declared widths, or errors that name a file.
// Bit 0 of the settings hides deleted rows, bit 1 sorts by GENERAL, bits 2 to 6 choose the system's
// code page.
void ReadTable(platform::simulation::Simulation& machine, std::uint8_t settings);

// Checks the table: every finding names a file, and no file changes. Gives whether it is whole.
bool CheckTable(platform::simulation::Simulation& machine, std::uint8_t settings);

// Adds, changes and deletes rows: a statement is refused or done, and a table that was whole before
// is whole behind it.
void ChangeTable(platform::simulation::Simulation& machine, std::uint8_t settings);

}  // namespace tdefault::fuzz
