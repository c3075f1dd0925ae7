// The collating sequences MACHINE and GENERAL.
#include <doctest/doctest.h>

#include <fstream>
#include <random>
#include <sstream>

#include "base/text.h"
#include "tables/foxpro/collation.h"
#include "tables/foxpro/general_weights.h"
#include "tables/sql/functions.h"

using namespace tdefault;
using namespace tdefault::tables;
using namespace tdefault::tables::foxpro;

namespace {

std::unique_ptr<Collation> Make(CollatingSequence sequence, std::uint32_t page = 1252) {
  return MakeCollation(sequence, CodePage::Find(page).value());
}

std::string Key(std::initializer_list<int> bytes) {
  std::string key;
  for (const int byte : bytes) key.push_back(static_cast<char>(byte));
  return key;
}

// Each text sorts before the next.
void CheckAscending(const Collation& collation, const std::vector<std::wstring>& texts) {
  for (std::size_t left = 0; left < texts.size(); ++left) {
    for (std::size_t right = 0; right < texts.size(); ++right) {
      CAPTURE(ToUtf8(texts[left]));
      CAPTURE(ToUtf8(texts[right]));
      const int expected = left < right ? -1 : left > right ? 1 : 0;
      CHECK(collation.Compare(texts[left], texts[right]) == expected);
      CHECK(collation.CompareKeys(collation.Key(texts[left]), collation.Key(texts[right])) ==
            expected);
    }
  }
}

void CheckEqual(const Collation& collation, const std::wstring& left, const std::wstring& right) {
  CAPTURE(ToUtf8(left));
  CAPTURE(ToUtf8(right));
  CHECK(collation.Compare(left, right) == 0);
  CHECK(collation.Key(left) == collation.Key(right));
}

}  // namespace

TEST_CASE("MACHINE orders by the bytes of the code page") {
  const auto machine = Make(CollatingSequence::kMachine);
  CheckAscending(*machine, {L"", L"A", L"AB", L"B", L"a", L"b", L"\u20AC", L"\u00C4", L"\u00E4"});
  CHECK(machine->Key(L"A\u20AC") == Key({0x41, 0x80}));
  // In code page 437 the small a with diaeresis comes before the capital one.
  CheckAscending(*Make(CollatingSequence::kMachine, 437), {L"z", L"\u00E4", L"\u00C4"});
}

TEST_CASE("trailing blanks never count, blanks elsewhere do") {
  for (const auto sequence : {CollatingSequence::kMachine, CollatingSequence::kGeneral}) {
    const auto collation = Make(sequence);
    CheckEqual(*collation, L"abc", L"abc   ");
    CheckEqual(*collation, L"", L"    ");
    CHECK(collation->Compare(L"abc", L" abc") != 0);
    CHECK(collation->Compare(L"a bc", L"abc") != 0);
  }
}

TEST_CASE("the shorter text goes on with blanks: what sorts before the blank comes first") {
  const auto machine = Make(CollatingSequence::kMachine);
  CheckAscending(*machine, {L"\x01", L"\t", L"", L"!", L"A\x01", L"A\t", L"A \x01", L"A", L"A  !",
                            L"A !", L"A!", L"AA\x1F", L"AA", L"\u00FF"});
  CheckEqual(*machine, L"A  ", L"A");
  const auto general = Make(CollatingSequence::kGeneral);
  CheckAscending(*general, {L"\x01", L"", L"!", L"A\x01", L"a \x01", L"A", L"a  !", L"A\t!", L"a!",
                            L"AA\x1F", L"aa", L"b"});
  for (const wchar_t* text : {L"a\t", L"a\t\t ", L"A \t", L"A"}) CheckEqual(*general, text, L"a");
  CheckEqual(*general, L"\t", L"");
  CheckEqual(*general, L"a\tb", L"a b");
  // The accents count only when all letters are through, the blanks that follow among them.
  CheckAscending(*general, {L"\u00E9\x01", L"e", L"\u00E9", L"e!"});
}

TEST_CASE("two texts compare by their keys as they do themselves") {
  // Characters around the blank's weight, an accent, a letter of two, and one the page lacks.
  const std::wstring characters = L" \t\x01!ae\u00E9\u00DF\u0420";
  std::vector<std::wstring> texts = {L""};
  for (std::size_t from = 0, length = 0; length < 3; ++length) {
    const std::size_t end = texts.size();
    for (; from < end; ++from)
      for (const wchar_t character : characters) texts.push_back(texts[from] + character);
  }
  for (const auto sequence : {CollatingSequence::kMachine, CollatingSequence::kGeneral}) {
    const auto collation = Make(sequence);
    std::vector<std::string> keys;
    for (const std::wstring& text : texts) keys.push_back(collation->Key(text));
    std::size_t differing = 0;
    for (std::size_t left = 0; left < texts.size(); ++left) {
      for (std::size_t right = 0; right < left; ++right) {
        const int order = collation->Compare(texts[left], texts[right]);
        const bool agree = order == collation->CompareKeys(keys[left], keys[right]) &&
                           order == -collation->Compare(texts[right], texts[left]) &&
                           (order == 0) == (keys[left] == keys[right]);
        if (!agree) ++differing;
      }
    }
    CHECK(differing == 0);
  }
}

TEST_CASE("GENERAL ignores case and counts accents behind all letters") {
  const auto general = Make(CollatingSequence::kGeneral);
  CheckEqual(*general, L"Abc", L"aBC");
  CheckEqual(*general, L"\u00C9t\u00C9", L"\u00E9T\u00E9");
  CheckAscending(*general,
                 {L"", L"cote", L"cot\u00E9", L"c\u00F4te", L"c\u00F4t\u00E9", L"cotes", L"coz"});
  CheckAscending(*general, {L"e", L"\u00E9", L"\u00E8", L"\u00EA", L"\u00EB", L"ea", L"f"});
}

TEST_CASE("GENERAL reads ligatures, thorn and sharp s as two letters") {
  const auto general = Make(CollatingSequence::kGeneral);
  CheckEqual(*general, L"Stra\u00DFe", L"STRASSE");
  CheckEqual(*general, L"\u00C6on", L"aeon");
  CheckEqual(*general, L"\u0153uvre", L"OEUVRE");
  CheckEqual(*general, L"\u00FEing", L"THing");
  CheckAscending(*general, {L"STRASRE", L"Stra\u00DFe", L"STRASTE"});
}

TEST_CASE("GENERAL orders signs before digits before letters") {
  const auto general = Make(CollatingSequence::kGeneral);
  CheckAscending(*general, {L"a b", L"a-b", L"a1b", L"aab", L"zz"});
  CheckAscending(*general,
                 {L"!", L"/", L":", L"@", L"[", L"`", L"{", L"~", L"0", L"9", L"a", L"Z"});
  CheckEqual(*general, L"x\u00B2", L"x2");
}

TEST_CASE("GENERAL keys are heads, then tails, without the filling at their end") {
  const auto general = Make(CollatingSequence::kGeneral);
  CHECK(general->Key(L"abc") == Key({96, 97, 98}));
  CHECK(general->Key(L"\u00E9a") == Key({102, 96, 1}));
  CHECK(general->Key(L"a\u00E9") == Key({96, 102, 0, 1}));
  CHECK(general->Key(L"t\u00E9b\u00E8  ") == Key({119, 102, 97, 102, 1, 2}));
  CHECK(general->Key(L"   ").empty());
}

TEST_CASE("a character that the page lacks equals no other and sorts behind") {
  for (const auto sequence : {CollatingSequence::kMachine, CollatingSequence::kGeneral}) {
    const auto collation = Make(sequence);
    CHECK(collation->Compare(L"\u0416", L"?") != 0);
    CHECK(collation->Compare(L"\u0416", L"\u0417") < 0);
    CHECK(collation->Compare(L"\u0416", L"\u00FF") > 0);
    CheckEqual(*collation, L"\u0416 ", L"\u0416");
  }
}

TEST_CASE("every weight of code page 1252 is the known one") {
  const GeneralWeights& weights = *FindGeneralWeights(1252);
  std::ifstream file(TDEFAULT_SOURCE "/tools/general-1252.tsv");
  REQUIRE(file);
  int count = 0;
  for (std::string line; std::getline(file, line);) {
    if (line.front() == '#') continue;
    std::istringstream cells(line);
    std::string byte;
    std::string head;
    std::string tail;
    std::string expansion;
    cells >> byte >> head >> tail >> expansion;
    CAPTURE(line);
    const GeneralWeight weight = weights[std::stoul(byte, nullptr, 16)];
    if (expansion.front() == '-') {
      CHECK(weight.head == std::stoi(head));
      CHECK(weight.tail == (tail == "-" ? kNoTail : std::stoi(tail)));
    } else {
      CHECK(weight.head == 0);
      CHECK(kExpansions[weight.tail] == expansion.substr(0, 2));
    }
    ++count;
  }
  CHECK(count == 256);
}

TEST_CASE("a character weighs the same in every page that shares it with 1252") {
  const CodePage base = CodePage::Find(1252).value();
  const auto reference = Make(CollatingSequence::kGeneral);
  for (const std::uint32_t page : {437U, 850U, 1250U, 1251U}) {
    const auto general = Make(CollatingSequence::kGeneral, page);
    const CodePage other = CodePage::Find(page).value();
    for (unsigned byte = 0x20; byte < 0x100; ++byte) {
      const wchar_t character = other.Decode(static_cast<unsigned char>(byte));
      const bool young = character == 0x20AC || character == 0x017D || character == 0x017E;
      if (!base.Encode(character) || young || (character >= 0x7F && character < 0xA0)) continue;
      CAPTURE(page);
      CAPTURE(byte);
      CHECK(general->Key(std::wstring(1, character)) == reference->Key(std::wstring(1, character)));
    }
  }
}

TEST_CASE("GENERAL sorts Central European letters by base letter and mark") {
  const auto general = Make(CollatingSequence::kGeneral, 1250);
  CheckEqual(*general, L"\u017B\u00F3\u0142w", L"\u017C\u00D3\u0141W");
  CheckAscending(*general, {L"d", L"\u010F", L"\u0111", L"e", L"\u011B", L"\u0119", L"l", L"\u013E",
                            L"\u0142", L"m", L"z", L"\u017A", L"\u017E", L"\u017C"});
  CheckAscending(*general, {L"zz", L"z\u017E", L"\u017Ez", L"zza"});
}

TEST_CASE("GENERAL sorts Cyrillic in the order of its alphabets, behind Latin") {
  const auto general = Make(CollatingSequence::kGeneral, 1251);
  CheckEqual(*general, L"\u041A\u043B\u044E\u0447", L"\u043A\u041B\u042E\u0427");
  CheckAscending(*general, {L"z", L"\u0430", L"\u0435", L"\u0451", L"\u0436", L"\u0438", L"\u0439",
                            L"\u043A", L"\u044F"});
}

TEST_CASE("in every page tails are below heads, and the tab weighs as the blank") {
  for (const std::uint32_t page : {437U, 850U, 1250U, 1251U, 1252U}) {
    const GeneralWeights& weights = *FindGeneralWeights(page);
    for (const GeneralWeight& weight : weights) {
      if (weight.head == 0) continue;
      CHECK(weight.head >= kLowestHead);
      CHECK((weight.tail == kNoTail || weight.tail < kLowestHead));
    }
    CHECK(weights['\t'].head == weights[' '].head);
  }
}

TEST_CASE("GENERAL has weights for every page, and letters of both cases weigh alike") {
  for (const std::uint32_t page : {437U, 850U, 1250U, 1251U, 1252U}) {
    REQUIRE(FindGeneralWeights(page) != nullptr);
    const auto general = Make(CollatingSequence::kGeneral, page);
    const CodePage code_page = CodePage::Find(page).value();
    for (unsigned byte = 0; byte < 0x100; ++byte) {
      const wchar_t character = code_page.Decode(static_cast<unsigned char>(byte));
      const wchar_t upper = ToUpper(character);
      const bool micro = character == 0x00B5;
      if (!code_page.Encode(upper) || micro) continue;
      CAPTURE(page);
      CAPTURE(byte);
      if (page == 1252 && upper == 0x017D) continue;
      CHECK(general->Key(std::wstring(1, character)) == general->Key(std::wstring(1, upper)));
    }
  }
  CHECK(FindGeneralWeights(852) == nullptr);
}

TEST_CASE("a prepared text compares with stored bytes as with the text they stand for") {
  std::mt19937 random(11);
  const auto sign = [](int order) { return order < 0 ? -1 : order > 0 ? 1 : 0; };
  for (const std::uint32_t number : {437U, 850U, 1250U, 1251U, 1252U}) {
    const CodePage page = CodePage::Find(number).value();
    // Few characters, so that texts are often equal at first: those that sort unlike their bytes.
    std::string few = " aA\t";
    for (const wchar_t character :
         {L'\x00DF', L'\x00E6', L'\x00C6', L'\x00E9', L'\x00C9', L'\x00A0'})
      if (const auto byte = page.Encode(character)) few.push_back(static_cast<char>(*byte));
    const auto bytes_of = [&random, &few] {
      std::string bytes;
      for (std::size_t length = random() % 7; bytes.size() < length;)
        bytes.push_back(random() % 3 == 0 ? static_cast<char>(random() % 256)
                                          : few[random() % few.size()]);
      return bytes;
    };
    std::array<ByteReplacement, 3> replacements = {ByteReplacement{},
                                                   sql::FoldBytes(sql::FunctionKind::kUpper, page),
                                                   sql::FoldBytes(sql::FunctionKind::kLower, page)};
    for (std::size_t byte = 0; byte < 256; ++byte)
      replacements[0][byte] = static_cast<unsigned char>(byte);
    for (const auto sequence : {CollatingSequence::kMachine, CollatingSequence::kGeneral}) {
      const auto collation = MakeCollation(sequence, page);
      for (int round = 0; round < 2000; ++round) {
        const ByteReplacement& replacement = replacements.at(random() % 3);
        const std::string stored = bytes_of();
        std::wstring constant = page.Decode(bytes_of());
        if (round % 50 == 0) constant.insert(constant.size() / 2, 1, L'\x4E2D');
        std::string replaced = stored;
        for (char& byte : replaced)
          byte = static_cast<char>(replacement[static_cast<unsigned char>(byte)]);
        if (round % 3 == 0) constant = page.Decode(replaced) + L"  ";
        const auto prepared = collation->Prepare(constant, page, replacement);
        REQUIRE(prepared != nullptr);
        CAPTURE(number);
        CAPTURE(ToUtf8(constant));
        CAPTURE(ToUtf8(page.Decode(stored)));
        CHECK(sign(prepared->CompareStored(stored)) ==
              sign(collation->Compare(page.Decode(replaced), constant)));
      }
    }
  }
  CHECK(Make(CollatingSequence::kGeneral, 850)
            ->Prepare(L"a", CodePage::Find(1252).value(), ByteReplacement{}) == nullptr);
}
