#include "tovocfg/definition_commands.h"

#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "platform/win32/win32_platform.h"
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

// Tells what became of the file that the deleted option's key stood in.
ExitCode TellDeletion(const Option& option, const std::string& file, KeyState before) {
  const KeyState now = LookForKeyOf(option, file);
  std::cout << "Deleted the definition"
            << (now != KeyState::kAbsent       ? ""
                : before == KeyState::kPresent ? ", and the key from " + file
                                               : "; its key is not in " + file)
            << "\n";
  if (now == KeyState::kAbsent) return ExitCode::kOk;
  std::cerr << "tovocfg: "
            << (now == KeyState::kPresent
                    ? "its key is still in " + file +
                          "; see whether you may write to it, whether another program has it open, "
                          "and whether the key stands there twice, then delete the line "
                    : file +
                          " cannot be read, so its key is still there if it was; see whether "
                          "another program has the file open, then delete the line ")
            << option.key << "=... of section " << option.section << " in an editor\n";
  return ExitCode::kLibraryError;
}

}  // namespace

ExitCode Exists(const Request& request) {
  const Session session(request);
  const Scope scope = ScopeOf(request);
  const std::string& section = request.words[0];
  const std::string& key = request.words[1];
  bool found = false;
  for (const bool local : {true, false}) {
    if (scope == (local ? Scope::kGlobal : Scope::kLocal)) continue;
    const std::optional<std::string> id = session.library().FindDefinition(section, key, local);
    if (!id) continue;
    std::cout << section << " / " << key << ": " << (local ? "local" : "global") << ", " << *id
              << "\n";
    found = true;
  }
  if (!found)
    throw Stop{ExitCode::kOptionNotFound, "there is no definition " + section + " / " + key};
  return ExitCode::kOk;
}

ExitCode Delete(const Request& request) {
  const Session session(request);
  const Option& option = session.Named(request);
  std::cout << Title(option) << " (" << FileWord(option) << ", " << option.id << ")\n";
  if (request.dry_run) {
    std::cout << "Dry run: nothing was deleted.\n";
    return ExitCode::kOk;
  }
  const std::string& file = FileOf(option, session);
  const KeyState before = LookForKeyOf(option, file);
  if (session.library().DeleteOption(option.id)) return TellDeletion(option, file, before);
  const std::vector<Option> now = session.library().Options();
  if (FindById(now, option.id).option == nullptr) {
    std::cerr << "tovocfg: the definition is deleted, but the options could not be read again; its "
                 "key stays in "
              << file << "\n";
  } else {
    std::cerr
        << "tovocfg: the definition was not deleted; see with 'tovocfg check defaults' whether "
           "its table is sound, and whether another program uses it\n";
  }
  return ExitCode::kLibraryError;
}

ExitCode Disable(const Request& request) {
  const Session session(request);
  const Option& option = session.Named(request);
  const std::string& file = FileOf(option, session);
  if (!IsSet(option)) {
    std::cout << Title(option) << " is not set; nothing was changed.\n";
    return ExitCode::kOk;
  }
  if (!session.library().CommentKey(option.id)) {
    std::cerr << "tovocfg: " << file << " could not be rewritten; see whether you may write to it "
              << "and whether another program has it open\n";
    return ExitCode::kLibraryError;
  }
  session.library().Refresh();
  const std::vector<Option> now = session.library().Options();
  const Option* const after = FindById(now, option.id).option;
  if (after != nullptr && IsSet(*after)) {
    std::cerr << "tovocfg: " << Title(option) << " still reads \"" << after->current_value
              << "\"; its key is written in another way in " << file << "\n";
    return ExitCode::kLibraryError;
  }
  std::cout << Title(option) << ": \"" << option.current_value << "\" -> (not set)\n"
            << "Its line is a comment of " << file << " now.\n";
  return ExitCode::kOk;
}

}  // namespace tovocfg
