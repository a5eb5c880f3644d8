#pragma once

#include "device/result.h"
#include "video/rx_timing.h"
#include "video/video_status.h"

#include <cstdint>

/// The device's video side. One library call each; any thread.
namespace video {

enum class InputSource : std::uint8_t { kHdmi = 0, kDp = 1 };

/// HDCP codes of receiver and transmitter (`hdcpVersionText`).
struct HdcpVersions {
  std::uint8_t receiver;
  std::uint8_t transmitter;
};

/// What the HDMI receiver measures of its input.
device::Result<HdmiRxRawTimingInfo> readReceiverRecord();

/// Every code but that of HDMI counts as DP.
device::Result<InputSource> readInputSource();
device::Result<> setInputSource(InputSource source);

/// Drives the receiver's hot-plug line: true tells the source that we are here.
device::Result<> setReceiverHotPlug(bool asserted);

/// The transmitter's hot-plug state; `isSinkPresent` tells what it means.
device::Result<std::int32_t> readTransmitterHotPlug();
constexpr bool isSinkPresent(std::int32_t hotPlug) { return hotPlug == 1; }

device::Result<UvcOutputTiming> readOutputTiming();

/// Code of the UVC pixel format (`uvcFormatText`).
device::Result<std::uint8_t> readOutputFormat();

device::Result<HdcpVersions> readHdcpVersions();

/// Switches the transmitter's HDCP.
device::Result<> setTransmitterHdcp(bool on);

}  // namespace video
