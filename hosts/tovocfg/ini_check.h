// Whether an INI file is whole, and what an interrupted save has left beside it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tovocfg/examination.h"
#include "tovocfg/ini_text.h"
#include "tovocfg/option.h"

namespace tovocfg {

// One of the two INI files of the shop.
struct IniFile {
  Topic topic = Topic::kLocalIni;
  std::wstring path;
};

// What a temporary copy of a save or of a rewriting of comments is, compared with the INI file.
enum class CopyKind {
  kEmpty,         // the copying had only begun
  kPart,          // the copying was interrupted; the INI file is untouched
  kSame,          // the INI file was not changed, or was put back
  kPrevious,      // as the previous version: the save had ended
  kOtherLayout,   // the same keys and values: comments were about to be rewritten
  kOtherContent,  // from before an interrupted save: the INI file may hold a part of its values
  kForeign,       // no copy of an INI file of the shop
  kUnreadable,
};

struct Leftover {
  std::wstring path;
  CopyKind kind = CopyKind::kForeign;
  std::size_t owner = 0;  // position of the INI file; of a foreign or unreadable copy: any
  // Other content, and the INI file has been saved again since the save that was interrupted.
  bool is_outdated = false;
};

// The temporary copies in the folders of the INI files.
[[nodiscard]] std::vector<Leftover> FindLeftovers(const Examination& examination,
                                                  const std::vector<IniFile>& files);

// Tells whether the file is there, whole, readable and in an encoding that everybody reads, and
// what it holds that is never found; how to restore it where it is damaged, and which previous
// version there is. Gives the content when there is one to look at.
std::optional<IniText> ExamineIniFile(Examination& examination, const std::vector<IniFile>& files,
                                      std::size_t which, const std::vector<Leftover>& leftovers);

// Tells what to do with each leftover.
void ExamineLeftovers(Examination& examination, const std::vector<IniFile>& files,
                      const std::vector<Leftover>& leftovers);

// Tells the values that are longer than an option's may be: of the options that are known, or of
// all keys.
void ExamineValueLengths(Examination& examination, const IniFile& file, const IniText& text,
                         const std::optional<std::vector<Option>>& options);

// The name that a save gives the previous version of a file.
[[nodiscard]] std::wstring PreviousVersionOf(const std::wstring& file);

// The commands that bring a missing or damaged file back, newest source first.
[[nodiscard]] std::vector<Step> RestoreSteps(const Examination& examination,
                                             const std::vector<IniFile>& files, std::size_t which,
                                             const std::vector<Leftover>& leftovers);

}  // namespace tovocfg
