#include "sql/script.h"

#include <array>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "base/text.h"

namespace tdefault::tests {
namespace {

constexpr std::wstring_view kError = L"error ";

std::vector<std::wstring> SplitTrimmed(std::wstring_view text, std::wstring_view separator) {
  std::vector<std::wstring> pieces;
  for (const std::wstring& piece : Split(text, separator)) pieces.emplace_back(TrimBlanks(piece));
  return pieces;
}

std::wstring Join(const std::vector<std::wstring>& pieces) {
  std::wstring text;
  for (const std::wstring& piece : pieces) {
    if (!text.empty()) text += L" | ";
    text += piece;
  }
  return text;
}

// One paragraph of a script: lines up to the next empty one, without comments.
struct Paragraph {
  std::size_t line = 0;  // of its first line, from 1
  std::vector<std::wstring> lines;
};

std::vector<Paragraph> ReadParagraphs(const std::string& text) {
  std::vector<Paragraph> paragraphs;
  bool open = false;
  std::size_t number = 0;
  for (std::wstring& line : Split(FromUtf8(text), L"\n")) {
    ++number;
    if (!line.empty() && line.back() == L'\r') line.pop_back();
    if (!line.empty() && line.front() == L'#') continue;
    if (TrimBlanks(line).empty()) {
      open = false;
      continue;
    }
    if (!open) paragraphs.push_back({number, {}});
    open = true;
    paragraphs.back().lines.push_back(std::move(line));
  }
  return paragraphs;
}

class Runner {
 public:
  Runner(const std::string& name, ScriptStore& store) : name_(name), store_(store) {}

  ScriptOutcome Run(const std::string& text) {
    for (const Paragraph& paragraph : ReadParagraphs(text)) {
      line_ = paragraph.line;
      RunParagraph(paragraph.lines);
    }
    return std::move(outcome_);
  }

 private:
  void Fail(std::wstring_view text) {
    outcome_.failures.push_back(name_ + ":" + std::to_string(line_) + ": " + ToUtf8(text));
  }

  void RunParagraph(const std::vector<std::wstring>& lines) {
    const std::size_t blank = lines.front().find(L' ');
    const std::wstring word = lines.front().substr(0, blank);
    const std::wstring rest = blank == std::wstring::npos ? L"" : lines.front().substr(blank + 1);
    if (word == L"collation") {
      store_.SetCollation(rest);
    } else if (word == L"table" && lines.size() > 1) {
      AddTable(rest, lines);
    } else if (word == L"rows" || word == L"columns" || word == L"error" || word == L"change") {
      RunCase(word, rest, lines);
    } else if (word == L"recordset") {
      RunRecordsetCase(rest, lines);
    } else {
      Fail(
          L"a paragraph begins with collation, table, rows, columns, change, error or recordset, "
          L"not " +
          word);
    }
  }

  void AddTable(const std::wstring& name, const std::vector<std::wstring>& lines) {
    ScriptStore::TableText table{name, SplitTrimmed(lines[1], L";"), {}, {}};
    for (std::size_t i = 2; i < lines.size(); ++i) {
      if (lines[i].starts_with(L"tag "))
        table.tags.push_back(lines[i].substr(4));
      else
        table.rows.push_back(SplitTrimmed(lines[i], L"|"));
    }
    store_.AddTable(table);
  }

  void RunRecordsetCase(const std::wstring& title, const std::vector<std::wstring>& lines) {
    constexpr std::wstring_view kArrow = L" => ";
    ++outcome_.cases;
    for (std::size_t i = 1; i < lines.size(); ++i) {
      const std::size_t arrow = lines[i].rfind(kArrow);
      const bool checked = arrow != std::wstring::npos;
      const std::wstring command(TrimBlanks(lines[i].substr(0, arrow)));
      const std::wstring expected =
          checked ? Join(SplitTrimmed(lines[i].substr(arrow + kArrow.size()), L"|")) : L"";
      const std::wstring found = RunCommand(command);
      const bool number_only = expected.starts_with(kError) && expected.find(L':') == expected.npos;
      const bool right = checked
                             ? (number_only ? found.substr(0, found.find(L':')) : found) == expected
                             : !found.starts_with(kError);
      if (right) continue;
      Fail(title + L"\n  " + command + (checked ? L"\n  expected: " + expected : L"") +
           L"\n  found:    " + found);
      break;
    }
    store_.EndCase();
  }

  std::wstring RunCommand(const std::wstring& command) {
    try {
      return store_.RunCommand(command);
    } catch (const Error& error) {
      return ShowError(error);
    }
  }

  void RunCase(const std::wstring& kind, const std::wstring& title,
               const std::vector<std::wstring>& lines) {
    ++outcome_.cases;
    std::wstring statement;
    std::size_t at = 1;
    for (; at < lines.size() && lines[at] != L"----"; ++at)
      statement += (statement.empty() ? L"" : L"\n") + lines[at];
    if (at == lines.size()) return Fail(L"the line ---- is missing: " + title);
    std::vector<std::wstring> expected;
    for (++at; at < lines.size(); ++at) {
      expected.push_back(Join(SplitTrimmed(lines[at], L"|")));
      if (kind == L"columns") expected.back() = store_.ColumnShown(expected.back());
    }
    const std::vector<std::wstring> found = Run(kind, statement);
    if (found == expected) return;
    std::wstring text = title + L"\n  expected:\n";
    for (const std::wstring& line : expected) text += L"    " + line + L"\n";
    text += L"  found:\n";
    for (const std::wstring& line : found) text += L"    " + line + L"\n";
    Fail(text);
  }

  std::vector<std::wstring> Run(const std::wstring& kind, const std::wstring& statement) {
    try {
      const ScriptStore::Result result = store_.Run(statement);
      if (kind == L"columns") return result.columns;
      if (result.changed >= 0) return {std::to_wstring(result.changed)};
      std::vector<std::wstring> lines;
      for (const std::vector<Value>& row : result.rows) lines.push_back(ShowRow(row));
      return lines;
    } catch (const Error& error) {
      if (kind == L"error" && error.number() == error_number::kStatementError)
        return {error.description()};
      return {ShowError(error)};
    }
  }

  const std::string& name_;
  ScriptStore& store_;
  std::size_t line_ = 0;
  ScriptOutcome outcome_;
};

}  // namespace

ScriptOutcome RunScript(const std::string& name, const std::string& text, ScriptStore& store) {
  return Runner(name, store).Run(text);
}

std::wstring ScriptStore::RunCommand(const std::wstring& command) {
  throw std::invalid_argument("this store has no recordsets: " + ToUtf8(command));
}

std::wstring ShowError(const Error& error) {
  struct Name {
    std::int32_t number;
    const wchar_t* name;
  };
  static constexpr std::array kNames = {
      Name{error_number::kInvalidArgument, L"InvalidArgument"},
      Name{error_number::kOverflow, L"Overflow"},
      Name{error_number::kTypeMismatch, L"TypeMismatch"},
      Name{error_number::kInvalidUseOfNull, L"InvalidUseOfNull"},
      Name{error_number::kTableDamaged, L"TableDamaged"},
      Name{error_number::kNoPermission, L"NoPermission"},
      Name{error_number::kStatementError, L"StatementError"},
      Name{error_number::kCannotMoveBack, L"CannotMoveBack"},
      Name{error_number::kRowDeleted, L"RowDeleted"},
      Name{error_number::kIntegrityViolation, L"IntegrityViolation"},
      Name{error_number::kNoSuchTable, L"NoSuchTable"},
      Name{error_number::kInUseByAnother, L"InUseByAnother"},
      Name{error_number::kValueDoesNotFit, L"ValueDoesNotFit"},
      Name{error_number::kRowChanged, L"RowChanged"},
      Name{error_number::kInvalidArguments, L"InvalidArguments"},
      Name{error_number::kNoCurrentRow, L"NoCurrentRow"},
      Name{error_number::kNotUpdatable, L"NotUpdatable"},
      Name{error_number::kNoSuchItem, L"NoSuchItem"},
      Name{error_number::kObjectClosed, L"ObjectClosed"},
      Name{error_number::kObjectOpen, L"ObjectOpen"},
  };
  std::wstring name = std::to_wstring(error.number());
  for (const Name& known : kNames)
    if (known.number == error.number()) name = known.name;
  return std::wstring(kError) + name + L": " + error.description();
}

std::wstring ShowRow(const std::vector<Value>& row) {
  std::wstring text;
  for (const Value& value : row) {
    if (&value != row.data()) text += L" | ";
    text += ShowValue(value);
  }
  return text;
}

std::wstring ShowValue(const Value& value) {
  struct Visitor {
    std::wstring operator()(const Null&) const { return L"NULL"; }
    std::wstring operator()(bool flag) const { return flag ? L".T." : L".F."; }
    std::wstring operator()(std::int32_t number) const { return std::to_wstring(number); }
    std::wstring operator()(double number) const { return NumberToText(number); }
    std::wstring operator()(const Currency& number) const { return ToText(Value(number), L""); }
    std::wstring operator()(const std::wstring& text) const { return L"'" + text + L"'"; }
    std::wstring operator()(const Date& date) const {
      return date.empty() ? L"{}" : tdefault::ToText(date);
    }
    std::wstring operator()(const DateTime& time) const {
      return time.empty() ? L"{}" : tdefault::ToText(time);
    }
    std::wstring operator()(const Bytes& bytes) const {
      constexpr std::wstring_view kDigits = L"0123456789ABCDEF";
      std::wstring text = L"0x";
      for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4U];
        text += kDigits[byte & 0xFU];
      }
      return text;
    }
  };
  return std::visit(Visitor{}, value);
}

}  // namespace tdefault::tests
