// The registry of a simulated machine: keys and values in memory, and how the process opened them.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/code_page.h"
#include "base/text.h"
#include "base/value.h"

namespace tdefault::platform::simulation {

struct RegistryNode {
  struct Value {
    std::wstring name;
    std::uint32_t type = 0;
    Bytes data;
  };

  std::wstring name;
  std::wstring class_text;
  std::map<std::wstring, std::shared_ptr<RegistryNode>, LessIgnoringCase> keys;
  std::map<std::wstring, Value, LessIgnoringCase> values;
};

// One OpenKey or CreateKey of the process, whatever came of it.
struct KeyOpening {
  std::uint32_t root = 0;
  std::wstring path;
  std::uint32_t access = 0;
  std::optional<std::wstring> class_text;  // absent for OpenKey
};

class RegistryStore {
 public:
  // The roots are there, with nothing below them.
  explicit RegistryStore(CodePage code_page);

  // --- What the tests set up and look at; a path that names nothing throws std::invalid_argument.

  // Make the key where it is missing. A text is stored with its closing NUL.
  void PutKey(std::uint32_t root, const std::wstring& path);
  void PutText(std::uint32_t root, const std::wstring& path, const std::wstring& name,
               std::wstring_view text);
  void PutNumber(std::uint32_t root, const std::wstring& path, const std::wstring& name,
                 std::uint32_t number);
  void PutValue(std::uint32_t root, const std::wstring& path, const std::wstring& name,
                std::uint32_t type, std::string_view data);

  [[nodiscard]] bool HasKey(std::uint32_t root, const std::wstring& path) const;
  [[nodiscard]] std::wstring ClassOf(std::uint32_t root, const std::wstring& path) const;
  // The type of a value, and its bytes; absent when there is no such value.
  [[nodiscard]] std::optional<std::uint32_t> TypeOf(std::uint32_t root, const std::wstring& path,
                                                    const std::wstring& name) const;
  [[nodiscard]] std::optional<std::string> DataOf(std::uint32_t root, const std::wstring& path,
                                                  const std::wstring& name) const;

  [[nodiscard]] const std::vector<KeyOpening>& openings() const noexcept { return openings_; }

  // --- What the port works with.

  [[nodiscard]] static bool IsRoot(std::uint32_t root) noexcept;
  // Null when there is none. A path without a name is the root itself.
  [[nodiscard]] std::shared_ptr<RegistryNode> Find(std::uint32_t root,
                                                   std::wstring_view path) const;
  // The key, made with those above it where it is missing; only the last one gets the class.
  std::shared_ptr<RegistryNode> Make(std::uint32_t root, std::wstring_view path,
                                     const std::wstring& class_text);
  void Record(KeyOpening opening) { openings_.push_back(std::move(opening)); }
  void ForgetOpenings() { openings_.clear(); }

 private:
  [[nodiscard]] std::shared_ptr<RegistryNode> KeyAt(std::uint32_t root,
                                                    const std::wstring& path) const;
  [[nodiscard]] const RegistryNode::Value* ValueAt(std::uint32_t root, const std::wstring& path,
                                                   const std::wstring& name) const;

  CodePage code_page_;
  std::map<std::uint32_t, std::shared_ptr<RegistryNode>> roots_;
  std::vector<KeyOpening> openings_;
};

}  // namespace tdefault::platform::simulation
