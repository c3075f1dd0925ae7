#include "tables/foxpro/key_expression.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "tables/foxpro/collation.h"
#include "tables/foxpro/general_weights.h"
#include "tables/foxpro/key_encoding.h"
#include "tables/foxpro/record_decoder.h"
#include "tables/foxpro/table_format.h"
#include "tables/row_source.h"
#include "tables/sql/binder.h"
#include "tables/sql/functions.h"
#include "tables/sql/parser.h"
#include "tables/sql/statement_error.h"

namespace tdefault::tables::foxpro {
namespace {

using sql::ValueType;

constexpr std::wstring_view kGeneralName = L"GENERAL";
constexpr std::uint8_t kNotNull = 0x80;
constexpr double kTimeTolerance = 1e-8;  // in days; a second is a thousand times as much

enum class KeyForm { kText, kGeneral, kDouble, kDate, kTime, kInteger, kCurrency, kLogical };

// FoxPro's comparisons end with the right text, or pad the shorter one with blanks, after a setting
// (SET EXACT) that each workstation chooses for itself. Where that makes a difference nobody can
// tell what the index should hold.
class KeyCollation final : public Collation {
 public:
  explicit KeyCollation(std::unique_ptr<Collation> padded) : padded_(std::move(padded)) {}

  [[nodiscard]] std::string Key(std::wstring_view text) const override {
    return padded_->Key(text);
  }
  [[nodiscard]] int CompareKeys(std::string_view left, std::string_view right) const override {
    return padded_->CompareKeys(left, right);
  }
  [[nodiscard]] int Compare(std::wstring_view left, std::wstring_view right) const override {
    const int order = padded_->Compare(left, right);
    const bool right_ends_first = right.size() < left.size();
    const bool differs =
        order == 0 ? left.size() < right.size()
                   : right_ends_first && padded_->Compare(left.substr(0, right.size()), right) == 0;
    if (!differs) return order;
    throw sql::StatementError(0, L"how " + sql::Quoted(left) + L" compares with " +
                                     sql::Quoted(right) + L" depends on SET EXACT");
  }

 private:
  std::unique_ptr<Collation> padded_;
};

// The columns of a row, and behind them its deletion mark.
class KeyRowShape final : public RowShape {
 public:
  KeyRowShape(const TableLayout& layout, bool general)
      : page_(layout.code_page),
        collation_(MakeCollation(
            general ? CollatingSequence::kGeneral : CollatingSequence::kMachine, page_)) {
    for (const StoredColumn& stored : layout.columns) columns_.push_back(stored.column);
    Column mark;
    mark.name = sql::kDeletionMarkColumn;
    mark.type = 'L';
    mark.kind = ColumnKind::kLogical;
    mark.length = 1;
    columns_.push_back(std::move(mark));
  }

  [[nodiscard]] const std::vector<Column>& columns() const override { return columns_; }
  [[nodiscard]] CodePage code_page() const override { return page_; }
  [[nodiscard]] const Collation& collation() const override { return collation_; }

 private:
  std::vector<Column> columns_;
  CodePage page_;
  KeyCollation collation_;
};

// Stands on one record in memory.
class KeyRow final : public RowCursor {
 public:
  KeyRow(const RecordDecoder& decoder, std::size_t column_count)
      : decoder_(decoder), column_count_(column_count) {}

  void Stand(const std::uint8_t* record, std::uint32_t record_number) {
    record_ = record;
    record_number_ = record_number;
  }

  bool Next() override { return false; }
  bool Seek(std::uint32_t record_number) override { return record_number == record_number_; }
  [[nodiscard]] std::uint32_t record_number() const override { return record_number_; }
  [[nodiscard]] Value Read(std::size_t column) const override {
    if (column == column_count_) return *record_ == record_mark::kDeleted;
    return decoder_.Decode(column, record_, record_number_);
  }

 private:
  const RecordDecoder& decoder_;
  std::size_t column_count_;
  const std::uint8_t* record_ = nullptr;
  std::uint32_t record_number_ = 0;
};

class NoSubselects final : public sql::SubselectBinder {
 public:
  std::unique_ptr<sql::Subselect> Bind(const sql::SelectStatement& select, sql::Scope&,
                                       sql::SubselectUse) override {
    throw sql::StatementError(select.position, L"an index has no subselects");
  }
};

bool IsMemo(const Column& column) {
  return column.type == 'M' || column.type == 'G' || column.type == 'P' || column.type == 'W';
}

std::wstring CountOfBytes(std::size_t count) { return std::to_wstring(count) + L" bytes"; }

}  // namespace

class TagKeys::Parts {
 public:
  Parts(const IndexTag& tag, const IndexIdentity& index, const TableLayout& layout,
        const RecordDecoder& decoder)
      : tag_(tag),
        index_(index),
        layout_(layout),
        shape_(layout, tag.collation == kGeneralName),
        row_(decoder, layout.columns.size()),
        scope_(nullptr, index.table.name, shape_, slot_) {
    slot_.cursor = &row_;
    if (tag.signature == tag_signature::kBitmap)
      throw NotKept(L"it is a binary (bitmap) tag, which only FoxPro can change");
    key_ = Bind(tag.expression, L"its key");
    CheckColumns();
    FindForm();
    CheckLength();
    if (tag.condition.empty()) return;
    condition_ = Bind(tag.condition, L"its FOR condition");
    CheckColumns();
    if (condition_->type() != ValueType::kLogical)
      throw NotKept(L"its FOR expression " + tag.condition + L" is no condition");
  }

  [[nodiscard]] std::optional<std::string> KeyOf(const std::uint8_t* record,
                                                 std::uint32_t record_number) {
    row_.Stand(record, record_number);
    ++slot_.generation;
    if (condition_ && !condition_->Test().value_or(false)) return std::nullopt;
    std::string key;
    key.reserve(tag_.key_length);
    if (tag_.nullable) key.push_back(static_cast<char>(kNotNull));
    if (plain_ && AppendPlain(key, record)) return key;
    if (!AppendValue(key, key_->Evaluate())) key.assign(tag_.key_length, '\0');
    return key;
  }

  [[nodiscard]] Error NoKey(const Error& error, std::uint32_t record_number) const {
    return NotKept(L"the key of record " + std::to_wstring(record_number) + L" has no value (" +
                   error.description() + L")");
  }

  [[nodiscard]] KeyForm form() const { return form_; }
  [[nodiscard]] const IndexTag& tag() const { return tag_; }
  [[nodiscard]] bool Uses(std::size_t column) const {
    const std::vector<std::size_t>& used = scope_.own_columns();
    return std::find(used.begin(), used.end(), column) != used.end();
  }
  [[nodiscard]] std::size_t deletion_mark() const { return layout_.columns.size(); }

 private:
  [[nodiscard]] Error NotKept(const std::wstring& reason) const {
    return TagNotKept(index_, tag_.name, reason);
  }

  sql::BoundPointer Bind(const std::wstring& text, const wchar_t* what) {
    try {
      const sql::ExpressionPointer expression = sql::ParseLoneExpression(text);
      NoSubselects subselects;
      return sql::BindExpression(*expression, scope_, subselects);
    } catch (const Error& error) {
      if (error.number() != error_number::kStatementError) throw;
      throw NotKept(what + (L" " + text) + L" cannot be evaluated (" + error.description() + L")");
    }
  }

  void CheckColumns() const {
    for (const std::size_t used : scope_.own_columns()) {
      const Column& column = shape_.columns()[used];
      if (IsMemo(column)) throw NotKept(L"it reads the memo column " + column.name);
    }
  }

  void FindForm() {
    const Column* const column = key_->column();
    if (column != nullptr) plain_ = scope_.own_columns().front();
    if (plain_ == layout_.columns.size()) plain_.reset();
    switch (key_->type()) {
      case ValueType::kText:
        form_ = TextForm();
        return;
      case ValueType::kNumber:
        form_ = NumberForm();
        return;
      case ValueType::kDate:
        form_ = KeyForm::kDate;
        return;
      case ValueType::kDateTime:
        form_ = KeyForm::kTime;
        return;
      case ValueType::kLogical:
        form_ = KeyForm::kLogical;
        return;
      default:
        throw NotKept(L"its key " + tag_.expression + L" is of no type that keys can have");
    }
  }

  KeyForm TextForm() {
    if (tag_.collation.empty()) {
      if (tag_.signature == tag_signature::kCollated)
        throw NotKept(L"its header does not name its collating sequence");
      return KeyForm::kText;
    }
    weights_ = FindGeneralWeights(layout_.code_page.number());
    if (tag_.collation != kGeneralName || weights_ == nullptr) {
      throw NotKept(L"its collating sequence " + tag_.collation + L" for code page " +
                    std::to_wstring(layout_.code_page.number()) + L" is not known");
    }
    return KeyForm::kGeneral;
  }

  // Sums and products of currency columns are currency again in FoxPro, and numbers here.
  KeyForm NumberForm() {
    const Column* const column = key_->column();
    if (column != nullptr && column->type == 'I') return KeyForm::kInteger;
    if (column != nullptr && column->type == 'Y') return KeyForm::kCurrency;
    for (const std::size_t used : scope_.own_columns())
      if (shape_.columns()[used].type == 'Y')
        throw NotKept(L"its key computes with the currency column " + shape_.columns()[used].name);
    return KeyForm::kDouble;
  }

  void CheckLength() {
    const std::size_t extra = tag_.nullable ? 1 : 0;
    std::size_t needed = 8;
    switch (form_) {
      case KeyForm::kText:
      case KeyForm::kGeneral:
        if (tag_.key_length > extra) return;
        needed = 1;
        break;
      case KeyForm::kInteger:
        // An older version, or another program, may have indexed the column as a number.
        if (tag_.key_length == 8 + extra) form_ = KeyForm::kDouble;
        needed = form_ == KeyForm::kInteger ? 4 : 8;
        break;
      case KeyForm::kLogical:
        needed = 1;
        break;
      default:
        break;
    }
    if (tag_.key_length == needed + extra) return;
    throw NotKept(L"its keys are " + CountOfBytes(tag_.key_length) + L" long where " +
                  tag_.expression + L" makes " + CountOfBytes(needed + extra));
  }

  [[nodiscard]] std::size_t text_length() const {
    return tag_.key_length - (tag_.nullable ? 1 : 0);
  }

  void AppendText(std::string& key, std::string_view text) const {
    if (form_ == KeyForm::kGeneral)
      AppendGeneralKey(key, text, *weights_, text_length());
    else
      AppendTextKey(key, text, text_length());
  }

  // From the bytes of the column; false where its value has to be looked at.
  bool AppendPlain(std::string& key, const std::uint8_t* record) const {
    const StoredColumn& stored = layout_.columns[*plain_];
    if (stored.null_bit || stored.length_bit) return false;
    const std::uint8_t* const bytes = record + stored.offset;
    const std::string_view text(reinterpret_cast<const char*>(bytes),
                                static_cast<std::size_t>(stored.column.length));
    switch (stored.column.type) {
      case 'C':
        AppendText(key, text);
        return true;
      case 'N':
      case 'F': {
        const std::optional<double> number = ParseStoredNumber(text);
        if (!number || !std::isfinite(*number)) return false;
        AppendDoubleKey(key, *number);
        return true;
      }
      case 'D': {
        const std::optional<Date> date = ParseStoredDate(text);
        if (!date) return false;
        AppendDateKey(key, *date);
        return true;
      }
      default:
        return false;
    }
  }

  // False for a null.
  bool AppendValue(std::string& key, const Value& value) const {
    if (IsNull(value)) return false;
    switch (form_) {
      case KeyForm::kText:
      case KeyForm::kGeneral:
        AppendText(key, layout_.code_page.Encode(std::get<std::wstring>(value)));
        break;
      case KeyForm::kDouble:
        AppendDoubleKey(key, sql::NumberOf(value));
        break;
      case KeyForm::kInteger:
        AppendIntegerKey(key, std::get<std::int32_t>(value));
        break;
      case KeyForm::kCurrency:
        AppendCurrencyKey(key, std::get<Currency>(value).ten_thousandths);
        break;
      case KeyForm::kDate:
        AppendDateKey(key, std::get<Date>(value));
        break;
      case KeyForm::kTime:
        AppendTimeKey(key, std::get<DateTime>(value));
        break;
      case KeyForm::kLogical:
        AppendLogicalKey(key, std::get<bool>(value));
        break;
    }
    return true;
  }

  const IndexTag& tag_;
  const IndexIdentity& index_;
  const TableLayout& layout_;
  KeyRowShape shape_;
  KeyRow row_;
  sql::RowSlot slot_;
  sql::Scope scope_;
  sql::BoundPointer key_;
  sql::BoundPointer condition_;       // null when every row has a key
  std::optional<std::size_t> plain_;  // the column that is the whole key
  KeyForm form_ = KeyForm::kText;
  const GeneralWeights* weights_ = nullptr;
};

TagKeys::TagKeys(const IndexTag& tag, const IndexIdentity& index, const TableLayout& layout,
                 const RecordDecoder& decoder)
    : parts_(std::make_unique<Parts>(tag, index, layout, decoder)) {}

TagKeys::~TagKeys() = default;

std::optional<std::string> TagKeys::KeyOf(const std::uint8_t* record,
                                          std::uint32_t record_number) const {
  try {
    return parts_->KeyOf(record, record_number);
  } catch (const Error& error) {
    if (error.number() != error_number::kStatementError) throw;
    throw parts_->NoKey(error, record_number);
  }
}

std::optional<std::string> TagKeys::Evaluate(const std::uint8_t* record,
                                             std::uint32_t record_number) const {
  return parts_->KeyOf(record, record_number);
}

char TagKeys::padding() const { return parts_->form() == KeyForm::kText ? ' ' : '\0'; }

bool TagKeys::inexact() const { return parts_->form() == KeyForm::kTime; }

bool TagKeys::SameKeys(std::string_view left, std::string_view right) const {
  if (left == right) return true;
  if (!inexact() || left.front() == '\0' || right.front() == '\0') return false;
  const std::size_t number = left.size() - 8;
  return std::fabs(DoubleOfKey(left.substr(number)) - DoubleOfKey(right.substr(number))) <
         kTimeTolerance;
}

std::string TagKeys::LowestSame(std::string_view key) const {
  if (!inexact() || key.front() == '\0') return std::string(key);
  const std::size_t number = key.size() - 8;
  std::string lowest(key.substr(0, number));
  AppendDoubleKey(lowest, DoubleOfKey(key.substr(number)) - kTimeTolerance);
  return lowest;
}

bool TagKeys::Uses(std::size_t column) const { return parts_->Uses(column); }
bool TagKeys::UsesDeletionMark() const { return parts_->Uses(parts_->deletion_mark()); }

}  // namespace tdefault::tables::foxpro
