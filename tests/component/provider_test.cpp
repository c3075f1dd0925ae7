// The library with its tables served through ADO: the same catalogue and layouts as through the
// embedded engine. ADO is the stand-in, because no provider is to be had here.
#include <algorithm>

#include "ado/stand_in.h"
#include "host.h"
#include "platform/win32/win32_platform.h"
#include "tables/foxpro/embedded_table_access.h"

using namespace tdefault;
using namespace tdefault::component;

namespace {

// The environment variable for as long as it lives.
class TablesSetting {
 public:
  explicit TablesSetting(const wchar_t* value) {
    REQUIRE(SetEnvironmentVariableW(L"TDEFAULT_TABLES", value) != 0);
  }
  ~TablesSetting() { SetEnvironmentVariableW(L"TDEFAULT_TABLES", nullptr); }
  TablesSetting(const TablesSetting&) = delete;
  TablesSetting& operator=(const TablesSetting&) = delete;
};

std::string Shown(const Variant& value) {
  if (value.get().vt == VT_EMPTY) return "(empty)";
  if (value.get().vt == (VT_ARRAY | VT_UI1)) {
    void* data = nullptr;
    REQUIRE(SafeArrayAccessData(value.get().parray, &data) == S_OK);
    const std::string bytes(static_cast<const char*>(data),
                            value.get().parray->rgsabound[0].cElements);
    SafeArrayUnaccessData(value.get().parray);
    return bytes;
  }
  Variant text;
  REQUIRE(VariantChangeType(&text.get(), automation::ReadOnly(value.get()), 0, VT_BSTR) == S_OK);
  return Utf8(text);
}

int CountOf(const LateBound& collection) { return std::stoi(Shown(collection.Get(L"Count"))); }

// Every property of every element, line by line.
std::vector<std::string> Describe(const LateBound& collection,
                                  std::initializer_list<const wchar_t*> properties) {
  std::vector<std::string> lines;
  for (int position = 1; position <= CountOf(collection); ++position) {
    const LateBound element(collection.Get(L"Item", Arguments(position)));
    for (const wchar_t* property : properties)
      lines.push_back(std::to_string(position) + " " + Utf8(property) + ": " +
                      Shown(element.Get(property)));
  }
  return lines;
}

void Append(std::vector<std::string>& lines, std::vector<std::string> more) {
  lines.insert(lines.end(), more.begin(), more.end());
}

std::vector<std::string> DescribeShop(const Shop& shop) {
  const ComPtr<::_Options> options = OpenShop(shop);
  const LateBound late(options.Get());
  std::vector<std::string> lines =
      Describe(late, {L"ID", L"LocalINI", L"Section", L"Key", L"Linkedfield", L"OptionType",
                      L"Minimum", L"Maximum", L"Default", L"Comment", L"CurrentValue", L"NewValue",
                      L"Decimals", L"AdditionalProc"});
  for (int position = 1; position <= CountOf(late); ++position) {
    const LateBound option(late.Get(L"Item", Arguments(position)));
    Append(lines, Describe(LateBound(option.Get(L"Choices")), {L"Item", L"Description"}));
  }
  Append(lines, Describe(LateBound(late.Get(L"ReportTypes")),
                         {L"Name", L"Description", L"Picture", L"ReportName", L"CurrentReport"}));
  return lines;
}

}  // namespace

TEST_CASE("the shop is the same through ADO as through the embedded engine") {
  const Apartment apartment;
  const Shop shop;
  std::vector<std::string> embedded;
  {
    const TablesSetting setting(L"embedded");
    embedded = DescribeShop(shop);
  }
  CHECK(embedded.size() > 1000);
  platform::win32::Win32Platform windows;
  tables::foxpro::EmbeddedTableAccess engine(
      windows.platform().files, tables::foxpro::LockPatience{windows.platform().clock}, 1252);
  tests::AdoStandIn ado(engine);
  const TablesSetting setting(L"provider");
  CHECK(DescribeShop(shop) == embedded);
  const auto& calls = ado.state().calls;
  for (const wchar_t* call : {L"Connection.Execute 'SELECT * FROM DEFAULTS', reference, 1",
                              L"Recordset.Open 'SELECT * FROM REPORTS', object, 0, 1, 1"})
    CHECK(std::count(calls.begin(), calls.end(), call) >= 1);
  CHECK(ado.state().live_objects == 0);
}

TEST_CASE("what the provider refuses reaches the host with the provider's number and text") {
  const Apartment apartment;
  const Shop shop;
  platform::win32::Win32Platform windows;
  tables::foxpro::EmbeddedTableAccess engine(
      windows.platform().files, tables::foxpro::LockPatience{windows.platform().clock}, 1252);
  tests::AdoStandIn ado(engine);
  const TablesSetting setting(L"provider");
  const ComPtr<::_Options> options = CreateOptions(shop);
  // Nobody else may read the table.
  const HeldFile held(shop.data() + L"\\reports.dbf", 0);
  VARIANT_BOOL ready = VARIANT_TRUE;
  CHECK(options->Initialize(&ready) == static_cast<HRESULT>(0x80040E40));
  const ErrorText text = TakeErrorInformation();
  CHECK(text.source == "Reports:Class_Initialize");
  CHECK(ado.state().live_objects == 0);
}
