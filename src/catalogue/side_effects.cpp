// The kit update, which this version does not carry out: it says so instead of being skipped, so
// that nobody takes the save for complete.
#include "base/error.h"
#include "catalogue/Options.h"

namespace tdefault::catalogue {
namespace {

[[noreturn]] void ThrowNotImplemented(const wchar_t* source, std::wstring text) {
  throw Error(error_number::kNotImplemented, source, std::move(text));
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

}  // namespace tdefault::catalogue
