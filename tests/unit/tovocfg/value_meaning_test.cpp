#include "tovocfg/value_meaning.h"

#include <doctest/doctest.h>

namespace tovocfg {

TEST_CASE("numbers are the same by their value, not by their digits") {
  CHECK(SameMeaning(KeyType::kNumeric, "7.50", "7.5"));
  CHECK(SameMeaning(KeyType::kNumeric, "007", "7.000"));
  CHECK(SameMeaning(KeyType::kNumeric, "-0", "0"));
  CHECK(SameMeaning(KeyType::kNumeric, "+1.", "1"));
  CHECK_FALSE(SameMeaning(KeyType::kNumeric, "7.5", "-7.5"));
  CHECK_FALSE(SameMeaning(KeyType::kNumeric, "7.5", "7.05"));
  CHECK_FALSE(SameMeaning(KeyType::kNumeric, "10", "1"));
}

TEST_CASE("a numeric option's value that is no number is the same as its own text only") {
  CHECK(SameMeaning(KeyType::kNumeric, "abc", "abc"));
  CHECK_FALSE(SameMeaning(KeyType::kNumeric, "abc", "ABC"));
  CHECK_FALSE(SameMeaning(KeyType::kNumeric, "", "0"));
}

TEST_CASE("yes/no values are the same by their truth") {
  CHECK(SameMeaning(KeyType::kBoolean, "True", "1"));
  CHECK(SameMeaning(KeyType::kBoolean, "-1", "yes"));
  CHECK(SameMeaning(KeyType::kBoolean, "Off", "0"));
  CHECK_FALSE(SameMeaning(KeyType::kBoolean, "True", "0"));
  CHECK_FALSE(SameMeaning(KeyType::kBoolean, "", "False"));
  CHECK_FALSE(SameMeaning(KeyType::kBoolean, "perhaps", "maybe"));
}

TEST_CASE("texts and choices are the same only letter by letter") {
  CHECK(SameMeaning(KeyType::kString, "a", "a"));
  CHECK_FALSE(SameMeaning(KeyType::kString, "a", "A"));
  CHECK_FALSE(SameMeaning(KeyType::kString, "7.50", "7.5"));
  CHECK_FALSE(SameMeaning(KeyType::kChoice, "0", "00"));
}

TEST_CASE("fonts are compared part by part") {
  CHECK(SameMeaning(KeyType::kFont, "Arial|9|0|0|0|0|0", "arial|9.0|False|no|0|0|000"));
  CHECK_FALSE(SameMeaning(KeyType::kFont, "Arial|9|0|0|0|0|0", "Arial|9|0|0|0|1|0"));
  CHECK_FALSE(SameMeaning(KeyType::kFont, "Arial|9|0|0|0|0|0", "Arial|10|0|0|0|0|0"));
  CHECK_FALSE(SameMeaning(KeyType::kFont, "Arial|9|0|0|0|0|0", "Arial|9|0"));
}

TEST_CASE("a font of which only the name is known is compared by its name") {
  CHECK(SameMeaning(KeyType::kFont, "Arial", "Arial|9|0|0|0|0|0"));
  CHECK_FALSE(SameMeaning(KeyType::kFont, "Verdana", "Arial|9|0|0|0|0|0"));
}

}  // namespace tovocfg
