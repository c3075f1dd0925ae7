#include "tovocfg/text.h"

#include <cstdint>

namespace tovocfg {

namespace {

char32_t Folded(char32_t character) {
  if (character >= U'A' && character <= U'Z') return character + 0x20;
  if (character >= 0xC0 && character <= 0xDE && character != 0xD7) return character + 0x20;
  if (character == 0x0178) return 0x00FF;  // Y with diaeresis
  if (character == 0x0152 || character == 0x0160 || character == 0x017D) return character + 1;
  return character;
}

// The length of the sequence that a byte starts; 1 for a byte that starts none.
std::size_t SequenceLength(unsigned char byte) {
  if (byte >= 0xC2 && byte <= 0xDF) return 2;
  if (byte >= 0xE0 && byte <= 0xEF) return 3;
  if (byte >= 0xF0 && byte <= 0xF4) return 4;
  return 1;
}

void Append(std::string& text, char32_t character) {
  const auto code = static_cast<std::uint32_t>(character);
  if (code < 0x80) {
    text += static_cast<char>(code);
  } else if (code < 0x800) {
    text += static_cast<char>(0xC0 | (code >> 6));
    text += static_cast<char>(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    text += static_cast<char>(0xE0 | (code >> 12));
    text += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    text += static_cast<char>(0x80 | (code & 0x3F));
  } else {
    text += static_cast<char>(0xF0 | (code >> 18));
    text += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
    text += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    text += static_cast<char>(0x80 | (code & 0x3F));
  }
}

}  // namespace

std::u32string Characters(std::string_view text) {
  std::u32string characters;
  for (std::size_t at = 0; at < text.size();) {
    const auto first = static_cast<unsigned char>(text[at]);
    const std::size_t length = SequenceLength(first);
    char32_t character = length == 1 ? first : first & (0xFFU >> (length + 1));
    std::size_t used = 1;
    while (used < length && at + used < text.size() &&
           (static_cast<unsigned char>(text[at + used]) & 0xC0U) == 0x80U) {
      character = (character << 6) | (static_cast<unsigned char>(text[at + used]) & 0x3FU);
      ++used;
    }
    if (used < length) {
      character = first;
      used = 1;
    }
    characters += character;
    at += used;
  }
  return characters;
}

std::string FromCharacters(std::u32string_view characters) {
  std::string text;
  for (const char32_t character : characters) Append(text, character);
  return text;
}

std::string FromUtf16(std::string_view bytes, ByteOrder order) {
  constexpr char32_t kReplacement = 0xFFFD;
  const auto unit_at = [bytes, order](std::size_t at) -> char32_t {
    const auto first = static_cast<unsigned char>(bytes[at]);
    const auto second = static_cast<unsigned char>(bytes[at + 1]);
    return order == ByteOrder::kLowFirst ? second * 256U + first : first * 256U + second;
  };
  std::u32string characters;
  std::size_t at = 0;
  for (; at + 1 < bytes.size(); at += 2) {
    const char32_t unit = unit_at(at);
    if ((unit & 0xF800U) != 0xD800U) {
      characters += unit;
      continue;
    }
    const bool is_first = (unit & 0xFC00U) == 0xD800U;
    const char32_t next = is_first && at + 3 < bytes.size() ? unit_at(at + 2) : 0;
    const bool is_pair = (next & 0xFC00U) == 0xDC00U;
    characters += is_pair ? 0x10000U + ((unit & 0x3FFU) << 10U) + (next & 0x3FFU) : kReplacement;
    if (is_pair) at += 2;
  }
  if (at < bytes.size()) characters += kReplacement;
  return FromCharacters(characters);
}

std::size_t CountCharacters(std::string_view text) { return Characters(text).size(); }

std::size_t WholeCharacters(std::string_view text) {
  constexpr std::size_t kLongestSequence = 4;
  const std::size_t last = text.size() < kLongestSequence ? 0 : text.size() - kLongestSequence;
  for (std::size_t at = text.size(); at > last; --at) {
    const auto byte = static_cast<unsigned char>(text[at - 1]);
    if ((byte & 0xC0U) == 0x80U) continue;
    return at - 1 + SequenceLength(byte) > text.size() ? at - 1 : text.size();
  }
  return text.size();
}

bool SameText(std::string_view left, std::string_view right) {
  const std::u32string a = Characters(left);
  const std::u32string b = Characters(right);
  if (a.size() != b.size()) return false;
  for (std::size_t at = 0; at < a.size(); ++at)
    if (Folded(a[at]) != Folded(b[at])) return false;
  return true;
}

std::string Trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return std::string(text.substr(first, text.find_last_not_of(' ') - first + 1));
}

std::string Shortened(std::string_view text, std::size_t width) {
  std::u32string characters = Characters(text);
  if (characters.size() <= width) return std::string(text);
  characters.resize(width == 0 ? 0 : width - 1);
  return FromCharacters(characters) + (width == 0 ? "" : "\xE2\x80\xA6");
}

std::string Padded(std::string_view text, std::size_t width) {
  std::string padded(text);
  const std::size_t count = CountCharacters(text);
  if (count < width) padded.append(width - count, ' ');
  return padded;
}

std::string Quoted(std::string_view text) { return std::string("\"").append(text).append("\""); }

std::vector<std::string> Split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  std::size_t start = 0;
  for (std::size_t end = text.find(separator); end != std::string_view::npos;
       end = text.find(separator, start)) {
    parts.emplace_back(text.substr(start, end - start));
    start = end + 1;
  }
  parts.emplace_back(text.substr(start));
  return parts;
}

std::vector<std::string> Lines(std::string_view text) {
  std::vector<std::string> lines(1);
  for (std::size_t at = 0; at < text.size(); ++at) {
    const bool ends = text[at] == '\r' || text[at] == '\n';
    if (!ends) {
      lines.back() += text[at];
      continue;
    }
    if (text[at] == '\r' && at + 1 < text.size() && text[at + 1] == '\n') ++at;
    lines.emplace_back();
  }
  while (!lines.empty() && Trimmed(lines.back()).empty()) lines.pop_back();
  return lines;
}

}  // namespace tovocfg
