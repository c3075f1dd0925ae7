// Definitions looked up, added and deleted in real tables.
#include "catalogue/definitions.h"

#include <doctest/doctest.h>

#include <limits>
#include <string>
#include <vector>

#include "integration/definition_shop.h"

using namespace tdefault;
using catalogue::InsertDefinition;
using records::INIOption;
using records::KEY_TYPE;
using testing::DefinitionShop;
using testing::kConnectionString;
using testing::kShopFolder;
using testing::kShopGlobalIni;
using testing::kShopLocalIni;

namespace {

using Table = std::vector<std::vector<std::wstring>>;

constexpr const wchar_t* kId = L"6F9619FF-8B86-D011-B42D-00CF4FC964FF";

INIOption NewDefinition() {
  INIOption option;
  option.SetID(kId);
  option.SetLocalINI(true);
  option.SetSection(L"General");
  option.SetKey(L"Color");
  option.SetLinkedfield(L"Field");
  option.SetOptionType(KEY_TYPE::CHOICE_VALUE);
  auto choices = std::make_shared<records::cChoices>();
  choices->Add(L"A", L"Alpha's");
  choices->Add(L"B", L"");
  option.SetChoices(choices);
  option.SetMinimum(-5);
  option.SetMaximum(99);
  option.SetDecimals(2);
  option.SetDefault(L"A");
  option.SetComment(L"It's red\r\nor blue");
  option.SetAdditionalProc(L"Mod.Cls:Run");
  return option;
}

Table Ids(DefinitionShop& shop) { return shop.Rows(L"SELECT Id FROM DEFAULTS"); }

std::wstring Padded(std::wstring text, std::size_t width) {
  text.resize(width, L' ');
  return text;
}

// The keys of section S in the global file, with a definition for each: ID and key are equal.
void PutGlobal(DefinitionShop& shop, const std::string& text) {
  shop.machine.PutFile(kShopGlobalIni, text);
  for (const wchar_t* key : {L"a", L"b", L"c"})
    shop.Define(key, false, L"S", key, std::wstring(L"about ") + key);
  REQUIRE(shop.options.Initialize());
}

}  // namespace

TEST_CASE("a definition is found by section and key in any case, in its own file only") {
  DefinitionShop shop;
  shop.Define(L"the-local", true, L"GENERAL", L"color", L"");
  std::wstring id = L"kept";
  CHECK(shop.options.SectionKeyExists(L"General", L"Color", true, id));
  CHECK(id == Padded(L"the-local", 36));
  id = L"kept";
  CHECK_FALSE(shop.options.SectionKeyExists(L"General", L"Color", false, id));
  CHECK_FALSE(shop.options.SectionKeyExists(L"General", L"Colo", true, id));
  CHECK_FALSE(shop.options.SectionKeyExists(L"Other", L"Color", true, id));
  CHECK(id == L"kept");
  shop.Define(L"the-global", false, L"general", L"COLOR", L"");
  CHECK(shop.options.SectionKeyExists(L"gENERAL", L"cOLOR", false, id));
  CHECK(id == Padded(L"the-global", 36));
  CHECK(shop.machine.open_handles() == 0);
}

TEST_CASE("looking a definition up is one query with section and key in capitals") {
  DefinitionShop shop;
  std::wstring id;
  shop.tables.calls.log.clear();
  shop.options.SectionKeyExists(L"General", L"Colo\u00FBr", true, id);
  CHECK(shop.tables.calls.log ==
        std::vector<std::wstring>{
            kConnectionString, L"connection cursor 2", L"connection mode 1", L"open connection",
            L"open recordset 0 1 SELECT Id FROM DEFAULTS WHERE UPPER(Inisection) = 'GENERAL' AND "
            L"UPPER(Key) = 'COLO\u00DBR' AND Localini = .T.",
            L"close recordset", L"close connection"});
  shop.tables.calls.log.clear();
  shop.options.SectionKeyExists(L"", L"k", false, id);
  CHECK(shop.tables.calls.Statements() ==
        std::vector<std::wstring>{L"0 1 SELECT Id FROM DEFAULTS WHERE UPPER(Inisection) = '' AND "
                                  L"UPPER(Key) = 'K' AND Localini = .F."});
}

TEST_CASE("a look-up that cannot be made finds nothing and throws nothing") {
  DefinitionShop shop;
  shop.Define(L"1", true, L"S", L"it's", L"");
  std::wstring id = L"kept";
  // Section and key go into the statement as they are.
  CHECK_FALSE(shop.options.SectionKeyExists(L"S", L"it's", true, id));
  CHECK(shop.options.SectionKeyExists(L"S", L"it''s", true, id));
  id = L"kept";
  shop.machine.RemoveFile(kShopFolder + L"\\defaults.dbf");
  CHECK_FALSE(shop.options.SectionKeyExists(L"S", L"k", true, id));
  shop.options.SetDataPath(L"C:\\nowhere");
  CHECK_FALSE(shop.options.SectionKeyExists(L"S", L"k", true, id));
  CHECK(id == L"kept");
  CHECK(shop.machine.open_handles() == 0);
}

TEST_CASE("a definition that is added reads back from the table as it was") {
  DefinitionShop shop;
  CHECK(InsertDefinition(shop.tables, kShopFolder, NewDefinition()));
  const Table rows = shop.Rows(
      L"SELECT choices, comment, minimum, maximum, decimals, type "
      L"FROM DEFAULTS");
  CHECK(rows == Table{{L"A|Alpha's\r\nB|", L"It's red\r\nor blue", L"-5", L"99", L"2", L"3"}});
  REQUIRE(shop.options.Initialize());
  REQUIRE(shop.options.Count() == 1);
  const auto option = shop.options.Item(1);
  CHECK(option->ID() == kId);
  CHECK(option->LocalINI());
  CHECK(option->Section() == L"General");
  CHECK(option->Key() == L"Color");
  CHECK(option->Linkedfield() == L"Field");
  CHECK(option->OptionType() == KEY_TYPE::CHOICE_VALUE);
  CHECK(option->Choices()->Item(1)->Description() == L"Alpha's");
  CHECK(option->Default() == L"A");
  CHECK(option->Comment() == L"It's red\r\nor blue");
  CHECK(option->AdditionalProc() == L"Mod.Cls:Run");
}

TEST_CASE("a definition is added by one statement, letter by letter") {
  DefinitionShop shop;
  shop.tables.calls.log.clear();
  CHECK(InsertDefinition(shop.tables, kShopFolder, NewDefinition()));
  CHECK(shop.tables.calls.log ==
        std::vector<std::wstring>{
            kConnectionString, L"connection cursor 2", L"connection mode 3", L"open connection",
            L"execute INSERT INTO DEFAULTS (Id,Localini,Inisection,Key,Linkfield,type,choices,"
            L"minimum,maximum,decimals,default,comment,addtnlproc) VALUES "
            L"('6F9619FF-8B86-D011-B42D-00CF4FC964FF',.T.,'General','Color','Field',3,"
            L"'A|Alpha''s' + CHR(13) + CHR(10) + 'B|',-5,99,2,'A',"
            L"'It''s red' + CHR(13) + CHR(10) + 'or blue','Mod.Cls:Run')",
            L"close connection"});
  CHECK(shop.tables.calls.open_connections == 0);
  INIOption empty;
  shop.tables.calls.log.clear();
  CHECK(InsertDefinition(shop.tables, kShopFolder, empty));
  CHECK(shop.tables.calls.Statements() ==
        std::vector<std::wstring>{
            L"INSERT INTO DEFAULTS (Id,Localini,Inisection,Key,Linkfield,type,choices,minimum,"
            L"maximum,decimals,default,comment,addtnlproc) VALUES "
            L"('',.F.,'','','',0,'',0,0,0,'','','')"});
}

TEST_CASE("deleting a definition reads it, deletes it and loads the catalogue") {
  DefinitionShop shop;
  PutGlobal(shop, "[S]\r\na=1\r\n");
  shop.tables.calls.log.clear();
  CHECK(shop.options.DeleteOption(L"a"));
  auto& log = shop.tables.calls.log;
  REQUIRE(log.size() > 8);
  const auto loading = log.begin() + 8;
  CHECK(std::vector<std::wstring>(log.begin(), loading) ==
        std::vector<std::wstring>{
            kConnectionString, L"connection cursor 2", L"connection mode 3", L"open connection",
            L"execute SELECT Inisection, Key, Localini, Comment FROM DEFAULTS WHERE Id = 'a'",
            L"close recordset", L"execute DELETE FROM DEFAULTS WHERE Id = 'a'",
            L"close connection"});
  CHECK(shop.tables.calls.Statements().back() == L"SELECT * FROM DEFAULTS");
  log.clear();
  CHECK_FALSE(shop.options.DeleteOption(L"a"));
  CHECK(shop.tables.calls.Statements() ==
        std::vector<std::wstring>{
            L"SELECT Inisection, Key, Localini, Comment FROM DEFAULTS WHERE Id = 'a'"});
}

TEST_CASE("a definition that cannot be added, looked up or deleted leaves nothing open") {
  const auto check = [](const auto& operation) {
    for (std::size_t failing = 1;; ++failing) {
      CAPTURE(failing);
      DefinitionShop shop;
      PutGlobal(shop, "[S]\r\na=1\r\nb=2\r\n");
      shop.tables.calls.count = 0;
      shop.tables.calls.failing = failing;
      const bool done = operation(shop);
      CHECK(shop.tables.calls.open_connections == 0);
      CHECK(shop.tables.calls.open_recordsets == 0);
      CHECK(shop.machine.open_handles() == 0);
      if (shop.tables.calls.count < failing) {
        CHECK(done);
        return;
      }
      CHECK_FALSE(done);
      // Loading comes before the file, and the row before loading.
      CHECK(shop.Content(kShopGlobalIni) == "[S]\r\na=1\r\nb=2\r\n");
    }
  };
  check([](DefinitionShop& shop) {
    return InsertDefinition(shop.tables, kShopFolder, NewDefinition());
  });
  check([](DefinitionShop& shop) {
    std::wstring id = L"kept";
    const bool exists = shop.options.SectionKeyExists(L"S", L"a", false, id);
    CHECK((id == L"kept") == !exists);
    return exists;
  });
  check([](DefinitionShop& shop) { return shop.options.DeleteOption(L"a"); });
}

TEST_CASE("a global definition without choices or texts reads back as such") {
  DefinitionShop shop;
  INIOption option;
  option.SetID(kId);
  option.SetMinimum(std::numeric_limits<std::int16_t>::min());
  option.SetMaximum(std::numeric_limits<std::int16_t>::max());
  CHECK(InsertDefinition(shop.tables, kShopFolder, option));
  CHECK(shop.Rows(L"SELECT minimum, maximum, choices, comment FROM DEFAULTS WHERE NOT localini") ==
        Table{{L"-32768", L"32767", L"", L""}});
}

TEST_CASE("an apostrophe in a text that goes in as it is makes adding fail and adds nothing") {
  DefinitionShop shop;
  for (const auto change : {+[](INIOption& option) { option.SetSection(L"it's"); },
                            +[](INIOption& option) { option.SetKey(L"it's"); },
                            +[](INIOption& option) { option.SetLinkedfield(L"it's"); },
                            +[](INIOption& option) { option.SetDefault(L"it's"); },
                            +[](INIOption& option) { option.SetAdditionalProc(L"it's"); },
                            +[](INIOption& option) { option.SetID(L"it's"); }}) {
    INIOption option = NewDefinition();
    change(option);
    CHECK_FALSE(InsertDefinition(shop.tables, kShopFolder, option));
    CHECK(Ids(shop).empty());
    CHECK(shop.machine.open_handles() == 0);
  }
}

TEST_CASE("a table that may not be written takes no definition and loses none") {
  DefinitionShop shop;
  shop.Define(L"1", false, L"S", L"k", L"");
  shop.machine.SetReadOnly(kShopFolder + L"\\defaults.dbf");
  CHECK_FALSE(InsertDefinition(shop.tables, kShopFolder, NewDefinition()));
  const std::string global = shop.Content(kShopGlobalIni);
  CHECK_FALSE(shop.options.DeleteOption(L"1"));
  CHECK(Ids(shop).size() == 1);
  CHECK(shop.Content(kShopGlobalIni) == global);
}

TEST_CASE("deleting one of several keys removes the key and its comment and keeps the section") {
  DefinitionShop shop;
  PutGlobal(shop,
            "[S]\r\n;about a\r\na=1\r\n;ABOUT B\r\nb=2\r\n; about b\r\n[T]\r\n;about b\r\nb=3\r\n");
  CHECK(shop.options.DeleteOption(L"b"));
  CHECK(shop.Content(kShopGlobalIni) == "[S]\r\n;about a\r\na=1\r\n; about b\r\n[T]\r\nb=3\r\n");
  CHECK(shop.options.Count() == 2);
  CHECK(Ids(shop) == Table{{Padded(L"a", 36)}, {Padded(L"c", 36)}});
  REQUIRE(shop.machine.pauses().size() == 1);
  CHECK(shop.machine.pauses()[0].milliseconds == 500);
  CHECK_FALSE(shop.machine.pauses()[0].alertable);
  CHECK(shop.machine.open_handles() == 0);
}

TEST_CASE("deleting the only key of a section removes the section, and other comments stay") {
  DefinitionShop shop;
  PutGlobal(shop, ";about a\r\n[R]\r\nr=0\r\n[S]\r\na=1\r\n;b=2\r\n[T]\r\n;about a\r\nt=3\r\n");
  CHECK(shop.options.DeleteOption(L"a"));
  CHECK(shop.Content(kShopGlobalIni) == ";about a\r\n[R]\r\nr=0\r\n[T]\r\n;about a\r\nt=3\r\n");
  CHECK(shop.machine.pauses().empty());
}

TEST_CASE("deleting a key that is not in its section removes the section when one key is left") {
  DefinitionShop shop;
  PutGlobal(shop, "[S]\r\na=1\r\n[T]\r\nt=3\r\n");
  CHECK(shop.options.DeleteOption(L"b"));
  CHECK(shop.Content(kShopGlobalIni) == "[T]\r\nt=3\r\n");
  // Without the section nothing is left to remove.
  CHECK(shop.options.DeleteOption(L"c"));
  CHECK(shop.Content(kShopGlobalIni) == "[T]\r\nt=3\r\n");
}

TEST_CASE("a local definition is deleted from the local file, whatever that is called") {
  for (const std::wstring& name : {std::wstring(), std::wstring(L"C:\\SHOP\\FRONT.INI")}) {
    CAPTURE(name);
    DefinitionShop shop;
    shop.Define(L"1", true, L"S", L"k", L"gone");
    const std::wstring path = name.empty() ? kShopLocalIni : name;
    const std::string text = "[Defaults]\r\nDataPath=C:\\SHOP\\DATA\r\n[S]\r\nl=1\r\n;gone\r\n";
    shop.machine.PutFile(path, text + "k=v\r\n");
    shop.options.SetDataPath(kShopFolder);
    if (!name.empty()) shop.options.SetINIFile(name);
    REQUIRE(shop.options.Initialize());
    const std::string global = shop.Content(kShopGlobalIni);
    CHECK(shop.options.DeleteOption(L"1"));
    CHECK(shop.Content(path) == "[Defaults]\r\nDataPath=C:\\SHOP\\DATA\r\n[S]\r\nl=1\r\n");
    CHECK(shop.Content(kShopGlobalIni) == global);
  }
}

TEST_CASE("an ID that is not in the table deletes nothing and loads nothing") {
  DefinitionShop shop;
  PutGlobal(shop, "[S]\r\na=1\r\n");
  const auto option = shop.options.Item(1);
  for (const wchar_t* id : {L"none", L"", L"it's"}) {
    CHECK_FALSE(shop.options.DeleteOption(id));
    CHECK(shop.options.Item(1) == option);
    CHECK(Ids(shop).size() == 3);
    CHECK(shop.Content(kShopGlobalIni) == "[S]\r\na=1\r\n");
    CHECK(shop.machine.open_handles() == 0);
  }
}

TEST_CASE("a deletion whose loading fails leaves the INI file as it was") {
  DefinitionShop shop;
  PutGlobal(shop, "[S]\r\n;about a\r\na=1\r\nb=2\r\n");
  // Two rows with one ID cannot be loaded.
  shop.Define(L"b", false, L"S", L"b", L"");
  CHECK_FALSE(shop.options.DeleteOption(L"a"));
  CHECK(shop.Content(kShopGlobalIni) == "[S]\r\n;about a\r\na=1\r\nb=2\r\n");
  CHECK(Ids(shop).size() == 3);
}

TEST_CASE("a deletion loads the catalogue before it touches the INI file") {
  DefinitionShop shop;
  PutGlobal(shop, "[S]\r\na=1\r\nb=2\r\n");
  const std::size_t first = shop.machine.call_count();
  CHECK(shop.options.DeleteOption(L"a"));
  std::size_t last_read = 0;
  std::size_t first_count = 0;
  std::size_t write = 0;
  std::size_t pause = 0;
  std::size_t replace = 0;
  const auto& calls = shop.machine.calls();
  for (std::size_t i = first; i < calls.size(); ++i) {
    if (calls[i].operation == "ReadEntry" && first_count == 0) last_read = i;
    if (calls[i].operation == "ReadSection") first_count = i;
    if (calls[i].operation == "WriteEntry") write = i;
    if (calls[i].operation == "Pause") pause = i;
    if (calls[i].operation == "Replace") replace = i;
  }
  CHECK(last_read > first);
  CHECK(last_read < first_count);
  CHECK(first_count < write);
  CHECK(write < pause);
  CHECK(pause < replace);
}

TEST_CASE("an INI file that may not be written does not undo the deletion") {
  DefinitionShop shop;
  PutGlobal(shop, "[S]\r\na=1\r\nb=2\r\n");
  shop.machine.SetReadOnly(kShopGlobalIni);
  CHECK(shop.options.DeleteOption(L"a"));
  CHECK(Ids(shop).size() == 2);
  CHECK(shop.Content(kShopGlobalIni) == "[S]\r\na=1\r\nb=2\r\n");
}

TEST_CASE("a file that another program holds keeps the key of a deleted definition") {
  using platform::FileAccess;
  using platform::FileShare;
  const std::string kept = "[S]\r\n;about a\r\na=1\r\nb=2\r\n";
  struct Case {
    FileShare share;
    FileAccess access;
    bool keeps;
  };
  for (const Case& held_as : {Case{FileShare::kNone, FileAccess::kRead, true},
                              {FileShare::kNone, FileAccess::kReadWrite, true},
                              {FileShare::kRead, FileAccess::kRead, true},
                              {FileShare::kRead, FileAccess::kReadWrite, true},
                              {FileShare::kReadWrite, FileAccess::kRead, false},
                              {FileShare::kReadWrite, FileAccess::kReadWrite, false}}) {
    CAPTURE(static_cast<int>(held_as.share));
    CAPTURE(static_cast<int>(held_as.access));
    DefinitionShop shop;
    PutGlobal(shop, kept);
    {
      const auto held = shop.machine.HoldOpen(kShopGlobalIni, held_as.share, held_as.access);
      CHECK(shop.options.DeleteOption(L"a"));
    }
    CHECK(Ids(shop).size() == 2);
    CHECK(shop.options.Count() == 2);
    // Nobody replaces a file that is open, so the comment stays in any case.
    CHECK(shop.Content(kShopGlobalIni) == (held_as.keeps ? kept : "[S]\r\n;about a\r\nb=2\r\n"));
    CHECK(shop.machine.ListFolder(kShopFolder).size() == 8);
    CHECK(shop.machine.open_handles() == 0);
  }
}

TEST_CASE("a section whose file another program keeps from being read does not go as empty") {
  for (const auto share : {platform::FileShare::kNone, platform::FileShare::kRead}) {
    DefinitionShop shop;
    PutGlobal(shop, "[S]\r\na=1\r\n[T]\r\nt=2\r\n");
    {
      const auto held = shop.machine.HoldOpen(kShopGlobalIni, share);
      CHECK(shop.options.DeleteOption(L"a"));
    }
    CHECK(shop.Content(kShopGlobalIni) == "[S]\r\na=1\r\n[T]\r\nt=2\r\n");
    CHECK(Ids(shop).size() == 2);
  }
}

TEST_CASE("a deleted key goes with its comment although no copy of the file can be made first") {
  for (const char* operation : {"CreateUnique", "Copy"})
    for (const auto code :
         {platform::system_code::kAccessDenied, platform::system_code::kSharingViolation,
          platform::system_code::kDiskFull}) {
      CAPTURE(operation);
      CAPTURE(code);
      DefinitionShop shop;
      PutGlobal(shop, "[S]\r\n;about a\r\na=1\r\nb=2\r\n[T]\r\nt=3\r\n");
      shop.Define(L"t", false, L"T", L"t", L"");
      shop.machine.FailNext(operation, code);
      CHECK(shop.options.DeleteOption(L"a"));
      CHECK(shop.Content(kShopGlobalIni) == "[S]\r\nb=2\r\n[T]\r\nt=3\r\n");
      shop.machine.FailNext(operation, code);
      CHECK(shop.options.DeleteOption(L"t"));
      CHECK(shop.Content(kShopGlobalIni) == "[S]\r\nb=2\r\n");
      CHECK(shop.machine.ListFolder(kShopFolder).size() == 8);
    }
}

TEST_CASE("without a copy a file is not written that may not be written for certain") {
  DefinitionShop shop;
  PutGlobal(shop, "[S]\r\na=1\r\nb=2\r\n");
  shop.machine.SetReadOnly(kShopGlobalIni);
  shop.machine.FailNext("Copy", platform::system_code::kDiskFull);
  const std::size_t first = shop.machine.call_count();
  CHECK(shop.options.DeleteOption(L"a"));
  for (std::size_t i = first; i < shop.machine.calls().size(); ++i)
    CHECK(shop.machine.calls()[i].operation != "WriteEntry");
  CHECK(shop.Content(kShopGlobalIni) == "[S]\r\na=1\r\nb=2\r\n");
}

TEST_CASE("a deletion succeeds although the system does not remove the key, which then stays") {
  for (const bool tears : {false, true})
    for (const wchar_t* id : {L"a", L"t"}) {
      CAPTURE(tears);
      CAPTURE(id);
      DefinitionShop shop;
      const std::string before = "[S]\r\n;about a\r\na=1\r\nb=2\r\n[T]\r\nt=3\r\n";
      PutGlobal(shop, before);
      shop.Define(L"t", false, L"T", L"t", L"");
      if (tears) shop.machine.TearWrites();
      shop.machine.FailNext("WriteEntry", platform::system_code::kDiskFull);
      CHECK(shop.options.DeleteOption(id));
      CHECK(shop.Content(kShopGlobalIni) == before);
      CHECK(Ids(shop).size() == 3);
      CHECK(shop.machine.ListFolder(kShopFolder).size() == 8);
      CHECK(shop.machine.pauses().empty());
    }
}

TEST_CASE("a deleted key goes although its comment cannot be removed, which then stays") {
  DefinitionShop shop;
  PutGlobal(shop, "[S]\r\n;about a\r\na=1\r\nb=2\r\n");
  shop.machine.SetVariable(L"TMP", L"C:\\nowhere");
  CHECK(shop.options.DeleteOption(L"a"));
  CHECK(shop.Content(kShopGlobalIni) == "[S]\r\n;about a\r\nb=2\r\n");
}

TEST_CASE("a definition whose file is not there is deleted and no file is made") {
  DefinitionShop shop;
  PutGlobal(shop, "[S]\r\na=1\r\n");
  shop.Define(L"l", true, L"S", L"l", L"");
  shop.machine.RemoveFile(kShopGlobalIni);
  CHECK(shop.options.DeleteOption(L"a"));
  CHECK_FALSE(shop.machine.Exists(kShopGlobalIni));
  shop.options.SetDataPath(kShopFolder);
  shop.machine.RemoveFile(kShopLocalIni);
  CHECK(shop.options.DeleteOption(L"l"));
  CHECK_FALSE(shop.machine.Exists(kShopLocalIni));
}

TEST_CASE("options that are added belong to the catalogue and not to the table") {
  DefinitionShop shop;
  PutGlobal(shop, "[S]\r\na=1\r\n");
  catalogue::NewOption option;
  option.section = L"S";
  option.key = L"new";
  shop.options.Add(option);
  CHECK(shop.options.Count() == 4);
  CHECK(Ids(shop).size() == 3);
  std::wstring id;
  CHECK_FALSE(shop.options.SectionKeyExists(L"S", L"new", false, id));
}
