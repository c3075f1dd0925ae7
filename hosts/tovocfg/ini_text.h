// An INI file's bytes, taken apart as the system's profile calls do it, with what those never find.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "platform/session.h"

namespace tovocfg {

enum class IniEncoding { kSystemCodePage, kUtf8Mark, kUtf16, kUtf16BigEndian };

// Why the profile calls never give an entry.
enum class Hidden {
  kNo,
  kSecondSection,  // another section of that name stands above
  kSecondKey,      // the section has that key above
  kNoSection       // it stands in front of the first section
};

struct IniEntry {
  std::wstring section;
  std::wstring key;
  std::wstring value;  // without the quotation marks around it
  std::size_t line = 0;
  Hidden hidden = Hidden::kNo;
};

struct IniText {
  IniEncoding encoding = IniEncoding::kSystemCodePage;
  std::vector<IniEntry> entries;
  std::vector<std::size_t> open_headers;  // lines that begin a section's name and do not end it
  bool section_on_first_line = false;
  bool has_nul = false;
  bool looks_like_utf8 = false;  // without a mark, and with characters outside ASCII
  bool ends_in_line_end = true;
};

[[nodiscard]] IniText TakeApart(std::string_view bytes, tdefault::platform::Session& session);

// The entry that the profile calls find; null when there is none.
[[nodiscard]] const IniEntry* FindEntry(const IniText& text, const std::wstring& section,
                                        const std::wstring& key);

}  // namespace tovocfg
