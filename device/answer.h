#pragma once

#include "device/result.h"
#include "device/text.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace device {

/// A place for what an operation writes. The library is not told its size, or
/// may get it wrong, so there is room behind: a 32-bit number written into a
/// single byte, or a text longer than promised, does no harm.
template <typename Value>
struct Answer {
  static constexpr std::size_t kSpareBytes = 1024;

  Value value{};
  std::array<std::uint8_t, kSpareBytes> spare{};
};

/// Reads a number with an operation that takes nothing but the place for it.
/// @param before initial content, which stays if nothing is written
template <typename Value>
Result<Value> readNumber(std::int32_t (*operation)(Value*), Value before = {}) {
  Answer<Value> answer{.value = before};
  if (const std::int32_t status = operation(&answer.value); status != 0) {
    return failure(status);
  }
  return answer.value;
}

/// As `readNumber`, for a record of `size` bytes.
template <std::size_t size>
Result<std::array<std::uint8_t, size>> readRecord(std::int32_t (*operation)(std::uint8_t*)) {
  Answer<std::array<std::uint8_t, size>> answer;
  if (const std::int32_t status = operation(answer.value.data()); status != 0) {
    return failure(status);
  }
  return answer.value;
}

/// Reads Latin-1 text with an operation that takes the place for it, its size in
/// bytes, and a place for the text's length.
template <std::uint32_t capacity>
Result<ReportedText> readReportedText(std::int32_t (*operation)(std::uint8_t*, std::uint32_t, std::uint32_t*)) {
  Answer<std::array<std::uint8_t, capacity>> text;
  Answer<std::uint32_t> length;
  if (const std::int32_t status = operation(text.value.data(), capacity, &length.value); status != 0) {
    return failure(status);
  }
  return ReportedText{latin1Text(text.value), length.value};
}

}  // namespace device
