#pragma once

#include <QString>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

/// What the video page shows of the device, and the texts for it.
namespace video {

/// The UVC output timing record.
struct UvcOutputTiming {
  std::uint32_t width;          ///< pixels
  std::uint32_t height;         ///< lines
  std::uint32_t frameRateX100;  ///< hundredths of a frame per second
};

/// Bytes of the packed little-endian record.
inline constexpr std::size_t kUvcOutputTimingBytes = 12;

/// Reads a record; empty when `bytes` holds fewer than `kUvcOutputTimingBytes`.
std::optional<UvcOutputTiming> readUvcOutputTiming(std::span<const std::uint8_t> bytes);

/// For example "1920x1080@59": whole frames per second, the rest dropped.
QString uvcTimingText(const UvcOutputTiming& timing);

QString uvcFormatText(std::uint8_t code);

/// The HDCP text of the video page, for receiver and transmitter. The receiver
/// page words the same codes differently.
QString hdcpVersionText(std::uint8_t code);

/// Whether the transmitter's HDCP code means that its HDCP is in use.
bool isTxHdcpOn(std::uint8_t code);

}  // namespace video
