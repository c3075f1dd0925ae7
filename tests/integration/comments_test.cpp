// Comments written from the definitions of real tables, and keys disabled by their definition's ID.
#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "integration/definition_shop.h"
#include "unit/other_session.h"

using namespace tdefault;
using testing::DefinitionShop;
using testing::kConnectionString;
using testing::kShopFolder;
using testing::kShopGlobalIni;
using testing::kShopLocalIni;
using testing::SampleShop;

namespace {

const std::wstring kIni = L"C:\\SHOP\\ANY.INI";

using Calls = std::vector<std::wstring>;

constexpr const char* kMarker =
    ";The following line was commented by Terry Owne on 03-07-2001 at 14:05:09\r\n";

// What commenting makes of a file's bytes.
std::string Commented(DefinitionShop& shop, const std::string& before) {
  shop.machine.PutFile(kIni, before);
  CHECK(shop.options.CommentFile(kIni));
  CHECK(shop.machine.ListFolder(L"C:\\Users\\Terry\\Temp").empty());
  CHECK(shop.machine.open_handles() == 0);
  return shop.Content(kIni);
}

// Commenting fails and leaves everything as it was.
void CheckRefused(DefinitionShop& shop, const std::string& before) {
  shop.machine.PutFile(kIni, before);
  const auto files = shop.machine.AllFiles();
  CHECK_FALSE(shop.options.CommentFile(kIni));
  CHECK(shop.Content(kIni) == before);
  CHECK(shop.machine.AllFiles() == files);
  CHECK(shop.machine.open_handles() == 0);
}

}  // namespace

TEST_CASE("each key gets its definition's comment above it, without blanks around") {
  DefinitionShop shop;
  shop.Define(L"1", true, L"S", L"Color", L"  the paint  ");
  CHECK(Commented(shop, "[S]\r\nColor=red\r\nSize=1\r\n") ==
        "[S]\r\n;the paint\r\nColor=red\r\nSize=1\r\n");
}

TEST_CASE("every section but a first line has exactly one empty line before it") {
  DefinitionShop shop;
  CHECK(Commented(shop, "[A]\r\nx=1\r\n\r\n\r\n[B]\r\n[C]\r\n\r\ny=2\r\n\r\n") ==
        "[A]\r\nx=1\r\n\r\n[B]\r\n\r\n[C]\r\ny=2\r\n");
  CHECK(Commented(shop, "\r\n\r\n[A]\r\nx=1\r\n") == "[A]\r\nx=1\r\n");
  CHECK(Commented(shop, ";top\r\n[A]\r\n") == ";top\r\n\r\n[A]\r\n");
  CHECK(Commented(shop, "").empty());
}

TEST_CASE("what is neither section, key nor comment is dropped") {
  DefinitionShop shop;
  CHECK(Commented(shop, "[A]\r\n\r\nword\r\n=v\r\n \r\n[open\r\n; c\r\n k=1\r\n[x=2\r\n") ==
        "[A]\r\n; c\r\n k=1\r\n[x=2\r\n");
}

TEST_CASE("a header is named by what stands before its first bracket, however the line goes on") {
  DefinitionShop shop;
  shop.Define(L"1", true, L"S", L"k", L"of S");
  shop.Define(L"2", true, L"", L"k", L"of none");
  CHECK(Commented(shop, "[S] text]\r\nk=1\r\n") == "[S] text]\r\n;of S\r\nk=1\r\n");
  CHECK(Commented(shop, "k=0\r\n[s]=x\r\nk=1\r\n[]\r\nk=2\r\n") ==
        ";of none\r\nk=0\r\n\r\n[s]=x\r\n;of S\r\nk=1\r\n\r\n[]\r\n;of none\r\nk=2\r\n");
}

TEST_CASE("a key whose definition has no comment gets a line of a semicolon") {
  DefinitionShop shop;
  shop.Define(L"1", true, L"S", L"k", L"");
  CHECK(Commented(shop, "[S]\r\nk=v\r\n") == "[S]\r\n;\r\nk=v\r\n");
}

TEST_CASE("a key that stands in two sections gets the comment of the section it stands in") {
  DefinitionShop shop;
  shop.Define(L"1", true, L"A", L"k", L"of A");
  shop.Define(L"2", false, L"B", L"k", L"of B");
  CHECK(Commented(shop, "[B]\r\nk=1\r\n[a]\r\nK=2\r\n[C]\r\nk=3\r\n") ==
        "[B]\r\n;of B\r\nk=1\r\n\r\n[a]\r\n;of A\r\nK=2\r\n\r\n[C]\r\nk=3\r\n");
}

TEST_CASE("of two definitions of one key the first one's comment is written") {
  DefinitionShop shop;
  shop.Define(L"1", true, L"S", L"k", L"first");
  shop.Define(L"2", false, L"S", L"k", L"second");
  CHECK(Commented(shop, "[S]\r\nk=v\r\n") == "[S]\r\n;first\r\nk=v\r\n");
}

TEST_CASE("a key with an apostrophe finds its definition") {
  DefinitionShop shop;
  shop.Define(L"1", true, L"S", L"it's", L"found");
  CHECK(Commented(shop, "[S]\r\nit's=v\r\n") == "[S]\r\n;found\r\nit's=v\r\n");
}

TEST_CASE("a section with an apostrophe ends the commenting as soon as it has a key") {
  DefinitionShop shop;
  CheckRefused(shop, "[A]\r\nk=v\r\n[it's]\r\nk=v\r\n");
  CHECK(Commented(shop, "[it's]\r\n;c\r\n") == "[it's]\r\n;c\r\n");
}

TEST_CASE("blanks behind a key do not count, blanks before it do") {
  DefinitionShop shop;
  shop.Define(L"1", true, L"S", L"k", L"found");
  CHECK(Commented(shop, "[S]\r\nk  = v\r\n k=w\r\n") == "[S]\r\n;found\r\nk  = v\r\n k=w\r\n");
}

TEST_CASE("a comment that stands directly above its key in any case is not written again") {
  DefinitionShop shop;
  shop.Define(L"1", true, L"S", L"k", L"the key");
  CHECK(Commented(shop, "[S]\r\n;THE KEY\r\nk=v\r\n") == "[S]\r\n;THE KEY\r\nk=v\r\n");
  // A blank, a line between and another text are not the comment.
  CHECK(Commented(shop, "[S]\r\n; the key\r\nk=v\r\n") ==
        "[S]\r\n; the key\r\n;the key\r\nk=v\r\n");
  CHECK(Commented(shop, "[S]\r\n;the key\r\n\r\nk=v\r\n") ==
        "[S]\r\n;the key\r\n;the key\r\nk=v\r\n");
}

TEST_CASE("commenting twice adds nothing the second time") {
  DefinitionShop shop;
  shop.Define(L"1", true, L"A", L"k", L"of k");
  shop.Define(L"2", true, L"A", L"l", L"");
  // The system's code page lacks this letter.
  shop.Define(L"3", true, L"B", L"m", L"\u20ACuro");
  const std::string once = Commented(shop, "k=0\r\n[A]\r\nk=1\r\nl=2\r\n[B]\r\nm=3\r\nn=4\r\n");
  CHECK(once ==
        "k=0\r\n\r\n[A]\r\n;of k\r\nk=1\r\n;\r\nl=2\r\n\r\n[B]\r\n;\x80uro\r\nm=3\r\nn=4\r\n");
  CHECK(Commented(shop, once) == once);
}

TEST_CASE("a stale comment stays, and the new one stands between it and the key") {
  DefinitionShop shop;
  shop.Define(L"1", true, L"S", L"k", L"old");
  const std::string old = Commented(shop, "[S]\r\nk=v\r\n");
  shop.Run(L"UPDATE DEFAULTS SET comment = 'new' WHERE id = '1'");
  CHECK(Commented(shop, old) == "[S]\r\n;old\r\n;new\r\nk=v\r\n");
}

TEST_CASE("a comment of several lines is written as it stands") {
  DefinitionShop shop;
  shop.Define(L"1", true, L"S", L"k", L"one\r\ntwo");
  const std::string once = Commented(shop, "[S]\r\nk=v\r\n");
  CHECK(once == "[S]\r\n;one\r\ntwo\r\nk=v\r\n");
  // Its other lines are no comments, and so the comment is not found above its key again.
  CHECK(Commented(shop, once) == "[S]\r\n;one\r\n;one\r\ntwo\r\nk=v\r\n");
}

TEST_CASE("letters of the system code page are found in the table and written from it") {
  DefinitionShop shop;
  shop.Define(L"1", true, L"R\u00E9gion", L"\u00E9t\u00E9", L"No\u00EBl");
  CHECK(Commented(shop, "[R\xE9gion]\r\n\xE9t\xE9=\xFC\r\n") ==
        "[R\xE9gion]\r\n;No\xEBl\r\n\xE9t\xE9=\xFC\r\n");
}

TEST_CASE("a bracket that is a part of another character ends no section's name") {
  DefinitionShop shop;
  tests::DoubleByteSession session(shop.machine.platform().session);
  platform::Platform machine = tests::With(shop.machine.platform(), session);
  catalogue::Options options(machine, shop.tables, shop.location);
  shop.Define(L"1", true, L"R\u00E9gion", L"\u00E9t\u00FC", L"No\u00FCl \u00E9|");
  // In any case, and without one more comment where there is one.
  for (const std::string comment : {"", ";No\x83|l \x83]|\r\n", ";NO\x83|L \x83[|\r\n"}) {
    shop.machine.PutFile(kIni, "[R\x83]gion]\r\n" + comment + "\x83]t\x83|=\x83\\\r\n[\x83]\r\n");
    CHECK(options.CommentFile(kIni));
    CHECK(shop.Content(kIni) == "[R\x83]gion]\r\n" +
                                    (comment.empty() ? ";No\x83|l \x83]|\r\n" : comment) +
                                    "\x83]t\x83|=\x83\\\r\n");
  }
}

TEST_CASE("the temporary file of commenting begins with ini and stands in the user's folder") {
  DefinitionShop shop;
  Commented(shop, "[S]\r\nk=v\r\n");
  std::vector<std::wstring> moved;
  for (const auto& call : shop.machine.calls())
    if (call.operation == "Replace" && call.target == kIni) moved.push_back(call.path);
  REQUIRE(moved.size() == 1);
  CHECK(moved[0].starts_with(L"C:\\Users\\Terry\\Temp\\ini"));
}

TEST_CASE("a deleted definition comments nothing") {
  DefinitionShop shop;
  shop.Define(L"1", true, L"S", L"k", L"gone");
  shop.Run(L"DELETE FROM DEFAULTS WHERE id = '1'");
  CHECK(Commented(shop, "[S]\r\nk=v\r\n") == "[S]\r\nk=v\r\n");
}

TEST_CASE("commenting asks one static client recordset for the definition of each key") {
  DefinitionShop shop;
  shop.Define(L"1", true, L"S", L"k", L"c");
  shop.tables.calls.log.clear();
  Commented(shop, "x=0\r\n[S]\r\nk=1\r\n;k=2\r\nit's=3\r\n[s t]\r\nk =4\r\n");
  CHECK(shop.tables.calls.log ==
        Calls{kConnectionString, L"connection cursor 2", L"connection mode 1", L"open connection",
              L"recordset cursor 3",
              L"open recordset 3 1 SELECT Inisection, Key, Comment FROM DEFAULTS",
              L"filter Inisection = '' And Key = 'x'", L"filter Inisection = 'S' And Key = 'k'",
              L"filter Inisection = 'S' And Key = 'it''s'",
              L"filter Inisection = 's t' And Key = 'k '", L"close recordset",
              L"close connection"});
  CHECK(shop.tables.calls.open_connections == 0);
}

TEST_CASE("a file that cannot be rewritten is not looked up in the table") {
  DefinitionShop shop;
  shop.tables.calls.log.clear();
  CHECK_FALSE(shop.options.CommentFile(L"C:\\SHOP\\none.ini"));
  CHECK(shop.tables.calls.log.empty());
}

TEST_CASE("disabling a key reads its definition and closes everything before it touches the file") {
  DefinitionShop shop;
  shop.Define(L"1", false, L"S", L"k", L"c");
  for (const wchar_t* id : {L"1", L"none"}) {
    shop.tables.calls.log.clear();
    shop.options.CommentINIKey(id);
    CHECK(shop.tables.calls.log ==
          Calls{kConnectionString, L"connection cursor 2", L"connection mode 3", L"open connection",
                std::wstring(L"execute SELECT Inisection, Key, Localini, Comment FROM DEFAULTS "
                             L"WHERE Id = '") +
                    id + L"'",
                L"close recordset", L"close connection"});
  }
}

TEST_CASE("without its table or its data folder nothing is commented") {
  DefinitionShop shop;
  shop.machine.RemoveFile(kShopFolder + L"\\defaults.dbf");
  CheckRefused(shop, "[S]\r\nk=v\r\n");
  shop.options.SetDataPath(L"C:\\nowhere");
  CheckRefused(shop, "[S]\r\nk=v\r\n");
}

TEST_CASE("the sample shop's files are commented, and clearing takes every comment out again") {
  SampleShop shop;
  for (const std::wstring& path : {kShopLocalIni, kShopGlobalIni}) {
    REQUIRE(shop.options.CommentFile(path));
    CHECK(shop.machine.Contents(path)->find("\n;") != std::string::npos);
    REQUIRE(shop.options.Initialize());
    const auto values = [&] {
      std::vector<std::wstring> texts;
      for (const auto& option : shop.options.elements()) texts.push_back(option->CurrentValue());
      return texts;
    };
    const auto before = values();
    CHECK(shop.options.ClearIniComments(path));
    CHECK(shop.machine.Contents(path)->find("\n;") == std::string::npos);
    shop.options.Refresh();
    CHECK(values() == before);
  }
}

TEST_CASE("disabling a key by its ID turns it into a comment in its own file") {
  DefinitionShop shop;
  shop.Define(L"local", true, L"S", L"k", L"c");
  shop.Define(L"global", false, L"S", L"k", L"c");
  const std::string local = shop.Content(kShopLocalIni);
  shop.machine.PutFile(kShopGlobalIni, "[S]\r\n;c\r\nk=v\r\n");
  CHECK(shop.options.CommentINIKey(L"global"));
  CHECK(shop.Content(kShopGlobalIni) == std::string("[S]\r\n;c\r\n") + kMarker + ";k=v\r\n");
  CHECK(shop.Content(kShopLocalIni) == local);
  shop.machine.PutFile(kShopLocalIni, local + "[S]\r\nk=w\r\n");
  CHECK(shop.options.CommentINIKey(L"local"));
  CHECK(shop.Content(kShopLocalIni) == local + "[S]\r\n" + kMarker + ";k=w\r\n");
  CHECK(shop.machine.open_handles() == 0);
}

TEST_CASE("disabling a key takes it in every section, each time with its own marker") {
  DefinitionShop shop;
  shop.Define(L"1", false, L"A", L"k", L"");
  shop.machine.PutFile(kShopGlobalIni, "[A]\r\nk=1\r\n[B]\r\nK = 2\r\nl=3\r\n");
  CHECK(shop.options.CommentINIKey(L"1"));
  CHECK(shop.Content(kShopGlobalIni) ==
        std::string("[A]\r\n") + kMarker + ";k=1\r\n[B]\r\n" + kMarker + ";K = 2\r\nl=3\r\n");
}

TEST_CASE("an ID that is not in the table disables nothing") {
  DefinitionShop shop;
  shop.Define(L"1", false, L"A", L"k", L"");
  const std::string local = shop.Content(kShopLocalIni);
  const std::string global = shop.Content(kShopGlobalIni);
  const auto files = shop.machine.AllFiles();
  for (const wchar_t* id : {L"2", L"", L"it's"}) {
    CHECK_FALSE(shop.options.CommentINIKey(id));
    CHECK(shop.Content(kShopLocalIni) == local);
    CHECK(shop.Content(kShopGlobalIni) == global);
    CHECK(shop.machine.AllFiles() == files);
    CHECK(shop.machine.open_handles() == 0);
  }
}

TEST_CASE("a key of a file that is not there is not disabled") {
  DefinitionShop shop;
  shop.Define(L"local", true, L"S", L"k", L"");
  shop.Define(L"global", false, L"S", L"k", L"");
  shop.machine.RemoveFile(kShopGlobalIni);
  CHECK_FALSE(shop.options.CommentINIKey(L"global"));
  CHECK_FALSE(shop.machine.Exists(kShopGlobalIni));
  shop.location.data_path = kShopFolder;
  shop.location.local_ini_name = L"NOWHERE.INI";
  CHECK_FALSE(shop.options.CommentINIKey(L"local"));
}
