// Listens to the events of an Options object.
#pragma once

#include <windows.h>
// After windows.h.
#include <oaidl.h>

#include <atomic>
#include <functional>
#include <string>

namespace tovocfg {

struct OptionsListener {
  std::function<void()> modified;
  std::function<void(const std::wstring& program_status)> status;
  std::function<void(long number, const std::wstring& description)> dll_error;
};

// The dispatch interface __Options, as a connection point calls it. Counted by its references;
// starts with one.
class EventSink final : public IDispatch {
 public:
  explicit EventSink(OptionsListener listener) : listener_(std::move(listener)) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override;

  // Callers know the members by number; nothing is looked up by name.
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale,
                                          DISPID* ids) override;
  HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID iid, LCID locale, WORD flags,
                                   DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* error,
                                   UINT* bad_argument) override;

 private:
  ~EventSink() = default;

  OptionsListener listener_;
  std::atomic<ULONG> references_ = 1;
};

}  // namespace tovocfg
