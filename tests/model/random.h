// Random choices that are the same on every machine for the same seed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tdefault::tests::model {

class Random {
 public:
  // Neighbouring seeds give sequences that have nothing to do with each other.
  explicit Random(std::uint64_t seed) : state_(Mixed(seed)) {}

  std::uint64_t Next() {  // splitmix64
    state_ += kStep;
    return Mixed(state_);
  }

  // From 0 to below `limit`. REQUIRES: limit > 0.
  std::size_t Below(std::size_t limit) { return static_cast<std::size_t>(Next() % limit); }
  std::int64_t Between(std::int64_t low, std::int64_t high) {
    return low + static_cast<std::int64_t>(Below(static_cast<std::size_t>(high - low + 1)));
  }
  bool OneIn(std::size_t n) { return Below(n) == 0; }

  template <class T>
  const T& Of(const std::vector<T>& choices) {
    return choices[Below(choices.size())];
  }

 private:
  static constexpr std::uint64_t kStep = 0x9E3779B97F4A7C15U;

  static std::uint64_t Mixed(std::uint64_t mixed) {
    mixed += kStep;
    mixed = (mixed ^ (mixed >> 30U)) * 0xBF58476D1CE4E5B9U;
    mixed = (mixed ^ (mixed >> 27U)) * 0x94D049BB133111EBU;
    return mixed ^ (mixed >> 31U);
  }

  std::uint64_t state_;
};

}  // namespace tdefault::tests::model
