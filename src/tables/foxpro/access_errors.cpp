#include "tables/foxpro/access_errors.h"

namespace tdefault::tables::foxpro {

Error ObjectIsOpen(const wchar_t* source, const std::wstring& detail) {
  return {error_number::kObjectOpen, source,
          L"Operation is not allowed when the object is open. (" + detail + L")"};
}

Error ObjectIsClosed(const wchar_t* source, const std::wstring& detail) {
  return {error_number::kObjectClosed, source,
          L"Operation is not allowed when the object is closed. (" + detail + L")"};
}

Error NoCurrentRow(const wchar_t* source, const std::wstring& detail) {
  return {error_number::kNoCurrentRow, source,
          L"Either BOF or EOF is True, or the current record has been deleted. Requested operation "
          L"requires a current record. (" +
              detail + L")"};
}

Error NoSuchItem(const wchar_t* source, const std::wstring& detail) {
  return {error_number::kNoSuchItem, source,
          L"Item cannot be found in the collection corresponding to the requested name or ordinal. "
          L"(" +
              detail + L")"};
}

}  // namespace tdefault::tables::foxpro
