#include "tables/foxpro/index_tree.h"

#include <algorithm>
#include <utility>

namespace tdefault::tables::foxpro {
void IndexTree::Descend(std::string_view key, std::uint32_t record) {
  path_.clear();
  for (std::uint32_t offset = root_;;) {
    const IndexNode& node = pages_.Fetch(offset, shape_);
    if (node.root != (offset == root_))
      throw DamagedTag(index_, shape_.name, L"its pages do not agree which of them is the first");
    std::size_t position = LowerBound(node, shape_, key, record);
    if (node.leaf) {
      path_.push_back({offset, position});
      return;
    }
    position = std::min(position, node.size() - 1);
    path_.push_back({offset, position});
    if (path_.size() > kDeepestTree)
      throw DamagedTag(index_, shape_.name, L"its pages refer to each other in a circle");
    offset = node.children[position];
  }
}

void IndexTree::Walk(std::string_view key, std::uint32_t record,
                     const std::function<bool(std::string_view, std::uint32_t)>& visit) {
  Descend(key, record);
  std::uint32_t offset = path_.back().offset;
  std::size_t position = path_.back().index;
  const std::uint64_t most = pages_.size() / kIndexPageSize + 1;
  for (std::uint64_t pages = 0; offset != kNoIndexPage; ++pages, position = 0) {
    if (pages > most)
      throw DamagedTag(index_, shape_.name, L"its pages follow each other in a circle");
    const IndexNode& node = pages_.Fetch(offset, shape_);
    if (!node.leaf)
      throw DamagedTag(index_, shape_.name, L"a page without keys of rows stands beside one with");
    for (; position < node.size(); ++position)
      if (!visit(KeyAt(node, shape_, position), node.records[position])) return;
    offset = node.right;
  }
}

void IndexTree::WalkAll(const std::function<bool(std::string_view, std::uint32_t)>& visit) {
  Walk(std::string(shape_.key_length, '\0'), 0, visit);
}

bool IndexTree::Contains(std::string_view key, std::uint32_t record) {
  Descend(key, record);
  const IndexNode& leaf = pages_.Fetch(path_.back().offset, shape_);
  const std::size_t position = path_.back().index;
  return position < leaf.size() && leaf.records[position] == record &&
         KeyAt(leaf, shape_, position) == key;
}

bool IndexTree::Insert(std::string_view key, std::uint32_t record) {
  if (Contains(key, record)) return false;
  const auto [offset, position] = path_.back();
  InsertEntry(pages_.Change(offset, shape_), shape_, position, key, record);
  Settle(path_.size() - 1);
  return true;
}

bool IndexTree::Erase(std::string_view key, std::uint32_t record) {
  if (!Contains(key, record)) return false;
  const auto [offset, position] = path_.back();
  EraseEntry(pages_.Change(offset, shape_), shape_, position);
  Settle(path_.size() - 1);
  return true;
}

IndexTree::Child IndexTree::ChildAt(std::uint32_t offset) {
  const IndexNode& node = pages_.Fetch(offset, shape_);
  const std::size_t last = node.size() - 1;
  return {std::string(KeyAt(node, shape_, last)), node.records[last], offset};
}

bool IndexTree::AgreesWithParent(std::size_t level) {
  const IndexNode& node = pages_.Fetch(path_[level].offset, shape_);
  const IndexNode& parent = pages_.Fetch(path_[level - 1].offset, shape_);
  const std::size_t index = path_[level - 1].index;
  const std::size_t last = node.size() - 1;
  return parent.records[index] == node.records[last] &&
         KeyAt(parent, shape_, index) == KeyAt(node, shape_, last);
}

void IndexTree::Settle(std::size_t level) {
  const auto [offset, position] = path_[level];
  const IndexNode& node = pages_.Fetch(offset, shape_);
  if (level == 0) return SettleRoot(position);
  if (node.size() == 0) {
    Unlink(offset);
    pages_.Free(offset);
    return ReplaceInParent(level, {});
  }
  if (!FitsPage(node, shape_, 0, node.size()))
    return ReplaceInParent(level, Split(offset, position));
  if (!AgreesWithParent(level)) ReplaceInParent(level, {ChildAt(offset)});
}

void IndexTree::ReplaceInParent(std::size_t level, const std::vector<Child>& children) {
  const std::size_t above = level - 1;
  std::size_t index = path_[above].index;
  IndexNode& parent = pages_.Change(path_[above].offset, shape_);
  EraseEntry(parent, shape_, index);
  for (const Child& child : children)
    InsertEntry(parent, shape_, index++, child.key, child.record, child.offset);
  if (!children.empty()) path_[above].index = index - 1;
  Settle(above);
}

// The root's place is in the tag's header, so what it held moves away from it.
void IndexTree::SettleRoot(std::size_t appended_at) {
  const IndexNode& node = pages_.Fetch(root_, shape_);
  if (node.size() == 0 && !node.leaf) {
    pages_.Change(root_, shape_).leaf = true;
    return;
  }
  if (FitsPage(node, shape_, 0, node.size())) return;
  IndexNode& root = pages_.Change(root_, shape_);
  const std::uint32_t content = MakePart(root, 0, root.size());
  root.leaf = false;
  root.keys.clear();
  root.records.clear();
  root.children.clear();
  for (const Child& child : Split(content, appended_at))
    InsertEntry(root, shape_, root.size(), child.key, child.record, child.offset);
}

std::uint32_t IndexTree::MakePart(const IndexNode& node, std::size_t first, std::size_t end) {
  const std::uint32_t offset = pages_.Allocate(shape_);
  IndexNode& part = pages_.Change(offset, shape_);
  part.leaf = node.leaf;
  part.other_attributes = node.other_attributes;
  part.packing = node.packing;
  const auto from = static_cast<std::ptrdiff_t>(first);
  const auto to = static_cast<std::ptrdiff_t>(end);
  part.keys = node.keys.substr(first * shape_.key_length, (end - first) * shape_.key_length);
  part.records.assign(node.records.begin() + from, node.records.begin() + to);
  if (!node.leaf) part.children.assign(node.children.begin() + from, node.children.begin() + to);
  return offset;
}

std::vector<IndexTree::Child> IndexTree::Split(std::uint32_t offset, std::size_t appended_at) {
  IndexNode& node = pages_.Change(offset, shape_);
  std::vector<std::size_t> cuts = Cuts(node, appended_at);
  cuts.push_back(node.size());
  std::vector<std::uint32_t> parts = {offset};
  for (std::size_t i = 0; i + 1 < cuts.size(); ++i)
    parts.push_back(MakePart(node, cuts[i], cuts[i + 1]));
  node.keys.resize(cuts.front() * shape_.key_length);
  node.records.resize(cuts.front());
  if (!node.leaf) node.children.resize(cuts.front());
  const std::uint32_t right = node.right;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    IndexNode& part = pages_.Change(parts[i], shape_);
    if (i > 0) part.left = parts[i - 1];
    part.right = i + 1 < parts.size() ? parts[i + 1] : right;
  }
  if (right != kNoIndexPage) pages_.Change(right, shape_).left = parts.back();
  std::vector<Child> children;
  children.reserve(parts.size());
  for (const std::uint32_t part : parts) children.push_back(ChildAt(part));
  return children;
}

// Keys that come in ascending order fill page after page; all others cut a page in the middle.
std::vector<std::size_t> IndexTree::Cuts(const IndexNode& node, std::size_t appended_at) const {
  const std::size_t last = node.size() - 1;
  std::vector<std::size_t> cuts;
  const bool appended = appended_at == last && node.right == kNoIndexPage;
  if (appended && FitsPage(node, shape_, 0, last)) {
    cuts.push_back(last);
  } else {
    CutRange(node, 0, node.size(), cuts);
  }
  return cuts;
}

void IndexTree::CutRange(const IndexNode& node, std::size_t first, std::size_t end,
                         std::vector<std::size_t>& cuts) const {
  if (FitsPage(node, shape_, first, end - first)) return;
  const std::size_t middle = first + (end - first) / 2;
  CutRange(node, first, middle, cuts);
  cuts.push_back(middle);
  CutRange(node, middle, end, cuts);
}

void IndexTree::Unlink(std::uint32_t offset) {
  const IndexNode& node = pages_.Fetch(offset, shape_);
  const std::uint32_t left = node.left;
  const std::uint32_t right = node.right;
  if (left != kNoIndexPage) pages_.Change(left, shape_).right = right;
  if (right != kNoIndexPage) pages_.Change(right, shape_).left = left;
}

}  // namespace tdefault::tables::foxpro
