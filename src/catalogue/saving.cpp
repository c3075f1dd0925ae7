// Saving: every option is written to its INI file, with backups that a failure puts back.
#include <array>
#include <memory>
#include <new>
#include <optional>
#include <vector>

#include "base/error.h"
#include "base/text.h"
#include "catalogue/Options.h"
#include "catalogue/ini_backup.h"
#include "support/ini_values.h"
#include "support/locations.h"

namespace tdefault::catalogue {
namespace {

using records::INIOption;
using records::KEY_TYPE;

// Restores both files and adds to `error`, where there is one, what could not be restored.
std::optional<Error> RestoreBoth(IniBackup& local, IniBackup& global, std::optional<Error> error) {
  for (IniBackup* file : std::array<IniBackup*, 2>{&local, &global}) {
    const std::optional<Error> failure = file->Restore();
    if (!failure) continue;
    error = error ? Error(error->number(), error->source(),
                          error->description() + L" " + failure->description())
                  : *failure;
  }
  return error;
}

// A list of its own to iterate over: what a save calls while it does may load the catalogue again
// or add to it, which ends the catalogue's list, and no option may be skipped or end for that.
std::vector<std::shared_ptr<INIOption>> ElementsOfNow(
    const records::Collection<INIOption>& options) {
  return options.elements();
}

bool ToSameNumber(const INIOption& option) {
  const Value value = option.NewValue();
  try {
    return ToBoolean(value, L"Options");
  } catch (const Error& error) {
    throw Error(error.number(), error.source(),
                error.description() + L": option " + option.Key() + L" of section " +
                    option.Section() + L" is set to '" + option.NewValue() +
                    L"', which is neither True nor False");
  }
}

}  // namespace

bool Options::Save() {
  if (!SaveChanges()) return false;
  if (events_ != nullptr) events_->Modified();
  Refresh();
  return true;
}

bool Options::SaveChanges() {
  IniBackup local(platform_, INIFile());
  IniBackup global(platform_, GlobalIni());
  std::optional<Error> error;
  bool ok = false;
  try {
    local.Make();
    global.Make();
    ok = WriteOptions(local, global);
    // They run whatever became of the writes, and before the files are settled.
    RunAdditionalProcs();
    if (ok) {
      local.KeepAsPrevious();
      global.KeepAsPrevious();
    }
  } catch (const Error& raised) {
    ok = false;
    error = raised;
  } catch (const std::bad_alloc&) {
    RestoreBoth(local, global, std::nullopt);
    throw;
  }
  if (ok) return true;
  error = RestoreBoth(local, global, error);
  if (error) TellError(*error);
  return false;
}

bool Options::WriteOptions(IniBackup& local, IniBackup& global) {
  for (const std::shared_ptr<INIOption>& option : ElementsOfNow(options_)) {
    IniBackup& file = option->LocalINI() ? local : global;
    if (file.path().empty()) continue;
    file.MarkChanged();
    if (!WriteOption(*option, file.path())) return false;
  }
  return true;
}

// Every option is written, changed or not. The key DedDtlDsply once carried a debugging stop here;
// a product has none.
bool Options::WriteOption(const INIOption& option, const std::wstring& ini_file) {
  switch (option.OptionType()) {
    case KEY_TYPE::FONT_VALUE:
      return support::SaveReportFont(platform_.profile_files, option.NewValue(), ini_file);
    case KEY_TYPE::REPORT_VALUE:
      return support::SaveInvoiceStyle(platform_.profile_files, option.NewValue(), ini_file);
    default:
      break;
  }
  const bool written = support::WriteIniValue(platform_.profile_files, option.Section(),
                                              option.Key(), option.NewValue(), ini_file) != 0;
  if (option.OptionType() != KEY_TYPE::CHOICE_VALUE) return written;
  return RunSideEffect(option) && written;
}

bool Options::RunSideEffect(const INIOption& option) {
  if (EqualIgnoringCase(option.CurrentValue(), option.NewValue())) return true;
  const std::wstring key = ToUpper(option.Key());
  if (key == L"KITCHOICE" || key == L"KITCHOICE1")
    return !EqualIgnoringCase(option.Section(), L"OPTIONS") || SetDefKits(option.NewValue());
  // In whatever section it stands.
  if (key == L"MAKEWOANDINVOICESAMENUMBER") return WOInvoiceNumAdjust(ToSameNumber(option));
  return true;
}

void Options::RunAdditionalProcs() {
  for (const std::shared_ptr<INIOption>& option : ElementsOfNow(options_))
    if (!option->AdditionalProc().empty()) RunAdditionalProc(option->AdditionalProc());
}

void Options::TellError(const Error& error) {
  if (events_ != nullptr)
    events_->DLLError(error.number(), error.source() + L":SaveChanges, " + error.description());
}

}  // namespace tdefault::catalogue
