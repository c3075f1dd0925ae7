// The text of a profile file: what the system's profile calls find in it and what they change.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/code_page.h"

namespace tdefault::platform::simulation {

// Lines the calls have no business with stay as they are, in place and in order. A file that
// begins with the UTF-16 mark (little endian) is read and written as UTF-16.
class ProfileText {
 public:
  ProfileText(std::string_view bytes, CodePage page);

  // The value of the first key of that name in the first section of that name, trimmed and without
  // one pair of quotes. Absent when there is no such key or it has no "="; empty when nothing
  // follows its "=". The section without a name is what stands before the first header.
  [[nodiscard]] std::optional<std::wstring> Find(std::wstring_view section,
                                                 std::wstring_view key) const;

  // What the first section of that name holds, comments and blank lines left out: KEY=VALUE without
  // blanks around key and value, quotes kept; a line without "=" trimmed.
  [[nodiscard]] std::vector<std::wstring> SectionLines(std::wstring_view section) const;

  // The key is added behind the last line of its section that is not blank, the section at the
  // end. A changed line keeps the spelling of its key.
  void Set(std::wstring_view section, std::wstring_view key, std::wstring_view value);

  // Remove the first key or section of that name; there may be none.
  void RemoveKey(std::wstring_view section, std::wstring_view key);
  void RemoveSection(std::wstring_view section);

  [[nodiscard]] std::string Bytes() const;

 private:
  struct Line {
    std::wstring text;
    std::wstring ending;
  };
  // The lines of a section: [first, end), its header in front of `body`.
  struct Extent {
    bool found = false;
    std::size_t first = 0;
    std::size_t body = 0;
    std::size_t end = 0;
  };

  [[nodiscard]] Extent FindSection(std::wstring_view section) const;
  // The index of a key's line, or the end of the extent.
  [[nodiscard]] std::size_t FindKey(Extent extent, std::wstring_view key) const;
  void Insert(std::size_t position, std::wstring text);

  CodePage page_;
  bool wide_ = false;
  std::vector<Line> lines_;
};

}  // namespace tdefault::platform::simulation
