// The file that `export` writes and that `import` and `diff` read: the values of options as JSON.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tovocfg/json_text.h"
#include "tovocfg/option.h"
#include "tovocfg/output.h"
#include "tovocfg/selection.h"

namespace tovocfg {

// What stands for standard input in place of a file.
inline constexpr const char* kStandardInput = "-";

// One option of the file. What names it is in the file as in the catalogue that it comes from.
struct Setting {
  std::string id;
  bool local_ini = false;
  std::string section;
  std::string key;
  std::string key_without_site;  // of a key that ends in the site's number
  std::string type;              // the name of its KEY_TYPE
  std::optional<std::string>
      value;                // as the library gives it; absent: its INI file has no such key
  std::string font;         // all seven parts of a font, where they are known
  std::string description;  // of the choice that the value is
};

struct ExchangeFile {
  std::string exported;  // when, as 2026-01-31T08:00:00Z
  std::string product_version;
  std::string data_folder;
  long site = 0;
  std::string only_section;  // what the export was restricted to; empty: every section
  Scope only_file = Scope::kBoth;
  std::vector<Setting> options;
};

[[nodiscard]] Setting SettingOf(const Option& option);

// "Tax / Rate1 (global)".
[[nodiscard]] std::string Title(const Setting& setting);

// Sorted by section, key and file, whatever the order of the definitions is.
[[nodiscard]] std::vector<Setting> SortedSettings(const std::vector<const Option*>& options);

// One member on each line, so that versions of the file can be compared line by line. Ends in a
// line break.
[[nodiscard]] std::string ExchangeToJson(const ExchangeFile& file, Letters letters);

struct ReadExchange {
  ExchangeFile file;
  // Why it cannot be used; empty when it can. The first may begin with "line 3, column 5: ".
  std::vector<std::string> problems;
};

// UTF-8 with or without its mark, or UTF-16, which shells and editors make of it.
[[nodiscard]] ReadExchange ReadExchangeFile(std::string_view bytes);

// The option here that a setting is about: of the same file, section and key, which for a key with
// the site's number is the one of the site here. Of several the one with the same ID counts. The
// problem is empty when there is just no such option.
[[nodiscard]] Selection FindSetting(const std::vector<Option>& options, const Setting& setting);

}  // namespace tovocfg
