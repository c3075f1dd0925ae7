// Tables that are served by another table access, for tests that look at the seam: every call that
// reaches it is recorded as text, and any of them can be made to fail.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "base/error.h"
#include "base/value.h"
#include "tables/table_access.h"

namespace tdefault::testing {

// What all objects of one RecordingTables share.
struct TableCalls {
  // The calls that say what is wanted, in order:
  //   connection string TEXT, connection cursor N, connection mode N, open connection,
  //   execute STATEMENT, close connection,
  //   recordset cursor N, open recordset TYPE LOCK STATEMENT, filter CRITERIA, find CRITERIA,
  //   first, set COLUMN, update, cancel, close recordset
  std::vector<std::wstring> log;
  std::size_t count = 0;  // of those and of all moves and values read, which the log leaves out
  std::optional<std::size_t> failing;
  int open_connections = 0;
  int open_recordsets = 0;

  // One call, which fails when it is its turn.
  void Step(std::wstring what = {}) {
    if (!what.empty()) log.push_back(std::move(what));
    if (++count == failing)
      throw Error(error_number::kTableDamaged, L"Tables", L"The call was told to fail.");
  }

  // The statements of the log.
  [[nodiscard]] std::vector<std::wstring> Statements() const {
    std::vector<std::wstring> statements;
    for (const std::wstring& call : log)
      for (const std::wstring& kind : {std::wstring(L"execute "), std::wstring(L"open recordset ")})
        if (call.starts_with(kind)) statements.push_back(call.substr(kind.size()));
    return statements;
  }
};

class RecordingField final : public tables::Field {
 public:
  RecordingField(tables::Field& field, TableCalls& calls) : field_(field), calls_(calls) {}

  [[nodiscard]] const std::wstring& name() const override { return field_.name(); }
  [[nodiscard]] std::int32_t defined_size() const override { return field_.defined_size(); }
  [[nodiscard]] std::int32_t actual_size() const override {
    calls_.Step();
    return field_.actual_size();
  }
  [[nodiscard]] Value value() const override {
    calls_.Step();
    return field_.value();
  }
  [[nodiscard]] Bytes bytes() const override {
    calls_.Step();
    return field_.bytes();
  }
  void set_value(const Value& value) override {
    calls_.Step(L"set " + field_.name());
    field_.set_value(value);
  }

 private:
  tables::Field& field_;
  TableCalls& calls_;
};

class RecordingConnection final : public tables::Connection {
 public:
  RecordingConnection(std::unique_ptr<tables::Connection> connection, TableCalls& calls)
      : connection_(std::move(connection)), calls_(calls) {}
  RecordingConnection(const RecordingConnection&) = delete;
  RecordingConnection& operator=(const RecordingConnection&) = delete;
  ~RecordingConnection() override { CountClosed(); }

  [[nodiscard]] tables::Connection& served() { return *connection_; }

  void set_connection_string(const std::wstring& text) override {
    calls_.Step(L"connection string " + text);
    connection_->set_connection_string(text);
  }
  void set_cursor_location(tables::CursorLocation location) override {
    calls_.Step(L"connection cursor " + std::to_wstring(static_cast<int>(location)));
    connection_->set_cursor_location(location);
  }
  void set_mode(tables::ConnectMode mode) override {
    calls_.Step(L"connection mode " + std::to_wstring(static_cast<int>(mode)));
    connection_->set_mode(mode);
  }
  void Open() override {
    calls_.Step(L"open connection");
    connection_->Open();
    ++calls_.open_connections;
    open_ = true;
  }
  void Close() override {
    calls_.Step(L"close connection");
    connection_->Close();
    CountClosed();
  }
  [[nodiscard]] tables::ObjectState state() const override { return connection_->state(); }
  std::unique_ptr<tables::Recordset> Execute(const std::wstring& statement) override;
  [[nodiscard]] std::int32_t records_affected() const override {
    return connection_->records_affected();
  }

 private:
  void CountClosed() {
    if (std::exchange(open_, false)) --calls_.open_connections;
  }

  std::unique_ptr<tables::Connection> connection_;
  TableCalls& calls_;
  bool open_ = false;
};

class RecordingRecordset final : public tables::Recordset {
 public:
  // A recordset that is open already counts as opened.
  RecordingRecordset(std::unique_ptr<tables::Recordset> recordset, TableCalls& calls)
      : recordset_(std::move(recordset)), calls_(calls) {
    if (recordset_->state() == tables::ObjectState::kOpen) CountOpen();
  }
  RecordingRecordset(const RecordingRecordset&) = delete;
  RecordingRecordset& operator=(const RecordingRecordset&) = delete;
  ~RecordingRecordset() override { CountClosed(); }

  void set_cursor_location(tables::CursorLocation location) override {
    calls_.Step(L"recordset cursor " + std::to_wstring(static_cast<int>(location)));
    recordset_->set_cursor_location(location);
  }
  void Open(const std::wstring& source, tables::Connection& connection,
            tables::CursorType cursor_type, tables::LockType lock_type) override {
    calls_.Step(L"open recordset " + std::to_wstring(static_cast<int>(cursor_type)) + L" " +
                std::to_wstring(static_cast<int>(lock_type)) + L" " + source);
    auto* const recording = dynamic_cast<RecordingConnection*>(&connection);
    if (recording == nullptr) throw std::logic_error("a connection of other tables");
    recordset_->Open(source, recording->served(), cursor_type, lock_type);
    CountOpen();
  }
  void Close() override {
    calls_.Step(L"close recordset");
    fields_.clear();
    recordset_->Close();
    CountClosed();
  }
  void Cancel() override {
    calls_.Step(L"cancel");
    recordset_->Cancel();
  }
  [[nodiscard]] tables::ObjectState state() const override { return recordset_->state(); }
  [[nodiscard]] std::int32_t status() const override { return recordset_->status(); }
  [[nodiscard]] bool bof() const override { return recordset_->bof(); }
  [[nodiscard]] bool eof() const override { return recordset_->eof(); }
  [[nodiscard]] std::int32_t record_count() const override {
    calls_.Step();
    return recordset_->record_count();
  }
  void MoveFirst() override {
    calls_.Step(L"first");
    recordset_->MoveFirst();
  }
  void MoveLast() override {
    calls_.Step();
    recordset_->MoveLast();
  }
  void MoveNext() override {
    calls_.Step();
    recordset_->MoveNext();
  }
  void MovePrevious() override {
    calls_.Step();
    recordset_->MovePrevious();
  }
  void set_filter(const std::wstring& criteria) override {
    calls_.Step(L"filter " + criteria);
    recordset_->set_filter(criteria);
  }
  void Find(const std::wstring& criteria) override {
    calls_.Step(L"find " + criteria);
    recordset_->Find(criteria);
  }
  void Update() override {
    calls_.Step(L"update");
    recordset_->Update();
  }
  void CancelUpdate() override {
    calls_.Step();
    recordset_->CancelUpdate();
  }
  [[nodiscard]] std::int32_t field_count() const override { return recordset_->field_count(); }
  [[nodiscard]] tables::Field& field(std::int32_t position) override {
    return Show(recordset_->field(position));
  }
  [[nodiscard]] tables::Field& field(const std::wstring& name) override {
    return Show(recordset_->field(name));
  }

 private:
  tables::Field& Show(tables::Field& field) {
    auto& shown = fields_[&field];
    if (!shown) shown = std::make_unique<RecordingField>(field, calls_);
    return *shown;
  }
  void CountOpen() {
    ++calls_.open_recordsets;
    open_ = true;
  }
  void CountClosed() {
    if (std::exchange(open_, false)) --calls_.open_recordsets;
  }

  std::unique_ptr<tables::Recordset> recordset_;
  TableCalls& calls_;
  std::map<tables::Field*, std::unique_ptr<RecordingField>> fields_;
  bool open_ = false;
};

inline std::unique_ptr<tables::Recordset> RecordingConnection::Execute(
    const std::wstring& statement) {
  calls_.Step(L"execute " + statement);
  return std::make_unique<RecordingRecordset>(connection_->Execute(statement), calls_);
}

class RecordingTables final : public tables::TableAccess {
 public:
  // `tables` outlives this.
  explicit RecordingTables(tables::TableAccess& tables) : tables_(tables) {}

  std::unique_ptr<tables::Connection> MakeConnection() override {
    return std::make_unique<RecordingConnection>(tables_.MakeConnection(), calls);
  }
  std::unique_ptr<tables::Recordset> MakeRecordset() override {
    return std::make_unique<RecordingRecordset>(tables_.MakeRecordset(), calls);
  }

  TableCalls calls;

 private:
  tables::TableAccess& tables_;
};

}  // namespace tdefault::testing
