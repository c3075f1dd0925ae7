#include "tables/ado/ado_field.h"

#include <limits>
#include <string>
#include <utility>
#include <variant>

#include "base/error.h"

namespace tdefault::tables::ado {
namespace {

constexpr std::int32_t kLongAttribute = 0x80;
constexpr std::int32_t kChunkSize = 65536;
constexpr std::int32_t kUnknownSize = -1;

}  // namespace

AdoField::AdoField(AutomationObject object, std::int64_t& step_count)
    : object_(std::move(object)),
      step_count_(step_count),
      name_(object_.GetText(L"Name")),
      defined_size_(object_.GetNumber(L"DefinedSize")),
      type_(static_cast<DataType>(object_.GetNumber(L"Type"))),
      is_long_((object_.GetNumber(L"Attributes") & kLongAttribute) != 0) {}

std::int32_t AdoField::actual_size() const {
  const std::int32_t size = object_.GetNumber(L"ActualSize");
  if (size != kUnknownSize) return size;
  const Value current = value();
  if (IsNull(current)) return 0;
  if (const auto* const text = std::get_if<std::wstring>(&current))
    return static_cast<std::int32_t>(text->size());
  if (const auto* const bytes = std::get_if<Bytes>(&current))
    return static_cast<std::int32_t>(bytes->size());
  return defined_size_;
}

Value AdoField::value() const { return ToValue(Read().get(), type_); }

Bytes AdoField::bytes() const { return ToBytes(Read().get()); }

void AdoField::set_value(const Value& value) {
  const Variant variant = ToVariant(value, type_);
  // The first value may have the whole row read anew.
  ++step_count_;
  object_.Put(L"Value", variant.get());
}

const Variant& AdoField::Read() const {
  if (kept_at_ == step_count_) return kept_;
  kept_at_ = 0;
  kept_ = object_.Get(L"Value");
  if (is_long_ && kept_.get().vt == VT_EMPTY) {
    kept_ = ReadChunks();
    kept_at_ = step_count_;
  }
  return kept_;
}

Variant AdoField::ReadChunks() const {
  std::wstring text;
  Bytes bytes;
  // A null would have been given as the value, so a field without chunks is empty.
  bool is_text = type_ == DataType::kLongVarChar || type_ == DataType::kLongVarWideChar;
  for (;;) {
    const Variant chunk = object_.Call(L"GetChunk", {Argument(kChunkSize)});
    if (chunk.get().vt == VT_NULL || chunk.get().vt == VT_EMPTY) break;
    is_text = chunk.get().vt == VT_BSTR;
    const std::size_t length_before = is_text ? text.size() : bytes.size();
    if (is_text) {
      text += TextOf(chunk.get().bstrVal);
    } else {
      const Bytes part = ToBytes(chunk.get());
      bytes.insert(bytes.end(), part.begin(), part.end());
    }
    const std::size_t length = (is_text ? text.size() : bytes.size()) - length_before;
    if (length < static_cast<std::size_t>(kChunkSize)) break;
  }
  return is_text ? ToVariant(text, DataType::kLongVarChar)
                 : ToVariant(bytes, DataType::kLongVarBinary);
}

}  // namespace tdefault::tables::ado
