// What the library holds apart from its objects: the count of them, its type descriptions, and the
// surroundings of each host thread.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "automation/com_types.h"
#include "interface/host_thread.h"
#include "interface/type_description.h"

namespace tdefault::automation {

// One per loaded library. Every member may be called on any thread.
class Module {
 public:
  static Module& Instance();

  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

  // Every object, and every lock that a host takes on a class object, keeps the library loaded.
  void AddUser() noexcept { ++users_; }
  void RemoveUser() noexcept;
  [[nodiscard]] bool InUse() const noexcept { return users_ != 0; }

  // The description of an interface or class of our type library.
  [[nodiscard]] HRESULT FindType(REFGUID guid,
                                 std::shared_ptr<const TypeDescription>& type) noexcept;
  // The same, as hosts get it.
  [[nodiscard]] HRESULT GetType(REFGUID guid, ITypeInfo** type) noexcept;

  // The surroundings of the calling thread, made on first use; kept until the thread ends and,
  // beyond that, by the objects that use them.
  [[nodiscard]] std::shared_ptr<HostThread> CurrentThread();
  void ForgetCurrentThread() noexcept;

 private:
  Module() = default;

  struct GuidOrder {
    bool operator()(const GUID& left, const GUID& right) const noexcept;
  };

  std::atomic<long> users_ = 0;
  // Held for looking up only: the system's loader lock may be taken before them (the end of a
  // thread) or inside what is looked up (loading the type library).
  std::mutex types_mutex_;
  std::mutex threads_mutex_;
  // Loaded on demand and let go with the last user: when the library is unloaded, or the process
  // ends, nothing of another library may be called any more.
  std::map<GUID, std::shared_ptr<const TypeDescription>, GuidOrder> types_;
  std::map<DWORD, std::shared_ptr<HostThread>> threads_;
};

// Keeps the library loaded while it lives: a member of everything that a host can hold.
class ModuleUser {
 public:
  ModuleUser() noexcept { Module::Instance().AddUser(); }
  ~ModuleUser() { Module::Instance().RemoveUser(); }
  ModuleUser(const ModuleUser&) = delete;
  ModuleUser& operator=(const ModuleUser&) = delete;
};

// The library itself, as the system knows it, and its file.
[[nodiscard]] HMODULE ModuleHandle() noexcept;
[[nodiscard]] std::wstring ModulePath();

}  // namespace tdefault::automation
