#include "tovocfg/file_facts.h"

#include <array>
#include <string_view>

#include "base/text.h"
#include "support/ini_values.h"
#include "tovocfg/text.h"

namespace tovocfg {

namespace {

using tdefault::platform::ProfileFiles;

// Behind the name, in the order in which a font is set. The library writes them to this section
// whatever the option's own section is.
constexpr std::array kFontPartKeys = {L"ReportFontSize",      L"ReportFontItalic",
                                      L"ReportFontUnderline", L"ReportFontStrikeThru",
                                      L"ReportFontBold",      L"ReportFontColor"};

// A part without a key is empty.
std::string FontIn(ProfileFiles& profile_files, const std::wstring& file, const std::string& name) {
  std::string font = name;
  bool any_part = false;
  for (const wchar_t* key : kFontPartKeys) {
    const std::wstring part =
        tdefault::support::ReadIniValue(profile_files, L"Windows", key, file, std::wstring());
    any_part = any_part || !part.empty();
    font.append("|").append(tdefault::ToUtf8(tdefault::TrimBlanks(part)));
  }
  return any_part ? font : std::string();
}

// Without the number at its end; empty when it does not end in it.
std::string WithoutNumber(const std::string& key, const std::string& number) {
  if (number.empty() || key.size() <= number.size() || !key.ends_with(number)) return {};
  return key.substr(0, key.size() - number.size());
}

}  // namespace

LossesOfSaving FindLosses(ProfileFiles& profile_files, const IniFiles& files,
                          const std::vector<Option>& options) {
  LossesOfSaving losses;
  for (const Option& option : options) {
    const std::wstring& file = option.local_ini ? files.local_file : files.global_file;
    if (file.empty()) continue;
    const std::wstring whole = tdefault::support::ReadIniValue(
        profile_files, tdefault::FromUtf8(option.section), tdefault::FromUtf8(option.key), file);
    const std::wstring_view value = tdefault::TrimBlanks(whole);
    const bool has_value = !tdefault::EqualIgnoringCase(value, tdefault::support::kNotFound);
    if (has_value && !IsSet(option) && losses.unread == nullptr) losses.unread = &option;
    if (value.size() > kValueCharacters) losses.shortened.push_back(&option);
  }
  return losses;
}

void AddFileFacts(ProfileFiles& profile_files, const IniFiles& files,
                  std::vector<Option>& options) {
  const std::string site = tdefault::ToUtf8(
      tdefault::TrimBlanks(tdefault::support::GetCompanyNumber(profile_files, files.local_name)));
  for (Option& option : options) {
    const std::wstring& file = option.local_ini ? files.local_file : files.global_file;
    if (option.type == KeyType::kFont && IsSet(option))
      option.font = FontIn(profile_files, file, option.current_value);
    if (option.type == KeyType::kPrinter && !SameText(option.key, "ReportDevice"))
      option.key_without_site = WithoutNumber(option.key, site);
  }
}

}  // namespace tovocfg
