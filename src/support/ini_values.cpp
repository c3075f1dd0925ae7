#include "support/ini_values.h"

#include <array>
#include <cstddef>
#include <vector>

#include "base/text.h"

namespace tdefault::support {
namespace {

constexpr std::uint32_t kValueCapacity = 2555;

constexpr std::array<const wchar_t*, 7> kReportFontKeys = {
    L"ReportFont",           L"ReportFontSize", L"ReportFontItalic", L"ReportFontUnderline",
    L"ReportFontStrikeThru", L"ReportFontBold", L"ReportFontColor"};

}  // namespace

std::wstring ReadIniValue(platform::ProfileFiles& profile_files, const std::wstring& section,
                          const std::wstring& key, const std::wstring& ini_file,
                          const std::optional<Value>& fallback) {
  // An empty name is no file; the system would look for one in its own folder.
  std::wstring value =
      ini_file.empty() ? std::wstring(kNotFound)
                       : profile_files.ReadEntry(section, key, kNotFound, kValueCapacity, ini_file);
  if (fallback && EqualIgnoringCase(value, kNotFound))
    if (const auto* text = std::get_if<std::wstring>(&*fallback)) return *text;
  return value;
}

std::int32_t WriteIniValue(platform::ProfileFiles& profile_files, const std::wstring& section,
                           const std::wstring& key, const std::wstring& value,
                           const std::wstring& ini_file) {
  return profile_files.WriteEntry(section, key, value, ini_file);
}

std::wstring GetCompanyNumber(platform::ProfileFiles& profile_files, const std::wstring& ini_file) {
  // The section is called "Companyname" although it holds the number.
  std::wstring number = ReadIniValue(profile_files, L"Companyname", L"Location", ini_file);
  return ParseNumber(number) ? number : std::wstring();
}

bool SaveReportFont(platform::ProfileFiles& profile_files, const std::wstring& value,
                    const std::wstring& ini_file) {
  const std::vector<std::wstring> parts = Split(value, L"|");
  if (parts.size() < kReportFontKeys.size()) return true;
  bool all_written = true;
  for (std::size_t i = 0; i < kReportFontKeys.size(); ++i)
    all_written =
        WriteIniValue(profile_files, L"Windows", kReportFontKeys[i], parts[i], ini_file) != 0 &&
        all_written;
  return all_written;
}

bool SaveInvoiceStyle(platform::ProfileFiles& profile_files, const std::wstring& value,
                      const std::wstring& ini_file) {
  const std::wstring style = ToUpper(value);
  const std::wstring section = L"InvoiceControl";
  bool all_written = WriteIniValue(profile_files, section, L"InvoiceStyle", style, ini_file) != 0;
  all_written =
      WriteIniValue(profile_files, section, L"DedInvoiceStyle", style + L"D", ini_file) != 0 &&
      all_written;
  return WriteIniValue(profile_files, section, L"FaxReport", style, ini_file) != 0 && all_written;
}

}  // namespace tdefault::support
