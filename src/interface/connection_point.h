// Where hosts connect their event handlers to an object.
#pragma once

#include <ocidl.h>
#include <olectl.h>

#include <initializer_list>
#include <map>

#include "automation/com_types.h"

namespace tdefault::automation {

// The one connection point of an object. Part of the object: it lives as long as its owner, whose
// references it counts. Not shared between threads, like its owner.
class ConnectionPoint final : public IConnectionPoint {
 public:
  // REQUIRES: `owner` is the object that holds this.
  ConnectionPoint(IConnectionPointContainer* owner, REFIID events) noexcept
      : owner_(owner), events_(events) {}
  virtual ~ConnectionPoint() = default;
  ConnectionPoint(const ConnectionPoint&) = delete;
  ConnectionPoint& operator=(const ConnectionPoint&) = delete;

  // Calls every connected handler, arguments in declared order. A handler connected meanwhile is
  // not called, one disconnected meanwhile no more; what a handler answers is its own business.
  void Fire(DISPID event, std::initializer_list<VARIANT> arguments) noexcept;

  STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override;
  STDMETHODIMP_(ULONG) AddRef() noexcept override { return owner_->AddRef(); }
  STDMETHODIMP_(ULONG) Release() noexcept override { return owner_->Release(); }

  STDMETHODIMP GetConnectionInterface(IID* iid) noexcept override;
  STDMETHODIMP GetConnectionPointContainer(IConnectionPointContainer** container) noexcept override;
  STDMETHODIMP Advise(IUnknown* handler, DWORD* cookie) noexcept override;
  STDMETHODIMP Unadvise(DWORD cookie) noexcept override;
  STDMETHODIMP EnumConnections(IEnumConnections** connections) noexcept override;

 private:
  IConnectionPointContainer* owner_;
  IID events_;
  std::map<DWORD, ComPtr<IDispatch>> handlers_;  // by cookie, so in the order of connection
  DWORD last_cookie_ = 0;
};

// An enumerator over the one connection point of an object.
[[nodiscard]] HRESULT EnumerateConnectionPoint(IConnectionPoint* point,
                                               IEnumConnectionPoints** points) noexcept;

}  // namespace tdefault::automation
