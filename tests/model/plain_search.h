// The search for a file as plainly as it can be written: a function that calls itself, two listings
// of each folder, every name as the system's fixed field holds it. It keeps a list of open folders
// for one reason only: to stop where it would never end.
#pragma once

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/dialogs.h"
#include "platform/files.h"
#include "platform/session.h"

namespace tdefault::tests::model {

// The search has come back into a folder whose subfolders it is searching, or has become too long
// to be of use.
class EndlessSearch final : public std::runtime_error {
 public:
  EndlessSearch() : std::runtime_error("the search never ends") {}
};

class PlainSearch {
 public:
  PlainSearch(platform::Files& files, platform::Session& session, platform::Dialogs& dialogs)
      : files_(files), session_(session), dialogs_(dialogs) {}

  void SetCancel(bool cancel) { cancel_ = cancel; }
  void OnFolderChange(std::function<void(const std::wstring& folder)> listener) {
    folder_change_ = std::move(listener);
  }

  // What a host calls, a handler in a search too.
  std::wstring FindFile(const std::wstring& file_name, bool return_all_matches,
                        const std::wstring& folder, bool search_sub_folders);

 private:
  struct Call {
    const std::wstring& file_name;
    bool return_all_matches;
    bool search_sub_folders;
    std::wstring result;
    std::unique_ptr<platform::FolderEnumeration> handle;

    [[nodiscard]] bool ends() const { return !result.empty() && !return_all_matches; }
  };

  std::wstring Find(const std::wstring& file_name, bool return_all_matches, std::wstring folder,
                    bool search_sub_folders);
  void WalkPieces(Call& call, const std::wstring& folder);
  bool Open(Call& call, const std::wstring& working_folder);
  bool SearchFiles(Call& call, const std::wstring& working_folder);
  bool SearchSubfolders(Call& call, const std::wstring& working_folder);

  platform::Files& files_;
  platform::Session& session_;
  platform::Dialogs& dialogs_;
  std::function<void(const std::wstring& folder)> folder_change_;
  bool cancel_ = false;
  int depth_ = 0;
  std::vector<std::wstring> open_folders_;  // of the host's call that runs
};

}  // namespace tdefault::tests::model
