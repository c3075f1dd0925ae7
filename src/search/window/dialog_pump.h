// The platform's dialogs for a search that runs inside a dialog: what waits for the dialog's own
// keyboard is handled as its modal loop would.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "platform/dialogs.h"

namespace tdefault::search {

class DialogPump final : public platform::Dialogs {
 public:
  explicit DialogPump(platform::Dialogs& system) : system_(system) {}

  void Serve(HWND dialog) noexcept { dialog_ = dialog; }
  // The program is asked to end: nothing is to be waited for any more.
  [[nodiscard]] bool ProgramEnds() const noexcept { return program_ends_; }

  void ProcessPendingMessages() override;

  std::optional<platform::MessageAnswer> AskYesNoCancel(const std::wstring& title,
                                                        const std::wstring& text) override {
    return system_.AskYesNoCancel(title, text);
  }
  void Tell(const std::wstring& title, const std::wstring& text) override {
    system_.Tell(title, text);
  }

 private:
  platform::Dialogs& system_;
  HWND dialog_ = nullptr;
  bool program_ends_ = false;
};

}  // namespace tdefault::search
