// The modules that options name to be run when they have been saved.
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/error.h"
#include "catalogue/Options.h"
#include "catalogue/processing_modules.h"

namespace tdefault::catalogue {
namespace {

// An object and its method: what stands before and behind the first colon.
struct ModuleName {
  std::wstring identifier;
  std::wstring method;
};

// Absent when either part is empty.
std::optional<ModuleName> SplitName(std::wstring_view module_text) {
  const std::size_t colon = module_text.find(L':');
  if (colon == std::wstring_view::npos || colon == 0 || colon + 1 == module_text.size())
    return std::nullopt;
  return ModuleName{std::wstring(module_text.substr(0, colon)),
                    std::wstring(module_text.substr(colon + 1))};
}

}  // namespace

void Options::RunAdditionalProc(const std::wstring& module_text) {
  SetAddtnlProcError({});
  const std::optional<ModuleName> name = SplitName(module_text);
  if (!name) return;
  const auto tell = [this](const std::wstring& text) {
    platform_.dialogs.Tell(platform_.session.HostTitle(), text);
  };
  const std::wstring named_module = L"An additional processing module, '" + module_text + L"'";
  try {
    std::unique_ptr<ProcessingModule> object;
    if (modules_ != nullptr) object = modules_->Create(name->identifier);
    if (!object) {
      tell(L"Failed to create a defined additional processing module, '" + module_text + L"'.");
    } else if (!ToBoolean(object->Call(name->method), name->identifier)) {
      tell(named_module + L" failed. The returned error description is: " + addtnl_proc_error_);
    }
    // Users know this box as the end of every module that was tried, a successful one included.
    tell(named_module + L" has been incorrectly defined and will not be run.");
  } catch (const Error& error) {
    tell(L"There was an error attempting to run the defined additional procedure, '" + module_text +
         L"'.\r\n\r\nError: " + std::to_wstring(error.number()) + L", " + error.description() +
         L".");
  }
}

}  // namespace tdefault::catalogue
