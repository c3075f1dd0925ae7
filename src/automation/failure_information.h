// What a call of another library's object tells about its failure.
#pragma once

#include "automation/com_types.h"
// After windows.h.
#include <cstdint>
#include <string>

namespace tdefault::automation {

// 0x80004005 for example.
[[nodiscard]] inline std::wstring Hexadecimal(HRESULT result) {
  std::wstring text = L"0x";
  for (int shift = 28; shift >= 0; shift -= 4)
    text += L"0123456789ABCDEF"[(static_cast<std::uint32_t>(result) >> shift) & 0xFU];
  return text;
}

// To be filled in by IDispatch::Invoke, whose texts are the caller's to free.
class FailureInformation {
 public:
  FailureInformation() noexcept = default;
  ~FailureInformation() {
    SysFreeString(information_.bstrSource);
    SysFreeString(information_.bstrDescription);
    SysFreeString(information_.bstrHelpFile);
  }
  FailureInformation(const FailureInformation&) = delete;
  FailureInformation& operator=(const FailureInformation&) = delete;

  [[nodiscard]] EXCEPINFO* Receive() noexcept { return &information_; }

  // The rest of it may be filled in only when it is wanted.
  void Complete() noexcept {
    if (information_.pfnDeferredFillIn == nullptr) return;
    information_.pfnDeferredFillIn(&information_);
    information_.pfnDeferredFillIn = nullptr;
  }

  [[nodiscard]] std::int32_t number() const noexcept {
    if (information_.scode != 0) return information_.scode;
    return information_.wCode != 0 ? information_.wCode : DISP_E_EXCEPTION;
  }
  [[nodiscard]] std::wstring source() const { return TextOf(information_.bstrSource); }
  [[nodiscard]] std::wstring description() const { return TextOf(information_.bstrDescription); }

 private:
  EXCEPINFO information_{};
};

}  // namespace tdefault::automation
