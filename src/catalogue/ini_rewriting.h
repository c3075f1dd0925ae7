// Rewriting a whole INI file line by line, so that at every moment the file is there with its old
// or with its new content.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/platform.h"

namespace tdefault::catalogue {

// The new content of the file, written in large pieces. What fails is told by Finish; nothing is
// written behind it.
class LineWriter {
 public:
  explicit LineWriter(platform::File& file) : file_(file) {}

  // A whole line: the bytes and a carriage return and line feed.
  void Write(std::string_view line);

  // Bytes in front of the first line that belong to none.
  void WriteMark(std::string_view bytes);

  // Whether no line has been written yet.
  [[nodiscard]] bool empty() const noexcept { return !has_lines_; }

  // Writes what is still kept back and has it reach the disk.
  platform::SystemStatus Finish();

 private:
  void Put(std::string_view bytes);
  void Drain();

  platform::File& file_;
  platform::SystemStatus status_;
  std::uint64_t offset_ = 0;
  std::string pending_;
  bool has_lines_ = false;
};

// What an operation makes of each line of an INI file. Lines are bytes in the system code page,
// without their ends; those that are passed on stay as they are. In pages with two bytes for a
// character the second one may be a bracket, a backslash or a bar, but no line end, blank, ";" or
// "=".
class LineRule {
 public:
  virtual ~LineRule() = default;

  // Before the first line of a file that can be rewritten. What it throws ends the rewriting.
  virtual void Begin() {}
  // Writes what is to stand in the place of the line. What it throws ends the rewriting.
  virtual void OnLine(std::string_view line, LineWriter& output) = 0;
  // Behind the last line, before the file is replaced. What it throws ends the rewriting.
  virtual void End() {}
};

// Has the rule write the new content into a temporary file of the user's temporary folder, whose
// name starts with `prefix`, and replaces the file by that in one step. False when the file does
// not exist, is UTF-16, cannot be read or replaced, or when the
// temporary file cannot be written; throws what the rule throws. The file is as before then, and
// no temporary file is left. Carriage return and line feed, either alone, or the end of the file
// end a line. Time grows with the file, memory with its longest line.
bool RewriteIniFile(platform::Platform& platform, const std::wstring& path,
                    const std::wstring& prefix, LineRule& rule);

// Whether two lines are equal without regard to case.
[[nodiscard]] bool EqualLines(platform::Session& session, std::string_view left,
                              std::string_view right);

}  // namespace tdefault::catalogue
