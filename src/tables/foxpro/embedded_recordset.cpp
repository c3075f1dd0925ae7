#include "tables/foxpro/embedded_recordset.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "base/text.h"
#include "tables/foxpro/access_errors.h"
#include "tables/foxpro/embedded_connection.h"

namespace tdefault::tables::foxpro {
namespace {

constexpr wchar_t kSource[] = L"Recordset";
constexpr std::int32_t kUnlimited = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kUnknownCount = -1;

Error NotYet() { return {error_number::kNotImplemented, kSource, L"Not available yet."}; }

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
  RowField(const EmbeddedRecordset& recordset, std::size_t position, const Column& column)
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
    if (recordset_.eof_) throw NoCurrentRow(L"Field", name_);
    if (kept_at_ != recordset_.step_count_) return recordset_.rows_->Read(position_);
    kept_at_ = 0;
    return std::move(kept_);
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

  void set_value(const Value& /*value*/) override { throw NotYet(); }

 private:
  const EmbeddedRecordset& recordset_;
  std::size_t position_;
  std::wstring name_;
  std::int32_t defined_size_;
  std::optional<CodePage> code_page_;
  mutable Value kept_;
  mutable std::int64_t kept_at_ = 0;  // the step count of the row it belongs to; no row has 0
};

EmbeddedRecordset::~EmbeddedRecordset() { Release(); }

void EmbeddedRecordset::Open(const std::wstring& source, Connection& connection,
                             CursorType cursor_type, LockType /*lock_type*/) {
  if (connection_ != nullptr) throw ObjectIsOpen(kSource, L"Open " + source);
  auto* const embedded = dynamic_cast<EmbeddedConnection*>(&connection);
  if (connection.state() != ObjectState::kOpen) throw ObjectIsClosed(L"Connection", source);
  if (embedded == nullptr) throw InvalidArgument(kSource);
  Show(source, sql::ExecuteQuery(source, embedded->tables()), *embedded, cursor_type);
}

void EmbeddedRecordset::Show(const std::wstring& source, std::unique_ptr<sql::Rows> rows,
                             EmbeddedConnection& connection, CursorType cursor_type) {
  eof_ = !rows->Next();
  row_number_ = eof_ ? 0 : 1;
  ++step_count_;
  record_count_.reset();
  rows_ = std::move(rows);
  const auto& columns = rows_->columns();
  for (std::size_t position = 0; position < columns.size(); ++position)
    fields_.push_back(std::make_unique<RowField>(*this, position, columns[position]));
  statement_ = source;
  const bool client =
      cursor_location_.value_or(connection.cursor_location()) == CursorLocation::kClient;
  counts_ = client || cursor_type == CursorType::kStatic || cursor_type == CursorType::kKeyset;
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
  rows_.reset();
  eof_ = true;
}

ObjectState EmbeddedRecordset::state() const {
  return connection_ != nullptr ? ObjectState::kOpen : ObjectState::kClosed;
}

void EmbeddedRecordset::RequireOpen(const wchar_t* operation) const {
  if (connection_ == nullptr) throw ObjectIsClosed(kSource, operation);
}

void EmbeddedRecordset::Step() const {
  eof_ = true;
  ++step_count_;
  if (!rows_->Next()) return;
  eof_ = false;
  ++row_number_;
}

std::int32_t EmbeddedRecordset::status() const {
  RequireOpen(L"Status");
  return 0;
}

bool EmbeddedRecordset::bof() const {
  RequireOpen(L"BOF");
  return eof_ && row_number_ == 0;
}

bool EmbeddedRecordset::eof() const {
  RequireOpen(L"EOF");
  return eof_;
}

std::int32_t EmbeddedRecordset::record_count() const {
  RequireOpen(L"RecordCount");
  if (!counts_) return kUnknownCount;
  if (record_count_) return *record_count_;
  const bool was_eof = eof_;
  const std::int64_t here = row_number_;
  try {
    while (!eof_) Step();
  } catch (const Error&) {
    ReturnTo(here);
    throw;
  }
  record_count_ = static_cast<std::int32_t>(row_number_);
  if (!was_eof) ReturnTo(here);
  return *record_count_;
}

void EmbeddedRecordset::ReturnTo(std::int64_t row) const {
  rows_->Rewind();
  row_number_ = 0;
  eof_ = false;
  while (!eof_ && row_number_ < row) Step();
}

void EmbeddedRecordset::MoveFirst() {
  RequireOpen(L"MoveFirst");
  if (row_number_ == 0) throw NoCurrentRow(kSource, L"MoveFirst in " + statement_);
  if (row_number_ == 1 && !eof_) return;
  rows_->Rewind();
  row_number_ = 0;
  Step();
}

void EmbeddedRecordset::MoveNext() {
  RequireOpen(L"MoveNext");
  if (eof_) throw NoCurrentRow(kSource, L"MoveNext in " + statement_);
  Step();
}

void EmbeddedRecordset::MoveLast() { throw NotYet(); }
void EmbeddedRecordset::MovePrevious() { throw NotYet(); }
void EmbeddedRecordset::set_filter(const std::wstring& /*criteria*/) { throw NotYet(); }
void EmbeddedRecordset::Find(const std::wstring& /*criteria*/) { throw NotYet(); }
void EmbeddedRecordset::Update() { throw NotYet(); }
void EmbeddedRecordset::CancelUpdate() { throw NotYet(); }

std::int32_t EmbeddedRecordset::field_count() const {
  return static_cast<std::int32_t>(fields_.size());
}

Field& EmbeddedRecordset::field(std::int32_t position) {
  if (position < 0 || position >= field_count())
    throw NoSuchItem(kSource, L"column number " + std::to_wstring(position));
  return *fields_[static_cast<std::size_t>(position)];
}

Field& EmbeddedRecordset::field(const std::wstring& name) {
  const auto found = std::find_if(fields_.begin(), fields_.end(), [&name](const auto& field) {
    return EqualIgnoringCase(field->name(), name);
  });
  if (found == fields_.end()) throw NoSuchItem(kSource, L"column " + name);
  return **found;
}

}  // namespace tdefault::tables::foxpro
