// The allowed values of an option.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/value.h"
#include "records/collection.h"

namespace tdefault::records {

// One allowed value. Both texts are held exactly as assigned.
class cChoice {
 public:
  [[nodiscard]] const std::wstring& Item() const noexcept { return item_; }
  [[nodiscard]] const std::wstring& Description() const noexcept { return description_; }

  void SetItem(std::wstring item) { item_ = std::move(item); }
  void SetDescription(std::wstring description) { description_ = std::move(description); }

 private:
  std::wstring item_;         // the value as the INI file holds it
  std::wstring description_;  // what the user sees for it
};

// The choices in the order they were added; duplicates are kept and nothing is keyed.
class cChoices {
 public:
  // 16 bits: throws Overflow above 32,767.
  [[nodiscard]] std::int16_t Count() const;

  // By position from 1. Throws SubscriptOutOfRange for a position that does not exist,
  // InvalidArgument for a text.
  [[nodiscard]] std::shared_ptr<cChoice> Item(const Value& index) const;

  // Appends a choice and gives it back.
  std::shared_ptr<cChoice> Add(std::wstring item, std::wstring description);

  [[nodiscard]] const std::vector<std::shared_ptr<cChoice>>& elements() const noexcept {
    return choices_.elements();
  }

 private:
  Collection<cChoice> choices_;
};

}  // namespace tdefault::records
