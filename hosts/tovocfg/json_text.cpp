#include "tovocfg/json_text.h"

namespace tovocfg {

Json JsonDocument(const std::string& command) {
  return {{"format", kJsonFormat}, {"command", command}};
}

std::string Written(const Json& json, Letters letters) {
  const bool escaped = letters == Letters::kEscaped;
  return json.dump(2, ' ', escaped, Json::error_handler_t::replace) + "\n";
}

}  // namespace tovocfg
