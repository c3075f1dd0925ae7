// Tables for tests: scripted rows per statement, errors on demand, and a record of what was asked.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "base/code_page.h"
#include "base/error.h"
#include "base/text.h"
#include "tables/table_access.h"

namespace tdefault::testing {

// The rows a statement gives.
struct FakeResult {
  std::vector<std::wstring> columns;
  std::vector<std::vector<Value>> rows;
  std::map<std::pair<std::size_t, std::size_t>, Error> value_errors;  // by row and column, from 0
  std::int32_t status = 0;
  CodePage code_page = *CodePage::Find(1252);
};

// What all connections and recordsets of one FakeTables share.
struct FakeStore {
  std::map<std::wstring, FakeResult> results;  // by statement
  std::map<std::string, Error> failures;       // by step: see FakeTables::Fail
  std::vector<std::wstring> log;
  int open_connections = 0;
  int open_recordsets = 0;
  int lookups_by_name = 0;
  int live_connections = 0;
  int live_recordsets = 0;

  // Records the step and throws what it is told to fail with.
  void Step(const std::string& step, const std::wstring& detail = {}) {
    log.push_back(FromUtf8(step) + detail);
    const auto failure = failures.find(step);
    if (failure != failures.end()) throw failure->second;
  }

  const FakeResult& Find(const std::wstring& statement) const {
    const auto found = results.find(statement);
    if (found == results.end())
      throw Error(error_number::kNoSuchTable, L"FakeTables", L"no result for: " + statement);
    return found->second;
  }
};

class FakeRecordset final : public tables::Recordset {
 public:
  explicit FakeRecordset(FakeStore& store) : store_(store) { ++store_.live_recordsets; }
  FakeRecordset(const FakeRecordset&) = delete;
  FakeRecordset& operator=(const FakeRecordset&) = delete;
  ~FakeRecordset() override {
    --store_.live_recordsets;
    if (state_ == tables::ObjectState::kOpen) --store_.open_recordsets;
  }

  void OpenWith(const FakeResult& result) {
    result_ = &result;
    for (std::size_t column = 0; column < result.columns.size(); ++column)
      fields_.push_back(std::make_unique<FakeField>(*this, column));
    state_ = tables::ObjectState::kOpen;
    ++store_.open_recordsets;
  }

  void set_cursor_location(tables::CursorLocation location) override {
    store_.Step("recordset.cursor_location ", std::to_wstring(static_cast<int>(location)));
  }
  void Open(const std::wstring& source, tables::Connection& connection, tables::CursorType type,
            tables::LockType lock) override {
    if (connection.state() != tables::ObjectState::kOpen)
      throw Error(error_number::kObjectClosed, L"FakeTables", L"the connection is closed");
    store_.Step("recordset.open ", std::to_wstring(static_cast<int>(type)) + L" " +
                                       std::to_wstring(static_cast<int>(lock)) + L" " + source);
    OpenWith(store_.Find(source));
  }
  void Close() override {
    store_.Step("recordset.close");
    state_ = tables::ObjectState::kClosed;
    --store_.open_recordsets;
  }
  void Cancel() override { store_.Step("recordset.cancel"); }
  [[nodiscard]] tables::ObjectState state() const override { return state_; }
  [[nodiscard]] std::int32_t status() const override { return result_->status; }
  [[nodiscard]] bool bof() const override { return result_->rows.empty(); }
  [[nodiscard]] bool eof() const override { return row_ >= result_->rows.size(); }
  [[nodiscard]] std::int32_t record_count() const override {
    return static_cast<std::int32_t>(result_->rows.size());
  }
  void MoveFirst() override {
    store_.Step("recordset.move_first");
    if (result_->rows.empty())
      throw Error(error_number::kNoCurrentRow, L"FakeTables", L"there are no rows");
    row_ = 0;
  }
  void MoveNext() override {
    if (eof()) throw Error(error_number::kNoCurrentRow, L"FakeTables", L"behind the last row");
    ++row_;
    const auto failure = store_.failures.find("recordset.move_next");
    if (failure != store_.failures.end()) throw failure->second;
  }
  void MoveLast() override { throw std::logic_error("not scripted"); }
  void MovePrevious() override { throw std::logic_error("not scripted"); }
  void set_filter(const std::wstring& /*criteria*/) override {
    throw std::logic_error("not scripted");
  }
  void Find(const std::wstring& /*criteria*/) override { throw std::logic_error("not scripted"); }
  void Update() override { throw std::logic_error("not scripted"); }
  void CancelUpdate() override { store_.Step("recordset.cancel_update"); }
  [[nodiscard]] std::int32_t field_count() const override {
    return static_cast<std::int32_t>(fields_.size());
  }
  [[nodiscard]] tables::Field& field(std::int32_t position) override {
    return *fields_.at(static_cast<std::size_t>(position));
  }
  [[nodiscard]] tables::Field& field(const std::wstring& name) override {
    ++store_.lookups_by_name;
    for (const std::unique_ptr<FakeField>& field : fields_)
      if (EqualIgnoringCase(field->name(), name)) return *field;
    throw Error(error_number::kNoSuchItem, L"FakeTables", L"there is no column " + name);
  }

 private:
  class FakeField final : public tables::Field {
   public:
    FakeField(FakeRecordset& owner, std::size_t column) : owner_(owner), column_(column) {}

    [[nodiscard]] const std::wstring& name() const override {
      return owner_.result_->columns[column_];
    }
    [[nodiscard]] std::int32_t defined_size() const override { return 254; }
    [[nodiscard]] std::int32_t actual_size() const override {
      const Value current = value();
      if (const auto* bytes = std::get_if<Bytes>(&current))
        return static_cast<std::int32_t>(bytes->size());
      if (const auto* text = std::get_if<std::wstring>(&current))
        return static_cast<std::int32_t>(text->size());
      return IsNull(current) ? 0 : 8;
    }
    [[nodiscard]] Value value() const override {
      const auto failure = owner_.result_->value_errors.find({owner_.row_, column_});
      if (failure != owner_.result_->value_errors.end()) throw failure->second;
      return owner_.result_->rows.at(owner_.row_).at(column_);
    }
    [[nodiscard]] Bytes bytes() const override {
      const Value current = value();
      if (const auto* bytes = std::get_if<Bytes>(&current)) return *bytes;
      if (IsNull(current)) return {};
      const auto* text = std::get_if<std::wstring>(&current);
      if (text == nullptr) throw TypeMismatch(L"FakeTables");
      const std::string stored = owner_.result_->code_page.Encode(*text);
      return {stored.begin(), stored.end()};
    }

    void set_value(const Value& /*value*/) override { throw std::logic_error("not scripted"); }

   private:
    FakeRecordset& owner_;
    std::size_t column_;
  };

  FakeStore& store_;
  const FakeResult* result_ = nullptr;
  std::vector<std::unique_ptr<FakeField>> fields_;
  std::size_t row_ = 0;
  tables::ObjectState state_ = tables::ObjectState::kClosed;
};

class FakeConnection final : public tables::Connection {
 public:
  explicit FakeConnection(FakeStore& store) : store_(store) { ++store_.live_connections; }
  FakeConnection(const FakeConnection&) = delete;
  FakeConnection& operator=(const FakeConnection&) = delete;
  ~FakeConnection() override {
    --store_.live_connections;
    if (state_ == tables::ObjectState::kOpen) --store_.open_connections;
  }

  void set_connection_string(const std::wstring& text) override {
    store_.Step("connection.string ", text);
  }
  void set_cursor_location(tables::CursorLocation location) override {
    store_.Step("connection.cursor_location ", std::to_wstring(static_cast<int>(location)));
  }
  void set_mode(tables::ConnectMode mode) override {
    store_.Step("connection.mode ", std::to_wstring(static_cast<int>(mode)));
  }
  void Open() override {
    store_.Step("connection.open");
    state_ = tables::ObjectState::kOpen;
    ++store_.open_connections;
  }
  void Close() override {
    store_.Step("connection.close");
    state_ = tables::ObjectState::kClosed;
    --store_.open_connections;
  }
  [[nodiscard]] tables::ObjectState state() const override { return state_; }
  std::unique_ptr<tables::Recordset> Execute(const std::wstring& statement) override {
    store_.Step("connection.execute ", statement);
    auto recordset = std::make_unique<FakeRecordset>(store_);
    recordset->OpenWith(store_.Find(statement));
    return recordset;
  }
  [[nodiscard]] std::int32_t records_affected() const override { return -1; }

 private:
  FakeStore& store_;
  tables::ObjectState state_ = tables::ObjectState::kClosed;
};

class FakeTables final : public tables::TableAccess {
 public:
  std::unique_ptr<tables::Connection> MakeConnection() override {
    store.Step("make connection");
    return std::make_unique<FakeConnection>(store);
  }
  std::unique_ptr<tables::Recordset> MakeRecordset() override {
    return std::make_unique<FakeRecordset>(store);
  }

  // `step` is a line of the log without its detail: "connection.open", "connection.execute ", ...
  void Fail(const std::string& step, Error error) {
    store.failures.insert_or_assign(step, std::move(error));
  }

  [[nodiscard]] bool nothing_open() const {
    return store.open_connections == 0 && store.open_recordsets == 0 &&
           store.live_connections == 0 && store.live_recordsets == 0;
  }

  FakeStore store;
};

}  // namespace tdefault::testing
