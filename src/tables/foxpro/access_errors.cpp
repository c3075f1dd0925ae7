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

Error CannotMoveBack(const wchar_t* source, const std::wstring& detail) {
  return {
      error_number::kCannotMoveBack, source,
      L"Rowset does not support fetching backward. Open it with another cursor than forward-only "
      L"to move so. (" +
          detail + L")"};
}

Error NotUpdatable(const wchar_t* source, const std::wstring& detail) {
  return {error_number::kNotUpdatable, source,
          L"Current Recordset does not support updating. This may be a limitation of the provider, "
          L"or of the selected locktype. (" +
              detail + L")"};
}

Error RowDeleted(const wchar_t* source, const std::wstring& detail) {
  return {error_number::kRowDeleted, source,
          L"The current row was deleted after the recordset was opened. Move to another row. (" +
              detail + L")"};
}

Error RowChanged(const wchar_t* source, const std::wstring& detail) {
  return {error_number::kRowChanged, source,
          L"The row was changed by another after it was read, so it is not stored. Call "
          L"CancelUpdate, read it again and repeat the change. (" +
              detail + L")"};
}

Error NoSuchItem(const wchar_t* source, const std::wstring& detail) {
  return {error_number::kNoSuchItem, source,
          L"Item cannot be found in the collection corresponding to the requested name or ordinal. "
          L"(" +
              detail + L")"};
}

}  // namespace tdefault::tables::foxpro
