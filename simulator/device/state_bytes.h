#pragma once

#include <chrono>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace simulator {

/// A stored state that no device can have.
class StateError : public std::runtime_error {
 public:
  StateError() : std::runtime_error("is damaged") {}
};

/// Puts values into bytes, least significant byte first.
class StateWriter {
 public:
  template <std::unsigned_integral Number>
  void number(Number value) {
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
      bytes_.push_back(static_cast<std::uint8_t>(std::uint64_t{value} >> (8 * i) & 0xFF));
    }
  }
  void flag(bool value) { number(static_cast<std::uint8_t>(value ? 1 : 0)); }
  void time(std::chrono::nanoseconds value) { number(static_cast<std::uint64_t>(value.count())); }
  /// The bytes alone, without their number.
  void raw(std::span<const std::uint8_t> bytes) {
    bytes_.reserve(bytes_.size() + bytes.size());
    // One by one: GCC 16 takes the bounds of an inserted range for wrong.
    for (const std::uint8_t byte : bytes) {
      bytes_.push_back(byte);
    }
  }
  void block(std::span<const std::uint8_t> bytes) {
    number(static_cast<std::uint32_t>(bytes.size()));
    raw(bytes);
  }
  void text(const std::string& text) { block({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}); }

  std::vector<std::uint8_t> take() { return std::move(bytes_); }

 private:
  std::vector<std::uint8_t> bytes_;
};

/// Takes values out of bytes in the order in which they were put there.
/// Every reader throws StateError when the bytes do not hold such a value.
class StateReader {
 public:
  /// @param bytes must outlive the reader
  explicit StateReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  template <std::unsigned_integral Number>
  Number number(Number max = std::numeric_limits<Number>::max()) {
    std::uint64_t value = 0;
    const auto bytes = raw(sizeof(Number));
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      value |= std::uint64_t{bytes[i]} << (8 * i);
    }
    if (value > max) {
      throw StateError();
    }
    return static_cast<Number>(value);
  }
  bool flag() { return number<std::uint8_t>(1) == 1; }
  std::chrono::nanoseconds time() {
    return std::chrono::nanoseconds(static_cast<std::int64_t>(number<std::uint64_t>()));
  }
  std::span<const std::uint8_t> raw(std::size_t size) {
    if (size > bytes_.size()) {
      throw StateError();
    }
    const auto taken = bytes_.first(size);
    bytes_ = bytes_.subspan(size);
    return taken;
  }
  std::span<const std::uint8_t> block(std::size_t maxSize) {
    const auto size = number<std::uint32_t>();
    if (size > maxSize) {
      throw StateError();
    }
    return raw(size);
  }
  std::string text(std::size_t maxSize) {
    const auto bytes = block(maxSize);
    return {bytes.begin(), bytes.end()};
  }
  bool isAtEnd() const { return bytes_.empty(); }

 private:
  std::span<const std::uint8_t> bytes_;
};

}  // namespace simulator
