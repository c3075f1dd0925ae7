#include "tables/script_tables.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <map>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "sql/memory_store.h"

namespace tdefault::tests {
namespace {

using tables::Column;

std::string Narrow(std::wstring_view text) { return CodePage::Find(1252)->Encode(text); }

std::string LittleEndian(std::uint64_t value, std::size_t size) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i) bytes.push_back(static_cast<char>(value >> (8 * i)));
  return bytes;
}

std::string BigEndian(std::uint64_t value, std::size_t size) {
  const std::string reversed = LittleEndian(value, size);
  return {reversed.rbegin(), reversed.rend()};
}

std::string Padded(std::string text, std::size_t size) {
  if (text.size() > size) throw std::invalid_argument("longer than its column: " + text);
  text.resize(size, ' ');
  return text;
}

bool HasLengthBit(const Column& column) { return column.type == 'V' || column.type == 'Q'; }

std::size_t StoredLength(const Column& column) {
  constexpr std::string_view kFour = "IMGPW";
  constexpr std::string_view kEight = "DTBY";
  if (kFour.find(column.type) != std::string_view::npos) return 4;
  if (kEight.find(column.type) != std::string_view::npos) return 8;
  return column.type == 'L' ? 1 : static_cast<std::size_t>(column.length);
}

// Encodes values, and collects those of memo columns.
class RowEncoder {
 public:
  explicit RowEncoder(std::string memo, std::uint16_t block_size)
      : memo_(std::move(memo)), block_size_(block_size) {}

  std::string Row(const std::vector<Column>& columns, const std::vector<Value>& values) {
    std::string record = " ";
    std::uint64_t bits = 0;
    unsigned bit = 0;
    for (std::size_t i = 0; i < columns.size(); ++i) {
      const Column& column = columns[i];
      const std::size_t length = StoredLength(column);
      std::string bytes = IsNull(values[i]) ? std::string() : Encode(column, values[i]);
      if (HasLengthBit(column)) {
        if (bytes.size() < length) {
          bits |= std::uint64_t{1} << bit;
          const std::size_t used = bytes.size();
          bytes.resize(length, '\0');
          bytes.back() = static_cast<char>(used);
        }
        ++bit;
      } else if (IsNull(values[i])) {
        bytes = column.kind == tables::ColumnKind::kText ? Padded({}, length)
                                                         : std::string(length, '\0');
        if (column.type == 'N' || column.type == 'F' || column.type == 'D' || column.type == 'L')
          bytes = Padded({}, length);
      }
      if (column.nullable) {
        if (IsNull(values[i])) bits |= std::uint64_t{1} << bit;
        ++bit;
      }
      record += bytes;
    }
    return record + LittleEndian(bits, (bit + 7) / 8);
  }

  [[nodiscard]] std::string Memo() const {
    std::string bytes = memo_;
    bytes.replace(0, 4, BigEndian(bytes.size() / block_size_, 4));
    return bytes;
  }

 private:
  std::string Encode(const Column& column, const Value& value) {
    const std::size_t length = StoredLength(column);
    switch (column.type) {
      case 'C':
        return Padded(Narrow(std::get<std::wstring>(value)), length);
      case 'V':
        return Narrow(std::get<std::wstring>(value));
      case 'Q':
        return Bytewise(std::get<Bytes>(value));
      case 'M':
        return Pointer(Narrow(std::get<std::wstring>(value)), 1);
      case 'G':
      case 'P':
      case 'W':
        return Pointer(Bytewise(std::get<Bytes>(value)), column.type == 'G' ? 2 : 1);
      case 'N':
      case 'F':
        return Number(std::get<double>(value), length, column.decimals);
      case 'B':
        return LittleEndian(std::bit_cast<std::uint64_t>(std::get<double>(value)), 8);
      case 'I':
        return LittleEndian(static_cast<std::uint32_t>(std::get<std::int32_t>(value)), 4);
      case 'Y':
        return LittleEndian(static_cast<std::uint64_t>(std::get<Currency>(value).ten_thousandths),
                            8);
      case 'L':
        return std::get<bool>(value) ? "T" : "F";
      case 'D':
        return Day(std::get<Date>(value));
      default: {
        const auto& time = std::get<DateTime>(value);
        return LittleEndian(static_cast<std::uint32_t>(time.date.julian_day), 4) +
               LittleEndian(static_cast<std::uint32_t>(time.milliseconds), 4);
      }
    }
  }

  static std::string Bytewise(const Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

  static std::string Number(double number, std::size_t width, std::int32_t decimals) {
    std::string text(64, '\0');
    const auto [end, failure] = std::to_chars(text.data(), text.data() + text.size(), number,
                                              std::chars_format::fixed, decimals);
    text.resize(static_cast<std::size_t>(end - text.data()));
    if (failure != std::errc() || text.size() > width)
      throw std::invalid_argument("longer than its column: " + text);
    return std::string(width - text.size(), ' ') + text;
  }

  static std::string Day(Date date) {
    if (date.empty()) return std::string(8, ' ');
    std::string text;
    for (const wchar_t character : ToText(date))
      if (character != L'-') text.push_back(static_cast<char>(character));
    return text;
  }

  std::string Pointer(const std::string& value, std::uint32_t signature) {
    if (value.empty()) return LittleEndian(0, 4);
    const std::size_t block = memo_.size() / block_size_;
    memo_ += BigEndian(signature, 4) + BigEndian(value.size(), 4) + value;
    memo_.resize((memo_.size() + block_size_ - 1) / block_size_ * block_size_, '\0');
    return LittleEndian(block, 4);
  }

  std::string memo_;
  std::uint16_t block_size_;
};

TableSpec SpecOf(const std::vector<Column>& columns) {
  TableSpec spec;
  for (const Column& column : columns) {
    ColumnSpec& to = spec.columns.emplace_back();
    to.name = ToUtf8(column.name);
    to.type = column.type;
    to.length = static_cast<std::uint8_t>(StoredLength(column));
    to.decimals = static_cast<std::uint8_t>(column.decimals);
    to.nullable = column.nullable;
    if (HasLengthBit(column) || column.type == 'W') spec.version = 0x32;
  }
  return spec;
}

// NAME LENGTH EXPRESSION [FOR CONDITION] [UNIQUE|CANDIDATE] [DESCENDING] [GENERAL] [NULLABLE]
TagSpec ReadTag(const std::wstring& text) {
  std::vector<std::string> words;
  for (const std::wstring& word : Split(TrimBlanks(text), L" ")) words.push_back(ToUtf8(word));
  if (words.size() < 3) throw std::invalid_argument("not well-formed: tag " + ToUtf8(text));
  TagSpec tag;
  tag.name = words[0];
  tag.key_length = static_cast<std::uint16_t>(std::stoul(words[1]));
  std::map<std::string_view, bool*> marks = {{"UNIQUE", &tag.unique},
                                             {"CANDIDATE", &tag.candidate},
                                             {"DESCENDING", &tag.descending},
                                             {"GENERAL", &tag.general},
                                             {"NULLABLE", &tag.nullable}};
  std::string* target = &tag.expression;
  for (std::size_t i = 2; i < words.size(); ++i) {
    const auto mark = marks.find(words[i]);
    if (mark != marks.end()) {
      *mark->second = true;
    } else if (words[i] == "FOR") {
      target = &tag.condition;
    } else {
      if (!target->empty()) *target += ' ';
      *target += words[i];
    }
  }
  return tag;
}

std::wstring Literal(const std::wstring& text, const Column& column) {
  using tables::ColumnKind;
  if (text == L"NULL") return text;
  const Value value = ReadValue(text, column);
  if (const auto* characters = std::get_if<std::wstring>(&value))
    return L"'" + ReplaceIgnoringCase(*characters, L"'", L"''") + L"'";
  const bool day = column.kind == ColumnKind::kDate || column.kind == ColumnKind::kDateTime;
  if (day) return text == L"{}" ? text : L"{^" + text + L"}";
  if (column.kind == ColumnKind::kBinary)
    throw std::invalid_argument("no literal for binary values: " + ToUtf8(text));
  return text;
}

}  // namespace

BuiltTable FilesOfTable(const ScriptStore::TableText& text) {
  const MemoryTable table = ReadTable(text);
  TableSpec spec = SpecOf(table.columns);
  for (const std::wstring& tag : text.tags) spec.tags.push_back(ReadTag(tag));
  BuiltTable files = BuildTable(spec);
  if (!spec.tags.empty()) return files;
  RowEncoder encoder(files.memo, spec.memo_block_size);
  files.table.pop_back();  // the end mark, which stands behind the rows
  for (const std::vector<Value>& row : table.rows) files.table += encoder.Row(table.columns, row);
  files.table += '\x1A';
  files.table.replace(4, 4, LittleEndian(table.rows.size(), 4));
  if (!files.memo.empty()) files.memo = encoder.Memo();
  return files;
}

std::wstring InsertStatement(const ScriptStore::TableText& text, std::size_t row) {
  const MemoryTable table = ReadTable(text);
  std::wstring names;
  std::wstring values;
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    if (i != 0) names += L",";
    names += table.columns[i].name;
    if (i != 0) values += L",";
    values += Literal(text.rows.at(row).at(i), table.columns[i]);
  }
  return L"INSERT INTO " + text.name + L" (" + names + L") VALUES (" + values + L")";
}

}  // namespace tdefault::tests
