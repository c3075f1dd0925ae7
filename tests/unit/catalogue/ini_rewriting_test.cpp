// INI files rewritten line by line: what becomes of their bytes, when they are left alone, and the
// operations on them that need no table.
#include <doctest/doctest.h>

#include <limits>
#include <string>
#include <vector>

#include "catalogue/choice_text.h"
#include "catalogue/ini_comments.h"
#include "catalogue/sql_text.h"
#include "unit/catalogue/shop.h"
#include "unit/other_session.h"

using namespace tdefault;
using catalogue::CommentOutKey;
using catalogue::CountSectionKeys;
using platform::simulation::RecordedCall;
using testing::Shop;

namespace {

const std::wstring kIni = L"C:\\SHOP\\ANY.INI";
const std::wstring kTemporaryFolder = L"C:\\Users\\Terry\\Temp";

constexpr const char* kMarker =
    ";The following line was commented by Terry Owne on 03-07-2001 at 14:05:09\r\n";

// What clearing comments makes of a file's bytes.
std::string Cleared(const std::string& before) {
  Shop shop;
  shop.machine.PutFile(kIni, before);
  CHECK(shop.options.ClearIniComments(kIni));
  CHECK(shop.machine.ListFolder(kTemporaryFolder).empty());
  CHECK(shop.machine.open_handles() == 0);
  return shop.machine.Contents(kIni).value_or("(missing)");
}

// What removing one comment makes of a file's bytes.
std::string Without(const std::wstring& comment, const std::string& before) {
  Shop shop;
  shop.machine.PutFile(kIni, before);
  CHECK(shop.options.RemoveIniComment(kIni, comment));
  return shop.machine.Contents(kIni).value_or("(missing)");
}

std::string Disabled(const std::wstring& key, const std::string& before) {
  Shop shop;
  shop.machine.PutFile(kIni, before);
  CHECK(CommentOutKey(shop.machine.platform(), kIni, key));
  return shop.machine.Contents(kIni).value_or("(missing)");
}

std::int16_t Count(const std::string& text, const std::wstring& section) {
  Shop shop;
  shop.machine.PutFile(kIni, text);
  return CountSectionKeys(shop.machine.platform().profile_files, kIni, section);
}

std::vector<std::string> OperationsOf(const Shop& shop, std::size_t first) {
  std::vector<std::string> operations;
  for (std::size_t call = first; call < shop.machine.calls().size(); ++call)
    operations.push_back(shop.machine.calls()[call].operation);
  return operations;
}

// A shop with a file whose comments a rewriting would clear.
struct Prepared {
  Prepared() { shop.machine.PutFile(kIni, kBefore); }

  // The operations find the file as it was, and nothing beside it.
  void CheckRefused() {
    const auto files = shop.machine.AllFiles();
    CHECK_FALSE(shop.options.ClearIniComments(kIni));
    CHECK_FALSE(shop.options.RemoveIniComment(kIni, L"c"));
    CHECK_FALSE(CommentOutKey(shop.machine.platform(), kIni, L"k"));
    CHECK(shop.machine.Contents(kIni) == kBefore);
    CHECK(shop.machine.AllFiles() == files);
    CHECK(shop.machine.open_handles() == 0);
  }

  static constexpr const char* kBefore = "[S]\r\n;c\r\nk=v\r\n";
  Shop shop;
};

// Profile files with a section of any length.
class LongSection final : public platform::ProfileFiles {
 public:
  explicit LongSection(std::size_t keys) {
    for (std::size_t i = 0; i < keys; ++i) lines_.append(std::wstring_view(L"=\0", 2));
    lines_ += L'\0';
  }
  std::wstring ReadEntry(const std::wstring& /*section*/, const std::wstring& /*key*/,
                         const std::wstring& fallback, std::uint32_t /*capacity*/,
                         const std::wstring& /*file*/) override {
    return fallback;
  }
  std::wstring ReadSection(const std::wstring& /*section*/, std::uint32_t /*capacity*/,
                           const std::wstring& /*file*/) override {
    return lines_;
  }
  std::int32_t WriteEntry(const std::wstring& /*section*/,
                          const std::optional<std::wstring>& /*key*/,
                          const std::optional<std::wstring>& /*value*/,
                          const std::wstring& /*file*/) override {
    return 0;
  }

 private:
  std::wstring lines_;
};

}  // namespace

TEST_CASE("clearing comments drops the lines that begin with a semicolon and no others") {
  CHECK(Cleared(";top\r\n[S]\r\n;\r\nk=v ;not one\r\n\r\n ;kept\r\n;k=w\r\n=x\r\n") ==
        "[S]\r\nk=v ;not one\r\n\r\n ;kept\r\n=x\r\n");
  CHECK(Cleared(";a\r\n;b\r\n").empty());
  CHECK(Cleared("").empty());
}

TEST_CASE("lines that end with CR LF, LF, CR or the file are all written with CR LF") {
  CHECK(Cleared("a\r\nb\nc\rd") == "a\r\nb\r\nc\r\nd\r\n");
  CHECK(Cleared("a\n\r\nb\r\r\nc\r\n") == "a\r\n\r\nb\r\n\r\nc\r\n");
  CHECK(Cleared("\n\r") == "\r\n\r\n");
  CHECK(Cleared("a\r") == "a\r\n");
}

TEST_CASE("the bytes of lines that are kept stay as they are, whatever they are") {
  std::string line;
  for (int byte = 1; byte < 256; ++byte)
    if (byte != '\r' && byte != '\n') line += static_cast<char>(byte);
  line += std::string("\0x\0", 3);
  CHECK(Cleared(line + "\r\n;c\r\n\t " + line + " \r\n") == line + "\r\n\t " + line + " \r\n");
}

TEST_CASE("lines and files may be longer than any buffer") {
  // Lines that end on, before and behind the places where the file is read in pieces.
  for (const std::size_t length : {65533U, 65534U, 65535U, 65536U, 65537U, 200'000U, 3'000'000U}) {
    CAPTURE(length);
    const std::string line(length, 'x');
    for (const char* end : {"\r\n", "\n", "\r"}) {
      CHECK(Cleared(line + end + ";c" + end + "[S]" + end) == line + "\r\n[S]\r\n");
      CHECK(Cleared(";" + line + end + "k=v" + end) == "k=v\r\n");
    }
  }
  std::string many;
  std::string kept;
  for (int i = 0; i < 50'000; ++i) {
    many += "key" + std::to_string(i) + "=v\r\n;comment\r\n";
    kept += "key" + std::to_string(i) + "=v\r\n";
  }
  CHECK(Cleared(many) == kept);
}

TEST_CASE("the mark of UTF-8 stays in front of the file and hides no first line") {
  CHECK(Cleared("\xEF\xBB\xBF;c\r\n[S]\r\n") == "\xEF\xBB\xBF[S]\r\n");
  CHECK(Cleared("\xEF\xBB\xBF") == "\xEF\xBB\xBF");
}

TEST_CASE("a UTF-16 file is not rewritten") {
  for (const std::string& text :
       {std::string("\xFF\xFE;\0c\0\r\0\n\0", 10), std::string("\xFE\xFF\0;\0c\0\r\0\n", 10),
        std::string("\xFF\xFE")}) {
    Shop shop;
    shop.machine.PutFile(kIni, text);
    const auto files = shop.machine.AllFiles();
    CHECK_FALSE(shop.options.ClearIniComments(kIni));
    CHECK_FALSE(shop.options.RemoveIniComment(kIni, L"c"));
    CHECK_FALSE(CommentOutKey(shop.machine.platform(), kIni, L"k"));
    CHECK_FALSE(shop.options.CommentFile(kIni));
    CHECK(shop.machine.Contents(kIni) == text);
    CHECK(shop.machine.AllFiles() == files);
  }
}

TEST_CASE("a file that is not there is not rewritten and not created") {
  Shop shop;
  const auto files = shop.machine.AllFiles();
  for (const std::wstring path :
       {L"C:\\SHOP\\none.ini", L"C:\\nowhere\\any.ini", L"C:\\SHOP", L"", L"C:\\SHOP\\*.INI"}) {
    CAPTURE(path);
    const std::size_t calls = shop.machine.call_count();
    CHECK_FALSE(shop.options.ClearIniComments(path));
    CHECK_FALSE(shop.options.RemoveIniComment(path, L"c"));
    CHECK_FALSE(CommentOutKey(shop.machine.platform(), path, L"k"));
    CHECK_FALSE(shop.options.CommentFile(path));
    if (path == L"C:\\SHOP\\none.ini") CHECK(OperationsOf(shop, calls)[0] == "Enumerate");
  }
  CHECK(shop.machine.AllFiles() == files);
  CHECK(shop.machine.open_handles() == 0);
}

TEST_CASE("a read-only file is not rewritten") {
  Prepared prepared;
  prepared.shop.machine.SetReadOnly(kIni);
  prepared.CheckRefused();
  CHECK(prepared.shop.machine.IsReadOnly(kIni));
}

TEST_CASE("a file that another program holds is not rewritten, and is once it is let go") {
  for (const auto share :
       {platform::FileShare::kNone, platform::FileShare::kRead, platform::FileShare::kReadWrite})
    for (const auto access : {platform::FileAccess::kRead, platform::FileAccess::kReadWrite}) {
      Prepared prepared;
      auto held = prepared.shop.machine.HoldOpen(kIni, share, access);
      prepared.CheckRefused();
      held.Release();
      CHECK(prepared.shop.options.ClearIniComments(kIni));
      CHECK(prepared.shop.machine.Contents(kIni) == "[S]\r\nk=v\r\n");
    }
}

TEST_CASE("without a folder for temporary files nothing is rewritten") {
  Prepared prepared;
  prepared.shop.machine.SetVariable(L"TMP", L"C:\\nowhere");
  prepared.CheckRefused();
}

TEST_CASE("a file is replaced in one step by a temporary file of the user's folder") {
  Prepared prepared;
  const std::size_t before = prepared.shop.machine.calls().size();
  CHECK(prepared.shop.options.ClearIniComments(kIni));
  const auto& calls = prepared.shop.machine.calls();
  std::size_t replacements = 0;
  for (std::size_t i = before; i < calls.size(); ++i) {
    CHECK(calls[i].operation != "Remove");
    CHECK(calls[i].operation != "Copy");
    if (calls[i].operation != "Replace") continue;
    ++replacements;
    CHECK(calls[i].target == kIni);
    CHECK(calls[i].path.find(kTemporaryFolder + L"\\") == 0);
    CHECK(calls[i - 1].operation == "Flush");
  }
  CHECK(replacements == 1);
}

TEST_CASE("temporary files begin with ini, those for disabling a key have no prefix") {
  const auto name_of_copy = [](const auto& operation) {
    Prepared prepared;
    operation(prepared.shop);
    for (const RecordedCall& call : prepared.shop.machine.calls())
      if (call.operation == "Replace") return call.path.substr(call.path.rfind(L'\\') + 1);
    return std::wstring();
  };
  CHECK(name_of_copy([](Shop& shop) { shop.options.ClearIniComments(kIni); }) == L"ini0001.tmp");
  CHECK(name_of_copy([](Shop& shop) { shop.options.RemoveIniComment(kIni, L"c"); }) ==
        L"ini0001.tmp");
  CHECK(name_of_copy([](Shop& shop) { CommentOutKey(shop.machine.platform(), kIni, L"k"); }) ==
        L"0001.tmp");
}

TEST_CASE("removing a comment takes whole lines of that text in any case and nothing else") {
  CHECK(Without(L"abc", ";ABC\r\n; abc\r\n;abc \r\n;abc\r\n;abcd\r\nabc\r\n;a\r\nk=v\r\n") ==
        "; abc\r\n;abc \r\n;abcd\r\nabc\r\n;a\r\nk=v\r\n");
  CHECK(Without(L"k=v", "k=v\r\n;k=v\r\n\r\n") == "k=v\r\n\r\n");
  CHECK(Without(L"", ";\r\n; \r\n\r\nk=v\r\n") == "; \r\n\r\nk=v\r\n");
  CHECK(Without(L"one\r\ntwo", ";one\r\ntwo\r\n") == ";one\r\ntwo\r\n");
}

TEST_CASE("comments are compared and written in the system code page") {
  CHECK(Without(L"\u00E9t\u00E9", ";\xC9T\xC9\r\n;ete\r\n") == ";ete\r\n");
  // What the page lacks was written as a question mark.
  CHECK(Without(L"\u0416", ";?\r\n;x\r\n") == ";x\r\n");
}

TEST_CASE("comments and keys are compared as text of the system's code page, whichever that is") {
  Shop shop;
  const auto rewritten = [&](platform::Session& session, const std::string& before,
                             const auto& operation) {
    platform::Platform machine = tests::With(shop.machine.platform(), session);
    catalogue::Options options(machine, shop.tables, shop.location);
    shop.machine.PutFile(kIni, before);
    CHECK(operation(machine, options));
    return shop.machine.Contents(kIni).value_or("(missing)");
  };
  const auto uncomment = [](platform::Platform& /*machine*/, catalogue::Options& options) {
    return options.RemoveIniComment(kIni, L"caf\u00E9");
  };
  const auto disable = [](platform::Platform& machine, catalogue::Options& /*options*/) {
    return CommentOutKey(machine, kIni, L"\u00E9");
  };
  tests::Utf8Session utf8(shop.machine.platform().session);
  // Lines with broken characters are kept as they are.
  CHECK(rewritten(utf8, ";CAF\xC3\x89\r\n;caf\xE9\r\n;\xC5\xBF\xFF\r\n", uncomment) ==
        ";caf\xE9\r\n;\xC5\xBF\xFF\r\n");
  CHECK(rewritten(utf8, "[S]\r\n\xC3\x89 = 1\r\n\xE9=2\r\n", disable) ==
        std::string("[S]\r\n") + kMarker + ";\xC3\x89 = 1\r\n\xE9=2\r\n");
  tests::DoubleByteSession two(shop.machine.platform().session);
  CHECK(rewritten(two, ";caf\x83[\r\n;caf\x83|\r\n;CAF\x83]\r\n", uncomment) == ";caf\x83|\r\n");
  CHECK(rewritten(two, "\x83[=\x83]\r\n\x83|=2\r\n]=3\r\n", disable) ==
        std::string(kMarker) + ";\x83[=\x83]\r\n\x83|=2\r\n]=3\r\n");
}

TEST_CASE("a key is disabled wherever it stands, each time behind a line that says who and when") {
  const std::string marker = kMarker;
  CHECK(Disabled(L"Color", "[A]\r\nColor=red\r\nSize=1\r\n[B]\r\ncolor = blue\r\n") ==
        "[A]\r\n" + marker + ";Color=red\r\nSize=1\r\n[B]\r\n" + marker + ";color = blue\r\n");
}

TEST_CASE("a line is the key's when the text before its first equals sign is, without blanks") {
  const std::string marker = kMarker;
  CHECK(Disabled(L"k", "  k  = v\r\n") == marker + ";  k  = v\r\n");
  CHECK(Disabled(L"k", "k=a=b\r\n") == marker + ";k=a=b\r\n");
  CHECK(Disabled(L"k", "k\r\n;k=v\r\nkk=v\r\n[k]\r\n\tk=v\r\nx=k\r\n\r\n") ==
        "k\r\n;k=v\r\nkk=v\r\n[k]\r\n\tk=v\r\nx=k\r\n\r\n");
  CHECK(Disabled(L"\u00C9", "\xE9=1\r\n") == marker + ";\xE9=1\r\n");
  // The empty key is that of lines without an equals sign.
  CHECK(Disabled(L"", "a=b\r\nc\r\n=d\r\n") == "a=b\r\n" + marker + ";c\r\n" + marker + ";=d\r\n");
}

TEST_CASE("a key that was disabled is not disabled again") {
  Shop shop;
  shop.machine.PutFile(kIni, "[S]\r\nk=v\r\n");
  CHECK(CommentOutKey(shop.machine.platform(), kIni, L"k"));
  const std::string once = *shop.machine.Contents(kIni);
  CHECK(CommentOutKey(shop.machine.platform(), kIni, L"k"));
  CHECK(shop.machine.Contents(kIni) == once);
}

TEST_CASE("the line above a disabled key has the user, the date and the time in two digits each") {
  Shop shop;
  shop.machine.SetVersion(platform::WindowsVersion{1, 4, 10});
  shop.machine.SetLogOnName(L"zo\u00EB");
  constexpr std::int32_t kTime = ((23 * 60 + 4) * 60 + 5) * 1000 + 999;
  shop.machine.SetNow({*MakeDate(2026, 12, 1), kTime});
  shop.machine.PutFile(kIni, "k=v\r\n");
  CHECK(CommentOutKey(shop.machine.platform(), kIni, L"k"));
  CHECK(shop.machine.Contents(kIni) ==
        ";The following line was commented by zo\xEB on 12-01-2026 at 23:04:05\r\n;k=v\r\n");
}

TEST_CASE("a system that does not know its user leaves the name out") {
  Shop shop;
  shop.machine.SetDisplayName(std::nullopt);
  shop.machine.SetNow({*MakeDate(2026, 1, 31), 0});
  shop.machine.PutFile(kIni, "k=v\r\n");
  CHECK(CommentOutKey(shop.machine.platform(), kIni, L"k"));
  CHECK(shop.machine.Contents(kIni) ==
        ";The following line was commented by  on 01-31-2026 at 00:00:00\r\n;k=v\r\n");
}

TEST_CASE("the live keys of a section are counted, comments and lines without a value are not") {
  const std::string text = "[A]\r\na=1\r\n;b=2\r\n\r\nc\r\nd=\r\n#e=5\r\n[B]\r\nf=6\r\n[C]\r\n";
  CHECK(Count(text, L"A") == 3);
  CHECK(Count(text, L"b") == 1);
  CHECK(Count(text, L"C") == 0);
  CHECK(Count(text, L"none") == 0);
  CHECK(Count("[A]\r\nno value\r\n", L"A") == 0);
}

TEST_CASE("keys are counted in the first 10,000 characters of a section") {
  std::string text = "[A]\r\n";
  for (int i = 0; i < 2000; ++i) text += "key" + std::to_string(1000 + i) + "=1\r\n";
  // Ten characters for each key with its NUL; of the last one two are cut.
  CHECK(Count(text, L"A") == 1000);
}

TEST_CASE("a count above 32,767 is an overflow") {
  constexpr std::size_t kMost = std::numeric_limits<std::int16_t>::max();
  LongSection most(kMost);
  CHECK(CountSectionKeys(most, kIni, L"S") == std::numeric_limits<std::int16_t>::max());
  LongSection more(kMost + 1);
  CHECK(testing::NumberOf([&] { return CountSectionKeys(more, kIni, L"S"); }) ==
        error_number::kOverflow);
}

TEST_CASE("text for a literal has its apostrophes doubled and its line breaks as characters") {
  using catalogue::SqlQuote;
  CHECK(SqlQuote(L"plain").compare(L"plain") == 0);
  CHECK(SqlQuote(L"").empty());
  CHECK(SqlQuote(L"it's 'so'") == L"it''s ''so''");
  CHECK(SqlQuote(L"one\r\ntwo") == L"one' + CHR(13) + CHR(10) + 'two");
  CHECK(SqlQuote(L"\r\n'\r\n") == L"' + CHR(13) + CHR(10) + '''' + CHR(13) + CHR(10) + '");
  CHECK(SqlQuote(L"a\rb\nc") == L"a\rb\nc");
}

TEST_CASE("choices become lines of item and description with nothing behind the last one") {
  using catalogue::ChoicesToText;
  records::cChoices choices;
  CHECK(ChoicesToText(choices).empty());
  choices.Add(L"A", L"Alpha");
  CHECK(ChoicesToText(choices) == L"A|Alpha");
  choices.Add(L"B", L"");
  CHECK(ChoicesToText(choices) == L"A|Alpha\r\nB|");
  choices.Add(L"", L"x|y");
  CHECK(ChoicesToText(choices) == L"A|Alpha\r\nB|\r\n|x|y");
}

TEST_CASE("choice text becomes choices again, split at the first bar of each line") {
  const auto choices = catalogue::TextToChoices(L"A|Alpha\r\nB\r\n\r\n|x|y");
  REQUIRE(choices->Count() == 4);
  const auto check = [&](std::int32_t position, const wchar_t* item, const wchar_t* description) {
    CHECK(choices->Item(position)->Item() == item);
    CHECK(choices->Item(position)->Description() == description);
  };
  check(1, L"A", L"Alpha");
  check(2, L"B", L"");
  check(3, L"", L"");
  check(4, L"", L"x|y");
  CHECK(catalogue::TextToChoices(L"")->Count() == 0);
}
