#include "interface/host_thread.h"

#include "tables/table_access_choice.h"

namespace tdefault::automation {

HostThread::HostThread() : tables_(tables::MakeTableAccess(adapters_.platform())) {}

}  // namespace tdefault::automation
