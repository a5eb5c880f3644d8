#pragma once

#include "edid/edid_blocks.h"

#include <cstdint>
#include <optional>

namespace edid {

/// A detailed timing, as an 18-byte descriptor (VESA E-EDID release A2, 3.10.2)
/// or a DisplayID timing of type I or VII describes it. Pixels and lines; of an
/// interlaced timing the lines of one field.
struct DetailedTiming {
  std::uint32_t pixelClockKhz = 0;
  std::uint32_t width = 0;
  std::uint32_t horizontalBlanking = 0;
  std::uint32_t horizontalFrontPorch = 0;
  std::uint32_t horizontalSync = 0;
  std::uint32_t lines = 0;
  std::uint32_t verticalBlanking = 0;
  std::uint32_t verticalFrontPorch = 0;
  std::uint32_t verticalSync = 0;
  std::uint32_t widthMm = 0;   ///< of the picture; 0 = not told
  std::uint32_t heightMm = 0;  ///< of the picture; 0 = not told
  bool interlaced = false;

  /// Lines of a whole picture.
  std::uint32_t height() const { return interlaced ? lines * 2 : lines; }
  /// Pictures, or fields of an interlaced timing, a second, in thousandths; 0
  /// for a timing without pixels.
  std::uint32_t refreshMilliHz() const;
  /// What makes the timing impossible, or null when nothing does.
  const char* fault() const;
};

/// Reads an 18-byte descriptor; empty when it holds no timing or `bytes` is shorter.
std::optional<DetailedTiming> readDetailedTiming(Bytes bytes);

/// Reads a 20-byte DisplayID timing; `clockUnitKhz` is 10 for type I, 1 for
/// type VII. Empty when `bytes` is shorter.
std::optional<DetailedTiming> readDisplayIdTiming(Bytes bytes, std::uint32_t clockUnitKhz);

}  // namespace edid
