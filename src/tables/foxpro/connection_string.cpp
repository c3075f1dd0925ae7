#include "tables/foxpro/connection_string.h"

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

#include "base/error.h"
#include "base/text.h"
#include "tables/foxpro/table_errors.h"

namespace tdefault::tables::foxpro {
namespace {

Error Refused(const std::wstring& reason) {
  return {error_number::kTableDamaged, kTablesSource,
          L"The connection string cannot be used: " + reason + L"."};
}

struct Part {
  std::wstring name;
  std::wstring value;
};

// Takes the parts off the front of the text, one by one.
class PartReader {
 public:
  explicit PartReader(std::wstring_view text) : text_(text) {}

  // Absent at the end. Empty parts (";;") are skipped.
  std::optional<Part> Next() {
    SkipEmpty();
    if (text_.empty()) return std::nullopt;
    const std::size_t equals = text_.find_first_of(L"=;");
    if (equals == std::wstring_view::npos || text_[equals] == L';') {
      throw Refused(L"\"" + std::wstring(TrimBlanks(text_.substr(0, equals))) +
                    L"\" has no value; parts are written NAME=VALUE and separated by \";\"");
    }
    Part part{std::wstring(TrimBlanks(text_.substr(0, equals))), {}};
    text_.remove_prefix(equals + 1);
    part.value = Value(part.name);
    return part;
  }

 private:
  void SkipEmpty() {
    const std::size_t start = text_.find_first_not_of(L" ;");
    text_.remove_prefix(start == std::wstring_view::npos ? text_.size() : start);
  }

  std::wstring Value(const std::wstring& name) {
    const std::size_t start = text_.find_first_not_of(L' ');
    if (start != std::wstring_view::npos && (text_[start] == L'"' || text_[start] == L'\'')) {
      text_.remove_prefix(start);
      return QuotedValue(name);
    }
    const std::size_t end = text_.find(L';');
    std::wstring value(TrimBlanks(text_.substr(0, end)));
    text_.remove_prefix(end == std::wstring_view::npos ? text_.size() : end);
    return value;
  }

  std::wstring QuotedValue(const std::wstring& name) {
    const wchar_t quote = text_.front();
    std::wstring value;
    std::size_t position = 1;
    for (; position < text_.size(); ++position) {
      if (text_[position] == quote) {
        const bool doubled = position + 1 < text_.size() && text_[position + 1] == quote;
        if (!doubled) break;
        ++position;
      }
      value += text_[position];
    }
    if (position == text_.size())
      throw Refused(L"the value of " + name + L" lacks its second quote");
    text_.remove_prefix(position + 1);
    const std::size_t behind = text_.find_first_not_of(L' ');
    if (behind != std::wstring_view::npos && text_[behind] != L';')
      throw Refused(L"there is text behind the quoted value of " + name);
    return value;
  }

  std::wstring_view text_;
};

bool IsOneOf(const std::wstring& value, std::initializer_list<std::wstring_view> known) {
  for (const std::wstring_view entry : known)
    if (EqualIgnoringCase(value, entry)) return true;
  return false;
}

Error UnknownValue(const Part& part, const std::wstring& allowed) {
  return Refused(part.name + L" is \"" + part.value + L"\"; it can be " + allowed);
}

// Tables are always opened so that others may use them meanwhile, and a mode that asks for less
// sharing is refused rather than ignored. True for a mode that allows reading only.
bool ReadMode(const Part& part) {
  bool reads = false;
  bool writes = false;
  for (const std::wstring& piece : Split(part.value, L"|")) {
    const std::wstring mode(TrimBlanks(piece));
    if (!IsOneOf(mode, {L"Read", L"Write", L"ReadWrite", L"Share Deny None"}))
      throw UnknownValue(part, L"Read, Write, ReadWrite and Share Deny None, joined by \"|\"");
    reads = reads || IsOneOf(mode, {L"Read"});
    writes = writes || IsOneOf(mode, {L"Write", L"ReadWrite"});
  }
  return reads && !writes;
}

std::wstring FolderPath(const std::wstring& value) {
  std::wstring path(TrimBlanks(value));
  while (!path.empty() && (path.back() == L'\\' || path.back() == L'/')) path.pop_back();
  return path;
}

void Apply(const Part& part, ConnectionParts& parts) {
  if (EqualIgnoringCase(part.name, L"Provider")) {
    if (!IsOneOf(part.value, {L"VFPOLEDB", L"VFPOLEDB.1"})) throw UnknownValue(part, L"VFPOLEDB.1");
  } else if (EqualIgnoringCase(part.name, L"SourceType")) {
    if (!IsOneOf(part.value, {L"dbf"}))
      throw UnknownValue(part, L"dbf (tables of a folder, no database container)");
  } else if (EqualIgnoringCase(part.name, L"Data Source")) {
    parts.data_source = FolderPath(part.value);
  } else if (EqualIgnoringCase(part.name, L"Mode")) {
    parts.read_only = ReadMode(part);
  } else if (EqualIgnoringCase(part.name, L"Collating Sequence")) {
    const bool general = IsOneOf(part.value, {L"GENERAL"});
    if (!general && !IsOneOf(part.value, {L"MACHINE"}))
      throw UnknownValue(part, L"MACHINE or GENERAL");
    parts.sequence = general ? CollatingSequence::kGeneral : CollatingSequence::kMachine;
  } else if (EqualIgnoringCase(part.name, L"Deleted")) {
    parts.hides_deleted = IsOneOf(part.value, {L"TRUE"});
    if (!parts.hides_deleted && !IsOneOf(part.value, {L"FALSE"}))
      throw UnknownValue(part, L"TRUE or FALSE");
  } else {
    throw Refused(L"it has no part \"" + part.name +
                  L"\"; the parts are Provider, SourceType, Data Source, Mode, Collating Sequence "
                  L"and Deleted");
  }
}

}  // namespace

ConnectionParts ParseConnectionString(std::wstring_view text) {
  ConnectionParts parts;
  PartReader reader(text);
  while (const auto part = reader.Next()) Apply(*part, parts);
  if (parts.data_source.empty()) throw Refused(L"its part Data Source names no data folder");
  return parts;
}

}  // namespace tdefault::tables::foxpro
