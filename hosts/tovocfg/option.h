// What tovocfg knows about one option: a copy of the library's record in UTF-8, without COM.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace tovocfg {

// The library's KEY_TYPE; the numbers are part of its interface.
enum class KeyType {
  kString = 0,
  kNumeric = 1,
  kBoolean = 2,
  kChoice = 3,
  kPath = 4,
  kPrinter = 5,
  kReport = 6,
  kFont = 7,
  kInsurance = 8,
};

struct Choice {
  std::string item;
  std::string description;
};

struct Option {
  std::string id;
  bool local_ini = false;
  std::string section;
  std::string key;
  std::string linked_field;
  KeyType type = KeyType::kString;
  std::vector<Choice> choices;
  int minimum = 0;
  int maximum = 0;
  int decimals = 0;
  std::string default_value;
  std::string comment;
  std::string current_value;
  std::string additional_proc;
  bool commented = false;

  // What the program reads from the INI files itself.
  std::string font;              // all seven parts of a font, as they are set; else empty
  std::string key_without_site;  // of a key that ends in the site's number; else empty
};

// The library reads this text for a key that its INI file does not hold.
inline constexpr const char* kNotFound = "Not found";

// What the library keeps of a value; it cuts longer ones when it loads and saves them.
inline constexpr std::size_t kValueCharacters = 80;

[[nodiscard]] bool IsSet(const Option& option);

// The value as it is set: of a font all its parts where they are known, of others the value that
// the library gives.
[[nodiscard]] const std::string& WholeValue(const Option& option);

// "Tax / Rate1".
[[nodiscard]] std::string Title(const Option& option);

// "NUMERIC_VALUE", and "number" as people say.
[[nodiscard]] std::string TypeName(KeyType type);
[[nodiscard]] std::string TypeWord(KeyType type);

// "local" or "global".
[[nodiscard]] std::string FileWord(const Option& option);

// Null when the option has no such choice; compares without regard to case.
[[nodiscard]] const Choice* FindChoice(const Option& option, const std::string& item);

}  // namespace tovocfg
