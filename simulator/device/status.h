/// @file
/// What the simulated device's operations return. The device library's user may
/// only rely on zero or not; the values are told apart here for tests and for
/// reading a journal.
#pragma once

#include <cstdint>

namespace simulator {

constexpr std::int32_t kOk = 0;
constexpr std::int32_t kNotInitialized = -1;   ///< `initialize` has not been called
constexpr std::int32_t kWrongOrder = -2;       ///< a session operation out of its order
constexpr std::int32_t kNoSuchDevice = -3;     ///< the plugged model has other ids
constexpr std::int32_t kNoPort = -4;           ///< no port is open
constexpr std::int32_t kDeviceGone = -5;       ///< unplugged, or away for a restart
constexpr std::int32_t kInvalidArgument = -6;  ///< null pointer or value out of range
constexpr std::int32_t kBufferTooSmall = -7;   ///< the text does not fit the capacity
constexpr std::int32_t kNoAnswer = -8;         ///< no I2C target acknowledged
constexpr std::int32_t kBadFile = -9;          ///< missing, unreadable, empty or oversized
constexpr std::int32_t kNoFirmware = -10;      ///< the capture chip holds no valid firmware
constexpr std::int32_t kBurnRunning = -11;     ///< a burn is already running
constexpr std::int32_t kBadScenario = -12;     ///< the scenario file could not be used
constexpr std::int32_t kNoSink = -13;          ///< nothing is attached to the transmitter
constexpr std::int32_t kFlashFault = -14;      ///< the capture flash cannot be erased or written
constexpr std::int32_t kStateInUse = -15;      ///< another process has the device's state file
constexpr std::int32_t kBadState = -16;        ///< the state file could not be used
constexpr std::int32_t kInjected = -100;       ///< an injected fault that names no status

}  // namespace simulator
