#include "model/random_table.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>

namespace tdefault::tests::model {
namespace {

constexpr std::uint16_t kLongestKey = 240;
constexpr std::int32_t kFirstDay = 2415021;  // 1900-01-01
constexpr std::int32_t kDays = 55000;

bool Visual(std::uint8_t version) { return version != 0x03 && version != 0xF5; }

std::string TypesOf(std::uint8_t version) {
  switch (version) {
    case 0x03:
      return "CCCNNFLD";
    case 0xF5:
      return "CCCNNFLDMMGP";
    case 0x32:
      return "CCNFLDTIIBYMGPWVVQ";
    default:
      return "CCCNNFLDTIIBYMMGP";
  }
}

ColumnSpec RandomColumn(Random& random, std::size_t number, const std::string& types, bool nulls) {
  ColumnSpec column;
  column.type = types[random.Below(types.size())];
  column.name = std::string(1, column.type) + std::to_string(number);
  switch (column.type) {
    case 'C':
    case 'V':
      column.length = static_cast<std::uint8_t>(random.OneIn(4) ? random.Between(40, 120)
                                                                : random.Between(1, 24));
      break;
    case 'Q':
      column.length = static_cast<std::uint8_t>(random.Between(1, 30));
      break;
    case 'N':
    case 'F':
      column.decimals = static_cast<std::uint8_t>(random.Below(4));
      column.length = static_cast<std::uint8_t>(column.decimals + random.Between(3, 10));
      break;
    case 'B':
      column.decimals = static_cast<std::uint8_t>(random.Below(4));
      break;
    default:
      break;
  }
  column.nullable = nulls && random.OneIn(3);
  return column;
}

TableSpec RandomColumns(Random& random) {
  TableSpec spec;
  spec.version = random.Of<std::uint8_t>({0x03, 0xF5, 0x30, 0x30, 0x30, 0x31, 0x32, 0x32});
  spec.memo_block_size = random.Of<std::uint16_t>({64, 64, 64, 33, 512, 1});
  const bool nulls = Visual(spec.version) && !random.OneIn(3);
  const std::string types = TypesOf(spec.version);
  const std::size_t count = random.Below(9) + 2;
  for (std::size_t i = 0; i < count; ++i)
    spec.columns.push_back(RandomColumn(random, i, i == 0 ? "CN" : types, nulls));
  // Not every program finds the flags of nullable columns that stand behind others.
  if (random.OneIn(2)) {
    std::stable_partition(spec.columns.begin(), spec.columns.end(),
                          [](const ColumnSpec& column) { return column.nullable; });
  }
  if (spec.version == 0x31) {
    ColumnSpec counter{.name = "COUNTER", .type = 'I'};
    counter.next_number = static_cast<std::uint32_t>(random.Between(1, 500));
    counter.number_step = static_cast<std::uint8_t>(random.Between(1, 5));
    spec.columns.insert(
        spec.columns.begin() + static_cast<std::ptrdiff_t>(random.Below(spec.columns.size())),
        counter);
  }
  return spec;
}

// Builds the tags of one table.
class TagMaker {
 public:
  TagMaker(Random& random, const TableSpec& spec, bool plain_text)
      : random_(random), spec_(spec), plain_text_(plain_text) {
    for (const ColumnSpec& column : spec.columns) names_.push_back(column.name);
  }

  // Absent when the columns do not allow what was thought of.
  std::optional<ModelTag> Make(std::size_t number) {
    ModelTag tag;
    tag.spec.name = "TAG" + std::to_string(number);
    nullable_ = false;
    tag.key = Key(tag.spec);
    if (!tag.key || tag.spec.key_length > kLongestKey) return std::nullopt;
    if (random_.OneIn(3)) tag.condition = Condition();
    tag.spec.descending = random_.OneIn(4);
    if (random_.OneIn(4) && !nullable_ && MayBeCandidate(tag)) {
      tag.spec.candidate = true;
    } else {
      tag.spec.unique = random_.OneIn(5);
      tag.spec.nullable = nullable_;
      if (nullable_) ++tag.spec.key_length;
    }
    if (tag.spec.key_length > kLongestKey) return std::nullopt;
    tag.spec.expression = Narrow(ToText(*tag.key, names_, Spelling::kTag));
    if (tag.condition) tag.spec.condition = Narrow(ToText(*tag.condition, names_, Spelling::kTag));
    return tag;
  }

 private:
  static std::string Narrow(const std::wstring& text) {
    std::string bytes;
    for (const wchar_t character : text) bytes.push_back(static_cast<char>(character));
    return bytes;
  }

  // Under GENERAL the model knows which texts are equal only where they are plain; a logical key
  // allows two rows.
  [[nodiscard]] bool MayBeCandidate(const ModelTag& tag) const {
    if (tag.spec.general && !plain_text_) return false;
    return tag.spec.key_length > 2;
  }

  std::optional<std::size_t> Find(const std::string& types) {
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < spec_.columns.size(); ++i)
      if (types.find(spec_.columns[i].type) != std::string::npos) found.push_back(i);
    if (found.empty()) return std::nullopt;
    const std::size_t column = random_.Of(found);
    nullable_ = nullable_ || spec_.columns[column].nullable;
    return column;
  }

  void SetTextKey(TagSpec& tag, std::size_t characters) {
    tag.general = random_.OneIn(3);
    tag.key_length =
        static_cast<std::uint16_t>(std::min<std::size_t>(1000, characters * (tag.general ? 2 : 1)));
  }

  ExpressionPointer Key(TagSpec& tag) {
    switch (random_.Below(10)) {
      case 0:
      case 1:
        return Plain(tag, "CV");
      case 2:
      case 3:
      case 4:
        return Plain(tag, "NFIBYDTL");
      case 5:
        return UpperOrLeft(tag);
      case 6:
        return Joined(tag);
      case 7:
        return DayAndText(tag);
      case 8:
        return NumberAndText(tag);
      default:
        return SumOrDeleted(tag);
    }
  }

  ExpressionPointer Plain(TagSpec& tag, const std::string& types) {
    const auto column = Find(types);
    if (!column) return nullptr;
    const ColumnSpec& spec = spec_.columns[*column];
    switch (spec.type) {
      case 'C':
      case 'V':
        SetTextKey(tag, spec.length);
        break;
      case 'I':
        tag.key_length = 4;
        break;
      case 'L':
        tag.key_length = 1;
        break;
      default:
        tag.key_length = 8;
    }
    return ColumnOf(*column);
  }

  ExpressionPointer UpperOrLeft(TagSpec& tag) {
    const auto column = Find("C");
    if (!column) return nullptr;
    const std::size_t length = spec_.columns[*column].length;
    if (random_.OneIn(2)) {
      SetTextKey(tag, length);
      return Of(Operator::kUpper, {ColumnOf(*column)});
    }
    const std::size_t count = random_.Below(length) + 1;
    SetTextKey(tag, count);
    return Of(Operator::kLeft, {ColumnOf(*column)}, static_cast<int>(count));
  }

  ExpressionPointer Joined(TagSpec& tag) {
    const auto first = Find("C");
    const auto second = Find("C");
    if (!first || !second) return nullptr;
    SetTextKey(tag, std::size_t{spec_.columns[*first].length} + spec_.columns[*second].length);
    return Of(Operator::kPlus, {ColumnOf(*first), ColumnOf(*second)});
  }

  ExpressionPointer DayAndText(TagSpec& tag) {
    const auto day = Find("D");
    const auto text = Find("C");
    if (!day || !text) return nullptr;
    SetTextKey(tag, std::size_t{8} + spec_.columns[*text].length);
    return Of(Operator::kPlus, {Of(Operator::kDtos, {ColumnOf(*day)}), ColumnOf(*text)});
  }

  ExpressionPointer NumberAndText(TagSpec& tag) {
    const auto number = Find("I");
    const auto text = Find("C");
    if (!number || !text) return nullptr;
    constexpr int kWidth = 11;
    SetTextKey(tag, std::size_t{kWidth} + spec_.columns[*text].length);
    return Of(Operator::kPlus, {Of(Operator::kStr, {ColumnOf(*number)}, kWidth),
                                Of(Operator::kUpper, {ColumnOf(*text)})});
  }

  ExpressionPointer SumOrDeleted(TagSpec& tag) {
    if (random_.OneIn(3)) {
      tag.key_length = 1;
      return Of(Operator::kDeleted, {});
    }
    const auto number = Find("NFB");
    if (!number) return nullptr;
    tag.key_length = 8;
    return Of(Operator::kPlus,
              {ColumnOf(*number), Literal(static_cast<std::int32_t>(random_.Between(1, 9)))});
  }

  // Text is compared in no condition: whether that means all of it depends on settings of FoxPro.
  ExpressionPointer Condition() {
    const bool before = nullable_;
    ExpressionPointer condition = OneCondition();
    if (condition && random_.OneIn(4)) {
      if (ExpressionPointer other = OneCondition())
        condition = Of(random_.OneIn(2) ? Operator::kAnd : Operator::kOr, {condition, other});
    }
    nullable_ = before;
    return condition;
  }

  ExpressionPointer OneCondition() {
    if (random_.OneIn(3)) return Of(Operator::kNot, {Of(Operator::kDeleted, {})});
    const auto column = Find("NFILDC");
    if (!column) return nullptr;
    const ColumnSpec& spec = spec_.columns[*column];
    if (spec.type == 'L') return ColumnOf(*column);
    if (spec.type == 'C' || spec.type == 'D')
      return Of(Operator::kNot, {Of(Operator::kEmpty, {ColumnOf(*column)})});
    return Of(random_.OneIn(2) ? Operator::kGreater : Operator::kLessOrEqual,
              {ColumnOf(*column), Literal(static_cast<std::int32_t>(random_.Between(0, 50)))});
  }

  Random& random_;
  const TableSpec& spec_;
  bool plain_text_;
  std::vector<std::string> names_;
  bool nullable_ = false;  // the expression that is being made reads a column with nulls
};

std::wstring RandomText(Random& random, std::size_t longest, const TableHabits& habits,
                        bool line_breaks) {
  static const std::wstring kPlain =
      L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
  const std::size_t length = random.OneIn(8) ? longest : random.Below(longest + 1);
  const std::size_t letters = random.OneIn(3) ? 3 : kPlain.size();
  std::wstring text;
  while (text.size() < length) {
    const std::size_t kind = random.Below(30);
    if (kind == 0) {
      text += L' ';
    } else if (kind == 1 && !habits.plain_text) {
      text += static_cast<wchar_t>(random.Between(0x21, 0x7E));
    } else if (kind == 2 && !habits.plain_text) {
      text += static_cast<wchar_t>(random.Between(0xC0, 0xFE));
    } else if (kind == 3 && line_breaks) {
      text += L"\r\n";
    } else {
      text += kPlain[random.Below(letters)];
    }
  }
  return text;
}

Value RandomDigits(Random& random, const ColumnSpec& column) {
  // A sign and a point fit as well.
  const int digits = std::min(15, column.length - (column.decimals != 0 ? 2 : 1));
  const bool small = random.OneIn(2);
  const auto limit =
      static_cast<std::int64_t>(std::pow(10.0, small ? std::min(2, digits) : digits));
  const std::int64_t whole = random.Between(-(limit - 1), limit - 1);
  std::string text = std::to_string(whole) + "e-" + std::to_string(column.decimals);
  return std::strtod(text.c_str(), nullptr) + 0.0;
}

Bytes RandomBytes(Random& random, std::size_t longest) {
  Bytes bytes(random.Below(longest + 1));
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random.Below(256));
  return bytes;
}

Date RandomDay(Random& random) {
  if (random.OneIn(12)) return {};
  const auto days = static_cast<std::size_t>(random.OneIn(2) ? 20 : kDays);
  return {kFirstDay + static_cast<std::int32_t>(random.Below(days))};
}

DateTime RandomMoment(Random& random) {
  const Date day = RandomDay(random);
  if (day.empty()) return {};
  return {day, static_cast<std::int32_t>(random.Below(86400)) * 1000};
}

std::size_t LongestMemo(Random& random) {
  if (random.OneIn(40)) return 3000;
  return random.OneIn(5) ? 300 : 60;
}

}  // namespace

Value RandomValue(Random& random, const ColumnSpec& column, const TableHabits& habits) {
  switch (column.type) {
    case 'C':
    case 'V':
      return RandomText(random, std::size_t{column.length} + (random.OneIn(6) ? 5U : 0U), habits,
                        false);
    case 'M':
      return RandomText(random, LongestMemo(random), habits, !habits.plain_text);
    case 'N':
    case 'F':
      return RandomDigits(random, column);
    case 'I':
      return static_cast<std::int32_t>(random.OneIn(2) ? random.Between(-20, 60)
                                                       : random.Between(-2147483647, 2147483000));
    case 'B':
      return static_cast<double>(random.Between(-1000000, 1000000)) /
             static_cast<double>(random.Between(1, 64));
    case 'Y':
      return Currency{random.OneIn(2) ? random.Between(-30, 30) * 10000
                                      : random.Between(-99999999999, 99999999999)};
    case 'L':
      return random.OneIn(2);
    case 'D':
      return RandomDay(random);
    case 'T':
      return RandomMoment(random);
    case 'Q':
      return RandomBytes(random, column.length);
    default:
      return RandomBytes(random, LongestMemo(random));
  }
}

RandomTable MakeTable(Random& random) {
  TableSpec spec = RandomColumns(random);
  const bool folds = random.OneIn(2);
  const TableHabits habits{.plain_text = folds || random.OneIn(3),
                           .wanted_rows = random.Of<std::size_t>({5, 20, 20, 60, 60, 150, 900})};
  std::vector<ModelTag> tags;
  const std::size_t wanted = random.Below(6);
  TagMaker maker(random, spec, habits.plain_text);
  for (std::size_t i = 0; i < wanted * 2 && tags.size() < wanted; ++i)
    if (auto tag = maker.Make(tags.size() + 1)) tags.push_back(*std::move(tag));
  for (const ModelTag& tag : tags) spec.tags.push_back(tag.spec);
  return {ModelTable(std::move(spec), std::move(tags), folds), habits};
}

}  // namespace tdefault::tests::model
