// A real folder behind the platform's port, for measuring: natively through FolderFiles, under
// Windows through the product's own adapter.
#pragma once

#include <filesystem>
#include <string>
#include <utility>

#ifdef _WIN32
#include "platform/win32/win32_files.h"
#else
#include "folder_files.h"
#endif

namespace tdefault::bench {

class MeasuredFolder {
 public:
#ifdef _WIN32
  explicit MeasuredFolder(const std::filesystem::path& folder) : path_(folder.wstring()) {}
#else
  explicit MeasuredFolder(std::filesystem::path folder)
      : files_(std::move(folder)), path_(L"C:\\Data") {}
#endif

  [[nodiscard]] platform::Files& files() { return files_; }
  // As connections and files() name the folder.
  [[nodiscard]] const std::wstring& path() const { return path_; }
  [[nodiscard]] std::wstring PathOf(const wchar_t* name) const { return path_ + L"\\" + name; }
  [[nodiscard]] std::wstring ConnectionString() const {
    return L"Data Source=" + path_ + L";Collating Sequence=GENERAL;Deleted=TRUE;";
  }

 private:
#ifdef _WIN32
  platform::win32::Win32Files files_;
#else
  FolderFiles files_;
#endif
  std::wstring path_;
};

}  // namespace tdefault::bench
