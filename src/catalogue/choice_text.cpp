#include "catalogue/choice_text.h"

#include <cstddef>
#include <string>

#include "base/text.h"

namespace tdefault::catalogue {
namespace {

constexpr std::wstring_view kChoiceSeparator = L"\r\n";

}  // namespace

std::shared_ptr<records::cChoices> TextToChoices(std::wstring_view text) {
  auto choices = std::make_shared<records::cChoices>();
  if (text.empty()) return choices;
  for (const std::wstring& line : Split(text, kChoiceSeparator)) {
    const std::size_t bar = line.find(L'|');
    if (bar == std::wstring::npos)
      choices->Add(line, std::wstring());
    else
      choices->Add(line.substr(0, bar), line.substr(bar + 1));
  }
  return choices;
}

std::wstring ChoicesToText(const records::cChoices& choices) {
  std::wstring text;
  for (const auto& choice : choices.elements()) {
    text += choice->Item() + L"|" + choice->Description();
    text += kChoiceSeparator;
  }
  if (text.ends_with(kChoiceSeparator)) text.resize(text.size() - kChoiceSeparator.size());
  return text;
}

}  // namespace tdefault::catalogue
