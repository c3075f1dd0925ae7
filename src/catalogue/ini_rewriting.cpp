#include "catalogue/ini_rewriting.h"

#include <cstddef>
#include <memory>
#include <new>
#include <span>
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "support/paths.h"
#include "support/temporary_files.h"

namespace tdefault::catalogue {
namespace {

using platform::FileAccess;
using platform::FileShare;
using platform::SystemStatus;

constexpr std::size_t kChunk = 65536;

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kUtf16Mark = "\xFF\xFE";
constexpr std::string_view kUtf16BigEndianMark = "\xFE\xFF";
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

// The lines of a file, read in large pieces.
class LineReader {
 public:
  explicit LineReader(platform::File& file) : file_(file) {}

  // Reads the beginning. False when the file cannot be read or is UTF-16.
  bool Begin() {
    Fill();
    if (!status_.ok() || chunk_.starts_with(kUtf16Mark) || chunk_.starts_with(kUtf16BigEndianMark))
      return false;
    if (chunk_.starts_with(kUtf8Mark)) {
      mark_ = kUtf8Mark;
      next_ = kUtf8Mark.size();
    }
    return true;
  }

  // The mark of UTF-8, where the file begins with it; it is no part of the first line.
  [[nodiscard]] std::string_view mark() const noexcept { return mark_; }

  // Goes to the next line. False behind the last one, and when the file cannot be read.
  bool Next() {
    line_.clear();
    for (;;) {
      if (next_ == chunk_.size() && !Fill()) return status_.ok() && !line_.empty();
      const std::string_view rest = std::string_view(chunk_).substr(next_);
      if (std::exchange(behind_carriage_return_, false) && rest.front() == '\n') {
        ++next_;
        continue;
      }
      const std::size_t end = rest.find_first_of(kLineEnd);
      line_.append(rest.substr(0, end));
      if (end == std::string_view::npos) {
        next_ = chunk_.size();
        continue;
      }
      next_ += end + 1;
      behind_carriage_return_ = rest[end] == '\r';
      return true;
    }
  }

  [[nodiscard]] std::string_view line() const noexcept { return line_; }
  [[nodiscard]] SystemStatus status() const noexcept { return status_; }

 private:
  // False at the end of the file, and when it cannot be read.
  bool Fill() {
    next_ = 0;
    chunk_.resize(kChunk);
    const auto count =
        file_.ReadAt(offset_, {reinterpret_cast<std::uint8_t*>(chunk_.data()), chunk_.size()});
    if (!count.ok()) status_ = SystemStatus(count.code());
    chunk_.resize(count.ok() ? count.value() : 0);
    offset_ += chunk_.size();
    return !chunk_.empty();
  }

  platform::File& file_;
  SystemStatus status_;
  std::uint64_t offset_ = 0;
  std::string chunk_;
  std::size_t next_ = 0;  // in the chunk
  bool behind_carriage_return_ = false;
  std::string line_;
  std::string_view mark_;
};

// Fills the copy. Both files are closed again behind it.
bool WriteCopy(platform::Files& files, const std::wstring& path, const std::wstring& copy,
               LineRule& rule) {
  // Who writes the file meanwhile would leave a mixture of old and new; he is kept out for the
  // moment, and a file that somebody has open for writing is not rewritten.
  const auto source = files.Open(path, FileAccess::kRead, FileShare::kRead);
  if (!source.ok()) return false;
  const auto target = files.Open(copy, FileAccess::kWrite, FileShare::kNone);
  if (!target.ok()) return false;
  LineReader reader(*source.value());
  if (!reader.Begin()) return false;
  LineWriter writer(*target.value());
  writer.WriteMark(reader.mark());
  rule.Begin();
  while (reader.Next()) rule.OnLine(reader.line(), writer);
  if (!reader.status().ok()) return false;
  rule.End();
  return writer.Finish().ok();
}

// Scanners and other programs hold files briefly, so a second attempt follows.
bool MoveOver(platform::Platform& platform, const std::wstring& copy, const std::wstring& path) {
  if (platform.files.Replace(copy, path).ok()) return true;
  support::WaitBeforeRetry(platform);
  return platform.files.Replace(copy, path).ok();
}

}  // namespace

void LineWriter::Write(std::string_view line) {
  has_lines_ = true;
  Put(line);
  Put(kLineEnd);
}

void LineWriter::WriteMark(std::string_view bytes) { Put(bytes); }

void LineWriter::Put(std::string_view bytes) {
  if (!status_.ok()) return;
  pending_ += bytes;
  if (pending_.size() >= kChunk) Drain();
}

void LineWriter::Drain() {
  status_ = file_.WriteAt(
      offset_, {reinterpret_cast<const std::uint8_t*>(pending_.data()), pending_.size()});
  offset_ += pending_.size();
  pending_.clear();
}

SystemStatus LineWriter::Finish() {
  if (status_.ok() && !pending_.empty()) Drain();
  if (status_.ok()) status_ = file_.Flush();
  return status_;
}

bool RewriteIniFile(platform::Platform& platform, const std::wstring& path,
                    const std::wstring& prefix, LineRule& rule) {
  if (!support::IsListed(platform.files, path)) return false;
  const std::wstring copy = support::TempFileName(platform.files, prefix);
  if (copy.empty()) return false;
  bool replaced = false;
  try {
    replaced = WriteCopy(platform.files, path, copy, rule) && MoveOver(platform, copy, path);
  } catch (const Error&) {
    static_cast<void>(support::RemoveWithRetry(platform, copy));
    throw;
  } catch (const std::bad_alloc&) {
    static_cast<void>(support::RemoveWithRetry(platform, copy));
    throw;
  }
  if (!replaced) static_cast<void>(support::RemoveWithRetry(platform, copy));
  return replaced;
}

bool EqualLines(platform::Session& session, std::string_view left, std::string_view right) {
  return left == right || EqualIgnoringCase(session.SystemText(left), session.SystemText(right));
}

}  // namespace tdefault::catalogue
