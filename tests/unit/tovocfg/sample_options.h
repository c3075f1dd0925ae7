// Options as a shop has them, for the tests of what is done with their values.
#pragma once

#include <string>

#include "tovocfg/option.h"

namespace tovocfg {

inline Option MakeOption(const std::string& section, const std::string& key, KeyType type,
                         const std::string& value) {
  Option option;
  option.id = section + "-" + key;
  option.section = section;
  option.key = key;
  option.type = type;
  option.current_value = value;
  return option;
}

inline Option RateOption(const std::string& value) {
  Option option = MakeOption("Tax", "Rate1", KeyType::kNumeric, value);
  option.maximum = 30;
  option.decimals = 3;
  option.default_value = "0.000";
  option.comment = "First tax rate.";
  return option;
}

inline Option ColourOption(const std::string& value) {
  Option option = MakeOption("Windows", "ColourScheme", KeyType::kChoice, value);
  option.local_ini = true;
  option.choices = {{"0", "Standard"}, {"2", "Night"}};
  option.default_value = "0";
  return option;
}

inline Option FontOption(const std::string& font) {
  Option option =
      MakeOption("Windows", "ReportFont", KeyType::kFont, font.substr(0, font.find('|')));
  option.local_ini = true;
  option.font = font;
  option.default_value = "Arial|9|0|0|0|0|0";
  return option;
}

// The key ends in the site's number.
inline Option PrinterOption(const std::string& site, const std::string& value) {
  Option option = MakeOption("Printers", "Invoice" + site, KeyType::kPrinter, value);
  option.local_ini = true;
  option.id = "Printers-Invoice";
  option.key_without_site = "Invoice";
  return option;
}

}  // namespace tovocfg
