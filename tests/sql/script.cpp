#include "sql/script.h"

#include <optional>
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "tables/sql/query.h"

namespace tdefault::tests {
namespace {

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
    } else if (word == L"rows" || word == L"columns" || word == L"error") {
      RunCase(word, rest, lines);
    } else {
      Fail(L"a paragraph begins with collation, table, rows, columns or error, not " + word);
    }
  }

  void AddTable(const std::wstring& name, const std::vector<std::wstring>& lines) {
    ScriptStore::TableText table{name, SplitTrimmed(lines[1], L";"), {}};
    for (std::size_t i = 2; i < lines.size(); ++i)
      table.rows.push_back(SplitTrimmed(lines[i], L"|"));
    store_.AddTable(table);
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
    for (++at; at < lines.size(); ++at) expected.push_back(Join(SplitTrimmed(lines[at], L"|")));
    const std::vector<std::wstring> found = Execute(kind, statement);
    if (found == expected) return;
    std::wstring text = title + L"\n  expected:\n";
    for (const std::wstring& line : expected) text += L"    " + line + L"\n";
    text += L"  found:\n";
    for (const std::wstring& line : found) text += L"    " + line + L"\n";
    Fail(text);
  }

  std::vector<std::wstring> Execute(const std::wstring& kind, const std::wstring& statement) {
    try {
      const auto rows = tables::sql::ExecuteQuery(statement, store_.finder());
      if (kind == L"columns") return ShowColumns(*rows);
      return ShowRows(*rows);
    } catch (const Error& error) {
      if (kind == L"error" && error.number() == error_number::kStatementError)
        return {error.description()};
      return {L"error " + std::to_wstring(error.number()) + L": " + error.description()};
    }
  }

  static std::vector<std::wstring> ShowColumns(const tables::sql::Rows& rows) {
    std::vector<std::wstring> lines;
    for (const tables::Column& column : rows.columns()) {
      std::wstring line = column.name + L" ";
      line += static_cast<wchar_t>(column.type);
      line += L" " + std::to_wstring(column.length);
      if (column.decimals != 0) line += L" " + std::to_wstring(column.decimals);
      if (column.fixed_width) line += L" fixed";
      lines.push_back(line);
    }
    return lines;
  }

  static std::vector<std::wstring> ShowRows(tables::sql::Rows& rows) {
    std::vector<std::wstring> lines;
    while (rows.Next()) {
      std::vector<std::wstring> values;
      for (std::size_t i = 0; i < rows.columns().size(); ++i)
        values.push_back(ShowValue(rows.Read(i)));
      lines.push_back(Join(values));
    }
    return lines;
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
