// The counters of work orders and invoices, which a site may have count as one.
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/date_time.h"
#include "base/error.h"
#include "catalogue/Options.h"
#include "support/ini_values.h"
#include "support/table_connection.h"

namespace tdefault::catalogue {
namespace {

constexpr const wchar_t* kSource = L":WOInvoiceNumAdjust";
constexpr std::int32_t kChangedByLibrary = -121;

// The counters of one site, as rows of the table Numbers.
class Counters {
 public:
  // `rows` has rows and outlives this.
  explicit Counters(tables::Recordset& rows)
      : rows_(rows), width_(static_cast<std::size_t>(rows.field(L"Name").defined_size())) {}

  // Stands on the row of that counter; false when the site has none.
  bool Find(std::wstring name) {
    if (name.size() < width_) name.resize(width_, L' ');
    rows_.MoveFirst();
    rows_.Find(L"Name LIKE '" + name + L"'");
    return !rows_.eof();
  }

  [[nodiscard]] std::int32_t Number() { return ToLong(rows_.field(L"Number").value(), kSource); }

  void SetNumber(std::int32_t number, Date today) {
    rows_.field(L"Number").set_value(number);
    rows_.field(L"Changed").set_value(ToMonthDayYear(today));
    rows_.field(L"Changedby").set_value(kChangedByLibrary);
    rows_.field(L"Changstat").set_value(std::int32_t{1});
    rows_.Update();
  }

 private:
  tables::Recordset& rows_;
  const std::size_t width_;
};

// Lowers the second counter to the first one where that is less.
void Adjust(Counters& counters, bool same_number, Date today) {
  const wchar_t* const first = same_number ? L"invoice" : L"workorder";
  const wchar_t* const second = same_number ? L"workorder" : L"invoice";
  if (!counters.Find(first)) return;
  const std::int32_t number = counters.Number();
  if (counters.Find(second) && number < counters.Number()) counters.SetNumber(number, today);
}

}  // namespace

bool Options::WOInvoiceNumAdjust(bool same_number) {
  std::unique_ptr<tables::Connection> connection;
  std::unique_ptr<tables::Recordset> rows;
  try {
    connection = support::OpenConnection(tables_, DataPath(), tables::CursorLocation::kServer,
                                         tables::ConnectMode::kReadWrite);
    rows = tables_.MakeRecordset();
    rows->Open(L"SELECT * FROM Numbers WHERE Location = " +
                   support::GetCompanyNumber(platform_.profile_files, INIFile()),
               *connection, tables::CursorType::kKeyset, tables::LockType::kPessimistic);
    if (!rows->bof() || !rows->eof()) {
      Counters counters(*rows);
      Adjust(counters, same_number, platform_.clock.Today());
    }
    support::CloseRecordset(connection, rows);
    return true;
  } catch (const Error&) {
    support::CloseAfterFailure(connection, rows);
    return false;
  }
}

}  // namespace tdefault::catalogue
