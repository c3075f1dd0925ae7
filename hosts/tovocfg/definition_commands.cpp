#include "tovocfg/definition_commands.h"

#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "platform/win32/win32_platform.h"
#include "tovocfg/json_text.h"
#include "tovocfg/key_check.h"
#include "tovocfg/option.h"
#include "tovocfg/session.h"
#include "tovocfg/wide_text.h"

namespace tovocfg {

namespace {

const std::string& FileOf(const Option& option, const Session& session) {
  return option.local_ini ? session.where().local_ini : session.where().global_ini;
}

KeyState LookForKeyOf(const Option& option, const std::string& file) {
  tdefault::platform::win32::Win32Platform system;
  return LookForKey(system.platform(), ToWide(file), ToWide(option.section), ToWide(option.key));
}

Json JsonOf(const Request& request, const Option& option, const std::string& file) {
  Json document = JsonDocument(NameOf(request.command));
  document["id"] = option.id;
  document["section"] = option.section;
  document["key"] = option.key;
  document["file"] = FileWord(option);
  document["path"] = file;
  return document;
}

const char* NameOf(KeyState state) {
  switch (state) {
    case KeyState::kAbsent:
      return "absent";
    case KeyState::kPresent:
      return "present";
    case KeyState::kUnreadable:
      break;
  }
  return "unknown";
}

std::string DeletionToJson(const Request& request, const Option& option, const std::string& file,
                           KeyState before, KeyState now) {
  Json document = JsonOf(request, option, file);
  document["dryRun"] = request.dry_run;
  document["deleted"] = !request.dry_run;
  document["keyBefore"] = NameOf(before);
  document["keyNow"] = NameOf(now);
  return Written(document);
}

// Tells what became of the file that the deleted option's key stood in.
ExitCode TellDeletion(const Request& request, const Option& option, const std::string& file,
                      KeyState before) {
  const KeyState now = LookForKeyOf(option, file);
  if (request.json) {
    std::cout << DeletionToJson(request, option, file, before, now);
  } else {
    std::cout << "Deleted the definition"
              << (now != KeyState::kAbsent       ? ""
                  : before == KeyState::kPresent ? ", and the key from " + file
                                                 : "; its key is not in " + file)
              << "\n";
  }
  if (now == KeyState::kAbsent) return ExitCode::kOk;
  const std::string found =
      now == KeyState::kPresent
          ? "its key is still in " + file +
                "; see whether you may write to it, whether another program has it open, and "
                "whether the key stands there twice"
          : file +
                " cannot be read, so its key is still there if it was; see whether another program "
                "has the file open";
  throw Stop{ExitCode::kLibraryError, found + ", then delete the line " + option.key +
                                          "=... of section " + option.section + " in an editor"};
}

}  // namespace

ExitCode Exists(const Request& request) {
  const Session session(request);
  const Scope scope = ScopeOf(request);
  const std::string& section = request.words[0];
  const std::string& key = request.words[1];
  Json document = JsonDocument(NameOf(request.command));
  document["section"] = section;
  document["key"] = key;
  document["definitions"] = Json::array();
  std::string lines;
  for (const bool local : {true, false}) {
    if (scope == (local ? Scope::kGlobal : Scope::kLocal)) continue;
    const std::optional<std::string> id = session.library().FindDefinition(section, key, local);
    if (!id) continue;
    const std::string file = local ? "local" : "global";
    document["definitions"].push_back({{"file", file}, {"id", *id}});
    lines.append(section).append(" / ").append(key);
    lines.append(": ").append(file).append(", ").append(*id).append("\n");
  }
  if (lines.empty())
    throw Stop{ExitCode::kOptionNotFound, "there is no definition " + section + " / " + key};
  std::cout << (request.json ? Written(document) : lines);
  return ExitCode::kOk;
}

ExitCode Delete(const Request& request) {
  const Session session(request);
  const Option& option = session.Named(request);
  const std::string& file = FileOf(option, session);
  const KeyState before = LookForKeyOf(option, file);
  if (!request.json)
    std::cout << Title(option) << " (" << FileWord(option) << ", " << option.id << ")\n";
  if (request.dry_run) {
    std::cout << (request.json ? DeletionToJson(request, option, file, before, before)
                               : "Dry run: nothing was deleted.\n");
    return ExitCode::kOk;
  }
  if (session.library().DeleteOption(option.id)) return TellDeletion(request, option, file, before);
  const std::vector<Option> now = session.library().Options();
  if (FindById(now, option.id).option == nullptr)
    throw Stop{ExitCode::kLibraryError,
               "the definition is deleted, but the options could not be read again; its key stays "
               "in " +
                   file};
  throw Stop{ExitCode::kLibraryError,
             "the definition was not deleted; see with 'tovocfg check defaults' whether its table "
             "is sound, and whether another program uses it"};
}

ExitCode Disable(const Request& request) {
  const Session session(request);
  const Option& option = session.Named(request);
  const std::string& file = FileOf(option, session);
  Json document = JsonOf(request, option, file);
  document["from"] = option.current_value;
  document["disabled"] = IsSet(option);
  if (!IsSet(option)) {
    std::cout << (request.json ? Written(document)
                               : Title(option) + " is not set; nothing was changed.\n");
    return ExitCode::kOk;
  }
  if (!session.library().CommentKey(option.id))
    throw Stop{ExitCode::kLibraryError,
               file +
                   " could not be rewritten; see whether you may write to it and whether another "
                   "program has it open"};
  session.library().Refresh();
  const std::vector<Option> now = session.library().Options();
  const Option* const after = FindById(now, option.id).option;
  if (after != nullptr && IsSet(*after))
    throw Stop{ExitCode::kLibraryError, Title(option) + " still reads \"" + after->current_value +
                                            "\"; its key is written in another way in " + file};
  if (request.json) {
    std::cout << Written(document);
  } else {
    std::cout << Title(option) << ": \"" << option.current_value << "\" -> "
              << request.output.Paint(Colour::kChanged, "(not set)") << "\n"
              << "Its line is a comment of " << file << " now.\n";
  }
  return ExitCode::kOk;
}

}  // namespace tovocfg
