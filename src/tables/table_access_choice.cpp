#include "tables/table_access_choice.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "tables/foxpro/embedded_connection.h"
#include "tables/foxpro/embedded_table_access.h"

namespace tdefault::tables {
namespace {

constexpr wchar_t kVariable[] = L"TDEFAULT_TABLES";
constexpr wchar_t kLockWaitVariable[] = L"TDEFAULT_LOCK_WAIT";
constexpr std::uint32_t kLongestLockWait = 600000;
constexpr wchar_t kSource[] = L"Connection";

// Absent for anything but a whole number from 0 to the longest wait.
std::optional<std::uint32_t> ParseLockWait(std::wstring_view text) {
  if (text.empty()) return std::nullopt;
  std::uint32_t milliseconds = 0;
  for (const wchar_t character : text) {
    if (character < L'0' || character > L'9') return std::nullopt;
    milliseconds = milliseconds * 10 + static_cast<std::uint32_t>(character - L'0');
    if (milliseconds > kLongestLockWait) return std::nullopt;
  }
  return milliseconds;
}

std::wstring Setting(const wchar_t* variable, const std::wstring& value) {
  return L"The environment variable " + std::wstring(variable) + L" is \"" + value + L"\"";
}

// Never opens: the environment asks for what there is not.
class RefusedConnection final : public Connection {
 public:
  explicit RefusedConnection(std::wstring reason) : reason_(std::move(reason)) {}

  void set_connection_string(const std::wstring& /*text*/) override {}
  void set_cursor_location(CursorLocation /*location*/) override {}
  void set_mode(ConnectMode /*mode*/) override {}
  void Open() override { throw Refusal(error_number::kTableDamaged); }
  void Close() override { throw Refusal(error_number::kObjectClosed); }
  [[nodiscard]] ObjectState state() const override { return ObjectState::kClosed; }
  std::unique_ptr<Recordset> Execute(const std::wstring& /*statement*/) override {
    throw Refusal(error_number::kObjectClosed);
  }
  [[nodiscard]] std::int32_t records_affected() const override { return -1; }

 private:
  [[nodiscard]] Error Refusal(std::int32_t number) const { return {number, kSource, reason_}; }

  std::wstring reason_;
};

// Serves a connection of either kind: what it is made of is settled when it opens.
class EitherRecordset final : public Recordset {
 public:
  EitherRecordset(TableAccess& embedded, TableAccess& provider)
      : embedded_(embedded), provider_(provider), recordset_(embedded.MakeRecordset()) {}

  void set_cursor_location(CursorLocation location) override {
    cursor_location_ = location;
    recordset_->set_cursor_location(location);
  }
  void Open(const std::wstring& source, Connection& connection, CursorType cursor_type,
            LockType lock_type) override {
    if (recordset_->state() == ObjectState::kClosed) Become(connection);
    recordset_->Open(source, connection, cursor_type, lock_type);
  }
  void Close() override { recordset_->Close(); }
  void Cancel() override { recordset_->Cancel(); }
  [[nodiscard]] ObjectState state() const override { return recordset_->state(); }
  [[nodiscard]] std::int32_t status() const override { return recordset_->status(); }
  [[nodiscard]] bool bof() const override { return recordset_->bof(); }
  [[nodiscard]] bool eof() const override { return recordset_->eof(); }
  [[nodiscard]] std::int32_t record_count() const override { return recordset_->record_count(); }
  void MoveFirst() override { recordset_->MoveFirst(); }
  void MoveLast() override { recordset_->MoveLast(); }
  void MoveNext() override { recordset_->MoveNext(); }
  void MovePrevious() override { recordset_->MovePrevious(); }
  void set_filter(const std::wstring& criteria) override { recordset_->set_filter(criteria); }
  void Find(const std::wstring& criteria) override { recordset_->Find(criteria); }
  void Update() override { recordset_->Update(); }
  void CancelUpdate() override { recordset_->CancelUpdate(); }
  [[nodiscard]] std::int32_t field_count() const override { return recordset_->field_count(); }
  [[nodiscard]] Field& field(std::int32_t position) override { return recordset_->field(position); }
  [[nodiscard]] Field& field(const std::wstring& name) override { return recordset_->field(name); }

 private:
  void Become(const Connection& connection) {
    // A refused connection is closed, which the embedded recordset says as well as any.
    const bool embedded = connection.state() == ObjectState::kClosed ||
                          dynamic_cast<const foxpro::EmbeddedConnection*>(&connection) != nullptr;
    recordset_ = (embedded ? embedded_ : provider_).MakeRecordset();
    if (cursor_location_) recordset_->set_cursor_location(*cursor_location_);
  }

  TableAccess& embedded_;
  TableAccess& provider_;
  std::optional<CursorLocation> cursor_location_;
  std::unique_ptr<Recordset> recordset_;  // never null
};

class ChosenTableAccess final : public TableAccess {
 public:
  ChosenTableAccess(platform::Platform& platform, ProviderAccess provider)
      : files_(platform.files),
        session_(platform.session),
        clock_(platform.clock),
        embedded_(files_, foxpro::LockPatience{clock_}, session_.AnsiCodePage()),
        provider_(std::move(provider)) {}

  std::unique_ptr<Connection> MakeConnection() override {
    const auto value = session_.EnvironmentValue(kVariable);
    if (!value) {
      const bool registered = provider_.access && provider_.is_registered();
      return registered ? provider_.access->MakeConnection() : MakeEmbedded();
    }
    if (EqualIgnoringCase(*value, L"embedded")) return MakeEmbedded();
    const std::wstring setting = Setting(kVariable, *value);
    if (!EqualIgnoringCase(*value, L"provider")) {
      return std::make_unique<RefusedConnection>(
          setting + L"; it can be \"embedded\" or \"provider\". Correct or remove it.");
    }
    if (provider_.access) return provider_.access->MakeConnection();
    return std::make_unique<RefusedConnection>(
        setting +
        L", but this version serves tables through its embedded engine only. Remove the "
        L"variable, or set it to \"embedded\".");
  }

  std::unique_ptr<Recordset> MakeRecordset() override {
    if (!provider_.access) return embedded_.MakeRecordset();
    return std::make_unique<EitherRecordset>(embedded_, *provider_.access);
  }

 private:
  [[nodiscard]] std::unique_ptr<Connection> MakeEmbedded() {
    const auto value = session_.EnvironmentValue(kLockWaitVariable);
    if (!value) return embedded_.MakeConnection();
    const auto milliseconds = ParseLockWait(*value);
    if (!milliseconds) {
      return std::make_unique<RefusedConnection>(
          Setting(kLockWaitVariable, *value) +
          L"; it is for how many milliseconds a lock of another program is waited for, a whole "
          L"number from 0 to " +
          std::to_wstring(kLongestLockWait) + L". Correct or remove it.");
    }
    const foxpro::LockPatience patience{.clock = clock_, .milliseconds = *milliseconds};
    return foxpro::EmbeddedTableAccess(files_, patience, session_.AnsiCodePage()).MakeConnection();
  }

  platform::Files& files_;
  platform::Session& session_;
  platform::Clock& clock_;
  foxpro::EmbeddedTableAccess embedded_;
  ProviderAccess provider_;
};

}  // namespace

std::unique_ptr<TableAccess> MakeTableAccess(platform::Platform& platform,
                                             ProviderAccess provider) {
  return std::make_unique<ChosenTableAccess>(platform, std::move(provider));
}

}  // namespace tdefault::tables
