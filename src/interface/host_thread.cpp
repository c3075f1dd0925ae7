#include "interface/host_thread.h"

#include "interface/module.h"
#include "platform/win32/version_resource.h"
#include "tables/ado/ado_table_access.h"
#include "tables/table_access_choice.h"

namespace tdefault::automation {

HostThread::HostThread()
    : tables_(tables::MakeTableAccess(adapters_.platform(),
                                      {std::make_unique<tables::ado::AdoTableAccess>(),
                                       [] { return tables::ado::IsProviderRegistered(); }})),
      search_window_(adapters_.platform(), ModuleHandle(),
                     platform::win32::VersionResourceText(ModulePath(), L"ProductName")) {}

}  // namespace tdefault::automation
