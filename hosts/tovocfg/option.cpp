#include "tovocfg/option.h"

#include <array>

#include "tovocfg/text.h"

namespace tovocfg {

namespace {

struct TypeNames {
  const char* name;
  const char* word;
};

constexpr std::array<TypeNames, 9> kTypes = {{
    {"STRING_VALUE", "text"},
    {"NUMERIC_VALUE", "number"},
    {"BOOLEAN_VALUE", "yes/no"},
    {"CHOICE_VALUE", "choice"},
    {"PATH_VALUE", "path"},
    {"PRINTER_VALUE", "printer"},
    {"REPORT_VALUE", "report"},
    {"FONT_VALUE", "font"},
    {"INSURANCE_VALUE", "business"},
}};

// A definition may carry a code that this version does not know; it is treated as text.
const TypeNames& NamesOf(KeyType type) {
  const auto code = static_cast<std::size_t>(type);
  return code < kTypes.size() ? kTypes[code] : kTypes[0];
}

}  // namespace

bool IsSet(const Option& option) { return !SameText(option.current_value, kNotFound); }

const std::string& WholeValue(const Option& option) {
  return option.font.empty() ? option.current_value : option.font;
}

std::string Title(const Option& option) { return option.section + " / " + option.key; }

std::string TypeName(KeyType type) { return NamesOf(type).name; }

std::string TypeWord(KeyType type) { return NamesOf(type).word; }

std::string FileWord(const Option& option) { return option.local_ini ? "local" : "global"; }

const Choice* FindChoice(const Option& option, const std::string& item) {
  for (const Choice& choice : option.choices)
    if (SameText(Trimmed(choice.item), Trimmed(item))) return &choice;
  return nullptr;
}

}  // namespace tovocfg
