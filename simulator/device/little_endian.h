#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <span>

namespace simulator {

/// Writers of little-endian numbers; the value must fit and the span must hold
/// it.
inline void writeU16le(std::span<std::uint8_t> bytes, std::size_t offset, std::uint64_t value) {
  assert(value <= 0xFFFF && offset + 2 <= bytes.size());
  bytes[offset] = static_cast<std::uint8_t>(value);
  bytes[offset + 1] = static_cast<std::uint8_t>(value >> 8);
}

inline void writeU32le(std::span<std::uint8_t> bytes, std::size_t offset, std::uint64_t value) {
  assert(value <= 0xFFFFFFFF && offset + 4 <= bytes.size());
  writeU16le(bytes, offset, value & 0xFFFF);
  writeU16le(bytes, offset + 2, value >> 16);
}

}  // namespace simulator
