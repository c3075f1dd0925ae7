// What every published object has: identity, reference count, late binding by type description,
// error and class information, and events where the class has any.
#pragma once

#include <ocidl.h>
#include <olectl.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

#include "interface/connection_point.h"
#include "interface/conversions.h"
#include "interface/dispatch.h"
#include "interface/enumerator.h"
#include "interface/guard.h"
#include "interface/module.h"

namespace tdefault::automation {

// Implements `Interface`, the dual interface of the published class `Class`, but for its members;
// those are one line each, through Answer or Perform. Lives in the apartment of its host's thread.
template <class Interface, class Class>
class AutomationObject : public Interface, public ISupportErrorInfo, public IProvideClassInfo2 {
 public:
  using DualInterface = Interface;

  AutomationObject(const AutomationObject&) = delete;
  AutomationObject& operator=(const AutomationObject&) = delete;

  STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override {
    if (object == nullptr) return E_POINTER;
    *object = Find(iid);
    if (*object == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() noexcept override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() noexcept override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

  STDMETHODIMP GetTypeInfoCount(UINT* count) noexcept override {
    if (count == nullptr) return E_POINTER;
    *count = 1;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT index, LCID, ITypeInfo** type) noexcept override {
    if (type == nullptr) return E_POINTER;
    *type = nullptr;
    if (index != 0) return DISP_E_BADINDEX;
    return Module::Instance().GetType(__uuidof(Interface), type);
  }
  STDMETHODIMP GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID,
                             DISPID* ids) noexcept override {
    if (iid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
    std::shared_ptr<const TypeDescription> type;
    const HRESULT found = Module::Instance().FindType(__uuidof(Interface), type);
    return FAILED(found) ? found : type->FindIds(names, count, ids);
  }
  STDMETHODIMP Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* arguments,
                      VARIANT* result, EXCEPINFO* exception,
                      UINT* wrong_argument) noexcept override {
    if (iid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
    const ComPtr<IUnknown> alive(Identity());
    std::shared_ptr<const TypeDescription> type;
    const HRESULT found = Module::Instance().FindType(__uuidof(Interface), type);
    if (FAILED(found)) return found;
    return InvokeMember(*type, static_cast<Interface*>(this),
                        {id, locale, flags, arguments, result, exception, wrong_argument});
  }

  STDMETHODIMP InterfaceSupportsErrorInfo(REFIID iid) noexcept override {
    return iid == __uuidof(Interface) || iid == IID_IDispatch ? S_OK : S_FALSE;
  }

  STDMETHODIMP GetClassInfo(ITypeInfo** type) noexcept override {
    return Module::Instance().GetType(__uuidof(Class), type);
  }
  STDMETHODIMP GetGUID(DWORD kind, GUID* guid) noexcept override {
    if (guid == nullptr) return E_POINTER;
    *guid = kind == GUIDKIND_DEFAULT_SOURCE_DISP_IID ? EventInterface() : GUID{};
    return *guid == GUID{} ? E_INVALIDARG : S_OK;
  }

 protected:
  AutomationObject() = default;
  virtual ~AutomationObject() = default;

  [[nodiscard]] IUnknown* Identity() noexcept { return static_cast<Interface*>(this); }

  // The interface asked for, or null.
  [[nodiscard]] virtual void* Find(REFIID iid) noexcept {
    if (iid == IID_IUnknown || iid == IID_IDispatch || iid == __uuidof(Interface))
      return static_cast<Interface*>(this);
    if (iid == IID_ISupportErrorInfo) return static_cast<ISupportErrorInfo*>(this);
    if (iid == IID_IProvideClassInfo || iid == IID_IProvideClassInfo2)
      return static_cast<IProvideClassInfo2*>(this);
    return nullptr;
  }

  // The class's event interface; null for a class without events.
  [[nodiscard]] virtual GUID EventInterface() const noexcept { return {}; }

  // Runs a member without a result. The object lives until the member is done, even when an event
  // handler lets go of it meanwhile.
  template <class Body>
  [[nodiscard]] HRESULT Perform(Body&& body) noexcept {
    const ComPtr<IUnknown> alive(Identity());
    return Guard(__uuidof(Interface), std::forward<Body>(body));
  }

  // Runs a member and hands out what it returns; on failure the result is cleared.
  template <class Result, class Body>
  [[nodiscard]] HRESULT Answer(Result* result, Body&& body) noexcept {
    if (result == nullptr) {
      SetErrorInfo(0, nullptr);
      return E_POINTER;
    }
    *result = Result{};
    return Perform([&] { Put(body(), result); });
  }

 private:
  ModuleUser module_user_;
  std::atomic<ULONG> references_ = 1;
};

// An object of a class with events.
template <class Interface, class Class, class Events>
class EventSource : public AutomationObject<Interface, Class>, public IConnectionPointContainer {
  using Base = AutomationObject<Interface, Class>;

 public:
  STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override {
    return Base::QueryInterface(iid, object);
  }
  STDMETHODIMP_(ULONG) AddRef() noexcept override { return Base::AddRef(); }
  STDMETHODIMP_(ULONG) Release() noexcept override { return Base::Release(); }

  STDMETHODIMP EnumConnectionPoints(IEnumConnectionPoints** points) noexcept override {
    return EnumerateConnectionPoint(&events_, points);
  }
  STDMETHODIMP FindConnectionPoint(REFIID iid, IConnectionPoint** point) noexcept override {
    if (point == nullptr) return E_POINTER;
    *point = nullptr;
    if (iid != __uuidof(Events)) return CONNECT_E_NOCONNECTION;
    *point = ComPtr<IConnectionPoint>(&events_).Detach();
    return S_OK;
  }

 protected:
  [[nodiscard]] void* Find(REFIID iid) noexcept override {
    if (iid == IID_IConnectionPointContainer) return static_cast<IConnectionPointContainer*>(this);
    return Base::Find(iid);
  }
  [[nodiscard]] GUID EventInterface() const noexcept override { return __uuidof(Events); }
  [[nodiscard]] ConnectionPoint& events() noexcept { return events_; }

 private:
  ConnectionPoint events_{this, __uuidof(Events)};
};

// The automation objects now shown for the core's objects, so that the same object is always shown
// as the same one while a host holds it.
template <class Core, class Object>
class Shown {
 public:
  static Shown& Instance() {
    static Shown instance;
    return instance;
  }

  ComPtr<Object> Find(const Core* core) {
    const std::lock_guard lock(mutex_);
    const auto found = objects_.find(core);
    return found == objects_.end() ? nullptr : ComPtr<Object>(found->second);
  }
  void Remember(const Core* core, Object* object) {
    const std::lock_guard lock(mutex_);
    objects_[core] = object;
  }
  void Forget(const Core* core) noexcept {
    const std::lock_guard lock(mutex_);
    objects_.erase(core);
  }

 private:
  std::mutex mutex_;
  std::unordered_map<const Core*, Object*> objects_;
};

// The automation object of a core object; null for null. `Object` is made from the core object,
// which it shares, and forgets itself (ShownObject).
template <class Object>
ComPtr<typename Object::DualInterface> Show(const std::shared_ptr<typename Object::Core>& core) {
  if (!core) return nullptr;
  auto& shown = Shown<typename Object::Core, Object>::Instance();
  ComPtr<Object> object = shown.Find(core.get());
  if (!object) {
    object.Attach(new Object(core));
    shown.Remember(core.get(), object.Get());
  }
  return object;
}

// Holds the core object of an automation object `Object` and takes it off the list at the end.
template <class CoreObject, class Object>
class ShownCore {
 public:
  explicit ShownCore(std::shared_ptr<CoreObject> core) : core_(std::move(core)) {}
  ~ShownCore() { Shown<CoreObject, Object>::Instance().Forget(core_.get()); }
  ShownCore(const ShownCore&) = delete;
  ShownCore& operator=(const ShownCore&) = delete;

  CoreObject* operator->() const noexcept { return core_.get(); }
  [[nodiscard]] const std::shared_ptr<CoreObject>& shared() const noexcept { return core_; }

 private:
  std::shared_ptr<CoreObject> core_;
};

// Enumerates core objects as their automation objects.
template <class Object>
struct ObjectPolicy {
  using Interface = IEnumVARIANT;
  using Element = std::shared_ptr<typename Object::Core>;
  using Item = VARIANT;
  static void Copy(const Element& core, Item* item) {
    VariantInit(item);
    item->pdispVal = Show<Object>(core).Detach();
    item->vt = VT_DISPATCH;
  }
  static void Clear(Item* item) { VariantClear(item); }
};

// An enumerator over the elements as they are now.
template <class Object>
ComPtr<IUnknown> Enumerate(const std::vector<std::shared_ptr<typename Object::Core>>& elements) {
  using Made = Enumerator<ObjectPolicy<Object>>;
  return Made::Make(std::make_shared<const typename Made::List>(elements));
}

}  // namespace tdefault::automation
