// Looks for a file by its name in a list of folders and, if asked to, in all folders below them.
// Used on one thread; the search yields to the thread's windows, whose handlers may cancel it.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "platform/dialogs.h"
#include "platform/files.h"
#include "platform/session.h"

namespace tdefault::search {

class cFileSearch {
 public:
  // The ports outlive this.
  cFileSearch(platform::Files& files, platform::Session& session, platform::Dialogs& dialogs);

  // Once set, every folder list of this object, of searches to come too, ends behind its first
  // event. A search asks at each folder that it enters, and never resets it.
  [[nodiscard]] bool Cancel() const noexcept { return cancel_; }
  void SetCancel(bool cancel) noexcept { cancel_ = cancel; }

  // `listener` is told each folder that is entered, with its trailing backslash, and empty text at
  // the end of a search that has found something. It may set Cancel, and may call FindFile: but at
  // that end, such a call counts as a part of the search that runs, so its result is not formatted.
  // REQUIRES: not called while a search runs.
  void OnFolderChange(std::function<void(const std::wstring& folder)> listener);

  // The matches: each the folder with its trailing backslash and `file_name` as passed, separated
  // by CR LF; empty when there are none. `file_name` is compared with each file's name without
  // regard to case, wildcards are none. With `return_all_matches` false the first match ends the
  // search.
  //
  // `folder` is a list separated by ";"; empty, it is the current folder and the environment
  // variable "path". An empty piece is the root of the current drive. A folder that cannot be
  // listed ends its list, so the pieces behind it are not searched. A folder below is a list too:
  // one with a ";" in its name is taken for several. Should that lead back into a folder whose
  // subfolders are being searched, which would never end, it counts as one that cannot be listed.
  //
  // In the result every occurrence of `file_name`, in the folders' names too, has a CR LF behind
  // it, and a match that is the first entry of its folder has two: an empty line follows it.
  //
  // An Error of the listener, or of a handler that runs while the search yields, reaches the caller
  // with ":FindFile" behind its source, once for each folder list that it leaves.
  [[nodiscard]] std::wstring FindFile(const std::wstring& file_name, bool return_all_matches,
                                      const std::wstring& folder = {},
                                      bool search_sub_folders = false);

 private:
  class Search;

  void RaiseFolderChange(const std::wstring& folder) const;
  [[nodiscard]] std::wstring DefaultFolders();

  platform::Files& files_;
  platform::Session& session_;
  platform::Dialogs& dialogs_;
  std::function<void(const std::wstring& folder)> listener_;
  bool cancel_ = false;
  // FindFile calls that run: one, and those that handlers have made in it.
  std::size_t depth_ = 0;
};

}  // namespace tdefault::search
