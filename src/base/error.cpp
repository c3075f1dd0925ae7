#include "base/error.h"

#include <utility>

#include "base/text.h"

namespace tdefault {

Error::Error(std::int32_t number, std::wstring source, std::wstring description)
    : number_(number), source_(std::move(source)), description_(std::move(description)) {
  what_ = std::to_string(number_) + " [" + ToUtf8(source_) + "] " + ToUtf8(description_);
}

Error InvalidArgument(std::wstring source) {
  return {error_number::kInvalidArgument, std::move(source), L"Invalid procedure call or argument"};
}

Error Overflow(std::wstring source) {
  return {error_number::kOverflow, std::move(source), L"Overflow"};
}

Error SubscriptOutOfRange(std::wstring source) {
  return {error_number::kSubscriptOutOfRange, std::move(source), L"Subscript out of range"};
}

Error TypeMismatch(std::wstring source) {
  return {error_number::kTypeMismatch, std::move(source), L"Type mismatch"};
}

Error InvalidUseOfNull(std::wstring source) {
  return {error_number::kInvalidUseOfNull, std::move(source), L"Invalid use of Null"};
}

Error KeyAlreadyInUse(std::wstring source) {
  return {error_number::kKeyAlreadyInUse, std::move(source),
          L"This key is already associated with an element of this collection"};
}

}  // namespace tdefault
