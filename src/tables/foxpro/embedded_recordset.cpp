#include "tables/foxpro/embedded_recordset.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "base/text.h"
#include "tables/foxpro/access_errors.h"
#include "tables/foxpro/embedded_connection.h"

namespace tdefault::tables::foxpro {
namespace {

constexpr std::int32_t kUnlimited = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kUnknownCount = -1;
// ADO's row status.
constexpr std::int32_t kUnchanged = 0;
constexpr std::int32_t kModified = 2;

// The sizes that ADO gives for its data types.
std::int32_t DefinedSize(const Column& column) {
  constexpr std::int32_t kNumericSize = 19;
  switch (column.kind) {
    case ColumnKind::kMemo:
      return kUnlimited;
    case ColumnKind::kNumber:
      return column.type == 'B' ? 8 : kNumericSize;
    case ColumnKind::kInteger:
      return 4;
    case ColumnKind::kCurrency:
      return 8;
    case ColumnKind::kLogical:
      return 2;
    case ColumnKind::kDate:
      return 6;
    case ColumnKind::kDateTime:
      return 16;
    case ColumnKind::kBinary:
      return column.type == 'Q' ? column.length : kUnlimited;
    case ColumnKind::kText:
      break;
  }
  return column.length;
}

}  // namespace

// Decodes the value when it is asked for. What was decoded for its size is kept for the one who
// then asks for the value.
class EmbeddedRecordset::RowField final : public Field {
 public:
  RowField(EmbeddedRecordset& recordset, std::size_t position, const Column& column)
      : recordset_(recordset),
        position_(position),
        name_(column.name),
        defined_size_(DefinedSize(column)),
        code_page_(column.code_page) {}

  [[nodiscard]] const std::wstring& name() const override { return name_; }
  [[nodiscard]] std::int32_t defined_size() const override { return defined_size_; }

  [[nodiscard]] std::int32_t actual_size() const override {
    Value current = value();
    std::int32_t size = defined_size_;
    if (IsNull(current)) size = 0;
    if (const auto* text = std::get_if<std::wstring>(&current))
      size = static_cast<std::int32_t>(text->size());
    if (const auto* bytes = std::get_if<Bytes>(&current))
      size = static_cast<std::int32_t>(bytes->size());
    kept_ = std::move(current);
    kept_at_ = recordset_.step_count_;
    return size;
  }

  [[nodiscard]] Value value() const override {
    recordset_.RequireRow(L"Field", name_);
    if (kept_at_ == recordset_.step_count_) {
      kept_at_ = 0;
      return std::move(kept_);
    }
    if (recordset_.edit_ && recordset_.edit_->active()) return recordset_.edit_->Read(position_);
    return recordset_.cursor_->Read(position_);
  }

  [[nodiscard]] Bytes bytes() const override {
    Value current = value();
    if (IsNull(current)) return {};
    if (auto* const bytes = std::get_if<Bytes>(&current)) return std::move(*bytes);
    const auto* const text = std::get_if<std::wstring>(&current);
    if (text == nullptr || !code_page_) throw TypeMismatch(L"Field");
    const std::string stored = code_page_->Encode(*text);
    return {stored.begin(), stored.end()};
  }

  void set_value(const Value& value) override {
    recordset_.RequireRow(L"Field", name_);
    if (!recordset_.edit_)
      throw NotUpdatable(L"Field", L"column " + name_ + L" in " + recordset_.statement_);
    ++recordset_.step_count_;
    recordset_.edit_->Put(position_, value);
  }

 private:
  EmbeddedRecordset& recordset_;
  std::size_t position_;
  std::wstring name_;
  std::int32_t defined_size_;
  std::optional<CodePage> code_page_;
  mutable Value kept_;
  mutable std::int64_t kept_at_ = 0;  // the step count of the row it belongs to; no row has 0
};

EmbeddedRecordset::~EmbeddedRecordset() { Release(); }

void EmbeddedRecordset::Open(const std::wstring& source, Connection& connection,
                             CursorType cursor_type, LockType lock_type) {
  if (connection_ != nullptr) throw ObjectIsOpen(kRecordsetSource, L"Open " + source);
  auto* const embedded = dynamic_cast<EmbeddedConnection*>(&connection);
  if (connection.state() != ObjectState::kOpen) throw ObjectIsClosed(L"Connection", source);
  if (embedded == nullptr) throw InvalidArgument(kRecordsetSource);
  Show(source, sql::ExecuteQuery(source, embedded->tables()), *embedded, cursor_type, lock_type);
}

void EmbeddedRecordset::Show(const std::wstring& statement, std::unique_ptr<sql::Rows> rows,
                             EmbeddedConnection& connection, CursorType cursor_type,
                             LockType lock_type) {
  const bool client =
      cursor_location_.value_or(connection.cursor_location()) == CursorLocation::kClient;
  const bool by_record = cursor_type == CursorType::kKeyset || cursor_type == CursorType::kDynamic;
  const bool plain = rows->source() != nullptr;
  std::unique_ptr<CursorRows> cursor;
  if (!client && cursor_type == CursorType::kForwardOnly)
    cursor = MakeForwardRows(*rows);
  else if (!client && by_record && plain)
    cursor = MakeKeysetRows(*rows);
  else
    cursor = MakeSnapshotRows(*rows);
  place_ = cursor->First() ? Place::kOnRow : Place::kNowhere;
  ++step_count_;
  edit_.reset();
  if (plain && lock_type != LockType::kReadOnly) {
    edit_ = std::make_unique<RowEdit>(*cursor, *rows->source(),
                                      client ? LockType::kOptimistic : lock_type, statement);
  }
  const auto& columns = rows->columns();
  for (std::size_t position = 0; position < columns.size(); ++position)
    fields_.push_back(std::make_unique<RowField>(*this, position, columns[position]));
  tells_count_ = client || cursor_type != CursorType::kDynamic;
  statement_ = statement;
  rows_ = std::move(rows);
  cursor_ = std::move(cursor);
  connection.Add(*this);
  connection_ = &connection;
}

void EmbeddedRecordset::Close() {
  RequireOpen(L"Close");
  Release();
}

void EmbeddedRecordset::Release() noexcept {
  if (connection_ != nullptr) connection_->Forget(*this);
  connection_ = nullptr;
  fields_.clear();
  edit_.reset();
  cursor_.reset();
  rows_.reset();
  place_ = Place::kNowhere;
}

ObjectState EmbeddedRecordset::state() const {
  return connection_ != nullptr ? ObjectState::kOpen : ObjectState::kClosed;
}

void EmbeddedRecordset::RequireOpen(const wchar_t* operation) const {
  if (connection_ == nullptr) throw ObjectIsClosed(kRecordsetSource, operation);
}

void EmbeddedRecordset::RequireRow(const wchar_t* source, const std::wstring& operation) const {
  if (place_ != Place::kOnRow) throw NoCurrentRow(source, operation);
}

std::int32_t EmbeddedRecordset::status() const {
  RequireOpen(L"Status");
  return edit_ && edit_->active() ? kModified : kUnchanged;
}

bool EmbeddedRecordset::bof() const {
  RequireOpen(L"BOF");
  return place_ == Place::kBeforeFirst || place_ == Place::kNowhere;
}

bool EmbeddedRecordset::eof() const {
  RequireOpen(L"EOF");
  return place_ == Place::kBehindLast || place_ == Place::kNowhere;
}

std::int32_t EmbeddedRecordset::record_count() const {
  RequireOpen(L"RecordCount");
  return tells_count_ ? cursor_->Count().value_or(kUnknownCount) : kUnknownCount;
}

void EmbeddedRecordset::StoreEdit() {
  if (edit_ && edit_->active()) Update();
}

void EmbeddedRecordset::Step(bool (CursorRows::*step)(), Place without_row) {
  ++step_count_;
  place_ = Place::kBehindLast;
  place_ = (cursor_.get()->*step)() ? Place::kOnRow : without_row;
}

void EmbeddedRecordset::MoveFirst() {
  RequireOpen(L"MoveFirst");
  StoreEdit();
  if (place_ == Place::kNowhere)
    throw NoCurrentRow(kRecordsetSource, L"MoveFirst in " + statement_);
  Step(&CursorRows::First, Place::kNowhere);
}

void EmbeddedRecordset::MoveLast() {
  RequireOpen(L"MoveLast");
  if (!cursor_->MovesBack()) throw CannotMoveBack(kRecordsetSource, L"MoveLast in " + statement_);
  StoreEdit();
  if (place_ == Place::kNowhere) throw NoCurrentRow(kRecordsetSource, L"MoveLast in " + statement_);
  Step(&CursorRows::Last, Place::kNowhere);
}

void EmbeddedRecordset::MoveNext() {
  RequireOpen(L"MoveNext");
  StoreEdit();
  if (eof()) throw NoCurrentRow(kRecordsetSource, L"MoveNext in " + statement_);
  Step(place_ == Place::kBeforeFirst ? &CursorRows::First : &CursorRows::Next, Place::kBehindLast);
}

void EmbeddedRecordset::MovePrevious() {
  RequireOpen(L"MovePrevious");
  if (!cursor_->MovesBack())
    throw CannotMoveBack(kRecordsetSource, L"MovePrevious in " + statement_);
  StoreEdit();
  if (bof()) throw NoCurrentRow(kRecordsetSource, L"MovePrevious in " + statement_);
  Step(place_ == Place::kBehindLast ? &CursorRows::Last : &CursorRows::Previous,
       Place::kBeforeFirst);
}

void EmbeddedRecordset::set_filter(const std::wstring& criteria) {
  RequireOpen(L"Filter");
  std::optional<Criteria> parsed;
  if (!TrimBlanks(criteria).empty()) parsed = Criteria::ParseFilter(criteria, rows_->columns());
  StoreEdit();
  cursor_->SetFilter(std::move(parsed));
  Step(&CursorRows::First, Place::kNowhere);
}

void EmbeddedRecordset::Find(const std::wstring& criteria) {
  RequireOpen(L"Find");
  const Criteria parsed = Criteria::ParseFind(criteria, rows_->columns());
  RequireRow(kRecordsetSource, L"Find in " + statement_);
  StoreEdit();
  while (place_ == Place::kOnRow && !cursor_->Meets(parsed))
    Step(&CursorRows::Next, Place::kBehindLast);
}

void EmbeddedRecordset::Update() {
  RequireOpen(L"Update");
  if (!edit_ || !edit_->active()) return;
  ++step_count_;
  edit_->Store();
}

void EmbeddedRecordset::CancelUpdate() {
  RequireOpen(L"CancelUpdate");
  if (!edit_ || !edit_->active()) return;
  ++step_count_;
  edit_->Drop();
  cursor_->Refresh();
}

std::int32_t EmbeddedRecordset::field_count() const {
  return static_cast<std::int32_t>(fields_.size());
}

Field& EmbeddedRecordset::field(std::int32_t position) {
  if (position < 0 || position >= field_count())
    throw NoSuchItem(kRecordsetSource, L"column number " + std::to_wstring(position));
  return *fields_[static_cast<std::size_t>(position)];
}

Field& EmbeddedRecordset::field(const std::wstring& name) {
  const auto found = std::find_if(fields_.begin(), fields_.end(), [&name](const auto& field) {
    return EqualIgnoringCase(field->name(), name);
  });
  if (found == fields_.end()) throw NoSuchItem(kRecordsetSource, L"column " + name);
  return **found;
}

}  // namespace tdefault::tables::foxpro
