#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <random>

/// Reproducible random numbers, identical on all platforms, unlike the distributions of
/// the standard library.
class SeededRandom {
 public:
  SeededRandom(std::initializer_list<std::uint32_t> seeds) : sequence_(seeds), random_(sequence_) {}

  std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(random_() % limit); }
  bool chance(std::uint32_t percent) { return below(100) < percent; }
  std::uint8_t byte() { return static_cast<std::uint8_t>(below(256)); }
  template <typename Value>
  Value oneOf(std::initializer_list<Value> values) {
    return values.begin()[below(static_cast<std::uint32_t>(values.size()))];
  }

 private:
  std::seed_seq sequence_;
  std::mt19937 random_;
};
