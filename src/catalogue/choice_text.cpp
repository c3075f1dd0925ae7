#include "catalogue/choice_text.h"

#include <cstddef>
#include <string>

#include "base/text.h"

namespace tdefault::catalogue {

std::shared_ptr<records::cChoices> TextToChoices(std::wstring_view text) {
  auto choices = std::make_shared<records::cChoices>();
  if (text.empty()) return choices;
  for (const std::wstring& line : Split(text, L"\r\n")) {
    const std::size_t bar = line.find(L'|');
    if (bar == std::wstring::npos)
      choices->Add(line, std::wstring());
    else
      choices->Add(line.substr(0, bar), line.substr(bar + 1));
  }
  return choices;
}

}  // namespace tdefault::catalogue
