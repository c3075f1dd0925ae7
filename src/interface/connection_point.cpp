#include "interface/connection_point.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <vector>

#include "interface/enumerator.h"
#include "interface/guard.h"

namespace tdefault::automation {

namespace {

constexpr std::size_t kMostEventArguments = 4;

struct Connection {
  DWORD cookie;
  ComPtr<IUnknown> handler;
};

struct ConnectionPolicy {
  using Interface = IEnumConnections;
  using Element = Connection;
  using Item = CONNECTDATA;
  static void Copy(const Element& connection, Item* item) {
    item->dwCookie = connection.cookie;
    item->pUnk = ComPtr<IUnknown>(connection.handler).Detach();
  }
  static void Clear(Item* item) { item->pUnk->Release(); }
};

struct ConnectionPointPolicy {
  using Interface = IEnumConnectionPoints;
  using Element = ComPtr<IConnectionPoint>;
  using Item = IConnectionPoint*;
  static void Copy(const Element& point, Item* item) { *item = Element(point).Detach(); }
  static void Clear(Item* item) { (*item)->Release(); }
};

}  // namespace

void ConnectionPoint::Fire(DISPID event, std::initializer_list<VARIANT> arguments) noexcept {
  assert(arguments.size() <= kMostEventArguments);
  std::array<VARIANT, kMostEventArguments> reversed{};
  std::reverse_copy(arguments.begin(), arguments.end(), reversed.begin());
  DISPPARAMS parameters{reversed.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
  // By cookie, because a handler may connect and disconnect handlers, itself included.
  const DWORD last = last_cookie_;
  for (auto at = handlers_.begin(); at != handlers_.end() && at->first <= last;) {
    const DWORD cookie = at->first;
    const ComPtr<IDispatch> handler = at->second;
    Variant ignored;
    handler->Invoke(event, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters,
                    &ignored.get(), nullptr, nullptr);
    at = handlers_.upper_bound(cookie);
  }
  // A handler's failure is not the failure of the member that fired the event.
  SetErrorInfo(0, nullptr);
}

STDMETHODIMP ConnectionPoint::QueryInterface(REFIID iid, void** object) noexcept {
  if (object == nullptr) return E_POINTER;
  const bool known = iid == IID_IUnknown || iid == IID_IConnectionPoint;
  *object = known ? static_cast<IConnectionPoint*>(this) : nullptr;
  if (!known) return E_NOINTERFACE;
  AddRef();
  return S_OK;
}

STDMETHODIMP ConnectionPoint::GetConnectionInterface(IID* iid) noexcept {
  if (iid == nullptr) return E_POINTER;
  *iid = events_;
  return S_OK;
}

STDMETHODIMP ConnectionPoint::GetConnectionPointContainer(
    IConnectionPointContainer** container) noexcept {
  if (container == nullptr) return E_POINTER;
  *container = ComPtr<IConnectionPointContainer>(owner_).Detach();
  return S_OK;
}

STDMETHODIMP ConnectionPoint::Advise(IUnknown* handler, DWORD* cookie) noexcept {
  if (cookie == nullptr) return E_POINTER;
  *cookie = 0;
  if (handler == nullptr) return E_POINTER;
  // A handler answers to the event interface, or is a plain dispatch object.
  ComPtr<IDispatch> dispatch;
  if (FAILED(handler->QueryInterface(events_, dispatch.ReceiveAny())) &&
      FAILED(handler->QueryInterface(IID_PPV_ARGS(&dispatch)))) {
    return CONNECT_E_CANNOTCONNECT;
  }
  return Guard(IID_IConnectionPoint, [&] {
    handlers_.emplace(last_cookie_ + 1, std::move(dispatch));
    *cookie = ++last_cookie_;
  });
}

STDMETHODIMP ConnectionPoint::Unadvise(DWORD cookie) noexcept {
  const auto found = handlers_.find(cookie);
  if (found == handlers_.end()) return CONNECT_E_NOCONNECTION;
  // Released after it is out of the list: the handler may call back.
  const ComPtr<IDispatch> handler = std::move(found->second);
  handlers_.erase(found);
  return S_OK;
}

STDMETHODIMP ConnectionPoint::EnumConnections(IEnumConnections** connections) noexcept {
  if (connections == nullptr) return E_POINTER;
  *connections = nullptr;
  return Guard(IID_IConnectionPoint, [&] {
    auto list = std::make_shared<std::vector<Connection>>();
    for (const auto& [cookie, handler] : handlers_) list->push_back({cookie, handler});
    *connections = Enumerator<ConnectionPolicy>::Make(std::move(list)).Detach();
  });
}

HRESULT EnumerateConnectionPoint(IConnectionPoint* point, IEnumConnectionPoints** points) noexcept {
  if (points == nullptr) return E_POINTER;
  *points = nullptr;
  return Guard(IID_IConnectionPointContainer, [&] {
    auto list = std::make_shared<std::vector<ComPtr<IConnectionPoint>>>();
    list->emplace_back(point);
    *points = Enumerator<ConnectionPointPolicy>::Make(std::move(list)).Detach();
  });
}

}  // namespace tdefault::automation
