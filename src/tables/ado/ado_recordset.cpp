#include "tables/ado/ado_recordset.h"

#include <algorithm>
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "tables/ado/ado_connection.h"
#include "tables/ado/ado_field.h"
#include "tables/ado/literal_splitter.h"

namespace tdefault::tables::ado {
namespace {

constexpr wchar_t kClass[] = L"ADODB.Recordset";
constexpr std::int32_t kUnmodified = 8;  // ADO's status of a row that is as it was read
constexpr std::int32_t kModified = 2;
constexpr std::int32_t kEditInProgress = 1;

Error ClosedObject(const wchar_t* object) {
  return {error_number::kObjectClosed, object,
          L"Operation is not allowed when the object is closed."};
}

Error NoSuchField(const std::wstring& detail) {
  return {error_number::kNoSuchItem, kClass,
          L"Item cannot be found in the collection corresponding to the requested name or ordinal. "
          L"(" +
              detail + L")"};
}

}  // namespace

AdoRecordset::AdoRecordset() : object_(AutomationObject::Create(kClass)) {}

AdoRecordset::AdoRecordset(ComPtr<IDispatch> recordset) : object_(std::move(recordset), kClass) {}

AdoRecordset::~AdoRecordset() {
  try {
    if (state() == ObjectState::kOpen) Close();
  } catch (const Error&) {
    // Nobody is left who could be told; the object closes itself with its last reference.
    return;
  }
}

void AdoRecordset::Open(const std::wstring& source, Connection& connection, CursorType cursor_type,
                        LockType lock_type) {
  const auto* const own = dynamic_cast<const AdoConnection*>(&connection);
  if (own == nullptr) throw InvalidArgument(kClass);
  if (connection.state() == ObjectState::kClosed) throw ClosedObject(L"ADODB.Connection");
  if (cursor_location_ && state() == ObjectState::kClosed)
    object_.Put(L"CursorLocation", Argument(static_cast<std::int32_t>(*cursor_location_)));
  const Bstr text(SplitLongLiterals(source));
  object_.Call(L"Open", {Argument(text), Argument(own->dispatch()),
                         Argument(static_cast<std::int32_t>(cursor_type)),
                         Argument(static_cast<std::int32_t>(lock_type)), Argument(kCommandText)});
  fields_.clear();
  ++step_count_;
}

void AdoRecordset::Close() {
  // ADO refuses to close a recordset in the middle of an edit.
  if (state() == ObjectState::kOpen && IsEdited()) object_.Call(L"CancelUpdate");
  fields_.clear();
  CallOnRows(L"Close");
}

void AdoRecordset::Cancel() { CallOnRows(L"Cancel"); }

ObjectState AdoRecordset::state() const {
  return object_.GetNumber(L"State") == 0 ? ObjectState::kClosed : ObjectState::kOpen;
}

bool AdoRecordset::IsEdited() const {
  if (bof() || eof()) return false;
  return (object_.GetNumber(L"EditMode") & kEditInProgress) != 0;
}

std::int32_t AdoRecordset::status() const {
  if (IsEdited()) return kModified;
  return object_.GetNumber(L"Status") & ~kUnmodified;
}

bool AdoRecordset::bof() const { return object_.GetFlag(L"BOF"); }
bool AdoRecordset::eof() const { return object_.GetFlag(L"EOF"); }
std::int32_t AdoRecordset::record_count() const { return object_.GetNumber(L"RecordCount"); }

void AdoRecordset::CallOnRows(const wchar_t* member, std::initializer_list<VARIANT> arguments) {
  ++step_count_;
  object_.Call(member, arguments);
}

void AdoRecordset::MoveFirst() { CallOnRows(L"MoveFirst"); }
void AdoRecordset::MoveLast() { CallOnRows(L"MoveLast"); }
void AdoRecordset::MoveNext() { CallOnRows(L"MoveNext"); }
void AdoRecordset::MovePrevious() { CallOnRows(L"MovePrevious"); }

void AdoRecordset::set_filter(const std::wstring& criteria) {
  ++step_count_;
  object_.Put(L"Filter", Argument(Bstr(criteria)));
}

void AdoRecordset::Find(const std::wstring& criteria) {
  const Bstr text(criteria);
  CallOnRows(L"Find", {Argument(text)});
}

void AdoRecordset::Update() {
  if (IsEdited()) CallOnRows(L"Update");
}

void AdoRecordset::CancelUpdate() {
  if (IsEdited()) CallOnRows(L"CancelUpdate");
}

const std::vector<std::unique_ptr<AdoField>>& AdoRecordset::Fields() const {
  if (state() == ObjectState::kClosed) throw ClosedObject(kClass);
  if (!fields_.empty()) return fields_;
  const AutomationObject collection(object_.GetChild(L"Fields"), L"ADODB.Fields");
  std::vector<std::unique_ptr<AdoField>> fields;
  const std::int32_t count = collection.GetNumber(L"Count");
  for (std::int32_t position = 0; position < count; ++position) {
    ComPtr<IDispatch> item = collection.GetChild(L"Item", {Argument(position)});
    AutomationObject object = fields.empty()
                                  ? AutomationObject(std::move(item), L"ADODB.Field")
                                  : AutomationObject(std::move(item), fields.front()->object());
    fields.push_back(std::make_unique<AdoField>(std::move(object), step_count_));
  }
  fields_ = std::move(fields);
  return fields_;
}

std::int32_t AdoRecordset::field_count() const {
  return static_cast<std::int32_t>(Fields().size());
}

Field& AdoRecordset::field(std::int32_t position) {
  const auto& fields = Fields();
  if (position < 0 || position >= static_cast<std::int32_t>(fields.size()))
    throw NoSuchField(L"column number " + std::to_wstring(position));
  return *fields[static_cast<std::size_t>(position)];
}

Field& AdoRecordset::field(const std::wstring& name) {
  const auto& fields = Fields();
  const auto found = std::find_if(fields.begin(), fields.end(), [&name](const auto& field) {
    return EqualIgnoringCase(field->name(), name);
  });
  if (found == fields.end()) throw NoSuchField(L"column " + name);
  return **found;
}

}  // namespace tdefault::tables::ado
