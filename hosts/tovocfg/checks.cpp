#include "tovocfg/checks.h"

#include <cstddef>
#include <string_view>

#include "tovocfg/text.h"
#include "tovocfg/value_meaning.h"

namespace tovocfg {

namespace {

constexpr std::size_t kFontParts = 7;

CheckedValue Accept(std::string value) { return {std::move(value), {}, false}; }

// Because of what the option's definition says.
CheckedValue Refuse(std::string why) { return {{}, std::move(why), true}; }

// -1, 0 or 1 as the number is below, at or above the bound.
int Compare(const Decimal& number, int bound) {
  const Decimal other = ReadDecimal(std::to_string(bound));
  if (number.negative != other.negative) return number.negative ? -1 : 1;
  int order = 0;
  if (number.whole.size() != other.whole.size())
    order = number.whole.size() < other.whole.size() ? -1 : 1;
  else if (number.whole != other.whole)
    order = number.whole < other.whole ? -1 : 1;
  else if (!number.fraction.empty())
    order = 1;
  return number.negative ? -order : order;
}

CheckedValue CheckNumber(const Option& option, const std::string& given) {
  const Decimal number = ReadDecimal(given);
  if (!number.valid)
    return Refuse(Quoted(given) + " is not a number; write it with digits and a decimal point; " +
                  "allowed is " + AllowedValues(option));
  if (number.decimals > static_cast<std::size_t>(option.decimals < 0 ? 0 : option.decimals)) {
    return Refuse(given + " has " + std::to_string(number.decimals) +
                  (number.decimals == 1 ? " decimal" : " decimals") + "; allowed is " +
                  AllowedValues(option));
  }
  const bool bounded = option.minimum != 0 || option.maximum != 0;
  if (bounded && (Compare(number, option.minimum) < 0 || Compare(number, option.maximum) > 0))
    return Refuse(given + " is out of range; allowed is " + AllowedValues(option));
  return Accept(given);
}

CheckedValue CheckBoolean(const Option& option, const std::string& given) {
  const TruthPair* given_pair = PairOf(given);
  if (given_pair == nullptr)
    return Refuse(Quoted(given) + " is neither yes nor no; write True or False");
  const TruthPair* pair = PairOf(option.current_value);
  if (pair == nullptr) pair = PairOf(option.default_value);
  if (pair == nullptr) pair = &kUsualTruth;
  return Accept(SameText(given, given_pair->yes) ? pair->yes : pair->no);
}

CheckedValue CheckChoice(const Option& option, const std::string& given) {
  if (option.choices.empty() && option.type == KeyType::kChoice) return Accept(given);
  if (const Choice* choice = FindChoice(option, given)) return Accept(Trimmed(choice->item));
  for (const Choice& choice : option.choices)
    if (!choice.description.empty() && SameText(Trimmed(choice.description), given))
      return Accept(Trimmed(choice.item));
  if (option.choices.empty())
    return Refuse("this site has no customer business types, so no value can be chosen");
  return Refuse(Quoted(given) + " is not one of the choices; allowed is " + AllowedValues(option));
}

bool IsFullPath(std::string_view path) {
  if (path.starts_with("\\\\")) return true;
  return path.size() > 2 && path[1] == ':' && (path[2] == '\\' || path[2] == '/');
}

// Empty when the folder can be used. A wrong one would keep every program of the workstation from
// starting, the editor that could put it right among them.
std::string DataFolderProblem(const std::string& path, const Surroundings& surroundings) {
  if (path.empty()) return "no folder is named";
  if (!IsFullPath(path)) return path + " is not a full path";
  return surroundings.data_folder_problem ? surroundings.data_folder_problem(path) : std::string();
}

CheckedValue CheckPath(const Option& option, const std::string& given,
                       const Surroundings& surroundings) {
  const std::size_t found = given.find_first_of("<>\"|?*");
  if (found != std::string::npos)
    return Refuse("a path cannot contain the character " + given.substr(found, 1));
  const bool is_data_folder =
      option.local_ini && SameText(option.section, "Defaults") && SameText(option.key, "DataPath");
  if (!is_data_folder || SameText(given, option.current_value)) return Accept(given);
  const std::string problem = DataFolderProblem(given, surroundings);
  if (problem.empty()) return Accept(given);
  return Refuse(problem + "; without its data folder no program of this workstation would start");
}

CheckedValue CheckReport(const std::string& given, const std::vector<std::string>& names) {
  std::string list;
  for (const std::string& name : names) {
    if (SameText(name, given)) return Accept(name);
    list += (list.empty() ? "" : ", ") + name;
  }
  return Refuse(Quoted(given) + " is not a report layout; allowed is one of: " + list);
}

CheckedValue CheckFont(const std::string& given) {
  const std::vector<std::string> parts = Split(given, '|');
  if (parts.size() != kFontParts) {
    return Refuse(
        "a font has 7 parts: name|size|italic|underline|strike through|bold|colour, for "
        "example Arial|10|0|0|0|1|0");
  }
  if (Trimmed(parts[0]).empty()) return Refuse("the font has no name");
  const Decimal size = ReadDecimal(parts[1]);
  if (!size.valid || Compare(size, 1) < 0 || Compare(size, 200) > 0)
    return Refuse(Quoted(parts[1]) + " is not a font size; allowed is 1 to 200");
  for (std::size_t part = 2; part < 6; ++part)
    if (PairOf(parts[part]) == nullptr)
      return Refuse(Quoted(parts[part]) + " (part " + std::to_string(part + 1) +
                    " of the font) is neither yes nor no; write 1 or 0");
  const Decimal colour = ReadDecimal(parts[6]);
  if (!colour.valid || colour.decimals != 0)
    return Refuse(Quoted(parts[6]) + " is not a colour number");
  return Accept(given);
}

// What holds for a value of any kind, because of the files it is stored in.
std::string RefusalOfText(const std::string& value, const Surroundings& surroundings) {
  if (CountCharacters(value) > kValueCharacters)
    return "the value has " + std::to_string(CountCharacters(value)) + " characters; at most " +
           std::to_string(kValueCharacters);
  for (const char character : value)
    if (static_cast<unsigned char>(character) < 0x20 || character == 0x7F)
      return "the value contains a control character, which an INI file cannot hold";
  if (SameText(value, kNotFound))
    return "\"Not found\" stands for a key without a value and cannot be one";
  const bool quoted = value.size() >= 2 && value.front() == value.back() &&
                      (value.front() == '"' || value.front() == '\'');
  if (quoted) return "the quotation marks around the value would be lost; leave them out";
  if (!surroundings.can_be_stored || surroundings.can_be_stored(value)) return {};
  for (const char32_t character : Characters(value)) {
    const std::string one = FromCharacters({&character, 1});
    if (!surroundings.can_be_stored(one))
      return "the value contains the character " + one +
             ", which the code page of the INI file does not have";
  }
  return "the value contains characters that the code page of the INI file does not have";
}

}  // namespace

CheckedValue CheckValue(const Option& option, const std::string& given,
                        const Surroundings& surroundings) {
  const std::string value = Trimmed(given);
  const std::string refusal = RefusalOfText(value, surroundings);
  if (!refusal.empty()) return {{}, refusal, false};
  switch (option.type) {
    case KeyType::kNumeric:
      return CheckNumber(option, value);
    case KeyType::kBoolean:
      return CheckBoolean(option, value);
    case KeyType::kChoice:
    case KeyType::kInsurance:
      return CheckChoice(option, value);
    case KeyType::kPath:
      return CheckPath(option, value, surroundings);
    case KeyType::kReport:
      return CheckReport(value, surroundings.report_names);
    case KeyType::kFont:
      return CheckFont(value);
    case KeyType::kString:
    case KeyType::kPrinter:
      break;
  }
  return Accept(value);
}

std::string AllowedValues(const Option& option) {
  std::string allowed;
  if (option.type == KeyType::kNumeric) {
    if (option.minimum != 0 || option.maximum != 0)
      allowed = std::to_string(option.minimum) + " to " + std::to_string(option.maximum) + ", ";
    return allowed + (option.decimals <= 0 ? "whole numbers"
                                           : "at most " + std::to_string(option.decimals) +
                                                 (option.decimals == 1 ? " decimal" : " decimals"));
  }
  for (const Choice& choice : option.choices) {
    const std::string description = Trimmed(choice.description);
    allowed.append(allowed.empty() ? "one of: " : ", ").append(Trimmed(choice.item));
    if (!description.empty()) allowed.append(" (").append(description).append(")");
  }
  return allowed;
}

std::string RefusalLines(const Option& option, const CheckedValue& checked) {
  std::string lines = Title(option) + ": " + checked.refusal + "\n";
  if (checked.comment_helps)
    for (const std::string& line : Lines(option.comment)) lines += "  " + Trimmed(line) + "\n";
  return lines;
}

}  // namespace tovocfg
