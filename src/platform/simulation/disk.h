// The drives of the simulated machine: a tree of named nodes with the rules that hold for every
// process (names without regard to case, share modes, read-only marks). Paths are full paths.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"
#include "platform/system_result.h"

namespace tdefault::platform::simulation {

// One holder of an open file.
struct Holder {
  FileAccess access = FileAccess::kRead;
  FileShare share = FileShare::kReadWrite;
};

// Bytes that one holder has locked.
struct LockedRange {
  const Holder* owner;
  std::uint64_t offset;
  std::uint64_t length;
};

struct Node {
  std::wstring name;  // as it was spelled when the node was made
  bool is_folder = false;
  bool read_only = false;
  std::string bytes;
  std::vector<const Holder*> holders;
  std::vector<LockedRange> locks;

  // Whether a further holder may open the file: each side's access must be in the other's share.
  [[nodiscard]] bool Admits(const Holder& newcomer) const noexcept;

  // Whether anybody but `holder` (null: anybody at all) has locked a byte of the range.
  [[nodiscard]] bool IsLocked(std::uint64_t offset, std::uint64_t length,
                              const Holder* holder) const noexcept;
};

// Keeps a file open for as long as it lives, and gives up its locks then.
class OpenNode {
 public:
  // REQUIRES: the node admits the holder.
  OpenNode(std::shared_ptr<Node> node, Holder holder);
  ~OpenNode();
  OpenNode(const OpenNode&) = delete;
  OpenNode& operator=(const OpenNode&) = delete;

  [[nodiscard]] Node& node() const noexcept { return *node_; }
  [[nodiscard]] const Holder& holder() const noexcept { return holder_; }

  // Fails with 33 when a byte of the range is locked.
  SystemStatus Lock(std::uint64_t offset, std::uint64_t length);
  SystemStatus Unlock(std::uint64_t offset, std::uint64_t length);

 private:
  std::shared_ptr<Node> node_;
  Holder holder_;
};

class Disk {
 public:
  // Makes a folder and every folder above it, down from a root.
  void MakeFolder(const std::wstring& path);

  // The file of that path with these bytes; its folders are made when they are missing.
  std::shared_ptr<Node> PutFile(const std::wstring& path, std::string_view bytes);

  // Null when there is none.
  [[nodiscard]] std::shared_ptr<Node> Find(const std::wstring& path) const;

  // What the system reports for a path that is not there: 2 when its folder exists, else 3.
  [[nodiscard]] SystemStatus Missing(const std::wstring& path) const;

  // The node of that path as a file that `holder` may open, or the reason why not.
  [[nodiscard]] SystemResult<std::shared_ptr<Node>> Openable(const std::wstring& path,
                                                             const Holder& holder) const;

  // Whether the file may be deleted or replaced: it exists, is not read-only and nobody holds it.
  [[nodiscard]] SystemStatus Removable(const std::wstring& path) const;

  void Erase(const std::wstring& path);

  // Gives the file `from` the path `to`; a file there is dropped.
  void Rename(const std::wstring& from, const std::wstring& to);

  // The nodes directly in a folder, in alphabetical order.
  [[nodiscard]] std::vector<std::shared_ptr<Node>> List(const std::wstring& folder) const;

  // The roots of the drives and shares.
  [[nodiscard]] std::vector<std::wstring> Roots() const;

 private:
  std::map<std::wstring, std::shared_ptr<Node>> nodes_;  // by full path in upper case
};

}  // namespace tdefault::platform::simulation
