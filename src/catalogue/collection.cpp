// The catalogue as a collection of options, and what is known of the library itself.
#include "base/error.h"
#include "base/text.h"
#include "catalogue/Options.h"
#include "catalogue/choice_text.h"
#include "catalogue/version_text.h"
#include "support/guid.h"
#include "support/ini_values.h"
#include "support/locations.h"
#include "version.h"

namespace tdefault::catalogue {

std::shared_ptr<records::INIOption> Options::Item(const Value& index) const {
  constexpr const wchar_t* kSource = L":Item";
  if (const auto* id = std::get_if<std::wstring>(&index)) return options_.At(*id, kSource);
  const std::int32_t position = ToLong(index, kSource);
  // Here a position that does not exist is an invalid argument, as an unknown ID is.
  if (position < 1 || static_cast<std::size_t>(position) > options_.elements().size())
    throw InvalidArgument(kSource);
  return options_.At(position, kSource);
}

std::int16_t Options::Count() const { return options_.Count(L":Count"); }

std::shared_ptr<records::INIOption> Options::Add(const NewOption& definition) {
  auto option = std::make_shared<records::INIOption>();
  const std::wstring id = support::CGetGUID(platform_.guid_source).GetGUID();
  if (id.empty())
    throw Error(error_number::kNoIdentifier, L":Add",
                L"The system could not make an identifier for the new option; try again.");
  option->SetID(id);
  option->SetLocalINI(definition.local_ini);
  option->SetOptionType(definition.option_type);
  option->SetSection(definition.section);
  // The key is not trimmed before the site's number goes behind it, unlike when loading.
  const bool per_site = definition.option_type == records::KEY_TYPE::PRINTER_VALUE &&
                        !EqualIgnoringCase(definition.key, L"ReportDevice");
  option->SetKey(per_site
                     ? definition.key + support::GetCompanyNumber(platform_.profile_files,
                                                                  support::LocalIniName(location_))
                     : definition.key);
  option->SetLinkedfield(definition.linkedfield);
  option->SetChoices(TextToChoices(definition.choices));
  option->SetComment(definition.comment);
  option->SetMinimum(definition.minimum);
  option->SetMaximum(definition.maximum);
  option->SetDecimals(definition.decimals);
  option->SetDefault(definition.default_value);
  options_.Append(option, option->ID(), L":Add");
  return option;
}

std::wstring Options::Version() const {
  return VersionText(TDEFAULT_VERSION_MAJOR, TDEFAULT_VERSION_MINOR, TDEFAULT_VERSION_REVISION);
}

}  // namespace tdefault::catalogue
