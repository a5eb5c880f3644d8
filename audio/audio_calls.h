#pragma once

#include "device/result.h"

#include <cstdint>

/// The device's audio side. One library call each; any thread. Gains are in the
/// device's own unit.
namespace audio {

/// Code of the incoming audio's format (`formatText`).
device::Result<std::uint8_t> readFormat();

/// Code of the incoming audio's sampling rate (`samplingRateText`).
device::Result<std::uint8_t> readSamplingRate();

/// Volume gain of the HDMI/DP receiver.
device::Result<std::int16_t> readReceiverGain();
device::Result<> setReceiverGain(std::int32_t gain);

/// Gain of the headphone output.
/// @param before the result when the library succeeds without writing a gain
device::Result<std::int16_t> readHeadphoneGain(std::int16_t before = 0);
device::Result<> setHeadphoneGain(std::int16_t gain);

/// Headphone mute; every code but 0 counts as muted.
device::Result<bool> readHeadphoneMute();
device::Result<> setHeadphoneMute(bool muted);

}  // namespace audio
