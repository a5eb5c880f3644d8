#pragma once

#include "simulator/device/status.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>

namespace simulator {

/// What a caller of an operation without capacity argument provides.
constexpr std::size_t kDefaultCapacity = 128;

/// The bytes of a caller's number; none for a null pointer.
template <typename Number>
std::span<std::uint8_t> bytesOf(Number* number) {
  return {reinterpret_cast<std::uint8_t*>(number), number ? sizeof(Number) : 0};
}

/// Copies a text without terminator, or nothing when it does not fit.
inline std::int32_t copyText(const std::string& text, std::uint8_t* buffer, std::size_t capacity) {
  if (text.size() > capacity) {
    return kBufferTooSmall;
  }
  std::copy(text.begin(), text.end(), buffer);
  return kOk;
}

/// Copies a text with its terminator, or nothing when both do not fit.
inline std::int32_t copyTerminatedText(const std::string& text, std::uint8_t* buffer, std::size_t capacity) {
  if (text.size() >= capacity) {
    return kBufferTooSmall;
  }
  *std::copy(text.begin(), text.end(), buffer) = 0;
  return kOk;
}

}  // namespace simulator
