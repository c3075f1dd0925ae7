#include "platform/simulation/profile_text.h"

#include <algorithm>
#include <utility>

#include "base/text.h"

namespace tdefault::platform::simulation {
namespace {

constexpr std::string_view kWideMark = "\xFF\xFE";
constexpr std::wstring_view kWhite = L" \t\v\f";

std::wstring_view Trim(std::wstring_view text) {
  const std::size_t first = text.find_first_not_of(kWhite);
  if (first == std::wstring_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kWhite) - first + 1);
}

std::wstring DecodeUnits(std::string_view bytes) {
  std::wstring text;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    text += static_cast<wchar_t>(static_cast<unsigned char>(bytes[i]) |
                                 static_cast<unsigned char>(bytes[i + 1]) << 8);
  }
  return text;
}

void AppendUnits(std::string& bytes, std::wstring_view text) {
  for (const wchar_t character : text) {
    bytes += static_cast<char>(character & 0xFF);
    bytes += static_cast<char>((character >> 8) & 0xFF);
  }
}

// The name of a section when the line is a header.
std::optional<std::wstring_view> SectionName(std::wstring_view line) {
  const std::wstring_view text = Trim(line);
  if (text.empty() || text.front() != L'[') return std::nullopt;
  const std::size_t close = text.rfind(L']');
  if (close == std::wstring_view::npos) return std::nullopt;
  return Trim(text.substr(1, close - 1));
}

// The name of a key when the line is no header, no comment and not blank; it may lack its "=".
std::optional<std::wstring_view> KeyName(std::wstring_view line) {
  const std::wstring_view text = Trim(line);
  if (text.empty() || text.front() == L';' || SectionName(text)) return std::nullopt;
  return Trim(text.substr(0, text.find(L'=')));
}

// The value behind the "=" of a key's line; absent without one.
std::optional<std::wstring_view> RawValue(std::wstring_view line) {
  const std::size_t equals = line.find(L'=');
  if (equals == std::wstring_view::npos) return std::nullopt;
  return Trim(line.substr(equals + 1));
}

// A written argument loses the blanks in front only; reading takes those behind it off.
std::wstring WithoutLeadingWhite(std::wstring_view text) {
  return std::wstring(text.substr(std::min(text.find_first_not_of(kWhite), text.size())));
}

std::wstring_view WithoutQuotes(std::wstring_view value) {
  const bool quoted = value.size() >= 2 && value.front() == value.back() &&
                      (value.front() == L'"' || value.front() == L'\'');
  return quoted ? value.substr(1, value.size() - 2) : value;
}

}  // namespace

ProfileText::ProfileText(std::string_view bytes, CodePage page) : page_(page) {
  wide_ = bytes.substr(0, 2) == kWideMark;
  const std::wstring text = wide_ ? DecodeUnits(bytes.substr(2)) : page_.Decode(bytes);
  std::size_t start = 0;
  while (start < text.size()) {
    const std::size_t end = std::min(text.find_first_of(L"\r\n", start), text.size());
    std::size_t next = end;
    if (next < text.size() && text[next] == L'\r') ++next;
    if (next < text.size() && text[next] == L'\n') ++next;
    lines_.push_back({text.substr(start, end - start), text.substr(end, next - end)});
    start = next;
  }
}

ProfileText::Extent ProfileText::FindSection(std::wstring_view section) const {
  const std::wstring_view wanted = Trim(section);
  Extent extent{wanted.empty(), 0, 0, lines_.size()};
  for (std::size_t i = 0; i < lines_.size(); ++i) {
    const std::optional<std::wstring_view> name = SectionName(lines_[i].text);
    if (!name) continue;
    if (extent.found) {
      extent.end = i;
      break;
    }
    if (EqualIgnoringCase(*name, wanted)) extent = {true, i, i + 1, lines_.size()};
  }
  return extent;
}

std::size_t ProfileText::FindKey(Extent extent, std::wstring_view key) const {
  for (std::size_t i = extent.body; extent.found && i < extent.end; ++i) {
    const std::optional<std::wstring_view> name = KeyName(lines_[i].text);
    if (name && EqualIgnoringCase(*name, Trim(key))) return i;
  }
  return extent.end;
}

std::optional<std::wstring> ProfileText::Find(std::wstring_view section,
                                              std::wstring_view key) const {
  const Extent extent = FindSection(section);
  const std::size_t line = FindKey(extent, key);
  if (line == extent.end) return std::nullopt;
  const std::optional<std::wstring_view> value = RawValue(lines_[line].text);
  if (!value) return std::nullopt;
  return std::wstring(WithoutQuotes(*value));
}

std::vector<std::wstring> ProfileText::SectionLines(std::wstring_view section) const {
  std::vector<std::wstring> lines;
  const Extent extent = FindSection(section);
  for (std::size_t i = extent.body; extent.found && i < extent.end; ++i) {
    const std::optional<std::wstring_view> name = KeyName(lines_[i].text);
    if (!name) continue;
    std::wstring& line = lines.emplace_back(*name);
    if (const auto value = RawValue(lines_[i].text)) line.append(L"=").append(*value);
  }
  return lines;
}

void ProfileText::Insert(std::size_t position, std::wstring text) {
  if (position > 0 && lines_[position - 1].ending.empty()) lines_[position - 1].ending = L"\r\n";
  lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(position),
                {std::move(text), std::wstring(L"\r\n")});
}

void ProfileText::Set(std::wstring_view section, std::wstring_view key, std::wstring_view value) {
  const std::wstring stored = WithoutLeadingWhite(value);
  const std::wstring new_line = WithoutLeadingWhite(key) + L"=" + stored;
  const Extent extent = FindSection(section);
  if (!extent.found) {
    Insert(lines_.size(), L"[" + WithoutLeadingWhite(section) + L"]");
    Insert(lines_.size(), new_line);
    return;
  }
  const std::size_t line = FindKey(extent, key);
  if (line < extent.end) {
    std::wstring& text = lines_[line].text;
    if (RawValue(text) == std::wstring_view(stored)) return;
    text = std::wstring(*KeyName(text)) + L"=" + stored;
    return;
  }
  std::size_t position = extent.end;
  while (position > extent.body && Trim(lines_[position - 1].text).empty()) --position;
  Insert(position, new_line);
}

void ProfileText::RemoveKey(std::wstring_view section, std::wstring_view key) {
  const Extent extent = FindSection(section);
  const std::size_t line = FindKey(extent, key);
  if (line < extent.end) lines_.erase(lines_.begin() + static_cast<std::ptrdiff_t>(line));
}

void ProfileText::RemoveSection(std::wstring_view section) {
  const Extent extent = FindSection(section);
  if (!extent.found) return;
  lines_.erase(lines_.begin() + static_cast<std::ptrdiff_t>(extent.first),
               lines_.begin() + static_cast<std::ptrdiff_t>(extent.end));
}

std::string ProfileText::Bytes() const {
  std::string bytes(wide_ ? kWideMark : std::string_view());
  for (const Line& line : lines_) {
    if (wide_) {
      AppendUnits(bytes, line.text);
      AppendUnits(bytes, line.ending);
    } else {
      bytes += page_.Encode(line.text);
      bytes += page_.Encode(line.ending);
    }
  }
  return bytes;
}

}  // namespace tdefault::platform::simulation
