// Which parts of installation kits a shop needs by default: what follows a change of that choice.
#include <memory>
#include <optional>
#include <string>

#include "base/date_time.h"
#include "base/error.h"
#include "base/value.h"
#include "catalogue/Options.h"
#include "support/paths.h"
#include "support/registry.h"
#include "support/table_connection.h"

namespace tdefault::catalogue {
namespace {

constexpr const wchar_t* kProgramKey =
    L"Software\\VB and VBA Program Settings\\Tovo\\Modules\\KitProgram";

// Compared as a number: "0.0" is equal to 0, and text that is no number is not.
bool EqualsZero(const std::wstring& kit_choice) {
  const std::optional<double> number = ParseNumber(kit_choice);
  return number && *number == 0;
}

// No kit part is needed.
std::wstring ResetStatement(const std::wstring& date) {
  return L"UPDATE Need SET Need=.F., Changed={" + date +
         L"},Changedby=-121,Changstat=1 WHERE UPPER(LEFT(Hw_part_id, 4)) = 'HWAH'";
}

// The statement of a choice; of one that has none, the one that was built before it.
std::wstring ChoiceStatement(const std::wstring& kit_choice, const std::wstring& date,
                             const std::wstring& built_before) {
  const std::wstring need = L"UPDATE Need SET Need=.T., Changed={" + date + L"},";
  if (kit_choice == L"0")
    return need + L"Changedby=-121,Changstat=1 WHERE UPPER(LEFT(Hw_part_id, 4)) = 'HWAH'";
  if (kit_choice == L"1")
    return need + L"Changedby=-121,Changstat=1 WHERE UPPER(Hw_part_id) <> 'HWAH00448'";
  if (kit_choice == L"2")
    return need +
           L"Changedby=-121, Changstat=1 WHERE UPPER(Hw_part_id) = 'HWAH00448' OR NOT EXIST "
           L"(SELECT 1 FROM Need as b WHERE Need.Car_id = b.Car_id and "
           L"Need.Part_id = b.Part_id and b.Hw_part_id = 'HWAH00448')";
  if (kit_choice == L"3") return ResetStatement(date);
  return built_before;
}

}  // namespace

bool Options::SetDefKits(const std::wstring& kit_choice) {
  bool done = false;
  try {
    const std::wstring command = KitProgramCommand();
    if (command.empty()) {
      UpdateKits(kit_choice);
      done = true;
    } else {
      done = RunKitProgram(command);
    }
  } catch (const Error&) {
    // The result tells; nothing is raised.
    done = false;
  }
  TellStatus(L"");
  return done;
}

void Options::UpdateKits(const std::wstring& kit_choice) {
  const std::wstring date = ToMonthDayYear(platform_.clock.Today());
  std::unique_ptr<tables::Connection> connection = tables_.MakeConnection();
  std::unique_ptr<tables::Recordset> none;
  try {
    connection->set_connection_string(support::ConnectionString(DataPath()));
    connection->Open();
    std::wstring statement;
    if (!EqualsZero(kit_choice)) {
      statement = ResetStatement(date);
      connection->Execute(statement);
    }
    // Resetting a second time, for choice "3" and those without a statement, is part of the job. A
    // text that is equal to 0 and not "0" has no statement at all, which the tables refuse.
    connection->Execute(ChoiceStatement(kit_choice, date, statement));
    support::CloseRecordset(connection, none);
  } catch (const Error&) {
    support::CloseAfterFailure(connection, none);
    throw;
  }
}

bool Options::RunKitProgram(const std::wstring& command) {
  const std::wstring program = support::TextBeforeNull(command);
  if (!support::FileExists(platform_.files, program)) {
    if (events_ != nullptr)
      events_->DLLError(error_number::kFileNotFound,
                        L"The specified kit update program, '" + program + L"' was not found");
    return false;
  }
  TellStatus(L"Running external program to modify kits, please wait ...");
  return RunAndWait(command);
}

std::wstring Options::KitProgramCommand() const {
  support::clsUseReg registry(platform_.registry, platform_.session);
  const auto read = [&](const wchar_t* item) {
    return registry.ReadRegText(platform::registry_root::kCurrentUser, kProgramKey, item, L"");
  };
  const std::wstring program = read(L"Program");
  const std::wstring path = read(L"Path");
  const std::wstring parameters = read(L"Parms");
  if (program.empty()) return {};
  std::wstring command = path;
  if (!path.empty() && path.back() != L'\\') command += L'\\';
  command += program;
  if (!parameters.empty()) command += L'\0' + parameters;
  return command;
}

// A quoted program is no name that the system starts, so one with a blank in its path is never
// started; hosts rely on it.
bool Options::RunAndWait(const std::wstring& command) {
  std::wstring program = support::TextBeforeNull(command);
  if (program.find(L' ') != std::wstring::npos) program = L'"' + program + L'"';
  const auto process =
      platform_.processes.Start(program, program + L' ' + support::TextAfterNull(command));
  if (!process.ok()) return false;
  platform_.dialogs.ProcessPendingMessages();
  // That it was started is the result, whatever became of it.
  static_cast<void>(process.value()->Wait());
  static_cast<void>(process.value()->ExitCode());
  return true;
}

void Options::TellStatus(const std::wstring& text) {
  if (events_ != nullptr) events_->Status(text);
}

}  // namespace tdefault::catalogue
