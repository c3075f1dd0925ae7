#include "interface/guard.h"

#include <new>
#include <string>

#include "base/error.h"
#include "base/text.h"

namespace tdefault::automation {

namespace {

// A host that gets no error information still gets the result code, so failing here is harmless.
void LeaveErrorInformation(REFIID iid, const wchar_t* source, const wchar_t* description) noexcept {
  ComPtr<ICreateErrorInfo> made;
  ComPtr<IErrorInfo> information;
  if (FAILED(CreateErrorInfo(&made)) || FAILED(made.As(&information))) return;
  // The calls copy their text, although their parameter is not declared so.
  made->SetGUID(iid);
  made->SetSource(const_cast<wchar_t*>(source));
  made->SetDescription(const_cast<wchar_t*>(description));
  SetErrorInfo(0, information.Get());
}

void LeaveErrorInformation(REFIID iid, const std::exception& failure) noexcept {
  try {
    const std::wstring description =
        L"The library met an unexpected failure: " + FromUtf8(failure.what());
    LeaveErrorInformation(iid, L"TovoDefaults", description.c_str());
  } catch (...) {
    // Too little memory for the text; the result code tells enough.
    SetErrorInfo(0, nullptr);
  }
}

}  // namespace

HRESULT Hresult(long number) noexcept {
  if (number < 0) return number;
  if (number > 0xFFFF) return E_FAIL;
  return static_cast<HRESULT>(0x800A0000UL + static_cast<unsigned long>(number));
}

HRESULT TranslateException(REFIID iid) noexcept {
  try {
    throw;
  } catch (const Error& error) {
    LeaveErrorInformation(iid, error.source().c_str(), error.description().c_str());
    return Hresult(error.number());
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (const std::exception& failure) {
    LeaveErrorInformation(iid, failure);
    return E_UNEXPECTED;
  } catch (...) {
    return E_UNEXPECTED;
  }
}

}  // namespace tdefault::automation
