// The pages of an index file: decoded and kept until another program changes the file, written
// together.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

#include "platform/files.h"
#include "tables/foxpro/index_errors.h"
#include "tables/foxpro/index_node.h"

namespace tdefault::tables::foxpro {

class IndexPages {
 public:
  // Both outlive the pages.
  IndexPages(platform::File& file, const IndexIdentity& index) : file_(file), index_(index) {}
  IndexPages(const IndexPages&) = delete;
  IndexPages& operator=(const IndexPages&) = delete;

  // Reads the file's header. What is cached is dropped when the header shows that another program
  // changed the file, or when the last change was not written. Throws FileFailure and DamagedTag.
  void Refresh();

  // The first page of the file's header.
  [[nodiscard]] const IndexPage& header() const noexcept { return header_; }
  // Of the file, before anything is written.
  [[nodiscard]] std::uint64_t size() const noexcept { return size_; }

  // Fills `bytes` from the file; throws DamagedTag, naming the tag, where the file ends before.
  void ReadBytes(std::uint64_t offset, std::span<std::uint8_t> bytes, const std::wstring& tag);

  // The page at `offset` of a tree. The reference holds until Refresh and Write. Throws DamagedTag
  // when there is no such page.
  const IndexNode& Fetch(std::uint32_t offset, const TreeShape& shape);
  // Likewise, to be changed.
  IndexNode& Change(std::uint32_t offset, const TreeShape& shape);

  // A new page, from the list of free pages or behind the end of the file.
  std::uint32_t Allocate(const TreeShape& shape);
  // Puts a page that nothing refers to any more on the list of free pages.
  void Free(std::uint32_t offset);

  // Writes the number of the record whose keys are going to be behind it into the header.
  void WriteMark(std::uint32_t record_number);

  // Takes the mark of a change that was broken off away. Its pages may have been written without
  // the counter, so the next counter makes all others read anew.
  void ClearMark() { WriteHeader(); }

  // Writes what changed in an order in which no page refers to one that is not there: new pages,
  // leaves, inner pages from the bottom up, free pages, and last the header with the next counter
  // and without the mark.
  void Write();

  // After a change that failed: puts back what Write had written over and takes the mark away. New
  // pages stay in the file, where nothing refers to them. What is cached is dropped. Throws
  // FileFailure, with the mark left in the file.
  void TakeBack();

 private:
  struct Entry {
    IndexNode node;
    const TreeShape* shape = nullptr;
    std::optional<IndexPage> stored;  // as the file has it; absent behind the end
    bool changed = false;
    bool created = false;
  };
  // A page that can be used anew, as the file has it.
  struct FreePage {
    std::uint32_t offset;
    std::optional<IndexPage> stored;
  };
  struct Overwritten {
    std::uint32_t offset;
    IndexPage stored;
  };

  Entry& Find(std::uint32_t offset, const TreeShape& shape);
  void DropAll() noexcept;
  void WriteBytes(std::uint64_t offset, std::span<const std::uint8_t> bytes);
  void WritePage(std::uint32_t offset, const std::optional<IndexPage>& stored,
                 const IndexPage& page);
  void WriteNodes();
  void WriteFreePages();
  // Writes the header without the mark, and with the next counter, so that others read anew.
  void WriteHeader();
  // The first free page, taken off the list; absent when there is none that can be used.
  std::optional<FreePage> TakeFreePage();
  [[nodiscard]] bool IsPagePlace(std::uint32_t offset) const noexcept;

  platform::File& file_;
  const IndexIdentity& index_;
  IndexPage header_{};
  IndexPage stored_header_{};  // as Refresh read it
  bool known_ = false;         // the header has been read
  std::uint64_t size_ = 0;
  std::uint64_t end_ = 0;  // of the last page, new ones included
  std::unordered_map<std::uint32_t, std::unique_ptr<Entry>> entries_;
  std::vector<std::uint32_t> changed_;  // in the order of their first change
  std::vector<FreePage> freed_;
  std::vector<Overwritten> overwritten_;  // by a Write that has not ended
};

}  // namespace tdefault::tables::foxpro
