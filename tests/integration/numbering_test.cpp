// The counters of work orders and invoices after the option that makes them one has changed.
#include <doctest/doctest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "base/text.h"
#include "sample_shop.h"
#include "tables/foxpro/table_check.h"

using namespace tdefault;
using namespace tdefault::testing;

namespace {

const std::wstring kNumbers = kShopFolder + L"\\numbers.dbf";
const std::wstring kQuery = L"open recordset 1 2 SELECT * FROM Numbers WHERE Location = ";

// The sample shop at a site, before a save that changes the numbering option to that value. Site 3
// has 20417 for work orders and 20388 for invoices.
class Site : public SampleShop {
 public:
  explicit Site(bool same_number, const std::string& number = "3") : same_number_(same_number) {
    Put(kShopLocalIni, "Location", number);
    Put(kShopGlobalIni, "MAKEWOANDINVOICESAMENUMBER", same_number ? "False" : "True");
    REQUIRE(options.Initialize());
  }

  // Changes the counters before the save.
  void Change(const std::wstring& statement) {
    const auto connection = Connect();
    static_cast<void>(connection->Execute(statement));
    connection->Close();
  }

  // The log is that of the side effect alone.
  bool Save() {
    Find(L"WorkOrders", L"MAKEWOANDINVOICESAMENUMBER")
        ->SetNewValue(same_number_ ? L"True" : L"False");
    tables.calls.log.clear();
    tables.calls.count = 0;
    const bool saved = options.Save();
    auto& log = tables.calls.log;
    const auto end = std::find(log.begin(), log.end(), L"close connection");
    if (end != log.end()) log.erase(end + 1, log.end());
    return saved;
  }

  // SITE NAME NUMBER DAY CHANGEDBY CHANGSTAT of every row.
  [[nodiscard]] std::vector<std::wstring> Rows() {
    const auto connection = Connect();
    std::vector<std::wstring> rows;
    const auto recordset = connection->Execute(L"SELECT * FROM Numbers");
    for (; !recordset->eof(); recordset->MoveNext()) {
      std::wstring row;
      for (std::int32_t column = 0; column < recordset->field_count(); ++column) {
        const Value value = recordset->field(column).value();
        const auto* const date = std::get_if<Date>(&value);
        row += (column == 0 ? L"" : L" ") +
               std::wstring(TrimBlanks(date != nullptr ? ToText(*date) : ToText(value, L"")));
      }
      rows.push_back(row);
    }
    return rows;
  }

  [[nodiscard]] std::unique_ptr<tables::Connection> Connect() {
    auto connection = engine.MakeConnection();
    connection->set_connection_string(L"Data Source=" + kShopFolder);
    connection->set_mode(tables::ConnectMode::kReadWrite);
    connection->Open();
    return connection;
  }

 private:
  // Sets a key of a file that has it.
  void Put(const std::wstring& file, const std::string& key, const std::string& value) {
    std::string text = *machine.Contents(file);
    const std::size_t place = text.find("\n" + key + "=");
    REQUIRE(place != std::string::npos);
    const std::size_t begin = place + key.size() + 2;
    text.replace(begin, text.find('\r', begin) - begin, value);
    machine.PutFile(file, text);
  }

  const bool same_number_;
};

// The rows with one of them replaced.
std::vector<std::wstring> With(std::vector<std::wstring> rows, const std::wstring& begin,
                               const std::wstring& row) {
  const auto place = std::find_if(rows.begin(), rows.end(),
                                  [&](const auto& text) { return text.starts_with(begin); });
  if (place == rows.end()) throw std::logic_error("no such row");
  *place = row;
  return rows;
}

}  // namespace

TEST_CASE("one number for both lowers the work orders to the invoices, stamped with day and user") {
  Site site(true);
  const auto before = site.Rows();
  CHECK(site.Save());
  CHECK(site.Rows() == With(before, L"3 workorder", L"3 workorder 20388 2001-03-07 -121 1"));
  const std::wstring padding(11, L' ');
  CHECK(site.tables.calls.log ==
        std::vector<std::wstring>{
            L"connection string Provider=VFPOLEDB.1;SourceType=dbf;Data Source=C:\\SHOP\\DATA;"
            L"Mode=ReadWrite|Share Deny None;Collating Sequence=GENERAL;Deleted=TRUE;",
            L"connection cursor 2", L"connection mode 3", L"open connection", kQuery + L"3",
            L"first", L"find Name LIKE 'invoice  " + padding + L"'", L"first",
            L"find Name LIKE 'workorder" + padding + L"'", L"set NUMBER", L"set CHANGED",
            L"set CHANGEDBY", L"set CHANGSTAT", L"update", L"close recordset",
            L"close connection"});
  CHECK(site.tables.calls.open_connections == 0);
  CHECK(site.tables.calls.open_recordsets == 0);
}

TEST_CASE("numbers of their own lower the invoices to the work orders") {
  Site site(false);
  site.Change(L"UPDATE Numbers SET Number = 30000 WHERE Location = 3 AND Name = 'invoice'");
  const auto before = site.Rows();
  CHECK(site.Save());
  CHECK(site.Rows() == With(before, L"3 invoice", L"3 invoice 20417 2001-03-07 -121 1"));
  CHECK(site.tables.calls.log.at(6).starts_with(L"find Name LIKE 'workorder "));
}

TEST_CASE("a second counter that is not above the first one stays as it is") {
  for (const bool same : {false, true}) {
    for (const wchar_t* invoice : {L"20417", L"20400", L"20500"}) {
      CAPTURE(same);
      CAPTURE(invoice);
      Site site(same);
      site.Change(std::wstring(L"UPDATE Numbers SET Number = ") + invoice +
                  L" WHERE Location = 3 AND Name = 'invoice'");
      const auto before = site.Rows();
      const std::wstring number(invoice);
      CHECK(site.Save());
      if (same && number == L"20400") {
        CHECK(site.Rows() == With(before, L"3 workorder", L"3 workorder 20400 2001-03-07 -121 1"));
      } else if (!same && number == L"20500") {
        CHECK(site.Rows() == With(before, L"3 invoice", L"3 invoice 20417 2001-03-07 -121 1"));
      } else {
        CHECK(site.Rows() == before);
      }
    }
  }
}

TEST_CASE("a site without one of the counters changes nothing, and the save succeeds") {
  for (const wchar_t* name : {L"workorder", L"invoice"}) {
    for (const bool same : {false, true}) {
      CAPTURE(name);
      CAPTURE(same);
      Site site(same);
      site.Change(std::wstring(L"DELETE FROM Numbers WHERE Location = 3 AND Name = '") + name +
                  L"'");
      const auto before = site.Rows();
      CHECK(site.Save());
      CHECK(site.Rows() == before);
    }
  }
}

TEST_CASE("a site without any counter changes nothing, and the save succeeds") {
  Site site(true, "9");
  const auto before = site.Rows();
  CHECK(site.Save());
  CHECK(site.Rows() == before);
  CHECK(site.tables.calls.log.at(4) == kQuery + L"9");
  CHECK(site.tables.calls.log.at(5) == L"close recordset");
}

TEST_CASE("a counter whose name only begins alike is another one") {
  Site site(true);
  site.Change(L"UPDATE Numbers SET Name = 'workorder2' WHERE Location = 3 AND Name = 'workorder'");
  const auto before = site.Rows();
  CHECK(site.Save());
  CHECK(site.Rows() == before);
}

TEST_CASE("a site whose location is no number fails the save without touching a counter") {
  Site site(true, "front");
  const auto before = site.Rows();
  CHECK_FALSE(site.Save());
  CHECK(site.Rows() == before);
  CHECK(site.tables.calls.log.at(4) == kQuery);
  CHECK(site.tables.calls.open_connections == 0);
}

TEST_CASE("a counter in use by another fails the save, and both files and counters stay") {
  Site site(true);
  const std::string global = *site.machine.Contents(kShopGlobalIni);
  const auto before = site.Rows();
  auto other = site.machine.HoldOpen(kNumbers, platform::FileShare::kReadWrite,
                                     platform::FileAccess::kReadWrite);
  other.Lock(0x40000000, 0x3FFFFFFE);
  CHECK_FALSE(site.Save());
  other.Unlock(0x40000000, 0x3FFFFFFE);
  CHECK(site.Rows() == before);
  CHECK(site.machine.Contents(kShopGlobalIni) == global);
}

TEST_CASE("numbering with any call of the tables failing is done whole or not at all") {
  bool saved = false;
  for (std::size_t number = 1; !saved; ++number) {
    CAPTURE(number);
    Site site(true);
    const auto before = site.Rows();
    const auto changed = With(before, L"3 workorder", L"3 workorder 20388 2001-03-07 -121 1");
    site.tables.calls.failing = number;
    try {
      saved = site.Save();
    } catch (const Error&) {
      // The call was one of loading again, when the save has its outcome.
      saved = true;
    }
    site.tables.calls.failing.reset();
    CHECK(site.tables.calls.open_connections == 0);
    CHECK(site.tables.calls.open_recordsets == 0);
    const auto after = site.Rows();
    CHECK((after == changed || (!saved && after == before)));
    if (saved) CHECK(number > 16);
  }
}
