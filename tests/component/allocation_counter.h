// Leaks of memory that programs hand to each other.
#pragma once

#include <windows.h>
// After windows.h.
#include <objbase.h>

#include <atomic>

namespace tdefault::component {

// Counts what is allocated and not freed through the task allocator, texts included.
class AllocationCounter final : public IMallocSpy {
 public:
  virtual ~AllocationCounter() = default;

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    const bool known = iid == IID_IUnknown || iid == IID_IMallocSpy;
    *object = known ? this : nullptr;
    return known ? S_OK : E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return 2; }
  STDMETHODIMP_(ULONG) Release() override { return 1; }
  STDMETHODIMP_(SIZE_T) PreAlloc(SIZE_T size) override { return size; }
  STDMETHODIMP_(void*) PostAlloc(void* block) override {
    ++live_;
    ++made_;
    return block;
  }
  STDMETHODIMP_(void*) PreFree(void* block, WINBOOL) override {
    if (block != nullptr) --live_;
    return block;
  }
  STDMETHODIMP_(void) PostFree(WINBOOL) override {}
  STDMETHODIMP_(SIZE_T)
  PreRealloc(void* block, SIZE_T size, void** new_block, WINBOOL) override {
    if (block == nullptr) ++live_;
    *new_block = block;
    return size;
  }
  STDMETHODIMP_(void*) PostRealloc(void* block, WINBOOL) override { return block; }
  STDMETHODIMP_(void*) PreGetSize(void* block, WINBOOL) override { return block; }
  STDMETHODIMP_(SIZE_T) PostGetSize(SIZE_T size, WINBOOL) override { return size; }
  STDMETHODIMP_(void*) PreDidAlloc(void* block, WINBOOL) override { return block; }
  STDMETHODIMP_(int) PostDidAlloc(void*, WINBOOL, int actual) override { return actual; }
  STDMETHODIMP_(void) PreHeapMinimize() override {}
  STDMETHODIMP_(void) PostHeapMinimize() override {}

  [[nodiscard]] long live() const { return live_; }
  [[nodiscard]] long made() const { return made_; }

 private:
  std::atomic<long> live_ = 0;
  std::atomic<long> made_ = 0;
};

}  // namespace tdefault::component
