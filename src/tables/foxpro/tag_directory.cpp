#include "tables/foxpro/tag_directory.h"

#include <algorithm>
#include <array>
#include <span>
#include <string_view>

#include "base/text.h"
#include "tables/foxpro/index_tree.h"

namespace tdefault::tables::foxpro {
namespace {

constexpr std::size_t kTagNameLength = 10;
constexpr std::size_t kMostTags = 1000;  // far beyond what one table can use

using Header = std::array<std::uint8_t, tag_header::kSize>;

// Reads the header of one tag.
class HeaderReader {
 public:
  HeaderReader(const Header& header, const IndexIdentity& index, const TagPlace& place,
               CodePage code_page)
      : header_(header), index_(index), place_(place), code_page_(code_page) {}

  IndexTag Read() {
    const std::uint8_t options = header_[tag_header::kOptions];
    IndexTag tag;
    tag.name = place_.name;
    tag.header_offset = place_.header_offset;
    tag.root = LittleEndian32(header_, tag_header::kRoot);
    tag.key_length = LittleEndian16(header_, tag_header::kKeyLength);
    tag.signature = header_[tag_header::kSignature];
    tag.unique = (options & tag_option::kUnique) != 0;
    tag.candidate = (options & tag_option::kCandidate) != 0;
    tag.nullable = (options & tag_option::kNullable) != 0;
    tag.descending = LittleEndian16(header_, tag_header::kDescending) == 1;
    tag.collation = Collation();
    tag.expression = Text(tag_header::kExpressionOffset, tag_header::kExpressionLength);
    if ((options & tag_option::kCondition) != 0)
      tag.condition = Text(tag_header::kConditionOffset, tag_header::kConditionLength);
    Check(tag, options);
    return tag;
  }

 private:
  void Check(const IndexTag& tag, std::uint8_t options) const {
    if (tag.key_length == 0 || tag.key_length > kLongestKey + 1) {
      throw DamagedTag(index_, tag.name,
                       L"its keys would be " + std::to_wstring(tag.key_length) + L" bytes long");
    }
    if (tag.expression.empty()) throw DamagedTag(index_, tag.name, L"it has no key expression");
    if ((options & tag_option::kCondition) != 0 && tag.condition.empty())
      throw DamagedTag(index_, tag.name, L"it has no FOR expression where it should have one");
    if ((options & tag_option::kCompact) == 0)
      throw TagNotKept(index_, tag.name, L"it is of the old form that is not compact");
  }

  [[nodiscard]] std::wstring Collation() const {
    const auto* const name = reinterpret_cast<const char*>(header_.data()) + tag_header::kCollation;
    const std::string_view bytes(name, tag_header::kCollationSize);
    return ToUpper(code_page_.Decode(bytes.substr(0, bytes.find('\0'))));
  }

  // A text with its ending zero byte, by where the header says that it stands.
  [[nodiscard]] std::wstring Text(std::size_t offset_place, std::size_t length_place) const {
    const std::size_t offset = LittleEndian16(header_, offset_place);
    const std::size_t length = LittleEndian16(header_, length_place);
    if (offset + length > tag_header::kSize - tag_header::kTexts)
      throw DamagedTag(index_, place_.name, L"its expressions lie outside of its header");
    const auto* const texts = reinterpret_cast<const char*>(header_.data()) + tag_header::kTexts;
    const std::string_view bytes(texts + offset, length);
    return code_page_.Decode(bytes.substr(0, bytes.find('\0')));
  }

  const Header& header_;
  const IndexIdentity& index_;
  const TagPlace& place_;
  CodePage code_page_;
};

}  // namespace

TreeShape DirectoryShape() { return {L"", kTagNameLength, ' '}; }

std::vector<TagPlace> ReadTagPlaces(IndexPages& pages, const IndexIdentity& index,
                                    const TreeShape& shape, CodePage code_page) {
  const IndexPage& header = pages.header();
  if (LittleEndian16(header, tag_header::kKeyLength) != kTagNameLength)
    throw DamagedTag(index, {}, L"the file does not begin as an index file does");
  IndexTree directory(pages, index, shape, LittleEndian32(header, tag_header::kRoot));
  std::vector<TagPlace> places;
  directory.WalkAll([&](std::string_view name, std::uint32_t offset) {
    places.push_back({ToUpper(TrimBlanks(code_page.Decode(name))), offset});
    return places.size() <= kMostTags;
  });
  if (places.size() > kMostTags)
    throw DamagedTag(index, {}, L"it names more tags than a table can have");
  return places;
}

IndexTag ReadTag(IndexPages& pages, const IndexIdentity& index, const TagPlace& place,
                 CodePage code_page) {
  if (place.header_offset % kIndexPageSize != 0 || place.header_offset < tag_header::kSize)
    throw DamagedTag(index, place.name,
                     L"its header cannot stand at " + std::to_wstring(place.header_offset));
  Header header{};
  pages.ReadBytes(place.header_offset, header, place.name);
  return HeaderReader(header, index, place, code_page).Read();
}

}  // namespace tdefault::tables::foxpro
