// The rows of table Need of a sample shop, and what each kit choice has to make of them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/date_time.h"
#include "base/text.h"
#include "base/value.h"
#include "integration/sample_shop.h"

namespace tdefault::testing {

struct KitRow {
  bool need = false;
  Date changed;
  std::int32_t changed_by = 0;
  std::int32_t changed_status = 0;
  std::wstring hardware;
  std::int32_t car = 0;
  std::wstring part;
  friend bool operator==(const KitRow&, const KitRow&) = default;
};

using KitRows = std::vector<KitRow>;

inline std::unique_ptr<tables::Connection> ConnectTo(SampleShop& shop) {
  auto connection = shop.engine.MakeConnection();
  connection->set_connection_string(L"Data Source=" + kShopFolder);
  connection->Open();
  return connection;
}

inline KitRows RowsOf(SampleShop& shop) {
  const auto connection = ConnectTo(shop);
  const auto recordset = connection->Execute(L"SELECT * FROM Need");
  const auto text = [&](const wchar_t* column) {
    const std::wstring padded = ToText(recordset->field(column).value(), L"");
    return std::wstring(TrimBlanks(padded));
  };
  const auto number = [&](const wchar_t* column) {
    return ToLong(recordset->field(column).value(), L"");
  };
  KitRows rows;
  for (; !recordset->eof(); recordset->MoveNext())
    rows.push_back({std::get<bool>(recordset->field(L"Need").value()),
                    std::get<Date>(recordset->field(L"Changed").value()), number(L"Changedby"),
                    number(L"Changstat"), text(L"Hw_part_id"), number(L"Car_id"),
                    text(L"Part_id")});
  return rows;
}

// The rows in which those that `affected` names are set and stamped.
template <class Affected>
KitRows Changed(KitRows rows, bool need, Date today, const Affected& affected) {
  for (KitRow& row : rows)
    if (affected(row)) {
      row.need = need;
      row.changed = today;
      row.changed_by = -121;
      row.changed_status = 1;
    }
  return rows;
}

inline bool IsKitPart(const KitRow& row) { return ToUpper(row.hardware).starts_with(L"HWAH"); }

inline KitRows Reset(const KitRows& rows, Date today) {
  return Changed(rows, false, today, IsKitPart);
}

// The rows after the save of a choice, "0" to "3".
inline KitRows Chosen(const KitRows& rows, std::wstring_view choice, Date today) {
  const auto universal = [](const KitRow& row) { return ToUpper(row.hardware) == L"HWAH00448"; };
  if (choice == L"0") return Changed(rows, true, today, IsKitPart);
  const KitRows reset = Reset(rows, today);
  if (choice == L"1")
    return Changed(reset, true, today, [&](const KitRow& row) { return !universal(row); });
  if (choice == L"3") return reset;
  return Changed(reset, true, today, [&](const KitRow& row) {
    return universal(row) || std::none_of(rows.begin(), rows.end(), [&](const KitRow& other) {
             return other.car == row.car && other.part == row.part && universal(other);
           });
  });
}

}  // namespace tdefault::testing
