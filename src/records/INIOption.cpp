#include "records/INIOption.h"

namespace tdefault::records {

void INIOption::SetModified(bool modified) {
  modified_ = modified;
  if (listener_) listener_(modified);
}

}  // namespace tdefault::records
