#include "tables/table_access_choice.h"

#include <string>
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "tables/foxpro/embedded_table_access.h"

namespace tdefault::tables {
namespace {

constexpr wchar_t kVariable[] = L"TDEFAULT_TABLES";
constexpr wchar_t kSource[] = L"Connection";

// Never opens: the environment asks for a table access that there is not.
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

class ChosenTableAccess final : public TableAccess {
 public:
  explicit ChosenTableAccess(platform::Platform& platform)
      : session_(platform.session),
        embedded_(platform.files, foxpro::LockPatience{platform.clock},
                  platform.session.AnsiCodePage()) {}

  std::unique_ptr<Connection> MakeConnection() override {
    const auto value = session_.EnvironmentValue(kVariable);
    if (!value || EqualIgnoringCase(*value, L"embedded")) return embedded_.MakeConnection();
    const std::wstring setting =
        L"The environment variable " + std::wstring(kVariable) + L" is \"" + *value + L"\"";
    if (EqualIgnoringCase(*value, L"provider")) {
      return std::make_unique<RefusedConnection>(
          setting +
          L", but this version serves tables through its embedded engine only. Remove the "
          L"variable, or set it to \"embedded\".");
    }
    return std::make_unique<RefusedConnection>(
        setting + L"; it can be \"embedded\" or \"provider\". Correct or remove it.");
  }

  std::unique_ptr<Recordset> MakeRecordset() override { return embedded_.MakeRecordset(); }

 private:
  platform::Session& session_;
  foxpro::EmbeddedTableAccess embedded_;
};

}  // namespace

std::unique_ptr<TableAccess> MakeTableAccess(platform::Platform& platform) {
  return std::make_unique<ChosenTableAccess>(platform);
}

}  // namespace tdefault::tables
