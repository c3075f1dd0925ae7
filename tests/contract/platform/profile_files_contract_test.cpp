// What the profile calls find and change; docs/profile-files.md lists the rules.
#include <algorithm>
#include <vector>

#include "platform_fixture.h"

using namespace tdefault::platform;

namespace {

constexpr std::uint32_t kAmple = 2555;

struct ReadRow {
  const char* text;
  const wchar_t* section;
  const wchar_t* key;
  const wchar_t* value;
};

template <class Fixture, std::size_t Count>
void CheckReads(Fixture& fixture, const ReadRow (&rows)[Count]) {
  for (const ReadRow& row : rows) {
    CAPTURE(std::string(row.text));
    fixture.PutFile(L"read.ini", row.text);
    CHECK(fixture.platform().profile_files.ReadEntry(row.section, row.key, L"none", kAmple,
                                                     L".\\read.ini") == std::wstring(row.value));
  }
}

// The lines of a file that mean something: blank lines are dropped, and blanks around a line and
// around the "=" of a key, because Wine takes those away wherever they stand.
std::vector<std::string> Meaning(const std::string& text) {
  const auto trim = [](std::string_view piece) {
    const std::size_t first = piece.find_first_not_of(" \t");
    if (first == std::string_view::npos) return std::string();
    return std::string(piece.substr(first, piece.find_last_not_of(" \t") - first + 1));
  };
  std::vector<std::string> lines;
  std::size_t start = 0;
  while (start < text.size()) {
    const std::size_t end = std::min(text.find_first_of("\r\n", start), text.size());
    std::string line = trim(std::string_view(text).substr(start, end - start));
    const std::size_t equals = line.find('=');
    if (equals != std::string::npos && line[0] != ';') {
      line = trim(std::string_view(line).substr(0, equals)) + "=" +
             trim(std::string_view(line).substr(equals + 1));
    }
    if (!line.empty()) lines.push_back(line);
    start = end + 1;
  }
  return lines;
}

using Optional = std::optional<std::wstring>;

// What one write makes of a file's text.
template <class Fixture>
std::vector<std::string> AfterWrite(Fixture& fixture, const std::string& before,
                                    const std::wstring& section, const Optional& key,
                                    const Optional& value) {
  fixture.PutFile(L"write.ini", before);
  CHECK(fixture.platform().profile_files.WriteEntry(section, key, value, L".\\write.ini") != 0);
  return Meaning(fixture.Contents(L"write.ini").value_or("no file"));
}

using Lines = std::vector<std::string>;

// A section as text with "|" for each NUL.
template <class Fixture>
std::wstring Section(Fixture& fixture, const std::string& text, const std::wstring& section,
                     std::uint32_t capacity = kAmple) {
  fixture.PutFile(L"read.ini", text);
  std::wstring lines =
      fixture.platform().profile_files.ReadSection(section, capacity, L".\\read.ini");
  std::replace(lines.begin(), lines.end(), L'\0', L'|');
  return lines;
}

}  // namespace

TEST_CASE_TEMPLATE("sections and keys are found without regard to case", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  const ReadRow rows[] = {{"[Sec]\r\nKey=v\r\n", L"Sec", L"Key", L"v"},
                          {"[Sec]\r\nKey=v\r\n", L"SEC", L"key", L"v"},
                          {"[\xC4pfel]\r\n\xE9t\xE9=v\r\n", L"\u00C4pfel", L"\u00E9t\u00E9", L"v"}};
  CheckReads(fixture, rows);
}

TEST_CASE_TEMPLATE("letters beyond ASCII are found without regard to case too", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"a.ini", "[\xC4pfel]\r\nk=v\r\n");
  const std::wstring value =
      fixture.platform().profile_files.ReadEntry(L"\u00E4pfel", L"k", L"none", kAmple, L".\\a.ini");
  KNOWN_WINE_GAP(fixture.is_wine(), "Wine folds ASCII letters only", value == L"v");
}

TEST_CASE_TEMPLATE("blanks and tabs around sections, keys, values and arguments do not count",
                   Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  const ReadRow rows[] = {{"[S]\r\n  k  =  v w  \r\n", L"S", L"k", L"v w"},
                          {"[S]\r\n\tk\t=\tv\t\r\n", L"S", L"k", L"v"},
                          {"[ S ]\r\nk=v\r\n", L"S", L"k", L"v"},
                          {"  [S]\r\nk=v\r\n", L"S", L"k", L"v"},
                          {"[S]\r\nk=v\r\n", L" S ", L" k ", L"v"}};
  CheckReads(fixture, rows);
}

TEST_CASE_TEMPLATE("one matching pair of quotes around a value is taken off", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  const ReadRow rows[] = {{"[S]\r\nk=\"v\"\r\n", L"S", L"k", L"v"},
                          {"[S]\r\nk='v'\r\n", L"S", L"k", L"v"},
                          {"[S]\r\nk=\" v \"\r\n", L"S", L"k", L" v "},
                          {"[S]\r\nk=\"\"\r\n", L"S", L"k", L""},
                          {"[S]\r\nk=\"\r\n", L"S", L"k", L"\""},
                          {"[S]\r\nk=\"v\r\n", L"S", L"k", L"\"v"},
                          {"[S]\r\nk=\"v'\r\n", L"S", L"k", L"\"v'"},
                          {"[S]\r\nk=\"a\" b\r\n", L"S", L"k", L"\"a\" b"},
                          {"[S]\r\nk=\"\"\"x\"\"\"\r\n", L"S", L"k", L"\"\"x\"\""}};
  CheckReads(fixture, rows);
}

TEST_CASE_TEMPLATE("a line that begins with a semicolon is a comment, other marks are not", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  const ReadRow rows[] = {{"[S]\r\n;k=v\r\n", L"S", L"k", L"none"},
                          {"[S]\r\n  ;k=v\r\nk=w\r\n", L"S", L"k", L"w"},
                          {"[S]\r\n#k=v\r\n", L"S", L"#k", L"v"},
                          {"[S]\r\nk=v ; w\r\n", L"S", L"k", L"v ; w"},
                          {";[S]\r\nk=v\r\n", L"S", L"k", L"none"}};
  CheckReads(fixture, rows);
}

TEST_CASE_TEMPLATE("the first of two equal keys and of two equal sections is read", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  const ReadRow rows[] = {{"[S]\r\nk=1\r\nk=2\r\n", L"S", L"k", L"1"},
                          {"[S]\r\nk=1\r\n[T]\r\nk=3\r\n[s]\r\nk=2\r\n", L"S", L"k", L"1"},
                          {"[S]\r\na=1\r\n[T]\r\n[S]\r\nb=2\r\n", L"S", L"b", L"none"}};
  CheckReads(fixture, rows);
}

TEST_CASE_TEMPLATE("a key without an equals sign is absent, one with nothing behind it is empty",
                   Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  const ReadRow rows[] = {
      {"[S]\r\nk\r\n", L"S", L"k", L"none"},   {"[S]\r\nk\r\nk=2\r\n", L"S", L"k", L"none"},
      {"[S]\r\n=v\r\n", L"S", L"", L"v"},      {"[S]\r\nk=v\r\n", L"S", L"", L"none"},
      {"[S]\r\nk=\r\n", L"S", L"k", L""},      {"[S]\r\nk=   \r\n", L"S", L"k", L""},
      {"[S]\r\nk=a=b\r\n", L"S", L"k", L"a=b"}};
  CheckReads(fixture, rows);
}

TEST_CASE_TEMPLATE("a section header needs its closing bracket, what follows it does not count",
                   Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  const ReadRow rows[] = {{"[S\r\nk=v\r\n", L"S", L"k", L"none"},
                          {"[S] text\r\nk=v\r\n", L"S", L"k", L"v"},
                          {"[S]]\r\nk=v\r\n", L"S]", L"k", L"v"},
                          {"[R]\r\nk=1\r\n[S\r\nk=2\r\n", L"R", L"k", L"1"}};
  CheckReads(fixture, rows);
}

TEST_CASE_TEMPLATE("lines may end with CR LF, LF or CR, and the last one without any", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  const ReadRow rows[] = {{"[S]\na=1\nk=v\n", L"S", L"k", L"v"},
                          {"[S]\ra=1\rk=v\r", L"S", L"k", L"v"},
                          {"[S]\r\n\r\n\r\nk=v", L"S", L"k", L"v"}};
  CheckReads(fixture, rows);
}

TEST_CASE_TEMPLATE("an absent key, section, file or folder gives the fallback", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  ProfileFiles& profiles = fixture.platform().profile_files;
  fixture.PutFile(L"a.ini", "[S]\r\nk=v\r\n");
  CHECK(profiles.ReadEntry(L"S", L"other", L"none", kAmple, L".\\a.ini") == L"none");
  CHECK(profiles.ReadEntry(L"Other", L"k", L"none", kAmple, L".\\a.ini") == L"none");
  CHECK(profiles.ReadEntry(L"S", L"k", L"none", kAmple, L".\\b.ini") == L"none");
  CHECK(profiles.ReadEntry(L"S", L"k", L"none", kAmple, L".\\nowhere\\a.ini") == L"none");
  CHECK(profiles.ReadEntry(L"S", L"k", L"none", kAmple, L"") == L"none");
  CHECK(profiles.ReadEntry(L"S", L"k", L"", kAmple, L".\\b.ini").empty());
}

TEST_CASE_TEMPLATE("reading a missing entry creates no file", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.platform().profile_files.ReadEntry(L"S", L"k", L"none", kAmple, L".\\b.ini");
  CHECK_FALSE(fixture.Contents(L"b.ini"));
}

TEST_CASE_TEMPLATE("the fallback loses its trailing blanks only", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  ProfileFiles& profiles = fixture.platform().profile_files;
  CHECK(profiles.ReadEntry(L"S", L"k", L"  a b  ", kAmple, L".\\b.ini") == L"  a b");
  CHECK(profiles.ReadEntry(L"S", L"k", L"   ", kAmple, L".\\b.ini").empty());
}

TEST_CASE_TEMPLATE("a value is cut to one character less than the capacity", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  ProfileFiles& profiles = fixture.platform().profile_files;
  fixture.PutFile(L"a.ini", "[S]\r\nk=abcdef\r\n");
  const std::wstring file = L".\\a.ini";
  CHECK(profiles.ReadEntry(L"S", L"k", L"none", 8, file) == L"abcdef");
  CHECK(profiles.ReadEntry(L"S", L"k", L"none", 7, file) == L"abcdef");
  CHECK(profiles.ReadEntry(L"S", L"k", L"none", 6, file) == L"abcde");
  CHECK(profiles.ReadEntry(L"S", L"k", L"none", 2, file) == L"a");
  CHECK(profiles.ReadEntry(L"S", L"k", L"none", 1, file).empty());
  CHECK(profiles.ReadEntry(L"S", L"k", L"none", 0, file).empty());
  CHECK(profiles.ReadEntry(L"S", L"other", L"fallback", 5, file) == L"fall");
}

TEST_CASE_TEMPLATE("a value of 2,554 characters is read whole, a longer one is cut", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  for (const std::size_t length : {2553u, 2554u, 2555u, 5000u}) {
    CAPTURE(length);
    fixture.PutFile(L"a.ini", "[S]\r\nk=" + std::string(length, 'x') + "\r\n");
    const std::wstring value =
        fixture.platform().profile_files.ReadEntry(L"S", L"k", L"", 2555, L".\\a.ini");
    CHECK(value == std::wstring(std::min<std::size_t>(length, 2554), L'x'));
  }
}

TEST_CASE_TEMPLATE("a bare file name means the Windows folder", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  ProfileFiles& profiles = fixture.platform().profile_files;
  const std::wstring bare = L"tdefault-contract-bare.ini";
  const std::wstring placed = fixture.windows_folder() + L"\\" + bare;
  fixture.PutFile(bare, "[S]\r\nk=here\r\n");
  fixture.PutFile(placed, "[S]\r\nk=windows\r\n");
  CHECK(profiles.ReadEntry(L"S", L"k", L"none", kAmple, bare) == L"windows");
  CHECK(profiles.ReadEntry(L"S", L"k", L"none", kAmple, L".\\" + bare) == L"here");
  CHECK(profiles.WriteEntry(L"S", L"k", L"written", bare) != 0);
  CHECK(Meaning(fixture.Contents(placed).value_or("")) == Lines{"[S]", "k=written"});
  fixture.RemoveFile(placed);
  CHECK(profiles.ReadEntry(L"S", L"k", L"none", kAmple, bare) == L"none");
}

TEST_CASE_TEMPLATE("a file name with a folder counts from the current folder", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  ProfileFiles& profiles = fixture.platform().profile_files;
  fixture.AddFolder(L"sub");
  fixture.PutFile(L"a.ini", "[S]\r\nk=here\r\n");
  fixture.PutFile(L"sub\\a.ini", "[S]\r\nk=below\r\n");
  CHECK(profiles.ReadEntry(L"S", L"k", L"none", kAmple, L".\\a.ini") == L"here");
  CHECK(profiles.ReadEntry(L"S", L"k", L"none", kAmple, L"sub\\a.ini") == L"below");
  CHECK(profiles.ReadEntry(L"S", L"k", L"none", kAmple, L"sub\\..\\a.ini") == L"here");
  CHECK(profiles.ReadEntry(L"S", L"k", L"none", kAmple, fixture.folder() + L"\\A.INI") == L"here");
  CHECK(profiles.ReadEntry(L"S", L"k", L"none", kAmple, L"sub/a.ini") == L"below");
}

TEST_CASE_TEMPLATE("a file that begins with the UTF-16 mark is read and written as UTF-16", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  ProfileFiles& profiles = fixture.platform().profile_files;
  const std::string text("\xFF\xFE[\0S\0]\0\r\0\n\0k\0=\0\xE9\0\r\0\n\0", 22);
  fixture.PutFile(L"a.ini", text);
  CHECK(profiles.ReadEntry(L"S", L"k", L"none", kAmple, L".\\a.ini") == L"\u00E9");
  CHECK(profiles.WriteEntry(L"S", L"k", L"w", L".\\a.ini") != 0);
  CHECK(fixture.Contents(L"a.ini") ==
        std::string("\xFF\xFE[\0S\0]\0\r\0\n\0k\0=\0w\0\r\0\n\0", 22));
}

TEST_CASE_TEMPLATE("the UTF-8 mark hides the section on the first line", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"a.ini", "\xEF\xBB\xBF[S]\r\nk=v\r\n");
  const std::wstring value =
      fixture.platform().profile_files.ReadEntry(L"S", L"k", L"none", kAmple, L".\\a.ini");
  KNOWN_WINE_GAP(fixture.is_wine(), "Wine skips the UTF-8 mark", value == L"none");
}

TEST_CASE_TEMPLATE("a section is read as its lines with a NUL behind each and one at the end",
                   Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  CHECK(Section(fixture, "[R]\r\nr=0\r\n[S]\r\na=1\r\nb=2\r\n[T]\r\nc=3\r\n", L"S") ==
        L"a=1|b=2||");
  CHECK(Section(fixture, "[S]\na=1\nb=2", L"s") == L"a=1|b=2||");
  CHECK(Section(fixture, "[ S ]\r\n\r\n  k  =  v w  \r\n", L"S") == L"k=v w||");
  CHECK(Section(fixture, "[S]\r\nk=\r\n", L"S") == L"k=||");
}

TEST_CASE_TEMPLATE("a section is read without its comments, with its quotes and other lines",
                   Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  CHECK(Section(fixture, "[S]\r\n;a=1\r\n  ;b=2\r\n#c=3\r\nk\r\nd=\" q \"\r\nd=4 ; e\r\n", L"S") ==
        L"#c=3|k|d=\" q \"|d=4 ; e||");
}

TEST_CASE_TEMPLATE("of equal sections the first is read, all of its equal keys with it", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  CHECK(Section(fixture, "[S]\r\nk=1\r\nk=2\r\n[T]\r\n[S]\r\nk=3\r\n", L"S") == L"k=1|k=2||");
}

TEST_CASE_TEMPLATE("a section without lines, an absent section or file reads as no text", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  CHECK(Section(fixture, "[S]\r\n[T]\r\nk=1\r\n", L"S").empty());
  CHECK(Section(fixture, "[S]\r\n;k=1\r\n\r\n", L"S").empty());
  CHECK(Section(fixture, "[S]\r\nk=1\r\n", L"T").empty());
  ProfileFiles& profiles = fixture.platform().profile_files;
  CHECK(profiles.ReadSection(L"S", kAmple, L".\\none.ini").empty());
  CHECK(profiles.ReadSection(L"S", kAmple, L".\\nowhere\\none.ini").empty());
  CHECK(profiles.ReadSection(L"S", kAmple, L"").empty());
  CHECK_FALSE(fixture.Contents(L"none.ini"));
}

TEST_CASE_TEMPLATE("a section is cut two characters before the capacity, in the middle of a line",
                   Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  const std::string text = "[S]\r\nab=1\r\ncd=2\r\n";
  CHECK(Section(fixture, text, L"S", 12) == L"ab=1|cd=2||");
  CHECK(Section(fixture, text, L"S", 11) == L"ab=1|cd=2||");
  CHECK(Section(fixture, text, L"S", 10) == L"ab=1|cd=||");
  CHECK(Section(fixture, text, L"S", 8) == L"ab=1|c||");
  CHECK(Section(fixture, text, L"S", 7) == L"ab=1||");
  CHECK(Section(fixture, text, L"S", 6) == L"ab=1||");
  CHECK(Section(fixture, text, L"S", 5) == L"ab=||");
  CHECK(Section(fixture, text, L"S", 3) == L"a||");
}

TEST_CASE_TEMPLATE("a section is read up to 32,767 characters", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  std::string text = "[S]\r\n";
  for (int i = 0; i < 2000; ++i) text += "key" + std::to_string(1000 + i) + "=value\r\n";
  CHECK(Section(fixture, text, L"S", 10000).size() == 10000);
  CHECK(Section(fixture, text, L"S", 32767).size() == 2000 * 14 + 1);
}

TEST_CASE_TEMPLATE("a section of a bare file name is looked for in the Windows folder", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  const std::wstring bare = L"tdefault-contract-section.ini";
  const std::wstring placed = fixture.windows_folder() + L"\\" + bare;
  fixture.PutFile(bare, "[S]\r\nk=here\r\n");
  fixture.PutFile(placed, "[S]\r\nk=windows\r\n");
  const std::wstring lines = fixture.platform().profile_files.ReadSection(L"S", kAmple, bare);
  fixture.RemoveFile(placed);
  CHECK(lines == std::wstring(L"k=windows\0\0", 11));
}

TEST_CASE_TEMPLATE("a section of a file that may not be read is no text", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"a.ini", "[S]\r\nk=v\r\n");
  auto held = fixture.Hold(L"a.ini", FileShare::kNone, FileAccess::kRead);
  ProfileFiles& profiles = fixture.platform().profile_files;
  CHECK(profiles.ReadSection(L"S", kAmple, L".\\a.ini").empty());
  held.Release();
  CHECK(profiles.ReadSection(L"S", kAmple, L".\\a.ini") == std::wstring(L"k=v\0\0", 5));
}

TEST_CASE_TEMPLATE("a section in the system code page or in UTF-16 is read as text", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  CHECK(Section(fixture, "[\xC4]\r\n\xE9=\xFC\r\n", L"\u00C4") == L"\u00E9=\u00FC||");
  CHECK(Section(fixture, std::string("\xFF\xFE[\0S\0]\0\r\0\n\0k\0=\0\xE9\0\r\0\n\0", 22), L"S") ==
        L"k=\u00E9||");
}

TEST_CASE_TEMPLATE("a written key replaces its line and leaves the others in place", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  CHECK(AfterWrite(fixture, "; top\r\n[S]\r\na=1\r\n; about k\r\nk=v\r\nb=2\r\n[T]\r\nk=t\r\n",
                   L"S", L"k",
                   L"w") == Lines{"; top", "[S]", "a=1", "; about k", "k=w", "b=2", "[T]", "k=t"});
}

TEST_CASE_TEMPLATE("a changed line keeps the spelling of its key", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  CHECK(AfterWrite(fixture, "[Sec]\r\nKey=v\r\n", L"SEC", L"KEY", L"w") == Lines{"[Sec]", "Key=w"});
}

TEST_CASE_TEMPLATE("a new key goes behind the last line of its section", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  CHECK(AfterWrite(fixture, "[S]\r\na=1\r\nb=2\r\n[T]\r\nc=3\r\n", L"S", L"k", L"v") ==
        Lines{"[S]", "a=1", "b=2", "k=v", "[T]", "c=3"});
  CHECK(AfterWrite(fixture, "[S]\r\na=1\r\n\r\n\r\n[T]\r\nc=3\r\n", L"S", L"k", L"v") ==
        Lines{"[S]", "a=1", "k=v", "[T]", "c=3"});
  CHECK(AfterWrite(fixture, "[S]\r\n[T]\r\nc=3\r\n", L"S", L"k", L"v") ==
        Lines{"[S]", "k=v", "[T]", "c=3"});
}

TEST_CASE_TEMPLATE("a new key goes behind a comment that ends its section", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  CHECK(AfterWrite(fixture, "[S]\r\na=1\r\n; end\r\n[T]\r\nc=3\r\n", L"S", L"k", L"v") ==
        Lines{"[S]", "a=1", "; end", "k=v", "[T]", "c=3"});
}

TEST_CASE_TEMPLATE("a new section goes to the end of the file", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  CHECK(AfterWrite(fixture, "[S]\r\na=1\r\n", L"T", L"k", L"v") ==
        Lines{"[S]", "a=1", "[T]", "k=v"});
  CHECK(AfterWrite(fixture, "[S]\r\na=1", L"T", L"k", L"v") == Lines{"[S]", "a=1", "[T]", "k=v"});
  CHECK(AfterWrite(fixture, "", L"T", L"k", L"v") == Lines{"[T]", "k=v"});
}

TEST_CASE_TEMPLATE("a key of the first of two equal sections is written", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  CHECK(AfterWrite(fixture, "[S]\r\na=1\r\n[T]\r\n[S]\r\nk=2\r\n", L"S", L"k", L"v") ==
        Lines{"[S]", "a=1", "k=v", "[T]", "[S]", "k=2"});
  CHECK(AfterWrite(fixture, "[S]\r\nk=1\r\nk=2\r\n", L"S", L"k", L"v") ==
        Lines{"[S]", "k=v", "k=2"});
}

TEST_CASE_TEMPLATE("an absent value removes the first such key", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  CHECK(AfterWrite(fixture, "[S]\r\na=1\r\nK=2\r\nk=3\r\n; c\r\n", L"S", L"k", std::nullopt) ==
        Lines{"[S]", "a=1", "k=3", "; c"});
  CHECK(AfterWrite(fixture, "[S]\r\na=1\r\n", L"S", L"k", std::nullopt) == Lines{"[S]", "a=1"});
  CHECK(AfterWrite(fixture, "[S]\r\na=1\r\n", L"T", L"k", std::nullopt) == Lines{"[S]", "a=1"});
}

TEST_CASE_TEMPLATE("an absent key removes the first such section with all in it", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  CHECK(AfterWrite(fixture, "[R]\r\nr=0\r\n[S]\r\na=1\r\n; c\r\n[T]\r\nb=2\r\n[S]\r\nd=3\r\n", L"s",
                   std::nullopt, std::nullopt) == Lines{"[R]", "r=0", "[T]", "b=2", "[S]", "d=3"});
  CHECK(AfterWrite(fixture, "[S]\r\na=1\r\n", L"T", std::nullopt, std::nullopt) ==
        Lines{"[S]", "a=1"});
  CHECK(AfterWrite(fixture, "[S]\r\na=1\r\n", L"S", std::nullopt, L"ignored").empty());
}

TEST_CASE_TEMPLATE("an empty value is written and read back as empty", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  CHECK(AfterWrite(fixture, "[S]\r\nk=v\r\n", L"S", L"k", L"") == Lines{"[S]", "k="});
  CHECK(fixture.platform()
            .profile_files.ReadEntry(L"S", L"k", L"none", kAmple, L".\\write.ini")
            .empty());
}

TEST_CASE_TEMPLATE("a quoted value is stored with its quotes and read back without", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  CHECK(AfterWrite(fixture, "", L"S", L"k", L"\" q \"") == Lines{"[S]", "k=\" q \""});
  CHECK(fixture.platform().profile_files.ReadEntry(L"S", L"k", L"none", kAmple, L".\\write.ini") ==
        L" q ");
}

TEST_CASE_TEMPLATE("a line break in a value breaks the line in two", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  CHECK(AfterWrite(fixture, "", L"S", L"k", L"one\r\ntwo") == Lines{"[S]", "k=one", "two"});
}

TEST_CASE_TEMPLATE("arguments of a write end at their first NUL", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  CHECK(AfterWrite(fixture, "", std::wstring(L"S\0x", 3), std::wstring(L"k\0x", 3),
                   std::wstring(L"v\0x", 3)) == Lines{"[S]", "k=v"});
}

TEST_CASE_TEMPLATE("blanks around the arguments of a write are not read back", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  for (const char* before : {"", "[S]\r\nk=v\r\n"}) {
    AfterWrite(fixture, before, L" S ", L" k ", L" w ");
    CHECK(fixture.platform().profile_files.ReadEntry(L"S", L"k", L"none", kAmple,
                                                     L".\\write.ini") == L"w");
  }
}

TEST_CASE_TEMPLATE("a key without an equals sign gets its value or is removed in its place",
                   Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  CHECK(AfterWrite(fixture, "[S]\r\nk\r\na=1\r\n", L"S", L"k", L"v") == Lines{"[S]", "k=v", "a=1"});
  CHECK(AfterWrite(fixture, "[S]\r\nk\r\nk=2\r\n", L"S", L"k", std::nullopt) ==
        Lines{"[S]", "k=2"});
}

TEST_CASE_TEMPLATE("the section without a name is what stands before the first header", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  const ReadRow rows[] = {{"k=v\r\n[]\r\nk=w\r\n", L"", L"k", L"v"},
                          {"k=v\r\n[S]\r\na=1\r\n", L" ", L"k", L"v"},
                          {"k=v\r\n[S]\r\na=1\r\n", L"S", L"k", L"none"}};
  CheckReads(fixture, rows);
  CHECK(AfterWrite(fixture, "[S]\r\nk=v\r\n", L"", L"a", L"w") == Lines{"a=w", "[S]", "k=v"});
  CHECK(AfterWrite(fixture, "k=1\r\n[S]\r\nk=v\r\n", L"S", L"k", L"w") ==
        Lines{"k=1", "[S]", "k=w"});
}

TEST_CASE_TEMPLATE("writing the stored value again leaves the file as it was", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  const std::string text = "[S]\r\n\r\n k = v\r\n";
  fixture.PutFile(L"a.ini", text);
  CHECK(fixture.platform().profile_files.WriteEntry(L"S", L"k", L"v", L".\\a.ini") != 0);
  CHECK(fixture.Contents(L"a.ini") == text);
}

TEST_CASE_TEMPLATE("a write leaves blank lines and the spacing of other lines alone", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"a.ini", "; top\r\n\r\n[S]\r\n  a = 1\r\nk=v\r\n\r\n[T]\r\n");
  CHECK(fixture.platform().profile_files.WriteEntry(L"S", L"k", L"w", L".\\a.ini") != 0);
  const std::string after = fixture.Contents(L"a.ini").value_or("");
  KNOWN_WINE_GAP(fixture.is_wine(), "Wine drops blank lines and spacing",
                 after == "; top\r\n\r\n[S]\r\n  a = 1\r\nk=w\r\n\r\n[T]\r\n");
  CHECK(Meaning(after) == Lines{"; top", "[S]", "a=1", "k=w", "[T]"});
}

TEST_CASE_TEMPLATE("a write creates the file but not its folder", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  ProfileFiles& profiles = fixture.platform().profile_files;
  CHECK(profiles.WriteEntry(L"S", L"k", L"v", L".\\new.ini") != 0);
  CHECK(fixture.Contents(L"new.ini") == "[S]\r\nk=v\r\n");
  CHECK(profiles.WriteEntry(L"S", L"k", L"v", L".\\nowhere\\new.ini") == 0);
  CHECK(profiles.WriteEntry(L"S", L"k", L"v", L"") == 0);
}

TEST_CASE_TEMPLATE("characters outside the system code page become question marks", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  REQUIRE(fixture.platform().session.AnsiCodePage() == 1252);
  CHECK(AfterWrite(fixture, "", L"S", L"k", L"\u20AC \u00E9 \u0142 \u0416") ==
        Lines{"[S]", "k=\x80 \xE9 ? ?"});
  CHECK(fixture.platform().profile_files.ReadEntry(L"S", L"k", L"none", kAmple, L".\\write.ini") ==
        L"\u20AC \u00E9 ? ?");
}

TEST_CASE_TEMPLATE("a file that another holds without sharing reads as absent and is not written",
                   Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  ProfileFiles& profiles = fixture.platform().profile_files;
  fixture.PutFile(L"a.ini", "[S]\r\nk=v\r\n");
  auto held = fixture.Hold(L"a.ini", FileShare::kNone, FileAccess::kRead);
  CHECK(profiles.ReadEntry(L"S", L"k", L"none", kAmple, L".\\a.ini") == L"none");
  CHECK(profiles.WriteEntry(L"S", L"k", L"w", L".\\a.ini") == 0);
  held.Release();
  CHECK(fixture.Contents(L"a.ini") == "[S]\r\nk=v\r\n");
  CHECK(profiles.ReadEntry(L"S", L"k", L"none", kAmple, L".\\a.ini") == L"v");
}

TEST_CASE_TEMPLATE("a file that another holds for reading is read but not written", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  ProfileFiles& profiles = fixture.platform().profile_files;
  fixture.PutFile(L"a.ini", "[S]\r\nk=v\r\n");
  auto held = fixture.Hold(L"a.ini", FileShare::kRead, FileAccess::kRead);
  CHECK(profiles.ReadEntry(L"S", L"k", L"none", kAmple, L".\\a.ini") == L"v");
  CHECK(profiles.WriteEntry(L"S", L"k", L"w", L".\\a.ini") == 0);
  held.Release();
  CHECK(fixture.Contents(L"a.ini") == "[S]\r\nk=v\r\n");
}

TEST_CASE_TEMPLATE("a file changed from outside is seen at once", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  ProfileFiles& profiles = fixture.platform().profile_files;
  fixture.PutFile(L"a.ini", "[S]\r\nk=1\r\n");
  CHECK(profiles.ReadEntry(L"S", L"k", L"none", kAmple, L".\\a.ini") == L"1");
  fixture.PutFile(L"a.ini", "[S]\r\nk=2\r\n");
  CHECK(profiles.ReadEntry(L"S", L"k", L"none", kAmple, L".\\a.ini") == L"2");
  CHECK(profiles.WriteEntry(L"S", L"k", L"3", L".\\a.ini") != 0);
  CHECK(fixture.Contents(L"a.ini") == "[S]\r\nk=3\r\n");
}

TEST_CASE_TEMPLATE("a file name with a NUL or of 260 characters is refused", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  ProfileFiles& profiles = fixture.platform().profile_files;
  fixture.PutFile(L"a.ini", "[S]\r\nk=v\r\n");
  for (const std::wstring& file :
       {std::wstring(L".\\a.ini\0x", 9), L".\\" + std::wstring(258, L'n')}) {
    CHECK(profiles.ReadEntry(L"S", L"k", L"none ", kAmple, file) == L"none");
    CHECK(profiles.WriteEntry(L"S", L"k", L"w", file) == 0);
  }
  CHECK(fixture.Contents(L"a.ini") == "[S]\r\nk=v\r\n");
}
