#pragma once

#include <QString>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

/// What the HDMI receiver measures of its input, and the texts for it.
namespace video {

/// The raw timing record; numbers in the device's own units.
struct HdmiRxRawTimingInfo {
  std::uint8_t flags;  ///< bit 0: interlaced
  std::uint16_t vTotal;
  std::uint16_t hTotal;
  std::uint16_t vActive;
  std::uint16_t hActive;
  std::uint16_t vStart;
  std::uint16_t hStart;
  std::uint16_t vFreq;
  std::uint16_t hFreq;
  std::uint8_t hdrType;
  std::uint16_t vSyncPulse;
  std::uint16_t hSyncPulse;
  std::uint8_t hdmiMode;
  std::uint8_t colorDepth;
  std::uint8_t colorSpace;
  std::uint8_t colorRange;
  std::uint8_t colorimetry;
  std::uint8_t extColorimetry;
  std::uint8_t hdcpVersion;
  std::uint16_t tmdsClock;
  std::uint32_t pllPixelClockX1024;
};

/// Bytes of the packed little-endian record that carry a field.
inline constexpr std::size_t kRawTimingInfoBytes = 36;

/// Reads a record; empty when `bytes` holds fewer than `kRawTimingInfoBytes`.
std::optional<HdmiRxRawTimingInfo> readRawTimingInfo(std::span<const std::uint8_t> bytes);

/// What the receiver page shows, each with one text.
enum class RxField : std::uint8_t {
  kScan,
  kHTotal,
  kVTotal,
  kHActive,
  kVActive,
  kHStart,
  kVStart,
  kHFreq,
  kVFreq,
  kTmdsClock,
  kPllPixelClock,
  kHSyncPulse,
  kVSyncPulse,
  kHdmiMode,
  kColorSpace,
  kColorDepth,
  kColorRange,
  kColorimetry,
  kExtColorimetry,
  kHdcpVersion,
  kHdrType,
};

/// The text shown for a field of a record: a number, or the words for a code.
QString fieldText(RxField field, const HdmiRxRawTimingInfo& info);

QString scanText(std::uint8_t flags);
QString hdmiModeText(std::uint8_t code);
QString colorSpaceText(std::uint8_t code);
QString colorDepthText(std::uint8_t code);
QString colorRangeText(std::uint8_t code);
QString rxHdcpText(std::uint8_t code);
QString hdrText(std::uint8_t code);

}  // namespace video
