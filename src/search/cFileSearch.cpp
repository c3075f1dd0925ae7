#include "search/cFileSearch.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "base/error.h"
#include "base/text.h"

namespace tdefault::search {
namespace {

constexpr std::wstring_view kLineBreak = L"\r\n";
constexpr std::wstring_view kErrorSource = L":FindFile";

// Names of subfolders that are kept while they are searched; a folder with more is listed again.
constexpr std::size_t kKeptNames = 1024;

// In a folder with very many entries the thread's windows get their turn this often.
constexpr std::size_t kEntriesBetweenYields = 2048;

// What stands in front of the next folder's name; absent for an entry that is no subfolder. Blanks
// in front of a name are lost, as they are when the name is compared.
std::optional<std::wstring_view> SubfolderName(const platform::FolderEntry& entry) {
  if (!entry.is_folder) return std::nullopt;
  std::wstring_view name = entry.name;
  name.remove_prefix(std::min(name.find_first_not_of(L' '), name.size()));
  if (name == L"." || name == L"..") return std::nullopt;
  return name;
}

// A few names, one behind the other.
class NameQueue {
 public:
  [[nodiscard]] bool full() const noexcept { return count_ == kKeptNames; }

  void Add(std::wstring_view name) {
    names_.append(name).push_back(L'\0');
    ++count_;
  }

  // Absent when all have been taken.
  std::optional<std::wstring_view> Take() {
    if (next_ == names_.size()) return std::nullopt;
    const std::size_t end = names_.find(L'\0', next_);
    const std::size_t start = std::exchange(next_, end + 1);
    return std::wstring_view(names_).substr(start, end - start);
  }

  void Clear() { *this = NameQueue(); }

 private:
  std::wstring names_;
  std::size_t next_ = 0;
  std::size_t count_ = 0;
};

// A FindFile call that runs, counted.
class OpenCall {
 public:
  explicit OpenCall(std::size_t& depth) : depth_(depth) { ++depth_; }
  ~OpenCall() { Leave(); }
  OpenCall(const OpenCall&) = delete;
  OpenCall& operator=(const OpenCall&) = delete;

  [[nodiscard]] bool is_outermost() const noexcept { return depth_ == 1; }

  // A handler of the last event already starts a search of its own.
  void Leave() noexcept {
    if (std::exchange(open_, false)) --depth_;
  }

 private:
  std::size_t& depth_;
  bool open_ = true;
};

}  // namespace

// One search as its caller sees it. Each folder below is a folder list of its own, searched when
// its name is reached in the folder above; the lists that are open stand on a stack of their own,
// so that the depth of folders has no limit but the system's.
class cFileSearch::Search {
 public:
  Search(cFileSearch& owner, const std::wstring& file_name, bool return_all_matches,
         bool search_sub_folders)
      : owner_(owner),
        file_name_(file_name),
        return_all_matches_(return_all_matches),
        search_sub_folders_(search_sub_folders) {}

  // The matches, not formatted yet.
  std::wstring Run(std::wstring_view folders) {
    Enter(folders);
    while (!lists_.empty()) Advance(lists_.back());
    return std::move(result_);
  }

  // The folder lists that an error leaves which ends the search now.
  [[nodiscard]] std::size_t open_lists() const noexcept { return lists_.size(); }

 private:
  struct FolderList {
    std::vector<std::wstring> pieces;
    std::size_t next_piece = 0;
    std::wstring working_folder;
    // Where its folders are: kept names, or those of an enumeration.
    NameQueue subfolders;
    std::unique_ptr<platform::FolderEnumeration> listed_again;
  };

  [[nodiscard]] bool over() const noexcept { return !return_all_matches_ && !result_.empty(); }

  void Enter(std::wstring_view folders) {
    lists_.emplace_back();
    lists_.back().pieces = Split(folders, L";");
  }

  // One folder further; ends the list where there is none.
  void Advance(FolderList& list) {
    if (over()) {
      lists_.clear();
      return;
    }
    if (const std::optional<std::wstring> subfolder = NextSubfolder(list)) {
      Enter(*subfolder);
      return;
    }
    const bool goes_on = list.next_piece < list.pieces.size() && SearchPiece(list);
    if (!goes_on && !lists_.empty()) lists_.pop_back();
  }

  std::optional<std::wstring> NextSubfolder(FolderList& list) {
    std::optional<std::wstring_view> name;
    std::optional<platform::FolderEntry> entry;
    if (list.listed_again) {
      while (!name && (entry = list.listed_again->Next())) {
        name = SubfolderName(*entry);
        CountEntry();
      }
      if (!name) list.listed_again.reset();
    } else {
      name = list.subfolders.Take();
    }
    if (!name) return std::nullopt;
    return list.working_folder + std::wstring(*name) + L"\\";
  }

  // Whether the list goes on behind its next piece.
  bool SearchPiece(FolderList& list) {
    list.working_folder = std::move(list.pieces[list.next_piece++]);
    list.subfolders.Clear();
    if (!list.working_folder.ends_with(L'\\')) list.working_folder += L'\\';
    owner_.RaiseFolderChange(list.working_folder);
    if (owner_.Cancel()) return false;
    Yield();
    if (IsEndless(list)) return false;
    auto entries = owner_.files_.Enumerate(list.working_folder + L"*.*");
    if (!entries.ok()) return false;
    const bool kept_all = SearchEntries(list, *entries.value());
    if (over() || kept_all) return true;
    // Named again from the first: what was kept is forgotten, and where the second enumeration
    // fails, the list ends without any of them.
    list.subfolders.Clear();
    { const auto closed = std::move(entries).value(); }
    auto again = owner_.files_.Enumerate(list.working_folder + L"*.*");
    if (!again.ok()) return false;
    list.listed_again = std::move(again).value();
    return true;
  }

  // Whether the folder is searched already by a list that waits for this one. Only a name that was
  // taken apart leads there: any other folder is below the one that holds it.
  [[nodiscard]] bool IsEndless(const FolderList& list) const {
    return list.pieces.size() > 1 &&
           std::any_of(lists_.begin(), lists_.end() - 1, [&list](const FolderList& open) {
             return open.working_folder == list.working_folder;
           });
  }

  // Takes the matches up and keeps the names of the subfolders; whether there was room for all.
  bool SearchEntries(FolderList& list, platform::FolderEnumeration& entries) {
    bool kept_all = true;
    bool is_first = true;
    while (const std::optional<platform::FolderEntry> entry = entries.Next()) {
      if (!entry->is_folder && EqualIgnoringCase(TrimBlanks(entry->name), file_name_)) {
        result_.append(list.working_folder).append(file_name_);
        if (is_first) result_.append(kLineBreak);
        if (over()) return true;
      }
      is_first = false;
      if (const auto name = search_sub_folders_ ? SubfolderName(*entry) : std::nullopt) {
        if (list.subfolders.full()) kept_all = false;
        if (kept_all) list.subfolders.Add(*name);
      }
      CountEntry();
    }
    return kept_all;
  }

  void CountEntry() {
    if (++entries_since_yield_ == kEntriesBetweenYields) Yield();
  }

  void Yield() {
    entries_since_yield_ = 0;
    owner_.dialogs_.ProcessPendingMessages();
  }

  cFileSearch& owner_;
  const std::wstring& file_name_;
  bool return_all_matches_;
  bool search_sub_folders_;
  std::vector<FolderList> lists_;
  std::wstring result_;
  std::size_t entries_since_yield_ = 0;
};

cFileSearch::cFileSearch(platform::Files& files, platform::Session& session,
                         platform::Dialogs& dialogs)
    : files_(files), session_(session), dialogs_(dialogs) {}

void cFileSearch::OnFolderChange(std::function<void(const std::wstring& folder)> listener) {
  listener_ = std::move(listener);
}

void cFileSearch::RaiseFolderChange(const std::wstring& folder) const {
  if (listener_) listener_(folder);
}

std::wstring cFileSearch::DefaultFolders() {
  const platform::SystemResult<std::wstring> current = files_.CurrentFolder();
  // The system finds the folder that it cannot name.
  const std::wstring current_folder = current.ok() ? current.value() : L".";
  return current_folder + L";" + session_.EnvironmentValue(L"path").value_or(L"");
}

std::wstring cFileSearch::FindFile(const std::wstring& file_name, bool return_all_matches,
                                   const std::wstring& folder, bool search_sub_folders) {
  OpenCall call(depth_);
  Search search(*this, file_name, return_all_matches, search_sub_folders);
  try {
    std::wstring result = search.Run(folder.empty() ? DefaultFolders() : folder);
    if (!call.is_outermost()) return result;
    result = ReplaceIgnoringCase(result, file_name, file_name + std::wstring(kLineBreak));
    if (result.ends_with(kLineBreak)) {
      call.Leave();
      RaiseFolderChange({});
      result.resize(result.size() - kLineBreak.size());
    }
    return result;
  } catch (const Error& error) {
    std::wstring source = error.source();
    for (std::size_t left = std::max<std::size_t>(search.open_lists(), 1); left > 0; --left) {
      source += kErrorSource;
    }
    throw Error(error.number(), std::move(source), error.description());
  }
}

}  // namespace tdefault::search
