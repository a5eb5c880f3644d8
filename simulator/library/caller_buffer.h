#pragma once

#include "simulator/device/status.h"
#include "simulator/device/transfers.h"

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

/// A text without terminator, or an error when it does not fit.
inline Answer textAnswer(const std::string& text, std::size_t capacity) {
  if (text.size() > capacity) {
    return {kBufferTooSmall};
  }
  return {kOk, {text.begin(), text.end()}};
}

/// A text with its terminator, or an error when both do not fit.
inline Answer terminatedTextAnswer(const std::string& text, std::size_t capacity) {
  if (text.size() >= capacity) {
    return {kBufferTooSmall};
  }
  Answer answer = textAnswer(text, capacity);
  answer.bytes.push_back(0);
  return answer;
}

}  // namespace simulator
