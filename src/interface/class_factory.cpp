#include "interface/class_factory.h"

#include <atomic>

#include "interface/guard.h"
#include "interface/module.h"
#include "interface/options_object.h"

namespace tdefault::automation {

namespace {

ComPtr<OptionsObject> MakeOptions() {
  ComPtr<OptionsObject> made;
  made.Attach(new OptionsObject());
  return made;
}

class OptionsFactory final : public IClassFactory {
 public:
  OptionsFactory() = default;
  OptionsFactory(const OptionsFactory&) = delete;
  OptionsFactory& operator=(const OptionsFactory&) = delete;

  STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override {
    if (object == nullptr) return E_POINTER;
    const bool known = iid == IID_IUnknown || iid == IID_IClassFactory;
    *object = known ? static_cast<IClassFactory*>(this) : nullptr;
    if (!known) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() noexcept override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() noexcept override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

  STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** object) noexcept override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    ComPtr<OptionsObject> made;
    const HRESULT result = Guard(IID_IClassFactory, [&] { made = MakeOptions(); });
    return FAILED(result) ? result : made->QueryInterface(iid, object);
  }
  STDMETHODIMP LockServer(BOOL lock) noexcept override {
    if (lock != FALSE) {
      Module::Instance().AddUser();
    } else {
      Module::Instance().RemoveUser();
    }
    return S_OK;
  }

 private:
  virtual ~OptionsFactory() = default;

  ModuleUser module_user_;
  std::atomic<ULONG> references_ = 1;
};

ComPtr<IClassFactory> MakeFactory() {
  ComPtr<IClassFactory> made;
  made.Attach(new OptionsFactory());
  return made;
}

}  // namespace

HRESULT GetClassFactory(REFIID iid, void** factory) noexcept {
  ComPtr<IClassFactory> made;
  const HRESULT result = Guard(IID_IClassFactory, [&] { made = MakeFactory(); });
  return FAILED(result) ? result : made->QueryInterface(iid, factory);
}

}  // namespace tdefault::automation
