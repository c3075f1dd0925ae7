#include "model/plain_search.h"

#include <algorithm>
#include <cwctype>
#include <optional>
#include <utility>

#include "base/error.h"

namespace tdefault::tests::model {
namespace {

// The field's 260 characters were blanks before the system wrote the name and its NUL.
std::wstring NameField(const std::wstring& name) {
  std::wstring field(260, L' ');
  field.replace(0, name.size() + 1, name + std::wstring(1, L'\0'));
  return field;
}

std::wstring Trim(const std::wstring& text) {
  const std::size_t first = text.find_first_not_of(L' ');
  if (first == std::wstring::npos) return L"";
  return text.substr(first, text.find_last_not_of(L' ') + 1 - first);
}

std::wstring ReplaceNul(const std::wstring& text, const std::wstring& replacement) {
  std::wstring replaced = text;
  for (std::size_t at = replaced.find(L'\0'); at != std::wstring::npos; at = replaced.find(L'\0')) {
    replaced.replace(at, 1, replacement);
  }
  return replaced;
}

// The names of these trees are of ASCII characters.
std::wstring Lower(std::wstring text) {
  for (wchar_t& character : text) {
    character = static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(character)));
  }
  return text;
}

std::wstring ReplaceAll(const std::wstring& text, const std::wstring& search,
                        const std::wstring& replacement) {
  if (search.empty()) return text;
  std::wstring rest = text;
  std::wstring replaced;
  for (std::size_t at = Lower(rest).find(Lower(search)); at != std::wstring::npos;
       at = Lower(rest).find(Lower(search))) {
    replaced += rest.substr(0, at) + replacement;
    rest = rest.substr(at + search.size());
  }
  return replaced + rest;
}

bool EndsIn(const std::wstring& text, const std::wstring& end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

std::vector<std::wstring> Pieces(std::wstring list) {
  std::vector<std::wstring> pieces;
  for (std::size_t at = list.find(L';'); at != std::wstring::npos; at = list.find(L';')) {
    pieces.push_back(list.substr(0, at));
    list = list.substr(at + 1);
  }
  pieces.push_back(list);
  return pieces;
}

}  // namespace

std::wstring PlainSearch::FindFile(const std::wstring& file_name, bool return_all_matches,
                                   const std::wstring& folder, bool search_sub_folders) {
  const std::vector<std::wstring> of_outer_call = std::exchange(open_folders_, {});
  try {
    std::wstring result = Find(file_name, return_all_matches, folder, search_sub_folders);
    open_folders_ = of_outer_call;
    return result;
  } catch (const Error&) {
    open_folders_ = of_outer_call;
    throw;
  }
}

std::wstring PlainSearch::Find(const std::wstring& file_name, bool return_all_matches,
                               std::wstring folder, bool search_sub_folders) {
  ++depth_;
  bool counted = true;
  try {
    Call call{file_name, return_all_matches, search_sub_folders, L"", nullptr};
    if (folder.empty()) {
      folder = files_.CurrentFolder().value() + L";" + *session_.EnvironmentValue(L"path");
    }
    WalkPieces(call, folder);
    call.handle.reset();
    --depth_;
    counted = false;
    if (depth_ == 0) {
      call.result = ReplaceAll(call.result, file_name, file_name + L"\r\n");
      if (EndsIn(call.result, L"\r\n")) {
        folder_change_(L"");
        call.result.resize(call.result.size() - 2);
      }
    }
    return call.result;
  } catch (const Error& error) {
    if (counted) --depth_;
    throw Error(error.number(), error.source() + L":FindFile", error.description());
  }
}

void PlainSearch::WalkPieces(Call& call, const std::wstring& folder) {
  for (const std::wstring& piece : Pieces(folder)) {
    const std::wstring working_folder = EndsIn(piece, L"\\") ? piece : piece + L"\\";
    folder_change_(working_folder);
    if (cancel_) return;
    dialogs_.ProcessPendingMessages();
    if (std::count(open_folders_.begin(), open_folders_.end(), working_folder) != 0) {
      throw EndlessSearch();
    }
    if (!Open(call, working_folder)) return;
    if (!SearchFiles(call, working_folder)) return;
    if (!call.search_sub_folders) continue;
    open_folders_.push_back(working_folder);
    const bool goes_on = SearchSubfolders(call, working_folder);
    open_folders_.pop_back();
    if (!goes_on) return;
  }
}

bool PlainSearch::Open(Call& call, const std::wstring& working_folder) {
  call.handle.reset();
  auto opened = files_.Enumerate(working_folder + L"*.*");
  if (!opened.ok()) return false;
  call.handle = std::move(opened).value();
  return true;
}

bool PlainSearch::SearchFiles(Call& call, const std::wstring& working_folder) {
  bool first = true;
  while (const std::optional<platform::FolderEntry> entry = call.handle->Next()) {
    const std::wstring name = Trim(ReplaceNul(NameField(entry->name), L""));
    if (!entry->is_folder && Lower(name) == Lower(call.file_name)) {
      call.result += working_folder + call.file_name;
      if (first) call.result += L"\r\n";
      if (call.ends()) return false;
    }
    first = false;
  }
  return true;
}

bool PlainSearch::SearchSubfolders(Call& call, const std::wstring& working_folder) {
  if (!Open(call, working_folder)) return false;
  while (const std::optional<platform::FolderEntry> entry = call.handle->Next()) {
    const std::wstring raw = Trim(NameField(entry->name));
    const std::wstring nul(1, L'\0');
    if (!entry->is_folder || raw == L"." + nul || raw == L".." + nul) continue;
    const std::wstring part = Trim(ReplaceNul(NameField(entry->name), L"\\"));
    call.result += Find(call.file_name, call.return_all_matches, working_folder + part, true);
    if (call.ends()) return false;
  }
  return true;
}

}  // namespace tdefault::tests::model
