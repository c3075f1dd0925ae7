// What saving sets off besides the INI files. This version carries none of it out; each says so
// instead of being skipped, so that nobody takes the save for complete.
#include <string_view>

#include "base/error.h"
#include "catalogue/Options.h"

namespace tdefault::catalogue {
namespace {

[[noreturn]] void ThrowNotImplemented(const wchar_t* source, std::wstring text) {
  throw Error(error_number::kNotImplemented, source, std::move(text));
}

// Whether the text names an object and a method: something on both sides of its first colon.
bool NamesModule(std::wstring_view module) {
  const std::size_t colon = module.find(L':');
  return colon != std::wstring_view::npos && colon > 0 && colon + 1 < module.size();
}

}  // namespace

bool Options::SetDefKits(const std::wstring& kit_choice) {
  ThrowNotImplemented(
      L":SetDefKits",
      L"The kit choice (option KITCHOICE or KITCHOICE1 of section OPTIONS) was changed to '" +
          kit_choice +
          L"', but this version cannot update the kits in table Need. Set the "
          L"option back to its current value and save again.");
}

void Options::RunAdditionalProc(const std::wstring& module) {
  addtnl_proc_error_.clear();
  if (!NamesModule(module)) return;
  ThrowNotImplemented(L":RunAdditionalProc", L"An option names the additional processing module '" +
                                                 module +
                                                 L"', but this version cannot run such modules.");
}

}  // namespace tdefault::catalogue
