// Small operations on UTF-8 text.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tovocfg {

// The characters of a text; a malformed byte counts as one character.
[[nodiscard]] std::u32string Characters(std::string_view text);
[[nodiscard]] std::string FromCharacters(std::u32string_view characters);

enum class ByteOrder { kLowFirst, kHighFirst };

// Half of a character, as of a text that was cut, becomes U+FFFD.
[[nodiscard]] std::string FromUtf16(std::string_view bytes, ByteOrder order);

[[nodiscard]] std::size_t CountCharacters(std::string_view text);

// The bytes in front of a character that has only begun at the end of the text.
[[nodiscard]] std::size_t WholeCharacters(std::string_view text);

// Equal without regard to case: ASCII and the accented letters of code page 1252.
[[nodiscard]] bool SameText(std::string_view left, std::string_view right);

// Without blanks at both ends.
[[nodiscard]] std::string Trimmed(std::string_view text);

// At most `width` characters; a cut text ends in an ellipsis.
[[nodiscard]] std::string Shortened(std::string_view text, std::size_t width);

// Padded with blanks on the right to `width` characters.
[[nodiscard]] std::string Padded(std::string_view text, std::size_t width);

[[nodiscard]] std::string Quoted(std::string_view text);

[[nodiscard]] std::vector<std::string> Split(std::string_view text, char separator);

// The lines of a text, whether they end in CR LF, LF or CR; blank lines at the end are dropped.
[[nodiscard]] std::vector<std::string> Lines(std::string_view text);

}  // namespace tovocfg
