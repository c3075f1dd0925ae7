#include "tovocfg/json_text.h"

namespace tovocfg {

Json JsonDocument(const std::string& command) {
  return {{"format", kJsonFormat}, {"command", command}};
}

std::string Written(const Json& json) {
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace tovocfg
