#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <span>

/// Readers of little-endian numbers at a byte offset; the caller has checked
/// that the span holds them.
namespace device {

constexpr std::uint16_t readU16le(std::span<const std::uint8_t> bytes, std::size_t offset) {
  assert(offset + 2 <= bytes.size());
  return static_cast<std::uint16_t>(bytes[offset] | bytes[offset + 1] << 8);
}

constexpr std::uint32_t readU32le(std::span<const std::uint8_t> bytes, std::size_t offset) {
  return readU16le(bytes, offset) | static_cast<std::uint32_t>(readU16le(bytes, offset + 2)) << 16;
}

}  // namespace device
