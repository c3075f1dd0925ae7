#include "records/cChoices.h"

#include <utility>

namespace tdefault::records {

std::int16_t cChoices::Count() const { return choices_.Count(L"cChoices:Count"); }

std::shared_ptr<cChoice> cChoices::Item(const Value& index) const {
  constexpr const wchar_t* kSource = L"cChoices:Item";
  // Nothing is keyed, so no text can be a key.
  if (std::holds_alternative<std::wstring>(index)) throw InvalidArgument(kSource);
  return choices_.At(ToLong(index, kSource), kSource);
}

std::shared_ptr<cChoice> cChoices::Add(std::wstring item, std::wstring description) {
  auto choice = std::make_shared<cChoice>();
  choice->SetItem(std::move(item));
  choice->SetDescription(std::move(description));
  choices_.Append(choice);
  return choice;
}

}  // namespace tdefault::records
