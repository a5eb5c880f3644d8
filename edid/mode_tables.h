#pragma once

#include <cstdint>
#include <span>

/// Picture formats that EDIDs name by a bit or a number.
namespace edid {

/// A picture format of a table. An interlaced one has its whole picture's lines.
struct TableMode {
  std::uint32_t width;
  std::uint32_t height;
  bool interlaced;
  std::uint32_t refreshMilliHz;
  std::uint32_t pixelClockKhz;

  bool operator==(const TableMode&) const = default;
};

/// Bits 7 to 0 of bytes 35 and 36 and bit 7 of byte 37 of the base block.
std::span<const TableMode> establishedModes();
/// Bits 7 to 0 of the bytes 6 to 11 of an established timings III descriptor.
std::span<const TableMode> moreEstablishedModes();
/// HDMI video codes 1 to 4.
std::span<const TableMode> hdmiModes();
/// The mode of a CTA-861 video code; null for a code that has none.
const TableMode* ctaMode(std::uint8_t code);

}  // namespace edid
