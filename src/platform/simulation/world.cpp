#include "platform/simulation/world.h"

#include "platform/simulation/path_rules.h"

namespace tdefault::platform::simulation {

SystemResult<std::wstring> World::Resolve(std::wstring_view path) const {
  return ResolvePath(code_page.Decode(code_page.Encode(path)), current_folder);
}

}  // namespace tdefault::platform::simulation
