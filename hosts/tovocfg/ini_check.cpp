#include "tovocfg/ini_check.h"

#include <algorithm>
#include <set>
#include <utility>

#include "base/text.h"
#include "tovocfg/text.h"

namespace tovocfg {

namespace {

using tdefault::EqualIgnoringCase;
using tdefault::LessIgnoringCase;
using tdefault::ToUpper;
using tdefault::ToUtf8;

constexpr const wchar_t* kCopies = L"tov*.tmp";
constexpr const char* kNoSaveRunning = "Make sure that no program is saving just now.";

using Keys = std::set<std::pair<std::wstring, std::wstring>>;

Keys KeysOf(const IniText& text) {
  Keys keys;
  for (const IniEntry& entry : text.entries)
    keys.emplace(ToUpper(entry.section), ToUpper(entry.key));
  return keys;
}

std::size_t CommonKeys(const IniText& left, const IniText& right) {
  const Keys keys = KeysOf(left);
  const Keys others = KeysOf(right);
  return static_cast<std::size_t>(std::count_if(
      keys.begin(), keys.end(), [&](const auto& key) { return others.contains(key); }));
}

bool SameEntries(const IniText& left, const IniText& right) {
  return std::equal(left.entries.begin(), left.entries.end(), right.entries.begin(),
                    right.entries.end(), [](const IniEntry& a, const IniEntry& b) {
                      return EqualIgnoringCase(a.section, b.section) &&
                             EqualIgnoringCase(a.key, b.key) && a.value == b.value;
                    });
}

CopyKind KindOf(const Examination& examination, const std::string& copy,
                const std::wstring& ini_file) {
  const Content ini = examination.Read(ini_file);
  if (ini.ok()) {
    if (copy == ini.bytes) return CopyKind::kSame;
    if (ini.bytes.starts_with(copy)) return CopyKind::kPart;
  }
  const Content previous = examination.Read(PreviousVersionOf(ini_file));
  if (previous.ok() && copy == previous.bytes) return CopyKind::kPrevious;
  auto& session = examination.platform().session;
  const IniText text = TakeApart(copy, session);
  if (ini.ok() && !text.entries.empty() && SameEntries(text, TakeApart(ini.bytes, session)))
    return CopyKind::kOtherLayout;
  return CopyKind::kOtherContent;
}

// The INI file of the copy's folder that has most keys in common with it, in its present or its
// previous version. Where neither is left to compare with, the only one that is expected there.
std::optional<std::size_t> OwnerOf(const Examination& examination, const std::string& copy,
                                   const std::wstring& folder, const std::vector<IniFile>& files) {
  auto& session = examination.platform().session;
  const IniText text = TakeApart(copy, session);
  std::optional<std::size_t> owner;
  std::size_t most = 0;
  bool comparable = false;
  std::optional<std::size_t> only;
  std::size_t expected = 0;
  for (std::size_t which = 0; which < files.size(); ++which) {
    const std::wstring& path = files[which].path;
    if (path.empty() || !EqualIgnoringCase(FolderOf(path), folder)) continue;
    ++expected;
    only = which;
    for (const std::wstring& version : {path, PreviousVersionOf(path)}) {
      const Content content = examination.Read(version);
      if (!content.ok() || content.bytes.empty()) continue;
      const IniText other = TakeApart(content.bytes, session);
      comparable = comparable || !other.entries.empty();
      const std::size_t common = CommonKeys(text, other);
      if (common <= most) continue;
      most = common;
      owner = which;
    }
  }
  if (owner || comparable || expected != 1 || text.entries.empty()) return owner;
  return only;
}

Leftover Classified(const Examination& examination, const std::wstring& path,
                    const std::vector<IniFile>& files) {
  Leftover leftover{path};
  const Content copy = examination.Read(path);
  if (!copy.ok()) {
    leftover.kind = CopyKind::kUnreadable;
    return leftover;
  }
  if (copy.bytes.empty()) {
    leftover.kind = CopyKind::kEmpty;
    return leftover;
  }
  const std::wstring folder = FolderOf(path);
  for (std::size_t which = 0; which < files.size(); ++which) {
    if (!EqualIgnoringCase(FolderOf(files[which].path), folder)) continue;
    const CopyKind kind = KindOf(examination, copy.bytes, files[which].path);
    if (kind == CopyKind::kOtherContent) continue;
    leftover.owner = which;
    leftover.kind = kind;
    return leftover;
  }
  const std::optional<std::size_t> owner = OwnerOf(examination, copy.bytes, folder, files);
  if (!owner) return leftover;
  leftover.owner = *owner;
  leftover.kind = CopyKind::kOtherContent;
  // A copy has the time of the file that it was made of, and so has the previous version, which was
  // the copy of the last save that succeeded.
  leftover.is_outdated = examination.ChangedBefore(path, PreviousVersionOf(files[*owner].path));
  return leftover;
}

// Lines as "12, 13, 14 and 5 more".
std::string LineNumbers(const std::vector<std::size_t>& lines) {
  constexpr std::size_t kShown = 5;
  std::string text = lines.size() == 1 ? "line " : "lines ";
  for (std::size_t i = 0; i < std::min(lines.size(), kShown); ++i)
    text += (i == 0 ? "" : ", ") + std::to_string(lines[i]);
  if (lines.size() > kShown) text += " and " + std::to_string(lines.size() - kShown) + " more";
  return text;
}

std::string EntryName(const IniEntry& entry) {
  return ToUtf8(entry.section) + " / " + ToUtf8(entry.key);
}

// Whether the end of an earlier version is missing: every key of it up to some place is there, and
// none behind that. Gives the number of missing keys.
std::size_t MissingTail(const IniText& now, const IniText& earlier) {
  const Keys keys = KeysOf(now);
  std::size_t missing = 0;
  for (const IniEntry& entry : earlier.entries) {
    const bool there = keys.contains({ToUpper(entry.section), ToUpper(entry.key)});
    if (there && missing != 0) return 0;
    if (!there) ++missing;
  }
  return missing;
}

std::string Damaged(const IniText& text, const Examination& examination, const IniFile& file,
                    std::size_t which, const std::vector<Leftover>& leftovers) {
  if (text.has_nul) return "holds zero bytes, as a file does whose writing was interrupted";
  auto& session = examination.platform().session;
  for (const Leftover& leftover : leftovers) {
    if (leftover.owner != which || leftover.kind != CopyKind::kOtherContent || leftover.is_outdated)
      continue;
    const std::size_t missing =
        MissingTail(text, TakeApart(examination.Read(leftover.path).bytes, session));
    if (missing != 0)
      return "is cut short: the last " + std::to_string(missing) + " keys of " +
             ToUtf8(leftover.path) + ", a copy from before a save, are missing";
  }
  const Content previous = examination.Read(PreviousVersionOf(file.path));
  if (text.ends_in_line_end || !previous.ok()) return {};
  const std::size_t missing = MissingTail(text, TakeApart(previous.bytes, session));
  if (missing == 0) return {};
  return "seems cut short: it ends in the middle of a line, and the last " +
         std::to_string(missing) + " keys of " + ToUtf8(PreviousVersionOf(file.path)) +
         " are missing";
}

void ExamineEncoding(Examination& examination, const IniFile& file, const IniText& text) {
  const std::string path = ToUtf8(file.path);
  const std::string advice =
      "Save it with an editor in the system's code page (\"ANSI\"); Notepad offers that under "
      "Save As.";
  switch (text.encoding) {
    case IniEncoding::kSystemCodePage:
      if (text.looks_like_utf8)
        examination.Add(Health::kWarning, file.topic,
                        path +
                            " seems to be UTF-8. The system takes it for text of its own code "
                            "page, so that letters outside ASCII read as others",
                        advice);
      return;
    case IniEncoding::kUtf16:
      examination.Add(Health::kWarning, file.topic,
                      path +
                          " is UTF-16. Values are read and written, comments are not: 'comment', "
                          "'uncomment' and 'disable' leave such a file alone",
                      advice);
      return;
    case IniEncoding::kUtf16BigEndian:
      examination.Add(Health::kProblem, file.topic,
                      path +
                          " is UTF-16 with the bytes in the other order, which the system does "
                          "not read: no value of it is found",
                      advice);
      return;
    case IniEncoding::kUtf8Mark:
      break;
  }
  const bool hides = text.section_on_first_line;
  examination.Add(hides ? Health::kProblem : Health::kWarning, file.topic,
                  path + " begins with the mark of UTF-8. " +
                      (hides ? "The section on its first line is not found because of that"
                             : "The system takes the file for text of its own code page, so that "
                               "letters outside ASCII read as others"),
                  advice);
}

void ExamineHidden(Examination& examination, const IniFile& file, const IniText& text) {
  const std::string path = ToUtf8(file.path);
  struct Kind {
    Hidden hidden;
    const char* text;
    const char* advice;
  };
  for (const Kind& kind :
       {Kind{Hidden::kSecondSection,
             "is in a section whose name stands above already; only the first one is searched",
             "Move the keys that are needed into the first section of the name, and delete the "
             "second one."},
        Kind{Hidden::kSecondKey, "stands there a second time; only the first one counts",
             "Delete the line that is not wanted."},
        Kind{Hidden::kNoSection, "stands in front of the first section, where it is never found",
             "Put the header of its section above it."}}) {
    std::vector<std::size_t> lines;
    std::string names;
    for (const IniEntry& entry : text.entries) {
      if (entry.hidden != kind.hidden) continue;
      lines.push_back(entry.line);
      if (lines.size() <= 3) {
        const bool bare = kind.hidden == Hidden::kNoSection;
        names += (names.empty() ? "" : ", ") + (bare ? ToUtf8(entry.key) : EntryName(entry));
      }
    }
    if (lines.empty()) continue;
    if (lines.size() > 3) names += ", ...";
    names.append(" ").append(kind.text).append(" (").append(path);
    names.append(", ").append(LineNumbers(lines)).append(")");
    examination.Add(Health::kWarning, file.topic, names, kind.advice);
  }
  if (!text.open_headers.empty())
    examination.Add(Health::kWarning, file.topic,
                    "a section's name has no closing bracket, so the keys below it count to the "
                    "section above (" +
                        path + ", " + LineNumbers(text.open_headers) + ")",
                    "Add the bracket.");
}

std::string AdviceFor(const std::vector<Step>& steps) {
  return steps.empty() ? "Restore it from a backup. If there is none, copy the file of another "
                         "workstation and correct its values."
                       : "Restore it. " + std::string(kNoSaveRunning);
}

// Programs without the right to write to the file's folder, and without a manifest, have got a copy
// of their own in the user's profile, and read that since.
void ExamineDiverted(Examination& examination, const IniFile& file) {
  const std::wstring& store = examination.circumstances().diverted_folder;
  const bool on_drive = file.path.size() > 2 && file.path[1] == L':';
  if (store.empty() || !on_drive) return;
  const std::wstring copy = store + file.path.substr(2);
  if (!examination.IsFile(copy)) return;
  examination.Add(Health::kWarning, file.topic,
                  "a diverted copy is " + ToUtf8(copy) + ", " + examination.ChangedAt(copy) +
                      "; old 32-bit programs of this user read and write it instead of " +
                      ToUtf8(file.path),
                  "Give users the right to change the file and to make files in its folder. Close "
                  "these programs, take over what is missing with 'tovocfg set', and delete the "
                  "diverted copy.",
                  {{"to compare", "fc " + Quoted(copy) + " " + Quoted(file.path)},
                   DeleteStep("to delete the copy", copy)});
}

void ExaminePrevious(Examination& examination, const IniFile& file) {
  const std::wstring previous = PreviousVersionOf(file.path);
  if (!examination.IsFile(previous)) return;
  examination.Add(
      Health::kOk, file.topic,
      "previous version " + ToUtf8(previous) + ", last changed " + examination.ChangedAt(previous));
}

void ExamineMissing(Examination& examination, const std::vector<IniFile>& files, std::size_t which,
                    const std::vector<Leftover>& leftovers) {
  const IniFile& file = files[which];
  std::vector<Step> steps = RestoreSteps(examination, files, which, leftovers);
  std::string advice = AdviceFor(steps);
  if (steps.empty() && file.topic == Topic::kGlobalIni) {
    advice =
        "Restore it from a backup. In a new shop, make an empty one: without the file no save "
        "succeeds.";
    steps.push_back({"to make an empty one", "type nul > " + Quoted(file.path)});
  }
  examination.Add(Health::kProblem, file.topic,
                  "there is no file " + ToUtf8(file.path) + "; all its options read \"Not found\"",
                  advice, steps);
}

void TellContentFromBefore(Examination& examination, const IniFile& file,
                           const Leftover& leftover) {
  const std::string name = ToUtf8(NameOf(file.path));
  const std::string previous = ToUtf8(NameOf(PreviousVersionOf(file.path)));
  const std::string held = ToUtf8(leftover.path) + ", " + examination.ChangedAt(leftover.path) +
                           ", holds what " + name + " held before a save that was interrupted; ";
  const std::string present = name + ", " + examination.ChangedAt(file.path) + ", ";
  examination.Add(
      leftover.is_outdated ? Health::kWarning : Health::kProblem, Topic::kLeftovers,
      held + present +
          (leftover.is_outdated ? "has been saved again since, as the newer " + previous + " shows"
                                : "may have some of the save's values and not the others"),
      std::string(kNoSaveRunning) +
          (leftover.is_outdated
               ? " Compare both files. Putting the copy back would also take back what was "
                 "changed since; enter single values that are missing with 'tovocfg set' "
                 "instead. Then delete the copy."
               : " Compare both files, keep one, then delete the copy."),
      {{"to compare", "fc " + Quoted(leftover.path) + " " + Quoted(file.path)},
       CopyStep("to put " + name + " back as it was before the save", leftover.path, file.path),
       DeleteStep("to delete the copy", leftover.path)});
}

// Why a copy that holds nothing of its own can go.
std::string WhyToDelete(CopyKind kind, const std::string& name) {
  switch (kind) {
    case CopyKind::kEmpty:
      return "is empty: a save was interrupted before it changed anything";
    case CopyKind::kPart:
      return "is an incomplete copy of " + name +
             ": a save was interrupted before it changed anything";
    case CopyKind::kSame:
      return "is a copy of " + name + " as it is";
    case CopyKind::kPrevious:
      return "is a copy of the previous version of " + name;
    default:
      return "has the keys and values of " + name +
             ": the writing or removing of comments was interrupted before it changed the file";
  }
}

}  // namespace

std::wstring PreviousVersionOf(const std::wstring& file) {
  constexpr std::wstring_view kEnding = L"old";
  if (file.size() < kEnding.size()) return {};
  return file.substr(0, file.size() - kEnding.size()).append(kEnding);
}

std::vector<Leftover> FindLeftovers(const Examination& examination,
                                    const std::vector<IniFile>& files) {
  std::set<std::wstring, LessIgnoringCase> folders;
  std::vector<Leftover> leftovers;
  for (const IniFile& file : files) {
    const std::wstring folder = FolderOf(file.path);
    if (folder.empty() || !folders.insert(folder).second) continue;
    const std::wstring beginning = folder + L"\\";
    for (const std::wstring& name : examination.NamesIn(folder, kCopies))
      leftovers.push_back(Classified(examination, beginning + name, files));
  }
  return leftovers;
}

std::vector<Step> RestoreSteps(const Examination& examination, const std::vector<IniFile>& files,
                               std::size_t which, const std::vector<Leftover>& leftovers) {
  const IniFile& file = files[which];
  std::vector<Step> steps;
  std::vector<Step> outdated;
  for (const Leftover& leftover : leftovers)
    if (leftover.owner == which && leftover.kind == CopyKind::kOtherContent)
      (leftover.is_outdated ? outdated : steps)
          .push_back(CopyStep("to restore it from the copy of an interrupted save, " +
                                  examination.ChangedAt(leftover.path),
                              leftover.path, file.path));
  const std::wstring previous = PreviousVersionOf(file.path);
  if (examination.IsFile(previous))
    steps.push_back(
        CopyStep("to restore it from the previous version, " + examination.ChangedAt(previous),
                 previous, file.path));
  steps.insert(steps.end(), outdated.begin(), outdated.end());
  return steps;
}

std::optional<IniText> ExamineIniFile(Examination& examination, const std::vector<IniFile>& files,
                                      std::size_t which, const std::vector<Leftover>& leftovers) {
  const IniFile& file = files[which];
  ExamineDiverted(examination, file);
  const Content content = examination.Read(file.path);
  if (content.missing()) {
    ExamineMissing(examination, files, which, leftovers);
    return std::nullopt;
  }
  const std::string path = ToUtf8(file.path);
  if (!content.ok()) {
    examination.Add(Health::kNotChecked, file.topic,
                    path + " cannot be read: " + Reason(content.code) +
                        ". Its options read \"Not found\", and a save by a program that has loaded "
                        "them so would write that",
                    content.held() ? "Close the program that has the file open, then look again."
                                   : "Ask for access to the file.");
    return std::nullopt;
  }
  const IniText text = TakeApart(content.bytes, examination.platform().session);
  const std::string damage =
      content.bytes.empty() ? "is empty" : Damaged(text, examination, file, which, leftovers);
  if (!damage.empty()) {
    const std::vector<Step> steps = RestoreSteps(examination, files, which, leftovers);
    // A shop begins with an empty global file.
    const bool is_new = content.bytes.empty() && steps.empty() && file.topic == Topic::kGlobalIni;
    examination.Add(is_new ? Health::kWarning : Health::kProblem, file.topic, path + " " + damage,
                    AdviceFor(steps), steps);
  }
  ExamineEncoding(examination, file, text);
  ExamineHidden(examination, file, text);
  ExaminePrevious(examination, file);
  return text;
}

void ExamineLeftovers(Examination& examination, const std::vector<IniFile>& files,
                      const std::vector<Leftover>& leftovers) {
  for (const Leftover& leftover : leftovers) {
    const std::string path = ToUtf8(leftover.path);
    const IniFile& file = files[leftover.owner];
    switch (leftover.kind) {
      case CopyKind::kOtherContent:
        if (examination.IsFile(file.path)) {
          TellContentFromBefore(examination, file, leftover);
        } else {
          examination.Add(Health::kProblem, Topic::kLeftovers,
                          path + ", " + examination.ChangedAt(leftover.path) + ", is a copy of " +
                              ToUtf8(file.path) + ", which is missing",
                          "Restore the file from it, as told above, then delete the copy.",
                          {DeleteStep("to delete the copy", leftover.path)});
        }
        break;
      case CopyKind::kUnreadable:
        examination.Add(Health::kNotChecked, Topic::kLeftovers,
                        path + " cannot be read; it may belong to a save that is running",
                        "Look again in a minute.");
        break;
      case CopyKind::kForeign:
        examination.Add(Health::kWarning, Topic::kLeftovers,
                        path +
                            " has the name of a temporary copy, but is none of an INI file that "
                            "is in use here",
                        "Look what it holds before you delete it.");
        break;
      default:
        examination.Add(Health::kWarning, Topic::kLeftovers,
                        path + " " + WhyToDelete(leftover.kind, ToUtf8(NameOf(file.path))),
                        kNoSaveRunning, {DeleteStep("to delete it", leftover.path)});
    }
  }
  if (leftovers.empty())
    examination.Add(Health::kOk, Topic::kLeftovers, "no temporary copies of an interrupted save");
}

void ExamineValueLengths(Examination& examination, const IniFile& file, const IniText& text,
                         const std::optional<std::vector<Option>>& options) {
  const auto is_option = [&](const IniEntry& entry) {
    return !options || std::any_of(options->begin(), options->end(), [&](const Option& option) {
      return option.local_ini == (file.topic == Topic::kLocalIni) &&
             SameText(option.section, ToUtf8(entry.section)) &&
             SameText(option.key, ToUtf8(entry.key));
    });
  };
  for (const IniEntry& entry : text.entries) {
    if (entry.hidden != Hidden::kNo || entry.value.size() <= kValueCharacters || !is_option(entry))
      continue;
    examination.Add(Health::kWarning, file.topic,
                    EntryName(entry) + " has " + std::to_string(entry.value.size()) +
                        " characters; programs see the first " + std::to_string(kValueCharacters) +
                        ", and the next save cuts it to them (" + ToUtf8(file.path) + ", line " +
                        std::to_string(entry.line) + ")",
                    "Shorten the value, or take a copy of it before the next save.");
  }
}

}  // namespace tovocfg
