// Scripts over tables behind a connection: statements through Connection::Execute, and recordset
// cases. Everything that serves tables runs the same scripts (tests/sql/*.test and
// tests/tables/cases/*.test); tests/tables/README.md describes the commands of recordset cases.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "sql/script.h"
#include "tables/table_access.h"

namespace tdefault::tests {

// The data folder that a script's tables are made in.
class CaseFolder {
 public:
  virtual ~CaseFolder() = default;

  // As connection strings name it, without a backslash at its end.
  [[nodiscard]] virtual std::wstring path() const = 0;
  // Makes or replaces the file of that name, which nobody has open.
  virtual void Put(const std::wstring& name, const std::string& bytes) = 0;
  // Nothing to do without such a file.
  virtual void Remove(const std::wstring& name) = 0;
};

class AccessStore final : public ScriptStore {
 public:
  // Both outlive the store.
  AccessStore(tables::TableAccess& access, CaseFolder& folder);
  ~AccessStore() override;

  AccessStore(const AccessStore&) = delete;
  AccessStore& operator=(const AccessStore&) = delete;

  // Writes the files of the table; a table with tags gets its rows through INSERT statements.
  void AddTable(const TableText& table) override;
  void SetCollation(const std::wstring& name) override;
  Result Run(const std::wstring& statement) override;
  // Name and defined size, all that a field tells of its column.
  [[nodiscard]] std::wstring ColumnShown(const std::wstring& described) const override;
  std::wstring RunCommand(const std::wstring& command) override;
  void EndCase() override;

 private:
  // A connection of a recordset case with the one recordset open on it.
  struct Session {
    std::unique_ptr<tables::Connection> connection;
    std::unique_ptr<tables::Recordset> recordset;
  };

  [[nodiscard]] std::unique_ptr<tables::Connection> Connect(const std::wstring& settings) const;
  std::wstring RunIn(Session& session, const std::wstring& command, const std::wstring& rest);
  std::wstring OpenRecordset(Session& session, const std::wstring& rest);
  std::wstring Execute(Session& session, const std::wstring& statement);
  // Texts of errors and values name the folder that only this run has; scripts call it %FOLDER%.
  [[nodiscard]] Error WithoutFolder(const Error& error) const;

  tables::TableAccess& access_;
  CaseFolder& folder_;
  std::wstring sequence_ = L"GENERAL";
  std::unique_ptr<tables::Connection> connection_;  // of statements; null: open it anew
  std::map<std::wstring, Session> sessions_;
};

// Runs the scripts of those names and prints every case that fails and how many ran; the exit code
// of a program that does nothing else: 0 when some ran and none failed.
[[nodiscard]] int RunScriptFiles(int count, const char* const* names, tables::TableAccess& access,
                                 CaseFolder& folder);

}  // namespace tdefault::tests
