#include "tables/foxpro/table_layout.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "tables/foxpro/table_format.h"

namespace tdefault::tables::foxpro {
namespace {

constexpr char kNullFlagsType = '0';

struct CodePageMark {
  std::uint8_t mark;
  std::uint32_t page;
};

constexpr std::array kCodePageMarks = {
    CodePageMark{0x01, 437},   CodePageMark{0x02, 850},   CodePageMark{0x03, 1252},
    CodePageMark{0x04, 10000}, CodePageMark{0x57, 1252},  CodePageMark{0x58, 1252},
    CodePageMark{0x59, 1252},  CodePageMark{0x64, 852},   CodePageMark{0x65, 866},
    CodePageMark{0x66, 865},   CodePageMark{0x67, 861},   CodePageMark{0x68, 895},
    CodePageMark{0x69, 620},   CodePageMark{0x6A, 737},   CodePageMark{0x6B, 857},
    CodePageMark{0x78, 950},   CodePageMark{0x79, 949},   CodePageMark{0x7A, 936},
    CodePageMark{0x7B, 932},   CodePageMark{0x7C, 874},   CodePageMark{0x7D, 1255},
    CodePageMark{0x7E, 1256},  CodePageMark{0x96, 10007}, CodePageMark{0x97, 10029},
    CodePageMark{0x98, 10006}, CodePageMark{0xC8, 1250},  CodePageMark{0xC9, 1251},
    CodePageMark{0xCA, 1254},  CodePageMark{0xCB, 1253}};

constexpr std::wstring_view kCarriedPages = L"437, 850, 1250, 1251 and 1252";

std::wstring Hexadecimal(std::uint8_t byte) {
  constexpr std::wstring_view kDigits = L"0123456789ABCDEF";
  return std::wstring(L"0x") + kDigits[byte >> 4U] + kDigits[byte & 15U];
}

// What a stored column type may look like.
struct TypeRule {
  char type;
  ColumnKind kind;
  std::uint8_t shortest;
  std::uint8_t longest;
  bool in_old_versions;  // FoxPro 2.x and dBASE III have it too
};

constexpr std::uint8_t kMemoPointerLength = 4;
constexpr std::uint8_t kMemoDigitsLength = 10;

// The lengths of memo pointers depend on the version and are checked apart.
constexpr std::array kTypeRules = {
    TypeRule{'C', ColumnKind::kText, 1, 255, true},
    TypeRule{'N', ColumnKind::kNumber, 1, 20, true},
    TypeRule{'F', ColumnKind::kNumber, 1, 20, true},
    TypeRule{'L', ColumnKind::kLogical, 1, 1, true},
    TypeRule{'D', ColumnKind::kDate, 8, 8, true},
    TypeRule{'M', ColumnKind::kMemo, kMemoPointerLength, kMemoDigitsLength, true},
    TypeRule{'G', ColumnKind::kBinary, kMemoPointerLength, kMemoDigitsLength, true},
    TypeRule{'P', ColumnKind::kBinary, kMemoPointerLength, kMemoDigitsLength, true},
    TypeRule{'W', ColumnKind::kBinary, kMemoPointerLength, kMemoPointerLength, false},
    TypeRule{'T', ColumnKind::kDateTime, 8, 8, false},
    TypeRule{'I', ColumnKind::kInteger, 4, 4, false},
    TypeRule{'B', ColumnKind::kNumber, 8, 8, false},
    TypeRule{'Y', ColumnKind::kCurrency, 8, 8, false},
    TypeRule{'V', ColumnKind::kText, 1, 255, false},
    TypeRule{'Q', ColumnKind::kBinary, 1, 255, false},
    TypeRule{kNullFlagsType, ColumnKind::kBinary, 1, 64, false}};

// Builds the layout from the header's bytes, descriptor by descriptor.
class LayoutReader {
 public:
  LayoutReader(platform::File& file, const TableIdentity& table) : file_(file), table_(table) {}

  TableLayout Read(std::uint32_t ansi_code_page) {
    ReadHeader();
    CheckVersion();
    const CodePage page = FindCodePage(ansi_code_page);
    TableLayout layout{.version = version_,
                       .record_count = LittleEndian32(header_, table_header::kRecordCount),
                       .header_length = LittleEndian16(header_, table_header::kHeaderLength),
                       .record_length = LittleEndian16(header_, table_header::kRecordLength),
                       .code_page = page,
                       .columns = {}};
    layout.memo_pointers_are_digits = !visual_;
    layout.visual = visual_;
    const std::uint8_t flags = header_[table_header::kFlags];
    layout.has_structural_index = (flags & table_header::kHasStructuralIndex) != 0;
    layout.is_database_container = (flags & table_header::kIsDatabaseContainer) != 0;
    ReadDescriptorArea(layout);
    layout.has_backlink =
        has_backlink_room_ && header_[layout.header_length - table_header::kBacklinkSize] != 0;
    ReadDescriptors(layout);
    return layout;
  }

 private:
  [[nodiscard]] Error Damaged(const std::wstring& reason) const {
    return DamagedFile(table_, table_.path, reason);
  }

  // Replaces header_ by the first `size` bytes of the file.
  void Fetch(std::size_t size) {
    header_.resize(size);
    const auto read = file_.ReadAt(0, header_);
    if (!read.ok()) throw FileFailure(table_, table_.path, L"read", read.code());
    if (read.value() == 0) throw Damaged(L"it is empty (0 bytes)");
    if (read.value() < size) {
      throw Damaged(L"it ends after " + std::to_wstring(read.value()) + L" of the " +
                    std::to_wstring(size) + L" bytes of its header");
    }
  }

  void ReadHeader() {
    Fetch(table_header::kSize);
    version_ = header_[table_header::kVersion];
  }

  void CheckVersion() {
    switch (version_) {
      case table_version::kDbase3:
      case table_version::kDbase3Memo:
      case table_version::kFoxPro2Memo:
        visual_ = false;
        return;
      case table_version::kVisualFoxPro:
      case table_version::kVisualFoxProAutoIncrement:
      case table_version::kVisualFoxProVarchar:
        visual_ = true;
        return;
      default:
        throw RefusedFile(table_, table_.path,
                          L"its first byte, " + Hexadecimal(version_) +
                              L", is not the version of a FoxPro 2.x, Visual FoxPro or dBASE III "
                              L"table",
                          L"Restore the file from a backup if it was one; copy a table of another "
                          L"kind to a new table with FoxPro.");
    }
  }

  [[nodiscard]] CodePage FindCodePage(std::uint32_t ansi_code_page) const {
    const std::uint8_t mark = header_[table_header::kCodePageMark];
    const std::wstring remedy = L"Convert the table with FoxPro to one of the code pages " +
                                std::wstring(kCarriedPages) + L".";
    if (mark == 0) {
      if (const auto page = CodePage::Find(ansi_code_page)) return *page;
      throw RefusedFile(table_, table_.path,
                        L"it has no code page mark, and the system's code page " +
                            std::to_wstring(ansi_code_page) + L" is not served",
                        remedy);
    }
    const auto* const known =
        std::find_if(kCodePageMarks.begin(), kCodePageMarks.end(),
                     [mark](const CodePageMark& entry) { return entry.mark == mark; });
    if (known == kCodePageMarks.end()) {
      throw RefusedFile(table_, table_.path,
                        L"its code page mark " + Hexadecimal(mark) + L" is not known", remedy);
    }
    if (const auto page = CodePage::Find(known->page)) return *page;
    throw RefusedFile(table_, table_.path,
                      L"its code page mark " + Hexadecimal(mark) + L" stands for code page " +
                          std::to_wstring(known->page) + L", which is not served",
                      remedy);
  }

  // Fetches the whole header and counts its descriptors. The record area starts where the header
  // says, so its length must be what its parts need, or every row would be read shifted.
  void ReadDescriptorArea(const TableLayout& layout) {
    if (layout.header_length <= table_header::kSize) {
      throw Damaged(L"its header length " + std::to_wstring(layout.header_length) +
                    L" leaves no room for a column");
    }
    Fetch(layout.header_length);
    std::size_t end = table_header::kSize;
    while (end < header_.size() && header_[end] != field_descriptor::kTerminator)
      end += field_descriptor::kSize;
    if (end >= header_.size()) throw Damaged(L"the list of its columns has no end");
    descriptor_count_ = (end - table_header::kSize) / field_descriptor::kSize;
    if (descriptor_count_ == 0) throw Damaged(L"it has no columns");
    const std::size_t shortest = end + 1;
    const std::size_t longest = shortest + table_header::kBacklinkSize;
    // Some programs write Visual FoxPro's versions without the room for the path of a container,
    // or the older ones with it; dBASE III puts a zero byte behind the terminator.
    const bool padded = !visual_ && layout.header_length == shortest + 1;
    if (layout.header_length != shortest && layout.header_length != longest && !padded) {
      throw Damaged(L"its header length is " + std::to_wstring(layout.header_length) +
                    L" where its " + std::to_wstring(descriptor_count_) + L" columns need " +
                    std::to_wstring(visual_ ? longest : shortest));
    }
    has_backlink_room_ = visual_ && layout.header_length == longest;
  }

  void ReadDescriptors(TableLayout& layout) {
    std::size_t offset = 1;
    std::size_t bits = 0;
    for (std::size_t index = 0; index < descriptor_count_; ++index) {
      const std::size_t place = table_header::kSize + index * field_descriptor::kSize;
      const auto descriptor =
          std::span<const std::uint8_t>(header_).subspan(place, field_descriptor::kSize);
      StoredColumn stored = ReadDescriptor(descriptor, offset, layout.code_page, bits);
      stored.descriptor_offset = place;
      const auto length = static_cast<std::size_t>(stored.column.length);
      const bool null_flags = stored.column.type == kNullFlagsType;
      if (null_flags) {
        layout.null_flags_offset = offset;
        layout.null_flags_length = length;
      }
      offset += length;
      if (null_flags) continue;
      if ((Flags(descriptor) & field_descriptor::kSystem) != 0) {
        layout.has_hidden_columns = true;
        continue;
      }
      layout.has_memo_columns = layout.has_memo_columns || IsMemoType(stored.column.type);
      CheckUnique(stored.column.name, layout);
      layout.columns.push_back(std::move(stored));
    }
    if (offset != layout.record_length) {
      throw Damaged(L"its record length is " + std::to_wstring(layout.record_length) +
                    L" where its columns need " + std::to_wstring(offset));
    }
    if (bits > layout.null_flags_length * 8) {
      throw Damaged(L"its columns need " + std::to_wstring(bits) +
                    L" flags for null values and lengths, and the column of these flags has " +
                    std::to_wstring(layout.null_flags_length * 8));
    }
  }

  // The flags byte exists since Visual FoxPro; older versions leave anything there.
  [[nodiscard]] std::uint8_t Flags(std::span<const std::uint8_t> descriptor) const {
    return visual_ ? descriptor[field_descriptor::kFlags] : std::uint8_t{0};
  }

  StoredColumn ReadDescriptor(std::span<const std::uint8_t> descriptor, std::size_t offset,
                              const CodePage& page, std::size_t& bits) const {
    StoredColumn stored;
    stored.offset = offset;
    Column& column = stored.column;
    column.name = ReadName(descriptor, page);
    const TypeRule& rule = FindRule(descriptor, column.name);
    const std::uint8_t flags = Flags(descriptor);
    column.type = rule.type;
    column.length = descriptor[field_descriptor::kLength];
    column.decimals = descriptor[field_descriptor::kDecimals];
    column.nullable = (flags & field_descriptor::kNullable) != 0;
    stored.binary = (flags & field_descriptor::kBinary) != 0;
    if (column.type == 'I' && (flags & field_descriptor::kAutomaticNumber) != 0) {
      stored.automatic =
          AutomaticNumber{.next = LittleEndian32(descriptor, field_descriptor::kNextNumber),
                          .step = descriptor[field_descriptor::kNumberStep]};
    }
    // Text that is marked as binary is text all the same: the mark keeps other programs from
    // translating it to their code page.
    column.kind = rule.kind;
    column.fixed_width = rule.type == 'C';
    if (rule.kind == ColumnKind::kText || rule.kind == ColumnKind::kMemo) column.code_page = page;
    const std::uint32_t displacement = LittleEndian32(descriptor, field_descriptor::kDisplacement);
    if (visual_ && displacement != 0 && displacement != offset) {
      throw Damaged(
          L"its column " + column.name + L" starts at byte " + std::to_wstring(displacement) +
          L" of the record where the columns before it end at " + std::to_wstring(offset));
    }
    if (rule.type == 'V' || rule.type == 'Q') stored.length_bit = bits++;
    if (column.nullable) stored.null_bit = bits++;
    return stored;
  }

  [[nodiscard]] std::wstring ReadName(std::span<const std::uint8_t> descriptor,
                                      const CodePage& page) const {
    std::string bytes;
    for (std::size_t i = 0; i < field_descriptor::kNameSize; ++i) {
      const std::uint8_t byte = descriptor[field_descriptor::kName + i];
      if (byte == 0) break;
      bytes.push_back(static_cast<char>(byte));
    }
    // Some programs fill names up with blanks.
    bytes.erase(bytes.find_last_not_of(' ') + 1);
    const bool printable = std::all_of(bytes.begin(), bytes.end(), [](char character) {
      return static_cast<unsigned char>(character) > 0x20 && character != 0x7F;
    });
    if (bytes.empty() || bytes.size() == field_descriptor::kNameSize || !printable)
      throw Damaged(L"its header names a column with characters that no name has");
    return ToUpper(page.Decode(bytes));
  }

  [[nodiscard]] const TypeRule& FindRule(std::span<const std::uint8_t> descriptor,
                                         const std::wstring& name) const {
    const auto type = static_cast<char>(descriptor[field_descriptor::kType]);
    const auto* const rule =
        std::find_if(kTypeRules.begin(), kTypeRules.end(),
                     [type](const TypeRule& entry) { return entry.type == type; });
    if (rule == kTypeRules.end() || (!visual_ && !rule->in_old_versions)) {
      throw Damaged(L"its column " + name + L" has the type " +
                    Hexadecimal(descriptor[field_descriptor::kType]) +
                    L", which tables of its version do not have");
    }
    const std::uint8_t length = descriptor[field_descriptor::kLength];
    const std::uint8_t pointer = visual_ ? kMemoPointerLength : kMemoDigitsLength;
    const bool fits =
        IsMemoType(type) ? length == pointer : length >= rule->shortest && length <= rule->longest;
    if (!fits) {
      throw Damaged(L"its column " + name + L" of type " + std::wstring(1, type) + L" is " +
                    std::to_wstring(length) + L" bytes long, which is no length of that type");
    }
    return *rule;
  }

  void CheckUnique(const std::wstring& name, const TableLayout& layout) const {
    const bool taken =
        std::any_of(layout.columns.begin(), layout.columns.end(),
                    [&name](const StoredColumn& other) { return other.column.name == name; });
    if (taken) throw Damaged(L"it has two columns named " + name);
  }

  platform::File& file_;
  const TableIdentity& table_;
  std::vector<std::uint8_t> header_;
  std::uint8_t version_ = 0;
  bool visual_ = false;  // one of Visual FoxPro's versions
  bool has_backlink_room_ = false;
  std::size_t descriptor_count_ = 0;
};

}  // namespace

TableLayout ReadTableLayout(platform::File& file, const TableIdentity& table,
                            std::uint32_t ansi_code_page) {
  return LayoutReader(file, table).Read(ansi_code_page);
}

}  // namespace tdefault::tables::foxpro
