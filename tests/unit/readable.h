// Lets doctest print wide text and errors in failed checks, and catches errors to look at them.
#pragma once

#include <doctest/doctest.h>

#include <optional>
#include <string>

#include "base/error.h"
#include "base/text.h"

namespace doctest {

template <>
struct StringMaker<std::wstring> {
  static String convert(const std::wstring& text) {
    return ("\"" + tdefault::ToUtf8(text) + "\"").c_str();
  }
};

}  // namespace doctest

namespace tdefault::testing {

// The Error that a call throws; absent when it throws none.
template <class Body>
std::optional<Error> ErrorOf(const Body& body) {
  try {
    static_cast<void>(body());
  } catch (const Error& error) {
    return error;
  }
  return std::nullopt;
}

template <class Body>
std::int32_t NumberOf(const Body& body) {
  const std::optional<Error> error = ErrorOf(body);
  return error ? error->number() : 0;
}

}  // namespace tdefault::testing
