#include "tables/ado/ado_connection.h"

#include <utility>

#include "base/error.h"
#include "tables/ado/ado_recordset.h"
#include "tables/ado/literal_splitter.h"

namespace tdefault::tables::ado {
namespace {

constexpr std::int32_t kNoRows = -1;

std::int32_t CountOf(const Variant& affected) {
  Variant count;
  if (FAILED(VariantChangeType(&count.get(), automation::ReadOnly(affected.get()), 0, VT_I4)))
    return kNoRows;
  return count.get().lVal;
}

}  // namespace

AdoConnection::AdoConnection() : object_(AutomationObject::Create(L"ADODB.Connection")) {}

AdoConnection::~AdoConnection() {
  try {
    if (state() == ObjectState::kOpen) object_.Call(L"Close");
  } catch (const Error&) {
    // Nobody is left who could be told; the object closes itself with its last reference.
    return;
  }
}

void AdoConnection::Open() {
  // The string comes first: setting it sets the mode that it names, which mode_ then overrides.
  // An open object refuses all three itself.
  object_.Put(L"ConnectionString", Argument(Bstr(connection_string_)));
  if (cursor_location_)
    object_.Put(L"CursorLocation", Argument(static_cast<std::int32_t>(*cursor_location_)));
  if (mode_) object_.Put(L"Mode", Argument(static_cast<std::int32_t>(*mode_)));
  object_.Call(L"Open");
}

void AdoConnection::Close() { object_.Call(L"Close"); }

ObjectState AdoConnection::state() const {
  return object_.GetNumber(L"State") == 0 ? ObjectState::kClosed : ObjectState::kOpen;
}

std::unique_ptr<Recordset> AdoConnection::Execute(const std::wstring& statement) {
  const Bstr text(SplitLongLiterals(statement));
  Variant affected;
  records_affected_ = kNoRows;
  const Variant result =
      object_.Call(L"Execute", {Argument(text), Argument(affected), Argument(kCommandText)});
  const VARIANT& rows = result.get();
  auto recordset = rows.vt == VT_DISPATCH && rows.pdispVal != nullptr
                       ? std::make_unique<AdoRecordset>(ComPtr<IDispatch>(rows.pdispVal))
                       : std::make_unique<AdoRecordset>();
  if (recordset->state() == ObjectState::kClosed) records_affected_ = CountOf(affected);
  return recordset;
}

}  // namespace tdefault::tables::ado
