#include "records/INIOption.h"

#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "unit/readable.h"

using namespace tdefault;
using records::INIOption;
using records::KEY_TYPE;

TEST_CASE("a new value reads back without the blanks around it") {
  INIOption option;
  option.SetNewValue(L"  5  ");
  CHECK(option.NewValue() == L"5");
}

TEST_CASE("a new value of blanks only or of nothing reads back empty") {
  INIOption option;
  option.SetNewValue(L"   ");
  CHECK(option.NewValue().empty());
  option.SetNewValue(L"before");
  option.SetNewValue(L"");
  CHECK(option.NewValue().empty());
}

TEST_CASE("every text field keeps its first characters up to its own capacity") {
  struct Row {
    void (INIOption::*set)(std::wstring_view);
    std::wstring (INIOption::*get)() const;
    std::size_t capacity;
  };
  const std::vector<Row> rows = {
      {&INIOption::SetID, &INIOption::ID, 36},
      {&INIOption::SetSection, &INIOption::Section, 30},
      {&INIOption::SetKey, &INIOption::Key, 30},
      {&INIOption::SetLinkedfield, &INIOption::Linkedfield, 30},
      {&INIOption::SetDefault, &INIOption::Default, 30},
      {&INIOption::SetComment, &INIOption::Comment, 254},
      {&INIOption::SetCurrentValue, &INIOption::CurrentValue, 80},
      {&INIOption::SetNewValue, &INIOption::NewValue, 80},
  };
  std::wstring text;
  for (int i = 0; i < 300; ++i) text += static_cast<wchar_t>(L'a' + i % 26);
  for (const Row& row : rows) {
    CAPTURE(row.capacity);
    INIOption option;
    CHECK((option.*row.get)().empty());
    (option.*row.set)(text);
    CHECK((option.*row.get)() == text.substr(0, row.capacity));
    (option.*row.set)(L" short ");
    CHECK((option.*row.get)() == L"short");
  }
}

TEST_CASE("a comment of 300 characters reads back as its first 254") {
  INIOption option;
  option.SetComment(std::wstring(253, L'x') + L"yz" + std::wstring(45, L'w'));
  CHECK(option.Comment() == std::wstring(253, L'x') + L"y");
}

TEST_CASE("a text is cut before it is trimmed") {
  INIOption option;
  option.SetKey(std::wstring(29, L' ') + L"ab");
  CHECK(option.Key() == L"a");
}

TEST_CASE("the additional processing module is kept exactly as assigned") {
  INIOption option;
  const std::wstring text = L"  " + std::wstring(500, L'm') + L"  ";
  option.SetAdditionalProc(text);
  CHECK(option.AdditionalProc() == text);
}

TEST_CASE("a record whose choices were never assigned has none") {
  CHECK(INIOption().Choices() == nullptr);
}

TEST_CASE("choices are shared with whoever assigned them") {
  INIOption option;
  const auto choices = std::make_shared<records::cChoices>();
  option.SetChoices(choices);
  choices->Add(L"1", L"Yes");
  CHECK(option.Choices() == choices);
  CHECK(option.Choices()->Count() == 1);
}

TEST_CASE("numbers and flags of a record are kept unchanged") {
  INIOption option;
  CHECK_FALSE(option.LocalINI());
  CHECK_FALSE(option.Commented());
  CHECK(option.Minimum() == 0);
  option.SetLocalINI(true);
  option.SetCommented(true);
  option.SetMinimum(-32768);
  option.SetMaximum(32767);
  option.SetDecimals(-1);
  CHECK(option.LocalINI());
  CHECK(option.Commented());
  CHECK(option.Minimum() == -32768);
  CHECK(option.Maximum() == 32767);
  CHECK(option.Decimals() == -1);
}

TEST_CASE("an option type that no name covers is carried as it is") {
  INIOption option;
  CHECK(option.OptionType() == KEY_TYPE::STRING_VALUE);
  option.SetOptionType(static_cast<KEY_TYPE>(-77));
  CHECK(static_cast<std::int32_t>(option.OptionType()) == -77);
}

TEST_CASE("the option types have their published numbers") {
  const std::vector<KEY_TYPE> types = {
      KEY_TYPE::STRING_VALUE, KEY_TYPE::NUMERIC_VALUE, KEY_TYPE::BOOLEAN_VALUE,
      KEY_TYPE::CHOICE_VALUE, KEY_TYPE::PATH_VALUE,    KEY_TYPE::PRINTER_VALUE,
      KEY_TYPE::REPORT_VALUE, KEY_TYPE::FONT_VALUE,    KEY_TYPE::INSURANCE_VALUE};
  for (std::size_t i = 0; i < types.size(); ++i) CHECK(static_cast<std::size_t>(types[i]) == i);
}

TEST_CASE("setting the modified flag tells the listener, also when it stays the same") {
  INIOption option;
  std::vector<bool> told;
  bool flag_when_told = false;
  option.ListenToModified([&](bool modified) {
    told.push_back(modified);
    flag_when_told = option.Modified();
  });
  option.SetModified(true);
  CHECK(flag_when_told);
  option.SetModified(true);
  option.SetModified(false);
  CHECK(told == std::vector<bool>{true, true, false});
}

TEST_CASE("a record without a listener takes the modified flag") {
  INIOption option;
  option.SetModified(true);
  CHECK(option.Modified());
}

TEST_CASE("setting a new value does not touch the current one and tells nobody") {
  INIOption option;
  int told = 0;
  option.ListenToModified([&](bool) { ++told; });
  option.SetCurrentValue(L"old");
  option.SetNewValue(L"new");
  CHECK(option.CurrentValue() == L"old");
  CHECK(option.NewValue() == L"new");
  CHECK(told == 0);
}
