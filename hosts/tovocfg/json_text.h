// What every JSON that tovocfg writes has in common; README.md beside this file describes the rest.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace tovocfg {

using Json = nlohmann::ordered_json;

// Raised when a key goes or changes its meaning; keys that are added leave it as it is.
inline constexpr int kJsonFormat = 1;

// The beginning of a document: its format and the command that wrote it.
[[nodiscard]] Json JsonDocument(const std::string& command);

// How characters outside ASCII stand in a JSON text.
enum class Letters {
  kEscaped,  // as \u00E9: shells that pass a text on in another encoding cannot change them
  kUtf8      // as they are, for people to read
};

// As text that ends in a line break. Text that is not UTF-8 does not end the program: such bytes
// are replaced.
[[nodiscard]] std::string Written(const Json& json, Letters letters = Letters::kEscaped);

}  // namespace tovocfg
