// The tree of one tag: seeking, walking, inserting and deleting keys.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tables/foxpro/index_errors.h"
#include "tables/foxpro/index_pages.h"

namespace tdefault::tables::foxpro {

// Entries are ordered by key and record number. The root never moves: a root that overflows becomes
// an inner page over new ones, and the root of an empty tree is an empty leaf. Leaves are not
// balanced; one that becomes empty is taken out. Every key given has the shape's length. All throw
// what IndexPages throws, and DamagedTag.
class IndexTree {
 public:
  struct Entry {
    std::string key;
    std::uint32_t record;
  };

  // All outlive the tree.
  IndexTree(IndexPages& pages, const IndexIdentity& index, const TreeShape& shape,
            std::uint32_t root)
      : pages_(pages), index_(index), shape_(shape), root_(root) {}

  // Calls `visit` for the entries in order, from the first that is not below (key, record), until
  // it gives false.
  void Walk(std::string_view key, std::uint32_t record,
            const std::function<bool(std::string_view, std::uint32_t)>& visit);
  // Likewise from the first entry.
  void WalkAll(const std::function<bool(std::string_view, std::uint32_t)>& visit);

  [[nodiscard]] bool Contains(std::string_view key, std::uint32_t record);

  // False, with nothing changed, when the entry is there already.
  bool Insert(std::string_view key, std::uint32_t record);
  // False, with nothing changed, when there is no such entry.
  bool Erase(std::string_view key, std::uint32_t record);

 private:
  // One page on the way from the root to a leaf, with the entry that was taken there.
  struct Step {
    std::uint32_t offset;
    std::size_t index;
  };
  // A page as its parent refers to it.
  struct Child {
    std::string key;
    std::uint32_t record;
    std::uint32_t offset;
  };

  // Fills path_; the last step is the leaf, its index the first entry not below the one given.
  void Descend(std::string_view key, std::uint32_t record);
  // The page on path_[level] was changed and may have become too full or empty: repairs it and the
  // pages above it.
  void Settle(std::size_t level);
  void SettleRoot(std::size_t appended_at);
  // Cuts the page into parts that fit; the first stays at its place.
  std::vector<Child> Split(std::uint32_t offset, std::size_t appended_at);
  // The entries at which the parts of a page begin.
  [[nodiscard]] std::vector<std::size_t> Cuts(const IndexNode& node, std::size_t appended_at) const;
  void CutRange(const IndexNode& node, std::size_t first, std::size_t end,
                std::vector<std::size_t>& cuts) const;
  // A new page with some of the entries, without siblings.
  std::uint32_t MakePart(const IndexNode& node, std::size_t first, std::size_t end);
  void Unlink(std::uint32_t offset);
  void ReplaceInParent(std::size_t level, const std::vector<Child>& children);
  [[nodiscard]] Child ChildAt(std::uint32_t offset);
  [[nodiscard]] bool AgreesWithParent(std::size_t level);

  IndexPages& pages_;
  const IndexIdentity& index_;
  const TreeShape& shape_;
  std::uint32_t root_;
  std::vector<Step> path_;
};

}  // namespace tdefault::tables::foxpro
