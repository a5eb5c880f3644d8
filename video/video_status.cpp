#include "video/video_status.h"

#include "device/bytes.h"
#include "device/code_table.h"

namespace video {
namespace {

using device::CodeText;

constexpr CodeText kUvcFormats[] = {{0, "N/A"},   {1, "NV12"},  {2, "M420"}, {3, "I420"}, {4, "YUYV"},
                                    {5, "RGB24"}, {6, "RGB32"}, {7, "P101"}, {8, "MJPEG"}};
constexpr CodeText kHdcpVersions[] = {{0, "No HDCP"}, {1, "HDCP1.3/1.4"}, {2, "HDCP2.2/2.3"}};

}  // namespace

std::optional<UvcOutputTiming> readUvcOutputTiming(std::span<const std::uint8_t> bytes) {
  if (bytes.size() < kUvcOutputTimingBytes) {
    return std::nullopt;
  }
  return UvcOutputTiming{
      .width = device::readU32le(bytes, 0),
      .height = device::readU32le(bytes, 4),
      .frameRateX100 = device::readU32le(bytes, 8),
  };
}

QString uvcTimingText(const UvcOutputTiming& timing) {
  return QStringLiteral("%1x%2@%3").arg(timing.width).arg(timing.height).arg(timing.frameRateX100 / 100);
}

QString uvcFormatText(std::uint8_t code) { return device::codeText(kUvcFormats, code, "N/A"); }

QString hdcpVersionText(std::uint8_t code) { return device::codeText(kHdcpVersions, code, "HDCP OFF"); }

bool isTxHdcpOn(std::uint8_t code) { return code == 1 || code == 2; }

}  // namespace video
