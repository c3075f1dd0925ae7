// The operations on definitions and whole INI files, which this version does not carry out: each
// says so and changes nothing.
#include "base/error.h"
#include "catalogue/Options.h"

namespace tdefault::catalogue {
namespace {

[[noreturn]] void ThrowNotImplemented(const wchar_t* operation, const wchar_t* what) {
  throw Error(error_number::kNotImplemented, std::wstring(L":") + operation,
              std::wstring(operation) + L" is not implemented in this version, which cannot " +
                  what + L". Nothing was changed.");
}

}  // namespace

bool Options::CommentFile(const std::wstring& /*ini_file*/) {
  ThrowNotImplemented(L"CommentFile", L"write the options' comments into an INI file");
}

bool Options::ClearIniComments(const std::wstring& /*ini_file*/) {
  ThrowNotImplemented(L"ClearIniComments", L"remove the comments of an INI file");
}

bool Options::RemoveIniComment(const std::wstring& /*ini_file*/, const std::wstring& /*comment*/) {
  ThrowNotImplemented(L"RemoveIniComment", L"remove a comment from an INI file");
}

bool Options::CommentINIKey(const std::wstring& /*id*/) {
  ThrowNotImplemented(L"CommentINIKey", L"comment out a key of an INI file");
}

bool Options::SectionKeyExists(const std::wstring& /*section*/, const std::wstring& /*key*/,
                               bool /*local_ini*/, std::wstring& /*record_id*/) {
  ThrowNotImplemented(L"SectionKeyExists", L"look a definition up by section and key");
}

bool Options::DeleteOption(const std::wstring& /*id*/) {
  ThrowNotImplemented(L"DeleteOption", L"delete a definition");
}

}  // namespace tdefault::catalogue
