#include "interface/host_thread.h"

#include "tables/ado/ado_table_access.h"
#include "tables/table_access_choice.h"

namespace tdefault::automation {

HostThread::HostThread()
    : tables_(tables::MakeTableAccess(adapters_.platform(),
                                      {std::make_unique<tables::ado::AdoTableAccess>(),
                                       [] { return tables::ado::IsProviderRegistered(); }})) {}

}  // namespace tdefault::automation
