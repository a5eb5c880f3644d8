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

  bool isPortOpen() const { return state_ == State::kOpen; }

 private:
  enum class State { kStart, kInitialized, kSelected, kOpen };
  State state_ = State::kStart;
};

}  // namespace simulator
