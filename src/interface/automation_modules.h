// Additional processing modules: objects of other libraries, created by programmatic identifier and
// called late bound, with the catalogue as the one argument.
#pragma once

#include <memory>
#include <string>

#include "automation/com_types.h"
#include "catalogue/processing_modules.h"
#include "platform/session.h"

namespace tdefault::automation {

class AutomationModules final : public catalogue::ProcessingModules {
 public:
  // `catalogue` is the object that modules get; it owns this. `session` gives the system's texts.
  AutomationModules(IDispatch* catalogue, platform::Session& session) noexcept
      : catalogue_(catalogue), session_(session) {}

  [[nodiscard]] std::unique_ptr<catalogue::ProcessingModule> Create(
      const std::wstring& identifier) override;

 private:
  IDispatch* catalogue_;
  platform::Session& session_;
};

}  // namespace tdefault::automation
