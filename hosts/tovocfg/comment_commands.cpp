#include "tovocfg/comment_commands.h"

#include <functional>
#include <iostream>
#include <string>
#include <vector>

#include "tovocfg/json_text.h"
#include "tovocfg/paths.h"
#include "tovocfg/session.h"

namespace tovocfg {

namespace {

// The file that was named, or those in use.
std::vector<std::string> FilesOf(const Request& request, const Session& session) {
  std::vector<std::string> files;
  if (!request.file.empty()) {
    files.push_back(FullPath(request.file));
  } else {
    const Scope scope = ScopeOf(request);
    if (scope != Scope::kGlobal && !session.where().local_ini.empty())
      files.push_back(session.where().local_ini);
    if (scope != Scope::kLocal) files.push_back(session.where().global_ini);
  }
  if (files.empty())
    throw Stop{ExitCode::kFolderNotFound,
               "there is no TOVO.INI on the search path; name one with --ini"};
  for (const std::string& file : files)
    if (!IsFile(file)) throw Stop{ExitCode::kFolderNotFound, "there is no file " + file};
  return files;
}

ExitCode Rewrite(const Request& request, const std::vector<std::string>& files, const char* done,
                 const std::function<bool(const std::string& file)>& rewrite) {
  Json document = JsonDocument(NameOf(request.command));
  document["files"] = Json::array();
  std::string failed;
  for (const std::string& file : files) {
    const bool rewritten = rewrite(file);
    document["files"].push_back({{"path", file}, {"rewritten", rewritten}});
    if (rewritten && !request.json) std::cout << done << file << "\n";
    if (!rewritten)
      failed += file +
                " could not be rewritten and is as before; see whether you may write to it and "
                "whether another program has it open\n";
  }
  if (request.json) std::cout << Written(document);
  if (!failed.empty()) throw Stop{ExitCode::kLibraryError, failed};
  return ExitCode::kOk;
}

}  // namespace

ExitCode CommentFiles(const Request& request) {
  const Session session(request);
  return Rewrite(request, FilesOf(request, session), "Comments written into ",
                 [&](const std::string& file) { return session.library().CommentFile(file); });
}

ExitCode UncommentFiles(const Request& request) {
  const Session session(request);
  return Rewrite(request, FilesOf(request, session), "Comments removed from ",
                 [&](const std::string& file) {
                   if (request.comment)
                     return session.library().RemoveComment(file, *request.comment);
                   return session.library().ClearComments(file);
                 });
}

}  // namespace tovocfg
