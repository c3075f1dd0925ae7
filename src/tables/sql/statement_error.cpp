#include "tables/sql/statement_error.h"

namespace tdefault::tables::sql {
namespace {

constexpr std::size_t kLongestShown = 40;

}  // namespace

Error StatementError(std::size_t position, std::wstring_view text) {
  std::wstring description = L"Statement error at character ";
  description += std::to_wstring(position + 1);
  description += L": ";
  description += text;
  description += L'.';
  return {error_number::kStatementError, L"Statement", std::move(description)};
}

std::wstring Quoted(std::wstring_view text) {
  std::wstring shown = L"\"";
  shown += text.substr(0, kLongestShown);
  shown += text.size() > kLongestShown ? L"...\"" : L"\"";
  return shown;
}

}  // namespace tdefault::tables::sql
