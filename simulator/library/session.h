#pragma once

#include "simulator/device/device.h"

#include <cstdint>

namespace simulator {

/// The library's side of a session: initialize, setDevice, openPort in this
/// order. A port that is open stays open while the device is unplugged or
/// restarts; the library finds the device again.
class Session {
 public:
  std::int32_t initialize();
  std::int32_t setDevice(const Device& device, std::uint32_t vid, std::uint32_t pid);
  std::int32_t openPort(const Device& device);
  std::int32_t closePort(const Device& device);
  std::int32_t uninitialize();

  /// Notes that the caller asked to end the session and was answered without
  /// the session learning of it. The next `initialize` then gives the port up
  /// instead of refusing permanently.
  void loseEnd() { stale_ = state_ == State::kOpen; }

  bool isPortOpen() const { return state_ == State::kOpen; }
  /// Whether the open port is that device's, not one's that was there before.
  bool isPortOf(const Device& device) const { return device_ == &device; }

 private:
  enum class State { kStart, kInitialized, kSelected, kOpen };
  State state_ = State::kStart;
  const Device* device_ = nullptr;  // whose port was opened
  bool stale_ = false;              // the caller believes that the port is closed
};

}  // namespace simulator
