// The comments of INI files: written from the definitions, removed, and made of keys.
#include "catalogue/ini_comments.h"

#include <array>
#include <cwchar>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "base/date_time.h"
#include "base/error.h"
#include "base/text.h"
#include "catalogue/Options.h"
#include "catalogue/definitions.h"
#include "catalogue/ini_rewriting.h"
#include "catalogue/sql_text.h"
#include "support/session.h"
#include "support/table_connection.h"

namespace tdefault::catalogue {
namespace {

constexpr const wchar_t* kPrefix = L"ini";

// The name of the section that a line begins; absent for any other line.
std::optional<std::wstring> SectionOf(platform::Session& session, std::string_view line) {
  if (!line.starts_with('[')) return std::nullopt;
  // Among the bytes a bracket may be a part of another character.
  const std::wstring text = session.SystemText(line);
  const std::size_t end = text.find(L']');
  if (end == std::wstring::npos) return std::nullopt;
  return text.substr(1, end - 1);
}

// The text before the first "=" of a line that is no comment; absent for any other line.
std::optional<std::string_view> KeyOf(std::string_view line) {
  const std::size_t equals = line.find('=');
  if (line.starts_with(';') || equals == 0 || equals == std::string_view::npos) return std::nullopt;
  return line.substr(0, equals);
}

std::string_view TrimBlankBytes(std::string_view text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// Writes above each key what its definition has as comment, and drops what is neither section, key
// nor comment. One recordset serves all keys: its filter finds a key's definition by an index.
class CommentingRule final : public LineRule {
 public:
  CommentingRule(platform::Platform& platform, tables::TableAccess& tables, std::wstring data_path)
      : session_(platform.session), tables_(tables), data_path_(std::move(data_path)) {}

  void Begin() override {
    connection_ = support::OpenConnection(tables_, data_path_, tables::CursorLocation::kServer,
                                          tables::ConnectMode::kRead);
    definitions_ = tables_.MakeRecordset();
    definitions_->set_cursor_location(tables::CursorLocation::kClient);
    definitions_->Open(L"SELECT Inisection, Key, Comment FROM DEFAULTS", *connection_,
                       tables::CursorType::kStatic, tables::LockType::kReadOnly);
    comment_ = &definitions_->field(L"Comment");
  }

  void OnLine(std::string_view line, LineWriter& output) override {
    const std::string previous = std::exchange(previous_, std::string(line));
    if (auto section = SectionOf(session_, line)) {
      section_ = *std::move(section);
      if (!output.empty()) output.Write("");
      output.Write(line);
    } else if (const auto key = KeyOf(line)) {
      const std::optional<std::string> comment = CommentOf(*key);
      if (comment && !EqualLines(session_, previous, *comment)) output.Write(*comment);
      output.Write(line);
    } else if (line.starts_with(';')) {
      output.Write(line);
    }
  }

  void End() override { support::CloseRecordset(connection_, definitions_); }

  void CloseAfterFailure() { support::CloseAfterFailure(connection_, definitions_); }

 private:
  // The line with the comment of the key's definition; absent without a definition.
  std::optional<std::string> CommentOf(std::string_view key) {
    // The section goes in as it is, and an apostrophe in it ends the rewriting.
    definitions_->set_filter(L"Inisection = '" + section_ + L"' And Key = '" +
                             SqlQuote(session_.SystemText(key)) + L"'");
    if (definitions_->bof() && definitions_->eof()) return std::nullopt;
    const std::wstring comment = ToText(comment_->value(), L":CommentFile");
    return ";" + session_.SystemBytes(TrimBlanks(comment));
  }

  platform::Session& session_;
  tables::TableAccess& tables_;
  std::wstring data_path_;
  std::unique_ptr<tables::Connection> connection_;
  std::unique_ptr<tables::Recordset> definitions_;
  tables::Field* comment_ = nullptr;
  std::wstring section_;
  std::string previous_;
};

// Passes on the lines that it is told to keep.
class KeepingRule final : public LineRule {
 public:
  using Keeps = std::function<bool(std::string_view line)>;

  explicit KeepingRule(Keeps keeps) : keeps_(std::move(keeps)) {}

  void OnLine(std::string_view line, LineWriter& output) override {
    if (keeps_(line)) output.Write(line);
  }

 private:
  Keeps keeps_;
};

class DisablingRule final : public LineRule {
 public:
  DisablingRule(platform::Platform& platform, const std::wstring& key)
      : platform_(platform), key_(platform.session.SystemBytes(key)) {}

  void Begin() override {
    marker_ = platform_.session.SystemBytes(L";The following line was commented by " +
                                            support::GetUserName(platform_.session) +
                                            When(platform_.clock.Now()));
  }

  void OnLine(std::string_view line, LineWriter& output) override {
    // A line without "=" has the empty text for its key.
    const std::size_t equals = line.find('=');
    const std::string_view key =
        equals == std::string_view::npos ? std::string_view() : line.substr(0, equals);
    if (EqualLines(platform_.session, TrimBlankBytes(key), key_)) {
      output.Write(marker_);
      output.Write(";" + std::string(line));
    } else {
      output.Write(line);
    }
  }

 private:
  static std::wstring When(DateTime now) {
    const std::int32_t seconds = now.milliseconds / kMillisecondsPerSecond;
    std::array<wchar_t, 40> time{};
    std::swprintf(time.data(), time.size(), L" at %02d:%02d:%02d", seconds / 3600,
                  seconds / 60 % 60, seconds % 60);
    return L" on " + ToMonthDayYear(now.date) + time.data();
  }

  platform::Platform& platform_;
  std::string key_;
  std::string marker_;
};

}  // namespace

bool CommentOutKey(platform::Platform& platform, const std::wstring& ini_file,
                   const std::wstring& key) {
  DisablingRule rule(platform, key);
  return RewriteIniFile(platform, ini_file, L"", rule);
}

std::int16_t CountSectionKeys(platform::ProfileFiles& profile_files, const std::wstring& ini_file,
                              const std::wstring& section) {
  constexpr std::uint32_t kCapacity = 10000;
  const std::wstring lines = profile_files.ReadSection(section, kCapacity, ini_file);
  if (lines.empty()) return 0;
  const std::vector<std::wstring> pieces = Split(lines, std::wstring_view(L"\0", 1));
  std::int32_t count = 0;
  // The last two are what the closing NULs leave.
  for (std::size_t i = 0; i + 2 < pieces.size(); ++i)
    if (!pieces[i].starts_with(L';') && pieces[i].find(L'=') != std::wstring::npos) ++count;
  return ToInteger(count, L":CountSectionKeys");
}

bool Options::CommentFile(const std::wstring& ini_file) {
  CommentingRule rule(platform_, tables_, DataPath());
  try {
    return RewriteIniFile(platform_, ini_file, kPrefix, rule);
  } catch (const Error&) {
    rule.CloseAfterFailure();
    return false;
  }
}

bool Options::ClearIniComments(const std::wstring& ini_file) {
  KeepingRule rule([](std::string_view line) { return !line.starts_with(';'); });
  return RewriteIniFile(platform_, ini_file, kPrefix, rule);
}

bool Options::RemoveIniComment(const std::wstring& ini_file, const std::wstring& comment) {
  const std::string unwanted = ";" + platform_.session.SystemBytes(comment);
  KeepingRule rule([&](std::string_view line) {
    return !line.starts_with(';') || !EqualLines(platform_.session, line, unwanted);
  });
  return RewriteIniFile(platform_, ini_file, kPrefix, rule);
}

bool Options::CommentINIKey(const std::wstring& id) {
  std::unique_ptr<tables::Connection> connection;
  std::unique_ptr<tables::Recordset> recordset;
  try {
    connection = support::OpenConnection(tables_, DataPath(), tables::CursorLocation::kServer,
                                         tables::ConnectMode::kReadWrite);
    const std::optional<StoredDefinition> definition = FindDefinition(*connection, recordset, id);
    support::CloseRecordset(connection, recordset);
    if (!definition) return false;
    // In whatever section the key stands: keys are unique across a file.
    return CommentOutKey(platform_, definition->local_ini ? INIFile() : GlobalIni(),
                         definition->key);
  } catch (const Error&) {
    support::CloseAfterFailure(connection, recordset);
    return false;
  }
}

}  // namespace tdefault::catalogue
