#include "tovocfg/paths.h"

#include <windows.h>

#include "tovocfg/wide_text.h"

namespace tovocfg {

std::string FullPath(const std::string& path) {
  const std::wstring wide = ToWide(path);
  const DWORD size = GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr);
  std::wstring full(size, L'\0');
  full.resize(GetFullPathNameW(wide.c_str(), size, full.data(), nullptr));
  return full.empty() ? path : ToUtf8(full);
}

bool IsFolder(const std::string& path) {
  const DWORD attributes = GetFileAttributesW(ToWide(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool IsFile(const std::string& path) {
  const DWORD attributes = GetFileAttributesW(ToWide(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

std::string NoSuchIniFile(const std::string& file) {
  return "there is no INI file " + file + "; check --ini";
}

// What a program that shows no windows checks itself: the library asks the user with a message box
// when the data folder is missing.
std::string MissingFolder(const Whereabouts& where, bool folder_was_named) {
  if (folder_was_named) {
    return "there is no data folder " + where.data_folder + "; check --data";
  }
  if (where.local_ini.empty()) {
    return "there is no TOVO.INI on the search path, so the data folder is not known; name the "
           "file with --ini or the folder with --data";
  }
  if (where.data_folder.empty()) {
    return "the key DataPath of section [Defaults] in " + where.local_ini +
           " names no data folder; set it, or name the folder with --data";
  }
  return "there is no data folder " + where.data_folder + ", which " + where.local_ini +
         " names (section [Defaults], key DataPath); correct it, or use --data";
}

}  // namespace tovocfg
