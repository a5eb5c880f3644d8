#include "video/rx_timing.h"

#include "device/bytes.h"
#include "device/code_table.h"

namespace video {
namespace {

using device::CodeText;

constexpr CodeText kHdmiModes[] = {{0, "DVI"}, {1, "HDMI 1.4/2.0"}, {2, "HDMI 2.1"}, {3, "DRPX mode"}};
constexpr CodeText kColorSpaces[] = {{0, "RGB"}, {1, "YUV422"}, {2, "YUV444"}, {3, "YUV420"}};
constexpr CodeText kColorDepths[] = {{0, "8bit"}, {1, "10bit"}, {2, "12bit"}, {3, "16bit"}};
constexpr CodeText kColorRanges[] = {{0, "default"}, {1, "limit"}, {2, "full"}};
constexpr CodeText kRxHdcpVersions[] = {{0, "None"}, {1, "HDCP1.3/1.4"}, {2, "HDCP2.2/2.3"}};
constexpr CodeText kHdrTypes[] = {
    {0x00, "SDR"},
    {0x01, "HDR10"},
    {0x11, "HLG"},
    {0x20, "HDR10+"},
    {0x30, "Dolby Vision STD"},
    {0x31, "Dolby Vision Low Latency"},
    {0x32, "Dolby Vision VSEM"},
};

}  // namespace

std::optional<HdmiRxRawTimingInfo> readRawTimingInfo(std::span<const std::uint8_t> bytes) {
  if (bytes.size() < kRawTimingInfoBytes) {
    return std::nullopt;
  }
  return HdmiRxRawTimingInfo{
      .flags = bytes[0x00],
      .vTotal = device::readU16le(bytes, 0x02),
      .hTotal = device::readU16le(bytes, 0x04),
      .vActive = device::readU16le(bytes, 0x06),
      .hActive = device::readU16le(bytes, 0x08),
      .vStart = device::readU16le(bytes, 0x0A),
      .hStart = device::readU16le(bytes, 0x0C),
      .vFreq = device::readU16le(bytes, 0x0E),
      .hFreq = device::readU16le(bytes, 0x10),
      .hdrType = bytes[0x12],
      .vSyncPulse = device::readU16le(bytes, 0x13),
      .hSyncPulse = device::readU16le(bytes, 0x15),
      .hdmiMode = bytes[0x17],
      .colorDepth = bytes[0x18],
      .colorSpace = bytes[0x19],
      .colorRange = bytes[0x1A],
      .colorimetry = bytes[0x1B],
      .extColorimetry = bytes[0x1C],
      .hdcpVersion = bytes[0x1D],
      .tmdsClock = device::readU16le(bytes, 0x1E),
      .pllPixelClockX1024 = device::readU32le(bytes, 0x20),
  };
}

QString fieldText(RxField field, const HdmiRxRawTimingInfo& info) {
  switch (field) {
    case RxField::kScan:
      return scanText(info.flags);
    case RxField::kHTotal:
      return QString::number(info.hTotal);
    case RxField::kVTotal:
      return QString::number(info.vTotal);
    case RxField::kHActive:
      return QString::number(info.hActive);
    case RxField::kVActive:
      return QString::number(info.vActive);
    case RxField::kHStart:
      return QString::number(info.hStart);
    case RxField::kVStart:
      return QString::number(info.vStart);
    case RxField::kHFreq:
      return QString::number(info.hFreq);
    case RxField::kVFreq:
      return QString::number(info.vFreq);
    case RxField::kTmdsClock:
      return QString::number(info.tmdsClock);
    case RxField::kPllPixelClock:
      return QString::number(info.pllPixelClockX1024);
    case RxField::kHSyncPulse:
      return QString::number(info.hSyncPulse);
    case RxField::kVSyncPulse:
      return QString::number(info.vSyncPulse);
    case RxField::kHdmiMode:
      return hdmiModeText(info.hdmiMode);
    case RxField::kColorSpace:
      return colorSpaceText(info.colorSpace);
    case RxField::kColorDepth:
      return colorDepthText(info.colorDepth);
    case RxField::kColorRange:
      return colorRangeText(info.colorRange);
    case RxField::kColorimetry:
      return QString::number(info.colorimetry);
    case RxField::kExtColorimetry:
      return QString::number(info.extColorimetry);
    case RxField::kHdcpVersion:
      return rxHdcpText(info.hdcpVersion);
    case RxField::kHdrType:
      return hdrText(info.hdrType);
  }
  return {};
}

QString scanText(std::uint8_t flags) {
  return (flags & 0x01) != 0 ? QStringLiteral("interlace") : QStringLiteral("progressive");
}

QString hdmiModeText(std::uint8_t code) { return device::codeText(kHdmiModes, code, "Unknow"); }

QString colorSpaceText(std::uint8_t code) { return device::codeText(kColorSpaces, code, "YUV400"); }

QString colorDepthText(std::uint8_t code) { return device::codeText(kColorDepths, code, "6bit"); }

QString colorRangeText(std::uint8_t code) { return device::codeText(kColorRanges, code, "Unknow"); }

QString rxHdcpText(std::uint8_t code) { return device::codeText(kRxHdcpVersions, code, "HDCP Off"); }

QString hdrText(std::uint8_t code) { return device::codeText(kHdrTypes, code, "Unknow"); }

}  // namespace video
