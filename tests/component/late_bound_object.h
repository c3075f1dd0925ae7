// What the late-bound objects of the test library share.
#pragma once

#include <windows.h>
// After windows.h.
#include <oaidl.h>

#include <atomic>

namespace tdefault::component {

// Objects alive.
inline std::atomic<long> users = 0;

class LateBoundObject : public IDispatch {
 public:
  LateBoundObject() { ++users; }
  LateBoundObject(const LateBoundObject&) = delete;
  LateBoundObject& operator=(const LateBoundObject&) = delete;

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    const bool known = iid == IID_IUnknown || iid == IID_IDispatch;
    *object = known ? this : nullptr;
    if (!known) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }
  STDMETHODIMP GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return DISP_E_BADINDEX; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
    return DISP_E_UNKNOWNNAME;
  }

 protected:
  virtual ~LateBoundObject() { --users; }

 private:
  ULONG references_ = 1;
};

}  // namespace tdefault::component
