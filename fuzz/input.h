/// @file
/// Splits an input into parts.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace fuzz {

/// Takes bytes from the front of an input; returns zeros once it is used up.
class Input {
 public:
  explicit Input(std::span<const std::uint8_t> bytes) : rest_(bytes) {}

  std::vector<std::uint8_t> take(std::size_t count) {
    std::vector<std::uint8_t> taken(count);
    const std::size_t there = std::min(count, rest_.size());
    std::copy_n(rest_.begin(), there, taken.begin());
    rest_ = rest_.subspan(there);
    return taken;
  }

  std::uint8_t takeByte() { return take(1)[0]; }

  /// The bytes not taken yet.
  std::span<const std::uint8_t> rest() const { return rest_; }

 private:
  std::span<const std::uint8_t> rest_;
};

}  // namespace fuzz
