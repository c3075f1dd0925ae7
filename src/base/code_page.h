// Single-byte code pages of tables and INI files.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tdefault {

// A single-byte code page that the library carries itself: 437, 850, 1250, 1251, 1252. The
// tables are constant; a CodePage is two pointers and cheap to copy.
class CodePage {
 public:
  // Absent for a page that is not carried.
  [[nodiscard]] static std::optional<CodePage> Find(std::uint32_t number) noexcept;

  [[nodiscard]] std::uint32_t number() const noexcept;

  // Bytes without a character map to the C1 control of the same value, so that decoding and
  // encoding again gives the same bytes.
  [[nodiscard]] wchar_t Decode(unsigned char byte) const noexcept;
  [[nodiscard]] std::wstring Decode(std::string_view bytes) const;

  // A character that the page lacks becomes '?'; one byte per character of the text.
  [[nodiscard]] std::string Encode(std::wstring_view text) const;

  // Absent for a character that the page lacks.
  [[nodiscard]] std::optional<unsigned char> Encode(wchar_t character) const noexcept;

  struct Table;

 private:
  explicit CodePage(const Table& table) noexcept : table_(&table) {}
  const Table* table_;
};

}  // namespace tdefault
