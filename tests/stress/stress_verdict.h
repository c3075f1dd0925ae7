// Whether a table holds what the processes of the stress test were told that it holds.
#pragma once

#include <string>
#include <vector>

#include "platform/platform.h"
#include "stress_worker.h"

namespace tdefault::tests {

struct Verdict {
  std::vector<std::wstring> wrong;  // empty: every acknowledged change is there once
  std::wstring summary;
};

[[nodiscard]] Verdict Judge(platform::Platform& platform, const std::wstring& folder,
                            const std::vector<WorkReport>& reports);

}  // namespace tdefault::tests
