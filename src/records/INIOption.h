// One configurable setting: where it lives, what it may hold, what it holds now and what it is to
// hold after the next save.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "base/fixed_text.h"
#include "records/cChoices.h"

namespace tdefault::records {

// The kind of an option's value. The numbers are stored in the definition table and published in
// the type library: never renumber. Codes that no name covers are carried as they are.
enum class KEY_TYPE : std::int32_t {
  STRING_VALUE = 0,
  NUMERIC_VALUE = 1,
  BOOLEAN_VALUE = 2,
  CHOICE_VALUE = 3,
  PATH_VALUE = 4,
  PRINTER_VALUE = 5,    // per-site key: the site's location number is part of Key
  REPORT_VALUE = 6,     // invoice style, spread over three keys when saved
  FONT_VALUE = 7,       // report font, spread over seven keys when saved
  INSURANCE_VALUE = 8,  // choices come from the customer business types
};

// A typed bag of fields. Nothing is checked, formatted or translated here: text fields keep the
// first characters of what is assigned up to their capacity and read back without surrounding
// blanks; Minimum, Maximum, Decimals and Choices only inform the host.
class INIOption {
 public:
  [[nodiscard]] std::wstring ID() const { return id_.Trimmed(); }
  [[nodiscard]] bool LocalINI() const noexcept { return local_ini_; }
  [[nodiscard]] std::wstring Section() const { return section_.Trimmed(); }
  [[nodiscard]] std::wstring Key() const { return key_.Trimmed(); }
  [[nodiscard]] std::wstring Linkedfield() const { return linkedfield_.Trimmed(); }
  [[nodiscard]] KEY_TYPE OptionType() const noexcept { return option_type_; }
  // Null when never assigned. Shared, not copied.
  [[nodiscard]] std::shared_ptr<cChoices> Choices() const noexcept { return choices_; }
  [[nodiscard]] std::int16_t Minimum() const noexcept { return minimum_; }
  [[nodiscard]] std::int16_t Maximum() const noexcept { return maximum_; }
  [[nodiscard]] std::wstring Default() const { return default_.Trimmed(); }
  [[nodiscard]] std::wstring Comment() const { return comment_.Trimmed(); }
  [[nodiscard]] std::wstring CurrentValue() const { return current_value_.Trimmed(); }
  [[nodiscard]] std::wstring NewValue() const { return new_value_.Trimmed(); }
  [[nodiscard]] std::int16_t Decimals() const noexcept { return decimals_; }
  [[nodiscard]] const std::wstring& AdditionalProc() const noexcept { return additional_proc_; }
  [[nodiscard]] bool Commented() const noexcept { return commented_; }
  [[nodiscard]] bool Modified() const noexcept { return modified_; }

  // The one field that the host sets.
  void SetNewValue(std::wstring_view text) { new_value_.Assign(text); }

  void SetID(std::wstring_view text) { id_.Assign(text); }
  void SetLocalINI(bool local_ini) noexcept { local_ini_ = local_ini; }
  void SetSection(std::wstring_view text) { section_.Assign(text); }
  void SetKey(std::wstring_view text) { key_.Assign(text); }
  void SetLinkedfield(std::wstring_view text) { linkedfield_.Assign(text); }
  void SetOptionType(KEY_TYPE option_type) noexcept { option_type_ = option_type; }
  void SetChoices(std::shared_ptr<cChoices> choices) noexcept { choices_ = std::move(choices); }
  void SetMinimum(std::int16_t minimum) noexcept { minimum_ = minimum; }
  void SetMaximum(std::int16_t maximum) noexcept { maximum_ = maximum; }
  void SetDefault(std::wstring_view text) { default_.Assign(text); }
  void SetComment(std::wstring_view text) { comment_.Assign(text); }
  void SetCurrentValue(std::wstring_view text) { current_value_.Assign(text); }
  void SetDecimals(std::int16_t decimals) noexcept { decimals_ = decimals; }
  void SetAdditionalProc(std::wstring text) { additional_proc_ = std::move(text); }
  void SetCommented(bool commented) noexcept { commented_ = commented; }

  // Stores the flag and then tells the listener, also when the flag is the same as before.
  void SetModified(bool modified);

  // Called with the new flag by SetModified; one listener, empty for none.
  void ListenToModified(std::function<void(bool)> listener) { listener_ = std::move(listener); }

 private:
  FixedText<36> id_;
  bool local_ini_ = false;
  FixedText<30> section_;
  FixedText<30> key_;
  FixedText<30> linkedfield_;
  KEY_TYPE option_type_ = KEY_TYPE::STRING_VALUE;
  std::shared_ptr<cChoices> choices_;
  std::int16_t minimum_ = 0;
  std::int16_t maximum_ = 0;
  FixedText<30> default_;
  FixedText<254> comment_;
  FixedText<80> current_value_;
  FixedText<80> new_value_;
  std::int16_t decimals_ = 0;
  bool commented_ = false;
  std::wstring additional_proc_;
  bool modified_ = false;
  std::function<void(bool)> listener_;
};

}  // namespace tdefault::records
