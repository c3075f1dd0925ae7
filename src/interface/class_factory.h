// The class object of Options.
#pragma once

#include "automation/com_types.h"

namespace tdefault::automation {

[[nodiscard]] HRESULT GetClassFactory(REFIID iid, void** factory) noexcept;

}  // namespace tdefault::automation
