#include "catalogue/sql_text.h"

#include "base/text.h"

namespace tdefault::catalogue {

std::wstring SqlQuote(std::wstring_view text) {
  return ReplaceIgnoringCase(ReplaceIgnoringCase(text, L"'", L"''"), L"\r\n",
                             L"' + CHR(13) + CHR(10) + '");
}

}  // namespace tdefault::catalogue
