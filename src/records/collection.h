// The ordered collection behind every list of the object model, with the automation collection's
// own errors.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/error.h"
#include "base/text.h"

namespace tdefault::records {

// Elements in insertion order, each with an optional key; keys are unique without regard to case.
// Shares its elements with whoever holds them. `source` becomes the source of an error.
template <class T>
class Collection {
 public:
  using Element = std::shared_ptr<T>;

  void Append(Element element) { elements_.push_back(std::move(element)); }

  // Throws KeyAlreadyInUse and adds nothing when the key is taken.
  void Append(Element element, const std::wstring& key, std::wstring_view source) {
    if (!keys_.emplace(key, elements_.size()).second) throw KeyAlreadyInUse(std::wstring(source));
    elements_.push_back(std::move(element));
  }

  // Positions count from 1. Throws SubscriptOutOfRange.
  [[nodiscard]] const Element& At(std::int32_t position, std::wstring_view source) const {
    if (position < 1 || static_cast<std::size_t>(position) > elements_.size())
      throw SubscriptOutOfRange(std::wstring(source));
    return elements_[static_cast<std::size_t>(position) - 1];
  }

  // Throws InvalidArgument for a key that no element has.
  [[nodiscard]] const Element& At(std::wstring_view key, std::wstring_view source) const {
    const auto found = keys_.find(key);
    if (found == keys_.end()) throw InvalidArgument(std::wstring(source));
    return elements_[found->second];
  }

  // Throws Overflow above 32,767.
  [[nodiscard]] std::int16_t Count(std::wstring_view source) const {
    if (elements_.size() > static_cast<std::size_t>(std::numeric_limits<std::int16_t>::max()))
      throw Overflow(std::wstring(source));
    return static_cast<std::int16_t>(elements_.size());
  }

  [[nodiscard]] const std::vector<Element>& elements() const noexcept { return elements_; }

 private:
  std::vector<Element> elements_;
  std::map<std::wstring, std::size_t, LessIgnoringCase> keys_;
};

}  // namespace tdefault::records
