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

// As text that ends in a line break. Text that is not UTF-8 does not end the program: such bytes
// are replaced.
[[nodiscard]] std::string Written(const Json& json);

}  // namespace tovocfg
