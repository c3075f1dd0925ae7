// Wide-text operations shared by every layer: case folding, trimming, splitting, UTF-8.
// "Blank" is the space character U+0020 only. Case rules are Unicode's simple one-to-one mappings
// for the letters of the supported code pages (Latin, Greek, Cyrillic), the same on every host and
// in every locale.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tdefault {

[[nodiscard]] wchar_t ToUpper(wchar_t character) noexcept;
[[nodiscard]] wchar_t ToLower(wchar_t character) noexcept;
[[nodiscard]] std::wstring ToUpper(std::wstring_view text);
[[nodiscard]] std::wstring ToLower(std::wstring_view text);

// Less than, equal to or greater than zero, comparing upper-cased characters by code point.
[[nodiscard]] int CompareIgnoringCase(std::wstring_view left, std::wstring_view right) noexcept;
[[nodiscard]] bool EqualIgnoringCase(std::wstring_view left, std::wstring_view right) noexcept;

// Orders text without regard to case, for keyed containers.
struct LessIgnoringCase {
  using is_transparent = void;
  bool operator()(std::wstring_view left, std::wstring_view right) const noexcept {
    return CompareIgnoringCase(left, right) < 0;
  }
};

[[nodiscard]] std::wstring_view TrimBlanks(std::wstring_view text) noexcept;
[[nodiscard]] std::wstring_view TrimTrailingBlanks(std::wstring_view text) noexcept;

// The pieces between the separators; text without a separator is one piece, empty text one empty
// piece.
[[nodiscard]] std::vector<std::wstring> Split(std::wstring_view text, std::wstring_view separator);

// Every occurrence of `search`, found without regard to case from left to right, replaced. An
// empty `search` changes nothing.
[[nodiscard]] std::wstring ReplaceIgnoringCase(std::wstring_view text, std::wstring_view search,
                                               std::wstring_view replacement);

// Malformed input becomes U+FFFD; neither direction fails.
[[nodiscard]] std::string ToUtf8(std::wstring_view text);
[[nodiscard]] std::wstring FromUtf8(std::string_view text);

}  // namespace tdefault
