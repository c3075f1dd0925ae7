// Enumerators over a list that does not change while they live.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "automation/com_types.h"
#include "interface/guard.h"
#include "interface/module.h"

namespace tdefault::automation {

// An enumerator with the interface `Policy::Interface` (IEnumVARIANT and its kind) over elements
// of the type `Policy::Element`, handed out as `Policy::Item` by Policy::Copy, which may throw, and
// taken back by Policy::Clear.
template <class Policy>
class Enumerator final : public Policy::Interface {
 public:
  using Interface = typename Policy::Interface;
  using Item = typename Policy::Item;
  using List = std::vector<typename Policy::Element>;

  static ComPtr<Interface> Make(std::shared_ptr<const List> list, std::size_t next = 0) {
    ComPtr<Interface> made;
    made.Attach(new Enumerator(std::move(list), next));
    return made;
  }

  STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override {
    if (object == nullptr) return E_POINTER;
    const bool known = iid == IID_IUnknown || iid == __uuidof(Interface);
    *object = known ? static_cast<Interface*>(this) : nullptr;
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

  STDMETHODIMP Next(ULONG count, Item* items, ULONG* fetched) noexcept override {
    if (fetched != nullptr) *fetched = 0;
    if (items == nullptr) return E_POINTER;
    const auto available = static_cast<ULONG>(std::min<std::size_t>(count, list_->size() - next_));
    ULONG filled = 0;
    const HRESULT copied = Guard(__uuidof(Interface), [&] {
      for (; filled < available; ++filled) Policy::Copy((*list_)[next_ + filled], &items[filled]);
    });
    if (FAILED(copied)) {
      while (filled > 0) Policy::Clear(&items[--filled]);
      return copied;
    }
    next_ += available;
    if (fetched != nullptr) *fetched = available;
    return available == count ? S_OK : S_FALSE;
  }

  STDMETHODIMP Skip(ULONG count) noexcept override {
    const std::size_t left = list_->size() - next_;
    next_ += std::min<std::size_t>(count, left);
    return count <= left ? S_OK : S_FALSE;
  }

  STDMETHODIMP Reset() noexcept override {
    next_ = 0;
    return S_OK;
  }

  STDMETHODIMP Clone(Interface** copy) noexcept override {
    if (copy == nullptr) return E_POINTER;
    *copy = nullptr;
    return Guard(__uuidof(Interface), [&] { *copy = Make(list_, next_).Detach(); });
  }

 private:
  Enumerator(std::shared_ptr<const List> list, std::size_t next)
      : list_(std::move(list)), next_(next) {}
  virtual ~Enumerator() = default;

  ModuleUser module_user_;
  std::atomic<ULONG> references_ = 1;
  std::shared_ptr<const List> list_;
  std::size_t next_;
};

}  // namespace tdefault::automation
