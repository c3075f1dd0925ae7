#include "tables/foxpro/cursor_rows.h"

#include <limits>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "tables/foxpro/access_errors.h"
#include "tables/foxpro/row_snapshot.h"

namespace tdefault::tables::foxpro {
namespace {

class ForwardRows final : public CursorRows {
 public:
  explicit ForwardRows(sql::Rows& rows) : rows_(rows) {}

  bool First() override {
    if (shown_ == 1) return true;
    rows_.Rewind();
    shown_ = 0;
    return Next();
  }

  bool Next() override {
    changed_.clear();
    const std::int64_t shown = std::exchange(shown_, kElsewhere);
    while (rows_.Next()) {
      if (filter_ && !filter_->Accepts(*this)) continue;
      shown_ = shown + 1;
      return true;
    }
    return false;
  }

  bool Last() override { return false; }
  bool Previous() override { return false; }
  [[nodiscard]] bool MovesBack() const noexcept override { return false; }
  [[nodiscard]] std::optional<std::int32_t> Count() const override { return std::nullopt; }

  void SetFilter(std::optional<Criteria> criteria) override {
    filter_ = std::move(criteria);
    shown_ = kElsewhere;
  }

  [[nodiscard]] Value Read(std::size_t column) const override {
    return changed_.empty() ? rows_.Read(column) : changed_[column];
  }

  [[nodiscard]] std::uint32_t record_number() const override { return rows_.record_number(); }

  void TakeChanged(const RowCursor& row) override {
    changed_.clear();
    for (const std::size_t column : rows_.source()->columns) changed_.push_back(row.Read(column));
  }

 private:
  // Neither on the first row nor one of those behind it.
  static constexpr std::int64_t kElsewhere = std::numeric_limits<std::int32_t>::min();

  sql::Rows& rows_;
  std::int64_t shown_ = 0;  // the current row's number among those shown
  std::optional<Criteria> filter_;
  std::vector<Value> changed_;  // the current row's, when it was changed through the recordset
};

// Rows that are numbered from 0.
class ListedRows : public CursorRows {
 public:
  bool First() override { return StandAt(0); }
  bool Next() override { return StandAt(at_ + 1); }
  bool Previous() override { return at_ > 0 && StandAt(at_ - 1); }

  bool Last() override {
    RequireAll();
    return shown() != 0 && StandAt(shown() - 1);
  }

  [[nodiscard]] bool MovesBack() const noexcept override { return true; }

  [[nodiscard]] std::optional<std::int32_t> Count() const override {
    RequireAll();
    return static_cast<std::int32_t>(shown());
  }

  void SetFilter(std::optional<Criteria> criteria) override {
    std::optional<std::vector<std::uint32_t>> selected;
    const std::size_t here = row_;
    if (criteria) {
      try {
        selected = Select(*criteria);
      } catch (const Error&) {
        GoTo(here);
        throw;
      }
    }
    selected_ = std::move(selected);
  }

 protected:
  [[nodiscard]] virtual std::size_t size() const = 0;
  // Makes a row the current one.
  virtual void GoTo(std::size_t row) { row_ = row; }
  // Throws when there are rows behind these that could not be fetched.
  virtual void RequireAll() const {}

  [[nodiscard]] virtual std::vector<std::uint32_t> Select(const Criteria& criteria) {
    std::vector<std::uint32_t> rows;
    for (std::size_t row = 0; row < size(); ++row) {
      GoTo(row);
      if (Meets(criteria)) rows.push_back(static_cast<std::uint32_t>(row));
    }
    return rows;
  }

  [[nodiscard]] std::size_t row() const { return row_; }

 private:
  [[nodiscard]] std::size_t shown() const { return selected_ ? selected_->size() : size(); }

  bool StandAt(std::size_t place) {
    if (place >= shown()) {
      RequireAll();
      return false;
    }
    GoTo(selected_ ? (*selected_)[place] : place);
    at_ = place;
    return true;
  }

  std::size_t at_ = 0;   // among the rows shown
  std::size_t row_ = 0;  // among all
  std::optional<std::vector<std::uint32_t>> selected_;
};

class SnapshotRows final : public ListedRows {
 public:
  explicit SnapshotRows(sql::Rows& rows) : rows_(rows), snapshot_(rows.columns()) {
    try {
      while (rows.Next()) {
        snapshot_.Add(rows);
        if (rows.source() != nullptr) records_.push_back(rows.record_number());
      }
    } catch (const Error& error) {
      if (snapshot_.size() == 0) throw;
      failure_ = error;
    }
  }

  [[nodiscard]] Value Read(std::size_t column) const override {
    return snapshot_.Read(row(), column);
  }
  [[nodiscard]] std::uint32_t record_number() const override { return records_[row()]; }

  void TakeChanged(const RowCursor& changed) override {
    indexes_.clear();
    const std::vector<std::size_t>& columns = rows_.source()->columns;
    for (std::size_t i = 0; i < columns.size(); ++i)
      snapshot_.Replace(row(), i, changed.Read(columns[i]));
  }

 protected:
  [[nodiscard]] std::size_t size() const override { return snapshot_.size(); }

  void RequireAll() const override {
    if (failure_) throw Error(*failure_);
  }

  // Equalities, which are asked for again and again with other values, are looked up.
  [[nodiscard]] std::vector<std::uint32_t> Select(const Criteria& criteria) override {
    if (!criteria.equalities()) return ListedRows::Select(criteria);
    std::vector<std::size_t> columns;
    std::wstring key;
    for (const Criteria::Equality& equality : *criteria.equalities()) {
      columns.push_back(equality.column);
      AppendKey(key, equality.key);
    }
    const Index& index = IndexOf(columns);
    const auto found = index.find(key);
    return found == index.end() ? std::vector<std::uint32_t>() : found->second;
  }

 private:
  using Index = std::unordered_map<std::wstring, std::vector<std::uint32_t>>;

  static void AppendKey(std::wstring& keys, const std::wstring& key) {
    keys += std::to_wstring(key.size()) + L":" + key;
  }

  const Index& IndexOf(const std::vector<std::size_t>& columns) {
    const auto found = indexes_.find(columns);
    if (found != indexes_.end()) return found->second;
    Index index;
    for (std::size_t row = 0; row < snapshot_.size(); ++row) {
      std::wstring key;
      bool has_null = false;
      for (const std::size_t column : columns) {
        const Value value = snapshot_.Read(row, column);
        const auto* text = std::get_if<std::wstring>(&value);
        has_null = has_null || text == nullptr;
        if (text != nullptr) AppendKey(key, Criteria::KeyOf(*text, rows_.columns()[column]));
      }
      if (!has_null) index[std::move(key)].push_back(static_cast<std::uint32_t>(row));
    }
    return indexes_.emplace(columns, std::move(index)).first->second;
  }

  sql::Rows& rows_;
  RowSnapshot snapshot_;
  std::vector<std::uint32_t> records_;
  std::optional<Error> failure_;
  std::map<std::vector<std::size_t>, Index> indexes_;
};

class KeysetRows final : public ListedRows {
 public:
  explicit KeysetRows(sql::Rows& rows)
      : columns_(rows.source()->columns), cursor_(rows.source()->table->Scan()) {
    while (rows.Next()) records_.push_back(rows.record_number());
  }

  [[nodiscard]] bool Meets(const Criteria& criteria) const override {
    return present_ && criteria.Accepts(*this);
  }

  [[nodiscard]] Value Read(std::size_t column) const override {
    if (!present_) throw RowDeleted(L"Recordset", L"record " + std::to_wstring(record_number()));
    return cursor_->Read(columns_[column]);
  }

  [[nodiscard]] std::uint32_t record_number() const override { return records_[row()]; }
  void TakeChanged(const RowCursor& /*row*/) override { Refresh(); }
  void Refresh() override { GoTo(row()); }

 protected:
  [[nodiscard]] std::size_t size() const override { return records_.size(); }

  void GoTo(std::size_t row) override {
    ListedRows::GoTo(row);
    present_ = row < records_.size() && cursor_->Seek(records_[row]);
  }

 private:
  const std::vector<std::size_t>& columns_;
  std::unique_ptr<RowCursor> cursor_;
  std::vector<std::uint32_t> records_;
  bool present_ = false;
};

}  // namespace

std::unique_ptr<CursorRows> MakeForwardRows(sql::Rows& rows) {
  return std::make_unique<ForwardRows>(rows);
}

std::unique_ptr<CursorRows> MakeSnapshotRows(sql::Rows& rows) {
  return std::make_unique<SnapshotRows>(rows);
}

std::unique_ptr<CursorRows> MakeKeysetRows(sql::Rows& rows) {
  return std::make_unique<KeysetRows>(rows);
}

}  // namespace tdefault::tables::foxpro
