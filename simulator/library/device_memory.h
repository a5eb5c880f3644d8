#pragma once

#include "simulator/device/device_state.h"
#include "simulator/library/state_file.h"

namespace simulator {

/// Keeps a device's state in a file from one process to the next.
class DeviceMemory {
 public:
  /// Puts the file's state into a device that is as its scenario describes it.
  /// @throws StateFileError; the device is then as it was
  DeviceMemory(const std::filesystem::path& path, Device& device);

  /// Writes what has changed.
  /// @throws StateFileError
  void save(Device& device);

 private:
  StateFile file_;
  DeviceState state_;
};

}  // namespace simulator
