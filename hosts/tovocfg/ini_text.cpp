#include "tovocfg/ini_text.h"

#include <algorithm>
#include <cstdint>
#include <set>

#include "base/text.h"

namespace tovocfg {

namespace {

using tdefault::EqualIgnoringCase;
using tdefault::LessIgnoringCase;

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16Mark = "\xFF\xFE";
constexpr std::string_view kUtf16BigEndianMark = "\xFE\xFF";

std::wstring FromUtf16(std::string_view bytes, bool big_endian) {
  std::wstring text;
  for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
    const auto first = static_cast<unsigned char>(bytes[at]);
    const auto second = static_cast<unsigned char>(bytes[at + 1]);
    text += static_cast<wchar_t>(big_endian ? first * 256 + second : second * 256 + first);
  }
  return text;
}

constexpr std::uint32_t kUtf8CodePage = 65001;
constexpr wchar_t kMalformed = 0xFFFD;

// Text of other code pages is hardly ever well-formed UTF-8, unless it is all ASCII.
bool LooksLikeUtf8(std::string_view bytes) {
  const bool all_ascii = std::all_of(bytes.begin(), bytes.end(), [](char byte) {
    return static_cast<unsigned char>(byte) < 0x80;
  });
  return !all_ascii && tdefault::FromUtf8(bytes).find(kMalformed) == std::wstring::npos;
}

std::wstring Decoded(std::string_view bytes, IniText& text, tdefault::platform::Session& session) {
  if (bytes.starts_with(kUtf16Mark)) {
    text.encoding = IniEncoding::kUtf16;
    return FromUtf16(bytes.substr(kUtf16Mark.size()), false);
  }
  if (bytes.starts_with(kUtf16BigEndianMark)) {
    text.encoding = IniEncoding::kUtf16BigEndian;
    return FromUtf16(bytes.substr(kUtf16BigEndianMark.size()), true);
  }
  if (bytes.starts_with(kUtf8Mark)) {
    text.encoding = IniEncoding::kUtf8Mark;
    bytes.remove_prefix(kUtf8Mark.size());
  }
  text.looks_like_utf8 = text.encoding == IniEncoding::kSystemCodePage && LooksLikeUtf8(bytes) &&
                         session.AnsiCodePage() != kUtf8CodePage;
  return session.SystemText(bytes);
}

std::wstring_view Trimmed(std::wstring_view text) {
  constexpr std::wstring_view kBlanks = L" \t";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::wstring_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::wstring_view Unquoted(std::wstring_view value) {
  const bool quoted = value.size() > 1 && value.front() == value.back() &&
                      (value.front() == L'"' || value.front() == L'\'');
  return quoted ? value.substr(1, value.size() - 2) : value;
}

// Goes over the lines and knows in which section it is.
class Reader {
 public:
  explicit Reader(IniText& text) : text_(text) {}

  void Take(std::wstring_view whole_line, std::size_t number) {
    const std::wstring_view line = Trimmed(whole_line);
    if (line.empty() || line.front() == L';') return;
    if (line.front() == L'[') {
      TakeHeader(line, number);
      return;
    }
    const std::size_t equals = line.find(L'=');
    if (equals == std::wstring_view::npos || equals == 0) return;
    IniEntry entry;
    entry.section = section_;
    entry.key = Trimmed(line.substr(0, equals));
    entry.value = Unquoted(Trimmed(line.substr(equals + 1)));
    entry.line = number;
    entry.hidden = HiddenBy(entry);
    text_.entries.push_back(entry);
  }

 private:
  void TakeHeader(std::wstring_view line, std::size_t number) {
    const std::size_t end = line.find(L']');
    if (end == std::wstring_view::npos) {
      text_.open_headers.push_back(number);
      return;
    }
    in_section_ = true;
    if (number == 1) text_.section_on_first_line = true;
    section_ = Trimmed(line.substr(1, end - 1));
    is_second_ = !sections_.insert(section_).second;
    if (!is_second_) keys_.clear();
  }

  Hidden HiddenBy(const IniEntry& entry) {
    if (!in_section_) return Hidden::kNoSection;
    if (is_second_) return Hidden::kSecondSection;
    return keys_.insert(entry.key).second ? Hidden::kNo : Hidden::kSecondKey;
  }

  IniText& text_;
  bool in_section_ = false;
  bool is_second_ = false;
  std::wstring section_;
  std::set<std::wstring, LessIgnoringCase> sections_;
  std::set<std::wstring, LessIgnoringCase> keys_;
};

}  // namespace

IniText TakeApart(std::string_view bytes, tdefault::platform::Session& session) {
  IniText text;
  const std::wstring all = Decoded(bytes, text, session);
  text.has_nul = all.find(L'\0') != std::wstring::npos;
  Reader reader(text);
  std::size_t number = 1;
  for (std::size_t start = 0; start < all.size(); ++number) {
    std::size_t end = all.find_first_of(L"\r\n", start);
    text.ends_in_line_end = end != std::wstring::npos;
    if (!text.ends_in_line_end) end = all.size();
    reader.Take(std::wstring_view(all).substr(start, end - start), number);
    start = end + 1;
    if (text.ends_in_line_end && all[end] == L'\r' && start < all.size() && all[start] == L'\n')
      ++start;
  }
  return text;
}

const IniEntry* FindEntry(const IniText& text, const std::wstring& section,
                          const std::wstring& key) {
  for (const IniEntry& entry : text.entries)
    if (entry.hidden == Hidden::kNo && EqualIgnoringCase(entry.section, section) &&
        EqualIgnoringCase(entry.key, key))
      return &entry;
  return nullptr;
}

}  // namespace tovocfg
