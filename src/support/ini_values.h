// Single values of INI files, and the two options whose value is spread over several keys.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/value.h"
#include "platform/profile_files.h"

namespace tdefault::support {

// What a read gives for an absent key when the caller names no text of its own. Callers test for
// it.
inline constexpr const wchar_t* kNotFound = L"Not found";

// The value of a key, at most 2,554 characters. An absent key (or one whose value is "Not found" in
// any case, or an empty file name) gives `fallback` when that holds a text, empty text included,
// and else "Not found": a number as the fallback does not replace it.
[[nodiscard]] std::wstring ReadIniValue(platform::ProfileFiles& profile_files,
                                        const std::wstring& section, const std::wstring& key,
                                        const std::wstring& ini_file,
                                        const std::optional<Value>& fallback = std::nullopt);

// The system's own result, non-zero on success.
std::int32_t WriteIniValue(platform::ProfileFiles& profile_files, const std::wstring& section,
                           const std::wstring& key, const std::wstring& value,
                           const std::wstring& ini_file);

// The site's location number as the INI file holds it: key "Location" of section "Companyname".
// Empty text when it is not numeric.
[[nodiscard]] std::wstring GetCompanyNumber(platform::ProfileFiles& profile_files,
                                            const std::wstring& ini_file);

// Writes a report font (name|size|italic|underline|strike-thru|bold|color, further parts ignored)
// as seven keys of section "Windows". True when every write succeeded. A value of fewer parts
// writes nothing and is true: an option that was never set must not fail a save.
bool SaveReportFont(platform::ProfileFiles& profile_files, const std::wstring& value,
                    const std::wstring& ini_file);

// Writes an invoice style as three keys of section "InvoiceControl". True when every write
// succeeded.
bool SaveInvoiceStyle(platform::ProfileFiles& profile_files, const std::wstring& value,
                      const std::wstring& ini_file);

}  // namespace tdefault::support
