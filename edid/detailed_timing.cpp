#include "edid/detailed_timing.h"

#include "device/bytes.h"

namespace edid {
namespace {

/// Bits of a byte, in place, raised by as many bits.
constexpr std::uint32_t bitsOf(std::uint8_t byte, unsigned first, unsigned count, unsigned raise) {
  return (byte >> first & ((1U << count) - 1U)) << raise;
}

}  // namespace

std::uint32_t DetailedTiming::refreshMilliHz() const {
  std::uint64_t pixels = (std::uint64_t{width} + horizontalBlanking) * (lines + verticalBlanking);
  // A field of an interlaced timing lasts half a line longer.
  if (interlaced) {
    pixels += (width + horizontalBlanking) / 2;
  }
  return pixels == 0 ? 0 : static_cast<std::uint32_t>((std::uint64_t{pixelClockKhz} * 1'000'000 + pixels / 2) / pixels);
}

const char* DetailedTiming::fault() const {
  constexpr std::uint32_t kLowestClockKhz = 10'000;
  if (pixelClockKhz < kLowestClockKhz) {
    return "pixel clock below 10 MHz";
  }
  if (width == 0 || lines == 0) {
    return "no visible pixels";
  }
  if (horizontalBlanking == 0 || verticalBlanking == 0) {
    return "no blanking";
  }
  if (horizontalSync == 0 || verticalSync == 0) {
    return "no sync pulse";
  }
  if (horizontalFrontPorch == 0 || verticalFrontPorch == 0) {
    return "no front porch";
  }
  if (horizontalFrontPorch + horizontalSync >= horizontalBlanking) {
    return "horizontal front porch and sync fill the blanking";
  }
  if (verticalFrontPorch + verticalSync >= verticalBlanking) {
    return "vertical front porch and sync fill the blanking";
  }
  return nullptr;
}

std::optional<DetailedTiming> readDetailedTiming(Bytes bytes) {
  if (bytes.size() < kDescriptorSize || (bytes[0] == 0 && bytes[1] == 0)) {
    return std::nullopt;
  }
  DetailedTiming timing;
  timing.pixelClockKhz = device::readU16le(bytes, 0) * 10U;
  timing.width = bytes[2] | bitsOf(bytes[4], 4, 4, 8);
  timing.horizontalBlanking = bytes[3] | bitsOf(bytes[4], 0, 4, 8);
  timing.lines = bytes[5] | bitsOf(bytes[7], 4, 4, 8);
  timing.verticalBlanking = bytes[6] | bitsOf(bytes[7], 0, 4, 8);
  timing.horizontalFrontPorch = bytes[8] | bitsOf(bytes[11], 6, 2, 8);
  timing.horizontalSync = bytes[9] | bitsOf(bytes[11], 4, 2, 8);
  timing.verticalFrontPorch = bitsOf(bytes[10], 4, 4, 0) | bitsOf(bytes[11], 2, 2, 4);
  timing.verticalSync = bitsOf(bytes[10], 0, 4, 0) | bitsOf(bytes[11], 0, 2, 4);
  timing.widthMm = bytes[12] | bitsOf(bytes[14], 4, 4, 8);
  timing.heightMm = bytes[13] | bitsOf(bytes[14], 0, 4, 8);
  timing.interlaced = (bytes[17] & 0x80U) != 0;
  return timing;
}

std::optional<DetailedTiming> readDisplayIdTiming(Bytes bytes, std::uint32_t clockUnitKhz) {
  constexpr std::size_t kSize = 20;
  if (bytes.size() < kSize) {
    return std::nullopt;
  }
  // Every number is stored less one; the porches' uppermost bits are polarities.
  const auto number = [&](std::size_t at) { return device::readU16le(bytes, at) + 1U; };
  const auto porch = [&](std::size_t at) { return (device::readU16le(bytes, at) & 0x7FFFU) + 1U; };
  DetailedTiming timing;
  timing.pixelClockKhz =
      ((device::readU16le(bytes, 0) | static_cast<std::uint32_t>(bytes[2]) << 16) + 1U) * clockUnitKhz;
  timing.interlaced = (bytes[3] & 0x10U) != 0;
  timing.width = number(4);
  timing.horizontalBlanking = number(6);
  timing.horizontalFrontPorch = porch(8);
  timing.horizontalSync = number(10);
  timing.lines = number(12);
  timing.verticalBlanking = number(14);
  timing.verticalFrontPorch = porch(16);
  timing.verticalSync = number(18);
  return timing;
}

}  // namespace edid
