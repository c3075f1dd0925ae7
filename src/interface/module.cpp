#include "interface/module.h"

#include <cstring>

namespace tdefault::automation {

Module& Module::Instance() {
  static Module instance;
  return instance;
}

bool Module::GuidOrder::operator()(const GUID& left, const GUID& right) const noexcept {
  return std::memcmp(&left, &right, sizeof(GUID)) < 0;
}

void Module::RemoveUser() noexcept {
  if (--users_ > 0) return;
  decltype(types_) unused;
  const std::lock_guard lock(types_mutex_);
  unused.swap(types_);
}

HRESULT Module::FindType(REFGUID guid, std::shared_ptr<const TypeDescription>& type) noexcept {
  try {
    {
      const std::lock_guard lock(types_mutex_);
      const auto known = types_.find(guid);
      if (known != types_.end()) {
        type = known->second;
        return S_OK;
      }
    }
    ComPtr<ITypeLib> library;
    const HRESULT loaded = LoadTypeLibEx(ModulePath().c_str(), REGKIND_NONE, &library);
    if (FAILED(loaded)) return loaded;
    ComPtr<ITypeInfo> found;
    const HRESULT searched = library->GetTypeInfoOfGuid(guid, &found);
    if (FAILED(searched)) return searched;
    type = std::make_shared<const TypeDescription>(std::move(found));
    const std::lock_guard lock(types_mutex_);
    types_.emplace(guid, type);
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

HRESULT Module::GetType(REFGUID guid, ITypeInfo** type) noexcept {
  if (type == nullptr) return E_POINTER;
  *type = nullptr;
  std::shared_ptr<const TypeDescription> description;
  const HRESULT found = FindType(guid, description);
  if (SUCCEEDED(found)) description->type()->QueryInterface(IID_PPV_ARGS(type));
  return found;
}

std::shared_ptr<HostThread> Module::CurrentThread() {
  const DWORD id = GetCurrentThreadId();
  {
    const std::lock_guard lock(threads_mutex_);
    const auto known = threads_.find(id);
    if (known != threads_.end()) return known->second;
  }
  // Only this thread adds its own entry.
  auto made = std::make_shared<HostThread>();
  const std::lock_guard lock(threads_mutex_);
  threads_.emplace(id, made);
  return made;
}

void Module::ForgetCurrentThread() noexcept {
  std::shared_ptr<HostThread> forgotten;
  const std::lock_guard lock(threads_mutex_);
  const auto found = threads_.find(GetCurrentThreadId());
  if (found == threads_.end()) return;
  forgotten = std::move(found->second);
  threads_.erase(found);
}

HMODULE ModuleHandle() noexcept {
  HMODULE handle = nullptr;
  GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<LPCWSTR>(&ModuleHandle), &handle);
  return handle;
}

std::wstring ModulePath() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length =
        GetModuleFileNameW(ModuleHandle(), path.data(), static_cast<DWORD>(path.size()));
    if (length < path.size()) {
      path.resize(length);
      return path;
    }
    path.resize(2 * path.size());
  }
}

}  // namespace tdefault::automation
