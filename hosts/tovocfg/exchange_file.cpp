#include "tovocfg/exchange_file.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <set>
#include <tuple>
#include <utility>

#include "tovocfg/json_text.h"
#include "tovocfg/text.h"

namespace tovocfg {

namespace {

constexpr const char* kFormat = "tovocfg export";
constexpr int kFormatVersion = 1;

Json JsonOfSetting(const Setting& setting) {
  Json json = {{"section", setting.section}, {"key", setting.key}};
  if (!setting.key_without_site.empty()) json["keyWithoutSite"] = setting.key_without_site;
  json["file"] = setting.local_ini ? "local" : "global";
  json["type"] = setting.type;
  json["value"] = setting.value ? Json(*setting.value) : Json(nullptr);
  if (!setting.font.empty()) json["font"] = setting.font;
  if (!setting.description.empty()) json["description"] = setting.description;
  json["id"] = setting.id;
  return json;
}

std::string LowerCased(const std::string& text) {
  std::string lower = text;
  for (char& character : lower)
    if (character >= 'A' && character <= 'Z') character = static_cast<char>(character + 0x20);
  return lower;
}

// "line 3, column 5": of the last byte that was read, which is counted from 1.
std::string PlaceOf(std::string_view bytes, std::size_t read) {
  const std::string_view before = bytes.substr(0, read == 0 ? 0 : std::min(read, bytes.size()) - 1);
  const auto line = std::count(before.begin(), before.end(), '\n') + 1;
  const std::size_t line_start = before.rfind('\n') + 1;  // 0 when there is none
  return "line " + std::to_string(line) + ", column " +
         std::to_string(CountCharacters(before.substr(line_start)) + 1);
}

// What the parser complains about, without its own numbers and place. It repeats what it has read
// last, which may be everything.
std::string ReasonOf(const Json::parse_error& error) {
  constexpr std::size_t kLongest = 160;
  const std::string text = error.what();
  if (text.find("ill-formed UTF-8") != std::string::npos)
    return "a character is not UTF-8; save the file as UTF-8";
  const std::size_t column = text.find(", column ");
  const std::size_t start = text.find(": ", column == std::string::npos ? 0 : column);
  return "this is not well-formed JSON: " +
         Shortened(start == std::string::npos ? text : text.substr(start + 2), kLongest);
}

// The names of every object that is open, to find those that stand there twice: the parser would
// take the last one.
class MemberNames {
 public:
  // Called for every step of the parser.
  bool Step(Json::parse_event_t event, const Json& parsed) {
    if (event == Json::parse_event_t::object_start) open_.emplace_back();
    if (event == Json::parse_event_t::object_end) open_.pop_back();
    if (event == Json::parse_event_t::key) {
      const auto name = parsed.get<std::string>();
      if (!open_.back().insert(name).second && twice_.empty()) twice_ = name;
    }
    return true;
  }

  // The first one; empty when there is none.
  [[nodiscard]] const std::string& twice() const { return twice_; }

 private:
  std::vector<std::set<std::string>> open_;
  std::string twice_;
};

// A number or a truth as it stands there; of what holds others only what it is.
std::string KindOf(const Json& json) {
  if (json.is_array()) return "a list";
  return json.is_object() ? "an object" : json.dump();
}

// Takes the members of a parsed file out, and notes what is missing or of another kind.
class ExchangeReader {
 public:
  explicit ExchangeReader(ReadExchange& read) : read_(read) {}

  void Read(const Json& json) {
    if (!json.is_object() || !json.contains("format") || json["format"] != kFormat) {
      Problem("this is no file of 'tovocfg export': its member \"format\" is not \"" +
              std::string(kFormat) + "\"");
      return;
    }
    if (!IsKnownVersion(json)) return;
    ExchangeFile& file = read_.file;
    file.exported = OptionalText(json, "exported", "");
    file.product_version = OptionalText(json, "productVersion", "");
    file.data_folder = OptionalText(json, "dataFolder", "");
    file.only_section = OptionalText(json, "onlySection", "");
    ReadSite(json);
    ReadOnlyFile(json);
    const auto options = json.find("options");
    if (options == json.end() || !options->is_array()) {
      Problem("the member \"options\" with the list of options is missing");
      return;
    }
    std::size_t position = 0;
    for (const Json& option : *options) ReadOption(option, ++position);
  }

 private:
  void Problem(std::string text) { read_.problems.push_back(std::move(text)); }

  bool IsKnownVersion(const Json& json) {
    const auto version = json.find("formatVersion");
    if (version == json.end()) {
      Problem("the member \"formatVersion\" with the number of the format is missing");
      return false;
    }
    if (!version->is_number_integer() || *version < 1) {
      Problem(
          "the member \"formatVersion\" must be the number of the format, a whole number from "
          "1 on without quotation marks");
      return false;
    }
    if (*version > kFormatVersion) {
      Problem("the file has format version " + version->dump() + ", and this program knows " +
              std::to_string(kFormatVersion) +
              "; use the tovocfg that wrote it, or a newer one than this");
      return false;
    }
    return true;
  }

  void ReadSite(const Json& json) {
    const auto site = json.find("site");
    if (site == json.end()) return;
    constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();
    const bool fits = site->is_number_unsigned()
                          ? site->get<std::uint64_t>() <= std::uint64_t{kLargest}
                          : site->is_number_integer() && site->get<std::int64_t>() >= -kLargest;
    if (fits)
      read_.file.site = site->get<long>();
    else
      Problem("\"site\" must be the site's number");
  }

  void ReadOnlyFile(const Json& json) {
    const std::string only = OptionalText(json, "onlyFile", "");
    if (only.empty()) return;
    if (only != "local" && only != "global")
      Problem("\"onlyFile\" is \"" + only + "\"; it must be \"local\" or \"global\"");
    read_.file.only_file = only == "local" ? Scope::kLocal : Scope::kGlobal;
  }

  // Empty when there is none.
  std::string OptionalText(const Json& json, const char* name, const std::string& where) {
    const auto member = json.find(name);
    if (member == json.end() || member->is_null()) return {};
    if (member->is_string()) return member->get<std::string>();
    Problem(where + "\"" + name + "\" must be a text in quotation marks");
    return {};
  }

  std::string RequiredText(const Json& json, const char* name, const std::string& where) {
    const std::size_t before = read_.problems.size();
    std::string text = Trimmed(OptionalText(json, name, where));
    if (text.empty() && read_.problems.size() == before)
      Problem(where + "\"" + name + "\" is missing");
    return text;
  }

  void ReadOption(const Json& json, std::size_t position) {
    std::string where = "option " + std::to_string(position) + " of the file: ";
    if (!json.is_object()) {
      Problem(where + "it is no object in braces");
      return;
    }
    Setting setting;
    setting.section = RequiredText(json, "section", where);
    setting.key = RequiredText(json, "key", where);
    if (!setting.section.empty() && !setting.key.empty())
      where = "option " + std::to_string(position) + " of the file, " + setting.section + " / " +
              setting.key + ": ";
    const std::string file = RequiredText(json, "file", where);
    if (!file.empty() && file != "local" && file != "global")
      Problem(where + "\"file\" is \"" + file + "\"; it must be \"local\" or \"global\"");
    setting.local_ini = file == "local";
    setting.key_without_site = Trimmed(OptionalText(json, "keyWithoutSite", where));
    setting.type = OptionalText(json, "type", where);
    setting.font = Trimmed(OptionalText(json, "font", where));
    setting.description = OptionalText(json, "description", where);
    setting.id = Trimmed(OptionalText(json, "id", where));
    ReadValue(json, where, setting);
    read_.file.options.push_back(std::move(setting));
  }

  void ReadValue(const Json& json, const std::string& where, Setting& setting) {
    const auto value = json.find("value");
    if (value == json.end())
      Problem(where + "\"value\" is missing; write null where there is none");
    else if (value->is_string())
      setting.value = Trimmed(value->get<std::string>());
    else if (!value->is_null())
      Problem(where + "\"value\" is " + KindOf(*value) +
              "; it must be a text in quotation marks, or null");
    if (setting.font.empty()) return;
    const std::string name = Trimmed(setting.font.substr(0, setting.font.find('|')));
    if (!setting.value || !SameText(*setting.value, name))
      Problem(where + "\"value\" and the first part of \"font\" differ; make them agree");
  }

  ReadExchange& read_;
};

// The text without a mark of its encoding, as UTF-8. JSON begins with a character of ASCII, which
// tells UTF-16 that has no mark.
std::string AsUtf8(std::string_view bytes) {
  constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
  if (bytes.starts_with(kUtf8Mark)) return std::string(bytes.substr(kUtf8Mark.size()));
  if (bytes.starts_with("\xFF\xFE")) return FromUtf16(bytes.substr(2), ByteOrder::kLowFirst);
  if (bytes.starts_with("\xFE\xFF")) return FromUtf16(bytes.substr(2), ByteOrder::kHighFirst);
  if (bytes.size() < 2 || (bytes[0] == '\0') == (bytes[1] == '\0')) return std::string(bytes);
  return FromUtf16(bytes, bytes[0] == '\0' ? ByteOrder::kHighFirst : ByteOrder::kLowFirst);
}

// The key that all sites share, where the site's number is a part of it.
const std::string& SharedKey(const std::string& key, const std::string& key_without_site) {
  return key_without_site.empty() ? key : key_without_site;
}

}  // namespace

Setting SettingOf(const Option& option) {
  Setting setting;
  setting.id = option.id;
  setting.local_ini = option.local_ini;
  setting.section = option.section;
  setting.key = option.key;
  setting.key_without_site = option.key_without_site;
  setting.type = TypeName(option.type);
  if (!IsSet(option)) return setting;
  setting.value = option.current_value;
  setting.font = option.font;
  if (const Choice* choice = FindChoice(option, option.current_value))
    setting.description = Trimmed(choice->description);
  return setting;
}

std::string Title(const Setting& setting) {
  return setting.section + " / " + setting.key + (setting.local_ini ? " (local)" : " (global)");
}

std::vector<Setting> SortedSettings(const std::vector<const Option*>& options) {
  std::vector<Setting> settings;
  settings.reserve(options.size());
  for (const Option* option : options) settings.push_back(SettingOf(*option));
  const auto order = [](const Setting& setting) {
    return std::make_tuple(LowerCased(setting.section), LowerCased(setting.key), setting.local_ini,
                           setting.id);
  };
  std::sort(settings.begin(), settings.end(),
            [&](const Setting& a, const Setting& b) { return order(a) < order(b); });
  return settings;
}

std::string ExchangeToJson(const ExchangeFile& file, Letters letters) {
  Json json = {{"format", kFormat},
               {"formatVersion", kFormatVersion},
               {"productVersion", file.product_version},
               {"exported", file.exported},
               {"dataFolder", file.data_folder},
               {"site", file.site}};
  if (!file.only_section.empty()) json["onlySection"] = file.only_section;
  if (file.only_file != Scope::kBoth)
    json["onlyFile"] = file.only_file == Scope::kLocal ? "local" : "global";
  json["options"] = Json::array();
  for (const Setting& setting : file.options) json["options"].push_back(JsonOfSetting(setting));
  return Written(json, letters);
}

ReadExchange ReadExchangeFile(std::string_view bytes) {
  ReadExchange read;
  MemberNames names;
  const std::string text = AsUtf8(bytes);
  Json json;
  try {
    json = Json::parse(text, [&names](int /*depth*/, Json::parse_event_t event, Json& parsed) {
      return names.Step(event, parsed);
    });
  } catch (const Json::parse_error& error) {
    read.problems.push_back(PlaceOf(text, error.byte) + ": " + ReasonOf(error));
    return read;
  } catch (const Json::exception& error) {
    read.problems.push_back(std::string("this JSON cannot be read: ") + error.what());
    return read;
  }
  if (!names.twice().empty()) {
    read.problems.push_back("the member \"" + names.twice() +
                            "\" stands twice in one object; keep one of them");
    return read;
  }
  ExchangeReader(read).Read(json);
  return read;
}

Selection FindSetting(const std::vector<Option>& options, const Setting& setting) {
  std::vector<const Option*> found;
  const std::string& shared = SharedKey(setting.key, setting.key_without_site);
  for (const bool shared_key : {true, false}) {
    for (const Option& option : options) {
      const std::string& key =
          shared_key ? SharedKey(option.key, option.key_without_site) : option.key;
      if (option.local_ini == setting.local_ini && SameText(option.section, setting.section) &&
          SameText(key, shared_key ? shared : setting.key))
        found.push_back(&option);
    }
    if (!found.empty()) break;
  }
  Selection selection;
  if (found.empty()) return selection;
  for (const Option* option : found)
    if (found.size() == 1 || SameText(option->id, setting.id)) selection.option = option;
  if (selection.option == nullptr) {
    selection.ambiguous = true;
    selection.problem = "several options here are called so, and none has the ID of the file";
  }
  return selection;
}

}  // namespace tovocfg
