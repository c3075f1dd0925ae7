// Identifiers of new option definitions.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/guid_source.h"

namespace tdefault::support {

// Makes globally unique identifiers in text form.
class CGetGUID {
 public:
  // The source outlives the object.
  explicit CGetGUID(platform::GuidSource& source) noexcept : source_(source) {}

  // 36 characters, hexadecimal in upper case with hyphens, no braces. One of the last eight bytes
  // that is 10 to 15 gives one digit only, and the last group then repeats the end of the group
  // before it: existing identifiers are made so. Empty text when the system makes none.
  [[nodiscard]] std::wstring GetGUID();

 private:
  static std::wstring PadWithZeros(std::wstring_view text, std::size_t width);

  platform::GuidSource& source_;
};

}  // namespace tdefault::support
