// Enumerators and the identity of objects.
#include "host.h"

using namespace tdefault::component;

namespace {

ComPtr<IEnumVARIANT> EnumeratorOf(::_Options* options) {
  ComPtr<IUnknown> unknown;
  ComPtr<IEnumVARIANT> enumerator;
  REQUIRE(options->NewEnum(&unknown) == S_OK);
  REQUIRE(unknown.As(&enumerator) == S_OK);
  return enumerator;
}

// The ID of the next option; "<end>" when there is none.
std::string NextId(IEnumVARIANT* enumerator) {
  Variant next;
  ULONG fetched = 9;
  if (enumerator->Next(1, &next.get(), &fetched) != S_OK) return "<end>";
  CHECK(fetched == 1);
  REQUIRE(next.get().vt == VT_DISPATCH);
  return LateBound(next).Text(L"ID");
}

std::string IdAt(::_Options* options, int position) {
  return Text(OptionAt(options, position).Get(), &::_INIOption::get_ID);
}

template <class Left, class Right>
bool SameObject(const ComPtr<Left>& left, const ComPtr<Right>& right) {
  ComPtr<IUnknown> one;
  ComPtr<IUnknown> other;
  REQUIRE(left->QueryInterface(IID_PPV_ARGS(&one)) == S_OK);
  REQUIRE(right->QueryInterface(IID_PPV_ARGS(&other)) == S_OK);
  return one.Get() == other.Get();
}

ComPtr<::_INIOption> AddOption(::_Options* options) {
  ComPtr<::_INIOption> added;
  REQUIRE(options->Add(VARIANT_FALSE, Bstr(L"S").get(), Bstr(L"K").get(), nullptr, STRING_VALUE,
                       Bstr(L"a|A\r\nb").get(), nullptr, 0, 0, nullptr, nullptr, &added) == S_OK);
  return added;
}

}  // namespace

TEST_CASE("an enumerator gives every option in catalogue order and then ends") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  SHORT count = 0;
  REQUIRE(options->get_Count(&count) == S_OK);
  CHECK(count > 100);
  const ComPtr<IEnumVARIANT> enumerator = EnumeratorOf(options.Get());
  for (int position = 1; position <= count; ++position)
    REQUIRE(NextId(enumerator.Get()) == IdAt(options.Get(), position));
  CHECK(NextId(enumerator.Get()) == "<end>");
}

TEST_CASE("an enumerator skips, resets, fetches several and is copied where it stands") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  SHORT count = 0;
  REQUIRE(options->get_Count(&count) == S_OK);
  const ComPtr<IEnumVARIANT> enumerator = EnumeratorOf(options.Get());
  CHECK(enumerator->Skip(3) == S_OK);
  ComPtr<IEnumVARIANT> copy;
  REQUIRE(enumerator->Clone(&copy) == S_OK);
  CHECK(NextId(enumerator.Get()) == IdAt(options.Get(), 4));
  CHECK(NextId(copy.Get()) == IdAt(options.Get(), 4));
  CHECK(enumerator->Reset() == S_OK);
  CHECK(NextId(enumerator.Get()) == IdAt(options.Get(), 1));
  CHECK(NextId(copy.Get()) == IdAt(options.Get(), 5));

  CHECK(enumerator->Reset() == S_OK);
  CHECK(enumerator->Skip(static_cast<ULONG>(count) - 2) == S_OK);
  std::vector<Variant> several(5);
  std::vector<VARIANT> fetched(5);
  ULONG number = 0;
  CHECK(enumerator->Next(5, fetched.data(), &number) == S_FALSE);
  CHECK(number == 2);
  for (ULONG index = 0; index < number; ++index) several[index].get() = fetched[index];
  CHECK(enumerator->Skip(1) == S_FALSE);
  CHECK(enumerator->Next(1, nullptr, &number) == E_POINTER);
  CHECK(enumerator->Clone(nullptr) == E_POINTER);
}

TEST_CASE("enumeration after Add ends with the added option") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  const ComPtr<IEnumVARIANT> before = EnumeratorOf(options.Get());
  SHORT count = 0;
  REQUIRE(options->get_Count(&count) == S_OK);
  const std::string added = Text(AddOption(options.Get()).Get(), &::_INIOption::get_ID);
  const ComPtr<IEnumVARIANT> after = EnumeratorOf(options.Get());
  CHECK(after->Skip(static_cast<ULONG>(count)) == S_OK);
  CHECK(NextId(after.Get()) == added);
  CHECK(NextId(after.Get()) == "<end>");
  // An enumerator made before does not see it.
  CHECK(before->Skip(static_cast<ULONG>(count)) == S_OK);
  CHECK(NextId(before.Get()) == "<end>");
}

TEST_CASE("the same option is always the same object while it is held") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  const ComPtr<::_INIOption> held = OptionAt(options.Get(), 1);
  CHECK(SameObject(held, OptionAt(options.Get(), 1)));
  CHECK(!SameObject(held, OptionAt(options.Get(), 2)));
  Variant first;
  REQUIRE(EnumeratorOf(options.Get())->Next(1, &first.get(), nullptr) == S_OK);
  CHECK(SameObject(held, ComPtr<IDispatch>(first.get().pdispVal)));
  const ComPtr<::_INIOption> added = AddOption(options.Get());
  SHORT count = 0;
  REQUIRE(options->get_Count(&count) == S_OK);
  CHECK(SameObject(added, OptionAt(options.Get(), count)));
}

TEST_CASE("a new value set through one reference is seen through every other") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  // Let go in between: the option itself keeps the value.
  CHECK(OptionAt(options.Get(), 1)->put_NewValue(Bstr(L"elsewhere").get()) == S_OK);
  CHECK(Text(OptionAt(options.Get(), 1).Get(), &::_INIOption::get_NewValue) == "elsewhere");
}

TEST_CASE("ReportTypes, its layouts and an option's choices are the same objects each time") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  ComPtr<::_Reports> reports;
  ComPtr<::_Reports> again;
  REQUIRE(options->ReportTypes(&reports) == S_OK);
  REQUIRE(options->ReportTypes(&again) == S_OK);
  CHECK(SameObject(reports, again));
  ComPtr<::_Report> report;
  ComPtr<::_Report> by_name;
  REQUIRE(reports->Item(Argument(2).get(), &report) == S_OK);
  REQUIRE(reports->Item(Argument(L"inv2").get(), &by_name) == S_OK);
  CHECK(SameObject(report, by_name));

  const ComPtr<::_INIOption> added = AddOption(options.Get());
  ComPtr<::_cChoices> choices;
  ComPtr<::_cChoices> same;
  REQUIRE(added->get_Choices(&choices) == S_OK);
  REQUIRE(added->get_Choices(&same) == S_OK);
  CHECK(SameObject(choices, same));
  ComPtr<::_cChoice> choice;
  ComPtr<::_cChoice> same_choice;
  REQUIRE(choices->get_Item(Argument(1).get(), &choice) == S_OK);
  REQUIRE(choices->get_Item(Argument(1).get(), &same_choice) == S_OK);
  CHECK(SameObject(choice, same_choice));

  REQUIRE(options->Refresh() == S_OK);
  REQUIRE(options->ReportTypes(&again) == S_OK);
  CHECK(!SameObject(reports, again));
}

TEST_CASE("ReportTypes is Nothing before Initialize") {
  const Apartment apartment;
  const ComPtr<::_Options> options = CreateOptions();
  ComPtr<::_Reports> reports;
  CHECK(options->ReportTypes(&reports) == S_OK);
  CHECK(!reports);
}

TEST_CASE("choices are reached by position, enumerated in order and counted") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  ComPtr<::_cChoices> choices;
  REQUIRE(AddOption(options.Get())->get_Choices(&choices) == S_OK);
  ComPtr<::_cChoice> added;
  BSTR description = Bstr(L"See").Detach();
  REQUIRE(choices->Add(Bstr(L"c").get(), &description, &added) == S_OK);
  SysFreeString(description);
  SHORT count = 0;
  REQUIRE(choices->Count(&count) == S_OK);
  CHECK(count == 3);
  std::string all;
  for (int position = 1; position <= count; ++position) {
    ComPtr<::_cChoice> choice;
    REQUIRE(choices->get_Item(Argument(position).get(), &choice) == S_OK);
    all += Text(choice.Get(), &::_cChoice::get_Item) + "=" +
           Text(choice.Get(), &::_cChoice::get_Description) + ";";
  }
  CHECK(all == "a=A;b=;c=See;");
  const LateBound late(choices.Get());
  CHECK(late.Try(L"Item", Arguments(0)).error == static_cast<HRESULT>(0x800A0009));
  CHECK(late.Try(L"Item", Arguments(4)).error == static_cast<HRESULT>(0x800A0009));
  CHECK(late.Try(L"Item", Arguments(L"a")).error == static_cast<HRESULT>(0x800A0005));
}

TEST_CASE("objects outlive the catalogue they came from") {
  const Apartment apartment;
  const Shop shop;
  ComPtr<::_Options> options = OpenShop(shop);
  const ComPtr<::_INIOption> option = OptionAt(options.Get(), 1);
  ComPtr<::_Reports> reports;
  REQUIRE(options->ReportTypes(&reports) == S_OK);
  const ComPtr<IEnumVARIANT> enumerator = EnumeratorOf(options.Get());
  options.Reset();
  CHECK(Text(option.Get(), &::_INIOption::get_Key) == "DataPath");
  CHECK(NextId(enumerator.Get()) == Text(option.Get(), &::_INIOption::get_ID));
  CHECK(reports->Refresh() == S_OK);
  SHORT count = 0;
  CHECK(reports->Count(&count) == S_OK);
  CHECK(count == 4);
}
